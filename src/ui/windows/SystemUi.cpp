#include "ui/SystemUi.h"

#include <windows.h>
// After windows.h, which it needs.
#include <commctrl.h>

#include <chrono>

#include "ui/frmMain.h"
#include "ui/win32/MainView.h"

namespace mv {
namespace {

class WindowsSilentUserInterface : public SilentUserInterface {
 public:
  void SetHourglass(bool on) override { ::SetCursor(::LoadCursorW(nullptr, on ? IDC_WAIT : IDC_ARROW)); }

  void ProcessMessages() override {
    const auto now = std::chrono::steady_clock::now();
    if (now < nextMessages_) return;
    nextMessages_ = now + frmMain::kMessageTime;
    MSG message = {};
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      if (message.message == WM_QUIT) {
        // It ends the outermost loop, not this one.
        ::PostQuitMessage(static_cast<int>(message.wParam));
        return;
      }
      ::TranslateMessage(&message);
      ::DispatchMessageW(&message);
    }
  }

 private:
  /// A merge asks after each row, and looking takes longer than a row.
  std::chrono::steady_clock::time_point nextMessages_;
};

class Win32Toolkit : public Toolkit {
 public:
  std::unique_ptr<frmMainView> MakeMainView(frmMain& form) override { return std::make_unique<win32::MainView>(form); }
};

}  // namespace

bool InitCommonControls() {
  INITCOMMONCONTROLSEX classes = {};
  classes.dwSize = sizeof classes;
  static_assert(sizeof classes == 8);
  classes.dwICC = ICC_USEREX_CLASSES;
  return ::InitCommonControlsEx(&classes) != FALSE;
}

std::unique_ptr<UserInterface> MakeSilentUserInterface() {
  return std::make_unique<WindowsSilentUserInterface>();
}

FoundToolkit FindToolkit() {
  return {std::make_unique<Win32Toolkit>(), ""};
}

}  // namespace mv
