// console_user c|break|close|logoff|shutdown SIGNAL-FILE OUTPUT-FILE PROGRAM [WORD ...]
//
// Runs a program on a new console, its output going to a file. When the signal file appears, Ctrl-C is pressed, or one
// of the console's other events happens. Ends with the program's exit status; 200 and more when something went wrong
// here.

#include <windows.h>

#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace {

constexpr int kUsage = 200;
constexpr int kNoConsole = 201;
constexpr int kNoOutput = 202;
constexpr int kNoProgram = 203;
constexpr int kNoEvent = 204;
constexpr int kNoEnd = 205;
constexpr DWORD kPatience = 30000;

/// This program outlives what it presses.
BOOL WINAPI Ignore(DWORD) {
  return TRUE;
}

std::wstring CommandLine(int count, wchar_t** words) {
  std::wstring line;
  for (int i = 0; i < count; ++i) line += std::wstring(i == 0 ? L"" : L" ") + L'"' + words[i] + L'"';
  return line;
}

HANDLE OpenOutput(const wchar_t* path) {
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  return ::CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, CREATE_ALWAYS, 0, nullptr);
}

HANDLE Start(std::wstring line, HANDLE output) {
  STARTUPINFOW start = {};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdOutput = output;
  start.hStdError = output;
  PROCESS_INFORMATION process = {};
  if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process)) {
    return nullptr;
  }
  ::CloseHandle(process.hThread);
  return process.hProcess;
}

/// False when the program ended, or the time was up, before.
bool WaitForSignal(const wchar_t* path, HANDLE process) {
  constexpr DWORD kBetweenLooks = 20;
  for (DWORD waited = 0; waited < kPatience; waited += kBetweenLooks) {
    if (::GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES) return true;
    if (::WaitForSingleObject(process, kBetweenLooks) == WAIT_OBJECT_0) return false;
  }
  return false;
}

std::optional<DWORD> EventOf(std::wstring_view word) {
  if (word == L"c") return CTRL_C_EVENT;
  if (word == L"break") return CTRL_BREAK_EVENT;
  if (word == L"close") return CTRL_CLOSE_EVENT;
  if (word == L"logoff") return CTRL_LOGOFF_EVENT;
  if (word == L"shutdown") return CTRL_SHUTDOWN_EVENT;
  return std::nullopt;
}

/// Only Ctrl-C is pressed; the others come as the system lets them come: as a thread of the program that begins in a
/// function of a system library, which lies at the same address in every process.
bool Happen(DWORD event, HANDLE process) {
  if (event == CTRL_C_EVENT) return ::GenerateConsoleCtrlEvent(event, 0) != FALSE;
  const FARPROC routine = ::GetProcAddress(::GetModuleHandleW(L"kernelbase.dll"), "CtrlRoutine");
  if (routine == nullptr) return false;
  const HANDLE thread = ::CreateRemoteThread(process, nullptr, 0, std::bit_cast<LPTHREAD_START_ROUTINE>(routine),
                                             std::bit_cast<void*>(std::uintptr_t{event}), 0, nullptr);
  if (thread != nullptr) ::CloseHandle(thread);
  return thread != nullptr;
}

}  // namespace

int wmain(int count, wchar_t** words) {
  if (count < 5) return kUsage;
  const std::optional<DWORD> event = EventOf(words[1]);
  if (!event) return kUsage;
  ::FreeConsole();
  if (!::AllocConsole()) return kNoConsole;
  // Whoever started this may have asked that Ctrl-C be ignored, which programs inherit.
  ::SetConsoleCtrlHandler(nullptr, FALSE);
  const HANDLE output = OpenOutput(words[3]);
  if (output == INVALID_HANDLE_VALUE) return kNoOutput;
  const HANDLE process = Start(CommandLine(count - 4, words + 4), output);
  if (process == nullptr) return kNoProgram;
  ::SetConsoleCtrlHandler(Ignore, TRUE);
  if (WaitForSignal(words[2], process) && !Happen(*event, process)) return kNoEvent;
  if (::WaitForSingleObject(process, kPatience) != WAIT_OBJECT_0) {
    ::TerminateProcess(process, kNoEnd);
    return kNoEnd;
  }
  DWORD status = 0;
  ::GetExitCodeProcess(process, &status);
  return static_cast<int>(status);
}
