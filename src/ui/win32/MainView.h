#pragma once

#include <array>
#include <memory>

#include "ui/frmMain.h"
#include "ui/win32/AboutView.h"
#include "ui/win32/Controls.h"
#include "ui/win32/Dpi.h"
#include "ui/win32/PictureControl.h"
#include "ui/win32/ToolBar.h"
#include "ui/win32/WarningPart.h"

namespace mv::win32 {

/// The main window. Everything is placed in code for the scaling of the screen that the window is on, and drawn in the
/// system's colours.
///
/// The keyboard: menus by their marks, Tab between toolbar and list, arrow keys, Space and Enter in the toolbar.
class MainView : public frmMainView {
 public:
  /// `form` must outlive the view.
  explicit MainView(frmMain& form);
  MainView(const MainView&) = delete;
  MainView& operator=(const MainView&) = delete;
  ~MainView() override;

  void SetUpProgressColumn() override;
  void Show() override;
  void Unload() override;
  void RunUntilClosed() override;
  void ProcessMessages() override;
  void SetPanel(Panel panel, const std::string& text) override;
  void ShowMode(std::int16_t mode, const std::string& tip) override;
  void AddProgressItem(const std::string& text) override;
  void ShowSpinnerFrame(int frame) override;
  void EnableButton(int index, bool enabled) override;
  void EnableMenu(Menu menu, bool enabled) override;
  void EnableMenuItem(Command command, bool enabled) override;
  void SetHourglass(bool on) override;
  MessageAnswer ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                            MessageIcon icon) override;
  void ShowModal(frmConfig& form) override;
  void ShowAbout(frmAbout& form) override;

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM large);
  LRESULT Handle(UINT message, WPARAM wide, LPARAM large);
  void EndWithSession();
  void HandleCommand(int id);
  LRESULT Notify(const NMHDR& header);
  bool ShowsHourglass(LPARAM hit) const;

  void MakeControls();
  /// Fonts and pictures for the scaling of the window's screen.
  void Rescale();
  /// The width of the longest line in a new font.
  void MeasureLines();
  void FitColumn();
  void PlaceControls();
  void PlaceStatusPanels(int width);
  void KeepFocus();
  void Dispatch(MSG& message);
  /// The about box while it is open, else the window: what a message box comes up over.
  HWND Uppermost() const;
  void AdoptSystemChange(UINT message, WPARAM wide, LPARAM large);

  frmMain& form_;
  HWND window_ = nullptr;  ///< null once the window is gone
  HWND list_ = nullptr;
  HWND status_ = nullptr;
  HWND title_ = nullptr;
  HWND focused_ = nullptr;  ///< the control that has the focus whenever the window is active
  std::unique_ptr<ToolBar> toolBar_;
  std::unique_ptr<PictureControl> modePicture_;
  std::unique_ptr<PictureControl> spinner_;
  std::unique_ptr<WarningPart> modePanel_;
  std::unique_ptr<ToolTips> tips_;
  std::unique_ptr<AboutView> about_;  ///< null until it is asked for
  Font font_;
  Font titleFont_;
  int longestLine_ = 0;  ///< of the progress list, in pixels
  bool hourglass_ = false;
};

}  // namespace mv::win32
