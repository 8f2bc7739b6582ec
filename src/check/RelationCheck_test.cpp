#include "check/RelationCheck.h"

#include <gtest/gtest.h>

#include "support/CheckWorld.h"
#include "support/JetDatabase.h"
#include "support/JetHabits.h"

namespace mv::check {
namespace {

using mv::testing::FileBytes;
using mv::testing::FindingsIn;
using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::kJetCreated;
using mv::testing::Lines;

/// Two definitions that are the sides of one relation.
class RelationSidesTest : public ::testing::Test {
 protected:
  RelationSidesTest() {
    definitions_[20] = std::make_unique<Definition>();
    definitions_[20]->page = 20;
    definitions_[20]->name = "Shops";
    definitions_[30] = std::make_unique<Definition>();
    definitions_[30]->page = 30;
    definitions_[30]->name = "Sales";
    Primary() = Side(".rB", 1, LogicalIndex::Side::Primary, 30, 4);
    Foreign() = Side("ShopsSales", 4, LogicalIndex::Side::Foreign, 20, 1);
  }
  static LogicalIndex Side(const std::string& name, std::uint32_t number, LogicalIndex::Side side,
                           PageNumber otherTable, std::uint32_t otherIndex) {
    LogicalIndex index;
    index.name = name;
    index.number = number;
    index.side = side;
    index.otherTable = otherTable;
    index.otherIndex = otherIndex;
    index.kind = LogicalIndex::Kind::Relation;
    return index;
  }
  LogicalIndex& Primary() { return Only(*definitions_[20]); }
  LogicalIndex& Foreign() { return Only(*definitions_[30]); }
  static LogicalIndex& Only(Definition& definition) {
    definition.logicalIndexes.resize(1);
    return definition.logicalIndexes[0];
  }
  Lines Check() {
    Findings findings;
    CheckRelationSides(definitions_, findings);
    Report report;
    findings.MoveInto(report);
    return mv::testing::LinesOf(report);
  }

  Definitions definitions_;
};

TEST_F(RelationSidesTest, SidesThatNameEachOtherAreSound) {
  EXPECT_EQ(Check(), Lines());
}

TEST_F(RelationSidesTest, OtherTableThatIsNone) {
  Foreign().otherTable = 21;
  EXPECT_THAT(Check(), ::testing::Contains("damage: table Sales, index ShopsSales, page 30: the other table of the "
                                           "relation should be page 21, which is no table"));
}

TEST_F(RelationSidesTest, OtherIndexThatIsNone) {
  Foreign().otherIndex = 2;
  EXPECT_THAT(Check(),
              ::testing::Contains("damage: table Sales, index ShopsSales, page 30: table Shops, the other side "
                                  "of the relation, has no index number 2"));
}

TEST_F(RelationSidesTest, SideThatDoesNotNameBack) {
  const Lines expected = {
      "damage: table Sales, index ShopsSales, page 30: index .rB of table Shops, the other side of the relation, does "
      "not name it back"};
  const LogicalIndex sound = Primary();
  Primary().kind = LogicalIndex::Kind::Plain;
  EXPECT_EQ(Check(), expected);
  Primary() = sound;
  Primary().side = LogicalIndex::Side::Foreign;
  EXPECT_THAT(Check(), ::testing::Contains(expected[0]));
}

/// Shops and their sales, related.
class RelationRowsTest : public ::testing::Test {
 protected:
  RelationRowsTest() {
    database_.Add(JetTable("Shops").Column("Id", jet::ColumnType::Long).PrimaryKey("Id"));
    database_.Add(JetTable("Sales").Column("Shop", jet::ColumnType::Long).Text("What", 20));
    Insert("Shops", {std::int32_t{1}});
    Insert("Shops", {std::int32_t{2}});
    jet::RelationSpec relation;
    relation.name = "ShopsSales";
    relation.table = "Sales";
    relation.columns = {"Shop"};
    relation.references = "Shops";
    relation.referencedColumns = {"Id"};
    database_->CreateRelation(relation, kJetCreated);
    for (std::int32_t shop : {1, 1, 2}) Insert("Sales", {shop, std::string("ink")});
    Insert("Sales", {Null{}, std::string("ink")});
  }

  jet::RowId Insert(const std::string& table, const std::vector<Value>& values) {
    return database_->OpenTable(table).Insert(values);
  }
  /// Sets a column of the relation's row of MSysRelationships.
  void SetRelationship(const std::string& column, const Value& value) {
    jet::Table& table = database_->OpenTable("MSysRelationships");
    const auto& columns = table.Definition().columns;
    std::size_t at = 0;
    while (columns.at(at).name != column) ++at;
    table.Update(*table.First(), {&at, 1}, {&value, 1});
  }
  Lines Check() { return FindingsIn(database_.Image()); }
  /// A note on the relation's row.
  std::string Row(const std::string& text) {
    const jet::RowId row = *database_->OpenTable("MSysRelationships").First();
    return "note: table MSysRelationships, page " + std::to_string(row.page) + ", row 0: " + text;
  }

  JetDatabase database_;
};

TEST_F(RelationRowsTest, RelationThatHoldsIsSound) {
  EXPECT_EQ(Check(), Lines());
}

TEST_F(RelationRowsTest, RowThatRefersToNoRowIsNoted) {
  FileBytes file(database_.Image());
  const jet::Table& sales = database_->OpenTable("Sales");
  const jet::RowId row = *sales.First();
  const std::size_t value = file.RowStart(row) + 2;
  ASSERT_EQ(file.Word32(row.page, value), 1U);
  // Row 0 gets the shop 0, in the row and in the first entry of the relation's tree behind the null.
  file.Set32(row.page, value, 0);
  const PageNumber root = sales.Definition().indexData.at(0).root;
  const std::size_t null = 1 + 4;
  const std::size_t prefix = file.Word16(root, 0x18);
  ASSERT_EQ(prefix, 0U);
  const std::size_t key = 0x1E0 + null;
  ASSERT_EQ(file.Byte(root, key), 0x7F);
  ASSERT_EQ(file.Byte(root, key + 4), 1);
  file.Byte(root, key + 4) = 0;
  EXPECT_EQ(FindingsIn(file.All()), Lines{"note: table Sales, index ShopsSales, page " + std::to_string(row.page) +
                                          ", row 0: the row refers to a row that table Shops does not have"});
}

TEST_F(RelationRowsTest, RelationWithoutObject) {
  SetRelationship("szRelationship", std::string("Other"));
  EXPECT_EQ(Check(), (Lines{Row("the catalog has no relation named Other"),
                            Row("relation Other is enforced, but table Sales has no index of its name")}));
}

TEST_F(RelationRowsTest, RelationOfATableThatDoesNotExist) {
  SetRelationship("szReferencedObject", std::string("Stores"));
  EXPECT_EQ(Check(), Lines{Row("relation ShopsSales names table Stores, which does not exist")});
}

TEST_F(RelationRowsTest, RelationOfAColumnThatDoesNotExist) {
  SetRelationship("szColumn", std::string("Store"));
  EXPECT_EQ(Check(), Lines{Row("relation ShopsSales names column Store of table Sales, which does not exist")});
}

TEST_F(RelationRowsTest, RelationThatIsNotEnforcedNeedsNoIndex) {
  SetRelationship("szObject", std::string("Shops"));
  SetRelationship("szColumn", std::string("Id"));
  EXPECT_EQ(Check(), Lines{Row("relation ShopsSales is enforced, but table Shops has no index of its name")});
  SetRelationship("grbit", std::int32_t{2});
  EXPECT_EQ(Check(), Lines());
}

TEST(RelationOfOtherRules, KeyThatIsBuiltByOtherRulesOnEitherSideIsThere) {
  using mv::testing::LettersAsOne;
  for (const char* counted : {"Owners", "Cars"}) {
    JetDatabase database;
    jet::Table& owners = database.Add(JetTable("Owners").Text("Name", 20).PrimaryKey("Name"));
    jet::Table& cars = database.Add(JetTable("Cars").Autonumber("Id").Text("Owner", 20).PrimaryKey("Id"));
    jet::RelationSpec relation;
    relation.name = "OwnerCar";
    relation.table = "Cars";
    relation.columns = {"Owner"};
    relation.references = "Owners";
    relation.referencedColumns = {"Name"};
    database->CreateRelation(relation, kJetCreated);
    for (const char* name : {"a", "Gro\u00DF-\u00C9", "z"}) owners.Insert({std::string(name)});
    for (const char* name : {"a", "Gro\u00DF-\u00C9", "Gross-\u00C9", "z"}) cars.Insert({Null{}, std::string(name)});
    mv::testing::CountLettersAsOne(database->Pages(), database->OpenTable(counted), LettersAsOne::Everywhere);
    const Lines found = FindingsIn(database.Image());
    EXPECT_FALSE(found.empty());
    for (const std::string& line : found) EXPECT_TRUE(line.ends_with("of the engine's rules")) << line;
  }
}

}  // namespace
}  // namespace mv::check
