#include "run/PreviewParts.h"

#include <gtest/gtest.h>

#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/FakeRapi.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordingSettings.h"
#include "support/RecordingUi.h"

namespace mv {
namespace {

using platform::Access;
using platform::Disposition;
using platform::Sharing;
using testing::ErrorNumberOf;

class ScratchFileSystemTest : public ::testing::Test {
 protected:
  ScratchFileSystemTest() {
    inner_.Put("C:\\Cars\\file", {1});
    inner_.Put("C:\\tmp\\scratch\\file", {1});
    inner_.Put("C:\\tmp\\scratch2\\file", {1});
  }

  testing::MemoryFileSystem inner_;
  ScratchFileSystem files_{inner_, "C:\\tmp\\scratch"};
};

TEST_F(ScratchFileSystemTest, EverythingCanBeRead) {
  EXPECT_EQ(platform::ReadWhole(files_, "C:\\Cars\\file"), Bytes{1});
  EXPECT_TRUE(files_.FileExists("C:\\tmp\\scratch2\\file"));
}

TEST_F(ScratchFileSystemTest, WhatLiesInTheFolderCanBeChanged) {
  files_.WriteWhole("C:\\tmp\\scratch\\file", Bytes{2});
  files_.CreateFolders("C:\\tmp\\scratch\\a\\b");
  files_.LinkFile("C:\\tmp\\scratch\\file", "C:\\tmp\\scratch\\link");
  files_.RenameFile("C:\\tmp\\scratch\\link", "C:\\tmp\\scratch\\a\\b\\file");
  files_.RemoveFile("C:\\tmp\\scratch\\file");
  EXPECT_EQ(inner_.Content("C:\\tmp\\scratch\\a\\b\\file"), Bytes{2});
  EXPECT_FALSE(inner_.FileExists("C:\\tmp\\scratch\\file"));
}

TEST_F(ScratchFileSystemTest, NothingElseCanBeChanged) {
  for (const std::string file : {"C:\\Cars\\file", "C:\\tmp\\scratch2\\file"}) {
    const std::string folder = file.substr(0, file.rfind('\\'));
    const std::vector<std::function<void()>> changes = {
        [&] { files_.Open(file, Access::Write, Disposition::OpenExisting, Sharing::None); },
        [&] { files_.Open(file, Access::Read, Disposition::CreateAlways, Sharing::None); },
        [&] { files_.WriteWhole(file, Bytes{2}); },
        [&] { files_.CopyWhole("C:\\tmp\\scratch\\file", file); },
        [&] { files_.RenameFile("C:\\tmp\\scratch\\file", file); },
        [&] { files_.RenameFile(file, "C:\\tmp\\scratch\\other"); },
        [&] { files_.LinkFile(file, "C:\\tmp\\scratch\\link"); },
        [&] { files_.CreateFolders(folder + "\\new"); },
        [&] { files_.CreateFolder(folder + "\\new"); },
        [&] { files_.RemoveFolder(folder); },
        [&] { files_.CreateTempFile(folder, "tmp"); },
    };
    for (const auto& change : changes) EXPECT_EQ(ErrorNumberOf(change), errors::kPathFileAccess);
    files_.RemoveFile(file);
    EXPECT_EQ(inner_.Content(file), Bytes{1}) << "removing does nothing";
    EXPECT_FALSE(inner_.FolderExists(folder + "\\new"));
  }
}

TEST(ReadOnlyRapiTest, AFileIsReadAndWhatIsSentIsForgotten) {
  testing::FakeRapi handheld;
  handheld.Put("\\table.pdb", {1, 2, 3});
  ReadOnlyRapi rapi(handheld);
  const RapiHandle sending =
      rapi.CeCreateFile("\\table.pdb", rapi::kGenericWrite, 0, 0, rapi::kCreateAlways, rapi::kFileAttributeNormal);
  ASSERT_NE(sending, kInvalidRapiHandle);
  std::uint32_t written = 0;
  EXPECT_EQ(rapi.CeWriteFile(sending, Bytes{7, 8}, written), rapi::kDone);
  EXPECT_EQ(written, 2u);
  EXPECT_EQ(rapi.CeCloseHandle(sending), rapi::kDone);
  EXPECT_EQ(handheld.Content("\\table.pdb"), (Bytes{1, 2, 3}));
}

TEST(ReadOnlySettingsTest, SettingsAreReadAndNothingIsSaved) {
  testing::RecordingSettings inner;
  inner.Put("PPC_Mobile", "SyncMode", "2");
  ReadOnlySettings settings(inner);
  EXPECT_EQ(settings.GetSetting("Motorva32", "PPC_Mobile", "SyncMode"), "2");
  settings.SaveSetting("Motorva32", "PPC_Mobile", "LastSync", "now");
  EXPECT_EQ(inner.Stored("PPC_Mobile", "LastSync"), std::nullopt);
}

TEST(WaitingUserInterfaceTest, TheWindowStaysAliveAndShowsNothing) {
  testing::RecordingUi window;
  WaitingUserInterface ui(window);
  ui.SetStatus("x");
  ui.AddProgressLine("x");
  EXPECT_EQ(ui.ShowMessage("x", "", MessageButtons::RetryCancel, MessageIcon::None), MessageAnswer::Cancel);
  ui.ProcessMessages();
  EXPECT_EQ(window.calls, (std::vector<std::string>{"messages"}));
  EXPECT_FALSE(ui.Closed());
  window.closed = true;
  EXPECT_TRUE(ui.Closed());
}

}  // namespace
}  // namespace mv
