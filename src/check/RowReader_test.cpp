#include "check/RowReader.h"

#include <gtest/gtest.h>

#include "support/Hex.h"

namespace mv::check {
namespace {

using mv::testing::FromHex;

/// id Long, name Text(40), phone Text(24), flag Boolean.
Definition Shippers() {
  Definition definition;
  definition.nextColumnId = 4;
  definition.nextVariableIndex = 2;
  Column id;
  id.type = ColumnType::Long;
  id.flags = 0x03;
  Column name;
  name.type = ColumnType::Text;
  name.id = 1;
  Column phone = name;
  phone.id = 2;
  phone.variableIndex = 1;
  Column flag;
  flag.type = ColumnType::Boolean;
  flag.id = 3;
  flag.flags = 0x03;
  definition.columns = {id, name, phone, flag};
  return definition;
}

class RowReaderTest : public ::testing::Test {
 protected:
  std::string Wrong() const {
    Row row;
    return std::string(RowReader(definition_).Parse(bytes_, row));
  }
  Cell At(std::size_t column) const {
    const RowReader reader(definition_);
    Row row;
    EXPECT_EQ(reader.Parse(bytes_, row), "");
    return reader.Read(row, column);
  }
  std::size_t MaskAt() const { return bytes_.size() - 1; }

  Definition definition_ = Shippers();
  /// id 1, name "ab", phone null, flag true.
  Bytes bytes_ = FromHex("04 00 | 01 00 00 00 | 61 00 62 00 | 0A 00 0A 00 06 00 02 00 | 0B");
};

TEST_F(RowReaderTest, SoundRowHasItsCells) {
  EXPECT_EQ(At(0).state, Cell::State::Value);
  EXPECT_EQ(Word32(At(0).bytes, 0), 1U);
  EXPECT_EQ(At(1).bytes.size(), 4U);
  EXPECT_EQ(At(1).bytes[2], 'b');
  EXPECT_EQ(At(2).state, Cell::State::Null);
  EXPECT_EQ(At(3).state, Cell::State::Value);
}

TEST_F(RowReaderTest, UnusedBytesBeforeTheOffsetsAreAllowed) {
  bytes_.insert(bytes_.begin() + 10, 3, 0xEE);
  EXPECT_EQ(Wrong(), "");
}

TEST_F(RowReaderTest, OldRowLacksTheColumnsThatCameLater) {
  bytes_ = FromHex("01 00 | 01 00 00 00 | 01");
  EXPECT_EQ(At(0).bytes.size(), 4U);
  EXPECT_EQ(At(1).state, Cell::State::Null);
  EXPECT_EQ(At(3).state, Cell::State::Null);
}

TEST_F(RowReaderTest, FixedColumnBehindTheFixedAreaIsOutside) {
  definition_.columns[0].fixedOffset = 1;
  EXPECT_EQ(At(0).state, Cell::State::Outside);
}

TEST_F(RowReaderTest, MoreColumnsThanTheTable) {
  definition_.nextColumnId = 3;
  EXPECT_EQ(Wrong(), "the row has more columns than its table");
}

TEST_F(RowReaderTest, MoreVariableColumnsThanTheTable) {
  definition_.nextVariableIndex = 1;
  EXPECT_EQ(Wrong(), "the row has more variable columns than its table");
}

TEST_F(RowReaderTest, TooShortForAnyRow) {
  bytes_ = {1, 0};
  EXPECT_EQ(Wrong(), "the row is too short for any row");
}

TEST_F(RowReaderTest, TooShortForItsMask) {
  definition_.nextColumnId = 16;
  bytes_ = {16, 0, 1};
  EXPECT_EQ(Wrong(), "the row is too short for its null mask");
}

TEST_F(RowReaderTest, TooShortForItsOffsets) {
  bytes_ = FromHex("04 00 00 0B");
  EXPECT_EQ(Wrong(), "the row is too short for its offsets");
  bytes_ = FromHex("04 00 06 00 02 00 0B");
  EXPECT_EQ(Wrong(), "the row is too short for its offsets");
}

TEST_F(RowReaderTest, LongerThan4060Bytes) {
  bytes_.insert(bytes_.begin() + 10, 4060 - bytes_.size(), 0);
  EXPECT_EQ(Wrong(), "");
  bytes_.insert(bytes_.begin() + 10, 0);
  EXPECT_EQ(Wrong(), "the row is longer than 4060 bytes");
}

TEST_F(RowReaderTest, OffsetsThatDoNotAscend) {
  bytes_[MaskAt() - 6] = 0x05;
  EXPECT_EQ(Wrong(), "the offsets of the variable columns do not ascend");
}

TEST_F(RowReaderTest, FirstOffsetInFrontOfTheFixedArea) {
  bytes_[MaskAt() - 4] = 0x01;
  EXPECT_EQ(Wrong(), "the offsets of the variable columns do not ascend");
}

TEST_F(RowReaderTest, VariableAreaThatReachesIntoTheOffsets) {
  bytes_[MaskAt() - 8] = 0x0B;
  EXPECT_EQ(Wrong(), "the variable columns reach into the offsets behind them");
}

}  // namespace
}  // namespace mv::check
