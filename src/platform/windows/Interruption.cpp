#include "platform/Interruption.h"

#include <windows.h>

#include <atomic>

namespace mv::platform {
namespace {

/// Set by the handler, which the system calls on a thread of its own without an argument: so it has to be found here.
HANDLE Wish() {
  static const HANDLE event = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
  return event;
}

/// True once the console closes, the user logs off or the machine goes down.
std::atomic<bool>& IsSessionEnding() {
  static std::atomic<bool> isEnding = false;
  return isEnding;
}

BOOL WINAPI TakeWish(DWORD kind) {
  const bool leavesTheProgram = kind == CTRL_C_EVENT || kind == CTRL_BREAK_EVENT;
  if (!leavesTheProgram) IsSessionEnding() = true;
  ::SetEvent(Wish());
  // As soon as this returns the system ends the process, and some seconds later in any case. So the program has these
  // seconds; its end ends this thread too.
  if (!leavesTheProgram) ::Sleep(INFINITE);
  return TRUE;
}

}  // namespace

Interruption::Interruption() {
  ::ResetEvent(Wish());
  ::SetConsoleCtrlHandler(TakeWish, TRUE);
}

Interruption::~Interruption() {
  // While a handler runs the system lets nobody touch the list of handlers, and that one does not return.
  if (!IsSessionEnding()) ::SetConsoleCtrlHandler(TakeWish, FALSE);
}

void Interruption::Wait() {
  while (!WaitFor(std::chrono::hours(1))) {
  }
}

bool Interruption::WaitFor(std::chrono::milliseconds duration) {
  if (!wasWished_) wasWished_ = ::WaitForSingleObject(Wish(), static_cast<DWORD>(duration.count())) == WAIT_OBJECT_0;
  return wasWished_;
}

}  // namespace mv::platform
