#pragma once

#include <array>
#include <memory>

#include "ui/ConfigLayout.h"
#include "ui/frmConfig.h"
#include "ui/win32/Controls.h"
#include "ui/win32/ModalDialog.h"
#include "ui/win32/PictureControl.h"

namespace mv::win32 {

/// The settings dialog.
class ConfigView : public frmConfigView, private ModalDialog {
 public:
  explicit ConfigView(frmConfig& form);

  /// Returns when the dialog is closed.
  void ShowModal(HWND owner) { Run(owner); }

  void SelectMode(std::size_t index) override;
  bool ModeSelected(std::size_t index) const override;
  void ShowModePicture(std::size_t index) override;
  void SetPath(std::size_t index, const std::string& text) override;
  std::string Path(std::size_t index) const override;
  void Tick(CheckBox box, bool ticked) override;
  bool Ticked(CheckBox box) const override;
  void Enable(LogControl control, bool enabled) override;
  void ShowBrowsePicture(std::size_t index, BrowsePicture picture) override;
  std::optional<std::string> AskFile(const FileQuestion& question) override;
  void Unload() override { Close(); }

 private:
  static LRESULT CALLBACK BrowseProcedure(HWND button, UINT message, WPARAM wide, LPARAM large, UINT_PTR index,
                                          DWORD_PTR view);
  void MakeControls() override;
  void MakeControl(const layout::ConfigControl& control);
  void MakeBrowseButton(const layout::ConfigControl& control);
  void Load() override { form_.Form_Load(*this); }
  SIZE PlaceControls(const Dpi& dpi) override;
  LONG PlaceLocations(const Dpi& dpi, LONG top, LONG width);
  void PlacePathRow(const Dpi& dpi, std::size_t index, LONG top, LONG width);
  LONG PlaceOptions(const Dpi& dpi, LONG top, LONG width);
  LONG PlaceBottom(const Dpi& dpi, LONG top, LONG width);
  LONG LabelWidth() const;
  LONG Width(const Dpi& dpi) const;
  void Command(int id, int code) override;

  frmConfig& form_;
  std::unique_ptr<PictureControl> modePicture_;
  std::unique_ptr<ToolTips> tips_;
  std::array<Icon, layout::kBrowseButtons> browsePictures_;
};

}  // namespace mv::win32
