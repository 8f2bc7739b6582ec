#include "platform/System.h"

#include <gtest/gtest.h>

#include <string>

namespace mv::platform {
namespace {

TEST(SystemTest, ProgramFolderHasNoSeparatorAtItsEnd) {
  const std::string folder = ProgramFolder();
  ASSERT_FALSE(folder.empty());
  EXPECT_NE(folder.back(), '/');
  EXPECT_NE(folder.back(), '\\');
}

TEST(SystemTest, AVariableThatIsNotSetIsNothing) {
  EXPECT_EQ(EnvironmentVariable("MV_SURELY_NOT_SET"), std::nullopt);
  EXPECT_TRUE(EnvironmentVariable("PATH").has_value());
}

TEST(SystemTest, LocalDateTimeTextHoldsDateAndTime) {
  const std::string text = LocalDateTimeText(CivilTime{2026, 11, 21, 14, 5, 9});
  EXPECT_NE(text.find("21"), std::string::npos) << text;
  EXPECT_NE(text.find("11"), std::string::npos) << text;
  EXPECT_NE(text.find("05"), std::string::npos) << text;
  EXPECT_NE(text.find("09"), std::string::npos) << text;
}

TEST(SystemTest, AtMidnightTheDateStandsAlone) {
  const std::string midnight = LocalDateTimeText(CivilTime{2026, 11, 21, 0, 0, 0});
  const std::string later = LocalDateTimeText(CivilTime{2026, 11, 21, 0, 0, 1});
  EXPECT_TRUE(later.starts_with(midnight + " ")) << later << " and " << midnight;
}

TEST(SystemTest, OnDayZeroTheTimeStandsAlone) {
  const std::string time = LocalDateTimeText(CivilTime{1899, 12, 30, 14, 5, 9});
  const std::string full = LocalDateTimeText(CivilTime{2026, 11, 21, 14, 5, 9});
  EXPECT_TRUE(full.ends_with(" " + time)) << full << " and " << time;
  EXPECT_FALSE(LocalDateTimeText(CivilTime{1899, 12, 30, 0, 0, 0}).empty());
}

TEST(SystemTest, TheClockTellsAValidTimeOfThisCentury) {
  const CivilTime now = SystemClock().Now();
  EXPECT_GE(now.year, 2020);
  EXPECT_TRUE(now.month >= 1 && now.month <= 12);
  EXPECT_TRUE(now.day >= 1 && now.day <= 31);
  EXPECT_TRUE(now.second >= 0 && now.second <= 59);
}

}  // namespace
}  // namespace mv::platform
