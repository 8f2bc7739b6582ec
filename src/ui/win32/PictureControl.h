#pragma once

#include <map>

#include "ui/win32/Dpi.h"

namespace mv::win32 {

/// A child window that shows a picture in its middle, painted without flicker. Its window text is not shown; screen
/// readers say it. Answers STM_GETICON.
class PictureControl {
 public:
  /// `size`: of the picture, in units of 1/96 inch. `background`: a system colour. Made once per window; destroyed by
  /// its parent.
  PictureControl(HWND parent, int id, int size, int background, DWORD extendedStyle = 0);
  PictureControl(const PictureControl&) = delete;
  PictureControl& operator=(const PictureControl&) = delete;
  ~PictureControl();

  HWND Window() const { return window_; }
  /// A picture of the resources; 0 shows none.
  void Show(int pictureId);
  /// The window may have come to a screen of another scaling.
  void Rescale();

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM large);
  void Paint() const;
  void Draw(HDC canvas, const RECT& area) const;
  HICON Shown() const;

  int size_;
  int background_;
  int pictureId_ = 0;
  int pixels_ = 0;
  std::map<int, Icon> icons_;  ///< the pictures shown so far, in this size
  HWND window_;
};

}  // namespace mv::win32
