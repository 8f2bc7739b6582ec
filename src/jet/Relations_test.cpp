#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "base/ByteOrder.h"
#include "jet/JetRecordset.h"
#include "jet/definition/DefinitionLayout.h"
#include "support/ExpectError.h"
#include "support/JetDatabase.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorOf;
using mv::testing::ExpectIndexesMatchRows;
using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::kJetCreated;
using mv::testing::MemoryFileSystem;
using OnDelete = RelationSpec::OnDelete;

std::string Text(const char* text) {
  return text;
}

using Rows = std::vector<std::vector<Value>>;

Rows RowsOf(const Table& table) {
  Rows rows;
  for (auto row = table.First(); row; row = table.Next(*row)) rows.push_back(table.ReadRow(*row));
  return rows;
}

void Set(Table& table, RowId row, std::size_t column, const Value& value) {
  table.Update(row, {&column, 1}, {&value, 1});
}

/// Owners have cars; what a car's owner may do is up to the test.
class RelationsTest : public ::testing::Test {
 protected:
  void Relate(const std::string& name, const std::string& table, const std::vector<std::string>& columns,
              const std::string& references, const std::vector<std::string>& referencedColumns,
              OnDelete onDelete = OnDelete::Refuse, bool cascadeUpdate = false) {
    database_->CreateRelation({name, table, columns, references, referencedColumns, cascadeUpdate, onDelete},
                              kJetCreated);
  }
  void RelateCars(OnDelete onDelete = OnDelete::Refuse, bool cascadeUpdate = false) {
    Relate("OwnerCar", "Car", {"OWNER"}, "Owner", {"K"}, onDelete, cascadeUpdate);
  }

  /// Runs `action`, expects it to fail with this number and to leave every page as it was; returns its text.
  std::string RefusedText(const std::function<void()>& action, std::int32_t number = errors::kJetConstraint) {
    const auto before = database_.Pages();
    const Error error = ErrorOf(action);
    EXPECT_EQ(error.Number(), number);
    EXPECT_TRUE(database_.Pages() == before);
    return error.Description();
  }

  void TearDown() override {
    for (const std::string& name : database_->TableNames()) {
      ExpectIndexesMatchRows(*database_, database_->OpenTable(name));
    }
  }

  JetDatabase database_;
  Table& owners_ = database_.Add(JetTable("Owner").Text("K", 9).Text("NAME", 20).PrimaryKey("K"));
  Table& cars_ = database_.Add(JetTable("Car").Text("ID", 9).Text("OWNER", 9).PrimaryKey("ID"));
};

// The foreign side.

TEST_F(RelationsTest, RowWithoutItsRelatedRowIsRefusedByNameOfTheTable) {
  RelateCars();
  owners_.Insert({Text("ann"), Null()});
  const RowId row = cars_.Insert({Text("c1"), Text("ann")});
  EXPECT_EQ(RefusedText([&] {
              cars_.Insert({Text("c2"), Text("bob")});
            }),
            "You cannot add or change a record because a related record is required in table 'Owner'.");
  EXPECT_EQ(RefusedText([&] { Set(cars_, row, 1, Text("bob")); }),
            "You cannot add or change a record because a related record is required in table 'Owner'.");
  EXPECT_EQ(RowsOf(cars_), Rows({{Text("c1"), Text("ann")}}));
}

TEST_F(RelationsTest, KeysThatAreEqualInTheSortOrderAreTheSameKey) {
  RelateCars();
  owners_.Insert({Text("Ann"), Null()});
  cars_.Insert({Text("c1"), Text("ANN ")});
  EXPECT_EQ(RowsOf(cars_), Rows({{Text("c1"), Text("ANN ")}}));
}

TEST_F(RelationsTest, NullRefersToNothing) {
  RelateCars();
  const RowId row = cars_.Insert({Text("c1"), Null()});
  owners_.Insert({Text("ann"), Null()});
  Set(cars_, row, 1, Text("ann"));
  Set(cars_, row, 1, Null());
  EXPECT_EQ(RowsOf(cars_), Rows({{Text("c1"), Null()}}));
}

TEST_F(RelationsTest, KeyThatIsPartlyNullIsNotChecked) {
  JetTable models = JetTable("Model").Text("MAKE", 9).Column("YEAR", ColumnType::Integer);
  models.Index("Key", {"MAKE", "YEAR"}).unique = true;
  database_.Add(models);
  Table& parts = database_.Add(JetTable("Part").Column("Y", ColumnType::Integer).Text("M", 9));
  Relate("ModelPart", "Part", {"Y", "M"}, "Model", {"YEAR", "MAKE"});
  parts.Insert({Null(), Text("none")});
  parts.Insert({std::int16_t{1999}, Null()});
  RefusedText([&] { parts.Insert({std::int16_t{1999}, Text("none")}); });
  database_->OpenTable("Model").Insert({Text("none"), std::int16_t{1999}});
  parts.Insert({std::int16_t{1999}, Text("none")});
}

TEST_F(RelationsTest, ChangeOfOtherColumnsIsNoBusinessOfTheRelation) {
  RelateCars();
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  const RowId car = cars_.Insert({Text("c1"), Text("ann")});
  Set(owners_, owner, 1, Text("Ann"));
  Set(cars_, car, 0, Text("c2"));
  EXPECT_EQ(RowsOf(cars_), Rows({{Text("c2"), Text("ann")}}));
}

// The primary side, without action.

TEST_F(RelationsTest, RowWithRelatedRowsIsNeitherDeletedNorGivenAnotherKey) {
  RelateCars();
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  const RowId car = cars_.Insert({Text("c1"), Text("ANN")});
  EXPECT_EQ(RefusedText([&] { owners_.Delete(owner); }),
            "The record cannot be deleted or changed because table 'Car' includes related records.");
  EXPECT_EQ(RefusedText([&] { Set(owners_, owner, 0, Text("bob")); }),
            "The record cannot be deleted or changed because table 'Car' includes related records.");
  cars_.Delete(car);
  Set(owners_, owner, 0, Text("bob"));
  owners_.Delete(owner);
}

TEST_F(RelationsTest, ChangeOfCaseAloneLeavesTheRelatedRowsAsTheyAre) {
  RelateCars(OnDelete::Refuse, true);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  cars_.Insert({Text("c1"), Text("aNN")});
  Set(owners_, owner, 0, Text("ANN"));
  EXPECT_EQ(RowsOf(owners_), Rows({{Text("ANN"), Null()}}));
  EXPECT_EQ(RowsOf(cars_), Rows({{Text("c1"), Text("aNN")}}));
}

// Actions.

TEST_F(RelationsTest, CascadeUpdateGivesRelatedRowsTheNewKeyInItsSpelling) {
  RelateCars(OnDelete::Refuse, true);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  owners_.Insert({Text("bob"), Null()});
  cars_.Insert({Text("c1"), Text("ANN")});
  cars_.Insert({Text("c2"), Text("bob")});
  cars_.Insert({Text("c3"), Text("ann")});
  Set(owners_, owner, 0, Text("Eve"));
  EXPECT_EQ(RowsOf(cars_), Rows({{Text("c1"), Text("Eve")}, {Text("c2"), Text("bob")}, {Text("c3"), Text("Eve")}}));
  RefusedText([&] { owners_.Delete(owner); });
}

TEST_F(RelationsTest, CascadeDeleteTakesRelatedRowsAlong) {
  RelateCars(OnDelete::Cascade);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  owners_.Insert({Text("bob"), Null()});
  cars_.Insert({Text("c1"), Text("ANN")});
  cars_.Insert({Text("c2"), Text("bob")});
  cars_.Insert({Text("c3"), Null()});
  EXPECT_EQ(cars_.Count(), 3);
  owners_.Delete(owner);
  EXPECT_EQ(RowsOf(cars_), Rows({{Text("c2"), Text("bob")}, {Text("c3"), Null()}}));
  EXPECT_EQ(cars_.Count(), 2);
}

TEST_F(RelationsTest, SetNullEmptiesTheKeyOfRelatedRows) {
  RelateCars(OnDelete::SetNull);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  cars_.Insert({Text("c1"), Text("ANN")});
  RefusedText([&] { Set(owners_, owner, 0, Text("bob")); });
  owners_.Delete(owner);
  EXPECT_EQ(RowsOf(cars_), Rows({{Text("c1"), Null()}}));
}

/// Owner, Car, Trip, Stop: three relations below each other.
class RelationLevels : public RelationsTest {
 protected:
  void RelateAll(OnDelete onDelete, OnDelete last) {
    Relate("OwnerCar", "Car", {"OWNER"}, "Owner", {"K"}, onDelete, true);
    Relate("CarTrip", "Trip", {"OWNER", "CAR"}, "Car2", {"OWNER", "ID"}, onDelete, true);
    Relate("OwnerCar2", "Car2", {"OWNER"}, "Owner", {"K"}, onDelete, true);
    Relate("TripStop", "Stop", {"OWNER", "CAR", "TRIP"}, "Trip", {"OWNER", "CAR", "N"}, last, true);
  }
  /// Two owners with two cars each, two trips of each car, two stops of each trip.
  void Fill() {
    for (const char* owner : {"ann", "bob"}) {
      owners_.Insert({Text(owner), Null()});
      for (std::int32_t car = 1; car <= 2; ++car) {
        cars2_.Insert({Text(owner), car});
        for (std::int32_t trip = 1; trip <= 2; ++trip) {
          trips_.Insert({Text(owner), car, trip});
          stops_.Insert({Text(owner), car, trip, Text("first")});
          stops_.Insert({Text(owner), car, trip, Text("second")});
        }
      }
    }
  }
  std::size_t CountOf(const Table& table, const char* owner) {
    const Rows rows = RowsOf(table);
    return static_cast<std::size_t>(
        std::count_if(rows.begin(), rows.end(), [&](const auto& row) { return row[0] == Value(Text(owner)); }));
  }

  static JetTable Design(const std::string& name, const std::vector<std::string>& numbers) {
    JetTable design = JetTable(name).Text("OWNER", 9);
    std::vector<std::string> key = {"OWNER"};
    for (const std::string& number : numbers) {
      design.Column(number, ColumnType::Long);
      key.push_back(number);
    }
    design.Index("Key", key).unique = true;
    return design;
  }
  Table& cars2_ = database_.Add(Design("Car2", {"ID"}));
  Table& trips_ = database_.Add(Design("Trip", {"CAR", "N"}));
  Table& stops_ = database_.Add(
      JetTable("Stop").Text("OWNER", 9).Column("CAR", ColumnType::Long).Column("TRIP", ColumnType::Long).Text("X", 9));
};

TEST_F(RelationLevels, NewKeyReachesAllLevels) {
  RelateAll(OnDelete::Refuse, OnDelete::Refuse);
  Fill();
  Set(owners_, *owners_.First(), 0, Text("eve"));
  EXPECT_EQ(CountOf(cars2_, "eve"), 2U);
  EXPECT_EQ(CountOf(trips_, "eve"), 4U);
  EXPECT_EQ(CountOf(stops_, "eve"), 8U);
  EXPECT_EQ(CountOf(stops_, "bob"), 8U);
}

TEST_F(RelationLevels, DeletionReachesAllLevels) {
  RelateAll(OnDelete::Cascade, OnDelete::Cascade);
  Fill();
  owners_.Delete(*owners_.First());
  EXPECT_EQ(cars2_.Count(), 2);
  EXPECT_EQ(trips_.Count(), 4);
  EXPECT_EQ(CountOf(stops_, "bob"), 8U);
  EXPECT_EQ(stops_.Count(), 8);
}

TEST_F(RelationLevels, DeletionThatTheLastLevelForbidsIsTakenBackWhole) {
  RelateAll(OnDelete::Cascade, OnDelete::Refuse);
  Fill();
  EXPECT_EQ(trips_.Count(), 8);
  EXPECT_EQ(RefusedText([&] { owners_.Delete(*owners_.First()); }),
            "The record cannot be deleted or changed because table 'Stop' includes related records.");
  EXPECT_EQ(trips_.Count(), 8);
}

TEST_F(RelationLevels, RowsOfTheLastLevelGetNullsInAllColumnsOfTheRelation) {
  RelateAll(OnDelete::Cascade, OnDelete::SetNull);
  Fill();
  owners_.Delete(*owners_.First());
  EXPECT_EQ(trips_.Count(), 4);
  ASSERT_EQ(stops_.Count(), 16);
  EXPECT_EQ(RowsOf(stops_)[0], (std::vector<Value>{Null(), Null(), Null(), Text("first")}));
}

TEST_F(RelationsTest, TenThousandRelatedRowsFollowInOneStatement) {
  RelateCars(OnDelete::Cascade, true);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  for (int i = 0; i < 10000; ++i) cars_.Insert({std::to_string(i), Text("ann")});
  Set(owners_, owner, 0, Text("bob"));
  EXPECT_EQ(cars_.ReadValue(*cars_.Last(), 1), Value(Text("bob")));
  owners_.Delete(owner);
  EXPECT_EQ(cars_.Count(), 0);
}

// Rules of the rows that follow.

TEST_F(RelationsTest, CascadeThatMakesADuplicateKeyIsTakenBackWhole) {
  RelateCars(OnDelete::Refuse, true);
  JetTable one = JetTable("Licence").Text("OWNER", 9);
  one.Index("Key", {"OWNER"}).unique = true;
  Table& licences = database_.Add(one);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  owners_.Insert({Text("bob"), Null()});
  licences.Insert({Text("ann")});
  Relate("OwnerLicence", "Licence", {"OWNER"}, "Owner", {"K"}, OnDelete::Refuse, true);
  cars_.Insert({Text("c1"), Text("ann")});
  const RowId stray = licences.Insert({Text("bob")});
  EXPECT_NE(RefusedText([&] { Set(owners_, owner, 0, Text("bob")); }).find("duplicate values"), std::string::npos);
  licences.Delete(stray);
  Set(owners_, owner, 0, Text("eve"));
  EXPECT_EQ(RowsOf(licences), Rows({{Text("eve")}}));
}

TEST_F(RelationsTest, NewKeyThatDoesNotFitARelatedRowIsRefusedByItsName) {
  Table& notes = database_.Add(JetTable("Note").Text("OWNER", 3));
  Relate("OwnerNote", "Note", {"OWNER"}, "Owner", {"K"}, OnDelete::Refuse, true);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  notes.Insert({Text("ann")});
  EXPECT_EQ(RefusedText([&] { Set(owners_, owner, 0, Text("anna")); }),
            "The field is too small to accept the amount of data you attempted to add. Try inserting or pasting less "
            "data. Table 'Note', column 'OWNER'.");
}

TEST_F(RelationsTest, NullThatAnIndexOfTheRelatedRowForbidsIsRefused) {
  JetTable design = JetTable("Note").Text("OWNER", 9);
  design.Index("Owner", {"OWNER"}).required = true;
  Table& notes = database_.Add(design);
  Relate("OwnerNote", "Note", {"OWNER"}, "Owner", {"K"}, OnDelete::SetNull);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  notes.Insert({Text("ann")});
  EXPECT_EQ(RefusedText([&] { owners_.Delete(owner); }),
            "Index or primary key cannot contain a Null value. Table 'Note', index 'Owner'.");
}

// Rows that refer to themselves, in circles and in two ways.

class SelfRelations : public RelationsTest {
 protected:
  void RelateBoss(OnDelete onDelete, bool cascadeUpdate = false) {
    Relate("Boss", "Person", {"BOSS"}, "Person", {"ID"}, onDelete, cascadeUpdate);
  }
  Table& people_ = database_.Add(
      JetTable("Person").Column("ID", ColumnType::Long).Column("BOSS", ColumnType::Long).PrimaryKey("ID"));
};

TEST_F(SelfRelations, RowMayReferToItself) {
  RelateBoss(OnDelete::Refuse, true);
  const RowId row = people_.Insert({std::int32_t{1}, std::int32_t{1}});
  RefusedText([&] { people_.Insert({std::int32_t{2}, std::int32_t{3}}); });
  Set(people_, row, 0, std::int32_t{5});
  EXPECT_EQ(RowsOf(people_), Rows({{std::int32_t{5}, std::int32_t{5}}}));
  people_.Delete(row);
  EXPECT_EQ(people_.Count(), 0);
}

TEST_F(SelfRelations, RowsInACircleAreDeletedTogether) {
  RelateBoss(OnDelete::Cascade, true);
  const RowId first = people_.Insert({std::int32_t{0}, std::int32_t{0}});
  for (std::int32_t id = 1; id < 100; ++id) people_.Insert({id, id - 1});
  people_.Insert({std::int32_t{200}, Null()});
  Set(people_, first, 1, std::int32_t{99});
  Set(people_, first, 0, std::int32_t{1000});
  EXPECT_EQ(people_.ReadValue(*people_.Next(first), 1), Value(std::int32_t{1000}));
  people_.Delete(first);
  EXPECT_EQ(RowsOf(people_), Rows({{std::int32_t{200}, Null()}}));
}

/// A chain this deep would overflow the stack of a recursion.
TEST_F(SelfRelations, ChainOfManyRowsIsDeletedWhole) {
  RelateBoss(OnDelete::Cascade);
  people_.Insert({std::int32_t{0}, Null()});
  for (std::int32_t id = 1; id < 30000; ++id) people_.Insert({id, id - 1});
  people_.Delete(*people_.First());
  EXPECT_EQ(people_.Count(), 0);
}

TEST_F(SelfRelations, TablesThatReferToEachOtherKeepInStep) {
  Table& men = database_.Add(JetTable("Man").Text("K", 9).Text("WIFE", 9).PrimaryKey("K"));
  JetTable design = JetTable("Woman").Text("K", 9).Text("NAME", 9).PrimaryKey("K");
  Table& women = database_.Add(design);
  Relate("ManWoman", "Woman", {"K"}, "Man", {"K"}, OnDelete::Cascade, true);
  Relate("WomanMan", "Man", {"K"}, "Woman", {"K"}, OnDelete::Cascade, true);
  EXPECT_NE(RefusedText([&] { men.Insert({Text("a"), Null()}); }).find("'Woman'"), std::string::npos);
  EXPECT_EQ(women.Count(), 0);
}

TEST_F(SelfRelations, RowThatIsReachedOnTwoWaysIsJudgedByTheEnd) {
  const auto key = [](const std::string& name, const std::vector<std::string>& columns) {
    JetTable design(name);
    for (const std::string& column : columns) design.Column(column, ColumnType::Long);
    design.Index("Key", columns).unique = true;
    return design;
  };
  Table& top = database_.Add(key("Top", {"T"}));
  Table& left = database_.Add(key("Left", {"T", "L"}));
  Table& right = database_.Add(key("Right", {"T", "R"}));
  Table& both = database_.Add(key("Both", {"T", "L", "R"}));
  Relate("TopLeft", "Left", {"T"}, "Top", {"T"}, OnDelete::Cascade, true);
  Relate("TopRight", "Right", {"T"}, "Top", {"T"}, OnDelete::Cascade, true);
  Relate("LeftBoth", "Both", {"T", "L"}, "Left", {"T", "L"}, OnDelete::Cascade, true);
  Relate("RightBoth", "Both", {"T", "R"}, "Right", {"T", "R"});
  const std::int32_t one = 1;
  top.Insert({one});
  left.Insert({one, one});
  right.Insert({one, one});
  both.Insert({one, one, one});
  Set(top, *top.First(), 0, std::int32_t{2});
  EXPECT_EQ(RowsOf(both), Rows({{std::int32_t{2}, one, one}}));
  EXPECT_EQ(RowsOf(right), Rows({{std::int32_t{2}, one}}));
  top.Delete(*top.First());
  EXPECT_EQ(both.Count() + right.Count() + left.Count(), 0);
}

// Several relations of one table.

TEST_F(RelationsTest, EachRelationOfARowIsChecked) {
  RelateCars();
  Table& places = database_.Add(JetTable("Place").Text("P", 9).PrimaryKey("P"));
  Table& visits = database_.Add(JetTable("Visit").Text("O", 9).Text("P", 9));
  Relate("OwnerVisit", "Visit", {"O"}, "Owner", {"K"});
  Relate("PlaceVisit", "Visit", {"P"}, "Place", {"P"});
  owners_.Insert({Text("ann"), Null()});
  places.Insert({Text("here")});
  visits.Insert({Text("ann"), Text("here")});
  EXPECT_NE(RefusedText([&] { visits.Insert({Text("bob"), Text("here")}); }).find("'Owner'"), std::string::npos);
  EXPECT_NE(RefusedText([&] { visits.Insert({Text("ann"), Text("there")}); }).find("'Place'"), std::string::npos);
}

TEST_F(RelationsTest, ColumnsOfEveryTypeCanBeRelated) {
  struct Case {
    ColumnType type;
    Value value;
    Value other;
  };
  const std::vector<Case> cases = {
      {ColumnType::Boolean, true, false},
      {ColumnType::Byte, std::uint8_t{7}, std::uint8_t{8}},
      {ColumnType::Integer, std::int16_t{-7}, std::int16_t{8}},
      {ColumnType::Long, std::int32_t{-7}, std::int32_t{8}},
      {ColumnType::Currency, Currency{-7}, Currency{8}},
      {ColumnType::Single, -1.5F, 2.5F},
      {ColumnType::Double, -1.5, 2.5},
      {ColumnType::DateTime, Date{38000.25}, Date{38000.5}},
      {ColumnType::Binary, Bytes{1, 2, 3}, Bytes{1, 2}},
      {ColumnType::Text, Text("a-b"), Text("ab")},
      {ColumnType::Guid, Text("{01234567-89AB-CDEF-0123-456789ABCDEF}"),
       Text("{01234567-89AB-CDEF-0123-456789ABCDEE}")},
      {ColumnType::Decimal, Text("-12.5000"), Text("12.5000")},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(static_cast<int>(one.type));
    const std::string name = "T" + std::to_string(static_cast<int>(one.type));
    Table& primary = database_.Add(JetTable(name + "P").Column("K", one.type, 20).PrimaryKey("K"));
    Table& foreign = database_.Add(JetTable(name + "F").Column("K", one.type, 20));
    Relate(name, name + "F", {"K"}, name + "P", {"K"}, OnDelete::Cascade, true);
    const RowId row = primary.Insert({one.value});
    foreign.Insert({one.value});
    RefusedText([&] { foreign.Insert({one.other}); });
    Set(primary, row, 0, one.other);
    EXPECT_EQ(RowsOf(foreign), Rows({{one.other}}));
    primary.Delete(row);
    EXPECT_EQ(foreign.Count(), 0);
  }
}

TEST_F(RelationsTest, DirectionsOfTheTwoIndexesMayDiffer) {
  JetTable design = JetTable("Down").Text("K", 9);
  design.Index("Key", {"K"}).unique = true;
  JetTable descending = JetTable("Up").Text("K", 9);
  IndexSpec& key = descending.Index("Key", {"K"});
  key.unique = true;
  key.columns[0].ascending = false;
  Table& down = database_.Add(design);
  Table& up = database_.Add(descending);
  Relate("UpDown", "Down", {"K"}, "Up", {"K"}, OnDelete::Cascade, true);
  const RowId row = up.Insert({Text("a")});
  down.Insert({Text("A")});
  RefusedText([&] { down.Insert({Text("b")}); });
  Set(up, row, 0, Text("b"));
  EXPECT_EQ(RowsOf(down), Rows({{Text("b")}}));
}

// Recordsets.

TEST_F(RelationsTest, RecordsetWhoseRowWasDeletedByAnotherTableHasNoCurrentRecord) {
  RelateCars(OnDelete::Cascade);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  cars_.Insert({Text("c1"), Text("ann")});
  JetRecordset cars(cars_);
  EXPECT_EQ(cars.FieldValue(1), Value(Text("ann")));
  owners_.Delete(owner);
  EXPECT_EQ(ErrorOf([&] { cars.FieldValue(1); }).Number(), errors::kNoCurrentRecord);
}

TEST_F(RelationsTest, RecordsetOfRelatedRowsSeesTheirNewKey) {
  RelateCars(OnDelete::Refuse, true);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  cars_.Insert({Text("c1"), Text("ann")});
  JetRecordset cars(cars_);
  EXPECT_EQ(cars.FieldValue(1), Value(Text("ann")));
  Set(owners_, owner, 0, Text("bob"));
  EXPECT_EQ(cars.FieldValue(1), Value(Text("bob")));
}

TEST_F(RelationsTest, RelationsOfAFileAreKeptWhenItIsOpenedAnew) {
  RelateCars(OnDelete::Cascade);
  owners_.Insert({Text("ann"), Null()});
  cars_.Insert({Text("c1"), Text("ann")});
  MemoryFileSystem files;
  files.Put("x.mdb", database_.Image());
  const auto database = Database::Open(files, "x.mdb", PageFile::Mode::ReadWrite);
  Table& owners = database->OpenTable("Owner");
  owners.Delete(*owners.First());
  EXPECT_EQ(database->OpenTable("Car").Count(), 0);
}

// Relations that cannot be kept.

/// Files whose definitions were changed by hand: "Owner" and "Car" with a relation and a row each.
class SpoiltRelations : public RelationsTest {
 protected:
  void SetUp() override {
    RelateCars(OnDelete::Cascade, true);
    owners_.Insert({Text("ann"), Null()});
    cars_.Insert({Text("c1"), Text("ann")});
    image_ = database_.Image();
  }

  /// Where the block of a table's relation begins in the image.
  std::size_t BlockAt(const Table& table) const {
    const auto& indexes = table.Definition().indexes;
    const auto index = std::find_if(indexes.begin(), indexes.end(),
                                    [](const LogicalIndex& one) { return one.kind == LogicalIndex::Kind::Relation; });
    std::array<std::uint8_t, 13> start{};
    StoreLittle(start.data(), layout::kTag);
    StoreLittle(start.data() + layout::logical::kNumberAt, index->number);
    StoreLittle(start.data() + layout::logical::kDataNumberAt, index->dataNumber);
    start[layout::logical::kRelationAt] = index->relation;
    const auto page = image_.begin() + static_cast<std::ptrdiff_t>(table.Definition().page * kPageSize);
    const auto found = std::search(page + layout::kHeadSize, page + kPageSize, start.begin(), start.end());
    EXPECT_NE(found, page + kPageSize);
    return static_cast<std::size_t>(found - image_.begin());
  }

  /// Opens the image, expects its rows to be readable and all changes of both tables to be refused with nothing
  /// changed. Returns the text for an insert into "Car".
  std::string RefusedText() {
    MemoryFileSystem files;
    files.Put("x.mdb", image_);
    const auto database = Database::Open(files, "x.mdb", PageFile::Mode::ReadWrite);
    Table& owners = database->OpenTable("Owner");
    Table& cars = database->OpenTable("Car");
    EXPECT_EQ(owners.ReadValue(*owners.First(), 0), Value(Text("ann")));
    EXPECT_EQ(cars.ReadValue(*cars.First(), 1), Value(Text("ann")));
    Set(owners, *owners.First(), 1, Text("still allowed"));
    database->Commit();
    EXPECT_EQ(ErrorOf([&] { owners.Delete(*owners.First()); }).Number(), errors::kJetGeneral);
    EXPECT_EQ(ErrorOf([&] { Set(cars, *cars.First(), 1, Null()); }).Number(), errors::kJetGeneral);
    const Error error = ErrorOf([&] { cars.Insert({Text("c2"), Null()}); });
    EXPECT_EQ(error.Number(), errors::kJetGeneral);
    EXPECT_FALSE(database->Changed());
    return error.Description();
  }

  Bytes image_;
};

TEST_F(SpoiltRelations, SidesThatDoNotNameEachOtherAreRefused) {
  StoreLittle<std::int32_t>(image_.data() + BlockAt(cars_) + layout::logical::kOtherIndexAt, 17);
  EXPECT_EQ(RefusedText(),
            "The database file is damaged: table 'Car', relation 'OwnerCar': its two sides do not name each other. "
            "Nothing was changed.");
}

TEST_F(SpoiltRelations, SideThatIsNotNamedBackIsRefused) {
  image_[BlockAt(owners_) + layout::logical::kRelationAt] = LogicalIndex::kForeignSide;
  EXPECT_NE(RefusedText().find("do not name each other"), std::string::npos);
}

TEST_F(SpoiltRelations, MissingTableIsRefused) {
  StoreLittle<std::uint32_t>(image_.data() + BlockAt(cars_) + layout::logical::kOtherTableAt, 9999);
  EXPECT_EQ(RefusedText(),
            "The database file is damaged: table 'Car', relation 'OwnerCar': its other table cannot be used (The "
            "database file is damaged: no table has its definition on page 9999. Nothing was changed.). Nothing was "
            "changed.");
}

TEST_F(SpoiltRelations, ActionsThatDifferAreRefused) {
  image_[BlockAt(owners_) + layout::logical::kOnDeleteAt] = 0;
  EXPECT_NE(RefusedText().find("relation 'OwnerCar': its two sides differ"), std::string::npos);
}

TEST_F(SpoiltRelations, UnknownActionIsRefused) {
  image_[BlockAt(owners_) + layout::logical::kOnDeleteAt] = 3;
  image_[BlockAt(cars_) + layout::logical::kOnDeleteAt] = 3;
  EXPECT_NE(RefusedText().find("it acts in a way that is not known"), std::string::npos);
}

TEST_F(SpoiltRelations, UnknownSideIsRefused) {
  image_[BlockAt(cars_) + layout::logical::kRelationAt] = 3;
  EXPECT_EQ(RefusedText(), "Not supported: table 'Car', relation 'OwnerCar': of kind 3. Nothing was changed.");
}

/// Byte offset of a tree's block in the image.
std::size_t TreeAt(const Table& table, std::size_t number) {
  const TableDefinition& definition = table.Definition();
  std::size_t at = definition.page * kPageSize + layout::kHeadSize +
                   layout::kStatisticsSize * definition.indexData.size() +
                   layout::kColumnSize * definition.columns.size();
  for (const Column& column : definition.columns) at += 2 + 2 * column.name.size();
  return at + layout::kIndexDataSize * number;
}

TEST_F(SpoiltRelations, KeyThatIsNotUniqueIsRefused) {
  MemoryFileSystem files;
  files.Put("x.mdb", image_);
  const auto database = Database::Open(files, "x.mdb", PageFile::Mode::ReadOnly);
  const Table& owners = database->OpenTable("Owner");
  image_[TreeAt(owners, 0) + layout::index::kFlagsAt] = 0x80;
  EXPECT_NE(RefusedText().find("the key it refers to is not unique"), std::string::npos);
}

TEST_F(SpoiltRelations, ColumnsOfDifferentTypesAreRefused) {
  const std::size_t column =
      cars_.Definition().page * kPageSize + layout::kHeadSize + 2 * layout::kStatisticsSize + layout::kColumnSize;
  ASSERT_EQ(image_[column], static_cast<std::uint8_t>(ColumnType::Text));
  image_[column] = static_cast<std::uint8_t>(ColumnType::Binary);
  MemoryFileSystem files;
  files.Put("x.mdb", image_);
  const auto database = Database::Open(files, "x.mdb", PageFile::Mode::ReadWrite);
  Table& cars = database->OpenTable("Car");
  EXPECT_NE(ErrorOf([&] {
              cars.Insert({Text("c2"), Null()});
            })
                .Description()
                .find("its two sides differ"),
            std::string::npos);
}

TEST_F(SpoiltRelations, TextOfAnotherSortOrderIsRefused) {
  const std::size_t column = owners_.Definition().page * kPageSize + layout::kHeadSize + layout::kStatisticsSize;
  ASSERT_EQ(image_[column], static_cast<std::uint8_t>(ColumnType::Text));
  StoreLittle<std::uint16_t>(image_.data() + column + layout::column::kLanguageAt, 0x0407);
  EXPECT_NE(RefusedText().find("relation 'OwnerCar': table 'Owner': text of column 'K' is sorted by order 0407"),
            std::string::npos);
}

/// An index of the foreign side that leads to rows of other keys would have the wrong rows deleted.
TEST_F(RelationsTest, EntryThatIsNotOfItsRowStopsACascade) {
  RelateCars(OnDelete::Cascade);
  const RowId owner = owners_.Insert({Text("ann"), Null()});
  owners_.Insert({Text("bob"), Null()});
  const RowId car = cars_.Insert({Text("c1"), Text("bob")});
  const TableDefinition& definition = cars_.Definition();
  const IndexData& index = definition.indexData[1];
  FreePages freePages(database_->Pages());
  IndexTree tree(database_->Pages(), freePages, definition.page, index);
  Bytes right;
  Bytes wrong;
  AppendKey(right, definition.columns[1], Text("bob"), true);
  AppendKey(wrong, definition.columns[1], Text("ann"), true);
  tree.Remove(right, car);
  tree.Insert(wrong, car);
  EXPECT_EQ(RefusedText([&] { owners_.Delete(owner); }, errors::kJetGeneral),
            "The database file is damaged: table 'Car', index 'OwnerCar' has an entry that is not of its row. Nothing "
            "was changed.");
  tree.Remove(wrong, car);
  tree.Insert(right, car);
}

}  // namespace
}  // namespace mv::jet
