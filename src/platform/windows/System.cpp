#include "platform/System.h"

#include <windows.h>

#include "base/Text.h"
#include "platform/windows/Wide.h"

namespace mv::platform {
namespace {

SYSTEMTIME SystemTimeOf(const CivilTime& time) {
  SYSTEMTIME result = {};
  result.wYear = static_cast<WORD>(time.year);
  result.wMonth = static_cast<WORD>(time.month);
  result.wDay = static_cast<WORD>(time.day);
  result.wHour = static_cast<WORD>(time.hour);
  result.wMinute = static_cast<WORD>(time.minute);
  result.wSecond = static_cast<WORD>(time.second);
  return result;
}

}  // namespace

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

std::string LocalDateTimeText(const CivilTime& time) {
  const SYSTEMTIME system = SystemTimeOf(time);
  wchar_t date[80] = {};
  wchar_t clock[80] = {};
  ::GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &system, nullptr, date, 80);
  ::GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &system, nullptr, clock, 80);
  return Narrow(date) + " " + Narrow(clock);
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

}  // namespace mv::platform
