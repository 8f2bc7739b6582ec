#include "sync/clsSyncPolicy.h"

#include <gtest/gtest.h>

#include "base/Error.h"
#include "recordset/Conversions.h"
#include "recordset/MemoryRecordset.h"
#include "support/ExpectError.h"
#include "support/FakeClock.h"
#include "sync/KeyClasses.h"
#include "sync/clsSyncableRS_ADO.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;

/// A table of the fields KY_RECID and TX_TEXT whose first moves are written down.
class TracedRecordset : public MemoryRecordset {
 public:
  using MemoryRecordset::MemoryRecordset;

  void MoveFirst() override {
    moves += "first ";
    MemoryRecordset::MoveFirst();
  }
  void MoveLast() override {
    moves += "last ";
    MemoryRecordset::MoveLast();
  }

  std::string moves;
};

std::vector<FieldDefinition> TableFields() {
  return {{"KY_RECID", DataType::BStr, 0}, {"TX_TEXT", DataType::BStr, 0}};
}

std::vector<FieldDefinition> FlaggedTableFields() {
  return {{"KY_RECID", DataType::BStr, 0},
          {"TX_TEXT", DataType::BStr, 0},
          {"_D", DataType::Boolean, 0},
          {"_M", DataType::Boolean, 0}};
}

void AddRow(Recordset& rows, const std::vector<Value>& values) {
  rows.AddNew();
  for (std::size_t i = 0; i < values.size(); ++i) rows.SetFieldValue(i, values[i]);
  rows.Update();
}

std::string RowText(const Recordset& row) {
  return TextOf(row.FieldValue(0)) + "=" + TextOf(row.FieldValue(1));
}

/// "a=1 b=2 ": the rows in order.
std::string RowTexts(Recordset& rows) {
  std::string texts;
  if (rows.RecordCount() == 0) return texts;
  for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext()) texts += RowText(rows) + " ";
  return texts;
}

/// The handheld's side: a recordset with flags, matched by KY_RECID.
class DeviceSide : public clsSyncableRS_ADO {
 public:
  std::string keyCriteria(const Recordset& rs) const override { return clsKeyInfo_Fuel().Criteria(rs); }
  bool RecordIsDeleted() const override { return Flag("_D"); }
  bool RecordIsModified() const override { return Flag("_M"); }
  std::int16_t nSyncableFields() const override { return 2; }

 private:
  bool Flag(std::string_view name) const { return adors().FieldValue(name) == Value(true); }
};

/// The table file that is written: keeps the text of each record, and what the desktop's current row and the number of
/// its saved rows were then.
class OutputSide : public clsSyncableRS_ADO {
 public:
  explicit OutputSide(const Recordset& desktop) : desktop_(desktop) {}

  bool copyRecordToNative(ISyncableRS& source) override {
    records += RowText(source.adors()) + " ";
    desktopRowThen = desktop_.Eof() ? "eof" : RowText(desktop_);
    savedRowsThen = desktop_.RecordCount();
    return false;
  }

  std::string records;
  std::string desktopRowThen;
  std::int64_t savedRowsThen = 0;

 private:
  const Recordset& desktop_;
};

enum class Flags { None, Modified, Deleted, DeletedAndModified };

class SyncPolicy : public ::testing::Test {
 protected:
  SyncPolicy() {
    deviceSide_.SetADORS(device_);
    desktopSide_.SetADORS(desktop_);
  }

  void OnDesktop(const std::string& key, const std::string& text) { AddRow(desktop_, {key, text}); }
  void OnDevice(const std::string& key, const std::string& text, Flags flags = Flags::None) {
    const bool deleted = flags == Flags::Deleted || flags == Flags::DeletedAndModified;
    const bool modified = flags == Flags::Modified || flags == Flags::DeletedAndModified;
    AddRow(device_, {key, text, deleted, modified});
  }
  bool Sync(RunMode mode = RunMode::Synchronize) {
    if (desktop_.RecordCount() > 0) desktop_.MoveFirst();
    desktop_.moves.clear();
    mode_ = mode;
    return clsSyncPolicy(context_).Sync(deviceSide_, desktopSide_, output_);
  }

  RunMode mode_ = RunMode::Synchronize;
  std::string folder_;
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
  platform::SystemShell shell_;
  testing::FakeClock clock_;
  SyncContext context_{mode_, folder_, [] {}, [](const std::string&) {}, *files_, shell_, clock_};

  MemoryRecordset device_{FlaggedTableFields()};
  TracedRecordset desktop_{TableFields()};
  DeviceSide deviceSide_;
  clsSyncableRS_ADO desktopSide_;
  OutputSide output_{desktop_};
};

struct Decision {
  const char* name;
  bool onDesktop;
  bool onDevice;
  Flags flags;
  const char* desktopAfter;
  const char* output;
  const char* deviceAfter;
};

/// What becomes of one key in modes 0 and 1. The handheld's recordset is empty in mode 1, so only the first row can
/// happen there; the merge itself makes no difference between the two.
constexpr Decision kDecisions[] = {
    {"DesktopOnly", true, false, Flags::None, "k=desktop ", "k=desktop ", ""},
    {"BothUnflagged", true, true, Flags::None, "k=desktop ", "k=desktop ", ""},
    {"BothModified", true, true, Flags::Modified, "k=device ", "k=device ", ""},
    {"BothDeleted", true, true, Flags::Deleted, "", "", "k=device "},
    {"BothDeletedAndModified", true, true, Flags::DeletedAndModified, "", "", "k=device "},
    {"DeviceOnlyUnflagged", false, true, Flags::None, "", "", "k=device "},
    {"DeviceOnlyModified", false, true, Flags::Modified, "k=device ", "k=device ", "k=device "},
    {"DeviceOnlyDeleted", false, true, Flags::Deleted, "", "", "k=device "},
    {"DeviceOnlyDeletedAndModified", false, true, Flags::DeletedAndModified, "", "", "k=device "},
    {"Neither", false, false, Flags::None, "", "", ""},
};

/// The same in mode 2: an unflagged row that only the handheld has is kept.
constexpr Decision kOverwritePcDecisions[] = {
    {"DesktopOnly", true, false, Flags::None, "k=desktop ", "k=desktop ", ""},
    {"BothUnflagged", true, true, Flags::None, "k=desktop ", "k=desktop ", ""},
    {"BothModified", true, true, Flags::Modified, "k=device ", "k=device ", ""},
    {"BothDeleted", true, true, Flags::Deleted, "", "", "k=device "},
    {"BothDeletedAndModified", true, true, Flags::DeletedAndModified, "", "", "k=device "},
    {"DeviceOnlyUnflagged", false, true, Flags::None, "k=device ", "k=device ", "k=device "},
    {"DeviceOnlyModified", false, true, Flags::Modified, "k=device ", "k=device ", "k=device "},
    {"DeviceOnlyDeleted", false, true, Flags::Deleted, "", "", "k=device "},
    {"DeviceOnlyDeletedAndModified", false, true, Flags::DeletedAndModified, "", "", "k=device "},
    {"Neither", false, false, Flags::None, "", "", ""},
};

class SyncDecision : public SyncPolicy, public ::testing::WithParamInterface<std::tuple<RunMode, Decision>> {};

TEST_P(SyncDecision, EndsAsTheTableSays) {
  const auto& [mode, decision] = GetParam();
  if (decision.onDesktop) OnDesktop("k", "desktop");
  if (decision.onDevice) OnDevice("k", "device", decision.flags);
  Sync(mode);
  EXPECT_EQ(RowTexts(desktop_), decision.desktopAfter);
  EXPECT_EQ(output_.records, decision.output);
  EXPECT_EQ(RowTexts(device_), decision.deviceAfter);
}

const auto kNameOfDecision = [](const auto& info) {
  return "Mode" + std::to_string(static_cast<int>(std::get<0>(info.param))) + "_" + std::get<1>(info.param).name;
};

INSTANTIATE_TEST_SUITE_P(OverwritePc, SyncDecision,
                         ::testing::Combine(::testing::Values(RunMode::OverwritePc),
                                            ::testing::ValuesIn(kOverwritePcDecisions)),
                         kNameOfDecision);
INSTANTIATE_TEST_SUITE_P(OtherModes, SyncDecision,
                         ::testing::Combine(::testing::Values(RunMode::Synchronize, RunMode::OverwritePda),
                                            ::testing::ValuesIn(kDecisions)),
                         kNameOfDecision);

TEST_F(SyncPolicy, ResultIsAlwaysFalse) {
  OnDesktop("a", "1");
  OnDevice("a", "2", Flags::Modified);
  EXPECT_FALSE(Sync());
}

TEST_F(SyncPolicy, EmptyDesktopTakesTheModifiedRowsThatAreNotDeleted) {
  OnDevice("a", "1", Flags::Modified);
  OnDevice("b", "2");
  OnDevice("c", "3", Flags::Deleted);
  OnDevice("d", "4", Flags::DeletedAndModified);
  OnDevice("e", "5", Flags::Modified);
  Sync();
  EXPECT_EQ(RowTexts(desktop_), "a=1 e=5 ");
  EXPECT_EQ(output_.records, "a=1 e=5 ");
}

TEST_F(SyncPolicy, EmptyDesktopInOverwritePcTakesEveryRowThatIsNotDeleted) {
  OnDevice("a", "1", Flags::Modified);
  OnDevice("b", "2");
  OnDevice("c", "3", Flags::Deleted);
  Sync(RunMode::OverwritePc);
  EXPECT_EQ(RowTexts(desktop_), "a=1 b=2 ");
  EXPECT_EQ(output_.records, "a=1 b=2 ");
}

TEST_F(SyncPolicy, EmptyDeviceEveryDesktopRowGoesOutAndTheDesktopStays) {
  OnDesktop("a", "1");
  OnDesktop("b", "2");
  for (const RunMode mode : {RunMode::Synchronize, RunMode::OverwritePda, RunMode::OverwritePc}) {
    output_.records.clear();
    Sync(mode);
    EXPECT_EQ(output_.records, "a=1 b=2 ");
    EXPECT_EQ(RowTexts(desktop_), "a=1 b=2 ");
  }
}

TEST_F(SyncPolicy, BothEmptyNothingHappens) {
  Sync();
  EXPECT_EQ(desktop_.RecordCount(), 0);
  EXPECT_EQ(output_.records, "");
}

TEST_F(SyncPolicy, OutputFollowsTheDesktopsOrderThenTheHandhelds) {
  OnDesktop("c", "1");
  OnDesktop("a", "2");
  OnDevice("z", "3", Flags::Modified);
  OnDevice("a", "4", Flags::Modified);
  OnDevice("y", "5", Flags::Modified);
  Sync();
  EXPECT_EQ(output_.records, "c=1 a=4 z=3 y=5 ");
  EXPECT_EQ(RowTexts(desktop_), "c=1 a=4 z=3 y=5 ");
}

TEST_F(SyncPolicy, EditOfTheLastDesktopRowIsSavedByTheMoveBehindIt) {
  OnDesktop("a", "1");
  OnDevice("a", "2", Flags::Modified);
  Sync();
  desktop_.CancelUpdate();
  EXPECT_EQ(RowTexts(desktop_), "a=2 ");
}

TEST_F(SyncPolicy, TwoDeviceRowsOfOneKeyFirstMatchesAndSecondCountsAsUnmatched) {
  OnDesktop("a", "1");
  OnDevice("a", "first", Flags::Modified);
  OnDevice("a", "second");
  Sync();
  EXPECT_EQ(RowTexts(desktop_), "a=first ");
  EXPECT_EQ(output_.records, "a=first ");
  EXPECT_EQ(RowTexts(device_), "a=second ");
}

TEST_F(SyncPolicy, SecondDeviceRowOfOneKeyFlaggedModifiedIsAddedOnceMore) {
  OnDesktop("a", "1");
  OnDevice("a", "first");
  OnDevice("a", "second", Flags::Modified);
  Sync();
  EXPECT_EQ(RowTexts(desktop_), "a=1 a=second ");
  EXPECT_EQ(output_.records, "a=1 a=second ");
}

TEST_F(SyncPolicy, TwoDesktopRowsOfOneKeyFirstTakesTheDeviceRow) {
  OnDesktop("a", "1");
  OnDesktop("a", "2");
  OnDevice("a", "3", Flags::Modified);
  Sync();
  EXPECT_EQ(RowTexts(desktop_), "a=3 a=2 ");
  EXPECT_EQ(output_.records, "a=3 a=2 ");
}

TEST_F(SyncPolicy, TwoDesktopRowsOfADeletedKeyAreBothDeleted) {
  OnDesktop("a", "1");
  OnDesktop("a", "2");
  OnDevice("a", "3", Flags::Deleted);
  Sync();
  EXPECT_EQ(desktop_.RecordCount(), 0);
  EXPECT_EQ(output_.records, "");
}

TEST_F(SyncPolicy, EmptyKeyIsAKeyLikeAnyOther) {
  OnDesktop("", "1");
  OnDevice("", "2", Flags::Modified);
  Sync();
  EXPECT_EQ(RowTexts(desktop_), "=2 ");
}

TEST_F(SyncPolicy, KeysThatDifferInCaseOnlyMatch) {
  OnDesktop("ABC", "1");
  OnDevice("abc", "2", Flags::Modified);
  Sync();
  EXPECT_EQ(RowTexts(desktop_), "abc=2 ");
}

TEST_F(SyncPolicy, DesktopWalkGoesToTheLastRowFirst) {
  OnDesktop("a", "1");
  OnDesktop("b", "2");
  Sync();
  EXPECT_EQ(desktop_.moves, "last first ");
}

TEST_F(SyncPolicy, DesktopAtEofOnEntryIsNotWalked) {
  OnDesktop("a", "1");
  desktop_.MoveLast();
  desktop_.MoveNext();
  clsSyncPolicy(context_).Sync(deviceSide_, desktopSide_, output_);
  EXPECT_EQ(output_.records, "");
}

TEST_F(SyncPolicy, ModifiedRowIsWrittenOutBeforeTheDesktopRowChanges) {
  OnDesktop("a", "1");
  OnDevice("a", "2", Flags::Modified);
  Sync();
  EXPECT_EQ(output_.desktopRowThen, "a=1");
}

TEST_F(SyncPolicy, NewRowIsSavedOnTheDesktopBeforeItIsWrittenOut) {
  OnDevice("a", "2", Flags::Modified);
  Sync();
  EXPECT_EQ(output_.desktopRowThen, "a=2");
  EXPECT_EQ(output_.savedRowsThen, 1) << "a row that is still pending does not count";
}

TEST_F(SyncPolicy, SingleQuoteInADesktopKeyEndsTheMergeWithTheFindsError) {
  OnDesktop("a", "1");
  OnDesktop("O'Brien", "2");
  OnDevice("a", "3", Flags::Modified);
  OnDevice("b", "4", Flags::Modified);
  EXPECT_EQ(ErrorNumberOf([&] { Sync(); }), errors::kRecordsetArgument);
  EXPECT_EQ(RowTexts(desktop_), "a=3 O'Brien=2 ");
  EXPECT_EQ(output_.records, "a=3 ");
}

TEST_F(SyncPolicy, SingleQuoteInADesktopKeyOfAnEmptyDeviceDoesNoHarm) {
  OnDesktop("O'Brien", "1");
  Sync();
  EXPECT_EQ(output_.records, "O'Brien=1 ");
}

TEST_F(SyncPolicy, FailingAssignmentEndsTheMergeAndKeepsTheRowsBefore) {
  TracedRecordset shortTexts({{"KY_RECID", DataType::BStr, 0}, {"TX_TEXT", DataType::VarWChar, 3}});
  desktopSide_.SetADORS(shortTexts);
  AddRow(shortTexts, {std::string("a"), std::string("1")});
  AddRow(shortTexts, {std::string("b"), std::string("2")});
  OnDevice("a", "new", Flags::Modified);
  OnDevice("b", "too long", Flags::Modified);
  EXPECT_EQ(ErrorNumberOf([&] { clsSyncPolicy(context_).Sync(deviceSide_, desktopSide_, output_); }),
            errors::kJetConstraint);
  shortTexts.CancelUpdate();
  EXPECT_EQ(RowTexts(shortTexts), "a=new b=2 ");
}

TEST_F(SyncPolicy, SideWithoutARecordsetEndsTheMergeAtOnce) {
  clsSyncableRS_ADO nothing;
  OnDesktop("a", "1");
  EXPECT_EQ(ErrorNumberOf([&] { clsSyncPolicy(context_).Sync(nothing, desktopSide_, output_); }),
            errors::kObjectNotSet);
  EXPECT_EQ(output_.records, "");
}

TEST_F(SyncPolicy, SecondRunOverTheResultChangesNothing) {
  OnDesktop("a", "1");
  OnDesktop("b", "2");
  OnDevice("b", "3", Flags::Modified);
  OnDevice("c", "4", Flags::Modified);
  Sync();
  const std::string result = output_.records;
  MemoryRecordset returned(FlaggedTableFields());
  for (desktop_.MoveFirst(); !desktop_.Eof(); desktop_.MoveNext()) {
    AddRow(returned, {desktop_.FieldValue(0), desktop_.FieldValue(1), false, false});
  }
  deviceSide_.SetADORS(returned);
  output_.records.clear();
  Sync();
  EXPECT_EQ(output_.records, result);
  EXPECT_EQ(RowTexts(desktop_), result);
}

/// Writes down what it is told, the values of a row joined by ":".
class RecordingObserver : public MergeObserver {
 public:
  void Walked(std::int64_t desktopRows) override { walked = desktopRows; }
  void Added(Side side, const Row& row) override { told += "added " + NameOf(side) + TextOfRow(row) + "; "; }
  void Changed(Side side, const Row& before, const Row& after) override {
    told += "changed " + NameOf(side) + TextOfRow(before) + " to" + TextOfRow(after) + "; ";
  }
  void Deleted(Side side, const Row& row) override { told += "deleted " + NameOf(side) + TextOfRow(row) + "; "; }
  void Dropped(const Row& row) override { told += "dropped" + TextOfRow(row) + "; "; }

  std::string told;
  std::int64_t walked = -1;

 private:
  static std::string NameOf(Side side) { return side == Side::Desktop ? "desktop" : "handheld"; }
  static std::string TextOfRow(const Row& row) {
    std::string text = " ";
    for (const Value& value : row) text += TextOf(value) + ":";
    text.pop_back();
    return text;
  }
};

class ObservedMerge : public SyncPolicy {
 protected:
  ObservedMerge() { context_.observer = &observer_; }
  std::string ToldBy(RunMode mode) {
    Sync(mode);
    return observer_.told;
  }
  RecordingObserver observer_;
};

TEST_F(ObservedMerge, RowsThatStayAsTheyAreAreNotTold) {
  OnDesktop("a", "1");
  OnDevice("a", "1");
  OnDesktop("b", "2");
  OnDevice("b", "2", Flags::Modified);
  EXPECT_EQ(ToldBy(RunMode::Synchronize), "");
}

TEST_F(ObservedMerge, TheDesktopsRowsAreCountedWithoutThoseThatCome) {
  OnDevice("new", "1", Flags::Modified);
  ToldBy(RunMode::Synchronize);
  EXPECT_EQ(observer_.walked, 0);
  OnDesktop("a", "1");
  OnDevice("a", "1", Flags::Deleted);
  ToldBy(RunMode::Synchronize);
  EXPECT_EQ(observer_.walked, 2) << "a, and the one that came";
}

TEST_F(ObservedMerge, ADesktopRowThatTheHandheldLacksIsAddedThere) {
  OnDesktop("a", "1");
  OnDesktop("b", "2");
  OnDevice("a", "1");
  EXPECT_EQ(ToldBy(RunMode::Synchronize), "added handheld b:2; ");
}

TEST_F(ObservedMerge, AModifiedRowChangesTheDesktop) {
  OnDesktop("a", "old");
  OnDevice("a", "new", Flags::Modified);
  EXPECT_EQ(ToldBy(RunMode::Synchronize), "changed desktop a:old to a:new; ");
}

TEST_F(ObservedMerge, AnUnflaggedRowWithOtherValuesIsChangedOnTheHandheld) {
  OnDesktop("a", "desktop");
  OnDevice("a", "handheld");
  EXPECT_EQ(ToldBy(RunMode::Synchronize), "changed handheld a:handheld to a:desktop; ");
}

TEST_F(ObservedMerge, ANullOnTheDesktopIsTheHandheldsEmptyText) {
  AddRow(desktop_, {std::string("a"), Null{}});
  OnDevice("a", "");
  EXPECT_EQ(ToldBy(RunMode::Synchronize), "");
}

TEST_F(ObservedMerge, TextThatTheHandheldCannotShowIsTheSameThereInEveryRun) {
  OnDesktop("a", "\xCE\xA9");
  OnDevice("a", "?");
  EXPECT_EQ(ToldBy(RunMode::Synchronize), "");
}

TEST_F(ObservedMerge, ANullOnTheDesktopIsTheZeroOfEveryTypeOnTheHandheld) {
  const std::vector<std::pair<DataType, Value>> zeros = {{DataType::UnsignedTinyInt, std::uint8_t{0}},
                                                         {DataType::SmallInt, std::int16_t{0}},
                                                         {DataType::Integer, std::int32_t{0}},
                                                         {DataType::Single, 0.0F},
                                                         {DataType::Boolean, false},
                                                         {DataType::Date, DateFromCivil({1904, 1, 1, 0, 0, 0})},
                                                         {DataType::Double, 0.0},
                                                         {DataType::Currency, Currency{}}};
  for (const auto& [type, zero] : zeros) {
    MemoryRecordset device({{"KY_RECID", DataType::BStr, 0},
                            {"FIELD", type, 0},
                            {"_D", DataType::Boolean, 0},
                            {"_M", DataType::Boolean, 0}});
    MemoryRecordset desktop({{"KY_RECID", DataType::BStr, 0}, {"FIELD", type, 0}});
    AddRow(device, {std::string("a"), zero, false, false});
    AddRow(desktop, {std::string("a"), Null{}});
    desktop.MoveFirst();
    deviceSide_.SetADORS(device);
    desktopSide_.SetADORS(desktop);
    clsSyncPolicy(context_).Sync(deviceSide_, desktopSide_, output_);
    EXPECT_EQ(observer_.told, "") << "type " << static_cast<int>(type);
    observer_.told.clear();
  }
}

TEST_F(ObservedMerge, ADeletedRowIsDeletedOnBothSidesWithTheValuesOfEach) {
  OnDesktop("a", "desktop");
  OnDevice("a", "handheld", Flags::DeletedAndModified);
  EXPECT_EQ(ToldBy(RunMode::Synchronize), "deleted desktop a:desktop; deleted handheld a:handheld; ");
}

TEST_F(ObservedMerge, AModifiedRowThatTheDesktopLacksIsAddedThere) {
  OnDevice("a", "1", Flags::Modified);
  EXPECT_EQ(ToldBy(RunMode::Synchronize), "added desktop a:1; ");
}

TEST_F(ObservedMerge, AnUnflaggedRowThatTheDesktopLacksIsDroppedExceptInOverwritePc) {
  OnDevice("a", "1");
  EXPECT_EQ(ToldBy(RunMode::Synchronize), "dropped a:1; ");
  observer_.told.clear();
  EXPECT_EQ(ToldBy(RunMode::OverwritePc), "added desktop a:1; ");
}

TEST_F(ObservedMerge, ADeletedRowThatTheDesktopLacksIsDeletedOnTheHandheldOnly) {
  OnDevice("a", "1", Flags::Deleted);
  EXPECT_EQ(ToldBy(RunMode::OverwritePc), "deleted handheld a:1; ");
}

}  // namespace
}  // namespace mv
