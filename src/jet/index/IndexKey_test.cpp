#include "jet/index/IndexKey.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/Hex.h"

namespace mv::jet {
namespace {

using ::testing::AllOf;
using testing::ErrorNumberOf;
using testing::ErrorOf;
using ::testing::HasSubstr;
using testing::ToHex;

Column ColumnOf(ColumnType type) {
  Column column;
  column.name = "Plate";
  column.type = type;
  return column;
}

std::string Ascending(const Column& column, const Value& value) {
  Bytes key;
  AppendKey(key, column, value, true);
  return ToHex(key);
}

std::string Descending(const Column& column, const Value& value) {
  Bytes key;
  AppendKey(key, column, value, false);
  return ToHex(key);
}

std::string Ascending(ColumnType type, const Value& value) {
  return Ascending(ColumnOf(type), value);
}

std::string Descending(ColumnType type, const Value& value) {
  return Descending(ColumnOf(type), value);
}

std::string DescriptionOf(const std::function<void()>& action) {
  return ErrorOf(action).Description();
}

Bytes Repeated(std::size_t count, std::uint8_t byte) {
  return Bytes(count, byte);
}

TEST(IndexKey, NullIsOneByteWithoutStart) {
  EXPECT_EQ(Ascending(ColumnType::Long, Null{}), "00");
  EXPECT_EQ(Descending(ColumnType::Long, Null{}), "FF");
  EXPECT_EQ(Ascending(ColumnType::Text, Null{}), "00");
  EXPECT_EQ(Descending(ColumnType::Text, Null{}), "FF");
}

TEST(IndexKey, BooleanSortsTrueFirstAndIsNeverNull) {
  EXPECT_EQ(Ascending(ColumnType::Boolean, true), "7F 00");
  EXPECT_EQ(Ascending(ColumnType::Boolean, false), "7F FF");
  EXPECT_EQ(Descending(ColumnType::Boolean, true), "80 FF");
  EXPECT_EQ(Descending(ColumnType::Boolean, false), "80 00");
  EXPECT_EQ(Ascending(ColumnType::Boolean, Null{}), "7F FF");
}

TEST(IndexKey, ByteHasNoSignChange) {
  EXPECT_EQ(Ascending(ColumnType::Byte, std::uint8_t{200}), "7F C8");
  EXPECT_EQ(Descending(ColumnType::Byte, std::uint8_t{200}), "80 37");
}

TEST(IndexKey, IntegerHasItsTopBitFlipped) {
  EXPECT_EQ(Ascending(ColumnType::Integer, std::int16_t{-2}), "7F 7F FE");
  EXPECT_EQ(Descending(ColumnType::Integer, std::int16_t{-2}), "80 80 01");
  EXPECT_EQ(Ascending(ColumnType::Integer, std::int16_t{-32768}), "7F 00 00");
}

TEST(IndexKey, LongHasItsTopBitFlipped) {
  EXPECT_EQ(Ascending(ColumnType::Long, 1), "7F 80 00 00 01");
  EXPECT_EQ(Descending(ColumnType::Long, 1), "80 7F FF FF FE");
  EXPECT_EQ(Ascending(ColumnType::Long, -1), "7F 7F FF FF FF");
  EXPECT_EQ(Descending(ColumnType::Long, -1), "80 80 00 00 00");
}

TEST(IndexKey, CurrencyIsTenThousandthsLikeALong) {
  EXPECT_EQ(Ascending(ColumnType::Currency, Currency{180000}), "7F 80 00 00 00 00 02 BF 20");
  EXPECT_EQ(Descending(ColumnType::Currency, Currency{180000}), "80 7F FF FF FF FF FD 40 DF");
  EXPECT_EQ(Ascending(ColumnType::Currency, Currency{-1}), "7F 7F FF FF FF FF FF FF FF");
}

TEST(IndexKey, FloatsFlipTheSignOrAllBits) {
  EXPECT_EQ(Ascending(ColumnType::Single, 1.5f), "7F BF C0 00 00");
  EXPECT_EQ(Ascending(ColumnType::Single, -1.5f), "7F 40 3F FF FF");
  EXPECT_EQ(Descending(ColumnType::Single, 1.5f), "80 40 3F FF FF");
  EXPECT_EQ(Ascending(ColumnType::Double, -1.5), "7F 40 07 FF FF FF FF FF FF");
  EXPECT_EQ(Ascending(ColumnType::Double, 0.0), "7F 80 00 00 00 00 00 00 00");
  EXPECT_EQ(Descending(ColumnType::Double, -1.5), "80 BF F8 00 00 00 00 00 00");
}

TEST(IndexKey, NotANumberIsRefusedByColumn) {
  const auto expected = AllOf(HasSubstr("Not supported"), HasSubstr("'Plate'"), HasSubstr("NaN"));
  EXPECT_THAT(DescriptionOf([] { Ascending(ColumnType::Single, std::nanf("")); }), expected);
  EXPECT_THAT(DescriptionOf([] { Descending(ColumnType::Double, -std::nan("")); }), expected);
  EXPECT_THAT(DescriptionOf([] { Ascending(ColumnType::DateTime, Date{std::nan("")}); }), expected);
}

TEST(IndexKey, DateTimeIsItsDouble) {
  EXPECT_EQ(Ascending(ColumnType::DateTime, Date{38143.5}), "7F C0 E2 9F F0 00 00 00 00");
}

TEST(IndexKey, BinaryIsGroupsOfEight) {
  const Bytes ten = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  EXPECT_EQ(Ascending(ColumnType::Binary, ten), "7F 01 02 03 04 05 06 07 08 09 09 0A 00 00 00 00 00 00 02");
  EXPECT_EQ(Descending(ColumnType::Binary, ten), "80 FE FD FC FB FA F9 F8 F7 09 F6 F5 FF FF FF FF FF FF FD");
}

TEST(IndexKey, BinaryOfFullGroupsEndsWithEight) {
  EXPECT_EQ(Ascending(ColumnType::Binary, Repeated(8, 0xAA)), "7F AA AA AA AA AA AA AA AA 08");
  EXPECT_EQ(Ascending(ColumnType::Binary, Repeated(16, 0xAA)),
            "7F AA AA AA AA AA AA AA AA 09 AA AA AA AA AA AA AA AA 08");
}

TEST(IndexKey, EmptyBinaryIsTheStartByteAlone) {
  EXPECT_EQ(Ascending(ColumnType::Binary, Bytes{}), "7F");
  EXPECT_EQ(Descending(ColumnType::Binary, Bytes{}), "80");
}

TEST(IndexKey, GuidIsBinaryInPrintedOrder) {
  EXPECT_EQ(Ascending(ColumnType::Guid, std::string("{01234567-89AB-CDEF-0123-456789ABCDEF}")),
            "7F 01 23 45 67 89 AB CD EF 09 01 23 45 67 89 AB CD EF 08");
  EXPECT_EQ(Ascending(ColumnType::Guid, std::string("{01020304-0506-0708-090a-0b0c0d0e0f10}")),
            "7F 01 02 03 04 05 06 07 08 09 09 0A 0B 0C 0D 0E 0F 10 08");
  EXPECT_EQ(Descending(ColumnType::Guid, std::string("{01020304-0506-0708-090A-0B0C0D0E0F10}")),
            "80 FE FD FC FB FA F9 F8 F7 09 F6 F5 F4 F3 F2 F1 F0 EF F7");
}

TEST(IndexKey, TextThatIsNoGuidIsATypeMismatch) {
  EXPECT_EQ(ErrorNumberOf([&] { Ascending(ColumnType::Guid, std::string("01234567")); }), errors::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { Ascending(ColumnType::Guid, std::string("{01234567-89AB-CDEF-0123-456789ABCDEG}")); }),
            errors::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { Ascending(ColumnType::Guid, std::string("{01234567+89AB-CDEF-0123-456789ABCDEF}")); }),
            errors::kTypeMismatch);
}

Column DecimalColumn(std::uint8_t scale) {
  Column column = ColumnOf(ColumnType::Decimal);
  column.precision = 28;
  column.scale = scale;
  return column;
}

TEST(IndexKey, DecimalIsSignAndMagnitudeAtTheColumnsScale) {
  EXPECT_EQ(Ascending(DecimalColumn(4), std::string("12.5")), "7F FF 00 00 00 00 00 00 00 00 00 00 00 00 00 01 E8 48");
  EXPECT_EQ(Ascending(DecimalColumn(4), std::string("12.5000")),
            "7F FF 00 00 00 00 00 00 00 00 00 00 00 00 00 01 E8 48");
  EXPECT_EQ(Ascending(DecimalColumn(4), std::string("1")), "7F FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 27 10");
}

TEST(IndexKey, NegativeDecimalHasAll17BytesInverted) {
  EXPECT_EQ(Ascending(DecimalColumn(4), std::string("-1.0000")),
            "7F 00 FF FF FF FF FF FF FF FF FF FF FF FF FF FF D8 EF");
}

TEST(IndexKey, DecimalZeroIsPositive) {
  EXPECT_EQ(Ascending(DecimalColumn(2), std::string("-0.00")), Ascending(DecimalColumn(2), std::string("0")));
  EXPECT_EQ(Ascending(DecimalColumn(0), std::string("0")), "7F FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
}

TEST(IndexKey, DecimalsBeyondTheScaleAreCut) {
  EXPECT_EQ(Ascending(DecimalColumn(1), std::string("1.99")), Ascending(DecimalColumn(1), std::string("1.9")));
}

TEST(IndexKey, DecimalTakesAllDigitsOfItsPrecision) {
  EXPECT_EQ(Ascending(DecimalColumn(0), std::string("9999999999999999999999999999")),
            "7F FF 00 00 00 00 20 4F CE 5E 3E 25 02 61 0F FF FF FF");
  EXPECT_EQ(ErrorNumberOf([&] { Ascending(DecimalColumn(0), std::string("10000000000000000000000000000")); }),
            errors::kOverflow);
}

TEST(IndexKey, TextThatIsNoDecimalIsATypeMismatch) {
  EXPECT_EQ(ErrorNumberOf([&] { Ascending(DecimalColumn(2), std::string("1.2.3")); }), errors::kTypeMismatch);
}

TEST(IndexKey, DescendingDecimalIsRefusedByName) {
  EXPECT_THAT(DescriptionOf([] { Descending(DecimalColumn(2), std::string("1")); }),
              AllOf(HasSubstr("Not supported"), HasSubstr("'Plate'"), HasSubstr("descending")));
}

TEST(IndexKey, TextIsStartByteAndTextKey) {
  EXPECT_EQ(Ascending(ColumnType::Text, std::string("Tables")), "7F 6D 4A 4C 5E 51 6B 01 00");
  EXPECT_EQ(Ascending(ColumnType::Text, std::string()), "7F 01 00");
  EXPECT_EQ(Ascending(ColumnType::Memo, std::string("Tables")), "7F 6D 4A 4C 5E 51 6B 01 00");
}

TEST(IndexKey, DescendingTextInvertsTheClosingZeroAndGetsAnother) {
  EXPECT_EQ(Descending(ColumnType::Text, std::string("Tables")), "80 92 B5 B3 A1 AE 94 FE FF 00");
  EXPECT_EQ(Descending(ColumnType::Text, std::string("A")), "80 B5 FE FF 00");
  EXPECT_EQ(Descending(ColumnType::Text, std::string()), "80 FE FF 00");
}

TEST(IndexKey, SecondPartIsAppendedUntouched) {
  Bytes key;
  AppendKey(key, ColumnOf(ColumnType::Long), 1, true);
  AppendKey(key, ColumnOf(ColumnType::Text), std::string("A"), false);
  EXPECT_EQ(ToHex(key), "7F 80 00 00 01 80 B5 FE FF 00");
}

TEST(IndexKey, CharacterOutsideTheFirstPlaneIsRefusedByColumnAndCharacter) {
  EXPECT_THAT(DescriptionOf([] { Ascending(ColumnType::Text, std::string("a\U0001F600")); }),
              AllOf(HasSubstr("Not supported"), HasSubstr("'Plate'"), HasSubstr("U+1F600")));
  EXPECT_THAT(DescriptionOf([] { Ascending(ColumnType::Text, std::string("\u0651")); }), HasSubstr("U+0651"));
}

TEST(IndexKey, OtherSortOrderIsRefusedByName) {
  Column column = ColumnOf(ColumnType::Text);
  column.sortOrder = {0x041A, 0, 0};
  EXPECT_THAT(DescriptionOf([&] { Ascending(column, std::string("a")); }),
              AllOf(HasSubstr("'Plate'"), HasSubstr("041A.0.0")));
  column.sortOrder = {0x0409, 0, 1};
  EXPECT_THAT(DescriptionOf([&] { Ascending(column, std::string("a")); }), HasSubstr("0409.0.1"));
  column.sortOrder = {0x0409, 1, 0};
  EXPECT_THAT(DescriptionOf([&] { Ascending(column, std::string("a")); }), HasSubstr("0409.1.0"));
}

TEST(IndexKey, SortOrderOfANumberDoesNotMatter) {
  Column column = ColumnOf(ColumnType::Long);
  column.sortOrder = {0x041A, 0, 0};
  EXPECT_EQ(Ascending(column, 1), "7F 80 00 00 01");
}

TEST(IndexKey, OleAndRawColumnsAreRefused) {
  EXPECT_THAT(DescriptionOf([] { Ascending(ColumnType::Ole, Bytes{1}); }), HasSubstr("'Plate'"));
  EXPECT_THAT(DescriptionOf([] { Ascending(ColumnType::RawBlock, Bytes{1}); }), HasSubstr("'Plate'"));
}

TEST(IndexKey, ValueOfAnotherTypeIsATypeMismatch) {
  EXPECT_EQ(ErrorNumberOf([&] { Ascending(ColumnType::Long, std::string("1")); }), errors::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { Ascending(ColumnType::Text, 1); }), errors::kTypeMismatch);
}

TEST(IndexKey, NumberKeysSortLikeTheNumbers) {
  const double doubles[] = {
      -std::numeric_limits<double>::infinity(), -1e300, -2.5, -1.0, -1e-300, 0.0, 1e-300, 1.0, 2.5, 1e300};
  for (std::size_t i = 1; i < std::size(doubles); ++i) {
    EXPECT_LT(Ascending(ColumnType::Double, doubles[i - 1]), Ascending(ColumnType::Double, doubles[i]));
    EXPECT_GT(Descending(ColumnType::Double, doubles[i - 1]), Descending(ColumnType::Double, doubles[i]));
  }
}

/// Columns id 0 "Key" Long, id 2 "Name" Text, id 3 "Open" Boolean; the column with id 1 was deleted.
TableDefinition FleetTable() {
  TableDefinition table;
  table.name = "Fleet";
  table.columns = {ColumnOf(ColumnType::Text), ColumnOf(ColumnType::Long), ColumnOf(ColumnType::Boolean)};
  table.columns[0].id = 2;
  table.columns[1].id = 0;
  table.columns[2].id = 3;
  return table;
}

IndexData IndexOver(std::vector<IndexData::KeyColumn> columns) {
  IndexData index;
  index.columns = std::move(columns);
  return index;
}

TEST(KeyOf, TakesColumnsByIdInIndexOrder) {
  const TableDefinition table = FleetTable();
  const IndexKey key =
      KeyOf(table, IndexOver({{0, true}, {2, false}}), std::vector<Value>{std::string("A"), std::int32_t{1}, false});
  EXPECT_EQ(ToHex(key.bytes), "7F 80 00 00 01 80 B5 FE FF 00");
  EXPECT_FALSE(key.allNull);
  EXPECT_FALSE(key.anyNull);
}

TEST(KeyOf, TellsWhetherSomeOrAllPartsAreNull) {
  const TableDefinition table = FleetTable();
  const IndexData index = IndexOver({{0, true}, {2, true}});
  const IndexKey some = KeyOf(table, index, std::vector<Value>{Null{}, std::int32_t{1}, false});
  EXPECT_EQ(ToHex(some.bytes), "7F 80 00 00 01 00");
  EXPECT_TRUE(some.anyNull);
  EXPECT_FALSE(some.allNull);
  const IndexKey all = KeyOf(table, index, std::vector<Value>{Null{}, Null{}, false});
  EXPECT_EQ(ToHex(all.bytes), "00 00");
  EXPECT_TRUE(all.anyNull);
  EXPECT_TRUE(all.allNull);
}

TEST(KeyOf, BooleanCountsAsNotNull) {
  const IndexKey key = KeyOf(FleetTable(), IndexOver({{3, true}}), std::vector<Value>{Null{}, Null{}, Null{}});
  EXPECT_FALSE(key.anyNull);
  EXPECT_FALSE(key.allNull);
}

TEST(KeyOf, DeletedColumnIsDamage) {
  EXPECT_EQ(ErrorNumberOf([&] {
              KeyOf(FleetTable(), IndexOver({{1, true}}), std::vector<Value>{Null{}, Null{}, false});
            }),
            errors::kJetGeneral);
}

TEST(KeyOf, KeyOf510BytesIsTheLongest) {
  const TableDefinition table = FleetTable();
  const IndexData index = IndexOver({{2, true}});
  const auto keyOfText = [&](const std::string& text) {
    return KeyOf(table, index, std::vector<Value>{text, Null{}, false});
  };
  std::string text;
  for (int i = 0; i < 253; ++i) text += "\u0414";  // two bytes each; the frame has three
  EXPECT_EQ(keyOfText(text + "a").bytes.size(), 510u);
  EXPECT_THAT(DescriptionOf([&] { keyOfText(text + "\u0414"); }),
              AllOf(HasSubstr("Not supported"), HasSubstr("'Fleet'"), HasSubstr("510")));
}

TEST(WhyNotWritable, IsEmptyForAnIndexOfKnownOrder) {
  EXPECT_EQ(WhyNotWritable(FleetTable(), IndexOver({{0, false}, {2, true}, {3, true}})), "");
}

TEST(WhyNotWritable, NamesSortOrderDirectionAndType) {
  TableDefinition table = FleetTable();
  table.columns[0].sortOrder = {0x0411, 0, 0};
  EXPECT_THAT(WhyNotWritable(table, IndexOver({{0, true}, {2, true}})), HasSubstr("0411.0.0"));
  table.columns[0].type = ColumnType::Ole;
  EXPECT_THAT(WhyNotWritable(table, IndexOver({{2, true}})), HasSubstr("'Plate'"));
  table.columns[0].type = ColumnType::Decimal;
  EXPECT_EQ(WhyNotWritable(table, IndexOver({{2, true}})), "");
  EXPECT_THAT(WhyNotWritable(table, IndexOver({{2, false}})), HasSubstr("descending"));
  EXPECT_THAT(WhyNotWritable(table, IndexOver({{1, true}})), HasSubstr("1"));
}

}  // namespace
}  // namespace mv::jet
