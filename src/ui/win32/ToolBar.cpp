#include "ui/win32/ToolBar.h"

#include <windowsx.h>

#include <utility>

#include "platform/windows/Wide.h"
#include "ui/win32/Controls.h"

namespace mv::win32 {
namespace {

constexpr int kPictureSize = 24;
constexpr int kNone = -1;

}  // namespace

ToolBar::ToolBar(HWND parent, int id, std::vector<Button> buttons)
    : window_(MakeChild(parent, TOOLBARCLASSNAMEW, L"",
                        WS_TABSTOP | TBSTYLE_FLAT | TBSTYLE_LIST | TBSTYLE_TOOLTIPS | CCS_NORESIZE | CCS_NOPARENTALIGN |
                            CCS_NODIVIDER,
                        id)),
      buttons_(std::move(buttons)) {
  ::SendMessageW(window_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
  int picture = 0;
  for (const Button& button : buttons_) {
    std::wstring text = platform::Wide(button.text);
    TBBUTTON entry = {};
    entry.idCommand = button.command;
    entry.iBitmap = button.command == 0 ? 0 : picture++;
    entry.fsState = TBSTATE_ENABLED;
    entry.fsStyle = button.command == 0 ? BTNS_SEP : static_cast<BYTE>(BTNS_BUTTON | BTNS_AUTOSIZE);
    entry.iString = button.command == 0 ? 0 : reinterpret_cast<INT_PTR>(text.data());
    ::SendMessageW(window_, TB_ADDBUTTONSW, 1, reinterpret_cast<LPARAM>(&entry));
  }
  ::SetWindowSubclass(window_, Procedure, 0, reinterpret_cast<DWORD_PTR>(this));
}

ToolBar::~ToolBar() {
  ::RemoveWindowSubclass(window_, Procedure, 0);
}

int ToolBar::Height() const {
  RECT button = {};
  ::SendMessageW(window_, TB_GETITEMRECT, 0, reinterpret_cast<LPARAM>(&button));
  return button.bottom;
}

void ToolBar::Enable(int command, bool enabled) {
  ::SendMessageW(window_, TB_ENABLEBUTTON, static_cast<WPARAM>(command), MAKELPARAM(enabled ? TRUE : FALSE, 0));
}

std::wstring ToolBar::TipOf(int command) const {
  for (const Button& button : buttons_) {
    if (button.command == command) return platform::Wide(button.tip);
  }
  return {};
}

void ToolBar::Rescale(const Dpi& dpi, HFONT font) {
  const int size = dpi.Scale(kPictureSize);
  ImageList pictures(::ImageList_Create(size, size, ILC_COLOR32 | ILC_MASK, static_cast<int>(buttons_.size()), 0));
  for (const Button& button : buttons_) {
    if (button.command == 0) continue;
    ::ImageList_AddIcon(pictures.get(), LoadPicture(button.pictureId, size, size).get());
  }
  ::SendMessageW(window_, TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(pictures.get()));
  pictures_ = std::move(pictures);
  SetWindowFont(window_, font, TRUE);
  ::SendMessageW(window_, TB_SETPADDING, 0, MAKELPARAM(dpi.Scale(12), dpi.Scale(6)));
  ::SendMessageW(window_, TB_AUTOSIZE, 0, 0);
}

LRESULT CALLBACK ToolBar::Procedure(HWND window, UINT message, WPARAM wide, LPARAM large, UINT_PTR, DWORD_PTR toolBar) {
  auto* const self = reinterpret_cast<ToolBar*>(toolBar);
  switch (message) {
    case WM_GETDLGCODE:
      return DLGC_WANTARROWS | DLGC_WANTCHARS | (wide == VK_RETURN ? DLGC_WANTALLKEYS : 0);
    case WM_KEYDOWN:
      if (self->HandleKey(wide)) return 0;
      break;
    case WM_SETFOCUS:
      ::SendMessageW(window, TB_SETHOTITEM, static_cast<WPARAM>(self->NextEnabled(0, 1)), 0);
      break;
    case WM_KILLFOCUS:
      ::SendMessageW(window, TB_SETHOTITEM, static_cast<WPARAM>(kNone), 0);
      break;
    default:
      break;
  }
  return ::DefSubclassProc(window, message, wide, large);
}

bool ToolBar::HandleKey(WPARAM key) {
  const int hot = static_cast<int>(::SendMessageW(window_, TB_GETHOTITEM, 0, 0));
  int next = kNone;
  switch (key) {
    case VK_RIGHT:
      next = NextEnabled(hot + 1, 1);
      break;
    case VK_LEFT:
      next = NextEnabled(hot - 1, -1);
      break;
    case VK_HOME:
      next = NextEnabled(0, 1);
      break;
    case VK_END:
      next = NextEnabled(static_cast<int>(buttons_.size()) - 1, -1);
      break;
    case VK_SPACE:
    case VK_RETURN:
      Press();
      return true;
    default:
      return false;
  }
  if (next != kNone) ::SendMessageW(window_, TB_SETHOTITEM, static_cast<WPARAM>(next), 0);
  return true;
}

int ToolBar::NextEnabled(int start, int step) const {
  const int count = static_cast<int>(buttons_.size());
  for (int i = start; i >= 0 && i < count; i += step) {
    const int command = buttons_[static_cast<std::size_t>(i)].command;
    if (command != 0 && ::SendMessageW(window_, TB_ISBUTTONENABLED, static_cast<WPARAM>(command), 0)) return i;
  }
  return kNone;
}

void ToolBar::Press() {
  const int hot = static_cast<int>(::SendMessageW(window_, TB_GETHOTITEM, 0, 0));
  if (hot < 0 || hot != NextEnabled(hot, static_cast<int>(buttons_.size()))) return;
  const int command = buttons_[static_cast<std::size_t>(hot)].command;
  ::SendMessageW(::GetParent(window_), WM_COMMAND, static_cast<WPARAM>(command), reinterpret_cast<LPARAM>(window_));
}

}  // namespace mv::win32
