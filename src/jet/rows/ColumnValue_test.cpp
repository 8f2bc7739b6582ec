#include "jet/rows/ColumnValue.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/ExpectError.h"
#include "support/Hex.h"
#include "support/JetColumns.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::ErrorOf;
using mv::testing::FromHex;
using mv::testing::JetColumns;
using mv::testing::ToHex;

Column FixedColumn(ColumnType type) {
  return JetColumns().Fixed("C", type).Last();
}

std::string Stored(const Column& column, const Value& value) {
  Bytes bytes = {0xEE, 0xEE};
  BytesFromValue(column, value, bytes);
  return ToHex(bytes);
}

void ExpectBothWays(const Column& column, const Value& value, const std::string& hex) {
  EXPECT_EQ(Stored(column, value), hex);
  EXPECT_EQ(ValueFromBytes(column, FromHex(hex)), value);
}

TEST(ColumnValue, NumbersAreLittleEndian) {
  ExpectBothWays(FixedColumn(ColumnType::Byte), std::uint8_t{200}, "C8");
  ExpectBothWays(FixedColumn(ColumnType::Integer), std::int16_t{-2}, "FE FF");
  ExpectBothWays(FixedColumn(ColumnType::Long), std::int32_t{1}, "01 00 00 00");
  ExpectBothWays(FixedColumn(ColumnType::Currency), Currency{180000}, "20 BF 02 00 00 00 00 00");
  ExpectBothWays(FixedColumn(ColumnType::Single), 1.5F, "00 00 C0 3F");
  ExpectBothWays(FixedColumn(ColumnType::Double), -1.5, "00 00 00 00 00 00 F8 BF");
  ExpectBothWays(FixedColumn(ColumnType::DateTime), Date{38143.5}, "00 00 00 00 F0 9F E2 40");
}

TEST(ColumnValue, DateBefore1899KeepsItsFractionCountingForward) {
  ExpectBothWays(FixedColumn(ColumnType::DateTime), Date{-1.25}, "00 00 00 00 00 00 F4 BF");
}

TEST(ColumnValue, DatesOutsideTheYears100To9999Overflow) {
  const Column column = FixedColumn(ColumnType::DateTime);
  // The last moment of the first day: its fraction counts forward.
  EXPECT_EQ(ValueFromBytes(column, FromHex(Stored(column, Date{-657434.999}))), Value(Date{-657434.999}));
  EXPECT_EQ(ValueFromBytes(column, FromHex(Stored(column, Date{2958465.99}))), Value(Date{2958465.99}));
  for (const double days :
       {-657435.0, 2958466.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(ErrorNumberOf([&] { Stored(column, Date{days}); }), errors::kOverflow) << days;
  }
}

TEST(ColumnValue, GuidKeepsItsFirstThreeGroupsLittleEndian) {
  ExpectBothWays(FixedColumn(ColumnType::Guid), std::string("{01234567-89AB-CDEF-0123-456789ABCDEF}"),
                 "67 45 23 01 AB 89 EF CD 01 23 45 67 89 AB CD EF");
}

TEST(ColumnValue, DecimalHasItsWordsMostSignificantFirst) {
  ExpectBothWays(FixedColumn(ColumnType::Decimal), std::string("-12.5000"),
                 "80 00 00 00 00 00 00 00 00 00 00 00 00 48 E8 01 00");
}

TEST(ColumnValue, DecimalBeyondThePrecisionOverflows) {
  const Column column = FixedColumn(ColumnType::Decimal);
  EXPECT_EQ(ErrorNumberOf([&] { Stored(column, std::string("100000000000000")); }), errors::kOverflow);
}

TEST(ColumnValue, TextOfACompressedColumnIsCompressed) {
  const Column column = JetColumns().Text("C", 40).Last();
  ExpectBothWays(column, std::string("Speedy Express"), "FF FE 53 70 65 65 64 79 20 45 78 70 72 65 73 73");
}

TEST(ColumnValue, TextOfAPlainColumnIsReadCompressedAllTheSame) {
  const Column column = JetColumns().Text("C", 40, false).Last();
  ExpectBothWays(column, std::string("abc"), "61 00 62 00 63 00");
  EXPECT_EQ(ValueFromBytes(column, FromHex("FF FE 61 62 63")), Value(std::string("abc")));
}

TEST(ColumnValue, TextOfTheLongestLengthFitsAndOneMoreCharacterDoesNot) {
  const Column column = JetColumns().Text("C", 4).Last();
  EXPECT_EQ(Stored(column, std::string("caf\xC3\xA9")), "FF FE 63 61 66 E9");
  EXPECT_EQ(ErrorOf([&] { Stored(column, std::string("abcde")); }).Description(),
            "The field is too small to accept the amount of data you attempted to add. Try inserting or pasting less "
            "data.");
}

TEST(ColumnValue, CharacterOutsideTheFirstPlaneCountsTwice) {
  const Column column = JetColumns().Text("C", 2).Last();
  ExpectBothWays(column, std::string("\xF0\x9F\x9A\x97"), "3D D8 97 DE");
  EXPECT_EQ(ErrorNumberOf([&] { Stored(column, std::string("a\xF0\x9F\x9A\x97")); }), errors::kJetConstraint);
}

TEST(ColumnValue, FixedTextIsFilledWithBlanksAndNeverCompressed) {
  Column column = JetColumns().FixedBytes("C", ColumnType::Text, 10).Last();
  column.moreFlags = 0x01;
  EXPECT_EQ(Stored(column, std::string("abc")), "61 00 62 00 63 00 20 00 20 00");
  EXPECT_EQ(ValueFromBytes(column, FromHex("61 00 62 00 63 00 20 00 20 00")), Value(std::string("abc  ")));
}

TEST(ColumnValue, TrailingBlanksAreStoredAsGiven) {
  const Column column = JetColumns().Text("C", 10).Last();
  ExpectBothWays(column, std::string("a  "), "FF FE 61 20 20");
}

TEST(ColumnValue, PlainTextThatBeginsLikeACompressedOneIsRefused) {
  const Column plain = JetColumns().Text("C", 10, false).Last();
  EXPECT_EQ(ErrorNumberOf([&] {
              Stored(plain, std::string("\xEF\xBB\xBF"
                                        "abc"));
            }),
            errors::kJetConstraint);
  const Column compressed = JetColumns().Text("C", 10).Last();
  ExpectBothWays(compressed,
                 std::string("\xEF\xBB\xBF"
                             "abcd"),
                 "FF FE 00 FF FE 00 61 62 63 64");
}

TEST(ColumnValue, BinaryIsAsGivenUpToItsLength) {
  const Column column = JetColumns().Variable("C", ColumnType::Binary, 4).Last();
  ExpectBothWays(column, Bytes{1, 2, 3}, "01 02 03");
  EXPECT_EQ(ErrorNumberOf([&] { Stored(column, Bytes(5)); }), errors::kJetConstraint);
  const Column fixed = JetColumns().FixedBytes("C", ColumnType::Binary, 4).Last();
  EXPECT_EQ(Stored(fixed, Bytes{1, 2, 3}), "01 02 03 00");
}

TEST(ColumnValue, WrongNumberOfBytesIsDamage) {
  for (const ColumnType type :
       {ColumnType::Byte, ColumnType::Long, ColumnType::DateTime, ColumnType::Guid, ColumnType::Decimal}) {
    EXPECT_EQ(ErrorNumberOf([&] { ValueFromBytes(FixedColumn(type), Bytes(3)); }), errors::kJetGeneral);
    EXPECT_EQ(ErrorNumberOf([&] { ValueFromBytes(FixedColumn(type), Bytes()); }), errors::kJetGeneral);
  }
  EXPECT_EQ(ErrorNumberOf([&] { ValueFromBytes(JetColumns().Text("C", 9).Last(), Bytes(3)); }), errors::kJetGeneral);
}

TEST(ColumnValue, EveryTypeHasARecordsetType) {
  EXPECT_EQ(DataTypeOf(ColumnType::Boolean), DataType::Boolean);
  EXPECT_EQ(DataTypeOf(ColumnType::Byte), DataType::UnsignedTinyInt);
  EXPECT_EQ(DataTypeOf(ColumnType::Integer), DataType::SmallInt);
  EXPECT_EQ(DataTypeOf(ColumnType::Long), DataType::Integer);
  EXPECT_EQ(DataTypeOf(ColumnType::Currency), DataType::Currency);
  EXPECT_EQ(DataTypeOf(ColumnType::Single), DataType::Single);
  EXPECT_EQ(DataTypeOf(ColumnType::Double), DataType::Double);
  EXPECT_EQ(DataTypeOf(ColumnType::DateTime), DataType::Date);
  EXPECT_EQ(DataTypeOf(ColumnType::Text), DataType::VarWChar);
  EXPECT_EQ(DataTypeOf(ColumnType::Memo), DataType::LongVarWChar);
  EXPECT_EQ(DataTypeOf(ColumnType::Ole), DataType::LongVarBinary);
  EXPECT_EQ(DataTypeOf(ColumnType::Guid), DataType::Guid);
  EXPECT_EQ(DataTypeOf(ColumnType::Decimal), DataType::Numeric);
  EXPECT_EQ(DataTypeOf(ColumnType::Binary), DataType::VarBinary);
  EXPECT_EQ(DataTypeOf(ColumnType::RawBlock), DataType::VarBinary);
}

TEST(ColumnValue, ValueIsReadInPlaceOfAnother) {
  const Column text = JetColumns().Text("C", 9).Last();
  Value value = std::string("a much longer text than the one that comes");
  ReadColumnValue(text, FromHex("61 00 62 00"), value);
  EXPECT_EQ(value, Value(std::string("ab")));
  ReadColumnValue(text, FromHex("FF FE 61 E9 62 63"), value);
  EXPECT_EQ(value, Value(std::string("a\xC3\xA9"
                                     "bc")));
  ReadColumnValue(FixedColumn(ColumnType::Long), FromHex("01 00 00 00"), value);
  EXPECT_EQ(value, Value(std::int32_t{1}));
  ReadColumnValue(text, FromHex("FF FE 00 29 26 00 61"), value);
  EXPECT_EQ(value, Value(std::string("\u2629a")));
}

TEST(ColumnValue, WhatCertainlyFitsIsStored) {
  const Column text = JetColumns().Text("C", 3).Last();
  const std::vector<std::pair<Column, Value>> fitting = {{FixedColumn(ColumnType::Byte), std::uint8_t{255}},
                                                         {FixedColumn(ColumnType::Integer), std::int16_t{-1}},
                                                         {FixedColumn(ColumnType::Long), std::int32_t{-1}},
                                                         {FixedColumn(ColumnType::Currency), Currency{-1}},
                                                         {FixedColumn(ColumnType::Single), -1.5F},
                                                         {FixedColumn(ColumnType::Double), -1.5},
                                                         {FixedColumn(ColumnType::DateTime), Date{45000.5}},
                                                         {text, std::string("abc")},
                                                         {text, std::string("\xC3\xA9x")}};
  for (const auto& [column, value] : fitting) {
    EXPECT_TRUE(CertainlyFits(column, value));
    EXPECT_FALSE(CertainlyFits(column, Null()));
    Bytes bytes;
    EXPECT_NO_THROW(BytesFromValue(column, value, bytes));
  }
  EXPECT_TRUE(CertainlyFits(FixedColumn(ColumnType::Boolean), true));
}

TEST(ColumnValue, WhatMayNotFitIsLeftToWhoStoresIt) {
  const Column text = JetColumns().Text("C", 3).Last();
  EXPECT_FALSE(CertainlyFits(text, std::string("abcd")));
  EXPECT_FALSE(CertainlyFits(text, std::string("\uFEFF")));
  EXPECT_FALSE(CertainlyFits(text, std::int32_t{1}));
  EXPECT_FALSE(CertainlyFits(FixedColumn(ColumnType::Long), std::int16_t{1}));
  EXPECT_FALSE(CertainlyFits(FixedColumn(ColumnType::Boolean), std::int16_t{1}));
  EXPECT_FALSE(CertainlyFits(FixedColumn(ColumnType::DateTime), Date{-657435.0}));
  EXPECT_FALSE(CertainlyFits(FixedColumn(ColumnType::DateTime), Date{std::numeric_limits<double>::quiet_NaN()}));
  EXPECT_FALSE(CertainlyFits(FixedColumn(ColumnType::Guid), std::string("no GUID")));
}

}  // namespace
}  // namespace mv::jet
