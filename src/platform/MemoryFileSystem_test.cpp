#include "support/MemoryFileSystem.h"

#include <gtest/gtest.h>

#include "platform/StagedWrite.h"
#include "support/ExpectError.h"

namespace mv::platform {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::MemoryFileSystem;

class MemoryFileSystemTest : public ::testing::Test {
 protected:
  std::unique_ptr<File> OpenFile() {
    return files_.Open("C:\\file", Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
  }

  MemoryFileSystemTest() { files_.Put("C:\\file", {1, 2, 3, 4}); }
  MemoryFileSystem files_;
};

TEST_F(MemoryFileSystemTest, TheChosenWriteFailsOnceAndKeepsHalfOfItsData) {
  const auto file = OpenFile();
  files_.FailWrite(2);
  file->WriteAt(0, Bytes{9});
  EXPECT_EQ(ErrorNumberOf([&] { file->WriteAt(4, Bytes{5, 6, 7, 8}); }), errors::kDiskFull);
  EXPECT_EQ(files_.Content("C:\\file"), (Bytes{9, 2, 3, 4, 5, 6}));
  file->WriteAt(4, Bytes{7});
  EXPECT_EQ(files_.Content("C:\\file"), (Bytes{9, 2, 3, 4, 7, 6}));
}

TEST_F(MemoryFileSystemTest, AFailingWriteOfAWholeFileLeavesTheOldOne) {
  files_.FailWrite(1, errors::kDeviceIo);
  EXPECT_EQ(ErrorNumberOf([&] { files_.WriteWhole("C:\\file", Bytes{9}); }), errors::kDeviceIo);
  EXPECT_EQ(files_.Content("C:\\file"), (Bytes{1, 2, 3, 4}));
}

TEST_F(MemoryFileSystemTest, AFailingReplacementLeavesTheOldFileAndMayBeTriedAgain) {
  auto current = OpenFile();
  auto staged = files_.CreateStaged("C:\\file", {});
  staged->WriteAt(0, Bytes{9});
  files_.FailWrite(1);
  const auto replace = [&] { files_.ReplaceOpen(staged, current, "C:\\file", platform::Existing::Replace); };
  EXPECT_EQ(ErrorNumberOf(replace), errors::kDiskFull);
  EXPECT_EQ(files_.Content("C:\\file"), (Bytes{1, 2, 3, 4}));
  EXPECT_NO_THROW(replace());
  EXPECT_EQ(files_.Content("C:\\file"), Bytes{9});
}

TEST_F(MemoryFileSystemTest, TheChosenReadAndTheChosenSyncFail) {
  const auto file = OpenFile();
  Bytes out(4);
  files_.FailRead(1);
  EXPECT_EQ(ErrorNumberOf([&] { file->ReadAt(0, out); }), errors::kDeviceIo);
  EXPECT_EQ(file->ReadAt(0, out), 4u);
  files_.FailSync(1);
  EXPECT_EQ(ErrorNumberOf([&] { file->Sync(); }), errors::kDiskFull);
}

TEST_F(MemoryFileSystemTest, CallsThatReachAFileAreCounted) {
  const auto file = OpenFile();
  Bytes out(1);
  file->ReadAt(0, out);
  file->WriteAt(0, out);
  file->Resize(2);
  EXPECT_EQ(files_.Opens(), 1u);
  EXPECT_EQ(files_.Reads(), 1u);
  EXPECT_EQ(files_.Writes(), 2u);
}

TEST_F(MemoryFileSystemTest, APathWithALeadingSeparatorLeadsToTheRootAndOneWithoutToTheCurrentFolder) {
  files_.CreateFolders("\\sync\\dest");
  files_.Put("/file", {1});
  EXPECT_TRUE(files_.FolderExists("\\\\sync"));
  EXPECT_FALSE(files_.FolderExists("sync"));
  EXPECT_EQ(files_.List("\\"), (std::vector<std::string>{"file", "sync"}));
  EXPECT_EQ(files_.List("\\sync"), std::vector<std::string>{"dest"});
  EXPECT_FALSE(files_.FileExists("file"));
  files_.CreateFolders("sync");
  EXPECT_EQ(files_.List(""), (std::vector<std::string>{"C:", "sync"}));
}

TEST_F(MemoryFileSystemTest, APowerCutLeavesWhatWasSyncedAndOfTheRestWhatIsChosen) {
  const auto left = [&](bool names, bool contents) { return files_.AfterPowerCut({names, contents}); };
  using Left = std::map<std::string, Bytes>;
  auto file = OpenFile();
  file->WriteAt(0, Bytes{9});
  EXPECT_EQ(left(true, false), (Left{{"C:/file", {1, 2, 3, 4}}}));
  EXPECT_EQ(left(false, true), (Left{{"C:/file", {9, 2, 3, 4}}}));
  file->Sync();
  EXPECT_EQ(left(false, false), (Left{{"C:/file", {9, 2, 3, 4}}}));

  files_.LinkFile("C:\\file", "C:\\second");
  EXPECT_EQ(left(false, false), (Left{{"C:/file", {9, 2, 3, 4}}}));
  EXPECT_EQ(left(true, false), (Left{{"C:/file", {9, 2, 3, 4}}, {"C:/second", {9, 2, 3, 4}}}));
  files_.SyncFolder("C:\\");
  EXPECT_EQ(left(false, false), left(true, true));
  file.reset();
  files_.RemoveFile("C:\\second");
  EXPECT_TRUE(left(false, false).contains("C:/second")) << "a name is gone when its folder is synced";
}

TEST_F(MemoryFileSystemTest, TheContentOfAReplacedFileIsOnTheDiskAndItsNameWhenItsFolderIs) {
  int steps = 0;
  files_.LookAtEachStep([&] {
    ++steps;
    const Bytes content = files_.AfterPowerCut({}).at("C:/file");
    EXPECT_TRUE(content == (Bytes{1, 2, 3, 4}) || content == Bytes{5});
  });
  auto current = OpenFile();
  auto staged = files_.CreateStaged("C:\\file", {});
  staged->WriteAt(0, Bytes{5});
  files_.ReplaceOpen(staged, current, "C:\\file", Existing::Replace);
  files_.LookAtEachStep([] {});
  EXPECT_GT(steps, 4);
  EXPECT_EQ(files_.AfterPowerCut({}).at("C:/file"), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(files_.AfterPowerCut({true, false}).at("C:/file"), Bytes{5});
  files_.SyncFolder("C:\\");
  EXPECT_EQ(files_.AfterPowerCut({}).at("C:/file"), Bytes{5});
}

TEST_F(MemoryFileSystemTest, AStagedWriteIsOnTheDiskWithItsNameOrWithoutIt) {
  StagedWrite first(files_, "C:\\file");
  first.Contents().WriteAt(0, Bytes{5});
  first.FinishContents();
  EXPECT_EQ(files_.AfterPowerCut({}).at("C:/file"), (Bytes{1, 2, 3, 4}));
  StagedWrite second(files_, "C:\\file");
  second.Contents().WriteAt(0, Bytes{6});
  second.Finish();
  EXPECT_EQ(files_.AfterPowerCut({}).at("C:/file"), Bytes{6});
  StagedWrite third(files_, "C:\\new");
  third.FinishNew();
  EXPECT_TRUE(files_.AfterPowerCut({}).contains("C:/new"));
}

TEST_F(MemoryFileSystemTest, AFileMayOutliveTheFileSystem) {
  std::unique_ptr<File> file;
  {
    MemoryFileSystem shortLived;
    file = shortLived.Open("x", Access::ReadWrite, Disposition::CreateAlways, Sharing::None);
  }
  file->WriteAt(0, Bytes{1});
  EXPECT_EQ(file->Size(), 1u);
}

}  // namespace
}  // namespace mv::platform
