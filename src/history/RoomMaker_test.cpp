#include "history/RoomMaker.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"

namespace mv::history {
namespace {

using testing::ErrorNumberOf;

const std::string kDatabase = "C:\\Cars\\Motorva.db";

class RoomMakerTest : public ::testing::Test {
 protected:
  RoomMakerTest() {
    files_.Put(kDatabase, {1});
    HistoryFolder history(files_, kDatabase);
    for (int second = 1; second <= 3; ++second) history.Create({2026, 11, 22, 6, 30, second});
    maker_.Serve(kDatabase, "20261122-063003");
  }
  std::vector<std::string> Entries() { return HistoryFolder(files_, kDatabase).Entries(); }

  testing::MemoryFileSystem files_;
  RoomMaker maker_{files_};
};

TEST_F(RoomMakerTest, AFullDiskCostsTheOldestEntryAndTheWriteSucceeds) {
  const auto file = maker_.Open("C:\\Cars\\new", platform::Access::Write, platform::Disposition::CreateAlways,
                                platform::Sharing::None);
  files_.FailWrite(1);
  file->WriteAt(0, Bytes{1, 2, 3});
  EXPECT_EQ(files_.Content("C:\\Cars\\new"), (Bytes{1, 2, 3}));
  EXPECT_EQ(Entries(), (std::vector<std::string>{"20261122-063003", "20261122-063002"}));
}

TEST_F(RoomMakerTest, ACopyBesideTheRunTakesNoHistory) {
  files_.CopyAhead(testing::MemoryFileSystem::CopiesAhead::AtItsEnd);
  const auto from =
      maker_.Open(kDatabase, platform::Access::ReadWrite, platform::Disposition::OpenExisting, platform::Sharing::None);
  const auto staged = maker_.CreateStaged(kDatabase, {});
  files_.FailWrite(1);
  EXPECT_FALSE(staged->BeginCopyOf(*from)->Finish());
  EXPECT_TRUE(staged->BeginCopyOf(*from)->Finish());
  EXPECT_EQ(files_.Content(kDatabase + ".writing"), Bytes{1});
  EXPECT_EQ(Entries().size(), 3u);
}

TEST_F(RoomMakerTest, ReplacingAFileMakesRoomToo) {
  auto staged = maker_.CreateStaged(kDatabase, {});
  staged->WriteAt(0, Bytes{7});
  files_.FailSync(1);
  std::unique_ptr<platform::File> current;
  maker_.ReplaceOpen(staged, current, kDatabase, platform::Existing::Replace);
  EXPECT_EQ(files_.Content(kDatabase), Bytes{7});
  EXPECT_EQ(Entries().size(), 2u);
}

TEST_F(RoomMakerTest, TheRunsOwnEntryStaysAndTheErrorIsRaised) {
  for (const char* entry : {"20261122-063001", "20261122-063002"}) HistoryFolder(files_, kDatabase).Remove(entry);
  files_.FailWrite(1);
  EXPECT_EQ(ErrorNumberOf([&] { maker_.WriteWhole(kDatabase, Bytes{7}); }), errors::kDiskFull);
  EXPECT_EQ(Entries(), std::vector<std::string>{"20261122-063003"});
  EXPECT_EQ(files_.Content(kDatabase), Bytes{1});
}

TEST_F(RoomMakerTest, AFullCardIsNoReasonToGiveHistoryUp) {
  files_.CreateFolders("D:\\card");
  files_.FailWrite(1);
  EXPECT_EQ(ErrorNumberOf([&] { maker_.WriteWhole("D:\\card\\table", Bytes{7}); }), errors::kDiskFull);
  const auto file = maker_.Open("D:\\card\\table", platform::Access::Write, platform::Disposition::CreateAlways,
                                platform::Sharing::None);
  files_.FailWrite(1);
  EXPECT_EQ(ErrorNumberOf([&] { file->WriteAt(0, Bytes{7}); }), errors::kDiskFull);
  EXPECT_EQ(Entries().size(), 3u);
}

TEST_F(RoomMakerTest, OtherErrorsCostNothing) {
  files_.FailWrite(1, errors::kDeviceIo);
  EXPECT_EQ(ErrorNumberOf([&] { maker_.WriteWhole(kDatabase, Bytes{7}); }), errors::kDeviceIo);
  EXPECT_EQ(Entries().size(), 3u);
}

}  // namespace
}  // namespace mv::history
