#include "platform/System.h"

#include <locale.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <thread>

#include "base/Cp1252.h"
#include "base/Text.h"
#include "base/Utf.h"

namespace mv::platform {
namespace {

/// The user's locale for times; "C" when the one asked for is not installed.
class TimeLocale {
 public:
  TimeLocale() : locale_(::newlocale(LC_TIME_MASK | LC_CTYPE_MASK, "", nullptr)) {
    if (locale_ == nullptr) locale_ = ::newlocale(LC_TIME_MASK | LC_CTYPE_MASK, "C", nullptr);
  }
  ~TimeLocale() { ::freelocale(locale_); }
  TimeLocale(const TimeLocale&) = delete;
  TimeLocale& operator=(const TimeLocale&) = delete;
  locale_t Get() const { return locale_; }

 private:
  locale_t locale_;
};

std::tm BrokenDownTime(const CivilTime& time) {
  constexpr std::int64_t kSaturday = 6;  // 1899-12-30, day number 0
  std::tm broken = {};
  broken.tm_year = time.year - 1900;
  broken.tm_mon = time.month - 1;
  broken.tm_mday = time.day;
  broken.tm_hour = time.hour;
  broken.tm_min = time.minute;
  broken.tm_sec = time.second;
  broken.tm_wday = static_cast<int>((DayNumber(time.year, time.month, time.day) % 7 + kSaturday + 7) % 7);
  return broken;
}

/// What of a time is worth showing, as strftime's pattern.
const char* FormOf(const CivilTime& time) {
  const bool midnight = time.hour == 0 && time.minute == 0 && time.second == 0;
  if (DayNumber(time.year, time.month, time.day) == 0) return "%X";
  return midnight ? "%x" : "%x %X";
}

}  // namespace

std::string ProgramFolder() {
  char path[PATH_MAX] = {};
  const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path - 1);
  if (length <= 0) return ".";
  const std::string program(path, static_cast<std::size_t>(length));
  const std::size_t folder = FolderLength(program);
  return folder <= 1 ? "/" : program.substr(0, folder - 1);
}

std::string InstalledDataFolder(const std::string& programFolder) {
  return programFolder.substr(0, FolderLength(programFolder)) + "share/mvppcsync";
}

std::optional<std::string> EnvironmentVariable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  if (value == nullptr) return std::nullopt;
  return std::string(value);
}

std::string TemporaryFolder() {
  std::string folder = EnvironmentVariable("TMPDIR").value_or("");
  while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
  return folder.empty() ? "/tmp" : folder;
}

std::string CommandLine(int argc, char** argv) {
  std::string line;
  for (int i = 1; i < argc; ++i) {
    if (i > 1) line += ' ';
    line += ValidUtf8(argv[i]);
  }
  return line;
}

std::string LocalDateTimeText(const CivilTime& time) {
  const std::tm broken = BrokenDownTime(time);
  const TimeLocale locale;
  char text[128] = {};
  const std::size_t length = ::strftime_l(text, sizeof text, FormOf(time), &broken, locale.Get());
  const std::string_view raw(text, length);
  // Locales with a single-byte encoding are rare enough to be read as the code page they mostly agree with.
  return IsValidUtf8(raw) ? std::string(raw) : Utf8FromCp1252(raw);
}

CivilTime SystemClock::Now() const {
  const std::time_t now = std::time(nullptr);
  std::tm broken = {};
  ::localtime_r(&now, &broken);
  CivilTime civil;
  civil.year = broken.tm_year + 1900;
  civil.month = broken.tm_mon + 1;
  civil.day = broken.tm_mday;
  civil.hour = broken.tm_hour;
  civil.minute = broken.tm_min;
  civil.second = broken.tm_sec == 60 ? 59 : broken.tm_sec;
  return civil;
}

void SystemClock::Sleep(std::chrono::milliseconds duration) const {
  std::this_thread::sleep_for(duration);
}

}  // namespace mv::platform
