#include "platform/Interruption.h"

#include <windows.h>

namespace mv::platform {
namespace {

/// Set by the handler, which the system calls on a thread of its own without an argument: so it has to be found here.
HANDLE Wish() {
  static const HANDLE event = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
  return event;
}

BOOL WINAPI TakeWish(DWORD) {
  ::SetEvent(Wish());
  return TRUE;
}

}  // namespace

Interruption::Interruption() {
  ::ResetEvent(Wish());
  ::SetConsoleCtrlHandler(TakeWish, TRUE);
}

Interruption::~Interruption() {
  ::SetConsoleCtrlHandler(TakeWish, FALSE);
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
