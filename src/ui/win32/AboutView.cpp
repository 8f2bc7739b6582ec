#include "ui/win32/AboutView.h"

#include <algorithm>

#include "platform/windows/Wide.h"
#include "ui/Caption.h"
#include "ui/Texts.h"
#include "ui/win32/Controls.h"
#include "ui/win32/PictureIds.h"

namespace mv::win32 {
namespace {

enum Id : int { kImage1 = 101, kLblVer };

constexpr int kPictureSize = 64;

}  // namespace

AboutView::AboutView(frmAbout& form) : ModalDialog(platform::Wide(texts::kAboutCaption)), form_(form) {}

void AboutView::SetVersion(const std::string& text) {
  SetText(Control(kLblVer), platform::Wide(text));
}

void AboutView::MakeControls() {
  picture_ = std::make_unique<PictureControl>(Window(), kImage1, kPictureSize, COLOR_BTNFACE);
  picture_->Show(PICTURE_PROGRAM);
  MakeChild(Window(), WC_STATICW, L"", SS_NOPREFIX, kLblVer);
  MakeChild(Window(), WC_BUTTONW, platform::Wide(Marked({texts::kOk})), WS_TABSTOP | BS_DEFPUSHBUTTON, IDOK);
}

SIZE AboutView::PlaceControls(const Dpi& dpi) {
  picture_->Rescale();
  const int margin = dpi.Scale(16);
  const int picture = dpi.Scale(kPictureSize);
  const SIZE version = TextSize(MessageFont(), platform::Wide(TextOf(Control(kLblVer))));
  const LONG textLeft = margin + picture + margin;
  const LONG width = std::max<LONG>(textLeft + version.cx + 2 * margin, dpi.Scale(320));
  const LONG middle = margin + picture / 2;
  Place(picture_->Window(), {margin, margin, margin + picture, margin + picture});
  Place(Control(kLblVer), {textLeft, middle - version.cy / 2, width - margin, middle + (version.cy + 1) / 2});
  const LONG buttonTop = margin + picture + margin;
  const LONG buttonHeight = version.cy + dpi.Scale(10);
  Place(Control(IDOK), {width - margin - dpi.Scale(88), buttonTop, width - margin, buttonTop + buttonHeight});
  return {width, buttonTop + buttonHeight + margin};
}

void AboutView::Command(int id, int) {
  if (id == IDOK || id == IDCANCEL) form_.cmdOp_Click(*this);
}

}  // namespace mv::win32
