#include "run/DesktopBackup.h"

#include <gtest/gtest.h>

#include "platform/StagedWrite.h"
#include "run/RunSteps.h"
#include "support/ExpectError.h"
#include "support/RunWorld.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;
using testing::FakeClock;

const std::string kDatabase = "C:\\Cars\\Motorva.db";
const std::string kBackup = "C:\\Cars\\Motorva.db.presyncbackup.20261121-140509";

class DesktopBackupTest : public ::testing::Test {
 protected:
  DesktopBackupTest() {
    world_.files.Put(kDatabase, {1, 2, 3});
    world_.files.Put("C:\\Motorva\\_20", {9, 9});
  }

  std::int32_t ErrorOfBackup() {
    return ErrorNumberOf([&] { BackupDesktopDatabase(world_.run, kTables); });
  }

  testing::RunWorld world_;
  RunJournal journal_{world_.run, kTables};
};

TEST_F(DesktopBackupTest, TheDatabaseIsKeptAsideAndTheTemplateTakesItsPlace) {
  BackupDesktopDatabase(world_.run, kTables);
  EXPECT_EQ(world_.files.Content(kBackup), (Bytes{1, 2, 3}));
  EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{9, 9}));
  EXPECT_EQ(world_.files.Content("C:\\Motorva\\_20"), (Bytes{9, 9}));
  EXPECT_EQ(world_.Log(), "   Backup Desktop Database to: " + kBackup + "\r\n");
}

TEST_F(DesktopBackupTest, DayAndTimeOfTheNameAreTwoReadingsOfTheClock) {
  world_.clock = FakeClock({{2026, 1, 2, 23, 59, 59}, {2026, 1, 3, 0, 4, 5}});
  BackupDesktopDatabase(world_.run, kTables);
  EXPECT_TRUE(world_.files.FileExists("C:\\Cars\\Motorva.db.presyncbackup.20260102-000405"));
}

TEST_F(DesktopBackupTest, ABackupIsNeverReplacedTheTimeInTheNameGoesOn) {
  for (std::uint8_t run = 1; run <= 3; ++run) {
    world_.files.Put(kDatabase, {run});
    BackupDesktopDatabase(world_.run, kTables);
  }
  EXPECT_EQ(world_.files.Content(kBackup), Bytes{1});
  EXPECT_EQ(world_.files.Content("C:\\Cars\\Motorva.db.presyncbackup.20261121-140510"), Bytes{2});
  EXPECT_EQ(world_.files.Content("C:\\Cars\\Motorva.db.presyncbackup.20261121-140511"), Bytes{3});
  EXPECT_TRUE(world_.Log().ends_with("presyncbackup.20261121-140511\r\n")) << "the log names what was written";
}

TEST_F(DesktopBackupTest, TheTimeInTheNameGoesOnThroughMidnight) {
  world_.clock = FakeClock({{2026, 12, 31, 23, 59, 59}});
  world_.files.Put("C:\\Cars\\Motorva.db.presyncbackup.20261231-235959", {7});
  BackupDesktopDatabase(world_.run, kTables);
  EXPECT_EQ(world_.files.Content("C:\\Cars\\Motorva.db.presyncbackup.20270101-000000"), (Bytes{1, 2, 3}));
}

TEST_F(DesktopBackupTest, ANameThatAnotherRunIsWritingIsTaken) {
  platform::StagedWrite other(world_.files, kBackup);
  BackupDesktopDatabase(world_.run, kTables);
  EXPECT_EQ(world_.files.Content("C:\\Cars\\Motorva.db.presyncbackup.20261121-140510"), (Bytes{1, 2, 3}));
  EXPECT_NO_THROW(other.FinishNew());
}

TEST_F(DesktopBackupTest, AnUnfinishedBackupOfAKilledRunGoesInEveryMode) {
  const std::string unfinished = kBackup + ".writing";
  for (const RunMode mode : {RunMode::Synchronize, RunMode::OverwritePda, RunMode::OverwritePc}) {
    SetMode(world_.state, mode);
    world_.files.Put(unfinished, {1});
    world_.files.Put("C:\\Cars\\other.writing", {1});
    BackUpBeforeOverwritePc(world_.run, journal_, kTables);
    EXPECT_FALSE(world_.files.FileExists(unfinished)) << "mode " << static_cast<int>(mode);
    EXPECT_TRUE(world_.files.FileExists("C:\\Cars\\other.writing")) << "is not ours";
  }
}

TEST_F(DesktopBackupTest, ABackupThatAnotherRunIsStillWritingStays) {
  const platform::StagedWrite other(world_.files, kBackup);
  RemoveUnfinishedBackups(world_.run);
  EXPECT_TRUE(world_.files.FileExists(kBackup + ".writing"));
}

TEST_F(DesktopBackupTest, ATemplateThatNoEngineOpensLeavesTheDatabase) {
  world_.database.openError = Error(errors::kJetGeneral, "", "Unrecognized database format");
  EXPECT_EQ(ErrorOfBackup(), errors::kJetGeneral);
  EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{1, 2, 3}));
  EXPECT_EQ(world_.files.Content(kBackup), (Bytes{1, 2, 3})) << "the backup comes first";
}

TEST_F(DesktopBackupTest, ATemplateOfAnotherVersionWithoutATableOfTheRunLeavesTheDatabase) {
  world_.database.tables.erase("brnd_AccItems");
  EXPECT_NE(ErrorOfBackup(), 0);
  EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{1, 2, 3}));
  EXPECT_NO_THROW(BackupDesktopDatabase(world_.run, kSilentTables)) << "a silent run does not need that table";
}

TEST_F(DesktopBackupTest, AMissingDatabaseIsError53) {
  world_.files.RemoveFile(kDatabase);
  EXPECT_EQ(ErrorOfBackup(), 53);
  EXPECT_FALSE(world_.files.FileExists(kDatabase)) << "the template shall not stand in for it";
  EXPECT_EQ(world_.Log(), "   Backup Desktop Database to: " + kBackup + "\r\n");
}

TEST_F(DesktopBackupTest, AMissingTemplateIsError53AndLeavesTheDatabase) {
  world_.files.RemoveFile("C:\\Motorva\\_20");
  EXPECT_EQ(ErrorOfBackup(), 53);
  EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{1, 2, 3}));
  EXPECT_EQ(world_.files.Content(kBackup), (Bytes{1, 2, 3})) << "the backup comes first";
}

TEST_F(DesktopBackupTest, ADatabaseHeldByAnotherProgramIsError70AndStaysAsItIs) {
  for (const platform::Sharing sharing : {platform::Sharing::None, platform::Sharing::Read, platform::Sharing::All}) {
    const auto held =
        world_.files.Open(kDatabase, platform::Access::ReadWrite, platform::Disposition::OpenExisting, sharing);
    EXPECT_EQ(ErrorOfBackup(), 70);
    EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{1, 2, 3}));
  }
}

TEST_F(DesktopBackupTest, ADatabaseHeldByItsLockFileIsError70) {
  world_.files.Put("C:\\Cars\\Motorva.ldb", {1});
  {
    const auto locked = world_.files.Open("C:\\Cars\\Motorva.ldb", platform::Access::ReadWrite,
                                          platform::Disposition::OpenExisting, platform::Sharing::None);
    EXPECT_EQ(ErrorOfBackup(), 70);
    EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{1, 2, 3}));
  }
  EXPECT_NO_THROW(BackupDesktopDatabase(world_.run, kTables)) << "a lock file that a crash left behind holds nothing";
}

TEST_F(DesktopBackupTest, ACopyThatFailsLeavesTheDatabase) {
  for (const std::size_t copy : {1, 2, 3}) {
    world_.log.WriteLogLine("", true);
    world_.files.FailWrite(1 + copy);  // The first write is the log line.
    EXPECT_EQ(ErrorOfBackup(), 61) << "copy " << copy;
    EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{1, 2, 3}));
  }
}

}  // namespace
}  // namespace mv
