#include <gtest/gtest.h>

#include <algorithm>

#include "base/ByteOrder.h"
#include "jet/definition/DefinitionLayout.h"
#include "jet/definition/SystemTables.h"
#include "support/ExpectError.h"
#include "support/ExpectSound.h"
#include "support/Hex.h"
#include "support/JetDatabase.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorOf;
using mv::testing::ExpectIndexesMatchRows;
using mv::testing::ExpectSound;
using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::kJetCreated;
using mv::testing::ToHex;
using OnDelete = RelationSpec::OnDelete;

std::string Text(const std::string& text) {
  return text;
}

const LogicalIndex& IndexNamed(const Table& table, const std::string& name) {
  const auto& indexes = table.Definition().indexes;
  const auto found =
      std::find_if(indexes.begin(), indexes.end(), [&](const LogicalIndex& index) { return index.name == name; });
  EXPECT_NE(found, indexes.end()) << name;
  return *found;
}

std::vector<std::string> IndexNames(const Table& table) {
  std::vector<std::string> names;
  for (const LogicalIndex& index : table.Definition().indexes) names.push_back(index.name);
  return names;
}

class RelationBuildTest : public ::testing::Test {
 protected:
  void Relate(const RelationSpec& relation) { database_->CreateRelation(relation, kJetCreated); }
  static RelationSpec OwnerCar() { return {"OwnerCar", "Car", {"OWNER"}, "Owner", {"K"}, true, OnDelete::Cascade}; }

  /// Expects the relation to be refused with nothing changed; returns the text.
  std::string RefusedText(const RelationSpec& relation, std::int32_t number = errors::kJetConstraint) {
    const auto before = database_.Pages();
    const Error error = ErrorOf([&] { Relate(relation); });
    EXPECT_EQ(error.Number(), number);
    EXPECT_TRUE(database_.Pages() == before);
    return error.Description();
  }

  /// Rows of a system table in which a column holds a value, as the values of the columns named.
  std::vector<std::vector<Value>> RowsWhere(const std::string& table, const std::string& column, const Value& value,
                                            const std::vector<std::string>& columns) {
    Table& list = database_->OpenTable(table);
    const auto at = [&](const std::string& name) {
      const auto& all = list.Definition().columns;
      return static_cast<std::size_t>(
          std::find_if(all.begin(), all.end(), [&](const Column& one) { return one.name == name; }) - all.begin());
    };
    std::vector<std::vector<Value>> rows;
    for (auto row = list.First(); row; row = list.Next(*row)) {
      if (list.ReadValue(*row, at(column)) != value) continue;
      rows.emplace_back();
      for (const std::string& name : columns) rows.back().push_back(list.ReadValue(*row, at(name)));
    }
    return rows;
  }

  JetDatabase database_;
  Table& owners_ = database_.Add(JetTable("Owner").Text("K", 9).Text("NAME", 20).PrimaryKey("K"));
  Table& cars_ = database_.Add(JetTable("Car").Text("ID", 9).Text("OWNER", 9).PrimaryKey("ID"));
};

TEST_F(RelationBuildTest, TwoLogicalIndexesNameEachOther) {
  Relate(OwnerCar());
  const LogicalIndex& foreign = IndexNamed(cars_, "OwnerCar");
  EXPECT_EQ(foreign.kind, LogicalIndex::Kind::Relation);
  EXPECT_EQ(foreign.relation, LogicalIndex::kForeignSide);
  EXPECT_EQ(foreign.number, 1U);
  EXPECT_EQ(foreign.dataNumber, 1U);
  EXPECT_EQ(foreign.otherIndex, 1);
  EXPECT_EQ(foreign.otherTable, owners_.Definition().page);
  EXPECT_EQ(foreign.onUpdate, 1);
  EXPECT_EQ(foreign.onDelete, 1);
  // The letter is that of the index's number.
  const LogicalIndex& primary = IndexNamed(owners_, ".rB");
  EXPECT_EQ(primary.kind, LogicalIndex::Kind::Relation);
  EXPECT_EQ(primary.relation, LogicalIndex::kPrimarySide);
  EXPECT_EQ(primary.number, 1U);
  EXPECT_EQ(primary.dataNumber, 0U);
  EXPECT_EQ(primary.otherIndex, 1);
  EXPECT_EQ(primary.otherTable, cars_.Definition().page);
  EXPECT_EQ(primary.onUpdate, 1);
  EXPECT_EQ(primary.onDelete, 1);
}

TEST_F(RelationBuildTest, IndexesOfADefinitionStaySortedByName) {
  Relate(OwnerCar());
  Relate({"AOwnerCar", "Car", {"OWNER"}, "Owner", {"K"}, false, OnDelete::Refuse});
  EXPECT_EQ(IndexNames(cars_), (std::vector<std::string>{"AOwnerCar", "OwnerCar", "PrimaryKey"}));
  EXPECT_EQ(IndexNames(owners_), (std::vector<std::string>{".rB", ".rC", "PrimaryKey"}));
}

TEST_F(RelationBuildTest, ForeignSideGetsAPlainTreeWithTheRowsThereAre) {
  owners_.Insert({Text("ann"), Null()});
  for (int i = 0; i < 2000; ++i)
    cars_.Insert({Text("c" + std::to_string(i)), i % 2 == 0 ? Value(Text("ann")) : Null()});
  Relate(OwnerCar());
  const IndexData& tree = cars_.Definition().indexData[1];
  EXPECT_EQ(tree.flags, 0x80);
  EXPECT_EQ(cars_.RowsWithKey(1, KeyOf(cars_.Definition(), tree, std::vector<Value>{Null(), Text("ann")})).size(),
            1000U);
  ExpectIndexesMatchRows(*database_, cars_);
  const std::uint8_t* statistics =
      database_->Pages().Read(cars_.Definition().page).data() + layout::kHeadSize + layout::kStatisticsSize;
  EXPECT_EQ(LoadLittle<std::uint32_t>(statistics), 2000U);
  EXPECT_EQ(LoadLittle<std::uint32_t>(statistics + layout::kDistinctKeysAt), 2U);
}

TEST_F(RelationBuildTest, RestOfTheDefinitionsStaysAsItWas) {
  owners_.Insert({Text("ann"), Null()});
  const Bytes before = ReadDefinitionBytes(database_->Pages(), owners_.Definition());
  Relate(OwnerCar());
  const Bytes after = ReadDefinitionBytes(database_->Pages(), owners_.Definition());
  // The block of 28 bytes, and ".rB" as length and UTF-16.
  ASSERT_EQ(after.size(), before.size() + 28 + 2 + 6);
  EXPECT_EQ(RowCount(database_->Pages(), owners_.Definition()), 1U);
  EXPECT_EQ(owners_.Definition().columns.size(), 2U);
  EXPECT_EQ(ToHex(Bytes(after.begin() + 12, after.begin() + 47)),
            ToHex(Bytes(before.begin() + 12, before.begin() + 47)));
  EXPECT_EQ(ToHex(Bytes(after.begin() + 51, after.begin() + 150)),
            ToHex(Bytes(before.begin() + 51, before.begin() + 150)));
}

TEST_F(RelationBuildTest, CatalogListsTheRelation) {
  Relate(OwnerCar());
  const auto id = std::int32_t{-2147483647 - 1};
  const Header header = Header::FromPage(database_->Pages().Read(0));
  const std::vector<std::vector<Value>> object = {{id, std::int32_t{kRelationshipsId}, std::int16_t{8}, std::int32_t{0},
                                                   header.Identifier(Account::Admin), DateFromCivil(kJetCreated)}};
  EXPECT_EQ(
      RowsWhere("MSysObjects", "Name", Text("OwnerCar"), {"Id", "ParentId", "Type", "Flags", "Owner", "DateCreate"}),
      object);
  const std::vector<std::vector<Value>> rights = {{header.Identifier(Account::Admin), std::int32_t{0xF00FE}, false},
                                                  {header.Identifier(Account::Users), std::int32_t{0xFFFFF}, false}};
  EXPECT_EQ(RowsWhere("MSysACEs", "ObjectId", id, {"SID", "ACM", "FInheritable"}), rights);
  const std::vector<std::vector<Value>> rows = {
      {std::int32_t{0x1100}, std::int32_t{1}, std::int32_t{0}, Text("Car"), Text("OWNER"), Text("Owner"), Text("K")}};
  EXPECT_EQ(
      RowsWhere("MSysRelationships", "szRelationship", Text("OwnerCar"),
                {"grbit", "ccolumn", "icolumn", "szObject", "szColumn", "szReferencedObject", "szReferencedColumn"}),
      rows);
}

TEST_F(RelationBuildTest, IdsOfRelationsCountUp) {
  Relate(OwnerCar());
  Relate({"Second", "Car", {"OWNER"}, "Owner", {"K"}, false, OnDelete::SetNull});
  EXPECT_EQ(RowsWhere("MSysObjects", "Name", Text("Second"), {"Id"}),
            (std::vector<std::vector<Value>>{{std::int32_t{-2147483647}}}));
  EXPECT_EQ(RowsWhere("MSysRelationships", "szRelationship", Text("Second"), {"grbit"}),
            (std::vector<std::vector<Value>>{{std::int32_t{0x2000}}}));
}

TEST_F(RelationBuildTest, UniqueForeignSideIsListedAsOneToOne) {
  Relate({"Same", "Car", {"ID"}, "Owner", {"K"}, false, OnDelete::Refuse});
  EXPECT_EQ(RowsWhere("MSysRelationships", "szRelationship", Text("Same"), {"grbit"}),
            (std::vector<std::vector<Value>>{{std::int32_t{1}}}));
}

TEST_F(RelationBuildTest, ColumnPairsFollowTheOrderOfTheReferencedIndex) {
  JetTable design = JetTable("Model").Text("MAKE", 9).Column("YEAR", ColumnType::Integer);
  design.Index("Key", {"MAKE", "YEAR"}).unique = true;
  database_.Add(design);
  Table& parts = database_.Add(JetTable("Part").Column("Y", ColumnType::Integer).Text("M", 9));
  Relate({"ModelPart", "Part", {"Y", "M"}, "Model", {"YEAR", "MAKE"}, false, OnDelete::Refuse});
  const IndexData& tree = parts.Definition().indexData[0];
  ASSERT_EQ(tree.columns.size(), 2U);
  EXPECT_EQ(tree.columns[0].columnId, 1);
  EXPECT_EQ(tree.columns[1].columnId, 0);
  const std::vector<std::vector<Value>> rows = {{std::int32_t{2}, std::int32_t{0}, Text("M"), Text("MAKE")},
                                                {std::int32_t{2}, std::int32_t{1}, Text("Y"), Text("YEAR")}};
  EXPECT_EQ(RowsWhere("MSysRelationships", "szRelationship", Text("ModelPart"),
                      {"ccolumn", "icolumn", "szColumn", "szReferencedColumn"}),
            rows);
}

TEST_F(RelationBuildTest, TableWithItselfGetsBothSides) {
  Table& people = database_.Add(
      JetTable("Person").Column("ID", ColumnType::Long).Column("BOSS", ColumnType::Long).PrimaryKey("ID"));
  Relate({"Boss", "Person", {"BOSS"}, "Person", {"ID"}, false, OnDelete::Refuse});
  EXPECT_EQ(IndexNames(people), (std::vector<std::string>{".rC", "Boss", "PrimaryKey"}));
  EXPECT_EQ(IndexNamed(people, "Boss").otherIndex, 2);
  EXPECT_EQ(IndexNamed(people, ".rC").otherIndex, 1);
}

TEST_F(RelationBuildTest, MapOfTheNewTreeStandsBesideTheOthersWhileThereIsRoom) {
  Relate(OwnerCar());
  const TableDefinition& cars = cars_.Definition();
  EXPECT_EQ(cars.indexData[1].map, (RowId{cars.ownedPages.page, 3}));
  EXPECT_EQ(UsageMap(database_->Pages(), cars.indexData[1].map).Pages(),
            std::vector<PageNumber>{cars.indexData[1].root});
}

TEST_F(RelationBuildTest, DefinitionThatOutgrowsItsPageGoesOnOnAnother) {
  JetTable wide("Wide");
  for (int i = 0; i < 29; ++i) wide.Text("COLUMN WITH A RATHER LONG NAME " + std::to_string(i), 9);
  wide.PrimaryKey("COLUMN WITH A RATHER LONG NAME 0");
  Table& table = database_.Add(wide);
  ASSERT_EQ(table.Definition().pages.size(), 1U);
  std::size_t relations = 0;
  for (; table.Definition().pages.size() == 1 && relations < 30; ++relations) {
    Relate({"Relation with a long name " + std::to_string(relations),
            "Wide",
            {"COLUMN WITH A RATHER LONG NAME " + std::to_string(relations % 29)},
            "Owner",
            {"K"},
            false,
            OnDelete::Refuse});
  }
  EXPECT_EQ(table.Definition().pages.size(), 2U);
  EXPECT_EQ(table.Definition().indexData.size(), 1 + relations);
  EXPECT_EQ(ReadDefinition(database_->Pages(), table.Definition().page, "Wide").indexes.size(), 1 + relations);
}

// Refusals.

TEST_F(RelationBuildTest, RowWithoutARelatedOneForbidsTheRelation) {
  owners_.Insert({Text("ann"), Null()});
  cars_.Insert({Text("c1"), Text("bob")});
  EXPECT_EQ(RefusedText(OwnerCar()),
            "Relation 'OwnerCar': table 'Car' has a record for which a related record is required in table 'Owner'.");
  EXPECT_EQ(cars_.Definition().indexes.size(), 1U);
  cars_.Insert({Text("c2"), Text("eve")});
}

TEST_F(RelationBuildTest, ReferencedColumnsWithoutAUniqueIndexAreRefused) {
  EXPECT_EQ(RefusedText({"R", "Car", {"OWNER"}, "Owner", {"NAME"}, false, OnDelete::Refuse}),
            "Relation 'R': No unique index found for the referenced field of the primary table 'Owner'.");
}

TEST_F(RelationBuildTest, ColumnsThatDoNotMatchAreRefused) {
  database_.Add(JetTable("Number").Column("N", ColumnType::Long).Column("D", ColumnType::Decimal).PrimaryKey("N"));
  EXPECT_EQ(RefusedText({"R", "Number", {"N"}, "Owner", {"K"}, false, OnDelete::Refuse}),
            "Relation 'R': the fields 'N' and 'K' have not the same data type.");
  EXPECT_EQ(RefusedText({"R", "Car", {"NONE"}, "Owner", {"K"}, false, OnDelete::Refuse}),
            "Relation 'R': table 'Car' has no field 'NONE'.");
  EXPECT_EQ(RefusedText({"R", "Car", {"ID", "id"}, "Owner", {"K"}, false, OnDelete::Refuse}),
            "Relation 'R': it has the field 'id' of table 'Car' twice.");
  EXPECT_EQ(RefusedText({"R", "Car", {}, "Owner", {}, false, OnDelete::Refuse}),
            "Relation 'R': it must connect 1 to 10 fields with as many others.");
}

TEST_F(RelationBuildTest, NamesInUseAndNamesThatAreNoneAreRefused) {
  RelationSpec relation = OwnerCar();
  relation.name = "primarykey";
  EXPECT_EQ(RefusedText(relation), "Relation 'primarykey': this is already the name of an index of table 'Car'.");
  relation.name = "a.b";
  EXPECT_EQ(RefusedText(relation), "'a.b' is not a valid name for a relation.");
  Relate(OwnerCar());
  relation.name = "OWNERCAR";
  EXPECT_EQ(RefusedText(relation), "Object 'OWNERCAR' already exists.");
}

TEST_F(RelationBuildTest, TablesThatAreNotThereAreRefused) {
  RefusedText({"R", "None", {"A"}, "Owner", {"K"}, false, OnDelete::Refuse}, errors::kJetNoSuchTable);
  RefusedText({"R", "Car", {"OWNER"}, "None", {"K"}, false, OnDelete::Refuse}, errors::kJetNoSuchTable);
}

TEST_F(RelationBuildTest, MoreThan32IndexesOfATableAreRefused) {
  for (int i = 0; i < 31; ++i) {
    Relate({"R" + std::to_string(i), "Car", {"OWNER"}, "Owner", {"K"}, false, OnDelete::Refuse});
  }
  EXPECT_EQ(RefusedText({"R31", "Car", {"OWNER"}, "Owner", {"K"}, false, OnDelete::Refuse}),
            "Relation 'R31': table 'Car' would have more than 32 indexes.");
  // Number 26 is the first of two letters.
  EXPECT_EQ(IndexNamed(owners_, ".rAA").number, 26U);
}

TEST_F(RelationBuildTest, IndexThatCannotBeKeptIsNotSupported) {
  const RowId row = cars_.Insert({Text("c"), Text("\xF0\x9F\x9A\x97")});
  EXPECT_NE(RefusedText(OwnerCar(), errors::kJetGeneral).find("U+1F697"), std::string::npos);
  cars_.Delete(row);
}

TEST(RelationsByOthers, RelationsAndRowsAreSound) {
  JetDatabase database;
  Table& owners = database.Add(JetTable("Owner").Text("K", 9).Text("NAME", 20).PrimaryKey("K"));
  Table& cars = database.Add(
      JetTable("Car").Text("ID", 9).Text("OWNER", 9).Text("BESIDE", 9).Column("M", ColumnType::Memo).PrimaryKey("ID"));
  database->CreateRelation({"OwnerCar", "Car", {"OWNER"}, "Owner", {"K"}, true, OnDelete::Cascade}, kJetCreated);
  for (int i = 0; i < 500; ++i) {
    owners.Insert({"o" + std::to_string(i), Null()});
    for (int car = 0; car < 3; ++car) {
      cars.Insert(
          {std::to_string(i) + "-" + std::to_string(car), "O" + std::to_string(i), Null(), std::string(100, 'm')});
    }
  }
  database->CreateRelation({"Beside", "Car", {"BESIDE"}, "Car", {"ID"}, true, OnDelete::SetNull}, kJetCreated);
  const std::size_t beside = 2;
  const std::size_t key = 0;
  const Value first = Text("0-0");
  for (auto row = cars.First(); row; row = cars.Next(*row)) cars.Update(*row, {&beside, 1}, {&first, 1});
  int number = 0;
  for (auto row = owners.First(); row; row = owners.Next(*row), ++number) {
    const Value renamed = "renamed" + std::to_string(number / 100);
    if (number % 100 == 50) owners.Update(*row, {&key, 1}, {&renamed, 1});
    if (number % 3 == 0) owners.Delete(*row);
  }
  EXPECT_EQ(cars.Count(), 999);
  EXPECT_EQ(cars.ReadValue(*cars.First(), beside), Value(Null()));
  ExpectIndexesMatchRows(*database, cars);
  ExpectSound(database.Image());
}

}  // namespace
}  // namespace mv::jet
