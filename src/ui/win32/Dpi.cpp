#include "ui/win32/Dpi.h"

namespace mv::win32 {
namespace {

/// A function of the system that older versions of it lack; null there.
template <typename Function>
Function* UserFunction(const char* name) {
  const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"user32.dll"), name);
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
}

UINT SystemDpi() {
  const HDC screen = ::GetDC(nullptr);
  const int dpi = ::GetDeviceCaps(screen, LOGPIXELSY);
  ::ReleaseDC(nullptr, screen);
  return static_cast<UINT>(dpi);
}

UINT WindowDpi(HWND window) {
  const auto getDpi = UserFunction<UINT WINAPI(HWND)>("GetDpiForWindow");
  const UINT dpi = getDpi ? getDpi(window) : 0;
  return dpi != 0 ? dpi : SystemDpi();
}

/// The user's message font at `dpi`.
LOGFONTW MessageLogFont(UINT dpi) {
  NONCLIENTMETRICSW metrics = {};
  metrics.cbSize = sizeof metrics;
  using ForDpi = BOOL WINAPI(UINT, UINT, PVOID, UINT, UINT);
  const auto parametersForDpi = UserFunction<ForDpi>("SystemParametersInfoForDpi");
  if (parametersForDpi && parametersForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, dpi)) {
    return metrics.lfMessageFont;
  }
  ::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
  metrics.lfMessageFont.lfHeight =
      ::MulDiv(metrics.lfMessageFont.lfHeight, static_cast<int>(dpi), static_cast<int>(SystemDpi()));
  return metrics.lfMessageFont;
}

RECT Measure(HFONT font, const std::wstring& text, int width, UINT format) {
  const HDC screen = ::GetDC(nullptr);
  const HGDIOBJ previous = ::SelectObject(screen, font);
  RECT box = {0, 0, width, 0};
  ::DrawTextW(screen, text.c_str(), -1, &box, format | DT_CALCRECT | DT_NOPREFIX);
  ::SelectObject(screen, previous);
  ::ReleaseDC(nullptr, screen);
  return box;
}

}  // namespace

Dpi::Dpi(HWND window) : value_(WindowDpi(window)) {}

Font Dpi::MessageFont(int percent, LONG weight) const {
  LOGFONTW font = MessageLogFont(value_);
  font.lfHeight = ::MulDiv(font.lfHeight, percent, 100);
  if (weight != FW_DONTCARE) font.lfWeight = weight;
  return Font(::CreateFontIndirectW(&font));
}

SIZE TextSize(HFONT font, const std::wstring& text) {
  const RECT box = Measure(font, text, 0, DT_SINGLELINE);
  return {box.right, box.bottom};
}

int WrappedHeight(HFONT font, const std::wstring& text, int width) {
  return Measure(font, text, width, DT_WORDBREAK).bottom;
}

Icon LoadPicture(int id, int width, int height) {
  return Icon(static_cast<HICON>(
      ::LoadImageW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), IMAGE_ICON, width, height, LR_DEFAULTCOLOR)));
}

}  // namespace mv::win32
