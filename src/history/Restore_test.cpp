#include "history/Restore.h"

#include <gtest/gtest.h>

#include <array>

#include "device/FolderRapi.h"
#include "history/RunList.h"
#include "history/UnfilledTables.h"
#include "support/ExpectError.h"
#include "support/HistoryWorld.h"

namespace mv::history {
namespace {

using testing::ErrorOf;
using testing::HistoryWorld;
using testing::OdoRow;

const std::vector<OdoRow> kOld = {{"a", 1}, {"b", 2}};
const std::vector<OdoRow> kNew = {{"c", 3}};
const std::vector<OdoRow> kOldOnHandheld = {{"a", 1, 64}, {"b", 2, 128}};
const std::vector<OdoRow> kNewOnHandheld = {{"c", 3}};

/// A run has begun with kOld and left kNew, on both sides and in both tables.
class RestoreTest : public ::testing::Test {
 protected:
  RestoreTest() {
    world_.PutDatabase(kOld);
    PutHandheld(kOldOnHandheld);
    run_ = world_.KeepAll(tables_);
    world_.PutDatabase(kNew);
    PutHandheld(kNewOnHandheld);
  }

  void PutHandheld(const std::vector<OdoRow>& rows) {
    for (const std::string& table : tables_) world_.PutHandheld(table, rows);
  }
  RestoreResult Run(const std::string& run, Sides sides = Sides::Both) {
    const auto handheld = world_.Connection();
    const RestoreContext context = world_.Context(*handheld);
    return Restore(context, PlanRestore(context, run, sides)).Run();
  }
  Error ErrorOfRestore(const std::string& run, Sides sides = Sides::Both) {
    return ErrorOf([&] { Run(run, sides); });
  }
  RunRecord Record(const std::string& entry) { return world_.folder.Read(entry).value(); }
  void ExpectOld() {
    EXPECT_EQ(world_.Fuel(), kOld);
    for (const std::string& table : tables_) EXPECT_EQ(world_.Handheld(table), kOldOnHandheld) << table;
  }
  void ExpectNew() {
    EXPECT_EQ(world_.Fuel(), kNew);
    for (const std::string& table : tables_) EXPECT_EQ(world_.Handheld(table), kNewOnHandheld) << table;
  }

  const std::vector<std::string> tables_ = {"brnd_Fuel", "brnd_Trip"};
  HistoryWorld world_;
  std::string run_;
};

// --- What comes back ------------------------------------------------------------------------------------------------

TEST_F(RestoreTest, BothSidesAreAsBeforeTheRunWithTheirFlags) {
  const RestoreResult result = Run(run_);
  EXPECT_TRUE(result.desktop);
  EXPECT_EQ(result.tables, tables_);
  EXPECT_TRUE(result.refusals.empty());
  ExpectOld();
}

TEST_F(RestoreTest, TableThatTheRunFoundDamagedIsLeftOut) {
  world_.files.Put(world_.folder.HandheldFileOf(run_, "brnd_Trip"), Bytes{1, 2, 3});
  RunRecord record = Record(run_);
  record.tables = {{"brnd_Trip", TableState::Retrieved, 0, {}, {}, 0, 0}};
  world_.folder.Write(run_, record);
  EXPECT_EQ(ErrorOfRestore(run_).Number(), errors::kSubscriptOutOfRange) << "a run that was not stopped by it read it";
  record.error = "Error 9: Subscript out of range";
  world_.folder.Write(run_, record);
  const auto handheld = world_.Connection();
  EXPECT_EQ(PlanRestore(world_.Context(*handheld), run_, Sides::Both).damaged, std::vector<std::string>{"brnd_Trip"});
  EXPECT_EQ(Run(run_).tables, std::vector<std::string>{"brnd_Fuel"});
  EXPECT_EQ(world_.Handheld("brnd_Fuel"), kOldOnHandheld);
  EXPECT_EQ(world_.Handheld("brnd_Trip"), kNewOnHandheld);
}

TEST_F(RestoreTest, FilesComeBackToTheByte) {
  const Bytes database = world_.files.Content(world_.folder.DatabaseOf(run_));
  const Bytes table = world_.files.Content(world_.folder.HandheldFileOf(run_, "brnd_Fuel"));
  Run(run_);
  EXPECT_EQ(world_.files.Content(HistoryWorld::kDatabase), database);
  EXPECT_EQ(world_.rapi.Content(HistoryWorld::DevicePath("brnd_Fuel")), table);
}

TEST_F(RestoreTest, KeptDatabaseIsCopiedNotLinked) {
  Run(run_);
  EXPECT_NE(world_.files.IdentityOf(HistoryWorld::kDatabase), world_.files.IdentityOf(world_.folder.DatabaseOf(run_)));
}

TEST_F(RestoreTest, RestoreIsUndoneByRestoringItsEntry) {
  const RestoreResult result = Run(run_);
  const RestoreResult undone = Run(result.entry);
  ExpectNew();
  Run(undone.entry);
  ExpectOld();
}

TEST_F(RestoreTest, RecordSaysWhatWasDone) {
  const RunRecord record = Record(Run(run_).entry);
  EXPECT_EQ(record.restore, (RestoreRecord{run_, true, tables_, true, tables_}));
  EXPECT_EQ(record.began, "2026-11-21T14:05:09");
  EXPECT_EQ(record.ended, "2026-11-21T14:05:09");
  EXPECT_EQ(record.status, 0);
  EXPECT_EQ(record.error, "");
  EXPECT_EQ(record.version, "1.2.3");
  EXPECT_EQ(record.modeName, "Restore");
}

TEST_F(RestoreTest, UnfilledTablesAreThoseOfBeforeTheRun) {
  RunRecord record = Record(run_);
  record.unfilled = {"brnd_Trip"};
  world_.folder.Write(run_, record);
  UnfilledTables unfilled(world_.files, HistoryWorld::kDatabase);
  unfilled.Save({"brnd_Fuel"});
  const std::string entry = Run(run_).entry;
  EXPECT_EQ(unfilled.Load(), std::vector<std::string>{"brnd_Trip"});
  Run(entry);
  EXPECT_EQ(unfilled.Load(), std::vector<std::string>{"brnd_Fuel"});
}

TEST_F(RestoreTest, DesktopAloneNeedsNoHandheld) {
  world_.rapi.initResult = -1;
  const RestoreResult result = Run(run_, Sides::Desktop);
  EXPECT_EQ(world_.Fuel(), kOld);
  EXPECT_TRUE(result.tables.empty());
  EXPECT_TRUE(TablesKept(world_.files, world_.folder, result.entry).empty());
}

TEST_F(RestoreTest, HandheldAloneLeavesTheDatabaseAlsoWhenItIsUndone) {
  const RestoreResult result = Run(run_, Sides::Handheld);
  EXPECT_FALSE(result.desktop);
  EXPECT_EQ(world_.Fuel(), kNew);
  EXPECT_EQ(world_.Handheld("brnd_Fuel"), kOldOnHandheld);
  world_.PutDatabase({{"later", 9}});
  Run(result.entry);
  EXPECT_EQ(world_.Fuel(), (std::vector<OdoRow>{{"later", 9}}));
  EXPECT_EQ(world_.Handheld("brnd_Fuel"), kNewOnHandheld);
}

TEST_F(RestoreTest, OnlyTablesThatWereKeptComeBack) {
  const std::string partial = world_.KeepAll({"brnd_Trip"});
  PutHandheld({{"d", 4}});
  EXPECT_EQ(Run(partial).tables, std::vector<std::string>{"brnd_Trip"});
  EXPECT_EQ(world_.Handheld("brnd_Fuel"), (std::vector<OdoRow>{{"d", 4}}));
}

TEST_F(RestoreTest, TableThatIsMissingOnTheHandheldIsWritten) {
  testing::FakeRapi empty;
  HandheldTables handheld(empty, "\\Program Files\\Motorva");
  const RestoreContext context = world_.Context(handheld);
  const RestoreResult result = Restore(context, PlanRestore(context, run_, Sides::Both)).Run();
  EXPECT_EQ(result.tables, tables_);
  EXPECT_EQ(empty.Content(HistoryWorld::DevicePath("brnd_Trip")),
            world_.files.Content(world_.folder.HandheldFileOf(run_, "brnd_Trip")));
}

TEST_F(RestoreTest, DatabaseThatIsMissingIsWritten) {
  world_.files.RemoveFile(HistoryWorld::kDatabase);
  const RestoreResult result = Run(run_);
  ExpectOld();
  EXPECT_EQ(Record(result.entry).kept, std::nullopt);
}

TEST_F(RestoreTest, DatabaseThatWasNeverReplacedStays) {
  const std::string later = world_.KeepAll(tables_);
  PutHandheld({{"d", 4}});
  const std::string identity = world_.files.IdentityOf(HistoryWorld::kDatabase);
  const auto handheld = world_.Connection();
  const RestoreContext context = world_.Context(*handheld);
  const RestorePlan plan = PlanRestore(context, later, Sides::Both);
  EXPECT_EQ(plan.desktop, DesktopStep::AsItIs);
  EXPECT_FALSE(plan.writtenSince);
  EXPECT_FALSE(Restore(context, plan).Run().desktop);
  EXPECT_EQ(world_.files.IdentityOf(HistoryWorld::kDatabase), identity);
  ExpectNew();
}

TEST_F(RestoreTest, NothingToDoMakesNoEntry) {
  const std::string later = world_.KeepAll({});
  EXPECT_EQ(Run(later).entry, "");
  EXPECT_EQ(world_.folder.Entries().front(), later);
}

TEST_F(RestoreTest, SystemWithoutSecondNamesKeepsACopy) {
  world_.files.RefuseLinks();
  const RestoreResult result = Run(run_);
  ExpectOld();
  Run(result.entry);
  ExpectNew();
}

// --- What is refused, before anything is changed --------------------------------------------------------------------

class RefusedRestoreTest : public RestoreTest {
 protected:
  /// The last word of a test: nothing was changed.
  void TearDown() override {
    ExpectNew();
    EXPECT_EQ(world_.folder.Entries(), std::vector<std::string>{run_});
  }
};

TEST_F(RefusedRestoreTest, RunWithoutRecord) {
  for (const std::string_view text : {"", "{\"kept\"", "{\"status\":99999}"}) {
    world_.files.Put(world_.folder.RecordOf(run_), Bytes(text.begin(), text.end()));
    EXPECT_EQ(ErrorOfRestore(run_).Description(),
              "the run " + run_ + " has no record: \"" + world_.folder.RecordOf(run_) + "\" cannot be read");
  }
}

TEST_F(RefusedRestoreTest, HandheldThatDoesNotAnswer) {
  world_.rapi.initResult = -1;
  EXPECT_EQ(ErrorOfRestore(run_).Description(), "the handheld does not answer");
  EXPECT_EQ(ErrorOfRestore(run_, Sides::Handheld).Description(), "the handheld does not answer");
}

TEST_F(RefusedRestoreTest, HandheldWhoseTableCannotBeFetched) {
  world_.rapi.Fail("CeReadFile", 0, 2);
  EXPECT_EQ(ErrorOfRestore(run_).Description(), "the handheld's table brnd_Trip cannot be fetched (code 1)");
}

TEST_F(RefusedRestoreTest, DatabaseInUse) {
  const auto held = world_.files.Open(HistoryWorld::kDatabase, platform::Access::Read,
                                      platform::Disposition::OpenExisting, platform::Sharing::Read);
  EXPECT_EQ(ErrorOfRestore(run_).Description(), "Could not use 'C:\\Cars\\Motorva.db'; file already in use.");
}

TEST_F(RefusedRestoreTest, KeptDatabaseThatIsDamaged) {
  Bytes content = world_.files.Content(world_.folder.DatabaseOf(run_));
  content.at(2 * 4096) = 1;
  world_.files.Put(world_.folder.DatabaseOf(run_), content);
  const std::string text = ErrorOfRestore(run_).Description();
  EXPECT_TRUE(text.starts_with("\"" + world_.folder.DatabaseOf(run_) + "\" is damaged (damage: ")) << text;
}

TEST_F(RefusedRestoreTest, KeptDatabaseThatCannotBeChecked) {
  const std::string path = world_.folder.DatabaseOf(run_);
  Bytes content(world_.files.Content(path).size(), 'x');
  world_.files.Put(path, content);
  const std::string text = ErrorOfRestore(run_).Description();
  EXPECT_TRUE(text.starts_with("\"" + path + "\" cannot be checked (")) << text;
}

TEST_F(RefusedRestoreTest, KeptDatabaseThatAnotherProgramHasWrittenInto) {
  const std::string path = world_.folder.DatabaseOf(run_);
  world_.files.Open(path, platform::Access::ReadWrite, platform::Disposition::OpenExisting, platform::Sharing::None)
      ->WriteAt(4000, Bytes{0});
  EXPECT_EQ(ErrorOfRestore(run_).Description(), "the database that the run " + run_ +
                                                    " kept cannot be put back: another program has written into \"" +
                                                    path + "\" since");
}

TEST_F(RefusedRestoreTest, KeptDatabaseThatIsMissing) {
  world_.files.RemoveFile(world_.folder.DatabaseOf(run_));
  EXPECT_EQ(ErrorOfRestore(run_).Description(), "the database that the run " + run_ + " kept cannot be put back: \"" +
                                                    world_.folder.DatabaseOf(run_) + "\" is missing");
}

TEST_F(RefusedRestoreTest, KeptDatabaseOfAnotherName) {
  RunRecord record = Record(run_);
  record.kept->name = "..\\..\\..\\Other.db";
  world_.folder.Write(run_, record);
  EXPECT_EQ(ErrorOfRestore(run_).Number(), errors::kOperationFailed);
}

TEST_F(RefusedRestoreTest, KeptTableThatIsDamaged) {
  const std::string path = world_.folder.HandheldFileOf(run_, "brnd_Trip");
  Bytes content = world_.files.Content(path);
  content.resize(content.size() - 3);
  world_.files.Put(path, content);
  const std::string text = ErrorOfRestore(run_).Description();
  EXPECT_TRUE(text.starts_with("\"" + path + "\": ")) << text;
}

TEST_F(RefusedRestoreTest, SideThatWasNotKept) {
  RunRecord record = Record(run_);
  record.kept.reset();
  world_.folder.Write(run_, record);
  EXPECT_EQ(ErrorOfRestore(run_, Sides::Desktop).Description(), "the run " + run_ + " kept no database");
  for (const std::string& table : tables_) world_.files.RemoveFile(world_.folder.HandheldFileOf(run_, table));
  EXPECT_EQ(ErrorOfRestore(run_, Sides::Handheld).Description(), "the run " + run_ + " kept no tables of the handheld");
  EXPECT_EQ(ErrorOfRestore(run_).Description(), "the run " + run_ + " kept nothing that could be brought back");
}

TEST_F(RefusedRestoreTest, ListOfUnfilledTablesThatCannotBeUnderstood) {
  world_.files.Put("C:\\Cars\\sync\\unfilled.json", Bytes{'{'});
  const std::string text = ErrorOfRestore(run_).Description();
  EXPECT_TRUE(text.starts_with("\"C:\\Cars\\sync\\unfilled.json\": ")) << text;
}

// --- What goes wrong on the way -------------------------------------------------------------------------------------

TEST_F(RestoreTest, TableThatTheHandheldRefusesIsNotedAndTheOthersAreTried) {
  // Each of the two tables that are fetched is opened twice; so this is the first upload.
  world_.rapi.Fail("CeCreateFile", 0, 5);
  const RestoreResult result = Run(run_);
  EXPECT_EQ(result.tables, std::vector<std::string>{"brnd_Trip"});
  ASSERT_EQ(result.refusals.size(), 1u);
  EXPECT_EQ(result.refusals[0].table, "brnd_Fuel");
  EXPECT_EQ(result.refusals[0].code, DeviceCopyResult::CannotCreate);
  const RunRecord record = Record(result.entry);
  EXPECT_EQ(record.status, 1);
  EXPECT_EQ(record.error, "the handheld did not take brnd_Fuel (code 7)");
  EXPECT_EQ(record.restore->tablesDone, std::vector<std::string>{"brnd_Trip"});
}

TEST_F(RestoreTest, RestoreThatIsStartedAgainDoesWhatIsLeftInItsOwnEntry) {
  world_.rapi.Fail("CeCreateFile", 0, 5);
  const std::string entry = Run(run_).entry;
  const auto handheld = world_.Connection();
  const RestoreContext context = world_.Context(*handheld);
  Restore restore(context, PlanRestore(context, run_, Sides::Both));
  EXPECT_EQ(restore.Continues(), entry);
  EXPECT_FALSE(restore.DesktopLeft());
  EXPECT_EQ(restore.TablesLeft(), std::vector<std::string>{"brnd_Fuel"});
  const RestoreResult result = restore.Run();
  EXPECT_EQ(result.entry, entry);
  EXPECT_EQ(result.tables, std::vector<std::string>{"brnd_Fuel"});
  ExpectOld();
  const RunRecord record = Record(entry);
  EXPECT_EQ(record.status, 0);
  EXPECT_EQ(record.error, "");
  Run(entry);
  ExpectNew();
}

TEST_F(RestoreTest, UploadThatWasCutOffIsCarriedOn) {
  world_.rapi.Fail("CeWriteFile", 0, 7);
  const std::string entry = Run(run_).entry;
  EXPECT_LT(world_.rapi.Content(HistoryWorld::DevicePath("brnd_Fuel")).size(),
            world_.files.Content(world_.folder.HandheldFileOf(run_, "brnd_Fuel")).size());
  EXPECT_EQ(Run(run_).entry, entry);
  ExpectOld();
}

TEST_F(RestoreTest, WhatWasChangedAfterARestoreWasCutOffIsKeptByANewOne) {
  world_.rapi.Fail("CeCreateFile", 0, 5);
  const std::string entry = Run(run_).entry;
  world_.PutHandheld("brnd_Fuel", {{"later", 9, 64}});
  const std::string next = Run(run_).entry;
  EXPECT_NE(next, entry);
  ExpectOld();
  Run(next);
  EXPECT_EQ(world_.Handheld("brnd_Fuel"), (std::vector<OdoRow>{{"later", 9, 64}}));
}

TEST_F(RestoreTest, DatabaseThatWasChangedAfterARestoreWasCutOffIsKeptByANewOne) {
  // The entry is there and the database about to be replaced: two tables, the record.
  world_.files.FailWrite(7);
  ErrorOfRestore(run_);
  const std::string entry = world_.folder.Entries().front();
  ASSERT_NE(entry, run_);
  ASSERT_FALSE(Record(entry).restore->desktopDone);
  world_.PutDatabase({{"later", 9}});
  const std::string next = Run(run_).entry;
  EXPECT_NE(next, entry);
  ExpectOld();
  Run(next);
  EXPECT_EQ(world_.Fuel(), (std::vector<OdoRow>{{"later", 9}}));
}

TEST_F(RestoreTest, DatabaseThatWasWrittenIntoAfterARestoreWasCutOffIsKeptAsItIsNow) {
  world_.files.FailWrite(7);
  ErrorOfRestore(run_);
  const std::string entry = world_.folder.Entries().front();
  const Bytes later = HistoryWorld::DatabaseOf({{"later", 9}});
  {
    const auto live = world_.files.Open(HistoryWorld::kDatabase, platform::Access::ReadWrite,
                                        platform::Disposition::OpenExisting, platform::Sharing::None);
    live->WriteAt(0, later);
    live->Resize(later.size());
  }
  EXPECT_EQ(Run(run_).entry, entry);
  ExpectOld();
  Run(entry);
  EXPECT_EQ(world_.files.Content(HistoryWorld::kDatabase), later);
}

TEST_F(RestoreTest, RestoreThatLacksNothingButItsEndIsEndedUnlessSomethingWasChangedSince) {
  const std::string entry = Run(run_).entry;
  RunRecord record = Record(entry);
  record.ended.clear();
  record.status.reset();
  world_.folder.Write(entry, record);
  const RestoreResult ended = Run(run_);
  EXPECT_EQ(ended.entry, entry);
  EXPECT_FALSE(ended.desktop);
  EXPECT_EQ(Record(entry).status, 0);
  world_.folder.Write(entry, record);
  world_.PutDatabase({{"later", 9}});
  EXPECT_NE(Run(run_).entry, entry);
  ExpectOld();
}

TEST_F(RestoreTest, CutOffRestoreWithALaterRunIsNotCarriedOn) {
  world_.rapi.Fail("CeCreateFile", 0, 5);
  const std::string entry = Run(run_).entry;
  world_.KeepAll(tables_);
  EXPECT_NE(Run(run_).entry, entry);
  ExpectOld();
}

TEST_F(RestoreTest, CutOffRestoreOfOtherSidesIsNotCarriedOn) {
  world_.rapi.Fail("CeCreateFile", 0, 5);
  const std::string entry = Run(run_).entry;
  EXPECT_NE(Run(run_, Sides::Handheld).entry, entry);
  ExpectOld();
}

/// Every step of a record that a cut-off restore may leave is true of the two sides.
void ExpectHonest(HistoryWorld& world, const std::string& run, Rapi& rapi, const std::string& folder) {
  for (const std::string& entry : world.folder.Entries()) {
    const std::optional<RunRecord> record = world.folder.Read(entry);
    if (!record || !record->restore) continue;
    if (record->restore->desktopDone) {
      EXPECT_EQ(world.files.Content(HistoryWorld::kDatabase), world.files.Content(world.folder.DatabaseOf(run)));
    }
    HandheldTables handheld(rapi, folder);
    for (const std::string& table : record->restore->tablesDone) {
      EXPECT_EQ(handheld.Fetch(table), world.files.Content(world.folder.HandheldFileOf(run, table))) << table;
    }
    if (record->status == 0) {
      EXPECT_TRUE(IsComplete(*record->restore));
    }
  }
}

enum class Fault { Write, WriteWithoutSecondNames, Sync };

/// A handheld that is a folder of the same file system, so that its writes fail like the desktop's.
class CutOffRestoreTest : public ::testing::TestWithParam<Fault> {
 protected:
  struct World : HistoryWorld {
    World() { files.CreateFolders("C:\\Handheld\\Motorva"); }
    void PutTable(const std::string& table, const std::vector<OdoRow>& rows) {
      files.Put("C:\\Handheld\\Motorva\\" + table + ".pdb", TableFileOf(table, rows));
    }
    Bytes Table(const std::string& table) { return files.Content("C:\\Handheld\\Motorva\\" + table + ".pdb"); }
    std::string Begin(const std::vector<std::string>& tables) {
      PutDatabase(kOld);
      UnfilledTables(files, kDatabase).Save({"brnd_Trip"});
      const std::string run = KeepAll({});
      RunRecord record = *folder.Read(run);
      record.unfilled = {"brnd_Customer"};
      folder.Write(run, record);
      for (const std::string& table : tables) {
        folder.KeepContent(TableFileOf(table, kOldOnHandheld), folder.HandheldFileOf(run, table));
        PutTable(table, kNewOnHandheld);
      }
      PutDatabase(kNew);
      return run;
    }
    RestoreResult Run(const std::string& run) {
      FolderRapi folderRapi(files, "C:\\Handheld");
      HandheldTables handheld(folderRapi, "\\Motorva");
      const RestoreContext context = Context(handheld);
      return Restore(context, PlanRestore(context, run, Sides::Both)).Run();
    }
    bool RunFails(const std::string& run) {
      try {
        return !Run(run).refusals.empty();
      } catch (const Error&) {
        return true;
      }
    }
  };
  /// The `step`th write or sync from now on fails.
  static void Fail(World& world, std::size_t step) {
    if (GetParam() == Fault::WriteWithoutSecondNames) world.files.RefuseLinks();
    GetParam() == Fault::Sync ? world.files.FailSync(step) : world.files.FailWrite(step);
  }
  static void FailNoMore(World& world) {
    world.files.FailSync(0);
    world.files.FailWrite(0);
  }

  const std::vector<std::string> tables_ = {"brnd_Fuel", "brnd_Trip"};
};

TEST_P(CutOffRestoreTest, RestoreThatFailsAtAnyStepEndsLikeAnUndisturbedOneWhenItIsStartedAgain) {
  std::size_t failed = 0;
  for (std::size_t step = 1;; ++step) {
    SCOPED_TRACE("step " + std::to_string(step));
    World world;
    const std::string run = world.Begin(tables_);
    Fail(world, step);
    const bool fails = world.RunFails(run);
    FailNoMore(world);
    FolderRapi handheld(world.files, "C:\\Handheld");
    ExpectHonest(world, run, handheld, "\\Motorva");
    if (!fails) break;
    ++failed;
    const std::string last = FindRun(world.folder, "last");
    EXPECT_EQ(last, run);
    EXPECT_EQ(world.RunFails(last), false);
    ExpectHonest(world, run, handheld, "\\Motorva");
    EXPECT_EQ(world.Fuel(), kOld);
    EXPECT_EQ(UnfilledTables(world.files, HistoryWorld::kDatabase).Load(), std::vector<std::string>{"brnd_Customer"});
    for (const std::string& table : tables_) {
      EXPECT_EQ(world.Table(table), world.files.Content(world.folder.HandheldFileOf(run, table)));
    }
    ASSERT_EQ(world.folder.Entries().size(), 2u);
    const std::string entry = world.folder.Entries().front();
    EXPECT_EQ(world.folder.Read(entry)->status, 0);
    EXPECT_FALSE(world.folder.Read(entry)->ended.empty());
    EXPECT_EQ(world.RunFails(entry), false);
    EXPECT_EQ(world.Fuel(), kNew);
    for (const std::string& table : tables_) {
      EXPECT_EQ(HistoryWorld::RowsOfFile(world.Table(table)), kNewOnHandheld);
    }
  }
  EXPECT_GE(failed, 11u);
}

std::string NameOfFault(const ::testing::TestParamInfo<Fault>& test) {
  constexpr std::array kNames = {"Write", "WriteWithoutSecondNames", "Sync"};
  return kNames.at(static_cast<std::size_t>(test.param));
}

INSTANTIATE_TEST_SUITE_P(Faults, CutOffRestoreTest,
                         ::testing::Values(Fault::Write, Fault::WriteWithoutSecondNames, Fault::Sync), NameOfFault);

}  // namespace
}  // namespace mv::history
