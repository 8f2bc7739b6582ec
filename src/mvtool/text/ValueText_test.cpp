#include "mvtool/text/ValueText.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "support/ExpectError.h"

namespace mv::tool {
namespace {

std::string JsonOf(const Value& value) {
  JsonWriter writer;
  WriteJsonValue(writer, value);
  return writer.Result();
}

Value Read(DataType type, std::string_view text) {
  return ValueFromJson(type, ParseJson(text));
}

std::string MessageFor(DataType type, std::string_view text) {
  return testing::ErrorOf([&] { Read(type, text); }).Description();
}

TEST(ValueTextShow, EachType_HasItsForm) {
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

TEST(ValueTextShow, Floats_UseTheShortestDigitsThatReadBack) {
  EXPECT_EQ(JsonOf(0.1), "0.1");
  EXPECT_EQ(JsonOf(0.1f), "0.1");
  EXPECT_EQ(JsonOf(-0.0), "-0");
  EXPECT_EQ(JsonOf(1e22), "1e+22");
}

TEST(ValueTextShow, FloatsThatAreNoNumbers_AreText) {
  EXPECT_EQ(JsonOf(std::numeric_limits<double>::infinity()), "\"Infinity\"");
  EXPECT_EQ(JsonOf(-std::numeric_limits<float>::infinity()), "\"-Infinity\"");
  EXPECT_EQ(JsonOf(std::numeric_limits<double>::quiet_NaN()), "\"NaN\"");
  EXPECT_EQ(JsonOf(std::numeric_limits<float>::quiet_NaN()), "\"NaN\"");
  EXPECT_EQ(JsonOf(std::bit_cast<double>(0x7ff8000000000001)), "\"nan:7ff8000000000001\"");
}

TEST(ValueTextShow, DateOutsideTheCalendar_IsANumberOfDays) {
  EXPECT_EQ(JsonOf(Date{1e9}), "1e+09");
  EXPECT_EQ(JsonOf(Date{std::numeric_limits<double>::quiet_NaN()}), "\"NaN\"");
}

TEST(ValueTextCsv, FieldsAreQuotedWhereTheyMustBe) {
  EXPECT_EQ(CsvField(Value(std::string("plain text"))), "plain text");
  EXPECT_EQ(CsvField(Value(std::string("a,b"))), "\"a,b\"");
  EXPECT_EQ(CsvField(Value(std::string("say \"hi\""))), "\"say \"\"hi\"\"\"");
  EXPECT_EQ(CsvField(Value(std::string("two\r\nlines"))), "\"two\r\nlines\"");
  EXPECT_EQ(CsvField(Value(Currency{125000})), "12.5000");
}

TEST(ValueTextCsv, NullAndEmptyText_Differ) {
  EXPECT_EQ(CsvField(Value(Null{})), "");
  EXPECT_EQ(CsvField(Value(std::string())), "\"\"");
}

TEST(ValueTextRead, EachType_ReadsBackWhatIsShown) {
  const std::pair<DataType, Value> samples[] = {
      {DataType::Boolean, true},
      {DataType::UnsignedTinyInt, std::uint8_t{255}},
      {DataType::SmallInt, std::int16_t{-32768}},
      {DataType::Integer, std::int32_t{-2147483647 - 1}},
      {DataType::Single, 3.4028235e38f},
      {DataType::Single, 1e-45f},
      {DataType::Double, 4.9e-324},
      {DataType::Double, std::numeric_limits<double>::infinity()},
      {DataType::Double, -std::numeric_limits<double>::infinity()},
      {DataType::Currency, Currency{INT64_MIN}},
      {DataType::Currency, Currency{INT64_MAX}},
      {DataType::Date, DateFromCivil({1904, 1, 1, 23, 59, 59})},
      {DataType::Date, Date{1e9}},
      {DataType::VarWChar, std::string("\xC3\xA9\n")},
      {DataType::LongVarWChar, std::string()},
      {DataType::Guid, std::string("{01234567-89AB-CDEF-0123-456789ABCDEF}")},
      {DataType::Numeric, std::string("-12.5000")},
      {DataType::LongVarBinary, Bytes{0, 1, 0xFE}},
      {DataType::Integer, Null{}},
  };
  for (const auto& [type, value] : samples) EXPECT_EQ(Read(type, JsonOf(value)), value) << JsonOf(value);
}

TEST(ValueTextRead, NotANumbers_KeepTheirBits) {
  for (const std::uint64_t bits : {0x7ff8000000000000u, 0x7ff8000000000001u, 0xfff8000000000000u}) {
    const Value value = Read(DataType::Double, JsonOf(std::bit_cast<double>(bits)));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(std::get<double>(value)), bits);
  }
}

TEST(ValueTextRead, NegativeZero_KeepsItsSign) {
  EXPECT_TRUE(std::signbit(std::get<double>(Read(DataType::Double, "-0"))));
}

TEST(ValueTextRead, CurrencyFromANumber_LosesNoDigit) {
  EXPECT_EQ(Read(DataType::Currency, "922337203685477.5807"), Value(Currency{INT64_MAX}));
}

TEST(ValueTextRead, DateWithoutTime_IsMidnight) {
  EXPECT_EQ(Read(DataType::Date, "\"2024-05-17\""), Value(DateFromCivil({2024, 5, 17, 0, 0, 0})));
}

TEST(ValueTextRead, ValuesThatDoNotFit_AreRefusedWithTheirPlace) {
  EXPECT_EQ(MessageFor(DataType::UnsignedTinyInt, "256"),
            "line 1, column 1: a whole number from 0 to 255 is wanted here");
  EXPECT_EQ(MessageFor(DataType::SmallInt, "1.5"),
            "line 1, column 1: a whole number from -32768 to 32767 is wanted here");
  EXPECT_EQ(MessageFor(DataType::Boolean, "1"), "line 1, column 1: true or false is wanted here");
  EXPECT_EQ(MessageFor(DataType::Currency, "\"x\""), "line 1, column 1: a number is wanted here");
  EXPECT_EQ(MessageFor(DataType::Currency, "922337203685477.5808"), "line 1, column 1: this number is out of range");
  EXPECT_EQ(MessageFor(DataType::Single, "1e39"), "line 1, column 1: this number is out of range");
  EXPECT_EQ(MessageFor(DataType::Double, "true"), "line 1, column 1: a number is wanted here");
  EXPECT_EQ(MessageFor(DataType::Date, "\"17.5.2024\""),
            "line 1, column 1: a date such as \"2024-05-17T08:30:00\" is wanted here");
  EXPECT_EQ(MessageFor(DataType::VarWChar, "5"), "line 1, column 1: a text is wanted here");
  EXPECT_EQ(MessageFor(DataType::VarBinary, "\"0\""), "line 1, column 1: hex digits in pairs are wanted here");
  EXPECT_EQ(MessageFor(DataType::VarBinary, "\"0x\""), "line 1, column 1: hex digits in pairs are wanted here");
}

}  // namespace
}  // namespace mv::tool
