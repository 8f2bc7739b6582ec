#include "check/TableCheck.h"

#include <gtest/gtest.h>

#include "support/CheckWorld.h"

namespace mv::check {
namespace {

using mv::testing::CheckWorld;
using mv::testing::FileBytes;
using mv::testing::Lines;

constexpr PageNumber kDefinition = 6;
constexpr PageNumber kMaps = 2;
constexpr PageNumber kFirst = 3;
constexpr PageNumber kSecond = 4;

Column MakeColumn(const std::string& name, ColumnType type, std::uint16_t id, std::uint8_t flags, std::uint16_t place,
                  std::uint16_t length) {
  Column column;
  column.name = name;
  column.type = type;
  column.id = id;
  column.flags = flags;
  column.variableIndex = place;
  column.fixedOffset = place;
  column.length = length;
  return column;
}

Bytes Utf16(std::string_view text) {
  Bytes bytes;
  for (const char c : text) bytes.insert(bytes.end(), {static_cast<std::uint8_t>(c), 0});
  return bytes;
}

Bytes Map(std::initializer_list<unsigned> pages) {
  Bytes row(69, 0);
  for (const unsigned page : pages) row[5 + page / 8] |= static_cast<std::uint8_t>(1U << page % 8);
  return row;
}

/// A table of two pages: Id autonumber, K Text(4), B Binary(2), D Double in the variable area, M Memo. Three rows.
class TableCheckTest : public ::testing::Test {
 protected:
  TableCheckTest() {
    definition_.page = kDefinition;
    definition_.name = "T";
    definition_.isUserTable = true;
    definition_.nextColumnId = 5;
    definition_.nextVariableIndex = 4;
    definition_.ownedPages = {kMaps, 0};
    definition_.freeSpacePages = {kMaps, 1};
    definition_.autonumberStep = 1;
    definition_.lastAutonumber = 12;
    definition_.rowCount = 3;
    definition_.columns = {
        MakeColumn("Id", ColumnType::Long, 0, 0x07, 0, 4), MakeColumn("K", ColumnType::Text, 1, 0x02, 0, 8),
        MakeColumn("B", ColumnType::Binary, 2, 0x02, 1, 2), MakeColumn("D", ColumnType::Double, 3, 0x02, 2, 8),
        MakeColumn("M", ColumnType::Memo, 4, 0x02, 3, 0)};
    Index primaryKey;
    primaryKey.isPrimary = true;
    primaryKey.columns = {{1, true, 1}};
    definition_.indexes = {primaryKey};
    file_.PutDataPage(kMaps, kMapOwner, {Map({kFirst, kSecond}), Map({kSecond}), Map({5}), Map({5})});
    PutRows({MakeRow(10, Utf16("ab")), MakeRow(11, Utf16("cd"))}, {MakeRow(12, Utf16("ef"))});
  }

  static Bytes MakeRow(std::int32_t id, const Bytes& text, const Bytes& binary = {}, const Bytes& number = Bytes(8),
                       const Bytes& memo = {}) {
    Bytes row(6);
    row[0] = 5;
    StoreLittle(row.data() + 2, id);
    Bytes offsets;
    std::uint8_t mask = 0x01;
    std::uint8_t bit = 0x02;
    const auto word = [](Bytes& bytes, std::size_t value) {
      bytes.insert(bytes.begin(), {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)});
    };
    for (const Bytes& part : {text, binary, number, memo}) {
      word(offsets, row.size());
      row.insert(row.end(), part.begin(), part.end());
      if (!part.empty()) mask |= bit;
      bit = static_cast<std::uint8_t>(bit << 1);
    }
    word(offsets, row.size());
    row.insert(row.end(), offsets.begin(), offsets.end());
    row.insert(row.end(), {4, 0, mask});
    return row;
  }
  void PutRows(const std::vector<Bytes>& first, const std::vector<Bytes>& second) {
    file_.PutDataPage(kFirst, kDefinition, first);
    file_.PutDataPage(kSecond, kDefinition, second);
    definition_.rowCount = static_cast<std::uint32_t>(first.size() + second.size());
  }
  /// One row on the first page.
  void PutRow(const Bytes& row) { PutRows({row}, {}); }
  /// Row 3/0 is moved to 4/0.
  void PutMovedRow() {
    Bytes pointer(4);
    StoreLittle(pointer.data(), RowId{kSecond, 0}.Word());
    PutRows({pointer, MakeRow(11, Utf16("cd"))}, {MakeRow(10, Utf16("ab"))});
    file_.SetSlotState({kFirst, 0}, 0x4000);
    file_.SetSlotState({kSecond, 0}, 0x8000);
    definition_.rowCount = 2;
  }

  Lines Check() {
    world_.emplace(file_);
    readable_ = TableCheck(world_->Context(), world_->Maps(), definition_).Run();
    return world_->Take();
  }
  static std::string First(const std::string& column, const std::string& text) {
    return "damage: table T, column " + column + ", page 3, row 0: " + text;
  }

  FileBytes file_{std::size_t{7}};
  Definition definition_;
  std::optional<CheckWorld> world_;
  bool readable_ = false;
};

TEST_F(TableCheckTest, SoundTableHasNoFindingsAndItsRowsAreMarked) {
  EXPECT_EQ(Check(), Lines());
  EXPECT_TRUE(readable_);
  EXPECT_EQ(definition_.dataPages, (std::vector<PageNumber>{kFirst, kSecond}));
  std::vector<RowId> rows;
  ForEachRow(world_->Context().rows, definition_, [&](RowId row, const Row&) { rows.push_back(row); });
  EXPECT_EQ(rows, (std::vector<RowId>{{kFirst, 0}, {kFirst, 1}, {kSecond, 0}}));
  EXPECT_EQ(world_->Context().report.tables, 1U);
  EXPECT_EQ(world_->Context().report.rows, 3U);
}

TEST_F(TableCheckTest, UnreadableMapMeansNothingIsKnownOfTheRows) {
  definition_.ownedPages = {kMaps, 9};
  EXPECT_EQ(Check(), Lines{"damage: table T: the map of owned pages should be at 2/9, where no live row is"});
  EXPECT_FALSE(readable_);
}

TEST_F(TableCheckTest, PagesWithRoomAreOwned) {
  file_.PutDataPage(kMaps, kMapOwner, {Map({kFirst, kSecond}), Map({kSecond, 5})});
  EXPECT_EQ(Check(), Lines{"damage: table T, page 5: the page is listed as having room, but is not the table's (this "
                           "page first of 1)"});
}

TEST_F(TableCheckTest, OwnedPageIsADataPage) {
  file_.Byte(kSecond, 0) = 9;
  definition_.rowCount = 2;
  EXPECT_EQ(Check(), Lines{"damage: table T, page 4: the page should be a data page, but begins with 0901"});
}

TEST_F(TableCheckTest, RowCountIsNoted) {
  definition_.rowCount = 4;
  EXPECT_EQ(Check(), Lines{"note: table T, page 6: the definition counts 4 rows, but there are 3"});
}

TEST_F(TableCheckTest, AutonumberBehindTheOnesGivenIsNoted) {
  definition_.lastAutonumber = 11;
  EXPECT_EQ(Check(), Lines{"note: table T, page 6: the autonumber 12 was given, but the last one is said to be 11"});
}

TEST_F(TableCheckTest, DeadRowsAreNoRows) {
  file_.SetSlotState({kFirst, 0}, 0xC000);
  definition_.rowCount = 2;
  EXPECT_EQ(Check(), Lines());
}

TEST_F(TableCheckTest, BrokenRowIsDamageAndStillCounts) {
  file_.Byte(kFirst, file_.RowStart({kFirst, 0})) = 6;
  EXPECT_EQ(Check(), Lines{"damage: table T, page 3, row 0: the row has more columns than its table"});
  EXPECT_EQ(world_->Context().rows.MarkOf({kFirst, 0}), Mark::Damaged);
}

TEST_F(TableCheckTest, FixedColumnOutsideTheFixedArea) {
  PutRow(MakeRow(10, Utf16("ab")));
  definition_.columns[0].fixedOffset = 2;
  EXPECT_EQ(Check(), Lines{First("Id", "the row's fixed area ends before the column")});
}

TEST_F(TableCheckTest, ValueOfAFixedLengthTypeHasThatLength) {
  PutRow(MakeRow(10, Utf16("ab"), {}, Bytes(7)));
  EXPECT_EQ(Check(), Lines{First("D", "the value has 7 bytes, its type takes 8")});
}

TEST_F(TableCheckTest, TextLongerThanItsColumn) {
  PutRow(MakeRow(10, Utf16("abcde")));
  EXPECT_EQ(Check(), Lines{First("K", "the text has 5 characters, at most 4 can be")});
}

TEST_F(TableCheckTest, TextThatEndsWithinACharacter) {
  PutRow(MakeRow(10, {'a', 0, 'b'}));
  EXPECT_EQ(Check(), Lines{First("K", "the text ends within a character")});
}

TEST_F(TableCheckTest, BinaryLongerThanItsColumn) {
  PutRow(MakeRow(10, Utf16("ab"), Bytes(3, 1)));
  EXPECT_EQ(Check(), Lines{First("B", "the value has 3 bytes, at most 2 can be")});
}

TEST_F(TableCheckTest, LongValueIsChecked) {
  PutRow(MakeRow(10, Utf16("ab"), {}, Bytes(8), Bytes(5, 1)));
  EXPECT_EQ(Check(), Lines{First("M", "the descriptor has only 5 bytes")});
}

TEST_F(TableCheckTest, NullInARequiredColumnIsNoted) {
  definition_.columns[1].required = true;
  EXPECT_EQ(Check(), Lines());
  PutRow(MakeRow(10, {}));
  EXPECT_EQ(Check(), Lines{"note: table T, column K, page 3, row 0: the column may not be null, but is"});
}

TEST_F(TableCheckTest, MovedRowHasOneLandingRow) {
  PutMovedRow();
  EXPECT_EQ(Check(), Lines());
  const RowReader reader(definition_);
  EXPECT_EQ(Word32(reader.Read(reader.At(world_->Context().rows, {kFirst, 0}), 0).bytes, 0), 10U);
}

TEST_F(TableCheckTest, MovedRowWithoutRoomForAnAddress) {
  PutRow({1, 2, 3});
  file_.SetSlotState({kFirst, 0}, 0x4000);
  EXPECT_EQ(Check(), Lines{"damage: table T, page 3, row 0: the row was moved, but has no room for the address"});
}

TEST_F(TableCheckTest, MovedRowThatLeadsOutOfTheTable) {
  PutMovedRow();
  file_.SetSlotState({kSecond, 0}, 0xC000);
  file_.Set32(kFirst, file_.RowStart({kFirst, 0}), RowId{5, 0}.Word());
  EXPECT_EQ(Check(),
            Lines{"damage: table T, page 3, row 0: the row was moved to 5/0, which is on no page of the table"});
}

TEST_F(TableCheckTest, MovedRowThatLeadsToARowThatDidNotLand) {
  PutMovedRow();
  file_.SetSlotState({kSecond, 0}, 0xC000);
  EXPECT_EQ(Check(), Lines{"damage: table T, page 3, row 0: the row was moved to 4/0, where no landing row is"});
}

TEST_F(TableCheckTest, MovedRowThatWasMovedOn) {
  PutMovedRow();
  file_.SetSlotState({kSecond, 0}, 0x4000);
  file_.Set32(kSecond, file_.RowStart({kSecond, 0}), RowId{kFirst, 0}.Word());
  definition_.rowCount = 3;
  EXPECT_EQ(Check(), (Lines{"damage: table T, page 3, row 0: the row was moved to 4/0, where no landing row is",
                            "damage: table T, page 4, row 0: the row was moved to 3/0, where no landing row is"}));
}

TEST_F(TableCheckTest, LandingRowOfTwoRows) {
  PutMovedRow();
  file_.SetSlotState({kFirst, 1}, 0x4000);
  file_.Set32(kFirst, file_.RowStart({kFirst, 1}), RowId{kSecond, 0}.Word());
  EXPECT_EQ(Check(),
            Lines{"damage: table T, page 3, row 1: the row was moved to 4/0, which is another row's landing row"});
}

TEST_F(TableCheckTest, LandingRowOfNoRowIsNoted) {
  PutMovedRow();
  file_.SetSlotState({kFirst, 0}, 0xC000);
  definition_.rowCount = 1;
  EXPECT_EQ(Check(), Lines{"note: table T, page 4, row 0: no moved row leads to this landing row"});
}

TEST_F(TableCheckTest, LongValuePageWithoutRoomIsNotListed) {
  definition_.longValueMaps = {{4, {kMaps, 2}, {kMaps, 3}}};
  Bytes descriptor(12);
  StoreLittle(descriptor.data(), 0x40000000u | 3816u);
  StoreLittle(descriptor.data() + 4, RowId{5, 0}.Word());
  PutRow(MakeRow(10, Utf16("ab"), {}, Bytes(8), descriptor));
  file_.PutDataPage(5, kLongValueOwner, {Bytes(3816, 'x')});
  EXPECT_EQ(Check(), Lines());
  file_.PutDataPage(5, kLongValueOwner, {Bytes(4096 - 16 - 257, 'x')});
  EXPECT_EQ(Check(),
            Lines{"note: table T, column M, page 5: the page is listed as having room, but only 257 bytes are free"});
}

TEST_F(TableCheckTest, LongValuesOfNoRowAreNoted) {
  definition_.longValueMaps = {{4, {kMaps, 2}, {kMaps, 3}}};
  file_.PutDataPage(5, kLongValueOwner, {Bytes(100, 'x')});
  EXPECT_EQ(Check(), Lines{"note: table T, column M, page 5: rows that belong to no value: 1"});
}

TEST_F(TableCheckTest, LongValuesOfABrokenRowAreNoFindingOfTheirOwn) {
  definition_.longValueMaps = {{4, {kMaps, 2}, {kMaps, 3}}};
  file_.PutDataPage(5, kLongValueOwner, {Bytes(100, 'x')});
  file_.Byte(kFirst, file_.RowStart({kFirst, 0})) = 6;
  EXPECT_THAT(Check(), ::testing::ElementsAre(::testing::HasSubstr("more columns than its table")));
}

TEST_F(TableCheckTest, MapsOfADeletedColumnKeepItsPages) {
  definition_.longValueMaps = {{9, {kMaps, 2}, {kMaps, 3}}};
  file_.PutDataPage(5, kLongValueOwner, {Bytes(100, 'x')});
  EXPECT_EQ(Check(), Lines());
  EXPECT_NE(world_->Context().owners.OwnerOf(5), 0U);
}

/// Memos that take a chain of pages.
class LongMemoTest : public TableCheckTest {
 protected:
  static constexpr PageNumber kChain = 8;

  /// A table with one row, whose memo is plain text of these units.
  Lines CheckMemo(std::size_t characters, char16_t character) {
    file_ = FileBytes(std::size_t{40});
    Bytes text;
    for (std::size_t i = 0; i < characters; ++i) {
      text.insert(text.end(), {static_cast<std::uint8_t>(character), static_cast<std::uint8_t>(character >> 8)});
    }
    Bytes pages(69, 0);
    const std::size_t count = (text.size() + 4071) / 4072;
    for (std::size_t i = 0; i < count; ++i) {
      const auto page = static_cast<PageNumber>(kChain + i);
      pages[5 + page / 8] |= static_cast<std::uint8_t>(1U << page % 8);
      const auto begin = text.begin() + static_cast<std::ptrdiff_t>(4072 * i);
      const std::size_t size = std::min<std::size_t>(4072, text.size() - 4072 * i);
      Bytes part(4);
      StoreLittle(part.data(), i + 1 == count ? 0 : RowId{page + 1, 0}.Word());
      part.insert(part.end(), begin, begin + static_cast<std::ptrdiff_t>(size));
      file_.PutDataPage(page, kLongValueOwner, {part}, i == 0 ? 77 : 0);
    }
    file_.PutDataPage(kMaps, kMapOwner, {Map({kFirst, kSecond}), Map({kSecond}), pages, Map({})});
    definition_.longValueMaps = {{4, {kMaps, 2}, {kMaps, 3}}};
    Bytes descriptor(12);
    StoreLittle(descriptor.data(), static_cast<std::uint32_t>(text.size()));
    StoreLittle(descriptor.data() + 4, RowId{kChain, 0}.Word());
    StoreLittle<std::uint32_t>(descriptor.data() + 8, 77);
    PutRow(MakeRow(10, Utf16("ab"), {}, Bytes(8), descriptor));
    return Check();
  }
};

TEST_F(LongMemoTest, MemoThatHandheldsCannotReadBackIsNotedWithItsRow) {
  EXPECT_EQ(CheckMemo(32767, u'm'), Lines());
  EXPECT_EQ(CheckMemo(32768, u'm'),
            Lines{"note: table T, column M, page 3, row 0: the memo takes 32768 bytes as Windows-1252 text; handhelds "
                  "read 32767, so a run would stop at this table with an overflow (row with K = ab)"});
}

TEST_F(LongMemoTest, CharactersThatTakeTwoBytesOnHandheldsCountTwice) {
  EXPECT_EQ(CheckMemo(16383, u'\u00E9'), Lines());
  EXPECT_THAT(CheckMemo(16384, u'\u00E9'), ::testing::ElementsAre(::testing::HasSubstr("takes 32768 bytes")));
}

TEST_F(LongMemoTest, MemoOfASystemTableGoesToNoHandheld) {
  definition_.isUserTable = false;
  EXPECT_EQ(CheckMemo(32768, u'm'), Lines());
}

}  // namespace
}  // namespace mv::check
