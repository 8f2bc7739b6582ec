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

std::string CsvFieldOf(const Value& value) {
  std::string line;
  AppendCsvField(line, value);
  return line;
}

/// A value for column C of table T; a decimal has ten digits, three of them decimals.
Value Read(DataType type, std::string_view text) {
  return ValueFromJson({type, "T", "C", 10, 3}, ParseJson(text));
}

std::string MessageFor(DataType type, std::string_view text) {
  return testing::ErrorOf([&] { Read(type, text); }).Description();
}

TEST(ValueTextCsv, FieldsAreQuotedWhereTheyMustBe) {
  EXPECT_EQ(CsvFieldOf(Value(std::string("plain text"))), "plain text");
  EXPECT_EQ(CsvFieldOf(Value(std::string("a,b"))), "\"a,b\"");
  EXPECT_EQ(CsvFieldOf(Value(std::string("say \"hi\""))), "\"say \"\"hi\"\"\"");
  EXPECT_EQ(CsvFieldOf(Value(std::string("two\r\nlines"))), "\"two\r\nlines\"");
  EXPECT_EQ(CsvFieldOf(Value(Currency{125000})), "12.5000");
}

TEST(ValueTextCsv, NullAndEmptyTextDiffer) {
  EXPECT_EQ(CsvFieldOf(Value(Null{})), "");
  EXPECT_EQ(CsvFieldOf(Value(std::string())), "\"\"");
  EXPECT_EQ(CsvFieldOf(Value(Bytes())), "\"\"");
}

TEST(ValueTextRead, EachTypeReadsBackWhatIsShown) {
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

TEST(ValueTextRead, NotANumbersKeepTheirBits) {
  for (const std::uint64_t bits : {0x7ff8000000000000u, 0x7ff8000000000001u, 0xfff8000000000000u}) {
    const Value value = Read(DataType::Double, JsonOf(std::bit_cast<double>(bits)));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(std::get<double>(value)), bits);
  }
}

TEST(ValueTextRead, NegativeZeroKeepsItsSign) {
  EXPECT_TRUE(std::signbit(std::get<double>(Read(DataType::Double, "-0"))));
}

TEST(ValueTextRead, CurrencyFromANumberLosesNoDigit) {
  EXPECT_EQ(Read(DataType::Currency, "922337203685477.5807"), Value(Currency{INT64_MAX}));
}

TEST(ValueTextRead, DateWithoutTimeIsMidnight) {
  EXPECT_EQ(Read(DataType::Date, "\"2024-05-17\""), Value(DateFromCivil({2024, 5, 17, 0, 0, 0})));
}

TEST(ValueTextRead, NumbersThatAColumnHoldsExactlyAreTakenHoweverTheyAreWritten) {
  EXPECT_EQ(Read(DataType::Currency, "12.5000"), Value(Currency{125000}));
  EXPECT_EQ(Read(DataType::Currency, "\"12.50000000\""), Value(Currency{125000}));
  EXPECT_EQ(Read(DataType::Currency, "1.25e1"), Value(Currency{125000}));
  EXPECT_EQ(Read(DataType::Currency, "9007199254740993e-2"), Value(Currency{900719925474099300}));
  EXPECT_EQ(Read(DataType::Currency, "0e-9"), Value(Currency{0}));
  EXPECT_EQ(Read(DataType::Integer, "1E2"), Value(std::int32_t{100}));
  EXPECT_EQ(Read(DataType::Integer, "-0"), Value(std::int32_t{0}));
  EXPECT_EQ(Read(DataType::UnsignedTinyInt, "25.50e1"), Value(std::uint8_t{255}));
  EXPECT_EQ(Read(DataType::Numeric, "1234567.125"), Value(std::string("1234567.125")));
  EXPECT_EQ(Read(DataType::Numeric, "1.500e6"), Value(std::string("1.500e6")));
}

TEST(ValueTextRead, NumbersThatWouldBeRoundedAreRefused) {
  const auto rounded = [](DataType type, std::string_view text, const std::string& wish) {
    EXPECT_EQ(MessageFor(type, text),
              "line 1, column 1: " + wish + " is wanted here, not " + std::string(text) + ". Table 'T', column 'C'.");
  };
  const std::string currency = "a number with at most 4 decimals";
  for (const char* const text : {"12.50001", "\"12.50001\"", "1e-5", "-0.00005", "1e-400", "922337203685477.58071"}) {
    rounded(DataType::Currency, text, currency);
  }
  rounded(DataType::Numeric, "1.2345", "a number with at most 3 decimals");
  rounded(DataType::Numeric, "\"1.2345\"", "a number with at most 3 decimals");
  for (const char* const text : {"1.5", "99999999999999999.5", "1e-1"}) {
    rounded(DataType::Integer, text, "a whole number from -2147483648 to 2147483647");
  }
}

TEST(ValueTextRead, NumbersAtTheLimitsOfTheirTypeAreTakenAndBeyondRefused) {
  const std::tuple<DataType, const char*, Value> taken[] = {
      {DataType::UnsignedTinyInt, "0", std::uint8_t{0}},
      {DataType::UnsignedTinyInt, "255", std::uint8_t{255}},
      {DataType::SmallInt, "-32768", std::int16_t{-32768}},
      {DataType::SmallInt, "32767", std::int16_t{32767}},
      {DataType::Integer, "-2147483648", std::numeric_limits<std::int32_t>::min()},
      {DataType::Integer, "2147483647", std::int32_t{2147483647}},
      {DataType::Numeric, "-9999999.999", std::string("-9999999.999")},
  };
  for (const auto& [type, text, value] : taken) EXPECT_EQ(Read(type, text), value) << text;
  const std::pair<DataType, const char*> refused[] = {
      {DataType::UnsignedTinyInt, "-1"},
      {DataType::UnsignedTinyInt, "256"},
      {DataType::SmallInt, "-32769"},
      {DataType::SmallInt, "32768"},
      {DataType::Integer, "-2147483649"},
      {DataType::Integer, "2147483648"},
      {DataType::Integer, "18446744073709551616"},
      {DataType::Integer, "4294967296"},
      {DataType::Numeric, "10000000"},
      {DataType::Numeric, "\"Infinity\""},
      {DataType::Currency, "9007199254740993"},
      {DataType::Currency, "\"Infinity\""},
      {DataType::Currency, "\"NaN\""},
      {DataType::Single, "3.5e38"},
  };
  for (const auto& [type, text] : refused) EXPECT_THROW(Read(type, text), Error) << text;
}

TEST(ValueTextRead, FloatingPointColumnsTakeTheNearestNumber) {
  EXPECT_EQ(Read(DataType::Double, "0.1"), Value(0.1));
  EXPECT_EQ(Read(DataType::Double, "0.1000000000000000055511151231257827"), Value(0.1));
  EXPECT_EQ(Read(DataType::Double, "9007199254740993"), Value(9007199254740992.0));
  EXPECT_EQ(Read(DataType::Double, "9007199254740993.5"), Value(9007199254740994.0));
  EXPECT_EQ(Read(DataType::Double, "18446744073709551616"), Value(18446744073709551616.0));
  EXPECT_EQ(Read(DataType::Single, "0.1"), Value(0.1f));
  EXPECT_EQ(Read(DataType::Single, "16777217"), Value(16777216.0f));
  EXPECT_EQ(Read(DataType::Single, "0e-99"), Value(0.0f));
}

TEST(ValueTextRead, FloatingPointColumnsDoNotTakeZeroForWhatIsTooSmall) {
  EXPECT_EQ(MessageFor(DataType::Double, "1e-400"),
            "line 1, column 1: a number within the column's range is wanted here, not 1e-400. Table 'T', column 'C'.");
  EXPECT_THROW(Read(DataType::Single, "-1e-60"), Error);
  EXPECT_THROW(Read(DataType::Date, "1e-400"), Error);
}

TEST(ValueTextRead, FractionsOfASecondAreRefusedWhereDatesHoldNone) {
  const auto read = [](std::string_view text) {
    return ValueFromJson({.type = DataType::Date, .toTheSecond = true}, ParseJson(text));
  };
  EXPECT_EQ(read("45000.354166666666667"), Value(Date{45000.354166666666667}));
  EXPECT_EQ(read("45000"), Value(Date{45000}));
  EXPECT_EQ(testing::ErrorOf([&] { read("45000.35417"); }).Description(),
            "line 1, column 1: a date to the second is wanted here, not 45000.35417. Table '', column ''.");
  EXPECT_EQ(Read(DataType::Date, "45000.35417"), Value(Date{45000.35417}));
  EXPECT_EQ(
      testing::ErrorOf([&] { read("\"2024-05-17T08:30:00.5\""); }).Description(),
      "line 1, column 1: a date to the second is wanted here, not \"2024-05-17T08:30:00.5\". Table '', column ''.");
  EXPECT_EQ(read("\"2024-05-17T08:30:00.000\""), read("\"2024-05-17T08:30:00\""));
}

TEST(ValueTextRead, ADateIsReadToItsLastDecimal) {
  EXPECT_EQ(Read(DataType::Date, "\"2024-05-17T08:30:00.125\""), Value(Date{45429 + 30600.125 / 86400}));
}

TEST(ValueTextRead, ValuesThatDoNotFitAreRefusedWithTheirPlace) {
  EXPECT_EQ(MessageFor(DataType::UnsignedTinyInt, "256"),
            "line 1, column 1: a whole number from 0 to 255 is wanted here, not 256. Table 'T', column 'C'.");
  EXPECT_EQ(MessageFor(DataType::SmallInt, "1.5"),
            "line 1, column 1: a whole number from -32768 to 32767 is wanted here, not 1.5. Table 'T', column 'C'.");
  EXPECT_EQ(MessageFor(DataType::Boolean, "1"),
            "line 1, column 1: true or false is wanted here, not 1. Table 'T', column 'C'.");
  EXPECT_EQ(MessageFor(DataType::Currency, "\"x\""),
            "line 1, column 1: a number is wanted here, not \"x\". Table 'T', column 'C'.");
  EXPECT_EQ(MessageFor(DataType::Currency, "922337203685477.5808"),
            "line 1, column 1: a number within the column's range is wanted here, not 922337203685477.5808. Table 'T', "
            "column 'C'.");
  EXPECT_EQ(MessageFor(DataType::Single, "1e39"),
            "line 1, column 1: a number within the column's range is wanted here, not 1e39. Table 'T', column 'C'.");
  EXPECT_EQ(MessageFor(DataType::Double, "true"),
            "line 1, column 1: a number is wanted here, not true. Table 'T', column 'C'.");
  EXPECT_EQ(MessageFor(DataType::Date, "\"17.5.2024\""),
            "line 1, column 1: a date such as \"2024-05-17T08:30:00\" is wanted here, not \"17.5.2024\". Table 'T', "
            "column 'C'.");
  EXPECT_EQ(MessageFor(DataType::VarWChar, "5"),
            "line 1, column 1: a text is wanted here, not 5. Table 'T', column 'C'.");
  EXPECT_EQ(MessageFor(DataType::VarBinary, "\"0\""),
            "line 1, column 1: hex digits in pairs are wanted here, not \"0\". Table 'T', column 'C'.");
  EXPECT_EQ(MessageFor(DataType::VarBinary, "\"0x\""),
            "line 1, column 1: hex digits in pairs are wanted here, not \"0x\". Table 'T', column 'C'.");
}

}  // namespace
}  // namespace mv::tool
