#include <gtest/gtest.h>

#include "device/clsNokiaFileTransfer.h"
#include "device/clsPPCFileTransfer.h"
#include "device/clsWin32FileTransfer.h"
#include "support/FakeRapi.h"
#include "support/MemoryFileSystem.h"

namespace mv {
namespace {

constexpr const char* kDesktopFile = "C:\\work\\a.pdb";
constexpr const char* kDeviceFile = "\\Motorva\\a.pdb";

class FileTransfer : public ::testing::Test {
 protected:
  FileTransfer() {
    files_.Put(kDesktopFile, {1, 2, 3});
    rapi_.Put("\\Motorva\\b.pdb", {4, 5});
  }

  testing::FakeRapi rapi_;
  testing::MemoryFileSystem files_;
  DeviceHooks hooks_;
  modWinCERAPIConnectionHandler connection_{rapi_, hooks_};
  modWinCEFileManagement copies_{rapi_, connection_, files_, hooks_};
  clsPPCFileTransfer pocketPc_{connection_, copies_};
  clsNokiaFileTransfer nokia_;
  clsWin32FileTransfer win32_{connection_, copies_, files_};
};

TEST_F(FileTransfer, PocketPcCopiesBothWays) {
  pocketPc_.Initialize();
  EXPECT_EQ(pocketPc_.CopyToDevice(kDesktopFile, kDeviceFile, Overwrite::Yes), DeviceCopyResult::Copied);
  EXPECT_EQ(rapi_.Content(kDeviceFile), (Bytes{1, 2, 3}));
  EXPECT_EQ(pocketPc_.CopyToDesktop("\\Motorva\\b.pdb", "C:\\work\\b.pdb", Overwrite::No), DeviceCopyResult::Copied);
  EXPECT_EQ(files_.Content("C:\\work\\b.pdb"), (Bytes{4, 5}));
}

TEST_F(FileTransfer, PocketPcHandsOnTheOverwriteWish) {
  pocketPc_.Initialize();
  EXPECT_EQ(pocketPc_.CopyToDesktop("\\Motorva\\b.pdb", kDesktopFile, Overwrite::No),
            DeviceCopyResult::DestinationExists);
  EXPECT_EQ(pocketPc_.CopyToDevice(kDesktopFile, "\\Motorva\\b.pdb", Overwrite::No),
            DeviceCopyResult::DestinationExists);
}

TEST_F(FileTransfer, PocketPcTerminateEndsTheConnection) {
  pocketPc_.Initialize();
  EXPECT_TRUE(connection_.IsDeviceConnected());
  pocketPc_.Terminate();
  EXPECT_FALSE(connection_.IsDeviceConnected());
}

TEST_F(FileTransfer, NokiaReportsSuccessAndTouchesNothing) {
  nokia_.Initialize();
  EXPECT_EQ(nokia_.CopyToDesktop("\\missing", "C:\\work\\c.pdb", Overwrite::No), DeviceCopyResult::Copied);
  EXPECT_EQ(nokia_.CopyToDevice("C:\\missing", kDeviceFile, Overwrite::No), DeviceCopyResult::Copied);
  nokia_.Terminate();
  EXPECT_TRUE(rapi_.calls.empty());
  EXPECT_FALSE(files_.FileExists("C:\\work\\c.pdb"));
  EXPECT_EQ(files_.Opens(), 0U);
}

TEST_F(FileTransfer, Win32CopyToDeviceUploads) {
  win32_.Initialize();
  EXPECT_EQ(win32_.CopyToDevice(kDesktopFile, kDeviceFile, Overwrite::Yes), DeviceCopyResult::Copied);
  EXPECT_EQ(rapi_.Content(kDeviceFile), (Bytes{1, 2, 3}));
}

TEST_F(FileTransfer, Win32CopyToDeviceRemovesTheDesktopFileAtTheDevicePath) {
  files_.Put(kDeviceFile, {9});
  win32_.CopyToDevice(kDesktopFile, kDeviceFile, Overwrite::Yes);
  EXPECT_FALSE(files_.FileExists(kDeviceFile));
  EXPECT_TRUE(rapi_.Has(kDeviceFile));
}

TEST_F(FileTransfer, Win32CopyToDeviceThatFailsRemovesTheDesktopFileAllTheSame) {
  files_.Put(kDeviceFile, {9});
  EXPECT_EQ(win32_.CopyToDevice("C:\\missing", kDeviceFile, Overwrite::Yes), DeviceCopyResult::SourceUnreadable);
  EXPECT_FALSE(files_.FileExists(kDeviceFile));
}

TEST_F(FileTransfer, Win32CopyToDeviceWhoseCleanUpFailsReturnsTheUploadsCode) {
  files_.Put(kDeviceFile, {9});
  const auto held =
      files_.Open(kDeviceFile, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_EQ(win32_.CopyToDevice(kDesktopFile, kDeviceFile, Overwrite::Yes), DeviceCopyResult::Copied);
  EXPECT_TRUE(files_.FileExists(kDeviceFile));
}

TEST_F(FileTransfer, Win32CopyToDesktopReportsSuccessAndMovesNothing) {
  win32_.Initialize();
  EXPECT_EQ(win32_.CopyToDesktop("\\Motorva\\b.pdb", "C:\\work\\b.pdb", Overwrite::Yes), DeviceCopyResult::Copied);
  EXPECT_FALSE(files_.FileExists("C:\\work\\b.pdb"));
}

TEST_F(FileTransfer, Win32InitializeConnectsAndTerminateLeavesTheConnectionUp) {
  win32_.Initialize();
  win32_.Terminate();
  EXPECT_TRUE(connection_.IsDeviceConnected());
}

TEST_F(FileTransfer, InitializeWithoutAHandheldDropsTheFailure) {
  rapi_.initResult = -1;
  win32_.Initialize();
  pocketPc_.Initialize();
  EXPECT_FALSE(connection_.IsDeviceConnected());
}

}  // namespace
}  // namespace mv
