#pragma once

#include <string>

#include "ui/win32/Handles.h"

namespace mv::win32 {

/// Sent when a window comes to a screen of another scaling; headers for older systems lack it.
inline constexpr UINT kDpiChanged = 0x02E0;
/// Pixels an inch at 100 %; headers for older systems lack its name too.
inline constexpr int kUnscaled = 96;

/// The scaling of one window's screen. Layouts are given in units of 1/96 inch, as they are at 100 %.
class Dpi {
 public:
  /// The scaling of the screen that `window` is on; that of the system when the system knows no other.
  explicit Dpi(HWND window);

  int Scale(int units) const { return ::MulDiv(units, static_cast<int>(value_), kUnscaled); }
  /// The user's message font. `percent` of its size; `weight` as in LOGFONT, FW_DONTCARE for the font's own.
  Font MessageFont(int percent = 100, LONG weight = FW_DONTCARE) const;

  friend bool operator==(const Dpi&, const Dpi&) = default;

 private:
  UINT value_;
};

/// Size of a text of one line in a font, in pixels.
SIZE TextSize(HFONT font, const std::wstring& text);
/// Height of a text that is broken into lines of at most `width` pixels.
int WrappedHeight(HFONT font, const std::wstring& text, int width);

/// An icon of the program's resources in exactly this size.
Icon LoadPicture(int id, int width, int height);

}  // namespace mv::win32
