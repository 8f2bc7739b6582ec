#include "run/DesktopBackup.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "platform/windows/Wide.h"
#include "run/SilentSync.h"
#include "support/ExpectError.h"
#include "support/RunWorld.h"
#include "support/TempFolder.h"

namespace mv {
namespace {

/// A handle to a file that shares what `share` says and nothing else, as another program's would.
class HeldFile {
 public:
  HeldFile(const std::string& path, DWORD access, DWORD share)
      : handle_(::CreateFileW(platform::Wide(path).c_str(), access, share, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr)) {
    EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
  }
  ~HeldFile() { ::CloseHandle(handle_); }
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

 private:
  HANDLE handle_;
};

/// An Overwrite PC run whose database and log are on the disk, everything else in memory.
class DesktopBackupOnDisk : public ::testing::Test {
 protected:
  DesktopBackupOnDisk()
      : files_(platform::MakeFileSystem()),
        protectedFiles_(*files_, world_.state.settings, folder_.File("program")),
        log_(*files_, world_.state.settings, protectedFiles_),
        run_(RunOnDisk()) {
    folder_.Write("Motorva.db", "database");
    folder_.Write("program/_20", "template");
    world_.state.settings.DesktopDBPath = folder_.File("Motorva.db");
    world_.state.settings.SyncLogPath = folder_.File("SyncLog.txt");
    SetMode(world_.state, RunMode::OverwritePc);
  }

  RunContext RunOnDisk() {
    const RunContext& usual = world_.run;
    return {usual.state,       log_,
            usual.ui,          usual.settings,
            usual.databases,   usual.connection,
            usual.deviceFiles, usual.createFileTransfer,
            *files_,           usual.shell,
            usual.clock,       folder_.File("program"),
            usual.version,     protectedFiles_};
  }

  void ExpectInUse() {
    EXPECT_EQ(SilentSync(run_), ExitStatus::Stopped);
    EXPECT_NE(folder_.Read("SyncLog.txt")
                  .find("Unable to overwite [" + folder_.File("Motorva.db") + "] database. Database in use.\r\n"),
              std::string::npos);
  }

  testing::TempFolder folder_;
  testing::RunWorld world_;
  std::unique_ptr<platform::FileSystem> files_;
  ProtectedFiles protectedFiles_;
  SyncLog log_;
  RunContext run_;
};

TEST_F(DesktopBackupOnDisk, ADatabaseThatNobodyHoldsIsReplacedByTheTemplate) {
  BackupDesktopDatabase(run_, kTables);
  EXPECT_EQ(folder_.Read("Motorva.db"), "template");
}

TEST_F(DesktopBackupOnDisk, ADatabaseHeldWithoutSharingCannotBeBackedUp) {
  {
    const HeldFile held(folder_.File("Motorva.db"), GENERIC_READ | GENERIC_WRITE, 0);
    EXPECT_EQ(testing::ErrorNumberOf([&] { BackupDesktopDatabase(run_, kTables); }), errors::kPermissionDenied);
    ExpectInUse();
  }
  EXPECT_EQ(folder_.Read("Motorva.db"), "database");
}

TEST_F(DesktopBackupOnDisk, ADatabaseThatMayOnlyBeReadIsBackedUpButNotReplaced) {
  {
    const HeldFile held(folder_.File("Motorva.db"), GENERIC_READ, FILE_SHARE_READ);
    EXPECT_EQ(testing::ErrorNumberOf([&] { BackupDesktopDatabase(run_, kTables); }), errors::kPermissionDenied);
    ExpectInUse();
  }
  EXPECT_EQ(folder_.Read("Motorva.db"), "database");
}

}  // namespace
}  // namespace mv
