#include "jet/definition/TableDesign.h"

#include <gtest/gtest.h>

#include "base/Error.h"
#include "support/ExpectError.h"

namespace mv::jet {
namespace {

using testing::ErrorOf;

ColumnSpec Text(const std::string& name, std::uint16_t characters) {
  ColumnSpec column;
  column.name = name;
  column.characters = characters;
  return column;
}

ColumnSpec Typed(const std::string& name, ColumnType type) {
  ColumnSpec column;
  column.name = name;
  column.type = type;
  return column;
}

template <typename Number>
std::string Numbered(const std::string& letter, Number number) {
  return letter + std::to_string(number);
}

IndexSpec PrimaryKey(const std::string& column) {
  IndexSpec index;
  index.name = "PrimaryKey";
  index.columns = {{column}};
  index.primaryKey = true;
  return index;
}

TableSpec Parts() {
  return {"Parts", {Text("Code", 20), Typed("Price", ColumnType::Currency)}, {PrimaryKey("Code")}};
}

std::string Refusal(const TableSpec& design) {
  const Error error = ErrorOf([&] { DesignTable(design); });
  EXPECT_EQ(error.Number(), errors::kJetConstraint);
  return error.Description();
}

TEST(TableDesign, FixedColumnsFollowEachOtherInTheFixedArea) {
  const TableDefinition table =
      DesignTable({"T",
                   {Typed("A", ColumnType::Long), Typed("B", ColumnType::Boolean), Typed("C", ColumnType::Byte),
                    Typed("D", ColumnType::Guid), Typed("E", ColumnType::Decimal), Typed("F", ColumnType::Double)},
                   {}});
  const std::uint16_t offsets[] = {0, 0, 4, 5, 21, 38};
  const std::uint16_t lengths[] = {4, 1, 1, 16, 17, 8};
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    EXPECT_EQ(table.columns[i].id, i);
    EXPECT_EQ(table.columns[i].flags, 0x03);
    EXPECT_EQ(table.columns[i].fixedOffset, offsets[i]);
    EXPECT_EQ(table.columns[i].length, lengths[i]);
  }
  EXPECT_EQ(table.columns[4].precision, 18);
  EXPECT_EQ(table.nextColumnId, 6);
  EXPECT_EQ(table.nextVariableIndex, 0);
  EXPECT_EQ(table.tableType, 0x4E);
}

TEST(TableDesign, VariableColumnsAreNumberedOnTheirOwn) {
  ColumnSpec plain = Text("B", 10);
  plain.compressed = false;
  ColumnSpec binary = Typed("C", ColumnType::Binary);
  binary.characters = 510;
  const TableDefinition table = DesignTable({"T",
                                             {Text("A", 255), Typed("N", ColumnType::Long), plain, binary,
                                              Typed("D", ColumnType::Memo), Typed("E", ColumnType::Ole)},
                                             {}});
  EXPECT_EQ(table.columns[0].variableIndex, 0);
  EXPECT_EQ(table.columns[0].length, 510);
  EXPECT_EQ(table.columns[0].moreFlags, 1);
  EXPECT_EQ(table.columns[2].variableIndex, 1);
  EXPECT_EQ(table.columns[2].flags, 0x02);
  EXPECT_EQ(table.columns[2].moreFlags, 0);
  EXPECT_EQ(table.columns[3].length, 510);
  EXPECT_EQ(table.columns[3].moreFlags, 0);
  EXPECT_EQ(table.columns[4].moreFlags, 1);
  EXPECT_EQ(table.columns[4].length, 0);
  EXPECT_EQ(table.columns[5].variableIndex, 4);
  EXPECT_EQ(table.columns[5].moreFlags, 0);
  EXPECT_EQ(table.nextVariableIndex, 5);
}

TEST(TableDesign, AutonumberIsALongWithItsFlag) {
  ColumnSpec id = Typed("Id", ColumnType::Long);
  id.autonumber = true;
  EXPECT_EQ(DesignTable({"T", {id}, {}}).columns[0].flags, 0x07);
  ColumnSpec second = id;
  second.name = "Id2";
  EXPECT_EQ(Refusal({"T", {id, second}, {}}), "Table 'T' can have only one autonumber field.");
  id.type = ColumnType::Integer;
  EXPECT_EQ(Refusal({"T", {id}, {}}), "Field 'Id' of table 'T' must be of type Long to number its rows.");
}

TEST(TableDesign, GuidAutonumberAndHyperlinkAreFlags) {
  ColumnSpec guid = Typed("A", ColumnType::Guid);
  guid.guidAutonumber = true;
  ColumnSpec memo = Typed("B", ColumnType::Memo);
  memo.hyperlink = true;
  const TableDefinition table = DesignTable({"T", {guid, memo}, {}});
  EXPECT_EQ(table.columns[0].flags, 0x43);
  EXPECT_EQ(table.columns[1].flags, 0x82);
}

TEST(TableDesign, IndexesGetFlagsNumbersAndTreesInOrderAndAreSortedByName) {
  TableSpec design = Parts();
  design.indexes.push_back({"byPrice", {{"price", false}, {"Code"}}, false, false, true, false});
  design.indexes.push_back({"A", {{"Price"}}, false, true, false, false});
  design.indexes.push_back({"Z", {{"Price"}}, false, false, false, true});
  const TableDefinition table = DesignTable(design);
  ASSERT_EQ(table.indexData.size(), 4u);
  EXPECT_EQ(table.indexData[0].flags, 0x89);
  EXPECT_EQ(table.indexData[1].flags, 0x82);
  EXPECT_EQ(table.indexData[2].flags, 0x81);
  EXPECT_EQ(table.indexData[3].flags, 0x88);
  ASSERT_EQ(table.indexData[1].columns.size(), 2u);
  EXPECT_EQ(table.indexData[1].columns[0].columnId, 1);
  EXPECT_FALSE(table.indexData[1].columns[0].ascending);
  EXPECT_TRUE(table.indexData[1].columns[1].ascending);
  const char* names[] = {"A", "byPrice", "PrimaryKey", "Z"};
  const std::uint32_t numbers[] = {2, 1, 0, 3};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(table.indexes[i].name, names[i]);
    EXPECT_EQ(table.indexes[i].number, numbers[i]);
    EXPECT_EQ(table.indexes[i].dataNumber, numbers[i]);
  }
  EXPECT_EQ(table.indexes[2].kind, LogicalIndex::Kind::PrimaryKey);
  EXPECT_EQ(table.indexes[0].kind, LogicalIndex::Kind::Plain);
}

TEST(TableDesign, NamesThatJetRefusesAreRefusedForTablesFieldsAndIndexes) {
  const std::string tooLong(65, 'x');
  for (const std::string name : {"", " a", "a.b", "a!b", "a[b", "a]b", "a`b", "a\tb", tooLong.c_str()}) {
    TableSpec table = Parts();
    table.name = name;
    EXPECT_EQ(Refusal(table), "'" + name + "' is not a valid name for a table.");
    TableSpec field = Parts();
    field.columns[1].name = name;
    EXPECT_EQ(Refusal(field), "'" + name + "' is not a valid name for a field.");
    TableSpec index = Parts();
    index.indexes[0].name = name;
    EXPECT_EQ(Refusal(index), "'" + name + "' is not a valid name for an index.");
  }
  TableSpec longest = Parts();
  longest.name = std::string(64, 'x');
  EXPECT_NO_THROW(DesignTable(longest));
  longest.name = "a b-c\u00E9";
  EXPECT_NO_THROW(DesignTable(longest));
}

TEST(TableDesign, NameOf64CharactersCountsUtf16Units) {
  TableSpec design = Parts();
  design.name.clear();
  for (int i = 0; i < 32; ++i) design.name += "\xF0\x9F\x98\x80";
  EXPECT_NO_THROW(DesignTable(design));
  design.name += "x";
  EXPECT_NE(Refusal(design).find("is not a valid name for a table."), std::string::npos);
}

TEST(TableDesign, RepeatedNamesAreRefusedWithoutRegardToCase) {
  TableSpec design = Parts();
  design.columns[1].name = "CODE";
  EXPECT_EQ(Refusal(design), "'CODE' is already the name of a field in table 'Parts'.");
  design = Parts();
  design.indexes.push_back({"primarykey", {{"Price"}}});
  EXPECT_EQ(Refusal(design), "'primarykey' is already the name of an index of table 'Parts'.");
}

TEST(TableDesign, CountsOutsideTheLimitsAreRefused) {
  EXPECT_EQ(Refusal({"T", {}, {}}), "Table 'T' must have 1 to 255 fields.");
  TableSpec design{"T", {}, {}};
  for (int i = 0; i < 255; ++i) design.columns.push_back(Typed(Numbered("B", i), ColumnType::Boolean));
  EXPECT_EQ(DesignTable(design).nextColumnId, 255);
  design.columns.push_back(Typed("last", ColumnType::Boolean));
  EXPECT_EQ(Refusal(design), "Table 'T' must have 1 to 255 fields.");

  design = Parts();
  while (design.indexes.size() < 32) design.indexes.push_back({Numbered("I", design.indexes.size()), {{"Code"}}});
  EXPECT_NO_THROW(DesignTable(design));
  design.indexes.push_back({"last", {{"Code"}}});
  EXPECT_EQ(Refusal(design), "Table 'Parts' can have at most 32 indexes.");
}

TEST(TableDesign, IndexColumnsAreOneToTenDifferentOnesOfTheTable) {
  TableSpec design{"T", {}, {{"I", {}}}};
  for (int i = 0; i < 11; ++i) design.columns.push_back(Typed(Numbered("C", i), ColumnType::Long));
  EXPECT_EQ(Refusal(design), "Index 'I' of table 'T' must have 1 to 10 fields.");
  for (int i = 0; i < 10; ++i) design.indexes[0].columns.push_back({Numbered("C", i)});
  EXPECT_EQ(DesignTable(design).indexData[0].columns.size(), 10u);
  design.indexes[0].columns.push_back({"C10"});
  EXPECT_EQ(Refusal(design), "Index 'I' of table 'T' must have 1 to 10 fields.");
  design.indexes[0].columns = {{"C0"}, {"c0"}};
  EXPECT_EQ(Refusal(design), "Index 'I' of table 'T' has the field 'c0' twice.");
  design.indexes[0].columns = {{"D"}};
  EXPECT_EQ(Refusal(design), "Index 'I' of table 'T' names the field 'D', which is not there.");
}

TEST(TableDesign, OleColumnCannotBeIndexed) {
  EXPECT_EQ(Refusal({"T", {Typed("O", ColumnType::Ole)}, {PrimaryKey("O")}}),
            "Index 'PrimaryKey' of table 'T' cannot have the OLE field 'O'.");
}

TEST(TableDesign, SecondPrimaryKeyIsRefused) {
  TableSpec design = Parts();
  design.indexes.push_back(PrimaryKey("Price"));
  design.indexes.back().name = "Other";
  EXPECT_EQ(Refusal(design), "Table 'Parts' already has a primary key.");
}

TEST(TableDesign, ImpossibleSizesAreRefused) {
  EXPECT_EQ(Refusal({"T", {Text("A", 0)}, {}}), "Field 'A' of table 'T' must hold 1 to 255 characters.");
  EXPECT_EQ(Refusal({"T", {Text("A", 256)}, {}}), "Field 'A' of table 'T' must hold 1 to 255 characters.");
  ColumnSpec binary = Typed("B", ColumnType::Binary);
  EXPECT_EQ(Refusal({"T", {binary}, {}}), "Field 'B' of table 'T' must hold 1 to 510 bytes.");
  binary.characters = 511;
  EXPECT_EQ(Refusal({"T", {binary}, {}}), "Field 'B' of table 'T' must hold 1 to 510 bytes.");
  ColumnSpec decimal = Typed("D", ColumnType::Decimal);
  decimal.precision = 29;
  EXPECT_EQ(Refusal({"T", {decimal}, {}}),
            "Field 'D' of table 'T' must have a precision of 1 to 28 and no larger scale.");
  decimal.precision = 4;
  decimal.scale = 5;
  EXPECT_EQ(Refusal({"T", {decimal}, {}}),
            "Field 'D' of table 'T' must have a precision of 1 to 28 and no larger scale.");
  EXPECT_EQ(Refusal({"T", {Typed("R", ColumnType::RawBlock)}, {}}),
            "Field 'R' of table 'T' is of a type that only Jet itself uses.");
}

TEST(TableDesign, RowsThatCannotFitAreRefused) {
  // 237 decimals: 2 count + 4029 fixed + 30 null mask + 4 = 4065 bytes; one fewer fits.
  TableSpec design{"T", {}, {}};
  for (int i = 0; i < 237; ++i) design.columns.push_back(Typed(Numbered("D", i), ColumnType::Decimal));
  EXPECT_EQ(Refusal(design), "The rows of table 'T' would be too large.");
  design.columns.pop_back();
  EXPECT_EQ(ShortestRow(DesignTable(design)), 4048u);
}

}  // namespace
}  // namespace mv::jet
