#pragma once

#include <string>

#include "ui/win32/Handles.h"

namespace mv::win32 {

/// A child window in no place yet. `text` goes to the window as it is.
HWND MakeChild(HWND parent, const wchar_t* className, const std::wstring& text, DWORD style, int id,
               DWORD extendedStyle = 0);
void SetText(HWND window, const std::wstring& text);
/// A window's text, UTF-8.
std::string TextOf(HWND window);
/// Gives every child of `parent` the font.
void SetFonts(HWND parent, HFONT font);
/// Moves a child; `place` in pixels of its parent.
void Place(HWND child, const RECT& place);

/// Hands a message on to every child: the common controls do not see all of their parent's.
void TellChildren(HWND parent, UINT message, WPARAM wide, LPARAM large);
/// Room between a window's edge and its client area, both sides together.
SIZE FrameSize(HWND window);
/// The part of the screen around `window` that no task bar covers.
RECT WorkArea(HWND window);

/// The tips of one window's controls.
class ToolTips {
 public:
  explicit ToolTips(HWND owner);
  /// A tip for a whole control.
  void Add(HWND control, const std::string& tip);
  /// A tip for part of a control; to be repeated whenever the part has moved. `part` counts from 0.
  void AddPart(HWND control, UINT_PTR part, const RECT& place, const std::string& tip);
  void SetTip(HWND control, const std::string& tip);

 private:
  HWND window_;
};

}  // namespace mv::win32
