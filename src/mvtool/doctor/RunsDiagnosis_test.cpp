#include "mvtool/doctor/RunsDiagnosis.h"

#include <gtest/gtest.h>

#include "history/UnfilledTables.h"
#include "support/HistoryWorld.h"

namespace mv::tool {
namespace {

using testing::HistoryWorld;

class RunsDiagnosisTest : public ::testing::Test {
 protected:
  Diagnoses Diagnose() { return DiagnoseRuns(world_.files, HistoryWorld::kDatabase, {10, 2048}); }
  void Keep(const history::RunRecord& record) {
    entry_ = world_.folder.Create(world_.clock.Now());
    world_.folder.Write(entry_, record);
  }

  HistoryWorld world_;
  std::string entry_;
};

TEST_F(RunsDiagnosisTest, WithoutAHistoryThereIsNothingToSay) {
  EXPECT_EQ(Diagnose(), Diagnoses{Well("last run", "none is kept yet")});
}

TEST_F(RunsDiagnosisTest, TheNewestRunIsToldWithItsEnd) {
  history::RunRecord record = HistoryWorld::FinishedRun();
  Keep(record);
  EXPECT_EQ(Diagnose(), Diagnoses{Well("last run", entry_ + ", Synchronize, all went well")});
  record.status = 2;
  record.error = "Error 61: Disk full";
  Keep(record);
  EXPECT_EQ(Diagnose().front().level, Level::Warning);
  EXPECT_EQ(Diagnose().front().text, entry_ + ", Synchronize, ended with status 2: Error 61: Disk full");
  record.status.reset();
  Keep(record);
  EXPECT_EQ(Diagnose().front().text, entry_ + ", Synchronize, was cut off");
}

TEST_F(RunsDiagnosisTest, ARestoreThatWasCutOffIsAWarning) {
  history::RunRecord record = HistoryWorld::FinishedRun();
  record.restore = history::RestoreRecord{"20261120-080000", true, {}, false, {}};
  Keep(record);
  EXPECT_EQ(Diagnose().front().level, Level::Warning);
  record.restore->desktopDone = true;
  Keep(record);
  EXPECT_EQ(Diagnose().front().level, Level::Ok);
}

TEST_F(RunsDiagnosisTest, TablesThatAnOverwritePcDidNotFillAreAWarning) {
  world_.files.CreateFolders("C:\\Cars\\sync");
  history::UnfilledTables(world_.files, HistoryWorld::kDatabase).Save({"brnd_Fuel", "brnd_Trip"});
  EXPECT_EQ(Diagnose().back().text, "one emptied 2 tables and did not fill them");
}

TEST_F(RunsDiagnosisTest, AHistoryThatKeepsNothingIsAWarning) {
  EXPECT_EQ(DiagnoseRuns(world_.files, HistoryWorld::kDatabase, {0, 2048}).back().subject, "history");
}

TEST_F(RunsDiagnosisTest, AutoStartIsHeldAgainstTheSettings) {
  Settings settings;
  EXPECT_EQ(DiagnoseAutoStart(world_.files, settings, {}), Well("auto-start", "off"));
  settings.AutoStart = 1;
  EXPECT_EQ(DiagnoseAutoStart(world_.files, settings, {}).level, Level::Warning);
  const std::string registered = "C:\\Program Files\\Motorva\\MVPPCSync.exe -Mode0";
  EXPECT_EQ(DiagnoseAutoStart(world_.files, settings, registered).text,
            "it starts \"C:\\Program Files\\Motorva\\MVPPCSync.exe\", which is not there");
  world_.files.Put("C:\\Program Files\\Motorva\\MVPPCSync.exe", {1});
  EXPECT_EQ(DiagnoseAutoStart(world_.files, settings, registered), Well("auto-start", registered));
  settings.SyncMode = 1;
  EXPECT_EQ(DiagnoseAutoStart(world_.files, settings, registered).level, Level::Warning);
  EXPECT_EQ(DiagnoseAutoStart(world_.files, settings, "/home/kim/x.service").level, Level::Ok);
}

}  // namespace
}  // namespace mv::tool
