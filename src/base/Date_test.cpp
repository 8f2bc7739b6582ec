#include "base/Date.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "support/ExpectError.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;

TEST(DateTest, DayZeroIsThirtiethOfDecember1899) {
  EXPECT_EQ(DayNumber(1899, 12, 30), 0);
  EXPECT_EQ(DayNumber(1904, 1, 1), 1462);
  EXPECT_EQ(DayNumber(1972, 1, 1), 26299);
  EXPECT_EQ(DayNumber(2000, 2, 29), 36585);
  EXPECT_EQ(DayNumber(100, 1, 1), -657434);
  EXPECT_EQ(DayNumber(9999, 12, 31), 2958465);
}

TEST(DateTest, EveryDayOfTheRangeRoundTripsThroughTheCalendar) {
  for (std::int64_t day = -657434; day <= 2958465; day += 13) {
    const CivilTime civil = CivilFromDate(Date{static_cast<double>(day)});
    ASSERT_EQ(DayNumber(civil.year, civil.month, civil.day), day);
  }
}

TEST(DateTest, BeforeDayZeroTheFractionStillCountsForward) {
  EXPECT_EQ(IsoFromDate(Date{-1.25}), "1899-12-29T06:00:00");
  EXPECT_EQ(DateFromIso("1899-12-29T06:00:00"), Date{-1.25});
  EXPECT_EQ(IsoFromDate(Date{0.5}), "1899-12-30T12:00:00");
}

TEST(DateTest, TheTimeOfDayIsRoundedToTheNearestSecond) {
  EXPECT_EQ(IsoFromDate(Date{36585 + 0.99999999}), "2000-03-01T00:00:00");
  EXPECT_EQ(SecondsFromDate(Date{1 + 0.4 / 86400}), 86400);
  EXPECT_EQ(SecondsFromDate(Date{1 + 0.6 / 86400}), 86401);
}

TEST(DateTest, TheLastHalfSecondOfTheCalendarIsNotRoundedOutOfIt) {
  EXPECT_EQ(IsoFromDate(Date{2958465.9999999}), "9999-12-31T23:59:59");
  EXPECT_EQ(DateFromSeconds(SecondsFromDate(Date{2958465.9999999})), *DateFromIso("9999-12-31T23:59:59"));
}

TEST(DateTest, SecondsRoundTrip) {
  for (const std::int64_t seconds : {std::int64_t{0}, std::int64_t{1}, std::int64_t{-1}, std::int64_t{-86400},
                                     std::int64_t{-86399}, std::int64_t{3999999999}, std::int64_t{126316800}}) {
    EXPECT_EQ(SecondsFromDate(DateFromSeconds(seconds)), seconds);
  }
}

TEST(DateTest, ValuesOutsideTheCalendarOverflow) {
  EXPECT_EQ(ErrorNumberOf([] { CivilFromDate(Date{2958466}); }), 6);
  EXPECT_EQ(ErrorNumberOf([] { CivilFromDate(Date{-657435}); }), 6);
  EXPECT_EQ(ErrorNumberOf([] { CivilFromDate(Date{std::numeric_limits<double>::quiet_NaN()}); }), 6);
  EXPECT_EQ(ErrorNumberOf([] { CivilFromDate(Date{std::numeric_limits<double>::infinity()}); }), 6);
}

TEST(DateTest, IsoTextsAreReadInTheirThreeForms) {
  EXPECT_EQ(IsoFromDate(*DateFromIso("2026-11-21")), "2026-11-21T00:00:00");
  EXPECT_EQ(IsoFromDate(*DateFromIso("2026-11-21T14:05")), "2026-11-21T14:05:00");
  EXPECT_EQ(IsoFromDate(*DateFromIso("2026-11-21 14:05:09")), "2026-11-21T14:05:09");
}

TEST(DateTest, OtherTextsAreNoDates) {
  for (const char* text : {"", "2026", "2026-11-31", "2026-02-29", "2026-13-01", "2026-11-21T24:00", "2026-11-21T1:00",
                           "2026-11-21T10:00:00Z", "21.11.2026", "0099-01-01", "-001-01-01"}) {
    EXPECT_EQ(DateFromIso(text), std::nullopt) << text;
  }
}

TEST(PreciseDate, AWholeSecondHasNoDecimals) {
  EXPECT_EQ(PreciseIsoFromDate(*DateFromIso("2026-11-21T14:05:09")), "2026-11-21T14:05:09");
  EXPECT_EQ(PreciseIsoFromDate(Date{-1.25}), "1899-12-29T06:00:00");
}

TEST(PreciseDate, MillisecondsAreShownAndReadBack) {
  const Date date = *DateFromPreciseIso("2026-11-21T14:05:09.125");
  EXPECT_EQ(PreciseIsoFromDate(date), "2026-11-21T14:05:09.125");
  EXPECT_EQ(date.days, 46347 + 50709.125 / 86400);
  EXPECT_EQ(PreciseIsoFromDate(*DateFromPreciseIso("1850-01-02 03:04:05.5")), "1850-01-02T03:04:05.5");
  EXPECT_EQ(PreciseIsoFromDate(*DateFromPreciseIso("2026-11-21T14:05:09.000")), "2026-11-21T14:05:09");
}

TEST(PreciseDate, EveryDateReadsBackAsTheSameNumber) {
  std::mt19937_64 random(20240517);
  std::uniform_real_distribution<double> days(-657434, 2958465);
  int shown = 0;
  for (int i = 0; i < 20000; ++i) {
    const Date date{i % 2 == 0 ? days(random) : std::nextafter(45000.25 + i, 1e9)};
    const std::string text = PreciseIsoFromDate(date);
    ASSERT_EQ(DateFromPreciseIso(text), date) << text;
    shown += text.find('.') != std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(shown, 20000);
}

TEST(PreciseDate, WhatNoTextGivesBackIsRefused) {
  EXPECT_EQ(ErrorNumberOf([] { PreciseIsoFromDate(Date{2958466}); }), 6);
  EXPECT_EQ(ErrorNumberOf([] { PreciseIsoFromDate(Date{1e-30}); }), 6);
  EXPECT_EQ(ErrorNumberOf([] { PreciseIsoFromDate(Date{-0.3}); }), 6);
}

TEST(PreciseDate, OnlySecondsHaveDecimals) {
  for (const char* text : {"2026-11-21T14:05:09.", "2026-11-21T14:05.5", "2026-11-21.5", "2026-11-21T14:05:09.1x",
                           "2026-11-21T14:05:09.123456789012", "2026-11-31T14:05:09.1", "2026-11-21T14:05:09.-1"}) {
    EXPECT_EQ(DateFromPreciseIso(text), std::nullopt) << text;
  }
  EXPECT_EQ(DateFromPreciseIso("2026-11-21T14:05"), DateFromIso("2026-11-21T14:05"));
  EXPECT_EQ(DateFromIso("2026-11-21T14:05:09.125"), std::nullopt);
}

TEST(DateStamp, ATimeStampHasDayAndTimeInDigits) {
  EXPECT_EQ(TimeStamp({2026, 1, 2, 3, 4, 5}), "20260102-030405");
  EXPECT_TRUE(IsTimeStamp("20260102-030405"));
  EXPECT_FALSE(IsTimeStamp("20260102-03040"));
  EXPECT_FALSE(IsTimeStamp("20260102_030405"));
  EXPECT_FALSE(IsTimeStamp("2026010x-030405"));
}

TEST(DateStamp, TheSecondAfterTheLastOfAYearIsTheFirstOfTheNext) {
  EXPECT_EQ(SecondAfter({2026, 12, 31, 23, 59, 59}), (CivilTime{2027, 1, 1, 0, 0, 0}));
}

}  // namespace
}  // namespace mv
