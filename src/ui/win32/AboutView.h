#pragma once

#include <memory>

#include "ui/frmAbout.h"
#include "ui/win32/ModalDialog.h"
#include "ui/win32/PictureControl.h"

namespace mv::win32 {

/// The about box.
class AboutView : public frmAboutView, private ModalDialog {
 public:
  explicit AboutView(frmAbout& form);

  using ModalDialog::IsOpen;
  using ModalDialog::Open;
  using ModalDialog::Window;

  void SetVersion(const std::string& text) override;
  void Unload() override { Close(); }

 private:
  void MakeControls() override;
  void Load() override { form_.Form_Load(*this); }
  SIZE PlaceControls(const Dpi& dpi) override;
  void Command(int id, int code) override;

  frmAbout& form_;
  std::unique_ptr<PictureControl> picture_;
};

}  // namespace mv::win32
