#include "platform/System.h"

#include <gtest/gtest.h>
#include <windows.h>
// After windows.h, which it needs.
#include <oleauto.h>

#include <string>

#include "platform/windows/Wide.h"

namespace mv::platform {
namespace {

/// The platform's own conversion of a date to text, the way a variant does it.
std::string VariantText(const CivilTime& time) {
  VARIANT date;
  VARIANT text;
  ::VariantInit(&date);
  ::VariantInit(&text);
  date.vt = VT_DATE;
  date.date = DateFromCivil(time).days;
  EXPECT_EQ(::VariantChangeTypeEx(&text, &date, LOCALE_USER_DEFAULT, 0, VT_BSTR), S_OK);
  const std::string result = Narrow(text.bstrVal);
  ::VariantClear(&text);
  return result;
}

TEST(SystemTest, TheDateTextIsThatOfTheSystemsOwnConversion) {
  for (const CivilTime& time :
       {CivilTime{2026, 11, 21, 14, 5, 9}, CivilTime{2026, 11, 21, 0, 0, 0}, CivilTime{2026, 1, 2, 23, 59, 59},
        CivilTime{1899, 12, 30, 6, 0, 0}, CivilTime{1899, 12, 30, 0, 0, 0}, CivilTime{1999, 12, 31, 0, 0, 1}}) {
    EXPECT_EQ(LocalDateTimeText(time), VariantText(time));
  }
}

TEST(SystemTest, TheDateTextIsMadeOfTheUsersShortDateAndTime) {
  SYSTEMTIME time = {};
  time.wYear = 2026;
  time.wMonth = 11;
  time.wDay = 21;
  time.wHour = 14;
  time.wMinute = 5;
  time.wSecond = 9;
  wchar_t day[80] = {};
  wchar_t clock[80] = {};
  ASSERT_GT(::GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, day, 80), 0);
  ASSERT_GT(::GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &time, nullptr, clock, 80), 0);
  EXPECT_EQ(LocalDateTimeText(CivilTime{2026, 11, 21, 14, 5, 9}), Narrow(day) + " " + Narrow(clock));
}

TEST(SystemTest, TheCommandLineHoldsNoProgramName) {
  const std::string line = CommandLine(0, nullptr);
  EXPECT_EQ(line.find(".exe"), std::string::npos) << line;
}

}  // namespace
}  // namespace mv::platform
