#include <windows.h>

namespace {

/// Milliseconds since the system was started, near enough: only differences are looked at.
ULONGLONG WINAPI ElapsedMilliseconds() {
  LARGE_INTEGER frequency = {};
  LARGE_INTEGER counter = {};
  ::QueryPerformanceFrequency(&frequency);
  ::QueryPerformanceCounter(&counter);
  const auto ticks = static_cast<ULONGLONG>(counter.QuadPart);
  const auto perSecond = static_cast<ULONGLONG>(frequency.QuadPart);
  // In two steps, because 1000 times the ticks of a long uptime would not fit.
  return ticks / perSecond * 1000 + ticks % perSecond * 1000 / perSecond;
}

}  // namespace

/// The compiler's threads library calls GetTickCount64, which Windows XP does not have; a program that imports it does
/// not even start there. This is the pointer through which such a call goes, under the name that the linker looks for:
/// it finds it here and asks the system for nothing. Linked into the 32-bit programs as an object of its own, because
/// the linker looks into libraries too late.
extern "C" {
extern ULONGLONG(WINAPI* importedGetTickCount64)() __asm__("__imp__GetTickCount64@0");
ULONGLONG(WINAPI* importedGetTickCount64)() = &ElapsedMilliseconds;
}
