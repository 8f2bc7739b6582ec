#include "ui/win32/ModalDialog.h"

#include <algorithm>

#include "ui/win32/Controls.h"

namespace mv::win32 {
namespace {

/// A dialog without controls: the header, then no menu, the standard class, no caption.
struct EmptyTemplate {
  DLGTEMPLATE header = {WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME, 0, 0, 0, 0, 0, 0};
  WORD menu = 0;
  WORD className = 0;
  WORD caption = 0;
};

/// Where a window of `size` begins that lies between `low` and `high` as near to `wanted` as it can.
LONG Within(LONG wanted, LONG size, LONG low, LONG high) {
  return std::max(low, std::min(wanted, high - size));
}

}  // namespace

void ModalDialog::Run(HWND owner) {
  const EmptyTemplate empty;
  ownLoop_ = true;
  ::DialogBoxIndirectParamW(::GetModuleHandleW(nullptr), &empty.header, owner, Procedure,
                            reinterpret_cast<LPARAM>(this));
}

void ModalDialog::Open(HWND owner) {
  if (window_) {
    ::SetForegroundWindow(window_);
    return;
  }
  const EmptyTemplate empty;
  ownLoop_ = false;
  ::CreateDialogIndirectParamW(::GetModuleHandleW(nullptr), &empty.header, owner, Procedure,
                               reinterpret_cast<LPARAM>(this));
  if (!window_) return;
  ::EnableWindow(owner, FALSE);
  ::ShowWindow(window_, SW_SHOW);
}

void ModalDialog::Close() {
  if (ownLoop_) {
    ::EndDialog(window_, 0);
    return;
  }
  // Before its own window goes: else the system would bring some other program's to the front.
  ::EnableWindow(::GetWindow(window_, GW_OWNER), TRUE);
  ::DestroyWindow(window_);
}

INT_PTR CALLBACK ModalDialog::Procedure(HWND window, UINT message, WPARAM wide, LPARAM large) {
  if (message == WM_INITDIALOG) {
    auto* const starting = reinterpret_cast<ModalDialog*>(large);
    ::SetWindowLongPtrW(window, DWLP_USER, large);
    starting->window_ = window;
    starting->Create();
    // The first control has the focus already.
    return FALSE;
  }
  auto* const self = reinterpret_cast<ModalDialog*>(::GetWindowLongPtrW(window, DWLP_USER));
  return self && self->Handle(message, wide, large) ? TRUE : FALSE;
}

bool ModalDialog::Handle(UINT message, WPARAM wide, LPARAM large) {
  switch (message) {
    case WM_COMMAND:
      Command(LOWORD(wide), HIWORD(wide));
      return true;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
      TellChildren(window_, message, wide, large);
      ::InvalidateRect(window_, nullptr, TRUE);
      return false;
    case kDpiChanged:
    case WM_SETTINGCHANGE:
      Arrange();
      return true;
    case WM_DESTROY:
      window_ = nullptr;
      return false;
    default:
      return false;
  }
}

void ModalDialog::Create() {
  SetText(window_, caption_);
  MakeControls();
  Load();
  Arrange();
  CentreOverOwner();
  ::SendMessageW(window_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(::GetNextDlgTabItem(window_, nullptr, FALSE)), TRUE);
}

void ModalDialog::Arrange() {
  const Dpi dpi(window_);
  font_ = dpi.MessageFont();
  SetFonts(window_, font_.get());
  const SIZE client = PlaceControls(dpi);
  const SIZE frame = FrameSize(window_);
  ::SetWindowPos(window_, nullptr, 0, 0, client.cx + frame.cx, client.cy + frame.cy,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  ::InvalidateRect(window_, nullptr, TRUE);
}

void ModalDialog::CentreOverOwner() {
  RECT own;
  RECT owners;
  ::GetWindowRect(window_, &own);
  ::GetWindowRect(::GetWindow(window_, GW_OWNER), &owners);
  const RECT area = WorkArea(window_);
  const LONG width = own.right - own.left;
  const LONG height = own.bottom - own.top;
  ::SetWindowPos(window_, nullptr, Within((owners.left + owners.right - width) / 2, width, area.left, area.right),
                 Within((owners.top + owners.bottom - height) / 2, height, area.top, area.bottom), 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace mv::win32
