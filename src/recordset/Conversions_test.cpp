#include "recordset/Conversions.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/Error.h"
#include "support/ExpectError.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::int32_t ConversionErrorOf(DataType type, const Value& value) {
  return ErrorNumberOf([&] { ConvertedTo(type, value); });
}

TEST(ConvertedTo, ValueOfTheTypeAlreadyIsUnchanged) {
  EXPECT_EQ(ConvertedTo(DataType::SmallInt, std::int16_t{-7}), Value(std::int16_t{-7}));
  EXPECT_EQ(ConvertedTo(DataType::Integer, std::int32_t{-2147483647 - 1}), Value(std::int32_t{-2147483647 - 1}));
  EXPECT_EQ(ConvertedTo(DataType::Single, 0.1F), Value(0.1F));
  EXPECT_EQ(ConvertedTo(DataType::Double, 0.1), Value(0.1));
  EXPECT_EQ(ConvertedTo(DataType::Currency, Currency{9223372036854775807}), Value(Currency{9223372036854775807}));
  EXPECT_EQ(ConvertedTo(DataType::Date, Date{-1.25}), Value(Date{-1.25}));
  EXPECT_EQ(ConvertedTo(DataType::Boolean, true), Value(true));
  EXPECT_EQ(ConvertedTo(DataType::UnsignedTinyInt, std::uint8_t{200}), Value(std::uint8_t{200}));
  EXPECT_EQ(ConvertedTo(DataType::VarWChar, std::string("caf\xC3\xA9")), Value(std::string("caf\xC3\xA9")));
  EXPECT_EQ(ConvertedTo(DataType::LongVarBinary, Bytes{1, 0, 2}), Value(Bytes{1, 0, 2}));
}

TEST(ConvertedTo, NullOfAnyTypeStaysNull) {
  for (const DataType type : {DataType::SmallInt, DataType::Date, DataType::BStr, DataType::Boolean, DataType::Binary,
                              DataType::Numeric, DataType::Single}) {
    EXPECT_TRUE(IsNull(ConvertedTo(type, Null{})));
  }
}

TEST(ConvertedTo, FractionsForIntegersRoundHalvesToEven) {
  EXPECT_EQ(ConvertedTo(DataType::Integer, 2.5), Value(std::int32_t{2}));
  EXPECT_EQ(ConvertedTo(DataType::Integer, 3.5), Value(std::int32_t{4}));
  EXPECT_EQ(ConvertedTo(DataType::SmallInt, -2.5F), Value(std::int16_t{-2}));
  EXPECT_EQ(ConvertedTo(DataType::UnsignedTinyInt, Currency{15000}), Value(std::uint8_t{2}));
  EXPECT_EQ(ConvertedTo(DataType::Integer, std::string("12.6")), Value(std::int32_t{13}));
  EXPECT_EQ(ConvertedTo(DataType::Currency, 0.03125), Value(Currency{312}));
  EXPECT_EQ(ConvertedTo(DataType::Currency, 0.09375), Value(Currency{938}));
}

TEST(ConvertedTo, NumbersOutOfRangeOverflow) {
  EXPECT_EQ(ConversionErrorOf(DataType::UnsignedTinyInt, std::int16_t{256}), errors::kOverflow);
  EXPECT_EQ(ConversionErrorOf(DataType::UnsignedTinyInt, std::int16_t{-1}), errors::kOverflow);
  EXPECT_EQ(ConversionErrorOf(DataType::SmallInt, std::int32_t{32768}), errors::kOverflow);
  EXPECT_EQ(ConversionErrorOf(DataType::SmallInt, std::string("-32769")), errors::kOverflow);
  EXPECT_EQ(ConversionErrorOf(DataType::Integer, 2147483647.5), errors::kOverflow);
  EXPECT_EQ(ConversionErrorOf(DataType::Integer, std::numeric_limits<double>::quiet_NaN()), errors::kOverflow);
  EXPECT_EQ(ConversionErrorOf(DataType::Integer, kInfinity), errors::kOverflow);
  EXPECT_EQ(ConversionErrorOf(DataType::Single, 1e39), errors::kOverflow);
  EXPECT_EQ(ConversionErrorOf(DataType::Currency, 9.3e14), errors::kOverflow);
  EXPECT_EQ(ConversionErrorOf(DataType::Currency, std::numeric_limits<double>::quiet_NaN()), errors::kOverflow);
}

TEST(ConvertedTo, NumbersAtTheEdgeOfTheRangeFit) {
  EXPECT_EQ(ConvertedTo(DataType::UnsignedTinyInt, std::int32_t{255}), Value(std::uint8_t{255}));
  EXPECT_EQ(ConvertedTo(DataType::SmallInt, -32768.4), Value(std::int16_t{-32768}));
  EXPECT_EQ(ConvertedTo(DataType::Integer, 2147483647.0), Value(std::int32_t{2147483647}));
  EXPECT_EQ(ConvertedTo(DataType::Single, kInfinity), Value(std::numeric_limits<float>::infinity()));
}

TEST(ConvertedTo, BooleanAsNumberIsMinusOneOrZero) {
  EXPECT_EQ(ConvertedTo(DataType::SmallInt, true), Value(std::int16_t{-1}));
  EXPECT_EQ(ConvertedTo(DataType::Double, true), Value(-1.0));
  EXPECT_EQ(ConvertedTo(DataType::Integer, false), Value(std::int32_t{0}));
}

TEST(ConvertedTo, BooleanAsByteHasAllBitsSetOrNone) {
  EXPECT_EQ(ConvertedTo(DataType::UnsignedTinyInt, true), Value(std::uint8_t{255}));
  EXPECT_EQ(ConvertedTo(DataType::UnsignedTinyInt, false), Value(std::uint8_t{0}));
}

TEST(ConvertedTo, AnyNumberButZeroIsTrue) {
  EXPECT_EQ(ConvertedTo(DataType::Boolean, std::uint8_t{1}), Value(true));
  EXPECT_EQ(ConvertedTo(DataType::Boolean, 0.25), Value(true));
  EXPECT_EQ(ConvertedTo(DataType::Boolean, std::int32_t{0}), Value(false));
  EXPECT_EQ(ConvertedTo(DataType::Boolean, std::string("-1")), Value(true));
}

TEST(ConvertedTo, TrueAndFalseAsTextReadAsBoolean) {
  EXPECT_EQ(ConvertedTo(DataType::Boolean, std::string("true")), Value(true));
  EXPECT_EQ(ConvertedTo(DataType::Boolean, std::string("FALSE")), Value(false));
  EXPECT_EQ(ConversionErrorOf(DataType::Boolean, std::string("yes")), errors::kTypeMismatch);
}

TEST(ConvertedTo, TextThatIsNoNumberIsATypeMismatch) {
  EXPECT_EQ(ConversionErrorOf(DataType::Integer, std::string("")), errors::kTypeMismatch);
  EXPECT_EQ(ConversionErrorOf(DataType::SmallInt, std::string("twelve")), errors::kTypeMismatch);
  EXPECT_EQ(ConversionErrorOf(DataType::Single, std::string("1,5")), errors::kTypeMismatch);
  EXPECT_EQ(ConversionErrorOf(DataType::Currency, std::string("$5")), errors::kTypeMismatch);
  EXPECT_EQ(ConversionErrorOf(DataType::Date, std::string("tomorrow")), errors::kTypeMismatch);
}

TEST(ConvertedTo, DatesReadIsoTextAndCountsOfDays) {
  EXPECT_EQ(ConvertedTo(DataType::Date, std::string("1899-12-31T12:00")), Value(Date{1.5}));
  EXPECT_EQ(ConvertedTo(DataType::DBTimeStamp, std::string("2.25")), Value(Date{2.25}));
  EXPECT_EQ(ConvertedTo(DataType::DBDate, std::int32_t{-3}), Value(Date{-3}));
  EXPECT_EQ(ConvertedTo(DataType::Double, Date{2.25}), Value(2.25));
}

TEST(ConvertedTo, NumbersAsTextTakeTheInvariantForm) {
  EXPECT_EQ(ConvertedTo(DataType::VarWChar, 0.1), Value(std::string("0.1")));
  EXPECT_EQ(ConvertedTo(DataType::BStr, std::uint8_t{7}), Value(std::string("7")));
  EXPECT_EQ(ConvertedTo(DataType::Char, Currency{-125000}), Value(std::string("-12.5")));
  EXPECT_EQ(ConvertedTo(DataType::LongVarWChar, true), Value(std::string("True")));
}

TEST(ConvertedTo, ExactDecimalsKeepTheirDigits) {
  EXPECT_EQ(ConvertedTo(DataType::Numeric, std::string(" -12.5000 ")), Value(std::string("-12.5000")));
  EXPECT_EQ(ConvertedTo(DataType::Numeric, Currency{30000}), Value(std::string("3")));
  EXPECT_EQ(ConvertedTo(DataType::Numeric, std::int32_t{-4}), Value(std::string("-4")));
  for (const char* text : {"", "-", ".", "1e5", "1.2.3", "12a"}) {
    EXPECT_EQ(ConversionErrorOf(DataType::Numeric, std::string(text)), errors::kTypeMismatch) << text;
  }
}

TEST(ConvertedTo, BytesAreNothingElse) {
  EXPECT_EQ(ConversionErrorOf(DataType::Integer, Bytes{1}), errors::kTypeMismatch);
  EXPECT_EQ(ConversionErrorOf(DataType::BStr, Bytes{1}), errors::kTypeMismatch);
  EXPECT_EQ(ConversionErrorOf(DataType::Binary, std::string("01")), errors::kTypeMismatch);
}

TEST(TextOf, EachKindOfValueHasItsText) {
  EXPECT_EQ(TextOf(Null{}), "");
  EXPECT_EQ(TextOf(true), "True");
  EXPECT_EQ(TextOf(false), "False");
  EXPECT_EQ(TextOf(std::uint8_t{255}), "255");
  EXPECT_EQ(TextOf(std::int16_t{-1}), "-1");
  EXPECT_EQ(TextOf(std::int32_t{42}), "42");
  EXPECT_EQ(TextOf(0.1F), "0.1");
  EXPECT_EQ(TextOf(1e22), "1e+22");
  EXPECT_EQ(TextOf(Currency{-125000}), "-12.5");
  EXPECT_EQ(TextOf(Date{1.5}), "1899-12-31T12:00:00");
  EXPECT_EQ(TextOf(std::string("O'Brien")), "O'Brien");
  EXPECT_EQ(TextOf(Bytes{0x0A, 0xFF}), "0aff");
}

TEST(TextOf, DateOutsideTheCalendarIsItsCountOfDays) {
  EXPECT_EQ(TextOf(Date{1e9}), "1e+09");
}

}  // namespace
}  // namespace mv
