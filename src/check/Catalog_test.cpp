#include "check/Catalog.h"

#include <gtest/gtest.h>

#include <functional>

#include "jet/Catalog.h"
#include "support/CheckWorld.h"
#include "support/JetDatabase.h"

namespace mv::check {
namespace {

using mv::testing::FindingsIn;
using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::Lines;
using Type = CatalogObject::Type;

constexpr std::int32_t kTables = 0x0F000001;

std::vector<CatalogObject> NewDatabase() {
  constexpr std::int32_t kRoot = 0x0F000000;
  const auto container = static_cast<Type>(3);
  return {{{14, 0}, kTables, kRoot, "Tables", container, 0x80000000, {}},
          {{14, 1}, 0x0F000002, kRoot, "Databases", container, 0x80000000, {}},
          {{14, 2}, 0x0F000003, kRoot, "Relationships", container, 0x80000000, {}},
          {{14, 3}, 0x10000000, 0x0F000002, "MSysDb", static_cast<Type>(2), 0x80000000, {}},
          {{14, 4}, 2, kTables, "MSysObjects", Type::Table, 0x80000000, {}},
          {{14, 5}, 3, kTables, "MSysACEs", Type::Table, 0x80000000, {}},
          {{14, 6}, 4, kTables, "MSysQueries", Type::Table, 0x80000000, {}},
          {{14, 7}, 5, kTables, "MSysRelationships", Type::Table, 0x80000000, {}},
          {{14, 8}, 16, kTables, "T", Type::Table, 0, {}}};
}

class CatalogTest : public ::testing::Test {
 protected:
  Lines Check() {
    Findings findings;
    CheckCatalog(objects_, findings);
    Report report;
    findings.MoveInto(report);
    return mv::testing::LinesOf(report);
  }

  std::vector<CatalogObject> objects_ = NewDatabase();
};

TEST_F(CatalogTest, SoundCatalog) {
  EXPECT_EQ(Check(), Lines());
}

TEST_F(CatalogTest, UserTablesAreThoseThatAreNeitherSystemNorHidden) {
  EXPECT_TRUE(objects_[8].IsUserTable());
  EXPECT_FALSE(objects_[5].IsUserTable());
  objects_[8].name = "~temporary";
  EXPECT_FALSE(objects_[8].IsUserTable());
}

TEST_F(CatalogTest, IdOfTwoObjects) {
  objects_.push_back({{14, 9}, 16, kTables, "Other", Type::Table, 0, {}});
  EXPECT_EQ(Check(), Lines{"damage: table MSysObjects, page 14, row 9: the id 16 of Other occurs twice"});
}

TEST_F(CatalogTest, NamesOfTablesAndQueriesAreUniqueTogether) {
  objects_.push_back({{14, 9}, -5, kTables, "t", Type::Query, 0, {}});
  EXPECT_EQ(Check(), Lines{"note: table MSysObjects, page 14, row 9: there are two tables or queries named t"});
  objects_.back().type = Type::Relation;
  EXPECT_EQ(Check(), Lines());
}

TEST_F(CatalogTest, SystemTablesHaveTheirPages) {
  objects_[6].name = "Queries";
  EXPECT_EQ(Check(), Lines{"damage: table MSysObjects: page 4 is not listed as the definition of MSysQueries"});
}

TEST_F(CatalogTest, ContainersOfEveryDatabase) {
  objects_[3].name = "Db";
  EXPECT_EQ(Check(), Lines{"damage: table MSysObjects: the object MSysDb is missing"});
}

TEST_F(CatalogTest, ParentThatDoesNotExistIsNoted) {
  objects_[8].parent = 77;
  EXPECT_EQ(Check(), Lines{"note: table MSysObjects, page 14, row 8: the parent of T does not exist"});
}

/// A database with one table, whose catalog the engine changes as if it were a table like any other.
class CatalogRowsTest : public ::testing::Test {
 protected:
  CatalogRowsTest() { database_.Add(JetTable("T").Text("K", 20)); }

  void Set(const std::string& tableName, const std::function<bool(const std::vector<Value>&)>& isWanted,
           const std::string& column, const Value& value) {
    jet::Table& table = database_->OpenTable(tableName);
    for (auto row = table.First(); row; row = table.Next(*row)) {
      if (!isWanted(table.ReadRow(*row))) continue;
      const std::size_t at = Position(table, column);
      table.Update(*row, {&at, 1}, {&value, 1});
      return;
    }
    FAIL() << "no such row";
  }
  static std::size_t Position(const jet::Table& table, const std::string& column) {
    const auto& columns = table.Definition().columns;
    return static_cast<std::size_t>(
        std::find_if(columns.begin(), columns.end(), [&](const jet::Column& c) { return c.name == column; }) -
        columns.begin());
  }
  /// Sets a column of the catalog's row of table T.
  void SetObject(const std::string& column, const Value& value) {
    const std::size_t name = Position(database_->OpenTable("MSysObjects"), "Name");
    Set(
        "MSysObjects", [=](const std::vector<Value>& row) { return row[name] == Value(std::string("T")); }, column,
        value);
  }
  /// Sets a column of the first permission of table T.
  void SetPermission(const std::string& column, const Value& value) {
    const std::size_t id = Position(database_->OpenTable("MSysACEs"), "ObjectId");
    Set(
        "MSysACEs", [=](const std::vector<Value>& row) { return row[id] == Value(kDefinition); }, column, value);
  }
  Lines Check() { return FindingsIn(database_.Image()); }

  static constexpr std::int32_t kDefinition = 16;
  JetDatabase database_;
};

TEST_F(CatalogRowsTest, NewTableIsSound) {
  EXPECT_EQ(Check(), Lines());
}

TEST_F(CatalogRowsTest, ObjectWithoutItsParts) {
  SetObject("Flags", Null{});
  EXPECT_THAT(Check(),
              ::testing::Contains(
                  "damage: table MSysObjects, page 14, row 8: an object lacks its id, parent, name, type or flags"));
}

TEST_F(CatalogRowsTest, OwnerThatIsNoAccount) {
  SetObject("Owner", Bytes{1, 2});
  EXPECT_EQ(Check(), Lines{"damage: table MSysObjects, page 14, row 8: the owner of T is no known account"});
}

TEST_F(CatalogRowsTest, OwnerOfAWorkgroupIsNotJudged) {
  SetObject("Owner", Bytes(102, 7));
  EXPECT_EQ(Check(), Lines());
}

TEST_F(CatalogRowsTest, PropertyListIsChecked) {
  SetObject("LvProp", Bytes{1, 2, 3, 4});
  EXPECT_EQ(Check(), Lines{"damage: table MSysObjects, page 14, row 8: the property list does not begin with MR2"});
}

TEST_F(CatalogRowsTest, DefinitionOutsideTheFile) {
  SetObject("Id", std::int32_t{9999});
  EXPECT_THAT(Check(), ::testing::Contains("damage: table MSysObjects, page 14, row 8: table T should have its "
                                           "definition on page 9999, outside the file"));
}

TEST_F(CatalogRowsTest, PermissionOfNoAccount) {
  SetPermission("SID", Bytes{1, 2});
  EXPECT_THAT(Check(), ::testing::UnorderedElementsAre(
                           ::testing::AllOf(::testing::StartsWith("damage: table MSysACEs, page 15, row "),
                                            ::testing::EndsWith("the permission is of no known account")),
                           "note: table T: Admin and Users do not both have permissions"));
}

TEST_F(CatalogRowsTest, PermissionForAnObjectThatDoesNotExist) {
  SetPermission("ObjectId", std::int32_t{4711});
  EXPECT_THAT(Check(), ::testing::UnorderedElementsAre(
                           ::testing::AllOf(::testing::StartsWith("note: table MSysACEs, page 15, row "),
                                            ::testing::EndsWith("the permission is for an object that does not exist")),
                           "note: table T: Admin and Users do not both have permissions"));
}

TEST_F(CatalogRowsTest, SystemTableWithoutOneOfItsColumns) {
  mv::testing::FileBytes file(database_.Image());
  constexpr PageNumber kPermissions = 3;
  std::size_t at = 0;
  while (file.Word32(kPermissions, at) != 0x00490053) ++at;  // "SI" of SID
  file.Byte(kPermissions, at) = 'X';
  EXPECT_EQ(FindingsIn(file.All()),
            Lines{"damage: table MSysACEs, column SID: the system table lacks this column, or it is of another type"});
}

}  // namespace
}  // namespace mv::check
