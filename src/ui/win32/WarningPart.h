#pragma once

#include "ui/win32/Handles.h"

namespace mv::win32 {

/// A part of a status bar whose text can be a warning: bold, and in a colour that can be told from the text beside it.
/// The text stays the part's own, for screen readers too.
class WarningPart {
 public:
  /// `part` counts from 0.
  WarningPart(HWND statusBar, WPARAM part);
  WarningPart(const WarningPart&) = delete;
  WarningPart& operator=(const WarningPart&) = delete;
  ~WarningPart();

  void Warn(bool on);
  /// Takes the font for the scaling of the window's screen.
  void Rescale();

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM large, UINT_PTR id,
                                    DWORD_PTR reference);
  void Paint() const;

  HWND bar_;
  WPARAM part_;
  Font font_;
  bool warns_ = false;
};

}  // namespace mv::win32
