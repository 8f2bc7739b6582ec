#include "ui/win32/PictureControl.h"

#include "ui/win32/Controls.h"

namespace mv::win32 {
namespace {

constexpr const wchar_t* kClass = L"MotorvaPicture";

}  // namespace

PictureControl::PictureControl(HWND parent, int id, int size, int background, DWORD extendedStyle)
    : size_(size), background_(background) {
  WNDCLASSW design = {};
  design.lpfnWndProc = Procedure;
  design.hInstance = ::GetModuleHandleW(nullptr);
  design.lpszClassName = kClass;
  design.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
  // Fails from the second control on, when the class is there.
  ::RegisterClassW(&design);
  window_ = MakeChild(parent, kClass, L"", 0, id, extendedStyle);
  ::SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  Rescale();
}

PictureControl::~PictureControl() {
  ::SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
}

void PictureControl::Show(int pictureId) {
  pictureId_ = pictureId;
  if (pictureId != 0 && !icons_.contains(pictureId)) {
    icons_.emplace(pictureId, LoadPicture(pictureId, pixels_, pixels_));
  }
  ::InvalidateRect(window_, nullptr, FALSE);
}

void PictureControl::Rescale() {
  pixels_ = Dpi(window_).Scale(size_);
  icons_.clear();
  Show(pictureId_);
}

HICON PictureControl::Shown() const {
  const auto found = icons_.find(pictureId_);
  return found == icons_.end() ? nullptr : found->second.get();
}

LRESULT CALLBACK PictureControl::Procedure(HWND window, UINT message, WPARAM wide, LPARAM large) {
  auto* const self = reinterpret_cast<PictureControl*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self && message == WM_PAINT) {
    self->Paint();
    return 0;
  }
  // Paint covers everything; erasing first would flicker.
  if (message == WM_ERASEBKGND) return 1;
  if (self && message == STM_GETICON) return reinterpret_cast<LRESULT>(self->Shown());
  return ::DefWindowProcW(window, message, wide, large);
}

void PictureControl::Paint() const {
  PAINTSTRUCT paint;
  const HDC screen = ::BeginPaint(window_, &paint);
  RECT area;
  ::GetClientRect(window_, &area);
  const HDC memory = ::CreateCompatibleDC(screen);
  const HBITMAP bitmap = ::CreateCompatibleBitmap(screen, area.right, area.bottom);
  const HGDIOBJ previous = ::SelectObject(memory, bitmap);
  Draw(memory, area);
  ::BitBlt(screen, 0, 0, area.right, area.bottom, memory, 0, 0, SRCCOPY);
  ::SelectObject(memory, previous);
  ::DeleteObject(bitmap);
  ::DeleteDC(memory);
  ::EndPaint(window_, &paint);
}

void PictureControl::Draw(HDC canvas, const RECT& area) const {
  ::FillRect(canvas, &area, ::GetSysColorBrush(background_));
  const HICON icon = Shown();
  if (!icon) return;
  ::DrawIconEx(canvas, (area.right - pixels_) / 2, (area.bottom - pixels_) / 2, icon, pixels_, pixels_, 0, nullptr,
               DI_NORMAL);
}

}  // namespace mv::win32
