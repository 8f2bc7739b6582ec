#pragma once

#include <string>
#include <vector>

#include "ui/win32/Dpi.h"

namespace mv::win32 {

/// A toolbar of pictures with texts. A click sends its parent WM_COMMAND with the button's number.
///
/// The keyboard works in it as in a row of push buttons: the arrow keys, Home and End choose a button, Space and Enter
/// press it.
class ToolBar {
 public:
  struct Button {
    int command = 0;  ///< 0: a separator
    int pictureId = 0;
    std::string text;
    std::string tip;
  };

  ToolBar(HWND parent, int id, std::vector<Button> buttons);
  ToolBar(const ToolBar&) = delete;
  ToolBar& operator=(const ToolBar&) = delete;
  ~ToolBar();

  HWND Window() const { return window_; }
  int Height() const;
  void Enable(int command, bool enabled);
  /// The tip of a button, for TTN_GETDISPINFO.
  std::wstring TipOf(int command) const;
  /// Pictures and font of another scaling. The font must live as long as the toolbar shows it.
  void Rescale(const Dpi& dpi, HFONT font);

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM large, UINT_PTR id,
                                    DWORD_PTR toolBar);
  bool HandleKey(WPARAM key);
  /// The next button from `start` on in steps of `step` that is enabled; -1 when there is none.
  int NextEnabled(int start, int step) const;
  void Press();

  HWND window_;
  std::vector<Button> buttons_;
  ImageList pictures_;
};

}  // namespace mv::win32
