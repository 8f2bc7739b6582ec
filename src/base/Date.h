#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mv {

/// A point in local time as the platform counts it: days since 1899-12-30 00:00, the fraction being the time of day.
/// Before that day the whole part is negative and the fraction still counts forward: -1.25 is 1899-12-29 06:00.
struct Date {
  double days = 0;

  friend bool operator==(const Date&, const Date&) = default;
};

/// The same point as a calendar shows it, to the second.
struct CivilTime {
  int year = 1899;
  int month = 12;  ///< 1 to 12
  int day = 30;    ///< 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;

  friend bool operator==(const CivilTime&, const CivilTime&) = default;
};

/// Whole days from 1899-12-30 to the given day of the proleptic Gregorian calendar.
std::int64_t DayNumber(int year, int month, int day);

/// Rounds to the nearest second, but never beyond the year 9999. Error 6 outside the years 100 to 9999.
CivilTime CivilFromDate(Date date);
Date DateFromCivil(const CivilTime& civil);

/// Whole seconds from 1899-12-30 00:00 (negative before), the time of day rounded as CivilFromDate does.
/// Error 6 for a value that is no number or lies outside the years 100 to 9999.
std::int64_t SecondsFromDate(Date date);
/// The inverse of SecondsFromDate.
Date DateFromSeconds(std::int64_t seconds);

/// "2026-11-21T14:05:09"; with no time of day "2026-11-21T00:00:00".
std::string IsoFromDate(Date date);
/// The same, appended to a text that the caller reuses.
void AppendIso(std::string& text, Date date);
/// Reads "2026-11-21", "2026-11-21T14:05" and "2026-11-21T14:05:09" (a blank may stand for the T); nothing else.
std::optional<Date> DateFromIso(std::string_view text);

/// Like IsoFromDate, with as few decimals of a second as give the same date back, none where it takes none:
/// "2026-11-21T14:05:09.125". Keys and table files go to the second and use IsoFromDate. Error 6 for a date that no
/// such text gives: outside the years 100 to 9999, and where the time of day is finer than eleven decimals or negative.
std::string PreciseIsoFromDate(Date date);
/// The inverse; reads all that DateFromIso does, and up to eleven decimals of a second.
std::optional<Date> DateFromPreciseIso(std::string_view text);

/// "yyyymmdd-hhmmss", as names of files carry a time.
std::string TimeStamp(const CivilTime& time);
/// True for a text of that form; the digits need be no date.
bool IsTimeStamp(std::string_view text);
CivilTime SecondAfter(const CivilTime& time);

}  // namespace mv
