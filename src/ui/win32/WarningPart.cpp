#include "ui/win32/WarningPart.h"

#include <algorithm>
#include <string>

#include "ui/win32/Dpi.h"

namespace mv::win32 {
namespace {

constexpr COLORREF kOnLight = RGB(0xB0, 0x00, 0x00);
constexpr COLORREF kOnDark = RGB(0xFF, 0x80, 0x80);
constexpr int kIndent = 3;  // of a part's text, in pixels at 100 %

bool ContrastIsHigh() {
  HIGHCONTRASTW contrast = {};
  contrast.cbSize = sizeof contrast;
  return ::SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) != FALSE &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

/// Who has chosen high contrast has chosen every colour.
COLORREF WarningColour() {
  if (ContrastIsHigh()) return ::GetSysColor(COLOR_BTNTEXT);
  const COLORREF ground = ::GetSysColor(COLOR_BTNFACE);
  const int brightness = GetRValue(ground) * 3 + GetGValue(ground) * 6 + GetBValue(ground);
  return brightness > 10 * 128 ? kOnLight : kOnDark;
}

}  // namespace

WarningPart::WarningPart(HWND statusBar, WPARAM part) : bar_(statusBar), part_(part) {
  ::SetWindowSubclass(bar_, Procedure, 0, reinterpret_cast<DWORD_PTR>(this));
}

WarningPart::~WarningPart() {
  ::RemoveWindowSubclass(bar_, Procedure, 0);
}

void WarningPart::Warn(bool on) {
  warns_ = on;
  ::InvalidateRect(bar_, nullptr, TRUE);
}

void WarningPart::Rescale() {
  font_ = Dpi(bar_).MessageFont(100, FW_BOLD);
}

LRESULT CALLBACK WarningPart::Procedure(HWND window, UINT message, WPARAM wide, LPARAM large, UINT_PTR,
                                        DWORD_PTR reference) {
  const LRESULT result = ::DefSubclassProc(window, message, wide, large);
  const auto* const self = reinterpret_cast<const WarningPart*>(reference);
  if (message == WM_PAINT && self->warns_) self->Paint();
  return result;
}

/// Over what the bar has painted. No wider than the texts, as the last part ends under the size grip.
void WarningPart::Paint() const {
  std::wstring text(LOWORD(::SendMessageW(bar_, SB_GETTEXTLENGTHW, part_, 0)), L'\0');
  ::SendMessageW(bar_, SB_GETTEXTW, part_, reinterpret_cast<LPARAM>(text.data()));
  RECT place;
  ::SendMessageW(bar_, SB_GETRECT, part_, reinterpret_cast<LPARAM>(&place));
  const int indent = Dpi(bar_).Scale(kIndent);
  ::InflateRect(&place, -1, -1);
  place.right = std::min<LONG>(place.right, place.left + TextSize(font_.get(), text).cx + 2 * indent);
  const HDC paper = ::GetDC(bar_);
  ::FillRect(paper, &place, ::GetSysColorBrush(COLOR_BTNFACE));
  place.left += indent;
  const HGDIOBJ before = ::SelectObject(paper, font_.get());
  ::SetBkMode(paper, TRANSPARENT);
  ::SetTextColor(paper, WarningColour());
  ::DrawTextW(paper, text.c_str(), static_cast<int>(text.size()), &place,
              DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
  ::SelectObject(paper, before);
  ::ReleaseDC(bar_, paper);
}

}  // namespace mv::win32
