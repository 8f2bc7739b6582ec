#include "json/ValueJson.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "base/Date.h"

namespace mv {
namespace {

std::string JsonOf(const Value& value) {
  JsonWriter writer;
  WriteJsonValue(writer, value);
  return writer.Result();
}

TEST(ValueJson, EachTypeHasItsForm) {
  EXPECT_EQ(JsonOf(Null{}), "null");
  EXPECT_EQ(JsonOf(true), "true");
  EXPECT_EQ(JsonOf(false), "false");
  EXPECT_EQ(JsonOf(std::uint8_t{255}), "255");
  EXPECT_EQ(JsonOf(std::int16_t{-32768}), "-32768");
  EXPECT_EQ(JsonOf(std::int32_t{2147483647}), "2147483647");
  EXPECT_EQ(JsonOf(Currency{-125000}), "\"-12.5000\"");
  EXPECT_EQ(JsonOf(DateFromCivil({2024, 5, 17, 8, 30, 0})), "\"2024-05-17T08:30:00\"");
  EXPECT_EQ(JsonOf(std::string("a\"\xC3\xA9")), "\"a\\\"\xC3\xA9\"");
  EXPECT_EQ(JsonOf(Bytes{0x00, 0xFF, 0x1a}), "\"00ff1a\"");
}

TEST(ValueJson, FloatsUseTheShortestDigitsThatReadBack) {
  EXPECT_EQ(JsonOf(0.1), "0.1");
  EXPECT_EQ(JsonOf(0.1f), "0.1");
  EXPECT_EQ(JsonOf(-0.0), "-0");
  EXPECT_EQ(JsonOf(1e22), "1e+22");
}

TEST(ValueJson, FloatsThatAreNoNumbersAreText) {
  EXPECT_EQ(JsonOf(std::numeric_limits<double>::infinity()), "\"Infinity\"");
  EXPECT_EQ(JsonOf(-std::numeric_limits<float>::infinity()), "\"-Infinity\"");
  EXPECT_EQ(JsonOf(std::numeric_limits<double>::quiet_NaN()), "\"NaN\"");
  EXPECT_EQ(JsonOf(std::numeric_limits<float>::quiet_NaN()), "\"NaN\"");
  EXPECT_EQ(JsonOf(std::bit_cast<double>(0x7ff8000000000001)), "\"nan:7ff8000000000001\"");
}

TEST(ValueJson, DateHasAsManyDecimalsAsItTakesToReadItBack) {
  EXPECT_EQ(JsonOf(Date{45429 + 30600.0 / 86400}), "\"2024-05-17T08:30:00\"");
  EXPECT_EQ(JsonOf(Date{45429 + 30600.125 / 86400}), "\"2024-05-17T08:30:00.125\"");
}

TEST(ValueJson, DateThatNoIsoTextGivesIsANumberOfDays) {
  EXPECT_EQ(JsonOf(Date{1e-30}), "1e-30");
  EXPECT_EQ(JsonOf(Date{1e9}), "1e+09");
  EXPECT_EQ(JsonOf(Date{std::numeric_limits<double>::quiet_NaN()}), "\"NaN\"");
}

}  // namespace
}  // namespace mv
