#include "jet/definition/SystemTables.h"

#include <gtest/gtest.h>

#include "base/ByteOrder.h"
#include "support/Hex.h"

namespace mv::jet {
namespace {

using testing::FromHex;
using testing::ToHex;

std::vector<std::string> ColumnNames(const TableDefinition& table) {
  std::vector<std::string> names;
  for (const Column& column : table.columns) names.push_back(column.name);
  return names;
}

TEST(SystemTables, DefinitionsHaveTheLengthsOfJetsOwn) {
  const std::vector<TableDefinition> tables = NewSystemTables();
  ASSERT_EQ(tables.size(), 4u);
  EXPECT_EQ(BuildDefinition(tables[0]).size(), 1050u);
  EXPECT_EQ(BuildDefinition(tables[1]).size(), 335u);
  EXPECT_EQ(BuildDefinition(tables[2]).size(), 525u);
  EXPECT_EQ(BuildDefinition(tables[3]).size(), 813u);
}

TEST(SystemTables, DefinitionsStandOnTheirFixedPages) {
  const std::vector<TableDefinition> tables = NewSystemTables();
  for (std::size_t i = 0; i < tables.size(); ++i) {
    EXPECT_EQ(tables[i].page, i + 2);
    EXPECT_EQ(tables[i].pages, std::vector<PageNumber>{tables[i].page});
    EXPECT_EQ(tables[i].tableType, 0x53);
  }
}

TEST(SystemTables, PermissionsAreDefinedByteForByteAsJetDoes) {
  const Bytes expected = FromHex(
      "02 01 00 00 00 00 00 00 4F 01 00 00 59 06 00 00 00 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00"
      "00 00 00 00 00 00 00 00 53 04 00 01 00 04 00 01 00 00 00 01 00 00 00 12 06 00 00 13 06 00 00"
      "00 00 00 00 00 00 00 00 00 00 00 00"
      "04 59 06 00 00 02 00 01 00 00 00 09 04 00 00 13 00 00 00 00 00 04 00 04 00"
      "01 59 06 00 00 03 00 01 00 00 00 09 04 00 00 13 00 00 00 00 00 00 00 01 00"
      "04 59 06 00 00 00 00 00 00 00 00 09 04 00 00 13 00 00 00 00 00 00 00 04 00"
      "09 59 06 00 00 01 00 00 00 00 00 09 04 00 00 32 00 00 00 00 00 00 00 FE 01"
      "06 00 \"ACM\" 18 00 \"FInheritable\" 10 00 \"ObjectId\" 06 00 \"SID\""
      "83 07 00 00 00 00 01 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00"
      "14 06 00 00 09 00 00 00 00 00 00 00 88 00 00 00 00 00"
      "59 06 00 00 00 00 00 00 00 00 00 00 00 FF FF FF FF 00 00 00 00 04 04 00 00 00 00 00"
      "10 00 \"ObjectId\" FF FF");
  EXPECT_EQ(ToHex(BuildDefinition(NewSystemTables()[1])), ToHex(expected));
}

TEST(SystemTables, ColumnsAreSortedByNameAndKeepTheirIds) {
  const std::vector<TableDefinition> tables = NewSystemTables();
  EXPECT_EQ(ColumnNames(tables[0]),
            (std::vector<std::string>{"Connect", "Database", "DateCreate", "DateUpdate", "Flags", "ForeignName", "Id",
                                      "Lv", "LvExtra", "LvModule", "LvProp", "Name", "Owner", "ParentId", "RmtInfoLong",
                                      "RmtInfoShort", "Type"}));
  EXPECT_EQ(tables[0].columns[0].id, 9);
  EXPECT_EQ(tables[0].columns[0].variableIndex, 3);
  EXPECT_EQ(tables[0].columns[4].id, 7);
  EXPECT_EQ(tables[0].columns[4].fixedOffset, 26);
  EXPECT_EQ(tables[0].nextColumnId, 17);
  EXPECT_EQ(tables[0].nextVariableIndex, 11);
  EXPECT_EQ(ColumnNames(tables[2]), (std::vector<std::string>{"Attribute", "Expression", "Flag", "LvExtra", "Name1",
                                                              "Name2", "ObjectId", "Order"}));
  EXPECT_EQ(ColumnNames(tables[3]),
            (std::vector<std::string>{"ccolumn", "grbit", "icolumn", "szColumn", "szObject", "szReferencedColumn",
                                      "szReferencedObject", "szRelationship"}));
}

TEST(SystemTables, MapsFollowTheOrderOfPage6) {
  const std::vector<TableDefinition> tables = NewSystemTables();
  EXPECT_EQ(tables[0].ownedPages, (RowId{6, 0}));
  EXPECT_EQ(tables[0].freeSpacePages, (RowId{6, 1}));
  const std::uint16_t longValueIds[] = {8, 9, 12, 13, 14, 15, 16};
  for (std::uint8_t i = 0; i < 7; ++i) {
    const Column* column = tables[0].ColumnById(longValueIds[i]);
    EXPECT_EQ(column->longValuePages, (RowId{6, static_cast<std::uint8_t>(2 + 2 * i)}));
    EXPECT_EQ(column->longValueFreeSpace, (RowId{6, static_cast<std::uint8_t>(3 + 2 * i)}));
  }
  EXPECT_EQ(tables[0].indexData[0].map, (RowId{6, 16}));
  EXPECT_EQ(tables[0].indexData[1].map, (RowId{6, 17}));
  EXPECT_EQ(tables[1].ownedPages, (RowId{6, 18}));
  EXPECT_EQ(tables[1].indexData[0].map, (RowId{6, 20}));
  EXPECT_EQ(tables[2].ownedPages, (RowId{6, 21}));
  EXPECT_EQ(tables[2].ColumnById(5)->longValuePages, (RowId{6, 23}));
  EXPECT_EQ(tables[2].indexData[0].map, (RowId{6, 25}));
  EXPECT_EQ(tables[3].ownedPages, (RowId{6, 26}));
  EXPECT_EQ(tables[3].indexData[2].map, (RowId{6, 30}));
}

TEST(SystemTables, IndexesHaveTheirRootsAndFlags) {
  const std::vector<TableDefinition> tables = NewSystemTables();
  PageNumber root = 7;
  for (const TableDefinition& table : tables) {
    for (const IndexData& index : table.indexData) EXPECT_EQ(index.root, root++);
  }
  EXPECT_EQ(root, 14u);
  ASSERT_EQ(tables[0].indexes.size(), 2u);
  EXPECT_EQ(tables[0].indexes[0].name, "Id");
  EXPECT_EQ(tables[0].indexes[0].dataNumber, 1u);
  EXPECT_EQ(tables[0].indexes[0].kind, LogicalIndex::Kind::PrimaryKey);
  EXPECT_EQ(tables[0].indexData[1].flags, 0x81);
  EXPECT_EQ(tables[2].indexes[0].kind, LogicalIndex::Kind::PrimaryKey);
  EXPECT_EQ(tables[2].indexData[0].columns.size(), 3u);
  EXPECT_EQ(tables[3].indexes[0].name, "szObject");
  EXPECT_EQ(tables[3].indexes[0].number, 1u);
  EXPECT_EQ(tables[3].indexes[2].name, "szRelationship");
  EXPECT_EQ(tables[3].indexData[2].flags, 0x82);
}

}  // namespace
}  // namespace mv::jet
