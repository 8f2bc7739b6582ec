#include "run/ProtectedFiles.h"

#include <gtest/gtest.h>

#include "run/InteractiveSync.h"
#include "run/SilentSync.h"
#include "support/ExpectError.h"
#include "support/FakeToolkit.h"
#include "support/RunWorld.h"

namespace mv {
namespace {

using testing::ErrorOf;

const std::string kDatabase = "C:\\Cars\\Motorva.db";
const std::string kTemplate = "C:\\Motorva\\_20";
const std::string kBackup = "C:\\Cars\\Motorva.db.presyncbackup.20260101-000000";

class ProtectedFilesTest : public ::testing::Test {
 protected:
  ProtectedFilesTest() {
    for (const std::string& path : Protected()) world_.files.Put(path, {1, 2, 3});
    world_.PutAllDeviceTables();
  }
  static std::vector<std::string> Protected() { return {kDatabase, kTemplate, kBackup}; }

  /// Runs and expects that nothing was opened but, perhaps, the log.
  void ExpectRefused(const std::string& what, const std::string& path) {
    EXPECT_EQ(SilentSync(world_.run), ExitStatus::Stopped) << path;
    EXPECT_NE(world_.Log().find("Error: 75 has occurred. Description: Path/File access error: " + what + " \"" + path),
              std::string::npos)
        << world_.Log();
    for (const std::string& file : Protected()) EXPECT_EQ(world_.files.Content(file), (Bytes{1, 2, 3})) << file;
    EXPECT_TRUE(world_.database.calls.empty());
    EXPECT_EQ(world_.rapi.Count("CeCreateFile"), 0u);
  }

  testing::RunWorld world_;
};

TEST_F(ProtectedFilesTest, ALogThatIsOneOfThemIsNeverOpened) {
  for (const std::string& path : Protected()) {
    world_.state.settings.SyncLogPath = path;
    const Error error = ErrorOf([&] { SilentSync(world_.run); });
    EXPECT_EQ(error.Number(), errors::kPathFileAccess) << "nothing can be logged: the entry tells it";
    EXPECT_EQ(error.Source(), "sync log " + path);
    for (const std::string& file : Protected()) EXPECT_EQ(world_.files.Content(file), (Bytes{1, 2, 3})) << file;
  }
}

TEST_F(ProtectedFilesTest, ALogIsComparedByIdentityAndNotByName) {
  world_.files.Link(kDatabase, "C:\\Logs\\SyncLog.txt");
  world_.state.settings.SyncLogPath = "C:\\Logs\\SyncLog.txt";
  EXPECT_EQ(ErrorOf([&] { SilentSync(world_.run); }).Number(), errors::kPathFileAccess);
  EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{1, 2, 3}));
}

TEST_F(ProtectedFilesTest, ALogThatTakesTheMissingDatabasesNameIsRefused) {
  world_.files.RemoveFile(kDatabase);
  world_.state.settings.SyncLogPath = "C:/Cars//Motorva.db";
  EXPECT_EQ(ErrorOf([&] { SilentSync(world_.run); }).Number(), errors::kPathFileAccess);
  EXPECT_FALSE(world_.files.FileExists(kDatabase));
}

TEST_F(ProtectedFilesTest, WithoutALogItsPathDoesNotMatter) {
  world_.state.settings.SyncLog = 0;
  world_.state.settings.SyncLogPath = kDatabase;
  EXPECT_EQ(SilentSync(world_.run), ExitStatus::Success);
}

TEST_F(ProtectedFilesTest, AFetchedTableFileThatIsOneOfThemIsRefused) {
  for (const std::string& path : Protected()) {
    world_.files.Link(path, "C:\\Cars\\sync\\source\\brnd_Vehicle.pdb");
    ExpectRefused("the fetched table file", "C:\\Cars\\sync\\source\\brnd_Vehicle.pdb");
  }
}

TEST_F(ProtectedFilesTest, AMergedTableFileThatIsOneOfThemIsRefused) {
  for (const std::string& path : Protected()) {
    world_.files.Link(path, "C:\\Cars\\sync\\dest\\brnd_Customer.pdb");
    ExpectRefused("the merged table file", "C:\\Cars\\sync\\dest\\brnd_Customer.pdb");
  }
}

TEST_F(ProtectedFilesTest, AWorkFolderThatIsOneOfThemIsRefused) {
  world_.state.settings.PCSyncSourcePath = kDatabase;
  ExpectRefused("the source folder", kDatabase);
  world_.state.settings.PCSyncSourcePath = "C:\\Cars\\sync\\source";
  world_.state.settings.PCSyncDestPath = kBackup;
  ExpectRefused("the destination folder", kBackup);
}

TEST_F(ProtectedFilesTest, AHandheldPathThatIsOneOfThemOnThisPcIsRefused) {
  world_.files.Link(kDatabase, "\\Program Files\\Motorva\\brnd_Fuel.pdb");
  ExpectRefused("the handheld's table file", "\\Program Files\\Motorva\\brnd_Fuel.pdb");
}

TEST_F(ProtectedFilesTest, AFileOfAHandheldFolderThatIsOneOfThemIsRefused) {
  world_.files.Link(kTemplate, "D:\\Card\\brnd_Fuel.pdb");
  world_.run.localDeviceFile = [](const std::string& path) {
    return std::optional<std::string>(path.ends_with("brnd_Fuel.pdb") ? "D:\\Card\\brnd_Fuel.pdb" : "D:\\none");
  };
  ExpectRefused("the handheld's table file", "D:\\Card\\brnd_Fuel.pdb");
}

}  // namespace
}  // namespace mv
