#include "run/RunJournal.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "pdb/RecordFlags.h"
#include "run/SilentSync.h"
#include "support/RunWorld.h"

namespace mv {
namespace {

using history::HistoryFolder;
using history::RunRecord;
using history::TableState;
using testing::DeviceRecord;
using testing::RunWorld;
using testing::Values;

const std::string kDatabase = "C:\\Cars\\Motorva.db";
const std::string kTable = "brnd_Fuel";
const std::string kUnfilled = "C:\\Cars\\sync\\unfilled.json";

Values RowOf(const std::string& key, const std::string& note) {
  return {Value(key), Value(note)};
}

/// Rows "0", "1", ... up to `count`.
std::vector<Values> ManyRows(int count) {
  std::vector<Values> rows;
  for (int i = 0; i < count; ++i) rows.push_back(RowOf(std::to_string(i), "note"));
  return rows;
}

std::vector<DeviceRecord> OnHandheld(const std::vector<Values>& rows, std::uint8_t attributes = 0) {
  std::vector<DeviceRecord> records;
  for (const Values& row : rows) records.push_back({row, attributes});
  return records;
}

class RunJournalTest : public ::testing::Test {
 protected:
  RunJournalTest() {
    world_.PutAllDeviceTables();
    world_.files.Put(kDatabase, {1, 2, 3});
    world_.files.Put("C:\\Motorva\\_20", {9});
    world_.state.history.keep = 10;
    world_.run.tell = [this](const std::string& line) { told_.push_back(line); };
  }

  void OnBothSides(const std::vector<Values>& rows) {
    world_.database.tables[kTable].rows = rows;
    world_.PutDeviceTable(kTable, OnHandheld(rows));
  }
  ExitStatus Run(RunMode mode = RunMode::Synchronize) {
    told_.clear();
    SetMode(world_.state, mode);
    return SilentSync(world_.run);
  }
  HistoryFolder History() { return HistoryFolder(world_.files, kDatabase); }
  std::vector<std::string> Entries() { return History().Entries(); }
  RunRecord LastRecord() { return History().Read(Entries().at(0)).value(); }
  std::string Changes() {
    const Bytes content = world_.files.Content(History().ChangesOf(Entries().at(0)));
    return std::string(content.begin(), content.end());
  }
  std::string Told() const {
    std::string text;
    for (const std::string& line : told_) text += line + "\n";
    return text;
  }
  void ExpectWarning(const std::string& text) {
    const std::vector<std::string> warnings = LastRecord().warnings;
    EXPECT_NE(std::find(warnings.begin(), warnings.end(), text), warnings.end()) << Told();
    EXPECT_NE(Told().find("Warning: " + text + "\n"), std::string::npos) << Told();
  }

  RunWorld world_;
  std::vector<std::string> told_;
};

TEST_F(RunJournalTest, ARunKeepsBothSidesAndItsRecord) {
  const Bytes fetched = world_.rapi.Content(RunWorld::DevicePath(kTable));
  EXPECT_EQ(Run(), ExitStatus::Success);
  ASSERT_EQ(Entries().size(), 1u);
  const std::string entry = Entries()[0];
  EXPECT_EQ(entry, "20261121-140509");
  EXPECT_EQ(world_.files.Content(History().DatabaseOf(entry)), (Bytes{1, 2, 3}));
  EXPECT_EQ(world_.files.Content(History().HandheldFileOf(entry, kTable)), fetched);
  EXPECT_EQ(world_.files.Content(History().ResultFileOf(entry, kTable)),
            world_.rapi.Content(RunWorld::DevicePath(kTable)));
  const RunRecord record = LastRecord();
  EXPECT_EQ(record.mode, 0);
  EXPECT_EQ(record.modeName, "Synchronize");
  EXPECT_EQ(record.version, "1.2.3");
  EXPECT_EQ(record.status, 0);
  EXPECT_EQ(record.ended, "2026-11-21T14:05:09");
  EXPECT_EQ(record.tables.size(), 11u);
  EXPECT_EQ(record.Find(kTable)->state, TableState::Returned);
  EXPECT_TRUE(told_.empty()) << Told();
}

TEST_F(RunJournalTest, AResultThatIsKeptIsNotWrittenIntoByTheNextRun) {
  OnBothSides(ManyRows(3));
  Run();
  const std::string first = Entries()[0];
  const Bytes result = world_.files.Content(History().ResultFileOf(first, kTable));
  OnBothSides(ManyRows(5));
  Run();
  EXPECT_EQ(world_.files.Content(History().ResultFileOf(first, kTable)), result);
}

TEST_F(RunJournalTest, NothingIsKeptWhereTheSettingsKeepNothing) {
  world_.state.history.keep = 0;
  EXPECT_EQ(Run(), ExitStatus::Success);
  EXPECT_FALSE(world_.files.FolderExists(History().Path()));
}

TEST_F(RunJournalTest, WhatHappenedToEachRowIsOnDiskBeforeTheTableGoesBack) {
  world_.database.tables[kTable].rows = {RowOf("A", "old")};
  world_.PutDeviceTable(kTable, {{RowOf("A", "new"), kRecordModified}});
  std::string atCommit;
  world_.database.onCommit = [&] { atCommit = Changes(); };
  Run();
  EXPECT_NE(atCommit.find(R"("key":"A","side":"desktop","what":"changed")"), std::string::npos) << atCommit;
  EXPECT_EQ(LastRecord().Find(kTable)->desktop, (history::SideCounts{1, 1, 0, 1, 0}));
}

TEST_F(RunJournalTest, ATableThatIsNotFetchedStandsInTheRecordWithItsCode) {
  world_.rapi.Remove(RunWorld::DevicePath(kTable));
  EXPECT_EQ(Run(), ExitStatus::TablesFailed);
  EXPECT_EQ(LastRecord().Find(kTable)->state, TableState::NotRetrieved);
  EXPECT_EQ(LastRecord().Find(kTable)->code, 1);
  EXPECT_EQ(LastRecord().status, 1);
  EXPECT_EQ(
      Told(),
      "MVPPCSync: brnd_Fuel not fetched (code 1); close Motorva Mobile Edition on the handheld, check the card and "
      "its free space, and run again\n");
}

TEST_F(RunJournalTest, AStopIsToldInOneLineWithItsTableAlsoWithoutALog) {
  world_.state.settings.SyncLog = 0;
  world_.database.tables.erase(kTable);
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  EXPECT_EQ(Told(),
            "MVPPCSync: stopped at table brnd_Fuel: Error -2147217865: No table 'brnd_Fuel'.; see the end of the sync "
            "log, then run again\n");
  EXPECT_EQ(LastRecord().status, 2);
  EXPECT_EQ(LastRecord().error, "Error -2147217865: No table 'brnd_Fuel'.");
}

TEST_F(RunJournalTest, AMissingHandheldIsToldAndMakesNoEntry) {
  world_.rapi.initResult = -1;
  EXPECT_EQ(Run(), ExitStatus::NoHandheld);
  EXPECT_EQ(told_.size(), 1u);
  EXPECT_TRUE(Entries().empty());
}

TEST_F(RunJournalTest, AHistoryThatCannotBeWrittenIsAWarning) {
  world_.files.Put("C:\\Cars\\sync\\history", {1});
  EXPECT_EQ(Run(), ExitStatus::Success);
  EXPECT_EQ(told_.size(), 1u) << Told();
  EXPECT_EQ(told_[0].find("Warning: the history of this run cannot be written"), 0u) << Told();
}

TEST_F(RunJournalTest, ALossOfMoreThanAQuarterAndMoreThanTenRowsIsWarnedOf) {
  struct Case {
    int rows;
    int deleted;
    bool warned;
  };
  for (const Case& c : {Case{40, 11, true}, Case{44, 11, false}, Case{20, 10, false}, Case{12, 12, true},
                        Case{3, 3, true}, Case{3, 2, false}}) {
    world_.database.tables[kTable].rows = ManyRows(c.rows);
    std::vector<DeviceRecord> records = OnHandheld(ManyRows(c.rows));
    for (int i = 0; i < c.deleted; ++i) records[static_cast<std::size_t>(i)].attributes = kRecordDeleted;
    world_.PutDeviceTable(kTable, records);
    Run();
    const std::string warning =
        "brnd_Fuel: the PC loses " + std::to_string(c.deleted) + " of " + std::to_string(c.rows) + " rows";
    if (c.warned) {
      ExpectWarning(warning);
    } else {
      EXPECT_TRUE(told_.empty()) << Told();
    }
  }
}

TEST_F(RunJournalTest, ADesktopThatIsEmptyWarnsOfWhatTheHandheldLoses) {
  world_.PutDeviceTable(kTable, OnHandheld(ManyRows(30)));
  Run();
  ExpectWarning("brnd_Fuel: the handheld loses 30 of 30 rows");
  EXPECT_EQ(LastRecord().Find(kTable)->dropped, 30);
}

TEST_F(RunJournalTest, OverwritePdaWarnsOfWhatTheHandheldLoses) {
  world_.database.tables[kTable].rows = ManyRows(1);
  world_.PutDeviceTable(kTable, OnHandheld(ManyRows(30)));
  Run(RunMode::OverwritePda);
  ExpectWarning("brnd_Fuel: the handheld loses 29 of 30 rows");
}

TEST_F(RunJournalTest, AMassLossStopsBeforeTheTableIsChangedWhereTheSettingsAskForIt) {
  world_.state.safety.stopsOnMassLoss = true;
  OnBothSides(ManyRows(40));
  world_.PutDeviceTable(kTable, OnHandheld(ManyRows(40), kRecordDeleted));
  const Bytes before = world_.rapi.Content(RunWorld::DevicePath(kTable));
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  EXPECT_EQ(world_.database.tables[kTable].rows.size(), 40u);
  EXPECT_EQ(world_.rapi.Content(RunWorld::DevicePath(kTable)), before);
  EXPECT_EQ(LastRecord().Find(kTable)->state, TableState::Held);
  EXPECT_NE(Told().find("stopped before this table was changed"), std::string::npos) << Told();
  EXPECT_NE(Told().find("mvtool preview --mode 0"), std::string::npos) << Told();
}

TEST_F(RunJournalTest, ColumnsOfOtherNamesAreWarnedOfWithTheFirst) {
  world_.database.tables[kTable].fields[1].name = "TX_OTHER";
  Run();
  ExpectWarning(
      "brnd_Fuel: column 2 is \"TX_OTHER\" on the PC and \"TX_NOTE\" on the handheld; columns are matched by their "
      "place");
}

TEST_F(RunJournalTest, AKeyWithAQuoteIsNamed) {
  OnBothSides({RowOf("plain", "x")});
  std::vector<Values>& rows = world_.database.tables[kTable].rows;
  rows.insert(rows.begin(), RowOf("O'Neil", "x"));
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  ExpectWarning("brnd_Fuel, row \"O'Neil\": the key on the PC holds a quote ('); the run stops there with error 3001");
}

TEST_F(RunJournalTest, TextThatComesBackChangedIsWarnedOfWhenItIsSent) {
  OnBothSides({});
  world_.database.tables[kTable].rows = {RowOf("A", "\xCE\xA9")};
  Run();
  ExpectWarning(
      "brnd_Fuel: 1 rows hold a text or a date that the handheld does not give back as it is (a character that it "
      "lacks, "
      "a date before 1904); the first is \"A\"");
}

TEST_F(RunJournalTest, ARestoreThatWasCutOffIsWarnedOf) {
  Run();
  RunRecord cut = LastRecord();
  cut.ended.clear();
  cut.restore.emplace();
  cut.restore->of = Entries()[0];
  cut.restore->tables = {kTable};
  History().Write(History().Create({2026, 11, 21, 15, 0, 0}), cut);
  Run();
  EXPECT_EQ(Told(),
            "Warning: a restore was cut off before both sides were back; \"mvtool restore 20261121-140509\" does "
            "what is left\n");
  Run();
  EXPECT_EQ(Told(), "") << "another run has come between";
}

// --- Overwrite PC ---------------------------------------------------------------------------------------------------

TEST_F(RunJournalTest, OverwritePcRemembersWhatItDidNotFill) {
  Run(RunMode::OverwritePc);
  const Bytes content = world_.files.Content(kUnfilled);
  EXPECT_EQ(std::string(content.begin(), content.end()), "{\"tables\":[\"brnd_Accessories\",\"brnd_AccItems\"]}\n");
  ExpectWarning(
      "Overwrite PC did not take every table; until one takes them these are not filled on the PC: brnd_Accessories, "
      "brnd_AccItems");
}

TEST_F(RunJournalTest, EveryTableCountsAsNotFilledBeforeTheTemplateReplacesTheDatabase) {
  world_.database.onCommit = [&] {
    if (world_.files.FileExists(kUnfilled)) return;
    ADD_FAILURE() << "a commit without the mark";
  };
  world_.rapi.Remove(RunWorld::DevicePath("brnd_Trip"));
  Run(RunMode::OverwritePc);
  EXPECT_EQ(history::UnfilledTables(world_.files, kDatabase).Load(),
            (std::vector<std::string>{"brnd_Accessories", "brnd_AccItems", "brnd_Trip"}));
}

TEST_F(RunJournalTest, AMarkThatCannotBeWrittenKeepsTheDatabase) {
  world_.files.FailOpens(kUnfilled + ".writing", 1, 1, errors::kPathFileAccess);
  EXPECT_EQ(Run(RunMode::OverwritePc), ExitStatus::Stopped);
  EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{1, 2, 3}));
}

TEST_F(RunJournalTest, ARunThatWouldTakeATableThatIsNotFilledStopsBeforeItsFirst) {
  history::UnfilledTables(world_.files, kDatabase).Save({"brnd_Trip"});
  world_.database.tables["brnd_Customer"].rows = {RowOf("A", "x")};
  for (const RunMode mode : {RunMode::Synchronize, RunMode::OverwritePda}) {
    EXPECT_EQ(Run(mode), ExitStatus::Stopped);
    EXPECT_NE(Told().find("has not filled them: brnd_Trip."), std::string::npos) << Told();
    EXPECT_NE(Told().find("Run Overwrite PC again"), std::string::npos) << Told();
    EXPECT_EQ(world_.DeviceRows("brnd_Customer").size(), 0u) << "nothing goes to the handheld";
  }
  world_.state.safety.stopsOnUnfinishedOverwrite = false;
  EXPECT_EQ(Run(), ExitStatus::Success);
  ExpectWarning("an Overwrite PC emptied these tables on the PC and has not filled them: brnd_Trip");
}

TEST_F(RunJournalTest, TheStopNamesTheRunToGoBackTo) {
  Run();
  Run(RunMode::OverwritePc);
  const std::string overwrite = Entries()[0];
  history::UnfilledTables(world_.files, kDatabase).Save({"brnd_Trip"});
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  EXPECT_NE(Told().find("mvtool restore " + overwrite), std::string::npos) << Told();
}

TEST_F(RunJournalTest, TablesThatTheRunDoesNotTakeDoNotStopIt) {
  history::UnfilledTables(world_.files, kDatabase).Save({"brnd_Accessories"});
  EXPECT_EQ(Run(), ExitStatus::Success);
}

TEST_F(RunJournalTest, OverwritePcThatWouldEmptyATableItDoesNotFillStopsBeforeTheTemplateWhereTheSettingsAskForIt) {
  world_.database.tables["brnd_Accessories"].rows = {RowOf("A", "x")};
  world_.state.safety.stopsOnMassLoss = true;
  EXPECT_EQ(Run(RunMode::OverwritePc), ExitStatus::Stopped);
  EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{1, 2, 3}));
  EXPECT_FALSE(world_.files.FileExists(kUnfilled));
  EXPECT_NE(Told().find("would empty these tables on the PC, and this run does not fill them: brnd_Accessories."),
            std::string::npos)
      << Told();
  EXPECT_EQ(Run(), ExitStatus::Success) << "a Synchronize leaves the table alone";
}

TEST_F(RunJournalTest, OverwritePcPassesWhenTheTablesBesidesAreEmptyOrMissing) {
  world_.database.tables.erase("brnd_AccItems");
  world_.state.safety.stopsOnMassLoss = true;
  EXPECT_EQ(Run(RunMode::OverwritePc), ExitStatus::Success) << Told();
}

TEST_F(RunJournalTest, OverwritePcFillsAndTakesTheMarkAway) {
  history::UnfilledTables(world_.files, kDatabase).Save({"brnd_Trip"});
  EXPECT_EQ(Run(RunMode::OverwritePc), ExitStatus::Success);
  EXPECT_EQ(history::UnfilledTables(world_.files, kDatabase).Load(),
            (std::vector<std::string>{"brnd_Accessories", "brnd_AccItems"}));
}

}  // namespace
}  // namespace mv
