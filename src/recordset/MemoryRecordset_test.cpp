#include "recordset/MemoryRecordset.h"

#include <gtest/gtest.h>

#include <random>

#include "base/Error.h"
#include "base/Text.h"
#include "recordset/Conversions.h"
#include "support/ExpectError.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;

MemoryRecordset EmptyTable() {
  return MemoryRecordset({{"KY_RECID", DataType::BStr, 0}, {"NB_MILES", DataType::Integer, 0}});
}

void Add(Recordset& rows, const std::string& key, std::int32_t miles) {
  rows.AddNew();
  rows.SetFieldValue(0, key);
  rows.SetFieldValue(1, miles);
  rows.Update();
}

/// Rows "a" 1, "b" 2, "c" 3; the last one is current, as after every AddNew.
MemoryRecordset ThreeRows() {
  MemoryRecordset rows = EmptyTable();
  Add(rows, "a", 1);
  Add(rows, "b", 2);
  Add(rows, "c", 3);
  return rows;
}

std::string KeyOf(const Recordset& rows) {
  return TextOf(rows.FieldValue(0));
}

std::string KeysOf(Recordset& rows) {
  std::string keys;
  if (rows.Bof() && rows.Eof()) return keys;
  for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext()) keys += KeyOf(rows);
  return keys;
}

TEST(MemoryRecordset, NewRecordsetIsEmptyAtBothEnds) {
  const MemoryRecordset rows = EmptyTable();
  EXPECT_TRUE(rows.Bof());
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(rows.RecordCount(), 0);
}

TEST(MemoryRecordset, NoRowsEveryUseOfTheCurrentRowFails) {
  MemoryRecordset rows = EmptyTable();
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveFirst(); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveLast(); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveNext(); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows.Delete(); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(0); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(0, std::string("x")); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows.Find("KY_RECID='a'"); }), errors::kNoCurrentRecord);
}

TEST(MemoryRecordset, FieldsKeepNameTypeAndOrder) {
  const MemoryRecordset rows = EmptyTable();
  ASSERT_EQ(rows.Fields().size(), 2U);
  EXPECT_EQ(rows.Fields()[0], (FieldDefinition{"KY_RECID", DataType::BStr, 0}));
  EXPECT_EQ(rows.Fields()[1], (FieldDefinition{"NB_MILES", DataType::Integer, 0}));
}

TEST(MemoryRecordset, TwoFieldsOfOneNameAreRefused) {
  EXPECT_EQ(ErrorNumberOf([] {
              MemoryRecordset({{"_D", DataType::Boolean, 0}, {"_d", DataType::Boolean, 0}});
            }),
            errors::kObjectInCollection);
}

TEST(MemoryRecordset, FieldByNameIsFoundWithoutRegardToCase) {
  const MemoryRecordset rows = ThreeRows();
  EXPECT_EQ(rows.FieldIndex("nb_miles"), 1U);
  EXPECT_EQ(rows.FieldValue("Ky_RecId"), Value(std::string("c")));
}

TEST(MemoryRecordset, MissingFieldIsNotInTheCollection) {
  MemoryRecordset rows = ThreeRows();
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldIndex("animal"); }), errors::kItemNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(2); }), errors::kItemNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(2, Null{}); }), errors::kItemNotFound);
}

TEST(MemoryRecordset, AddedRowsAreWalkedInTheirOrder) {
  MemoryRecordset rows = ThreeRows();
  EXPECT_EQ(KeysOf(rows), "abc");
  EXPECT_EQ(rows.RecordCount(), 3);
}

TEST(MemoryRecordset, UpdateOfANewRowMakesItTheCurrentOne) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  Add(rows, "d", 4);
  EXPECT_EQ(KeyOf(rows), "d");
}

TEST(MemoryRecordset, NewRowCountsOnlyOnceSaved) {
  MemoryRecordset rows = EmptyTable();
  rows.AddNew();
  EXPECT_EQ(rows.RecordCount(), 0);
  EXPECT_FALSE(rows.Eof());
  rows.Update();
  EXPECT_EQ(rows.RecordCount(), 1);
}

TEST(MemoryRecordset, FieldsOfANewRowAreNullUntilAssigned) {
  MemoryRecordset rows = EmptyTable();
  rows.AddNew();
  EXPECT_TRUE(IsNull(rows.FieldValue(0)));
  rows.SetFieldValue(0, std::string("a"));
  EXPECT_EQ(rows.FieldValue(0), Value(std::string("a")));
  rows.Update();
  EXPECT_TRUE(IsNull(rows.FieldValue(1)));
}

TEST(MemoryRecordset, RowAddedAtOnceIsTheCurrentOneAndFoundLikeAnyOther) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  rows.Find("KY_RECID='c'");  // there is an index from here on
  rows.SetFieldValue(1, std::int32_t{7});
  rows.AddRow({std::string("d")});
  EXPECT_EQ(KeyOf(rows), "d");
  EXPECT_EQ(rows.FieldValue(1), Value(Null())) << "a missing value is null";
  EXPECT_EQ(KeysOf(rows), "abcd");
  rows.MoveFirst();
  rows.Find("KY_RECID='D'");
  EXPECT_EQ(KeyOf(rows), "d");
  rows.MoveFirst();
  rows.Find("KY_RECID='c'");
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{7})) << "the pending edit was saved first";
}

TEST(MemoryRecordset, AddNewDuringAnEditSavesItFirst) {
  MemoryRecordset rows = EmptyTable();
  rows.AddNew();
  rows.SetFieldValue(0, std::string("a"));
  rows.AddNew();
  rows.SetFieldValue(0, std::string("b"));
  rows.Update();
  EXPECT_EQ(KeysOf(rows), "ab");
}

TEST(MemoryRecordset, EveryMoveSavesThePendingEdit) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  rows.SetFieldValue(0, std::string("A1"));
  rows.MoveNext();
  rows.SetFieldValue(0, std::string("B1"));
  rows.MoveLast();
  rows.SetFieldValue(0, std::string("C1"));
  rows.MoveFirst();
  EXPECT_EQ(KeysOf(rows), "A1B1C1");
}

TEST(MemoryRecordset, FindDuringAnEditSavesItAndSeesIt) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  rows.SetFieldValue(0, std::string("z"));
  rows.Find("KY_RECID='z'");
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{1}));
}

TEST(MemoryRecordset, CancelUpdateDropsTheEdit) {
  MemoryRecordset rows = ThreeRows();
  rows.SetFieldValue(0, std::string("x"));
  rows.CancelUpdate();
  EXPECT_EQ(KeyOf(rows), "c");
  EXPECT_EQ(KeysOf(rows), "abc");
}

TEST(MemoryRecordset, CancelUpdateOfANewRowGoesBackToTheRowBefore) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  rows.AddNew();
  rows.SetFieldValue(0, std::string("x"));
  rows.CancelUpdate();
  EXPECT_EQ(KeyOf(rows), "a");
  EXPECT_EQ(rows.RecordCount(), 3);
}

TEST(MemoryRecordset, UpdateWithoutAnEditDoesNothing) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  rows.Update();
  EXPECT_EQ(KeyOf(rows), "a");
  EXPECT_EQ(rows.RecordCount(), 3);
}

TEST(MemoryRecordset, AssignmentConvertsToTheFieldsType) {
  MemoryRecordset rows = ThreeRows();
  rows.SetFieldValue("NB_MILES", std::string("12"));
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{12}));
}

TEST(MemoryRecordset, FailedAssignmentLeavesTheRowBeingEditedAsItWas) {
  MemoryRecordset rows = ThreeRows();
  rows.SetFieldValue(0, std::string("x"));
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(1, std::string("many")); }), errors::kTypeMismatch);
  EXPECT_EQ(KeyOf(rows), "x");
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{3}));
}

TEST(MemoryRecordset, TextLongerThanTheFieldIsRefusedAndCountedInCharacters) {
  MemoryRecordset rows({{"TX_NAME", DataType::VarWChar, 3}, {"BLOB", DataType::VarBinary, 2}});
  rows.AddNew();
  rows.SetFieldValue(0, std::string("\xC3\xA9\xC3\xA9\xC3\xA9"));
  rows.SetFieldValue(1, Bytes{1, 2});
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(0, std::string("abcd")); }), errors::kJetConstraint);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(1, Bytes{1, 2, 3}); }), errors::kJetConstraint);
  EXPECT_EQ(rows.FieldValue(0), Value(std::string("\xC3\xA9\xC3\xA9\xC3\xA9")));
}

TEST(MemoryRecordset, MoveNextFromTheLastRowIsEofAndNextFails) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveLast();
  rows.MoveNext();
  EXPECT_TRUE(rows.Eof());
  EXPECT_FALSE(rows.Bof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveNext(); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(0); }), errors::kNoCurrentRecord);
}

TEST(MemoryRecordset, DeletedRowStaysCurrentUntilTheNextMove) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  rows.Delete();
  EXPECT_FALSE(rows.Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.FieldValue(0); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows.SetFieldValue(0, Null{}); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { rows.Delete(); }), errors::kNoCurrentRecord);
  rows.MoveNext();
  EXPECT_EQ(KeyOf(rows), "b");
}

TEST(MemoryRecordset, DeletedLastRowIsFollowedByEof) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveLast();
  rows.Delete();
  EXPECT_FALSE(rows.Eof());
  rows.MoveNext();
  EXPECT_TRUE(rows.Eof());
  rows.MoveLast();
  EXPECT_EQ(KeyOf(rows), "b");
}

TEST(MemoryRecordset, RowsDeletedAnywhereAreSkippedByEveryMove) {
  MemoryRecordset rows = ThreeRows();
  Add(rows, "d", 4);
  rows.MoveFirst();
  rows.Delete();
  rows.MoveNext();
  rows.MoveNext();
  rows.Delete();
  EXPECT_EQ(KeysOf(rows), "bd");
  EXPECT_EQ(rows.RecordCount(), 2);
}

TEST(MemoryRecordset, OnlyRowDeletedIsEmptyAtBothEndsAtOnce) {
  MemoryRecordset rows = EmptyTable();
  Add(rows, "a", 1);
  rows.Delete();
  EXPECT_TRUE(rows.Bof());
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveFirst(); }), errors::kNoCurrentRecord);
}

TEST(MemoryRecordset, MoveNextFromTheOnlyRowDeletedIsNoErrorOnce) {
  MemoryRecordset rows = EmptyTable();
  Add(rows, "a", 1);
  rows.Delete();
  rows.MoveNext();
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.MoveNext(); }), errors::kNoCurrentRecord);
}

TEST(MemoryRecordset, LoopThatDeletesEveryRowEndsEmpty) {
  MemoryRecordset rows = ThreeRows();
  for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext()) rows.Delete();
  EXPECT_EQ(rows.RecordCount(), 0);
}

TEST(MemoryRecordset, RowAddedAfterAllWereDeletedIsTheOnlyRow) {
  MemoryRecordset rows = EmptyTable();
  Add(rows, "a", 1);
  rows.Delete();
  Add(rows, "b", 2);
  EXPECT_EQ(KeysOf(rows), "b");
}

TEST(MemoryRecordset, DeleteDuringAnEditDeletesTheRow) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  rows.SetFieldValue(0, std::string("x"));
  rows.Delete();
  EXPECT_EQ(KeysOf(rows), "bc");
}

TEST(MemoryRecordset, DeleteOfAnUnsavedNewRowFails) {
  MemoryRecordset rows = ThreeRows();
  rows.AddNew();
  EXPECT_EQ(ErrorNumberOf([&] { rows.Delete(); }), errors::kNoCurrentRecord);
}

TEST(MemoryRecordset, FindStopsAtTheFirstMatchFromTheCurrentRowOn) {
  MemoryRecordset rows = ThreeRows();
  Add(rows, "b", 4);
  rows.MoveFirst();
  rows.Find("KY_RECID='b'");
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{2}));
  rows.Find("KY_RECID='b'");
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{2}));
  rows.MoveNext();
  rows.Find("KY_RECID='b'");
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{4}));
}

TEST(MemoryRecordset, FindWithoutAMatchLeavesEof) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  rows.Find("KY_RECID='x'");
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(ErrorNumberOf([&] { rows.Find("KY_RECID='a'"); }), errors::kNoCurrentRecord);
}

TEST(MemoryRecordset, FindBehindTheOnlyMatchLeavesEof) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveLast();
  rows.Find("KY_RECID='a'");
  EXPECT_TRUE(rows.Eof());
}

TEST(MemoryRecordset, FindComparesWithoutRegardToCase) {
  MemoryRecordset rows = EmptyTable();
  Add(rows, "\xC3\x89mile", 1);
  rows.Find("ky_recid='\xC3\xA9MILE'");
  EXPECT_FALSE(rows.Eof());
}

TEST(MemoryRecordset, FindTakesBlanksAndAccentsSeriously) {
  MemoryRecordset rows = EmptyTable();
  Add(rows, "Emile ", 1);
  rows.Find("KY_RECID='Emile'");
  EXPECT_TRUE(rows.Eof());
}

TEST(MemoryRecordset, FindOfTheEmptyTextMeetsEmptyAndNullFields) {
  MemoryRecordset rows = ThreeRows();
  Add(rows, "", 4);
  rows.MoveFirst();
  rows.Find("KY_RECID=''");
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{4}));
  rows.SetFieldValue(0, Null{});
  rows.MoveFirst();
  rows.Find("KY_RECID=''");
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{4}));
}

TEST(MemoryRecordset, FindOnANumberFieldComparesItsText) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  rows.Find("NB_MILES='2'");
  EXPECT_EQ(KeyOf(rows), "b");
}

TEST(MemoryRecordset, FindFromADeletedRowSearchesTheRowsBehindIt) {
  MemoryRecordset rows = ThreeRows();
  rows.MoveFirst();
  rows.Delete();
  rows.Find("KY_RECID='c'");
  EXPECT_EQ(KeyOf(rows), "c");
}

TEST(MemoryRecordset, MalformedCriterionFailsAndStaysOnTheRow) {
  MemoryRecordset rows = ThreeRows();
  EXPECT_EQ(ErrorNumberOf([&] { rows.Find("KY_RECID='O'Brien'"); }), errors::kRecordsetArgument);
  EXPECT_EQ(KeyOf(rows), "c");
}

TEST(MemoryRecordset, FindOnAnUnknownFieldIsNotInTheCollection) {
  MemoryRecordset rows = ThreeRows();
  EXPECT_EQ(ErrorNumberOf([&] { rows.Find("animal='cat'"); }), errors::kItemNotFound);
}

/// The same rows as a plain list: what Find and the moves must answer, found by scanning.
class ScanModel {
 public:
  void Add(const std::string& key) {
    rows_.push_back({key, true});
    current_ = rows_.size() - 1;
  }
  void Assign(const std::string& key) { rows_[current_].key = key; }
  void Delete() { rows_[current_].live = false; }
  void MoveFirst() { current_ = NextLive(0); }
  void MoveNext() { current_ = NextLive(current_ + 1); }
  void Find(const std::string& text) {
    current_ = NextLive(current_);
    while (!AtEnd() && FoldCase(rows_[current_].key) != FoldCase(text)) MoveNext();
  }
  bool AtEnd() const { return current_ >= rows_.size(); }
  bool OnLiveRow() const { return !AtEnd() && rows_[current_].live; }
  std::size_t LiveRows() const {
    std::size_t count = 0;
    for (const Row& row : rows_) count += row.live ? 1 : 0;
    return count;
  }
  std::size_t Current() const { return current_; }

 private:
  struct Row {
    std::string key;
    bool live;
  };
  std::size_t NextLive(std::size_t row) const {
    while (row < rows_.size() && !rows_[row].live) ++row;
    return row;
  }
  std::vector<Row> rows_;
  std::size_t current_ = 0;
};

/// Drives a recordset and its model alike; NB_MILES holds the row's position in the model.
/// Row i has the letter at i for its key and the number i.
class LetterRows : public StoredRows {
 public:
  explicit LetterRows(std::string letters) : letters_(std::move(letters)) {}

  std::size_t Count() const override { return letters_.size(); }
  void ReadRow(std::size_t row, std::vector<Value>& values) const override {
    values.resize(2);
    ReadField(row, 0, values[0]);
    ReadField(row, 1, values[1]);
  }
  void ReadField(std::size_t row, std::size_t field, Value& value) const override {
    value = field == 0 ? Value(std::string(1, letters_[row])) : Value(static_cast<std::int32_t>(row));
  }

 private:
  std::string letters_;
};

MemoryRecordset StoredLetters(const std::string& letters) {
  return MemoryRecordset(EmptyTable().Fields(), std::make_unique<LetterRows>(letters));
}

TEST(MemoryRecordset, StoredRowsStandAsIfTheyHadBeenAdded) {
  MemoryRecordset rows = StoredLetters("abc");
  EXPECT_EQ(KeyOf(rows), "c");
  EXPECT_EQ(rows.RecordCount(), 3);
  EXPECT_EQ(KeysOf(rows), "abc");
}

TEST(MemoryRecordset, EditedStoredRowIsFoundByItsNewKeyAlone) {
  MemoryRecordset rows = StoredLetters("abc");
  rows.MoveFirst();
  rows.Find("KY_RECID='b'");
  rows.SetFieldValue(0, std::string("x"));
  rows.Update();
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{1})) << "the field that was not assigned";
  EXPECT_EQ(KeysOf(rows), "axc");
  rows.MoveFirst();
  rows.Find("KY_RECID='x'");
  EXPECT_EQ(rows.FieldValue(1), Value(std::int32_t{1}));
  rows.MoveFirst();
  rows.Find("KY_RECID='b'");
  EXPECT_TRUE(rows.Eof());
}

TEST(MemoryRecordset, StoredRowIsCurrentUntilItIsEditedOrDeleted) {
  MemoryRecordset rows = StoredLetters("abc");
  EXPECT_EQ(rows.CurrentStoredRow(), 2U);
  rows.MoveFirst();
  rows.MoveNext();
  EXPECT_EQ(rows.CurrentStoredRow(), 1U);
  rows.SetFieldValue(0, std::string("x"));
  EXPECT_FALSE(rows.CurrentStoredRow()) << "being edited";
  rows.CancelUpdate();
  EXPECT_EQ(rows.CurrentStoredRow(), 1U);
  rows.SetFieldValue(0, std::string("x"));
  rows.Update();
  EXPECT_FALSE(rows.CurrentStoredRow()) << "edited";
  rows.MoveNext();
  rows.Delete();
  EXPECT_FALSE(rows.CurrentStoredRow()) << "deleted";
  rows.MoveNext();
  EXPECT_FALSE(rows.CurrentStoredRow()) << "at the end";
  rows.AddNew();
  rows.Update();
  EXPECT_FALSE(rows.CurrentStoredRow()) << "added";
}

class IndexAgainstScan {
 public:
  /// Every other seed begins with stored rows.
  explicit IndexAgainstScan(unsigned seed) : random_(seed) {
    if (seed % 2 == 0) return;
    const std::string letters = "abcBAaa";
    rows_ = StoredLetters(letters);
    for (const char letter : letters) model_.Add(std::string(1, letter));
    added_ = static_cast<std::int32_t>(letters.size());
  }

  void Step() {
    switch (Random(6)) {
      case 0:
        return AddRow();
      case 1:
        return Reassign();
      case 2:
        return DeleteRow();
      case 3:
        return Move();
      default:
        return Find();
    }
  }

  void ExpectSame() {
    ASSERT_EQ(rows_.RecordCount(), static_cast<std::int64_t>(model_.LiveRows()));
    ASSERT_EQ(rows_.Eof(), model_.LiveRows() == 0 || model_.AtEnd());
    if (!model_.OnLiveRow()) return;
    ASSERT_EQ(rows_.FieldValue(1), Value(static_cast<std::int32_t>(model_.Current())));
  }

 private:
  unsigned Random(unsigned below) { return std::uniform_int_distribution<unsigned>(0, below - 1)(random_); }
  /// Few keys, so that most occur several times, in both cases.
  std::string RandomKey() { return std::string(1, "abcABC"[Random(6)]); }

  void AddRow() {
    const std::string key = RandomKey();
    rows_.AddNew();
    rows_.SetFieldValue(0, key);
    rows_.SetFieldValue(1, added_++);
    rows_.Update();
    model_.Add(key);
  }
  void Reassign() {
    if (!model_.OnLiveRow()) return;
    const std::string key = RandomKey();
    rows_.SetFieldValue(0, key);
    rows_.Update();
    model_.Assign(key);
  }
  void DeleteRow() {
    if (!model_.OnLiveRow()) return;
    rows_.Delete();
    model_.Delete();
  }
  void Move() {
    if (model_.LiveRows() == 0) return;
    if (model_.AtEnd() || Random(2) == 0) {
      rows_.MoveFirst();
      model_.MoveFirst();
    } else {
      rows_.MoveNext();
      model_.MoveNext();
    }
  }
  void Find() {
    if (model_.LiveRows() == 0 || model_.AtEnd()) return;
    const std::string key = RandomKey();
    rows_.Find("KY_RECID='" + key + "'");
    model_.Find(key);
  }

  std::mt19937 random_;
  MemoryRecordset rows_ = EmptyTable();
  ScanModel model_;
  std::int32_t added_ = 0;
};

TEST(MemoryRecordset, IndexedFindAnswersAsAScanDoes) {
  for (unsigned seed = 1; seed <= 50; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    IndexAgainstScan pair(seed);
    for (int step = 0; step < 400; ++step) {
      pair.Step();
      ASSERT_NO_FATAL_FAILURE(pair.ExpectSame());
    }
  }
}

TEST(MemoryRecordset, MatchAndDeleteOfEveryRowEndsEmpty) {
  MemoryRecordset rows = EmptyTable();
  constexpr std::int32_t kRows = 65535;
  for (std::int32_t i = 0; i < kRows; ++i) Add(rows, std::to_string(i), i);
  for (std::int32_t i = kRows; i-- > 0;) {
    rows.MoveFirst();
    rows.Find("KY_RECID='" + std::to_string(i) + "'");
    ASSERT_EQ(rows.FieldValue(1), Value(i));
    rows.Delete();
  }
  EXPECT_EQ(rows.RecordCount(), 0);
}

}  // namespace
}  // namespace mv
