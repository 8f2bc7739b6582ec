#include "jet/rows/Row.h"

#include <gtest/gtest.h>

#include <random>

#include "support/ExpectError.h"
#include "support/Hex.h"
#include "support/JetColumns.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::FromHex;
using mv::testing::JetColumns;
using mv::testing::ToHex;

using Cells = std::vector<std::optional<ByteView>>;

std::string Written(const RowLayout& layout, const Cells& cells) {
  Bytes row;
  layout.Write(cells, layout.FixedArea(), row);
  EXPECT_EQ(row.size(), layout.RowSize(cells, layout.FixedArea()));
  return ToHex(row);
}

std::string CellText(const RowLayout& layout, const Bytes& row, std::size_t column) {
  const std::optional<ByteView> cell = layout.Cell(layout.Parse(row), column);
  return cell ? ToHex(*cell) : "null";
}

const char* const kShipper =
    "03 00 01 00 00 00 FF FE 53 70 65 65 64 79 20 45 78 70 72 65 73 73 FF FE 28 35 30 33 29 20 35 35 35 2D 39 38 33 31 "
    "26 00 16 00 06 00 02 00 07";

JetColumns ShipperColumns() {
  return JetColumns().Fixed("id", ColumnType::Long).Text("name", 40).Text("phone", 24);
}

TEST(Row, RealRowOfThreeColumnsIsReadAndWrittenByteForByte) {
  const RowLayout layout(ShipperColumns().Definition());
  const Bytes row = FromHex(kShipper);
  EXPECT_EQ(CellText(layout, row, 0), "01 00 00 00");
  EXPECT_EQ(CellText(layout, row, 1), "FF FE 53 70 65 65 64 79 20 45 78 70 72 65 73 73");
  EXPECT_EQ(CellText(layout, row, 2), "FF FE 28 35 30 33 29 20 35 35 35 2D 39 38 33 31");
  const RowLayout::Row parsed = layout.Parse(row);
  EXPECT_EQ(Written(layout, {layout.Cell(parsed, 0), layout.Cell(parsed, 1), layout.Cell(parsed, 2)}), kShipper);
}

TEST(Row, RealRowWithLongValuesHasItsDescriptorsInTheVariableArea) {
  const RowLayout layout(
      JetColumns().Autonumber("CategoryID").Text("CategoryName", 15).Memo("Description").Ole("Picture").Definition());
  const Bytes row = FromHex(
      "04 00 01 00 00 00 FF FE 42 65 76 65 72 61 67 65 73 2D 00 00 40 00 1A 00 00 00 00 00 00 FA 29 00 00 00 17 00 00 "
      "6C 9E F5 12 29 00 1D 00 11 00 06 00 03 00 0F");
  EXPECT_EQ(CellText(layout, row, 2), "2D 00 00 40 00 1A 00 00 00 00 00 00");
  EXPECT_EQ(CellText(layout, row, 3), "FA 29 00 00 00 17 00 00 6C 9E F5 12");
}

TEST(Row, TableWithoutVariableColumnsHasNoOffsetPart) {
  const RowLayout layout(
      JetColumns().Fixed("a", ColumnType::Long).Fixed("b", ColumnType::Long).Fixed("c", ColumnType::Long).Definition());
  const Bytes a = FromHex("0B 00 00 00");
  const Bytes b = FromHex("16 00 00 00");
  const Bytes c = FromHex("21 00 00 00");
  EXPECT_EQ(Written(layout, {a, b, c}), "03 00 0B 00 00 00 16 00 00 00 21 00 00 00 07");
  EXPECT_EQ(CellText(layout, FromHex("03 00 0B 00 00 00 16 00 00 00 21 00 00 00 05"), 1), "null");
}

TEST(Row, OneBooleanAloneStillHasTwoBytesOfFixedArea) {
  const RowLayout layout(JetColumns().Fixed("flag", ColumnType::Boolean).Definition());
  EXPECT_EQ(Written(layout, {ByteView()}), "01 00 00 00 01");
  EXPECT_EQ(Written(layout, {std::nullopt}), "01 00 00 00 00");
  EXPECT_EQ(CellText(layout, FromHex("01 00 00 00 01"), 0), "");
  EXPECT_EQ(CellText(layout, FromHex("01 00 00 00 00"), 0), "null");
}

TEST(Row, NullsInTheFixedAreaAreZerosBehindAClearBit) {
  const RowLayout layout(ShipperColumns().Definition());
  EXPECT_EQ(Written(layout, {std::nullopt, std::nullopt, std::nullopt}),
            "03 00 00 00 00 00 06 00 06 00 06 00 02 00 00");
}

TEST(Row, ZeroLengthTextIsNotNull) {
  const RowLayout layout(ShipperColumns().Definition());
  const std::string row = Written(layout, {std::nullopt, ByteView(), std::nullopt});
  EXPECT_EQ(row, "03 00 00 00 00 00 06 00 06 00 06 00 02 00 02");
  EXPECT_EQ(CellText(layout, FromHex(row), 1), "");
  EXPECT_EQ(CellText(layout, FromHex(row), 2), "null");
}

TEST(Row, ColumnsAddedLaterAreNullOrFalseInAnOldRow) {
  JetColumns columns = ShipperColumns();
  columns.Fixed("added", ColumnType::Double).Fixed("flag", ColumnType::Boolean).Text("late", 9);
  const RowLayout layout(columns.Definition());
  const Bytes row = FromHex(kShipper);
  for (const std::size_t column : {3U, 4U, 5U}) EXPECT_EQ(CellText(layout, row, column), "null");
  EXPECT_EQ(CellText(layout, row, 0), "01 00 00 00");
  EXPECT_EQ(CellText(layout, row, 2).substr(0, 5), "FF FE");
}

TEST(Row, RowFromBeforeTheFirstVariableColumnHasNoOffsetPart) {
  const RowLayout layout(
      JetColumns().Fixed("a", ColumnType::Long).Fixed("b", ColumnType::Boolean).Text("late", 9).Definition());
  const Bytes row = FromHex("02 00 0B 00 00 00 03");
  EXPECT_EQ(CellText(layout, row, 0), "0B 00 00 00");
  EXPECT_EQ(CellText(layout, row, 1), "");
  EXPECT_EQ(CellText(layout, row, 2), "null");
}

TEST(Row, VariableColumnBehindTheRowsOwnCountIsNull) {
  const RowLayout layout(ShipperColumns().Definition());
  EXPECT_EQ(CellText(layout, FromHex("03 00 01 00 00 00 41 00 08 00 06 00 01 00 07"), 1), "41 00");
  EXPECT_EQ(CellText(layout, FromHex("03 00 01 00 00 00 41 00 08 00 06 00 01 00 07"), 2), "null");
}

TEST(Row, DeletedColumnsKeepTheirPlacesAndTheirBitsMeanNothing) {
  const RowLayout layout(JetColumns()
                             .Fixed("gone", ColumnType::Long)
                             .Deleted()
                             .Text("gone too", 9)
                             .Deleted()
                             .Fixed("a", ColumnType::Integer)
                             .Text("b", 9)
                             .Definition());
  const Bytes row = FromHex("04 00 EE EE EE EE 07 00 61 00 62 00 0C 00 0A 00 08 00 02 00 0F");
  EXPECT_EQ(CellText(layout, row, 0), "07 00");
  EXPECT_EQ(CellText(layout, row, 1), "62 00");
  const Bytes a = FromHex("07 00");
  const Bytes b = FromHex("62 00");
  EXPECT_EQ(Written(layout, {a, b}), "04 00 00 00 00 00 07 00 62 00 0A 00 08 00 08 00 02 00 0C");
}

TEST(Row, AllVariableColumnsDeletedStillLeaveAnOffsetPartInNewRows) {
  const RowLayout layout(JetColumns().Fixed("a", ColumnType::Long).Text("gone", 9).Deleted().Definition());
  const Bytes a = FromHex("0B 00 00 00");
  const std::string row = Written(layout, {a});
  EXPECT_EQ(row, "02 00 0B 00 00 00 06 00 06 00 01 00 01");
  EXPECT_EQ(layout.FixedAreaLike(layout.Parse(FromHex(row))), 4U);
}

TEST(Row, UnusedBytesBehindTheVariableAreaAreSkipped) {
  const RowLayout layout(ShipperColumns().Definition());
  const Bytes row = FromHex("03 00 01 00 00 00 41 00 42 00 EE EE EE EE 0A 00 08 00 06 00 02 00 07");
  EXPECT_EQ(CellText(layout, row, 1), "41 00");
  EXPECT_EQ(CellText(layout, row, 2), "42 00");
}

TEST(Row, FixedTypeInTheVariableAreaIsFoundByItsFlag) {
  const RowLayout layout(JetColumns().Variable("n", ColumnType::Long).Definition());
  EXPECT_EQ(CellText(layout, FromHex("01 00 0B 00 00 00 06 00 02 00 01 00 01"), 0), "0B 00 00 00");
}

TEST(Row, LongerFixedAreaOfOtherRowsIsKept) {
  const RowLayout layout(JetColumns().Text("name", 9).Fixed("gone", ColumnType::Double).Deleted().Definition());
  const Bytes row = FromHex("02 00 EE EE EE EE EE EE EE EE 41 00 0C 00 0A 00 01 00 01");
  EXPECT_EQ(layout.FixedArea(), 0U);
  EXPECT_EQ(layout.FixedAreaLike(layout.Parse(row)), 8U);
  Bytes copy;
  layout.Write(Cells{layout.Cell(layout.Parse(row), 0)}, 8, copy);
  EXPECT_EQ(ToHex(copy), "02 00 00 00 00 00 00 00 00 00 41 00 0C 00 0A 00 01 00 01");
  const Bytes old = FromHex("01 00 41 00 04 00 02 00 01 00 01");
  EXPECT_EQ(layout.FixedAreaLike(layout.Parse(old)), 0U);
}

TEST(Row, MoreThanEightColumnsHaveALongerNullMask) {
  JetColumns columns;
  for (int i = 0; i < 9; ++i) columns.Fixed("flag", ColumnType::Boolean);
  const RowLayout layout(columns.Definition());
  Cells cells(9);
  cells[0] = ByteView();
  cells[8] = ByteView();
  EXPECT_EQ(Written(layout, cells), "09 00 00 00 01 01");
  EXPECT_EQ(CellText(layout, FromHex("09 00 00 00 01 01"), 8), "");
  EXPECT_EQ(CellText(layout, FromHex("09 00 00 00 01 01"), 7), "null");
}

// Hostile rows.

TEST(HostileRow, PartsThatDoNotFitAreRefused) {
  const RowLayout layout(ShipperColumns().Definition());
  for (const char* row : {
           "",                                              // no count
           "03",                                            // half a count
           "04 00 01 00 00 00 06 00 06 00 06 00 02 00 07",  // more columns than the table
           "03 00",                                         // no null mask
           "03 00 07",                                      // no offset part
           "03 00 06 00 03 00 07",                          // more variable columns than the table
           "03 00 02 00 02 00 07",                          // offset part before the row
           "03 00 01 00 00 00 06 00 06 00 01 00 02 00 07",  // first offset inside the count
           "03 00 01 00 00 00 06 00 06 00 FF 00 02 00 07",  // first offset behind the row
       }) {
    EXPECT_EQ(ErrorNumberOf([&] { layout.Parse(FromHex(row)); }), errors::kJetGeneral) << row;
  }
}

TEST(HostileRow, CellsThatDoNotFitAreRefused) {
  const RowLayout layout(ShipperColumns().Definition());
  const Bytes shortFixedArea = FromHex("03 00 01 00 04 00 04 00 04 00 02 00 07");
  EXPECT_EQ(ErrorNumberOf([&] { CellText(layout, shortFixedArea, 0); }), errors::kJetGeneral);
  const Bytes falling = FromHex("03 00 01 00 00 00 41 00 08 00 05 00 06 00 02 00 07");
  EXPECT_EQ(ErrorNumberOf([&] { CellText(layout, falling, 1); }), errors::kJetGeneral);
  const Bytes behind = FromHex("03 00 01 00 00 00 41 00 70 00 06 00 06 00 02 00 07");
  EXPECT_EQ(ErrorNumberOf([&] { CellText(layout, behind, 2); }), errors::kJetGeneral);
}

TEST(HostileRow, RandomBytesAreReadOrRefusedButNeverReadOutside) {
  const RowLayout layout(ShipperColumns().Definition());
  std::mt19937 random(77);
  for (int round = 0; round < 20000; ++round) {
    Bytes row = FromHex(kShipper);
    for (int i = 0; i < 3; ++i) row[random() % row.size()] = static_cast<std::uint8_t>(random());
    row.resize(random() % (row.size() + 1));
    try {
      const RowLayout::Row parsed = layout.Parse(row);
      for (std::size_t column = 0; column < 3; ++column) {
        const std::optional<ByteView> cell = layout.Cell(parsed, column);
        if (!cell || cell->empty()) continue;
        EXPECT_LE(cell->data() + cell->size(), row.data() + row.size());
      }
    } catch (const Error& error) {
      EXPECT_EQ(error.Number(), errors::kJetGeneral);
    }
  }
}

TEST(RowProperty, RandomRowsReadBackAsWritten) {
  const RowLayout layout(JetColumns()
                             .Fixed("a", ColumnType::Long)
                             .Text("b", 100)
                             .Fixed("c", ColumnType::Boolean)
                             .Fixed("gone", ColumnType::Double)
                             .Deleted()
                             .Variable("d", ColumnType::Binary, 200)
                             .Memo("gone too")
                             .Deleted()
                             .Fixed("e", ColumnType::Guid)
                             .Text("f", 100)
                             .Definition());
  const std::vector<std::size_t> sizes = {4, 0, 0, 0, 16, 0};  // 0: any, but none for column 2
  std::mt19937 random(5);
  for (int round = 0; round < 3000; ++round) {
    std::vector<std::optional<Bytes>> values(sizes.size());
    Cells cells(sizes.size());
    for (std::size_t column = 0; column < sizes.size(); ++column) {
      if (random() % 3 == 0) continue;
      Bytes value(column == 2 ? 0 : sizes[column] != 0 ? sizes[column] : random() % 60);
      for (std::uint8_t& byte : value) byte = static_cast<std::uint8_t>(random());
      values[column] = value;
      cells[column] = *values[column];
    }
    Bytes row;
    layout.Write(cells, layout.FixedArea() + random() % 9, row);
    const RowLayout::Row parsed = layout.Parse(row);
    for (std::size_t column = 0; column < sizes.size(); ++column) {
      const std::optional<ByteView> cell = layout.Cell(parsed, column);
      ASSERT_EQ(cell.has_value(), values[column].has_value());
      if (!cell) continue;
      ASSERT_EQ(ToHex(*cell), ToHex(*values[column]));
    }
  }
}

}  // namespace
}  // namespace mv::jet
