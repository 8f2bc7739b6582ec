#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/Error.h"
#include "recordset/Conversions.h"
#include "recordset/Recordset.h"
#include "support/ExpectError.h"

namespace mv::testing {

/// A table to open: KEY (text of up to 10 characters), COUNT (32-bit integer), ACTIVE (Boolean), NOTES (long text).
class ContractTable {
 public:
  virtual ~ContractTable() = default;
  /// Opens the table with a row for each key, in this order; the first has COUNT 1, the next 2 and so on.
  virtual std::unique_ptr<Recordset> Open(const std::vector<std::string>& keys) = 0;

  static std::vector<FieldDefinition> Fields() {
    return {{"KEY", DataType::VarWChar, 10},
            {"COUNT", DataType::Integer, 0},
            {"ACTIVE", DataType::Boolean, 0},
            {"NOTES", DataType::LongVarWChar, 0}};
  }
};

using MakeContractTable = std::unique_ptr<ContractTable> (*)();

/// What recordset/Recordset.h promises, for every class that implements it: each has its own INSTANTIATE_TEST_SUITE_P.
class RecordsetContract : public ::testing::TestWithParam<MakeContractTable> {
 protected:
  enum Field : std::size_t { kKey, kCount, kActive, kNotes };

  void Open(const std::vector<std::string>& keys) { rows_ = table_->Open(keys); }
  std::string Key() const { return TextOf(rows_->FieldValue(kKey)); }
  Value Count() const { return rows_->FieldValue(kCount); }
  void Add(const std::string& key) {
    rows_->AddNew();
    rows_->SetFieldValue(kKey, key);
    rows_->Update();
  }
  /// The keys in order; leaves the recordset at its end.
  std::string Keys() {
    std::string keys;
    if (rows_->Bof() && rows_->Eof()) return keys;
    for (rows_->MoveFirst(); !rows_->Eof(); rows_->MoveNext()) keys += Key();
    return keys;
  }
  std::int32_t ErrorOfReading() {
    return ErrorNumberOf([this] { rows_->FieldValue(kKey); });
  }
  std::int32_t ErrorOfAssigning() {
    return ErrorNumberOf([this] { rows_->SetFieldValue(kCount, std::int32_t{9}); });
  }
  std::int32_t ErrorOfDeleting() {
    return ErrorNumberOf([this] { rows_->Delete(); });
  }

  std::unique_ptr<ContractTable> table_ = GetParam()();
  std::unique_ptr<Recordset> rows_;
};

TEST_P(RecordsetContract, FieldsAreThoseOfTheTable) {
  Open({"a"});
  EXPECT_EQ(rows_->Fields(), ContractTable::Fields());
}

TEST_P(RecordsetContract, OpeningMakesTheFirstRowCurrent) {
  Open({"a", "b"});
  EXPECT_FALSE(rows_->Bof());
  EXPECT_FALSE(rows_->Eof());
  EXPECT_EQ(Key(), "a");
  EXPECT_EQ(rows_->RecordCount(), 2);
}

TEST_P(RecordsetContract, OpeningAnEmptyTableIsAtBothEnds) {
  Open({});
  EXPECT_TRUE(rows_->Bof());
  EXPECT_TRUE(rows_->Eof());
  EXPECT_EQ(rows_->RecordCount(), 0);
  EXPECT_EQ(ErrorOfReading(), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorOfAssigning(), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorOfDeleting(), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows_->MoveFirst(); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows_->MoveLast(); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows_->MoveNext(); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows_->Find("KEY='a'"); }), errors::kNoCurrentRecord);
}

TEST_P(RecordsetContract, MovesWalkToTheEndAndBack) {
  Open({"a", "b", "c"});
  EXPECT_EQ(Keys(), "abc");
  EXPECT_TRUE(rows_->Eof());
  EXPECT_FALSE(rows_->Bof());
  EXPECT_EQ(ErrorNumberOf([&] { rows_->MoveNext(); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorOfReading(), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorOfAssigning(), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorOfDeleting(), errors::kNoCurrentRecord);
  rows_->MoveLast();
  EXPECT_EQ(Key(), "c");
  rows_->MoveFirst();
  EXPECT_EQ(Key(), "a");
}

TEST_P(RecordsetContract, AskingForTheEndsAtTheEndChangesNothing) {
  Open({"a"});
  rows_->MoveNext();
  EXPECT_FALSE(rows_->Bof());
  EXPECT_TRUE(rows_->Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows_->MoveNext(); }), errors::kNoCurrentRecord);
}

TEST_P(RecordsetContract, FieldsAreFoundByNameInAnyCase) {
  Open({"a"});
  EXPECT_EQ(rows_->FieldValue("key"), Value(std::string("a")));
  rows_->SetFieldValue("cOUNT", std::int32_t{7});
  EXPECT_EQ(Count(), Value(std::int32_t{7}));
}

TEST_P(RecordsetContract, PeekedFieldIsTheField) {
  Open({"a", "b"});
  Value room;
  EXPECT_EQ(rows_->PeekField(kKey, room), Value(std::string("a")));
  rows_->MoveNext();
  EXPECT_EQ(rows_->PeekField(kKey, room), Value(std::string("b")));
  rows_->SetFieldValue(kKey, std::string("c"));
  EXPECT_EQ(rows_->PeekField(kKey, room), Value(std::string("c")));
  rows_->AddNew();
  EXPECT_EQ(rows_->PeekField(kCount, room), Value(Null()));
  EXPECT_EQ(ErrorNumberOf([&] { rows_->PeekField(9, room); }), errors::kItemNotFound);
}

TEST_P(RecordsetContract, FieldThatIsNotThereRaises3265) {
  Open({"a"});
  EXPECT_EQ(ErrorNumberOf([&] { rows_->FieldValue("animal"); }), errors::kItemNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { rows_->FieldValue(4); }), errors::kItemNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { rows_->SetFieldValue(4, Null{}); }), errors::kItemNotFound);
}

TEST_P(RecordsetContract, AssignedFieldReadsAsAssignedAndTheOthersStay) {
  Open({"a"});
  rows_->SetFieldValue(kCount, std::int32_t{5});
  EXPECT_EQ(Count(), Value(std::int32_t{5}));
  EXPECT_EQ(Key(), "a");
  rows_->Update();
  EXPECT_EQ(Count(), Value(std::int32_t{5}));
  EXPECT_EQ(Key(), "a");
}

TEST_P(RecordsetContract, AssignedValueTakesTheFieldsType) {
  Open({"a"});
  rows_->SetFieldValue(kCount, std::string("12"));
  rows_->SetFieldValue(kActive, std::int32_t{1});
  rows_->SetFieldValue(kKey, std::int32_t{42});
  EXPECT_EQ(Count(), Value(std::int32_t{12}));
  EXPECT_EQ(rows_->FieldValue(kActive), Value(true));
  EXPECT_EQ(rows_->FieldValue(kKey), Value(std::string("42")));
}

TEST_P(RecordsetContract, ValueThatDoesNotFitLeavesTheEditAsItWas) {
  Open({"a", "b"});
  rows_->SetFieldValue(kCount, std::int32_t{5});
  EXPECT_THROW(rows_->SetFieldValue(kCount, std::string("twelve")), Error);
  EXPECT_THROW(rows_->SetFieldValue(kKey, std::string("elevenchars")), Error);
  rows_->MoveNext();
  rows_->MoveFirst();
  EXPECT_EQ(Count(), Value(std::int32_t{5}));
  EXPECT_EQ(Key(), "a");
}

TEST_P(RecordsetContract, ValueThatDoesNotFitStartsNoEdit) {
  Open({"a", "b"});
  EXPECT_THROW(rows_->SetFieldValue(kKey, std::string("elevenchars")), Error);
  EXPECT_EQ(Key(), "a");
  rows_->MoveNext();
  EXPECT_EQ(Keys(), "ab");
}

TEST_P(RecordsetContract, TextIsKeptWhole) {
  Open({"a"});
  const std::string text = std::string("caf\xC3\xA9 \xE2\x84\xA2 \xF0\x9F\x9A\x97 \0 end", 20);
  rows_->SetFieldValue(kNotes, text + std::string(100000, 'x'));
  rows_->Update();
  rows_->MoveFirst();
  EXPECT_EQ(rows_->FieldValue(kNotes), Value(text + std::string(100000, 'x')));
}

TEST_P(RecordsetContract, NullsAndEmptyTextsStayApart) {
  Open({"a"});
  rows_->SetFieldValue(kCount, Null{});
  rows_->SetFieldValue(kNotes, std::string());
  rows_->Update();
  rows_->MoveFirst();
  EXPECT_EQ(Count(), Value(Null{}));
  EXPECT_EQ(rows_->FieldValue(kNotes), Value(std::string()));
}

TEST_P(RecordsetContract, EveryMoveAndAddNewAndFindSaveAPendingEdit) {
  Open({"a", "b", "c"});
  rows_->SetFieldValue(kKey, std::string("A1"));
  rows_->MoveNext();
  rows_->SetFieldValue(kKey, std::string("B1"));
  rows_->MoveLast();
  rows_->SetFieldValue(kKey, std::string("C1"));
  rows_->MoveFirst();
  rows_->SetFieldValue(kCount, std::int32_t{8});
  rows_->AddNew();
  rows_->SetFieldValue(kKey, std::string("D1"));
  rows_->MoveFirst();
  EXPECT_EQ(Count(), Value(std::int32_t{8}));
  rows_->SetFieldValue(kKey, std::string("A2"));
  rows_->Find("KEY='B1'");
  EXPECT_EQ(Keys(), "A2B1C1D1");
}

TEST_P(RecordsetContract, AddNewDuringAddNewSavesTheFirstRow) {
  Open({});
  rows_->AddNew();
  rows_->SetFieldValue(kKey, std::string("a"));
  rows_->AddNew();
  rows_->SetFieldValue(kKey, std::string("b"));
  rows_->Update();
  EXPECT_EQ(Keys(), "ab");
}

TEST_P(RecordsetContract, UpdateWithoutAnEditDoesNothing) {
  Open({"a"});
  rows_->Update();
  EXPECT_EQ(Key(), "a");
  rows_->MoveNext();
  EXPECT_NO_THROW(rows_->Update());
}

TEST_P(RecordsetContract, SavedNewRowIsTheCurrentOne) {
  Open({"a", "b"});
  Add("c");
  EXPECT_EQ(Key(), "c");
  EXPECT_EQ(rows_->RecordCount(), 3);
  rows_->MoveNext();
  EXPECT_TRUE(rows_->Eof());
  EXPECT_EQ(Keys(), "abc");
}

TEST_P(RecordsetContract, NewRowIsAtNeitherEndAndDoesNotCountUntilSaved) {
  Open({});
  rows_->AddNew();
  EXPECT_FALSE(rows_->Bof());
  EXPECT_FALSE(rows_->Eof());
  EXPECT_EQ(rows_->RecordCount(), 0);
  EXPECT_EQ(rows_->FieldValue(kKey), Value(Null{}));
  rows_->Update();
  EXPECT_EQ(rows_->RecordCount(), 1);
}

TEST_P(RecordsetContract, RowAddedAtTheEndIsTheCurrentOne) {
  Open({"a"});
  rows_->MoveNext();
  Add("b");
  EXPECT_FALSE(rows_->Eof());
  EXPECT_EQ(Key(), "b");
}

TEST_P(RecordsetContract, NewRowCannotBeDeletedBeforeItIsSaved) {
  Open({"a"});
  rows_->AddNew();
  EXPECT_EQ(ErrorOfDeleting(), errors::kNoCurrentRecord);
}

TEST_P(RecordsetContract, CancelUpdateDropsAnEdit) {
  Open({"a", "b"});
  rows_->SetFieldValue(kCount, std::int32_t{5});
  rows_->CancelUpdate();
  EXPECT_EQ(Count(), Value(std::int32_t{1}));
  rows_->MoveNext();
  rows_->MoveFirst();
  EXPECT_EQ(Count(), Value(std::int32_t{1}));
  EXPECT_NO_THROW(rows_->CancelUpdate());
}

TEST_P(RecordsetContract, CancelUpdateOfANewRowMakesTheRowBeforeCurrentAgain) {
  Open({"a", "b", "c"});
  rows_->MoveNext();
  rows_->AddNew();
  rows_->SetFieldValue(kKey, std::string("d"));
  rows_->CancelUpdate();
  EXPECT_EQ(Key(), "b");
  EXPECT_EQ(Keys(), "abc");
}

TEST_P(RecordsetContract, CancelUpdateOfANewRowAtTheEndIsAtTheEndAgain) {
  Open({"a"});
  rows_->MoveNext();
  rows_->AddNew();
  rows_->CancelUpdate();
  EXPECT_TRUE(rows_->Eof());
  EXPECT_EQ(ErrorOfReading(), errors::kNoCurrentRecord);
}

TEST_P(RecordsetContract, CancelUpdateOfANewRowOnADeletedOneIsOnTheDeletedOneAgain) {
  Open({"a", "b"});
  rows_->Delete();
  rows_->AddNew();
  rows_->CancelUpdate();
  EXPECT_EQ(ErrorOfReading(), errors::kNoCurrentRecord);
  rows_->MoveNext();
  EXPECT_EQ(Key(), "b");
}

TEST_P(RecordsetContract, DeletedRowStaysCurrentUntilTheNextMove) {
  Open({"a", "b", "c"});
  rows_->MoveNext();
  rows_->Delete();
  EXPECT_FALSE(rows_->Eof());
  EXPECT_FALSE(rows_->Bof());
  EXPECT_EQ(ErrorOfReading(), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorOfAssigning(), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorOfDeleting(), errors::kNoCurrentRecord);
  EXPECT_EQ(rows_->RecordCount(), 2);
  rows_->MoveNext();
  EXPECT_EQ(Key(), "c");
  EXPECT_EQ(Keys(), "ac");
}

TEST_P(RecordsetContract, LastRowInOrderDeletedIsNotTheEnd) {
  Open({"a", "b"});
  rows_->MoveLast();
  rows_->Delete();
  EXPECT_FALSE(rows_->Bof());
  EXPECT_FALSE(rows_->Eof());
  EXPECT_EQ(ErrorOfReading(), errors::kNoCurrentRecord);
  rows_->MoveNext();
  EXPECT_TRUE(rows_->Eof());
  EXPECT_EQ(Keys(), "a");
}

TEST_P(RecordsetContract, OnlyRowDeletedIsAtBothEndsAtOnce) {
  Open({"a"});
  rows_->Delete();
  EXPECT_TRUE(rows_->Bof());
  EXPECT_TRUE(rows_->Eof());
  EXPECT_EQ(rows_->RecordCount(), 0);
  EXPECT_EQ(ErrorNumberOf([&] { rows_->MoveFirst(); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows_->MoveLast(); }), errors::kNoCurrentRecord);
}

TEST_P(RecordsetContract, MoveNextFromTheOnlyRowDeletedIsNoErrorOnce) {
  Open({"a"});
  rows_->Delete();
  rows_->MoveNext();
  EXPECT_TRUE(rows_->Eof());
  EXPECT_TRUE(rows_->Bof());
  EXPECT_EQ(ErrorNumberOf([&] { rows_->MoveNext(); }), errors::kNoCurrentRecord);
}

TEST_P(RecordsetContract, LoopMayDeleteAsItGoes) {
  Open({"a", "b", "c"});
  for (rows_->MoveFirst(); !rows_->Eof(); rows_->MoveNext()) rows_->Delete();
  EXPECT_TRUE(rows_->Bof());
  EXPECT_EQ(rows_->RecordCount(), 0);
}

TEST_P(RecordsetContract, RowAddedAfterTheLastWasDeletedIsTheOnlyOne) {
  Open({"a"});
  rows_->Delete();
  Add("b");
  EXPECT_FALSE(rows_->Bof());
  EXPECT_FALSE(rows_->Eof());
  EXPECT_EQ(Keys(), "b");
}

TEST_P(RecordsetContract, DeleteDropsAPendingEdit) {
  Open({"a", "b"});
  rows_->SetFieldValue(kCount, std::int32_t{5});
  rows_->Delete();
  rows_->MoveNext();
  EXPECT_EQ(Keys(), "b");
}

TEST_P(RecordsetContract, FindStartsAtTheCurrentRow) {
  Open({"a", "b", "c"});
  rows_->Find("KEY='b'");
  EXPECT_EQ(Key(), "b");
  rows_->Find("KEY='b'");
  EXPECT_EQ(Key(), "b");
  rows_->Find("KEY='a'");
  EXPECT_TRUE(rows_->Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows_->Find("KEY='a'"); }), errors::kNoCurrentRecord);
}

TEST_P(RecordsetContract, FindComparesTextWithoutRegardToCaseOnly) {
  Open({"Emile ", "\xC3\x89mile"});
  rows_->Find("key='\xC3\xA9MILE'");
  EXPECT_EQ(Count(), Value(std::int32_t{2}));
}

TEST_P(RecordsetContract, FindTakesADoubledQuoteForOne) {
  Open({"a", "O'Brien"});
  rows_->Find("KEY='o''brien'");
  EXPECT_EQ(Key(), "O'Brien");
}

TEST_P(RecordsetContract, FindComparesTheTextOfNumbersAndNulls) {
  Open({"a", "b", "c"});
  rows_->Find("COUNT='2'");
  EXPECT_EQ(Key(), "b");
  rows_->SetFieldValue(kCount, Null{});
  rows_->MoveFirst();
  rows_->Find("COUNT=''");
  EXPECT_EQ(Key(), "b");
}

TEST_P(RecordsetContract, FindFromADeletedRowSearchesTheRowsBehindIt) {
  Open({"a", "b", "c"});
  rows_->Delete();
  rows_->Find("KEY='a'");
  EXPECT_TRUE(rows_->Eof());
  rows_->MoveFirst();
  rows_->Delete();
  rows_->Find("KEY='c'");
  EXPECT_EQ(Key(), "c");
}

TEST_P(RecordsetContract, FindThatCannotBeReadStaysOnItsRow) {
  Open({"a", "b"});
  EXPECT_EQ(ErrorNumberOf([&] { rows_->Find("KEY='O'Brien'"); }), errors::kRecordsetArgument);
  EXPECT_EQ(ErrorNumberOf([&] { rows_->Find("animal='cat'"); }), errors::kItemNotFound);
  EXPECT_EQ(Key(), "a");
}

}  // namespace mv::testing
