#include "history/TableChanges.h"

#include <gtest/gtest.h>

#include <utility>

#include "pdb/RecordFlags.h"
#include "pdb/TableFile.h"
#include "recordset/MemoryRecordset.h"
#include "support/FakeClock.h"
#include "support/MemoryFileSystem.h"

namespace mv::history {
namespace {

using Row = MergeObserver::Row;

const std::vector<FieldDefinition> kFields = {{"KY_RECID", DataType::VarWChar, 20}, {"TX_NOTE", DataType::BStr, 0}};

Row RowOf(const std::string& key, const std::string& note) {
  return {Value(key), Value(note)};
}

/// "desktop changed a" for a line of the report.
std::string Told(const std::string& line) {
  const Change change = ChangeFromJson(ParseJson(line));
  return std::string(NameOf(change.side)) + " " + std::string(NameOf(change.what)) + " " + change.key;
}

class TableChangesTest : public ::testing::Test {
 protected:
  TableChangesTest() { files_.CreateFolders("C:\\x"); }

  struct Record {
    Row row;
    std::uint8_t attributes = 0;
  };
  RowSet Rows(const std::vector<Record>& records) {
    TableFileWriter writer({"brnd_Fuel", "BRND", {{"KY_RECID", 5}, {"TX_NOTE", 5}}}, clock_);
    for (const Record& record : records) writer.Add({record.attributes, 0, record.row});
    writer.WriteTo(files_, "C:\\x\\t.pdb");
    return RowSet::OfTableFile(files_, "C:\\x\\t.pdb", "KY_RECID");
  }
  /// The desktop's table after the merge.
  static MemoryRecordset Desktop(const std::vector<Row>& rows) {
    MemoryRecordset records(kFields);
    for (const Row& row : rows) {
      records.AddNew();
      for (std::size_t i = 0; i < row.size(); ++i) records.SetFieldValue(i, row[i]);
      records.Update();
    }
    return records;
  }
  TableChanges::Setting Setting(RunMode mode) {
    TableChanges::Setting setting{tables::kFuel, mode, kFields, kFields};
    setting.lines = [this](const std::string& line) {
      lines_.push_back(line);
      told_.push_back(Told(line));
    };
    return setting;
  }

  testing::MemoryFileSystem files_;
  testing::FakeClock clock_;
  std::vector<std::string> lines_;
  std::vector<std::string> told_;
};

TEST_F(TableChangesTest, EveryEventIsCountedOnItsSideAndWritten) {
  TableChanges::Setting setting = Setting(RunMode::Synchronize);
  setting.handheldRows = 6;
  setting.agreed = [&] { return Rows({{RowOf("c", "old"), 0}, {RowOf("d", "x"), 0}}); };
  TableChanges changes(std::move(setting));
  changes.Added(Side::Desktop, RowOf("a", "1"));
  changes.Added(Side::Handheld, RowOf("b", "1"));
  changes.Changed(Side::Desktop, RowOf("c", "old"), RowOf("c", "new"));
  changes.Changed(Side::Handheld, RowOf("e", "old"), RowOf("e", "new"));
  changes.Deleted(Side::Desktop, RowOf("d", "x"));
  changes.Deleted(Side::Handheld, RowOf("d", "x"));
  changes.Walked(5);
  changes.Dropped(RowOf("f", "x"));
  MemoryRecordset desktop = Desktop({});
  changes.Finish(desktop);
  EXPECT_EQ(told_,
            (std::vector<std::string>{"desktop added a", "handheld added b", "desktop changed c", "handheld changed e",
                                      "desktop deleted d", "handheld deleted d", "handheld dropped f"}));
  EXPECT_EQ(changes.Record().desktop, (SideCounts{5, 5, 1, 1, 1}));
  EXPECT_EQ(changes.Record().handheld, (SideCounts{6, 5, 1, 1, 1}));
  EXPECT_EQ(changes.Record().dropped, 1);
  EXPECT_EQ(changes.Record().overruled, 0);
  EXPECT_EQ(changes.HandheldRowsInUse(), 5);
  EXPECT_EQ(changes.HandheldRowsLost(), 1);
}

TEST_F(TableChangesTest, ALineHoldsTheValuesByField) {
  TableChanges changes(Setting(RunMode::Synchronize));
  changes.Changed(Side::Handheld, RowOf("a", "old"), RowOf("a", "new"));
  EXPECT_EQ(lines_.at(0), R"({"table":"brnd_Fuel","key":"a","side":"handheld","what":"changed",)"
                          R"("before":{"KY_RECID":"a","TX_NOTE":"old"},"after":{"KY_RECID":"a","TX_NOTE":"new"}})"
                          "\n");
}

TEST_F(TableChangesTest, ADesktopRowEditedSinceBothSidesAgreedIsOverruled) {
  TableChanges::Setting setting = Setting(RunMode::Synchronize);
  setting.agreed = [&] { return Rows({{RowOf("edited", "agreed"), 0}, {RowOf("untouched", "agreed"), 0}}); };
  TableChanges changes(std::move(setting));
  changes.Changed(Side::Desktop, RowOf("edited", "by the PC"), RowOf("edited", "by the handheld"));
  changes.Changed(Side::Desktop, RowOf("untouched", "agreed"), RowOf("untouched", "by the handheld"));
  changes.Deleted(Side::Desktop, RowOf("new on the PC", "x"));
  EXPECT_EQ(changes.Record().overruled, 2);
  EXPECT_EQ(told_,
            (std::vector<std::string>{"desktop changed edited", "desktop overruled edited", "desktop changed untouched",
                                      "desktop deleted new on the PC", "desktop overruled new on the PC"}));
}

TEST_F(TableChangesTest, WithoutAnAgreedTableEveryRowThatLosesMayHaveBeenEdited) {
  TableChanges changes(Setting(RunMode::Synchronize));
  changes.Changed(Side::Desktop, RowOf("a", "1"), RowOf("a", "2"));
  EXPECT_EQ(changes.Record().overruled, 1);
}

TEST_F(TableChangesTest, TheAgreedTableIsReadOnceAndOnlyWhenARowLoses) {
  int reads = 0;
  TableChanges::Setting setting = Setting(RunMode::Synchronize);
  setting.agreed = [&] {
    ++reads;
    return Rows({});
  };
  TableChanges changes(std::move(setting));
  changes.Changed(Side::Handheld, RowOf("a", "1"), RowOf("a", "2"));
  EXPECT_EQ(reads, 0);
  changes.Changed(Side::Desktop, RowOf("a", "1"), RowOf("a", "2"));
  changes.Deleted(Side::Desktop, RowOf("b", "1"));
  EXPECT_EQ(reads, 1);
}

TEST_F(TableChangesTest, OverwritePdaIsComparedWithWhatTheHandheldHeld) {
  TableChanges::Setting setting = Setting(RunMode::OverwritePda);
  setting.handheldBefore = Rows({{RowOf("same", "1"), 0},
                                 {RowOf("other", "1"), kRecordModified},
                                 {RowOf("dropped", "1"), 0},
                                 {RowOf("flagged", "1"), kRecordModified},
                                 {RowOf("gone", "1"), kRecordDeleted},
                                 {RowOf("back", "1"), kRecordDeleted}});
  TableChanges changes(std::move(setting));
  const std::vector<Row> rows = {RowOf("SAME", "1"), RowOf("other", "2"), RowOf("back", "1"), RowOf("new", "1")};
  for (const Row& row : rows) changes.Added(Side::Handheld, row);
  MemoryRecordset desktop = Desktop(rows);
  changes.Finish(desktop);
  EXPECT_EQ(told_, (std::vector<std::string>{"handheld changed same", "handheld changed other", "handheld deleted back",
                                             "handheld added back", "handheld added new", "handheld dropped dropped",
                                             "handheld deleted flagged", "handheld deleted gone"}));
  EXPECT_EQ(changes.Record().handheld, (SideCounts{6, 4, 2, 2, 3}));
  EXPECT_EQ(changes.Record().dropped, 1);
  EXPECT_EQ(changes.HandheldRowsInUse(), 4);
  EXPECT_EQ(changes.HandheldRowsLost(), 2);
}

TEST_F(TableChangesTest, OverwritePcIsComparedWithTheDatabaseBeforeTheTemplate) {
  TableChanges::Setting setting = Setting(RunMode::OverwritePc);
  setting.handheldRows = 3;
  setting.desktopBefore = Rows({{RowOf("same", "1"), 0}, {RowOf("other", "1"), 0}, {RowOf("gone", "1"), 0}});
  TableChanges changes(std::move(setting));
  const std::vector<Row> rows = {RowOf("same", "1"), RowOf("other", "2"), RowOf("new", "1")};
  for (const Row& row : rows) changes.Added(Side::Desktop, row);
  EXPECT_TRUE(told_.empty()) << "against the empty template every row is new";
  MemoryRecordset desktop = Desktop(rows);
  changes.Finish(desktop);
  EXPECT_EQ(told_, (std::vector<std::string>{"desktop changed other", "desktop added new", "desktop deleted gone"}));
  EXPECT_EQ(changes.Record().desktop, (SideCounts{3, 3, 1, 1, 1}));
  EXPECT_EQ(changes.Record().handheld, (SideCounts{3, 3, 0, 0, 0}));
}

TEST_F(TableChangesTest, RowsThatTheHandheldHoldsAsItGivesThemBackAreNotCountedAgain) {
  TableChanges::Setting setting = Setting(RunMode::OverwritePda);
  setting.handheldBefore = Rows({{RowOf("known", "?"), 0}, {RowOf("other", "x"), 0}});
  TableChanges changes(std::move(setting));
  changes.Added(Side::Handheld, RowOf("known", "\xCE\xA9"));
  changes.Added(Side::Handheld, RowOf("other", "\xCE\xA9"));
  EXPECT_EQ(changes.RowsThatChange(), 1);
  EXPECT_EQ(changes.FirstThatChanges(), "other");
}

TEST_F(TableChangesTest, RowsWithAValueThatTheHandheldGivesBackAsAnotherAreCounted) {
  TableChanges changes(Setting(RunMode::Synchronize));
  changes.Added(Side::Handheld, RowOf("plain", "\xC3\xA9t\xC3\xA9"));
  changes.Added(Side::Handheld, RowOf("first", "\xCE\xA9"));
  changes.Changed(Side::Handheld, RowOf("second", "x"), RowOf("second", "\xE2\x98\x83"));
  changes.Changed(Side::Desktop, RowOf("third", "\xCE\xA9"), RowOf("third", "?"));
  EXPECT_EQ(changes.RowsThatChange(), 2);
  EXPECT_EQ(changes.FirstThatChanges(), "first");
}

}  // namespace
}  // namespace mv::history
