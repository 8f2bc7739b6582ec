#include "run/windows/Notice.h"

#include <windows.h>

#include "platform/windows/Wide.h"

namespace mv {
namespace {

constexpr const wchar_t* kTitle = L"MVPPCSync";

bool IsUsable(HANDLE handle) {
  return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

bool WriteToConsole(HANDLE console, const std::wstring& text) {
  DWORD count = 0;
  return ::WriteConsoleW(console, text.data(), static_cast<DWORD>(text.size()), &count, nullptr) != FALSE;
}

/// False when there is none, or when it cannot be written.
bool WriteToOwnHandle(DWORD which, const std::string& text) {
  const HANDLE handle = ::GetStdHandle(which);
  if (!IsUsable(handle)) return false;
  if (WriteToConsole(handle, platform::Wide(text))) return true;
  DWORD count = 0;
  return ::WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &count, nullptr) != FALSE;
}

/// A prompt that does not wait for programs with windows has written itself there already.
bool IsWithinALine(HANDLE console) {
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  return ::GetConsoleScreenBufferInfo(console, &info) != FALSE && info.dwCursorPosition.X != 0;
}

void WriteToParentsConsole(const std::string& text) {
  // It fails, too, where the program has come into its parent's console by being started.
  const bool isAttached = ::AttachConsole(ATTACH_PARENT_PROCESS) != FALSE;
  const HANDLE console = ::CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       nullptr, OPEN_EXISTING, 0, nullptr);
  if (IsUsable(console)) {
    WriteToConsole(console, platform::Wide((IsWithinALine(console) ? "\r\n" : "") + text));
    ::CloseHandle(console);
  }
  if (isAttached) ::FreeConsole();
}

}  // namespace

void SystemNoticeOutlet::ShowBox(const std::string& text) {
  ::MessageBoxW(nullptr, platform::Wide(text).c_str(), kTitle, MB_OK | MB_ICONEXCLAMATION);
}

void SystemNoticeOutlet::WriteToStandardError(const std::string& text) {
  if (!WriteToOwnHandle(STD_ERROR_HANDLE, text)) WriteToParentsConsole(text);
}

void SystemNoticeOutlet::WriteToStandardOutput(const std::string& text) {
  if (!WriteToOwnHandle(STD_OUTPUT_HANDLE, text)) WriteToParentsConsole(text);
}

void TellUser(const std::string& words, const Invocation& invocation, NoticeOutlet& outlet) {
  if (words.empty()) return;
  if (invocation.silentMode) {
    outlet.WriteToStandardError(words);
  } else {
    outlet.ShowBox(words.substr(0, words.find_last_not_of('\n') + 1));
  }
}

}  // namespace mv
