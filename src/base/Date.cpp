#include "base/Date.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "base/Error.h"

namespace mv {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr double kFirstDay = -657434;  // 0100-01-01
constexpr double kEndDay = 2958466;    // 10000-01-01
/// Days from 0000-03-01, the start of the era arithmetic below, to 1899-12-30.
constexpr std::int64_t kEpochShift = 693899;

bool IsLeapYear(int year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int DaysInMonth(int year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

CivilTime CivilFromDayNumber(std::int64_t dayNumber) {
  // Years that begin in March put the leap day last, so that months have a linear day formula.
  const std::int64_t days = dayNumber + kEpochShift;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t dayOfEra = days - era * 146097;
  const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
  CivilTime civil;
  civil.day = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
  civil.month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
  civil.year = static_cast<int>(yearOfEra + era * 400 + (civil.month <= 2 ? 1 : 0));
  return civil;
}

bool ReadDigits(std::string_view& text, std::size_t count, int& value) {
  if (text.size() < count) return false;
  const auto [end, error] = std::from_chars(text.data(), text.data() + count, value);
  if (error != std::errc() || end != text.data() + count || text[0] == '-') return false;
  text.remove_prefix(count);
  return true;
}

bool ReadMark(std::string_view& text, std::string_view allowed) {
  if (text.empty() || allowed.find(text[0]) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

bool ReadTime(std::string_view text, CivilTime& civil) {
  if (!ReadDigits(text, 2, civil.hour) || !ReadMark(text, ":") || !ReadDigits(text, 2, civil.minute)) return false;
  if (!text.empty() && (!ReadMark(text, ":") || !ReadDigits(text, 2, civil.second))) return false;
  return text.empty() && civil.hour < 24 && civil.minute < 60 && civil.second < 60;
}

/// With more, a time of day counted in them would not fit the 53 bits of a double.
constexpr int kMostDecimals = 11;

/// A point in time counted in parts of a second from midnight.
struct FineTime {
  std::int64_t day = 0;
  std::int64_t parts = 0;
  std::int64_t partsPerSecond = 1;
};

Date DateFromFineTime(const FineTime& time) {
  const double fraction = static_cast<double>(time.parts) / static_cast<double>(kSecondsPerDay * time.partsPerSecond);
  const auto whole = static_cast<double>(time.day);
  return Date{time.day < 0 ? whole - fraction : whole + fraction};
}

/// The nearest point of `partsPerSecond` on the same day.
FineTime FineTimeFromDate(Date date, std::int64_t partsPerSecond) {
  const double whole = std::trunc(date.days);
  const double parts = std::fabs(date.days - whole) * static_cast<double>(kSecondsPerDay * partsPerSecond);
  return {static_cast<std::int64_t>(whole), std::llround(parts), partsPerSecond};
}

/// The last `count` decimal digits of a number that is not negative.
void AppendDigits(std::string& text, std::int64_t number, std::size_t count) {
  text.append(count, '0');
  for (std::size_t i = text.size(); count-- > 0; number /= 10) text[--i] = static_cast<char>('0' + number % 10);
}

}  // namespace

std::int64_t DayNumber(int year, int month, int day) {
  const std::int64_t y = year - (month <= 2 ? 1 : 0);
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const std::int64_t yearOfEra = y - era * 400;
  const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - kEpochShift;
}

std::int64_t SecondsFromDate(Date date) {
  if (!(date.days > kFirstDay - 1 && date.days < kEndDay)) throw StandardError(errors::kOverflow);
  const double whole = std::trunc(date.days);
  const double fraction = std::fabs(date.days - whole);
  const std::int64_t seconds = static_cast<std::int64_t>(whole) * kSecondsPerDay +
                               static_cast<std::int64_t>(std::llround(fraction * static_cast<double>(kSecondsPerDay)));
  // The last half second of the calendar would be rounded out of it.
  return std::min(seconds, static_cast<std::int64_t>(kEndDay) * kSecondsPerDay - 1);
}

Date DateFromSeconds(std::int64_t seconds) {
  std::int64_t day = seconds / kSecondsPerDay;
  std::int64_t rest = seconds % kSecondsPerDay;
  if (rest < 0) {
    rest += kSecondsPerDay;
    --day;
  }
  return DateFromFineTime({day, rest});
}

CivilTime CivilFromDate(Date date) {
  const std::int64_t seconds = SecondsFromDate(date);
  std::int64_t day = seconds / kSecondsPerDay;
  std::int64_t rest = seconds % kSecondsPerDay;
  if (rest < 0) {
    rest += kSecondsPerDay;
    --day;
  }
  CivilTime civil = CivilFromDayNumber(day);
  civil.hour = static_cast<int>(rest / 3600);
  civil.minute = static_cast<int>(rest / 60 % 60);
  civil.second = static_cast<int>(rest % 60);
  return civil;
}

Date DateFromCivil(const CivilTime& civil) {
  const std::int64_t day = DayNumber(civil.year, civil.month, civil.day);
  return DateFromSeconds(day * kSecondsPerDay + civil.hour * 3600 + civil.minute * 60 + civil.second);
}

std::string IsoFromDate(Date date) {
  std::string text;
  AppendIso(text, date);
  return text;
}

void AppendIso(std::string& text, Date date) {
  const CivilTime civil = CivilFromDate(date);
  AppendDigits(text, civil.year, 4);
  AppendDigits(text += '-', civil.month, 2);
  AppendDigits(text += '-', civil.day, 2);
  AppendDigits(text += 'T', civil.hour, 2);
  AppendDigits(text += ':', civil.minute, 2);
  AppendDigits(text += ':', civil.second, 2);
}

std::optional<Date> DateFromIso(std::string_view text) {
  CivilTime civil;
  if (!ReadDigits(text, 4, civil.year) || !ReadMark(text, "-") || !ReadDigits(text, 2, civil.month) ||
      !ReadMark(text, "-") || !ReadDigits(text, 2, civil.day)) {
    return std::nullopt;
  }
  if (civil.year < 100 || civil.month < 1 || civil.month > 12) return std::nullopt;
  if (civil.day < 1 || civil.day > DaysInMonth(civil.year, civil.month)) return std::nullopt;
  if (!text.empty() && (!ReadMark(text, "T ") || !ReadTime(text, civil))) return std::nullopt;
  return DateFromCivil(civil);
}

std::string PreciseIsoFromDate(Date date) {
  const std::int64_t seconds = SecondsFromDate(date);
  if (DateFromSeconds(seconds) == date) return IsoFromDate(date);
  std::int64_t partsPerSecond = 1;
  for (std::size_t decimals = 1; decimals <= kMostDecimals; ++decimals) {
    partsPerSecond *= 10;
    const FineTime time = FineTimeFromDate(date, partsPerSecond);
    if (time.parts >= kSecondsPerDay * partsPerSecond || DateFromFineTime(time) != date) continue;
    std::string text = IsoFromDate(DateFromFineTime({time.day, time.parts / partsPerSecond}));
    AppendDigits(text += '.', time.parts % partsPerSecond, decimals);
    return text;
  }
  throw StandardError(errors::kOverflow);
}

std::optional<Date> DateFromPreciseIso(std::string_view text) {
  constexpr std::size_t kToTheSecond = 19;
  if (text.size() <= kToTheSecond || text[kToTheSecond] != '.') return DateFromIso(text);
  const std::optional<Date> whole = DateFromIso(text.substr(0, kToTheSecond));
  const std::string_view decimals = text.substr(kToTheSecond + 1);
  if (!whole || decimals.empty() || decimals.size() > kMostDecimals) return std::nullopt;
  FineTime time = FineTimeFromDate(*whole, 1);
  for (const char digit : decimals) {
    if (digit < '0' || digit > '9') return std::nullopt;
    time.parts = time.parts * 10 + (digit - '0');
    time.partsPerSecond *= 10;
  }
  return DateFromFineTime(time);
}

std::string TimeStamp(const CivilTime& time) {
  std::string text = IsoFromDate(DateFromCivil(time));
  std::erase_if(text, [](char c) { return c == '-' || c == ':'; });
  text[text.find('T')] = '-';
  return text;
}

bool IsTimeStamp(std::string_view text) {
  constexpr std::string_view kForm = "dddddddd-dddddd";
  const auto fits = [](char c, char wanted) { return wanted == 'd' ? c >= '0' && c <= '9' : c == wanted; };
  return text.size() == kForm.size() && std::equal(text.begin(), text.end(), kForm.begin(), fits);
}

CivilTime SecondAfter(const CivilTime& time) {
  return CivilFromDate(DateFromSeconds(SecondsFromDate(DateFromCivil(time)) + 1));
}

}  // namespace mv
