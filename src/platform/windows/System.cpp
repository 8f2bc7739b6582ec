#include "platform/System.h"

#include <windows.h>
// After windows.h, which it needs.
#include <oleauto.h>

#include "base/Error.h"
#include "base/Text.h"
#include "platform/windows/CommandLine.h"
#include "platform/windows/Wide.h"

namespace mv::platform {
std::string ProgramFolder() {
  std::wstring path(MAX_PATH, L'\0');
  DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  while (length == path.size()) {
    path.resize(path.size() * 2);
    length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  }
  path.resize(length);
  const std::string program = Narrow(path);
  const std::size_t folder = FolderLength(program);
  return folder == 0 ? "." : program.substr(0, folder - 1);
}

std::string InstalledDataFolder(const std::string& programFolder) {
  return programFolder;
}

std::optional<std::string> EnvironmentVariable(const std::string& name) {
  const std::wstring wide = Wide(name);
  ::SetLastError(ERROR_SUCCESS);
  const DWORD length = ::GetEnvironmentVariableW(wide.c_str(), nullptr, 0);
  if (length == 0) {
    if (::GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
    return std::string();
  }
  std::wstring value(length, L'\0');
  value.resize(::GetEnvironmentVariableW(wide.c_str(), value.data(), length));
  return Narrow(value);
}

std::string TemporaryFolder() {
  std::wstring folder(MAX_PATH + 1, L'\0');
  folder.resize(::GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()));
  while (folder.ends_with(L'\\')) folder.pop_back();
  return Narrow(folder);
}

std::string LocalDateTimeText(const CivilTime& time) {
  BSTR text = nullptr;
  const HRESULT result = ::VarBstrFromDate(DateFromCivil(time).days, LOCALE_USER_DEFAULT, 0, &text);
  if (FAILED(result)) throw StandardError(errors::kTypeMismatch);
  const std::string narrow = Narrow(std::wstring_view(text, ::SysStringLen(text)));
  ::SysFreeString(text);
  return narrow;
}

std::string CommandLine(int, char**) {
  return Narrow(ArgumentsOf(::GetCommandLineW()));
}

CivilTime SystemClock::Now() const {
  SYSTEMTIME now = {};
  ::GetLocalTime(&now);
  CivilTime civil;
  civil.year = now.wYear;
  civil.month = now.wMonth;
  civil.day = now.wDay;
  civil.hour = now.wHour;
  civil.minute = now.wMinute;
  civil.second = now.wSecond;
  return civil;
}

void SystemClock::Sleep(std::chrono::milliseconds duration) const {
  ::Sleep(static_cast<DWORD>(duration.count()));
}

}  // namespace mv::platform
