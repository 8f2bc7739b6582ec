#include <gtest/gtest.h>

#include <sstream>

#include "mvtool/commands/Command.h"
#include "support/HistoryWorld.h"
#include "support/RecordingSettings.h"

namespace mv::tool {
namespace {

using history::RunRecord;
using history::TableState;
using testing::HistoryWorld;
using testing::OdoRow;

/// A run has begun with the row "a" in brnd_Fuel and left "b", on both sides. The handheld is a folder.
class HistoryCommandTest : public ::testing::Test {
 protected:
  HistoryCommandTest() {
    settings_.Put("General", "DBPath", "C:\\Cars");
    settings_.Put("Handheld", "Root", "C:\\Handheld");
    world_.files.CreateFolders("C:\\Handheld\\Program Files\\Motorva");
    world_.PutDatabase({{"a", 1}});
    PutTable({{"a", 1, 64}});
    run_ = KeepRun();
    world_.PutDatabase({{"b", 2}});
    PutTable({{"b", 2}});
  }

  static constexpr const char* kFuelFile = "C:\\Handheld\\Program Files\\Motorva\\brnd_Fuel.pdb";

  void PutTable(const std::vector<OdoRow>& rows) { world_.files.Put(kFuelFile, world_.TableFileOf("brnd_Fuel", rows)); }
  std::vector<OdoRow> Table() { return HistoryWorld::RowsOfFile(world_.files.Content(kFuelFile)); }
  std::string KeepRun() {
    const std::string entry = world_.KeepAll({});
    world_.folder.KeepContent(world_.files.Content(kFuelFile), world_.folder.HandheldFileOf(entry, "brnd_Fuel"));
    RunRecord record = HistoryWorld::FinishedRun();
    record.kept = history::KeptDatabase{"Motorva.db", world_.files.FactsOf(HistoryWorld::kDatabase)};
    record.tables = {{"brnd_Fuel", TableState::Returned, 0, {1, 1, 1, 0, 1}, {1, 1, 1, 0, 1}, 0, 0},
                     {"brnd_Trip", TableState::Returned, 0, {0, 0, 1, 2, 3}, {0, 0, 4, 5, 6}, 7, 8}};
    world_.folder.Write(entry, record);
    return entry;
  }

  int Run(const std::vector<std::string>& words) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    ToolContext context{in, out, err, world_.files, world_.clock};
    context.openSettings = [this] { return std::make_unique<testing::RecordingSettings>(settings_); };
    context.programFolder = "C:\\Motorva";
    const int status = RunTool(words, context);
    out_ = out.str();
    err_ = err.str();
    return status;
  }

  testing::RecordingSettings settings_;
  HistoryWorld world_;
  std::string run_;
  std::string out_;
  std::string err_;
};

// --- The settings ---------------------------------------------------------------------------------------------------

TEST_F(HistoryCommandTest, WithoutSettingsThereIsNothingToWorkWith) {
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream err;
  ToolContext context{in, out, err, world_.files, world_.clock};
  EXPECT_EQ(RunTool(std::vector<std::string>{"runs"}, context), kOperationFailed);
  EXPECT_EQ(err.str(), "mvtool: there are no settings\n");
}

TEST_F(HistoryCommandTest, WithoutAFolderTheSystemsHandheldIsAsked) {
  settings_.Put("Handheld", "Root", "");
  EXPECT_EQ(Run({"restore", run_}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: there is no handheld\n");
}

TEST_F(HistoryCommandTest, RunThatGoesOnIsNotDisturbed) {
  world_.files.Put("C:\\Cars\\SyncLog.txt", {});
  const auto log = world_.files.Open("C:\\Cars\\SyncLog.txt", platform::Access::Write,
                                     platform::Disposition::OpenExisting, platform::Sharing::Read);
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"restore", run_}, {"send", "brnd_Fuel"}, {"prune", "--keep", "0"}}) {
    EXPECT_EQ(Run(words), kOperationFailed) << words[0];
    EXPECT_EQ(err_, "mvtool: a run is going on, or another program has \"C:\\Cars\\SyncLog.txt\" open\n");
  }
  EXPECT_EQ(world_.Fuel(), (std::vector<OdoRow>{{"b", 2}}));
  EXPECT_EQ(Run({"restore", run_, "--dry-run"}), kSucceeded) << err_;
}

// --- runs -----------------------------------------------------------------------------------------------------------

TEST_F(HistoryCommandTest, RunsAreListedNewestFirst) {
  RunRecord cut;
  cut.began = "2026-11-21T14:05:10";
  cut.modeName = "Overwrite PC";
  cut.mode = 2;
  cut.warnings = {"brnd_Fuel lost rows"};
  world_.folder.Write(world_.folder.Create(world_.clock.Now()), cut);
  EXPECT_EQ(Run({"runs"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "20261121-140510  2026-11-21T14:05:10  Overwrite PC  still going or cut off  PC +0 ~0 -0, handheld +0 ~0 "
            "-0  can be undone: nothing\n"
            "  brnd_Fuel lost rows\n"
            "20261121-140509  2026-11-21T14:05:09  Synchronize  done  PC +2 ~2 -4, handheld +5 ~5 -7, dropped 7, "
            "overruled 8  can be undone: PC, 1 table of the handheld\n");
}

TEST_F(HistoryCommandTest, WithoutRunsThatIsSaidAndJsonIsEmpty) {
  settings_.Put("General", "DBPath", "/home/kim/cars");
  EXPECT_EQ(Run({"runs"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "No run of \"/home/kim/cars/Motorva.db\" is kept yet.\n");
  EXPECT_EQ(Run({"runs", "--json"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "");
  settings_.Put("History", "Keep", "0");
  EXPECT_EQ(Run({"runs"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "No run of \"/home/kim/cars/Motorva.db\" is kept: Keep of [History] is 0.\n");
}

TEST_F(HistoryCommandTest, RunThatFailedSaysWhy) {
  RunRecord record = *world_.folder.Read(run_);
  record.status = 2;
  record.error = "Disk full";
  world_.folder.Write(run_, record);
  Run({"runs"});
  EXPECT_NE(out_.find("  exit status 2: Disk full  "), out_.npos) << out_;
}

TEST_F(HistoryCommandTest, RunWithoutARecordIsListedAsSuch) {
  world_.files.Put(world_.folder.RecordOf(run_), Bytes{'{'});
  EXPECT_EQ(Run({"runs"}), kSucceeded);
  EXPECT_EQ(out_, run_ + "  no record that could be read\n");
  EXPECT_EQ(Run({"runs", "--json"}), kSucceeded);
  EXPECT_EQ(out_, "{\"run\":\"" + run_ + "\",\"mode\":null,\"undo\":{\"desktop\":false,\"handheld\":[]}}\n");
}

TEST_F(HistoryCommandTest, RunsAsJson) {
  EXPECT_EQ(Run({"runs", "--json"}), kSucceeded);
  EXPECT_EQ(out_,
            "{\"run\":\"20261121-140509\",\"mode\":0,\"modeName\":\"Synchronize\",\"began\":\"2026-11-21T14:05:09\","
            "\"ended\":\"2026-11-21T14:05:10\",\"status\":0,\"error\":null,\"sums\":{\"desktop\":{\"added\":2,"
            "\"changed\":2,\"deleted\":4},\"handheld\":{\"added\":5,\"changed\":5,\"deleted\":7},\"dropped\":7,"
            "\"overruled\":8},\"warnings\":[],\"undo\":{\"desktop\":true,\"handheld\":[\"brnd_Fuel\"]}}\n");
}

TEST_F(HistoryCommandTest, ModeOfARestoreIsAWord) {
  ASSERT_EQ(Run({"restore", run_}), kSucceeded) << err_;
  Run({"runs", "--json"});
  EXPECT_TRUE(out_.starts_with("{\"run\":\"20261121-140510\",\"mode\":\"restore\",\"modeName\":\"Restore\",\"of\":\"" +
                               run_ + "\","))
      << out_;
  Run({"runs"});
  EXPECT_TRUE(out_.starts_with("20261121-140510  2026-11-21T14:05:09  Restore  done  of " + run_ +
                               "  can be undone: PC, 1 table of the handheld\n"))
      << out_;
}

TEST_F(HistoryCommandTest, HostileCountsDoNotOverflowTheSums) {
  RunRecord record = *world_.folder.Read(run_);
  record.tables.assign(3, {"x", TableState::Returned, 0, {0, 0, INT64_MAX, INT64_MIN, -1}, {}, INT64_MAX, 0});
  world_.folder.Write(run_, record);
  EXPECT_EQ(Run({"runs", "--json"}), kSucceeded);
  EXPECT_NE(out_.find("\"desktop\":{\"added\":1099511627776,\"changed\":0,\"deleted\":0}"), out_.npos) << out_;
}

// --- restore --------------------------------------------------------------------------------------------------------

TEST_F(HistoryCommandTest, RestoreSaysWhatCameBackAndHowToUndoIt) {
  EXPECT_EQ(Run({"restore", run_}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "C:\\Cars\\Motorva.db: as before the run 20261121-140509\n"
            "handheld, brnd_Fuel: as before the run 20261121-140509\n"
            "To undo this: mvtool restore 20261121-140510\n");
  EXPECT_EQ(world_.Fuel(), (std::vector<OdoRow>{{"a", 1}}));
  EXPECT_EQ(Table(), (std::vector<OdoRow>{{"a", 1, 64}}));
  EXPECT_EQ(Run({"restore", "last"}), kSucceeded) << err_;
  EXPECT_EQ(world_.Fuel(), (std::vector<OdoRow>{{"b", 2}}));
  EXPECT_EQ(Table(), (std::vector<OdoRow>{{"b", 2}}));
}

TEST_F(HistoryCommandTest, OneSideIsRestored) {
  EXPECT_EQ(Run({"restore", run_, "--desktop-only"}), kSucceeded) << err_;
  EXPECT_EQ(world_.Fuel(), (std::vector<OdoRow>{{"a", 1}}));
  EXPECT_EQ(Table(), (std::vector<OdoRow>{{"b", 2}}));
  EXPECT_EQ(Run({"restore", "last"}), kSucceeded) << err_;
  EXPECT_EQ(Run({"restore", run_, "--handheld-only"}), kSucceeded) << err_;
  EXPECT_EQ(world_.Fuel(), (std::vector<OdoRow>{{"b", 2}}));
  EXPECT_EQ(Table(), (std::vector<OdoRow>{{"a", 1, 64}}));
  EXPECT_EQ(Run({"restore", run_, "--desktop-only", "--handheld-only"}), kNotUnderstood);
}

TEST_F(HistoryCommandTest, DryRunListsRowsAndChangesNothing) {
  const std::size_t writes = world_.files.Writes();
  EXPECT_EQ(Run({"restore", run_, "--dry-run"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "brnd_Fuel: PC +1 ~0 -1, handheld +1 ~0 -1\n"
            "  brnd_Fuel a: added on the PC: KY_RECID \"a\", NM_ODO 1\n"
            "  brnd_Fuel b: deleted on the PC: KY_RECID \"b\", NM_ODO 2\n"
            "  brnd_Fuel a: added on the handheld: KY_RECID \"a\", NM_ODO 1\n"
            "  brnd_Fuel b: deleted on the handheld: KY_RECID \"b\", NM_ODO 2\n"
            "brnd_Trip: no change\n");
  EXPECT_EQ(world_.files.Writes(), writes);
  EXPECT_EQ(world_.folder.Entries(), std::vector<std::string>{run_});
}

TEST_F(HistoryCommandTest, DryRunCountsFlags) {
  PutTable({{"a", 1}});
  EXPECT_EQ(Run({"restore", run_, "--dry-run", "--handheld-only"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "brnd_Fuel: flags of 1 row\n");
}

TEST_F(HistoryCommandTest, DatabaseThatWasNotReplacedStays) {
  const std::string later = KeepRun();
  EXPECT_EQ(Run({"restore", later, "--desktop-only"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "C:\\Cars\\Motorva.db: stays, it was not replaced since the run\n");
  world_.files
      .Open(HistoryWorld::kDatabase, platform::Access::ReadWrite, platform::Disposition::OpenExisting,
            platform::Sharing::None)
      ->WriteAt(100, Bytes{0});
  EXPECT_EQ(Run({"restore", later, "--desktop-only", "--dry-run"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "C:\\Cars\\Motorva.db: stays, it was not replaced since the run; but another program has written into "
            "it\n");
}

TEST_F(HistoryCommandTest, RefusedTableFailsAndTheSameCommandDoesTheRest) {
  const auto held = [&] {
    return world_.files.Open(kFuelFile, platform::Access::Read, platform::Disposition::OpenExisting,
                             platform::Sharing::Read);
  };
  auto reader = held();
  EXPECT_EQ(Run({"restore", "last"}), kOperationFailed);
  EXPECT_EQ(out_,
            "C:\\Cars\\Motorva.db: as before the run 20261121-140509\n"
            "To undo this: mvtool restore 20261121-140510\n");
  EXPECT_EQ(err_, "mvtool: the handheld did not take brnd_Fuel (code 7); the same command does what is left\n");
  reader.reset();
  EXPECT_EQ(Run({"restore", "last"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "The restore 20261121-140510 was not finished. Left to do: brnd_Fuel\n"
            "handheld, brnd_Fuel: as before the run 20261121-140509\n"
            "To undo this: mvtool restore 20261121-140510\n");
  EXPECT_EQ(Table(), (std::vector<OdoRow>{{"a", 1, 64}}));
}

TEST_F(HistoryCommandTest, FullDiskOnTheWayIsAnErrorThatSaysWhatToDo) {
  world_.files.FailWrite(6);
  EXPECT_EQ(Run({"restore", "last"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: the restore is not finished, the same command does what is left: Disk full\n");
  EXPECT_EQ(Run({"restore", "last"}), kSucceeded) << err_;
  EXPECT_EQ(Table(), (std::vector<OdoRow>{{"a", 1, 64}}));
}

TEST_F(HistoryCommandTest, UnknownRunIsRefused) {
  EXPECT_EQ(Run({"restore", "20200101-000000"}), kOperationFailed);
  EXPECT_EQ(err_,
            "mvtool: there is no run \"20200101-000000\" in \"C:\\Cars\\sync\\history\"; there are: " + run_ + "\n");
}

// --- send -----------------------------------------------------------------------------------------------------------

TEST_F(HistoryCommandTest, LastResultIsSentAgain) {
  world_.files.Put(world_.folder.ResultFileOf(run_, "brnd_Fuel"), world_.TableFileOf("brnd_Fuel", {{"r", 5}}));
  EXPECT_EQ(Run({"send", "brnd_Fuel"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "brnd_Fuel: sent, of the run " + run_ + "\n");
  EXPECT_EQ(Table(), (std::vector<OdoRow>{{"r", 5}}));
  EXPECT_EQ(Run({"send", "brnd_Fuel", "--from", "last"}), kSucceeded) << err_;
  EXPECT_EQ(Run({"send", "brnd_Fuel", "--from", "x"}), kOperationFailed);
}

TEST_F(HistoryCommandTest, ResultThatLooksLikeALossNeedsForce) {
  world_.files.Put(world_.folder.ResultFileOf(run_, "brnd_Fuel"), world_.TableFileOf("brnd_Fuel", {}));
  EXPECT_EQ(Run({"send", "brnd_Fuel"}), kOperationFailed);
  EXPECT_EQ(Table(), (std::vector<OdoRow>{{"b", 2}}));
  EXPECT_EQ(Run({"send", "brnd_Fuel", "--force"}), kSucceeded) << err_;
  EXPECT_TRUE(Table().empty());
}

TEST_F(HistoryCommandTest, TableThatIsRefusedIsNamed) {
  world_.files.Put(world_.folder.ResultFileOf(run_, "brnd_Fuel"), world_.TableFileOf("brnd_Fuel", {{"r", 5}}));
  const auto held = world_.files.Open(kFuelFile, platform::Access::Read, platform::Disposition::OpenExisting,
                                      platform::Sharing::Read);
  EXPECT_EQ(Run({"send", "brnd_Fuel"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: the handheld did not take brnd_Fuel (code 7)\n");
}

// --- prune ----------------------------------------------------------------------------------------------------------

TEST_F(HistoryCommandTest, PruneGoesByTheSettings) {
  const std::string later = KeepRun();
  EXPECT_EQ(Run({"prune"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "");
  settings_.Put("History", "Keep", "1");
  EXPECT_EQ(Run({"prune"}), kSucceeded) << err_;
  EXPECT_EQ(out_, run_ + "\n");
  EXPECT_EQ(world_.folder.Entries(), std::vector<std::string>{later});
}

TEST_F(HistoryCommandTest, PruneByANumber) {
  EXPECT_EQ(Run({"prune", "--keep", "0"}), kSucceeded) << err_;
  EXPECT_EQ(out_, run_ + "\n");
  for (const char* number : {"-1", "x", "", "1.5", "99999999999999999999"}) {
    EXPECT_EQ(Run({"prune", "--keep", number}), kNotUnderstood) << number;
  }
}

}  // namespace
}  // namespace mv::tool
