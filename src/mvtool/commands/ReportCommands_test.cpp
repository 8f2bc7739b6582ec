#include <gtest/gtest.h>

#include <sstream>

#include "mvtool/commands/Command.h"
#include "pdb/RecordFlags.h"
#include "platform/System.h"
#include "support/HistoryWorld.h"
#include "support/RecordingSettings.h"

namespace mv::tool {
namespace {

using history::RunRecord;
using history::TableState;
using testing::HistoryWorld;
using testing::OdoRow;

/// A database with brnd_Fuel and brnd_Trip, and a folder for the handheld.
class ReportCommandTest : public ::testing::Test {
 protected:
  ReportCommandTest() {
    settings_.Put("General", "DBPath", "C:\\Cars");
    settings_.Put("Handheld", "Root", "C:\\Handheld");
    world_.files.CreateFolders("C:\\Handheld\\Program Files\\Motorva");
    world_.files.CreateFolders(platform::TemporaryFolder());
    world_.PutDatabase({{"a", 1}, {"b", 1}});
    PutTable({{"a", 2, kRecordModified}, {"c", 1}});
  }

  static constexpr const char* kFuelFile = "C:\\Handheld\\Program Files\\Motorva\\brnd_Fuel.pdb";

  void PutTable(const std::vector<OdoRow>& rows) { world_.files.Put(kFuelFile, world_.TableFileOf("brnd_Fuel", rows)); }
  /// An entry whose report has one row that came and one that was lost.
  std::string KeepReport(const std::string& ended) {
    const std::string entry = world_.folder.Create(world_.clock.Now());
    RunRecord record = HistoryWorld::FinishedRun();
    record.ended = ended;
    record.tables = {{"brnd_Fuel", TableState::Returned, 0, {1, 2, 1, 0, 0}, {2, 2, 1, 0, 0}, 1, 0},
                     {"brnd_Trip", TableState::Returned, 0, {}, {}, 0, 0}};
    world_.folder.Write(entry, record);
    const std::string lines =
        R"({"table":"brnd_Fuel","key":"n","side":"desktop","what":"added","before":null,"after":{"NM_ODO":5}})"
        "\n"
        R"({"table":"brnd_Fuel","key":"d","side":"handheld","what":"dropped","before":{"NM_ODO":6},"after":null})"
        "\n";
    world_.files.Put(world_.folder.ChangesOf(entry), Bytes(lines.begin(), lines.end()));
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
  std::string out_;
  std::string err_;
};

// --- changes --------------------------------------------------------------------------------------------------------

TEST_F(ReportCommandTest, LossesComeFirstThenTablesThenTheOtherRows) {
  KeepReport("2026-11-21T14:05:10");
  EXPECT_EQ(Run({"changes"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "brnd_Fuel d: dropped on the handheld: NM_ODO 6\n"
            "brnd_Fuel: PC +1 ~0 -0, handheld +1 ~0 -0, dropped 1, overruled 0\n"
            "brnd_Trip: PC +0 ~0 -0, handheld +0 ~0 -0, dropped 0, overruled 0\n"
            "brnd_Fuel n: added on the PC: NM_ODO 5\n");
  EXPECT_EQ(err_, "");
}

TEST_F(ReportCommandTest, ChangesOfOneTableAsJson) {
  const std::string run = KeepReport("2026-11-21T14:05:10");
  EXPECT_EQ(Run({"changes", run, "--table", "brnd_Trip", "--json"}), kSucceeded) << err_;
  const std::string none = R"({"before":0,"after":0,"added":0,"changed":0,"deleted":0})";
  EXPECT_EQ(out_, R"({"table":"brnd_Trip","desktop":)" + none + R"(,"handheld":)" + none +
                      R"(,"dropped":0,"overruled":0})"
                      "\n");
}

TEST_F(ReportCommandTest, TheNewestRunIsMeantAndNoRestore) {
  KeepReport("2026-11-21T14:05:10");
  RunRecord restore = HistoryWorld::FinishedRun();
  restore.restore.emplace();
  world_.folder.Write(world_.folder.Create(world_.clock.Now()), restore);
  EXPECT_EQ(Run({"changes"}), kSucceeded) << err_;
  EXPECT_NE(out_.find("dropped 1"), std::string::npos) << out_;
}

TEST_F(ReportCommandTest, AReportThatMayNotBeWholeSaysSo) {
  const std::string run = KeepReport("");
  EXPECT_EQ(Run({"changes"}), kSucceeded) << err_;
  EXPECT_EQ(err_.find("mvtool: the run " + run + " was cut off or is going on"), 0u) << err_;
}

TEST_F(ReportCommandTest, RowsThatWereNotSavedAreSaidToBeSo) {
  const std::string run = KeepReport("2026-11-21T14:05:10");
  RunRecord record = world_.folder.Read(run).value();
  record.Find("brnd_Fuel")->state = TableState::Held;
  world_.folder.Write(run, record);
  EXPECT_EQ(Run({"changes"}), kSucceeded) << err_;
  EXPECT_EQ(err_, "mvtool: the run stopped before it saved brnd_Fuel; its rows did not change\n");
}

TEST_F(ReportCommandTest, WhatIsNotThereIsRefused) {
  EXPECT_EQ(Run({"changes"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: the history has no run\n");
  KeepReport("2026-11-21T14:05:10");
  EXPECT_EQ(Run({"changes", "--table", "brnd_Boats"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: there is no table \"brnd_Boats\"\n");
}

// --- preview --------------------------------------------------------------------------------------------------------

TEST_F(ReportCommandTest, APreviewShowsWhatTheRunWouldDoAndDoesNothing) {
  const Bytes database = world_.files.Content(HistoryWorld::kDatabase);
  const Bytes table = world_.files.Content(kFuelFile);
  EXPECT_EQ(Run({"preview", "--mode", "0", "--tables", "brnd_Fuel"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "brnd_Fuel a: overruled on the PC: NM_ODO 1 -> 2\n"
            "brnd_Fuel c: dropped on the handheld: KY_RECID \"c\", NM_ODO 1\n"
            "brnd_Fuel: PC +0 ~1 -0, handheld +1 ~0 -0, dropped 1, overruled 1\n"
            "brnd_Fuel a: changed on the PC: NM_ODO 1 -> 2\n"
            "brnd_Fuel b: added on the handheld: KY_RECID \"b\", NM_ODO 1\n");
  EXPECT_EQ(world_.files.Content(HistoryWorld::kDatabase), database);
  EXPECT_EQ(world_.files.Content(kFuelFile), table);
  EXPECT_EQ(world_.files.List("C:\\Cars"), std::vector<std::string>{"Motorva.db"});
  EXPECT_TRUE(world_.files.List(platform::TemporaryFolder()).empty());
}

TEST_F(ReportCommandTest, APreviewEndsAsTheRunWould) {
  EXPECT_EQ(Run({"preview", "--tables", "brnd_Trip"}), 1) << "the handheld has no such table";
  EXPECT_EQ(err_.find("MVPPCSync: brnd_Trip not fetched (code 1)"), 0u) << err_;
  world_.files.Put(kFuelFile, {});
  EXPECT_EQ(Run({"preview", "--tables", "brnd_Fuel"}), 2);
  EXPECT_EQ(err_.find("MVPPCSync: stopped at table brnd_Fuel: Error 9"), 0u) << err_;
  settings_.Put("Handheld", "Root", "C:\\Nowhere");
  EXPECT_EQ(Run({"preview"}), 3);
  EXPECT_EQ(err_.find("MVPPCSync: no handheld answered"), 0u) << err_;
}

TEST_F(ReportCommandTest, APreviewOfAnErrorNamesThePathsOfTheRun) {
  world_.files.RemoveFile(HistoryWorld::kDatabase);
  EXPECT_EQ(Run({"preview", "--tables", "brnd_Fuel"}), 2);
  EXPECT_NE(err_.find("Could not find file 'C:\\Cars\\Motorva.db'"), std::string::npos) << err_;
  EXPECT_TRUE(world_.files.List(platform::TemporaryFolder()).empty());
}

TEST_F(ReportCommandTest, ADatabaseInUseStopsAPreviewToo) {
  const auto held = world_.files.Open(HistoryWorld::kDatabase, platform::Access::ReadWrite,
                                      platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_EQ(Run({"preview", "--tables", "brnd_Fuel"}), 2);
  EXPECT_NE(err_.find("the run would be stopped"), std::string::npos) << err_;
}

TEST_F(ReportCommandTest, WarningsFollowTheReport) {
  PutTable({});
  world_.PutDatabase({});
  std::vector<OdoRow> rows;
  for (int i = 0; i < 12; ++i) rows.push_back({std::to_string(i), 1});
  PutTable(rows);
  EXPECT_EQ(Run({"preview", "--tables", "brnd_Fuel"}), kSucceeded);
  EXPECT_TRUE(out_.ends_with("\nWarning: brnd_Fuel: the handheld loses 12 of 12 rows\n")) << out_;
  EXPECT_EQ(Run({"preview", "--tables", "brnd_Fuel", "--json"}), kSucceeded);
  EXPECT_TRUE(out_.ends_with("\n{\"warning\":\"brnd_Fuel: the handheld loses 12 of 12 rows\"}\n")) << out_;
}

TEST_F(ReportCommandTest, UnknownModesAndTablesAreNotUnderstood) {
  EXPECT_EQ(Run({"preview", "--mode", "3"}), kNotUnderstood);
  EXPECT_EQ(Run({"preview", "--tables", "brnd_Fuel,brnd_Boats"}), kNotUnderstood);
  EXPECT_EQ(err_, "mvtool: --tables: there is no table \"brnd_Boats\"\n");
}

}  // namespace
}  // namespace mv::tool
