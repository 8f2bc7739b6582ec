#pragma once

#include <string>

#include "ui/win32/Dpi.h"

namespace mv::win32 {

/// A modal window with the keyboard of a dialog: Tab, the arrow keys in a group, Enter for the default button, Esc for
/// IDCANCEL, keyboard marks. Controls are made and placed in code, in the user's message font, and placed anew when the
/// window comes to a screen of another scaling and when the user changes the font.
class ModalDialog {
 public:
  explicit ModalDialog(std::wstring caption) : caption_(std::move(caption)) {}
  ModalDialog(const ModalDialog&) = delete;
  ModalDialog& operator=(const ModalDialog&) = delete;
  virtual ~ModalDialog() = default;

  /// Shows the window over the middle of `owner`, which is disabled until the window is closed.
  void Run(HWND owner);
  /// The same, but returns at once; an open one comes to the front. Whoever dispatches the thread's messages gives the
  /// window its keyboard. It goes with its owner.
  void Open(HWND owner);
  bool IsOpen() const { return window_ != nullptr; }
  /// Null while it is not open.
  HWND Window() const { return window_; }

 protected:
  HFONT MessageFont() const { return font_.get(); }
  HWND Control(int id) const { return ::GetDlgItem(window_, id); }
  void Close();

  virtual void MakeControls() = 0;
  /// The controls are there, in no place yet.
  virtual void Load() = 0;
  /// Places the controls; returns the size of the client area. Font and scaling may have changed.
  virtual SIZE PlaceControls(const Dpi& dpi) = 0;
  /// What the user did to a control: its number and notification code.
  virtual void Command(int id, int code) = 0;

 private:
  static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM large);
  bool Handle(UINT message, WPARAM wide, LPARAM large);
  void Create();
  void Arrange();
  void CentreOverOwner();

  std::wstring caption_;
  HWND window_ = nullptr;
  bool ownLoop_ = false;  ///< of Run
  Font font_;
};

}  // namespace mv::win32
