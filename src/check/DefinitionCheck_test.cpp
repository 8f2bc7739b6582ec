#include "check/DefinitionCheck.h"

#include <gtest/gtest.h>

#include "support/CheckWorld.h"
#include "support/JetDatabase.h"

namespace mv::check {
namespace {

using mv::testing::CheckWorld;
using mv::testing::FileBytes;
using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::Lines;

constexpr SortOrderBytes kGeneral = {0x09, 0x04, 0, 0};
constexpr PageNumber kPage = 16;  ///< the first page behind those of a new database

Bytes Image() {
  JetDatabase database;
  JetTable design = JetTable("T")
                        .Autonumber("Id")
                        .Text("K", 40)
                        .Column("N", jet::ColumnType::Long)
                        .Column("M", jet::ColumnType::Memo)
                        .Column("F", jet::ColumnType::Boolean)
                        .PrimaryKey("Id");
  design.Index("Both", {"K", "N"});
  database.Add(design);
  return database.Image();
}

/// Position of the blocks in the definition of Image(): two indexes, five columns.
constexpr std::size_t kColumns = 63 + 2 * 12;

class DefinitionTest : public ::testing::Test {
 protected:
  DefinitionTest() : file_(Image()) {}

  std::unique_ptr<Definition> Read() {
    world_.emplace(file_);
    return ReadDefinition(world_->Context(), kPage, "T");
  }
  /// What reading and checking find.
  Lines Check() {
    if (const auto definition = Read()) CheckDefinition(*definition, kGeneral, world_->Findings());
    return world_->Take();
  }

  FileBytes file_;
  std::optional<CheckWorld> world_;
};

TEST_F(DefinitionTest, OfANewTableIsSoundAndRead) {
  EXPECT_EQ(Check(), Lines());
  const auto definition = Read();
  ASSERT_NE(definition, nullptr);
  ASSERT_EQ(definition->columns.size(), 5U);
  EXPECT_EQ(definition->columns[1].name, "K");
  EXPECT_EQ(definition->columns[1].type, ColumnType::Text);
  EXPECT_EQ(definition->columns[1].length, 80);
  EXPECT_TRUE(definition->columns[0].IsAutonumber());
  ASSERT_EQ(definition->indexes.size(), 2U);
  EXPECT_TRUE(definition->indexes[0].isPrimary);
  EXPECT_EQ(definition->indexes[1].title, "Both");
  EXPECT_EQ(definition->indexes[1].columns.size(), 2U);
  EXPECT_EQ(definition->longValueMaps.size(), 1U);
}

TEST_F(DefinitionTest, KindOfThePage) {
  file_.Byte(kPage, 1) = 2;
  EXPECT_EQ(Check(), Lines{"damage: table T, page 16: the page should be a definition, but begins with 0202"});
}

TEST_F(DefinitionTest, ChainOfPagesEndsWhereItMeetsItself) {
  file_.Set32(kPage, 4, kPage);
  EXPECT_EQ(Check(), Lines{"damage: table T, page 16: the page already belongs to the definition of table T"});
}

TEST_F(DefinitionTest, ChainOfPagesStaysInTheFile) {
  file_.Set32(kPage, 4, 5000);
  EXPECT_THAT(Check(), ::testing::ElementsAre(::testing::HasSubstr("names page 5000, but the file has")));
}

TEST_F(DefinitionTest, CountsBeyondItsPagesCannotBeRead) {
  const Lines unreadable = {
      "damage: table T, page 16: the definition cannot be read: its parts do not fit into its pages (1)"};
  file_.Set16(kPage, 45, 256);
  EXPECT_EQ(Check(), unreadable);
  file_.Set16(kPage, 45, 5);
  file_.Set32(kPage, 51, 0xFFFFFFFF);
  EXPECT_EQ(Check(), unreadable);
}

TEST_F(DefinitionTest, NameOfOddLengthCannotBeRead) {
  file_.Set16(kPage, kColumns + 5 * 25, 5);
  EXPECT_THAT(Check(), ::testing::ElementsAre(::testing::HasSubstr("cannot be read")));
}

TEST_F(DefinitionTest, DefinitionWithoutEndCannotBeRead) {
  const std::size_t end = file_.Word32(kPage, 8) - 2;
  for (std::size_t at = end; at < kPageSize; ++at) file_.Byte(kPage, at) = 0;
  EXPECT_THAT(Check(), ::testing::ElementsAre(::testing::HasSubstr("cannot be read")));
}

TEST_F(DefinitionTest, LengthFieldIsThatOfTheParts) {
  const std::uint32_t length = file_.Word32(kPage, 8);
  file_.Set32(kPage, 8, length - 1);
  file_.Set16(kPage, 2, static_cast<std::uint16_t>(file_.Word16(kPage, 2) + 1));
  EXPECT_EQ(Check(), Lines{"damage: table T, page 16: the definition takes " + std::to_string(length) +
                           " bytes, but its length field is " + std::to_string(length - 1)});
}

TEST_F(DefinitionTest, FreeSpaceWordCountsTheReserveAsUsed) {
  const std::uint16_t free = file_.Word16(kPage, 2);
  file_.Set16(kPage, 2, static_cast<std::uint16_t>(free + 8));
  EXPECT_EQ(Check(), Lines{"note: table T, page 16: the free-space word is " + std::to_string(free + 8) + ", but " +
                           std::to_string(free) + " bytes are free"});
}

TEST_F(DefinitionTest, TagsOfAllBlocks) {
  file_.Set32(kPage, 12, 0);
  EXPECT_EQ(Check(), Lines{"note: table T, page 16: the head, a column block or an index block lacks its tag"});
  file_.Set32(kPage, 12, 1);
  EXPECT_EQ(Check(),
            Lines{"damage: table T, page 16: the head, a column block or an index block has the tag 1, not 1625"});
}

/// A definition that was read, to be changed part by part.
class DefinitionCheckTest : public DefinitionTest {
 protected:
  DefinitionCheckTest() : definition_(Read()) {}

  Lines Judge() {
    CheckDefinition(*definition_, kGeneral, world_->Findings());
    return world_->Take();
  }
  Column& ColumnAt(std::size_t i) { return definition_->columns.at(i); }
  static std::string OfColumn(const std::string& name, const std::string& text) {
    return "table T, column " + name + ", page 16: " + text;
  }

  std::unique_ptr<Definition> definition_;
};

TEST_F(DefinitionCheckTest, TableType) {
  definition_->tableType = 0x4F;
  EXPECT_EQ(Judge(), Lines{"damage: table T, page 16: the table is of the unknown type 79"});
}

TEST_F(DefinitionCheckTest, LongerThanItsPages) {
  definition_->parts[0].freeSpace = 0;
  definition_->length = definition_->end = 4089;
  EXPECT_EQ(Judge(), Lines{"note: table T, page 16: the definition leaves no room for the 8 bytes behind it"});
  definition_->length = definition_->end = 4097;
  EXPECT_EQ(Judge(), Lines{"damage: table T, page 16: the definition is longer than its pages"});
}

TEST_F(DefinitionCheckTest, SecondPageHas4088Bytes) {
  definition_->length = definition_->end = 4090;
  definition_->parts[0].freeSpace = 0;
  definition_->parts.push_back({17, 4086});
  EXPECT_EQ(Judge(), Lines());
  definition_->parts[1].freeSpace = 4085;
  EXPECT_EQ(Judge(), Lines{"note: table T, page 17: the free-space word is 4085, but 4086 bytes are free"});
}

TEST_F(DefinitionCheckTest, IndexTag) {
  definition_->indexes[1].tag = 0;
  EXPECT_EQ(Judge(), Lines{"note: table T, page 16: an index data block lacks its tag"});
  definition_->indexes[1].tag = 0x659;
  EXPECT_EQ(Judge(), Lines{"damage: table T, page 16: an index data block has the tag 1625, not 1923"});
}

TEST_F(DefinitionCheckTest, ColumnIdsAreUniqueAndBelowTheNext) {
  ColumnAt(3).id = 9;
  definition_->longValueMaps[0].columnId = 9;
  EXPECT_EQ(Judge(), Lines{"damage: " + OfColumn("M", "the id 9 is repeated or not below 5")});
  ColumnAt(3).id = 4;
  definition_->longValueMaps[0].columnId = 4;
  EXPECT_EQ(Judge(), Lines{"damage: " + OfColumn("F", "the id 4 is repeated or not below 5")});
}

TEST_F(DefinitionCheckTest, VariableIndexesAreUniqueAndBelowTheNext) {
  ColumnAt(3).variableIndex = 0;
  EXPECT_EQ(Judge(), Lines{"damage: " + OfColumn("M", "the variable index 0 is repeated or not below 2")});
  ColumnAt(3).variableIndex = 2;
  EXPECT_EQ(Judge(), Lines{"damage: " + OfColumn("M", "the variable index 2 is repeated or not below 2")});
}

TEST_F(DefinitionCheckTest, ColumnNames) {
  ColumnAt(1).name = "id";
  EXPECT_EQ(Judge(), Lines{"damage: " + OfColumn("id", "the name occurs twice")});
  ColumnAt(1).name = std::string(65, 'x');
  ColumnAt(1).nameUnits = 65;
  EXPECT_EQ(Judge(), Lines{"damage: " + OfColumn(std::string(65, 'x'), "the name has 65 characters")});
}

TEST_F(DefinitionCheckTest, SortOrderIsThatOfTheFile) {
  ColumnAt(1).sortOrder = {0x09, 0x04, 0, 1};
  EXPECT_EQ(Judge(), Lines{"note: " + OfColumn("K", "the sort order 09040001 is not that of the file, 09040000")});
  ColumnAt(1).sortOrder = kGeneral;
  ColumnAt(2).sortOrder = {};
  EXPECT_EQ(Judge(), Lines());
}

TEST_F(DefinitionCheckTest, LongValuesHaveNoFixedPlace) {
  ColumnAt(3).flags |= 0x01;
  ColumnAt(3).fixedOffset = 20;
  EXPECT_EQ(Judge(), Lines{"damage: " + OfColumn("M", "a long value column is marked as having a fixed place")});
}

TEST_F(DefinitionCheckTest, LengthsOfColumns) {
  ColumnAt(1).length = 512;
  ColumnAt(2).length = 8;
  EXPECT_EQ(Judge(), (Lines{"damage: " + OfColumn("K", "a text column cannot have a length of 512 bytes"),
                            "note: " + OfColumn("N", "the length field is 8, but values of the type have 4 bytes")}));
}

TEST_F(DefinitionCheckTest, TypeOfALaterEngineIsNoted) {
  ColumnAt(2).type = static_cast<ColumnType>(18);
  EXPECT_EQ(Judge(), Lines{"note: " + OfColumn("N", "the type 18 is not known")});
}

TEST_F(DefinitionCheckTest, FixedColumnsDoNotOverlap) {
  ColumnAt(2).fixedOffset = 3;
  EXPECT_EQ(Judge(), Lines{"damage: " + OfColumn("N", "the column overlaps column Id in the fixed area")});
}

TEST_F(DefinitionCheckTest, ShortestRowFitsAPage) {
  ColumnAt(2).fixedOffset = 4060 - 2 - 4 - 8 - 1;
  EXPECT_EQ(Judge(), Lines());
  ++ColumnAt(2).fixedOffset;
  EXPECT_EQ(Judge(), Lines{"damage: table T, page 16: the shortest row takes 4061 bytes, at most 4060 can be"});
}

TEST_F(DefinitionCheckTest, IndexColumnsExistAndOccurOnce) {
  definition_->indexes[1].columns[1] = {7, true, std::nullopt};
  EXPECT_EQ(Judge(), Lines{"damage: table T, index Both, page 16: there is no column with the id 7"});
  definition_->indexes[1].columns[1] = definition_->indexes[1].columns[0];
  EXPECT_EQ(Judge(), Lines{"damage: table T, index Both, page 16: the column with the id 1 occurs twice"});
  definition_->indexes[1].columns.clear();
  EXPECT_EQ(Judge(), Lines{"damage: table T, index Both, page 16: the index has no columns"});
}

TEST_F(DefinitionCheckTest, IndexNamesAndNumbers) {
  const std::string primary = definition_->logicalIndexes[1].name;
  definition_->logicalIndexes[1].number = definition_->logicalIndexes[0].number;
  definition_->logicalIndexes[1].dataNumber = 2;
  definition_->logicalIndexes[1].nameUnits = 0;
  EXPECT_EQ(Judge(),
            (Lines{"damage: table T, index " + primary + ", page 16: the name has 0 characters",
                   "damage: table T, index " + primary + ", page 16: the index number 1 occurs twice",
                   "damage: table T, index " + primary + ", page 16: the index names tree 2, but the table has 2"}));
}

TEST_F(DefinitionCheckTest, OnePrimaryKey) {
  for (LogicalIndex& index : definition_->logicalIndexes) index.kind = LogicalIndex::Kind::PrimaryKey;
  EXPECT_EQ(Judge(), Lines{"damage: table T, page 16: the table has 2 primary keys"});
}

TEST_F(DefinitionCheckTest, AtMost32Indexes) {
  for (std::uint32_t i = 2; i < 33; ++i) {
    LogicalIndex index = definition_->logicalIndexes[0];
    index.name = "Index " + std::to_string(i);
    index.number = i;
    definition_->logicalIndexes.push_back(index);
    definition_->indexes.push_back(definition_->indexes[1]);
  }
  EXPECT_EQ(Judge(), (Lines{"damage: table T, page 16: the table has 33 trees, at most 32 can be",
                            "damage: table T, page 16: the table has 33 indexes, at most 32 can be"}));
}

TEST_F(DefinitionCheckTest, IndexWithoutRelationNamesNoOtherSide) {
  definition_->logicalIndexes[0].otherTable = 5;
  const std::string name = definition_->logicalIndexes[0].name;
  EXPECT_EQ(Judge(), Lines{"note: table T, index " + name +
                           ", page 16: an index without relation names a relation's other side or actions"});
}

TEST_F(DefinitionCheckTest, MapsOfLongValueColumns) {
  definition_->longValueMaps[0].freeSpace = {};
  EXPECT_EQ(Judge(),
            Lines{"note: " + OfColumn("M", "the column lacks a map of its owned pages or of those with room")});
  definition_->longValueMaps.clear();
  EXPECT_EQ(Judge(), Lines{"note: " + OfColumn("M", "the long value column has no maps")});
  definition_->longValueMaps = {{1, {1, 1}, {1, 2}}, {3, {1, 3}, {1, 4}}, {3, {1, 5}, {1, 6}}};
  EXPECT_EQ(Judge(),
            (Lines{"note: table T, page 16: there are maps for the column with the id 1, which is no long value column",
                   "damage: table T, page 16: the column with the id 3 has maps twice"}));
}

}  // namespace
}  // namespace mv::check
