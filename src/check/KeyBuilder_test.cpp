#include "check/KeyBuilder.h"

#include <gtest/gtest.h>

#include "support/CheckWorld.h"
#include "support/Hex.h"

namespace mv::check {
namespace {

using mv::testing::CheckWorld;
using mv::testing::FileBytes;
using mv::testing::FromHex;
using mv::testing::ToHex;

/// Keys of a table of one column, which lies in the variable area.
class KeyBuilderTest : public ::testing::Test {
 protected:
  KeyBuilderTest() {
    definition_.nextColumnId = 1;
    definition_.nextVariableIndex = 1;
    definition_.columns.emplace_back();
    definition_.columns[0].sortOrder = {0x09, 0x04, 0, 0};
  }

  KeyBuilder::Key Build(ColumnType type, const Bytes& value, bool ascending,
                        KeyBuilder::Style style = KeyBuilder::Style::Usual, bool isNull = false) {
    definition_.columns[0].type = type;
    row_ = {1, 0};
    row_.insert(row_.end(), value.begin(), value.end());
    const auto end = static_cast<std::uint8_t>(row_.size());
    row_.insert(row_.end(), {end, 0, 2, 0, 1, 0, static_cast<std::uint8_t>(isNull ? 0 : 1)});
    Row row;
    EXPECT_EQ(RowReader(definition_).Parse(row_, row), "");
    Index index;
    index.columns = {{0, ascending, 0}};
    KeyBuilder::Key key;
    KeyBuilder(world_.Context(), definition_).Build(index, row, style, key);
    return key;
  }
  std::string Key(ColumnType type, std::string_view value, bool ascending = true) {
    return ToHex(Build(type, FromHex(value), ascending).bytes);
  }

  FileBytes file_{std::size_t{2}};
  CheckWorld world_{file_};
  Definition definition_;
  Bytes row_;
};

TEST_F(KeyBuilderTest, NullIsOneByte) {
  const KeyBuilder::Key key = Build(ColumnType::Long, {}, true, KeyBuilder::Style::Usual, true);
  EXPECT_EQ(ToHex(key.bytes), "00");
  EXPECT_TRUE(key.allNull);
  EXPECT_TRUE(key.anyNull);
  EXPECT_EQ(ToHex(Build(ColumnType::Text, {}, false, KeyBuilder::Style::Usual, true).bytes), "FF");
}

TEST_F(KeyBuilderTest, BooleanIsNeverNull) {
  EXPECT_EQ(Key(ColumnType::Boolean, ""), "7F 00");
  EXPECT_EQ(Key(ColumnType::Boolean, "", false), "80 FF");
  const KeyBuilder::Key key = Build(ColumnType::Boolean, {}, true, KeyBuilder::Style::Usual, true);
  EXPECT_EQ(ToHex(key.bytes), "7F FF");
  EXPECT_FALSE(key.anyNull);
}

TEST_F(KeyBuilderTest, WholeNumbers) {
  EXPECT_EQ(Key(ColumnType::Byte, "C8"), "7F C8");
  EXPECT_EQ(Key(ColumnType::Byte, "C8", false), "80 37");
  EXPECT_EQ(Key(ColumnType::Integer, "FE FF"), "7F 7F FE");
  EXPECT_EQ(Key(ColumnType::Integer, "FE FF", false), "80 80 01");
  EXPECT_EQ(Key(ColumnType::Long, "01 00 00 00"), "7F 80 00 00 01");
  EXPECT_EQ(Key(ColumnType::Long, "FF FF FF FF", false), "80 80 00 00 00");
  EXPECT_EQ(Key(ColumnType::Currency, "20 BF 02 00 00 00 00 00"), "7F 80 00 00 00 00 02 BF 20");
}

TEST_F(KeyBuilderTest, FloatingNumbers) {
  EXPECT_EQ(Key(ColumnType::Single, "00 00 C0 3F"), "7F BF C0 00 00");
  EXPECT_EQ(Key(ColumnType::Double, "00 00 00 00 00 00 F8 BF"), "7F 40 07 FF FF FF FF FF FF");
  EXPECT_EQ(Key(ColumnType::Double, "00 00 00 00 00 00 F8 BF", false), "80 BF F8 00 00 00 00 00 00");
  EXPECT_EQ(Key(ColumnType::DateTime, "00 00 00 00 F0 9F E2 40"), "7F C0 E2 9F F0 00 00 00 00");
}

TEST_F(KeyBuilderTest, BinaryComesInGroupsOf8) {
  EXPECT_EQ(Key(ColumnType::Binary, "01 02 03 04 05 06 07 08 09 0A"),
            "7F 01 02 03 04 05 06 07 08 09 09 0A 00 00 00 00 00 00 02");
  EXPECT_EQ(Key(ColumnType::Binary, "01 02 03 04 05 06 07 08"), "7F 01 02 03 04 05 06 07 08 08");
  EXPECT_EQ(Key(ColumnType::Binary, "01 02 03 04 05 06 07 08 09", false),
            "80 FE FD FC FB FA F9 F8 F7 09 F6 FF FF FF FF FF FF FF FE");
  EXPECT_EQ(Key(ColumnType::Binary, ""), "7F");
}

TEST_F(KeyBuilderTest, GuidIsInPrintedOrder) {
  EXPECT_EQ(Key(ColumnType::Guid, "67 45 23 01 AB 89 EF CD 01 23 45 67 89 AB CD EF"),
            "7F 01 23 45 67 89 AB CD EF 09 01 23 45 67 89 AB CD EF 08");
}

TEST_F(KeyBuilderTest, DecimalHasItsSignInFront) {
  const std::string value = "00 | 00 00 00 00 | 00 00 00 00 | 00 00 00 00 | 48 E8 01 00";
  const std::string zeros = "00 00 00 00 00 00 00 00 00 00 00 00 00 ";
  const std::string ones = "FF FF FF FF FF FF FF FF FF FF FF FF FF ";
  EXPECT_EQ(Key(ColumnType::Decimal, value), "7F FF " + zeros + "01 E8 48");
  EXPECT_EQ(Key(ColumnType::Decimal, "80" + value.substr(2)), "7F 00 " + ones + "FE 17 B7");
  EXPECT_EQ(Key(ColumnType::Decimal, value, false), "80 FF " + ones + "FE 17 B7");
  const Bytes bytes = FromHex(value);
  EXPECT_EQ(ToHex(Build(ColumnType::Decimal, bytes, false, KeyBuilder::Style::Other).bytes),
            "80 00 " + ones + "FE 17 B7");
}

TEST_F(KeyBuilderTest, TextPlainOrCompressed) {
  EXPECT_EQ(Key(ColumnType::Text, "\"Tables\""), "7F 6D 4A 4C 5E 51 6B 01 00");
  EXPECT_EQ(Key(ColumnType::Text, "FF FE 54 61 62 6C 65 73"), "7F 6D 4A 4C 5E 51 6B 01 00");
  EXPECT_EQ(Key(ColumnType::Text, "\"Tables\"", false), "80 92 B5 B3 A1 AE 94 FE FF 00");
}

TEST_F(KeyBuilderTest, MemoIsFetched) {
  EXPECT_EQ(Key(ColumnType::Memo, "06 00 00 80 00 00 00 00 00 00 00 00 \"a b\""), "7F 4A 07 4C 01 00");
}

TEST_F(KeyBuilderTest, CharactersOfSeveralLettersCountTwoOrOnce) {
  const Bytes text = FromHex("41 00 DF 00 2D 00 42 00");  // "Aß-B"
  EXPECT_EQ(ToHex(Build(ColumnType::Text, text, true).bytes), "7F 4A 6B 6B 4C 01 01 01 01 80 13 06 82 00");
  EXPECT_EQ(ToHex(Build(ColumnType::Text, text, true, KeyBuilder::Style::Other).bytes),
            "7F 4A 6B 6B 4C 01 01 01 01 80 0F 06 82 00");
}

TEST_F(KeyBuilderTest, WhatHasNoKnownKeyIsSaid) {
  EXPECT_FALSE(Build(ColumnType::Text, FromHex("00 D8"), true).known);
  EXPECT_FALSE(Build(ColumnType::Ole, Bytes(20), true).known);
  EXPECT_FALSE(Build(ColumnType::RawBlock, Bytes(20), true).known);
  definition_.columns[0].sortOrder = {0x11, 0x04, 0, 0};
  EXPECT_FALSE(Build(ColumnType::Text, FromHex("61 00"), true).known);
}

}  // namespace
}  // namespace mv::check
