#include "jet/definition/TableDefinition.h"

#include <gtest/gtest.h>

#include "base/ByteOrder.h"
#include "support/ExpectError.h"
#include "support/Hex.h"
#include "support/JetStorage.h"

namespace mv::jet {
namespace {

using testing::ErrorOf;
using testing::FromHex;
using testing::ToHex;

/// A whole definition as Jet wrote it, but for the free-space word and the bytes Jet leaves uninitialised: autonumber,
/// text, memo and OLE columns; a unique index, a primary key, the primary side of a relation on the same tree.
Bytes CategoriesDefinition() {
  return FromHex(
      "02 01 00 00 00 00 00 00 1D 02 00 00 59 06 00 00"
      "08 00 00 00 08 00 00 00 01 00 00 00 00 00 00 00"
      "00 00 00 00 00 00 00 00 4E 04 00 03 00 04 00 03 00 00 00"
      "02 00 00 00 00 16 00 00 01 16 00 00"
      "08 00 00 00 08 00 00 00 00 00 00 00 | 08 00 00 00 08 00 00 00 00 00 00 00"
      "04 59 06 00 00 00 00 00 00 00 00 09 04 00 00 07 00 00 00 00 00 00 00 04 00"
      "0A 59 06 00 00 01 00 00 00 01 00 09 04 00 00 02 01 00 00 00 00 0D 00 1E 00"
      "0C 59 06 00 00 02 00 01 00 02 00 09 04 00 00 02 01 00 00 00 00 00 00 00 00"
      "0B 59 06 00 00 03 00 02 00 03 00 09 04 00 00 02 00 00 00 00 00 00 00 00 00"
      "14 00 \"CategoryID\" | 18 00 \"CategoryName\" | 16 00 \"Description\" | 0E 00 \"Picture\""
      "83 07 00 00 | 01 00 01 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00"
      "06 16 00 00 | 31 00 00 00 | 00 00 00 00 | 81 | 00 00 00 00 00"
      "83 07 00 00 | 00 00 01 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00"
      "07 16 00 00 | 32 00 00 00 | 00 00 00 00 | 89 | 00 00 00 00 00"
      "59 06 00 00 | 02 00 00 00 | 01 00 00 00 | 01 | 04 00 00 00 | 50 01 00 00 | 00 00 | 02 | 00 00 00 00"
      "59 06 00 00 | 00 00 00 00 | 00 00 00 00 | 00 | FF FF FF FF | 00 00 00 00 | 04 04 | 00 | 00 00 00 00"
      "59 06 00 00 | 01 00 00 00 | 01 00 00 00 | 00 | FF FF FF FF | 00 00 00 00 | 04 04 | 01 | 00 00 00 00"
      "06 00 \".rC\" | 18 00 \"CategoryName\" | 14 00 \"PrimaryKey\""
      "02 00 | 02 16 00 00 | 03 16 00 00"
      "03 00 | 04 16 00 00 | 05 16 00 00"
      "FF FF");
}

constexpr std::size_t kFirstColumnAt = 0x57;
constexpr std::size_t kColumnSize = 25;
constexpr std::size_t kFirstNameAt = 0xBB;
constexpr std::size_t kFirstIndexDataAt = 0x113;
constexpr std::size_t kFirstLogicalAt = 0x17B;
constexpr std::size_t kLongValueMapsAt = 0x207;

TableDefinition Categories() {
  return ParseDefinition(CategoriesDefinition(), 21, "Categories");
}

/// The description of the error that a definition with some bytes replaced raises.
std::string Refusal(std::size_t at, std::string_view hex) {
  Bytes definition = CategoriesDefinition();
  const Bytes bytes = FromHex(hex);
  std::copy(bytes.begin(), bytes.end(), definition.begin() + static_cast<std::ptrdiff_t>(at));
  const Error error = ErrorOf([&] { ParseDefinition(definition, 21, "Categories"); });
  EXPECT_EQ(error.Number(), errors::kJetGeneral);
  return error.Description();
}

std::string Damage(const std::string& what) {
  return "The database file is damaged: table 'Categories': " + what + ". Nothing was changed.";
}

TEST(ParseDefinition, HeadGivesTypeCountersAndMaps) {
  const TableDefinition table = Categories();
  EXPECT_EQ(table.page, 21u);
  EXPECT_EQ(table.name, "Categories");
  EXPECT_EQ(table.tableType, 0x4E);
  EXPECT_EQ(table.nextColumnId, 4);
  EXPECT_EQ(table.nextVariableIndex, 3);
  EXPECT_EQ(table.ownedPages, (RowId{22, 0}));
  EXPECT_EQ(table.freeSpacePages, (RowId{22, 1}));
}

TEST(ParseDefinition, ColumnsHaveNamesPlacesAndFlags) {
  const TableDefinition table = Categories();
  ASSERT_EQ(table.columns.size(), 4u);
  const Column& id = table.columns[0];
  EXPECT_EQ(id.name, "CategoryID");
  EXPECT_EQ(id.type, ColumnType::Long);
  EXPECT_EQ(id.id, 0);
  EXPECT_TRUE(id.IsFixed());
  EXPECT_TRUE(id.IsAutonumber());
  EXPECT_EQ(id.fixedOffset, 0);
  EXPECT_EQ(id.length, 4);
  const Column& name = table.columns[1];
  EXPECT_EQ(name.name, "CategoryName");
  EXPECT_EQ(name.type, ColumnType::Text);
  EXPECT_FALSE(name.IsFixed());
  EXPECT_TRUE(name.IsCompressed());
  EXPECT_EQ(name.variableIndex, 0);
  EXPECT_EQ(name.length, 30);
  EXPECT_EQ(name.sortOrder, (SortOrder{0x0409, 0, 0}));
}

TEST(ParseDefinition, LongValueColumnsGetTheirMaps) {
  const TableDefinition table = Categories();
  EXPECT_EQ(table.columns[2].type, ColumnType::Memo);
  EXPECT_EQ(table.columns[2].longValuePages, (RowId{22, 2}));
  EXPECT_EQ(table.columns[2].longValueFreeSpace, (RowId{22, 3}));
  EXPECT_EQ(table.columns[3].type, ColumnType::Ole);
  EXPECT_EQ(table.columns[3].longValuePages, (RowId{22, 4}));
  EXPECT_EQ(table.columns[3].longValueFreeSpace, (RowId{22, 5}));
  EXPECT_TRUE(table.columns[1].longValuePages.IsNone());
}

TEST(ParseDefinition, IndexesShareATreeWhenTheyNameIt) {
  const TableDefinition table = Categories();
  ASSERT_EQ(table.indexData.size(), 2u);
  const IndexData& byId = table.indexData[1];
  ASSERT_EQ(byId.columns.size(), 1u);
  EXPECT_EQ(byId.columns[0].columnId, 0);
  EXPECT_TRUE(byId.columns[0].ascending);
  EXPECT_EQ(byId.map, (RowId{22, 7}));
  EXPECT_EQ(byId.root, 50u);
  EXPECT_EQ(byId.flags, 0x89);
  ASSERT_EQ(table.indexes.size(), 3u);
  const LogicalIndex& relation = table.indexes[0];
  EXPECT_EQ(relation.name, ".rC");
  EXPECT_EQ(relation.kind, LogicalIndex::Kind::Relation);
  EXPECT_EQ(relation.number, 2u);
  EXPECT_EQ(relation.dataNumber, 1u);
  EXPECT_EQ(relation.relation, 1);
  EXPECT_EQ(relation.otherIndex, 4);
  EXPECT_EQ(relation.otherTable, 0x150u);
  EXPECT_EQ(relation.onUpdate, 0);
  EXPECT_EQ(table.indexes[2].kind, LogicalIndex::Kind::PrimaryKey);
  EXPECT_EQ(table.indexes[2].dataNumber, 1u);
}

TEST(TableDefinition, IndexNameLeavesOutThePrimarySideOfARelation) {
  TableDefinition table = Categories();
  EXPECT_EQ(table.IndexName(0), "CategoryName");
  EXPECT_EQ(table.IndexName(1), "PrimaryKey");
  table.indexes.pop_back();
  EXPECT_EQ(table.IndexName(1), "#1");
}

TEST(TableDefinition, ColumnByIdFindsByIdAndNotByPosition) {
  TableDefinition table = Categories();
  table.columns.erase(table.columns.begin() + 1);
  EXPECT_EQ(table.ColumnById(1), nullptr);
  EXPECT_EQ(table.ColumnById(2), &table.columns[1]);
}

TEST(TableDefinition, PositionOfTakesAnIdOrANameInAnyCase) {
  TableDefinition table = Categories();
  table.columns.erase(table.columns.begin() + 1);
  EXPECT_EQ(table.PositionOf(std::uint16_t{2}), 1u);
  EXPECT_EQ(table.PositionOf(std::uint16_t{1}), std::nullopt);
  EXPECT_EQ(table.PositionOf("CATEGORYid"), 0u);
  EXPECT_EQ(table.PositionOf("CategoryName"), std::nullopt);
}

TEST(TableDefinition, PositionsOfFollowTheIndexAndNotTheColumns) {
  TableDefinition table = Categories();
  std::swap(table.columns.front(), table.columns.back());
  const IndexData index = {.columns = {{3, true}, {1, true}, {0, false}}, .map = {}};
  EXPECT_EQ(table.PositionsOf(index), (std::vector<std::size_t>{0, 1, 3}));
}

TEST(ParseDefinition, TailLessThanLengthIsCutOff) {
  for (const std::size_t size : {0u, 8u, 11u, 62u, 200u, 540u}) {
    Bytes definition = CategoriesDefinition();
    definition.resize(size);
    EXPECT_EQ(ErrorOf([&] { ParseDefinition(definition, 21, "Categories"); }).Description(),
              Damage("its definition is cut off"))
        << size;
  }
}

TEST(ParseDefinition, EveryShorterLengthIsDamage) {
  for (std::uint32_t length = 0; length < 541; ++length) {
    Bytes definition = CategoriesDefinition();
    StoreLittle(definition.data() + 8, length);
    EXPECT_THROW(ParseDefinition(definition, 21, "Categories"), Error) << length;
  }
}

TEST(ParseDefinition, BytesBehindTheLengthAreIgnored) {
  Bytes definition = CategoriesDefinition();
  definition.resize(kPageSize, 0xEE);
  EXPECT_EQ(ParseDefinition(definition, 21, "Categories").indexes.size(), 3u);
}

TEST(ParseDefinition, LengthLongerThanItsPartsIsDamage) {
  Bytes definition = CategoriesDefinition();
  definition.resize(definition.size() + 10);
  StoreLittle<std::uint32_t>(definition.data() + 8, 551);
  EXPECT_EQ(ErrorOf([&] { ParseDefinition(definition, 21, "Categories"); }).Description(),
            Damage("its definition is longer than its parts"));
}

TEST(ParseDefinition, CountsAboveTheLimitsAreDamage) {
  EXPECT_EQ(Refusal(45, "00 01"), Damage("256 columns"));
  EXPECT_EQ(Refusal(47, "21 00 00 00"), Damage("33 indexes"));
  EXPECT_EQ(Refusal(51, "FF FF FF FF"), Damage("4294967295 index trees"));
}

TEST(ParseDefinition, MissingMarksAreDamage) {
  EXPECT_EQ(Refusal(12, "00"), Damage("its definition lacks its mark"));
  EXPECT_EQ(Refusal(kFirstColumnAt + 1, "00"), Damage("a column lacks its mark"));
  EXPECT_EQ(Refusal(kFirstIndexDataAt, "59 06"), Damage("an index lacks its mark"));
  EXPECT_EQ(Refusal(kFirstLogicalAt, "83 07"), Damage("an index lacks its mark"));
}

TEST(ParseDefinition, MissingEndOfTheLongValueMapsIsDamage) {
  EXPECT_EQ(Refusal(kLongValueMapsAt + 20, "00 00"), Damage("its definition is cut off"));
}

TEST(ParseDefinition, ColumnTypeOfALaterEngineIsNotSupported) {
  EXPECT_EQ(
      Refusal(kFirstColumnAt, "12"),
      "Not supported: table 'Categories' has a column of type 18, which later engines added. Nothing was changed.");
  EXPECT_EQ(Refusal(kFirstColumnAt, "00"), Damage("a column of type 0"));
}

TEST(ParseDefinition, ColumnTypesNobodyHasMetAreRawBytes) {
  for (const std::uint8_t type : {std::uint8_t{13}, std::uint8_t{14}}) {
    Bytes definition = CategoriesDefinition();
    definition[kFirstColumnAt] = type;
    EXPECT_EQ(ParseDefinition(definition, 21, "Categories").columns[0].type, ColumnType::RawBlock);
  }
}

TEST(ParseDefinition, ImpossibleIdsAreDamage) {
  EXPECT_EQ(Refusal(kFirstColumnAt + 5, "04 00"), Damage("column 'CategoryID' has an impossible id"));
  EXPECT_EQ(Refusal(kFirstColumnAt + kColumnSize + 5, "00 00"), Damage("column 'CategoryName' has an impossible id"));
}

TEST(ParseDefinition, ImpossibleVariableIndexesAreDamage) {
  EXPECT_EQ(Refusal(kFirstColumnAt + kColumnSize + 7, "03 00"),
            Damage("column 'CategoryName' has an impossible place among the variable columns"));
  EXPECT_EQ(Refusal(kFirstColumnAt + 2 * kColumnSize + 7, "00 00"),
            Damage("column 'Description' has an impossible place among the variable columns"));
}

TEST(ParseDefinition, GapsInIdsAreWhatDeletedColumnsLeave) {
  Bytes definition = CategoriesDefinition();
  definition[41] = 9;
  definition[43] = 7;
  definition[kFirstColumnAt + kColumnSize + 7] = 6;
  const TableDefinition table = ParseDefinition(definition, 21, "Categories");
  EXPECT_EQ(table.nextColumnId, 9);
  EXPECT_EQ(table.columns[1].variableIndex, 6);
}

TEST(ParseDefinition, FixedPlaceOutsideARowIsDamage) {
  EXPECT_EQ(Refusal(kFirstColumnAt + 21, "FF FF"), Damage("its rows do not fit on a page"));
}

TEST(ParseDefinition, LongestPossibleRowIsAccepted) {
  // 2 count + 4043 + 4 fixed + 1 null mask + 2 x 4 offsets and end + 2 count of variable columns.
  Bytes definition = CategoriesDefinition();
  StoreLittle<std::uint16_t>(definition.data() + kFirstColumnAt + 21, 4043);
  EXPECT_EQ(ShortestRow(ParseDefinition(definition, 21, "Categories")), 4060u);
  EXPECT_EQ(Refusal(kFirstColumnAt + 21, "CC 0F"), Damage("its rows do not fit on a page"));
}

TEST(ParseDefinition, OverlappingFixedColumnsAreDamage) {
  // CategoryName becomes a fixed Integer at offset 2, inside the Long of CategoryID.
  Bytes definition = CategoriesDefinition();
  std::uint8_t* name = definition.data() + kFirstColumnAt + kColumnSize;
  name[0] = 3;
  name[15] = 3;
  StoreLittle<std::uint16_t>(name + 21, 3);
  EXPECT_EQ(ErrorOf([&] { ParseDefinition(definition, 21, "Categories"); }).Description(),
            Damage("two columns overlap"));
  StoreLittle<std::uint16_t>(name + 21, 4);
  EXPECT_NO_THROW(ParseDefinition(definition, 21, "Categories"));
}

TEST(ParseDefinition, ImpossibleLengthsAreDamage) {
  const std::size_t at = kFirstColumnAt + kColumnSize + 23;
  EXPECT_EQ(Refusal(at, "00 00"), Damage("column 'CategoryName' has a length of 0 bytes"));
  EXPECT_EQ(Refusal(at, "00 02"), Damage("column 'CategoryName' has a length of 512 bytes"));
  EXPECT_EQ(Refusal(at, "1D 00"), Damage("column 'CategoryName' ends within a character"));
}

TEST(ParseDefinition, LongValueColumnInTheFixedAreaIsDamage) {
  EXPECT_EQ(Refusal(kFirstColumnAt + 2 * kColumnSize + 15, "03"),
            Damage("column 'Description' cannot have a fixed place"));
}

TEST(ParseDefinition, NamesOfImpossibleLengthAreDamage) {
  EXPECT_EQ(Refusal(kFirstNameAt, "00 00"), Damage("a name of 0 bytes"));
  EXPECT_EQ(Refusal(kFirstNameAt, "13 00"), Damage("a name of 19 bytes"));
  EXPECT_EQ(Refusal(kFirstNameAt, "82 00"), Damage("a name of 130 bytes"));
}

TEST(ParseDefinition, IndexOverAMissingColumnIsDamage) {
  EXPECT_EQ(Refusal(kFirstIndexDataAt + 4, "04 00"), Damage("an index over a column that does not exist"));
  EXPECT_EQ(Refusal(kFirstIndexDataAt + 4, "FF FF 00"), Damage("an index without columns"));
  EXPECT_EQ(Refusal(kFirstIndexDataAt + 38, "00 00 00 00"), Damage("an index without a root page"));
}

TEST(ParseDefinition, LogicalIndexWithoutATreeIsDamage) {
  EXPECT_EQ(Refusal(kFirstLogicalAt + 8, "02 00 00 00"), Damage("index '.rC' has no tree"));
  EXPECT_EQ(Refusal(kFirstLogicalAt + 4, "01 00 00 00"), Damage("two indexes of the same number"));
  EXPECT_EQ(Refusal(kFirstLogicalAt + 23, "03"), Damage("an index of kind 3"));
}

TEST(ParseDefinition, MapsOfADeletedColumnAreTolerated) {
  Bytes definition = CategoriesDefinition();
  StoreLittle<std::uint16_t>(definition.data() + kLongValueMapsAt, 17);
  const TableDefinition table = ParseDefinition(definition, 21, "Categories");
  EXPECT_TRUE(table.columns[2].longValuePages.IsNone());
  EXPECT_EQ(table.columns[3].longValuePages, (RowId{22, 4}));
}

TEST(ParseDefinition, AnyByteReplacedGivesADefinitionOrAJetError) {
  for (std::size_t at = 0; at < CategoriesDefinition().size(); ++at) {
    for (const std::uint8_t byte : Bytes{0x00, 0x01, 0x7F, 0x80, 0xFF}) {
      Bytes definition = CategoriesDefinition();
      definition[at] = byte;
      try {
        EXPECT_LE(ShortestRow(ParseDefinition(definition, 21, "Categories")), kMaxRowSize);
      } catch (const Error& error) {
        EXPECT_EQ(error.Number(), errors::kJetGeneral);
      }
    }
  }
}

TEST(BuildDefinition, WhatWasParsedComesOutByteForByteButForCountersAndJunk) {
  Bytes expected = CategoriesDefinition();
  StoreLittle<std::uint32_t>(expected.data() + 16, 0);
  StoreLittle<std::uint32_t>(expected.data() + 20, 0);
  for (std::size_t at = 63; at < 63 + 24; ++at) expected[at] = 0;
  TableDefinition table = Categories();
  EXPECT_EQ(ToHex(BuildDefinition(table)), ToHex(expected));
}

TEST(BuildDefinition, FixedColumnCarriesTheNumberOfVariableColumnsBeforeIt) {
  TableDefinition table = Categories();
  Column price;
  price.name = "Price";
  price.type = ColumnType::Decimal;
  price.id = 4;
  price.flags = 0x03;
  price.fixedOffset = 4;
  price.length = 17;
  price.precision = 18;
  price.scale = 4;
  table.columns.push_back(price);
  table.nextColumnId = 5;
  const Bytes definition = BuildDefinition(table);
  EXPECT_EQ(ToHex(ByteView(definition).subspan(kFirstColumnAt + 4 * kColumnSize, kColumnSize)),
            "10 59 06 00 00 04 00 03 00 04 00 12 04 00 00 03 00 00 00 00 00 04 00 11 00");
}

TEST(BuildDefinition, SystemTableHasPositionsOfZero) {
  TableDefinition table = Categories();
  table.tableType = 0x53;
  const Bytes definition = BuildDefinition(table);
  EXPECT_EQ(definition[kFirstColumnAt + 3 * kColumnSize + 9], 0);
  EXPECT_EQ(ParseDefinition(definition, 1, "x").tableType, 0x53);
}

/// A table whose definition has many bytes: `columns` Booleans with names of 64 letters, 155 bytes each.
TableDefinition WideTable(std::size_t columns) {
  TableDefinition table;
  table.name = "Wide";
  for (std::size_t i = 0; i < columns; ++i) {
    Column column;
    column.name = std::to_string(1000 + i) + std::string(60, 'x');
    column.type = ColumnType::Boolean;
    column.id = static_cast<std::uint16_t>(i);
    column.flags = 0x03;
    column.length = 1;
    table.columns.push_back(column);
  }
  table.nextColumnId = static_cast<std::uint16_t>(columns);
  return table;
}

std::uint16_t FreeWord(const PageFile& file, PageNumber page) {
  return LoadLittle<std::uint16_t>(file.Read(page).data() + 2);
}

std::uint32_t NextPage(const PageFile& file, PageNumber page) {
  return LoadLittle<std::uint32_t>(file.Read(page).data() + 4);
}

TEST(DefinitionPages, ReserveOfEightBytesCountsAsTaken) {
  EXPECT_EQ(DefinitionPages(541), 1u);
  EXPECT_EQ(DefinitionPages(4086), 1u);
  EXPECT_EQ(DefinitionPages(4088), 1u);
  EXPECT_EQ(DefinitionPages(4089), 2u);
  EXPECT_EQ(DefinitionPages(8176), 2u);
  EXPECT_EQ(DefinitionPages(8181), 3u);
}

TEST(WriteDefinition, OnePageKeepsTheReserveFree) {
  testing::JetStorage storage(4);
  WriteDefinition(storage.File(), CategoriesDefinition(), {2});
  EXPECT_EQ(FreeWord(storage.File(), 2), 3547);
  EXPECT_EQ(NextPage(storage.File(), 2), 0u);
  WriteDefinition(storage.File(), Bytes(4086), {2});
  EXPECT_EQ(FreeWord(storage.File(), 2), 2);
  WriteDefinition(storage.File(), Bytes(4088), {2});
  EXPECT_EQ(FreeWord(storage.File(), 2), 0);
}

TEST(WriteDefinition, ReserveAloneBehindTheBorderTakesAnotherPage) {
  testing::JetStorage storage(4);
  WriteDefinition(storage.File(), Bytes(4090), {3, 2});
  EXPECT_EQ(FreeWord(storage.File(), 3), 0);
  EXPECT_EQ(NextPage(storage.File(), 3), 2u);
  EXPECT_EQ(FreeWord(storage.File(), 2), 4086);
  EXPECT_EQ(NextPage(storage.File(), 2), 0u);
  EXPECT_EQ(KindOf(storage.File().Read(2)), PageKind::Definition);
}

TEST(WriteDefinition, LongDefinitionReadsBackOverItsPages) {
  testing::JetStorage storage(8);
  const TableDefinition wide = WideTable(80);
  const Bytes bytes = BuildDefinition(wide);
  ASSERT_EQ(DefinitionPages(bytes.size()), 4u);
  WriteDefinition(storage.File(), bytes, {4, 7, 2, 3});
  const TableDefinition read = ReadDefinition(storage.File(), 4, "Wide");
  EXPECT_EQ(read.page, 4u);
  EXPECT_EQ(read.pages, (std::vector<PageNumber>{4, 7, 2, 3}));
  ASSERT_EQ(read.columns.size(), 80u);
  EXPECT_EQ(read.columns[79].name, wide.columns[79].name);
  EXPECT_EQ(ToHex(BuildDefinition(read)), ToHex(bytes));
}

TEST(ReadDefinition, ChainThatRunsInACircleIsDamage) {
  testing::JetStorage storage(4);
  WriteDefinition(storage.File(), Bytes(5000), {2, 3});
  StoreLittle<std::uint32_t>(storage.File().Write(3).data() + 4, 2);
  EXPECT_EQ(ErrorOf([&] { ReadDefinition(storage.File(), 2, "T"); }).Description(),
            "The database file is damaged: table 'T': the chain of its definition pages does not end. Nothing was "
            "changed.");
}

TEST(ReadDefinition, PageOfAnotherKindIsDamage) {
  testing::JetStorage storage(4);
  EXPECT_EQ(ErrorOf([&] { ReadDefinition(storage.File(), 1, "T"); }).Description(),
            "The database file is damaged: table 'T': page 1 is no definition page. Nothing was changed.");
  EXPECT_EQ(ErrorOf([&] { ReadDefinition(storage.File(), 9, "T"); }).Number(), errors::kJetGeneral);
  EXPECT_EQ(ErrorOf([&] { ReadDefinition(storage.File(), 0, "T"); }).Number(), errors::kJetGeneral);
}

TEST(Counters, ChangeTheirWordsOfTheFirstPageOnly) {
  testing::JetStorage storage(3);
  Bytes expected = CategoriesDefinition();
  WriteDefinition(storage.File(), expected, {2});
  const TableDefinition table = ReadDefinition(storage.File(), 2, "Categories");
  EXPECT_EQ(RowCount(storage.File(), table), 8u);
  EXPECT_EQ(LastAutonumber(storage.File(), table), 8);
  SetRowCount(storage.File(), table, 9);
  SetLastAutonumber(storage.File(), table, -2);
  AddToDistinctKeys(storage.File(), table, 1, 1);
  EXPECT_EQ(RowCount(storage.File(), table), 9u);
  EXPECT_EQ(LastAutonumber(storage.File(), table), -2);
  expected[2] = 0xDB;
  expected[3] = 0x0D;
  expected[16] = 9;
  StoreLittle<std::int32_t>(expected.data() + 20, -2);
  expected[63 + 12 + 4] = 9;
  EXPECT_EQ(ToHex(ByteView(storage.File().Read(2)).first(expected.size())), ToHex(expected));
}

TEST(Counters, DistinctKeysNeverGoBelowZero) {
  testing::JetStorage storage(3);
  WriteDefinition(storage.File(), CategoriesDefinition(), {2});
  const TableDefinition table = ReadDefinition(storage.File(), 2, "Categories");
  AddToDistinctKeys(storage.File(), table, 0, -9);
  EXPECT_EQ(LoadLittle<std::uint32_t>(storage.File().Read(2).data() + 63 + 4), 0u);
}

}  // namespace
}  // namespace mv::jet
