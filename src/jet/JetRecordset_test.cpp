#include "jet/JetRecordset.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/Error.h"
#include "jet/Database.h"
#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"

namespace mv::jet {
namespace {

using testing::ErrorNumberOf;
using testing::ErrorOf;

ColumnSpec Typed(const std::string& name, ColumnType type, std::uint16_t characters = 0) {
  ColumnSpec column;
  column.name = name;
  column.type = type;
  column.characters = characters;
  return column;
}

template <typename Number>
std::string Numbered(const std::string& letter, Number number) {
  return letter + std::to_string(number);
}

const CivilTime kCreated{2026, 11, 21, 14, 5, 9};

enum Field : std::size_t { kKey, kCount, kActive, kNotes };

/// A database in memory with the table Parts(Key Text(10) primary key, Count Long, Active Boolean, Notes Memo).
class JetRecordsetTest : public ::testing::Test {
 protected:
  JetRecordsetTest() : database_(Database::Create(files_, "x.mdb", kCreated)) {
    database_->CreateTable({"Parts",
                            {Typed("Key", ColumnType::Text, 10), Typed("Count", ColumnType::Long),
                             Typed("Active", ColumnType::Boolean), Typed("Notes", ColumnType::Memo)},
                            {{"PrimaryKey", {{"Key"}}, true}}},
                           kCreated);
  }

  Table& Parts() { return database_->OpenTable("Parts"); }

  void Add(const std::string& key, std::int32_t count) { Parts().Insert({key, count, true, Null{}}); }

  void AddThree() {
    Add("a", 1);
    Add("b", 2);
    Add("c", 3);
  }

  /// The keys in the order in which a new recordset walks.
  std::vector<std::string> Keys() {
    std::vector<std::string> keys;
    for (JetRecordset rows(Parts()); !rows.Eof(); rows.MoveNext())
      keys.push_back(std::get<std::string>(rows.FieldValue(kKey)));
    return keys;
  }

  testing::MemoryFileSystem files_;
  std::unique_ptr<Database> database_;
};

using Strings = std::vector<std::string>;

std::string KeyOf(const Recordset& rows) {
  return std::get<std::string>(rows.FieldValue(kKey));
}
std::int32_t CountOf(const Recordset& rows) {
  return std::get<std::int32_t>(rows.FieldValue(kCount));
}

TEST_F(JetRecordsetTest, OpeningMakesTheFirstRowCurrent) {
  AddThree();
  const JetRecordset rows(Parts());
  EXPECT_FALSE(rows.Bof());
  EXPECT_FALSE(rows.Eof());
  EXPECT_EQ(KeyOf(rows), "a");
}

TEST_F(JetRecordsetTest, OpeningAnEmptyTableIsAtBothEnds) {
  JetRecordset rows(Parts());
  EXPECT_TRUE(rows.Bof());
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(rows.RecordCount(), 0);
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(kKey); }), 3021);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(kKey, std::string("x")); }), 3021);
  EXPECT_EQ(ErrorNumberOf([&] { rows.Delete(); }), 3021);
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveFirst(); }), 3021);
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveLast(); }), 3021);
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveNext(); }), 3021);
  EXPECT_EQ(ErrorNumberOf([&] { rows.Find("Key='a'"); }), 3021);
}

TEST_F(JetRecordsetTest, MovesWalkInPhysicalOrderToEof) {
  AddThree();
  JetRecordset rows(Parts());
  rows.MoveLast();
  EXPECT_EQ(KeyOf(rows), "c");
  rows.MoveNext();
  EXPECT_TRUE(rows.Eof());
  EXPECT_FALSE(rows.Bof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveNext(); }), 3021);
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(kKey); }), 3021);
  rows.MoveFirst();
  EXPECT_EQ(KeyOf(rows), "a");
  EXPECT_EQ(Keys(), (Strings{"a", "b", "c"}));
}

TEST_F(JetRecordsetTest, DeletedRowStaysCurrentUntilTheNextMove) {
  AddThree();
  JetRecordset rows(Parts());
  rows.MoveNext();
  rows.Delete();
  EXPECT_FALSE(rows.Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(kKey); }), 3021);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(kCount, 9); }), 3021);
  EXPECT_EQ(ErrorNumberOf([&] { rows.Delete(); }), 3021);
  EXPECT_EQ(rows.RecordCount(), 2);
  rows.MoveNext();
  EXPECT_EQ(KeyOf(rows), "c");
  EXPECT_EQ(Keys(), (Strings{"a", "c"}));
}

TEST_F(JetRecordsetTest, DeletedRowThatWasReadCannotBeReadAnyMore) {
  AddThree();
  JetRecordset rows(Parts());
  EXPECT_EQ(KeyOf(rows), "a");
  rows.Delete();
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(kKey); }), 3021);
}

TEST_F(JetRecordsetTest, LastRowLeftDeletedIsAtBothEndsAtOnce) {
  Add("a", 1);
  JetRecordset rows(Parts());
  rows.Delete();
  EXPECT_TRUE(rows.Bof());
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(rows.RecordCount(), 0);
}

TEST_F(JetRecordsetTest, MoveNextFromTheOnlyRowDeletedIsNoErrorOnce) {
  Add("a", 1);
  JetRecordset rows(Parts());
  rows.Delete();
  rows.MoveNext();
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveNext(); }), 3021);
}

TEST_F(JetRecordsetTest, LoopThatDeletesEveryRowEndsEmpty) {
  for (int i = 0; i < 500; ++i) Add(Numbered("k", i), i);
  JetRecordset rows(Parts());
  for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext()) rows.Delete();
  EXPECT_EQ(rows.RecordCount(), 0);
  EXPECT_EQ(Keys(), Strings());
}

TEST_F(JetRecordsetTest, RowAddedWhereADeletedOneWasIsAnotherRow) {
  Add("a", 1);
  JetRecordset rows(Parts());
  rows.Delete();
  rows.AddNew();
  rows.SetFieldValue(kKey, std::string("b"));
  rows.Update();
  EXPECT_EQ(KeyOf(rows), "b");
  EXPECT_FALSE(rows.Bof());
  EXPECT_EQ(Keys(), (Strings{"b"}));
}

TEST_F(JetRecordsetTest, AssignmentStartsAnEditThatOnlyUpdateSaves) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kCount, 10);
  EXPECT_EQ(CountOf(rows), 10);
  EXPECT_EQ(KeyOf(rows), "a");
  EXPECT_EQ(CountOf(JetRecordset(Parts())), 1);
  rows.Update();
  EXPECT_EQ(CountOf(rows), 10);
  EXPECT_EQ(CountOf(JetRecordset(Parts())), 10);
}

TEST_F(JetRecordsetTest, UpdateChangesAssignedFieldsOnly) {
  Parts().Insert({std::string("a"), 1, true, std::string(5000, 'm')});
  JetRecordset rows(Parts());
  rows.SetFieldValue(kCount, 2);
  rows.Update();
  EXPECT_EQ(rows.FieldValue(kActive), Value(true));
  EXPECT_EQ(rows.FieldValue(kNotes), Value(std::string(5000, 'm')));
}

TEST_F(JetRecordsetTest, UpdateWithoutAnEditDoesNothing) {
  AddThree();
  JetRecordset rows(Parts());
  rows.Update();
  EXPECT_EQ(KeyOf(rows), "a");
  rows.MoveLast();
  rows.MoveNext();
  EXPECT_NO_THROW(rows.Update());
}

TEST_F(JetRecordsetTest, EveryMoveAndAddNewSaveAPendingEditFirst) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kCount, 11);
  rows.MoveNext();
  rows.SetFieldValue(kCount, 12);
  rows.MoveFirst();
  EXPECT_EQ(CountOf(rows), 11);
  rows.SetFieldValue(kCount, 21);
  rows.MoveLast();
  rows.SetFieldValue(kCount, 13);
  rows.AddNew();
  rows.SetFieldValue(kKey, std::string("d"));
  rows.SetFieldValue(kCount, 14);
  rows.MoveFirst();
  rows.SetFieldValue(kCount, 31);
  rows.Find("Key='b'");
  std::vector<std::int32_t> counts;
  for (JetRecordset all(Parts()); !all.Eof(); all.MoveNext()) counts.push_back(CountOf(all));
  EXPECT_EQ(counts, (std::vector<std::int32_t>{31, 12, 13, 14}));
}

TEST_F(JetRecordsetTest, FailedSaveIsRaisedAndDropsTheEditAndLeavesTheRow) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kKey, std::string("B"));
  rows.SetFieldValue(kCount, 9);
  const Error error = ErrorOf([&] { rows.Update(); });
  EXPECT_EQ(error.Number(), errors::kJetConstraint);
  EXPECT_NE(error.Description().find("PrimaryKey"), std::string::npos);
  EXPECT_EQ(KeyOf(rows), "a");
  EXPECT_EQ(CountOf(rows), 1);
  EXPECT_NO_THROW(rows.Update());
  EXPECT_EQ(Keys(), (Strings{"a", "b", "c"}));
}

TEST_F(JetRecordsetTest, MoveWhoseSaveFailsStaysOnItsRow) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kKey, std::string("b"));
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveNext(); }), errors::kJetConstraint);
  EXPECT_EQ(KeyOf(rows), "a");
  rows.MoveNext();
  EXPECT_EQ(KeyOf(rows), "b");
}

TEST_F(JetRecordsetTest, NewRowThatCannotBeSavedLeavesTheRowBeforeCurrent) {
  AddThree();
  JetRecordset rows(Parts());
  rows.MoveNext();
  rows.AddNew();
  rows.SetFieldValue(kKey, std::string("A"));
  EXPECT_EQ(ErrorNumberOf([&] { rows.Update(); }), errors::kJetConstraint);
  EXPECT_EQ(KeyOf(rows), "b");
  EXPECT_EQ(rows.RecordCount(), 3);
}

TEST_F(JetRecordsetTest, NewRowWithoutItsKeyCannotBeSaved) {
  JetRecordset rows(Parts());
  rows.AddNew();
  rows.SetFieldValue(kCount, 1);
  EXPECT_EQ(ErrorNumberOf([&] { rows.Update(); }), errors::kJetConstraint);
  EXPECT_TRUE(rows.Eof());
}

TEST_F(JetRecordsetTest, SavedNewRowIsTheCurrentOne) {
  AddThree();
  JetRecordset rows(Parts());
  rows.AddNew();
  rows.SetFieldValue(kKey, std::string("d"));
  rows.Update();
  EXPECT_EQ(KeyOf(rows), "d");
  EXPECT_EQ(rows.RecordCount(), 4);
  rows.MoveNext();
  EXPECT_TRUE(rows.Eof());
}

TEST_F(JetRecordsetTest, NewRowIsNullAndFalseUntilAssigned) {
  AddThree();
  JetRecordset rows(Parts());
  rows.AddNew();
  EXPECT_FALSE(rows.Eof());
  EXPECT_EQ(rows.FieldValue(kKey), Value(Null{}));
  EXPECT_EQ(rows.FieldValue(kCount), Value(Null{}));
  EXPECT_EQ(rows.FieldValue(kActive), Value(false));
  rows.SetFieldValue(kKey, std::string("d"));
  EXPECT_EQ(rows.FieldValue(kKey), Value(std::string("d")));
  rows.Update();
  EXPECT_EQ(rows.FieldValue(kCount), Value(Null{}));
  EXPECT_EQ(rows.FieldValue(kActive), Value(false));
  EXPECT_EQ(rows.FieldValue(kNotes), Value(Null{}));
}

TEST_F(JetRecordsetTest, NewRowOnAnEmptyTableIsAtNeitherEnd) {
  JetRecordset rows(Parts());
  rows.AddNew();
  EXPECT_FALSE(rows.Bof());
  EXPECT_FALSE(rows.Eof());
  rows.CancelUpdate();
  EXPECT_TRUE(rows.Bof());
  EXPECT_TRUE(rows.Eof());
}

TEST_F(JetRecordsetTest, CancelUpdateDropsAnEdit) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kCount, 9);
  rows.CancelUpdate();
  EXPECT_EQ(CountOf(rows), 1);
  rows.MoveNext();
  rows.MoveFirst();
  EXPECT_EQ(CountOf(rows), 1);
  EXPECT_NO_THROW(rows.CancelUpdate());
}

TEST_F(JetRecordsetTest, CancelUpdateAfterAddNewMakesTheRowBeforeCurrentAgain) {
  AddThree();
  JetRecordset rows(Parts());
  rows.MoveNext();
  rows.AddNew();
  rows.SetFieldValue(kKey, std::string("d"));
  rows.CancelUpdate();
  EXPECT_EQ(KeyOf(rows), "b");
  EXPECT_EQ(rows.RecordCount(), 3);
}

TEST_F(JetRecordsetTest, DeleteDuringAnEditDropsTheEditAndDeletesTheRow) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kCount, 9);
  rows.Delete();
  rows.MoveNext();
  EXPECT_EQ(KeyOf(rows), "b");
  EXPECT_EQ(Keys(), (Strings{"b", "c"}));
}

TEST_F(JetRecordsetTest, DeleteOfARowNotYetSavedIsNoCurrentRecord) {
  AddThree();
  JetRecordset rows(Parts());
  rows.AddNew();
  EXPECT_EQ(ErrorNumberOf([&] { rows.Delete(); }), 3021);
}

TEST_F(JetRecordsetTest, RowThatGrowsOntoAnotherPageIsMetOnce) {
  for (int i = 0; i < 200; ++i) Add(Numbered("k", i), i);
  const Strings before = Keys();
  Strings met;
  JetRecordset rows(Parts());
  for (; !rows.Eof(); rows.MoveNext()) {
    met.push_back(KeyOf(rows));
    rows.SetFieldValue(kNotes, std::string(30, 'n'));
  }
  EXPECT_EQ(met, before);
  EXPECT_EQ(Keys(), before);
}

TEST_F(JetRecordsetTest, RecordsetsOverOneTableSeeWhatTheOtherSaved) {
  AddThree();
  JetRecordset one(Parts());
  JetRecordset other(Parts());
  EXPECT_EQ(CountOf(one), 1);
  other.SetFieldValue(kCount, 9);
  other.Update();
  EXPECT_EQ(CountOf(one), 9);
  other.Delete();
  EXPECT_EQ(ErrorNumberOf([&] { one.FieldValue(kKey); }), 3021);
  EXPECT_EQ(one.RecordCount(), 2);
  one.MoveNext();
  EXPECT_EQ(KeyOf(one), "b");
}

TEST_F(JetRecordsetTest, EditOfARowThatWasDeletedMeanwhileCannotBeSaved) {
  AddThree();
  JetRecordset one(Parts());
  JetRecordset other(Parts());
  one.SetFieldValue(kCount, 9);
  other.Delete();
  EXPECT_EQ(ErrorNumberOf([&] { one.Update(); }), 3021);
  EXPECT_EQ(Keys(), (Strings{"b", "c"}));
}

TEST_F(JetRecordsetTest, RowThatWasDeletedMeanwhileCannotBeReadAlthoughItWasReadBefore) {
  AddThree();
  JetRecordset one(Parts());
  JetRecordset other(Parts());
  EXPECT_EQ(one.FieldValue(0), Value(std::string("a")));
  other.Delete();
  EXPECT_EQ(ErrorNumberOf([&] { one.FieldValue(0); }), 3021);
}

TEST_F(JetRecordsetTest, FieldThatIsNotThereIsItemNotFound) {
  AddThree();
  JetRecordset rows(Parts());
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(4); }), 3265);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(4, 1); }), 3265);
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue("animal"); }), 3265);
  EXPECT_EQ(rows.FieldValue("KEY"), Value(std::string("a")));
}

TEST_F(JetRecordsetTest, FindStartsAtTheCurrentRowAndIgnoresCase) {
  Add("a", 1);
  Add("b", 2);
  Add("c", 1);
  JetRecordset rows(Parts());
  rows.Find("key='A'");
  EXPECT_EQ(KeyOf(rows), "a");
  rows.MoveNext();
  rows.Find("Count='1'");
  EXPECT_EQ(KeyOf(rows), "c");
  rows.Find("Count='1'");
  EXPECT_EQ(KeyOf(rows), "c");
}

TEST_F(JetRecordsetTest, FindWithoutAMatchLeavesEof) {
  AddThree();
  JetRecordset rows(Parts());
  rows.MoveNext();
  rows.Find("Key='a'");
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.Find("Key='a'"); }), 3021);
}

TEST_F(JetRecordsetTest, FindFromADeletedRowLooksBehindIt) {
  AddThree();
  JetRecordset rows(Parts());
  rows.Delete();
  rows.Find("Active='True'");
  EXPECT_EQ(KeyOf(rows), "b");
}

TEST_F(JetRecordsetTest, DoubledQuoteInACriterionIsOneQuote) {
  Add("it's", 1);
  JetRecordset rows(Parts());
  rows.Find("Key='it''s'");
  EXPECT_EQ(KeyOf(rows), "it's");
  EXPECT_EQ(ErrorNumberOf([&] { rows.Find("Key='it's'"); }), 3001);
  EXPECT_EQ(ErrorNumberOf([&] { rows.Find("Nothing='a'"); }), 3265);
  EXPECT_EQ(KeyOf(rows), "it's");
}

TEST_F(JetRecordsetTest, NullMatchesTheEmptyText) {
  Parts().Insert({std::string("a"), Null{}, true, std::string("n")});
  Parts().Insert({std::string("b"), 1, true, Null{}});
  JetRecordset rows(Parts());
  rows.Find("Notes=''");
  EXPECT_EQ(KeyOf(rows), "b");
}

TEST_F(JetRecordsetTest, ValueOfAnotherTypeIsConverted) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kCount, std::string("12"));
  rows.SetFieldValue(kKey, 77);
  rows.SetFieldValue(kActive, 0);
  EXPECT_EQ(rows.FieldValue(kCount), Value(std::int32_t{12}));
  EXPECT_EQ(rows.FieldValue(kKey), Value(std::string("77")));
  EXPECT_EQ(rows.FieldValue(kActive), Value(false));
}

TEST_F(JetRecordsetTest, ValueThatDoesNotFitRaisesAndLeavesTheEditAsItWas) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kCount, 5);
  const Error type = ErrorOf([&] { rows.SetFieldValue(kCount, std::string("five")); });
  EXPECT_EQ(type.Number(), -2147217887);
  EXPECT_EQ(type.Description(), "The value 'five' does not have the type of the field. Table 'Parts', column 'Count'.");
  const Error range = ErrorOf([&] { rows.SetFieldValue(kCount, std::string("3000000000")); });
  EXPECT_EQ(range.Number(), -2147217887);
  EXPECT_EQ(range.Description(), "The value '3000000000' is too large for the field. Table 'Parts', column 'Count'.");
  EXPECT_EQ(CountOf(rows), 5);
  rows.Update();
  EXPECT_EQ(CountOf(rows), 5);
}

TEST_F(JetRecordsetTest, LongValueThatDoesNotFitIsNotRepeatedInTheMessage) {
  AddThree();
  JetRecordset rows(Parts());
  EXPECT_EQ(ErrorOf([&] { rows.SetFieldValue(kCount, std::string(5000, 'x')); }).Description(),
            "The value does not have the type of the field. Table 'Parts', column 'Count'.");
}

TEST_F(JetRecordsetTest, ValueThatDoesNotFitStartsNoEdit) {
  AddThree();
  JetRecordset rows(Parts());
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(kCount, std::string("x")); }), -2147217887);
  Add("d", 4);
  EXPECT_NO_THROW(rows.MoveNext());
}

TEST_F(JetRecordsetTest, TextTooLongIsRefusedWhenItIsAssigned) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kKey, std::string(10, 'x'));
  const Error error = ErrorOf([&] { rows.SetFieldValue(kKey, std::string(11, 'y')); });
  EXPECT_EQ(error.Number(), -2147217887);
  EXPECT_EQ(error.Description(),
            "The field is too small to accept the amount of data you attempted to add. Try inserting or pasting less "
            "data. Table 'Parts', column 'Key'.");
  EXPECT_EQ(KeyOf(rows), std::string(10, 'x'));
}

TEST_F(JetRecordsetTest, TextLengthCountsUtf16Units) {
  AddThree();
  JetRecordset rows(Parts());
  std::string five;
  for (int i = 0; i < 5; ++i) five += "\xF0\x9F\x98\x80";
  EXPECT_NO_THROW(rows.SetFieldValue(kKey, five));
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(kKey, five + "x"); }), -2147217887);
  rows.CancelUpdate();
}

TEST_F(JetRecordsetTest, NullInABooleanIsFalse) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kActive, Null{});
  EXPECT_EQ(rows.FieldValue(kActive), Value(false));
  rows.Update();
  EXPECT_EQ(rows.FieldValue(kActive), Value(false));
}

TEST_F(JetRecordsetTest, EmptyTextStaysAnEmptyText) {
  AddThree();
  JetRecordset rows(Parts());
  rows.SetFieldValue(kKey, std::string());
  rows.SetFieldValue(kNotes, std::string());
  rows.Update();
  EXPECT_EQ(rows.FieldValue(kKey), Value(std::string()));
  EXPECT_EQ(rows.FieldValue(kNotes), Value(std::string()));
}

TEST_F(JetRecordsetTest, FieldsOfARowAreNotThoseOfTheRowBefore) {
  Parts().Insert({std::string("a"), std::int32_t{1}, true, std::string("a memo")});
  Parts().Insert({std::string("b"), Null{}, false, Null{}});
  Parts().Insert({std::string("c"), std::int32_t{3}, true, std::string("another")});
  JetRecordset rows(Parts());
  EXPECT_EQ(rows.FieldValue(kNotes), Value(std::string("a memo")));
  EXPECT_EQ(rows.FieldValue(kCount), Value(std::int32_t{1}));
  rows.MoveNext();
  EXPECT_EQ(rows.FieldValue(kNotes), Value(Null{}));
  EXPECT_EQ(rows.FieldValue(kCount), Value(Null{}));
  EXPECT_EQ(rows.FieldValue(kKey), Value(std::string("b")));
  EXPECT_EQ(rows.FieldValue(kActive), Value(false));
  rows.MoveNext();
  EXPECT_EQ(rows.FieldValue(kCount), Value(std::int32_t{3}));
  EXPECT_EQ(rows.FieldValue(kNotes), Value(std::string("another")));
  rows.SetFieldValue(kNotes, std::string("changed"));
  rows.Update();
  EXPECT_EQ(rows.FieldValue(kNotes), Value(std::string("changed")));
}

TEST_F(JetRecordsetTest, DamagedMemoDoesNotHinderReadingTheOtherFields) {
  Parts().Insert({std::string("a"), 1, true, std::string(5000, 'm')});
  const PageNumber pages = database_->Pages().PageCount();
  for (PageNumber page = 16; page < pages; ++page) {
    Page& bytes = database_->Pages().Write(page);
    const bool holdsLongValues = std::string(bytes.begin() + 4, bytes.begin() + 8) == "LVAL";
    if (holdsLongValues) bytes.fill(0xFF);
  }
  JetRecordset rows(Parts());
  EXPECT_EQ(KeyOf(rows), "a");
  EXPECT_EQ(CountOf(rows), 1);
  rows.Find("Key='A'");
  EXPECT_FALSE(rows.Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(kNotes); }), errors::kJetGeneral);
}

TEST_F(JetRecordsetTest, EveryColumnTypeHasItsFieldTypeAndSize) {
  ColumnSpec decimal = Typed("D", ColumnType::Decimal);
  decimal.precision = 10;
  decimal.scale = 4;
  database_->CreateTable(
      {"Types",
       {Typed("Bl", ColumnType::Boolean), Typed("By", ColumnType::Byte), Typed("I", ColumnType::Integer),
        Typed("L", ColumnType::Long), Typed("C", ColumnType::Currency), Typed("S", ColumnType::Single),
        Typed("F", ColumnType::Double), Typed("T", ColumnType::DateTime), Typed("X", ColumnType::Text, 50),
        Typed("M", ColumnType::Memo), Typed("B", ColumnType::Binary, 60), Typed("O", ColumnType::Ole),
        Typed("G", ColumnType::Guid), decimal},
       {}},
      kCreated);
  JetRecordset rows(database_->OpenTable("types"));
  const std::vector<FieldDefinition> expected = {{"Bl", DataType::Boolean, 0},   {"By", DataType::UnsignedTinyInt, 0},
                                                 {"I", DataType::SmallInt, 0},   {"L", DataType::Integer, 0},
                                                 {"C", DataType::Currency, 0},   {"S", DataType::Single, 0},
                                                 {"F", DataType::Double, 0},     {"T", DataType::Date, 0},
                                                 {"X", DataType::VarWChar, 50},  {"M", DataType::LongVarWChar, 0},
                                                 {"B", DataType::VarBinary, 60}, {"O", DataType::LongVarBinary, 0},
                                                 {"G", DataType::Guid, 0},       {"D", DataType::Numeric, 0}};
  EXPECT_EQ(rows.Fields(), expected);

  const std::vector<Value> values = {true,
                                     std::uint8_t{200},
                                     std::int16_t{-2},
                                     std::int32_t{-70000},
                                     Currency{-125000},
                                     1.5f,
                                     -2.25,
                                     Date{38143.5},
                                     std::string("caf\u00E9"),
                                     std::string(300, 'm'),
                                     Bytes{1, 2, 3},
                                     Bytes(5000, 7),
                                     std::string("{01234567-89AB-CDEF-0123-456789ABCDEF}"),
                                     std::string("-12.5000")};
  rows.AddNew();
  for (std::size_t i = 0; i < values.size(); ++i) rows.SetFieldValue(i, values[i]);
  rows.Update();
  const JetRecordset read(database_->OpenTable("Types"));
  for (std::size_t i = 0; i < values.size(); ++i) EXPECT_EQ(read.FieldValue(i), values[i]) << i;
}

TEST_F(JetRecordsetTest, TextsThatAreNoGuidOrTooManyDigitsAreRefusedWhenAssigned) {
  ColumnSpec decimal = Typed("D", ColumnType::Decimal);
  decimal.precision = 4;
  decimal.scale = 2;
  ColumnSpec binary = Typed("B", ColumnType::Binary, 3);
  database_->CreateTable({"T", {Typed("G", ColumnType::Guid), decimal, binary}, {}}, kCreated);
  JetRecordset rows(database_->OpenTable("T"));
  rows.AddNew();
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(0, std::string("{0123}")); }), -2147217887);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(1, std::string("100")); }), -2147217887);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(2, Bytes(4)); }), -2147217887);
  EXPECT_EQ(rows.FieldValue(0), Value(Null{}));
  rows.SetFieldValue(1, std::string("99.99"));
  rows.Update();
  EXPECT_EQ(rows.FieldValue(1), Value(std::string("99.99")));
}

TEST_F(JetRecordsetTest, AutonumberIsDrawnByUpdate) {
  ColumnSpec id = Typed("Id", ColumnType::Long);
  id.autonumber = true;
  database_->CreateTable({"Numbered", {id, Typed("N", ColumnType::Byte)}, {}}, kCreated);
  JetRecordset rows(database_->OpenTable("Numbered"));
  rows.AddNew();
  EXPECT_EQ(rows.FieldValue(0), Value(Null{}));
  rows.Update();
  EXPECT_EQ(rows.FieldValue(0), Value(std::int32_t{1}));
  rows.AddNew();
  rows.Update();
  EXPECT_EQ(rows.FieldValue(0), Value(std::int32_t{2}));
}

}  // namespace
}  // namespace mv::jet
