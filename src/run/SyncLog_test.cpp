#include "run/SyncLog.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"

namespace mv {
namespace {

using testing::ErrorOf;

class SyncLogTest : public ::testing::Test {
 protected:
  SyncLogTest() {
    settings_.SyncLogPath = "C:\\Cars\\SyncLog.txt";
    files_.CreateFolders("C:\\Cars");
  }

  std::string Content() const {
    const Bytes content = files_.Content(settings_.SyncLogPath);
    return std::string(content.begin(), content.end());
  }
  void Put(std::string_view text) { files_.Put(settings_.SyncLogPath, Bytes(text.begin(), text.end())); }

  testing::MemoryFileSystem files_;
  Settings settings_;
  ProtectedFiles protectedFiles_{files_, settings_, "C:\\Motorva"};
  SyncLog log_{files_, settings_, protectedFiles_};
};

TEST_F(SyncLogTest, EachLineEndsInCarriageReturnAndLineFeedAndIsThereAtOnce) {
  log_.WriteLogLine("one", false);
  EXPECT_EQ(Content(), "one\r\n");
  log_.WriteLogLine("", false);
  log_.WriteLogLine(" ", false);
  EXPECT_EQ(Content(), "one\r\n\r\n \r\n");
}

TEST_F(SyncLogTest, TextIsWrittenInWindows1252) {
  log_.WriteLogLine("\u00A9 \u2122 \u00E9 \u4E2D \U0001F697", true);
  EXPECT_EQ(Content(), "\xA9 \x99 \xE9 ? ?\r\n");
}

TEST_F(SyncLogTest, WithLoggingOffNoFileIsTouched) {
  settings_.SyncLog = 0;
  Put("old");
  log_.WriteLogLine("one", false);
  log_.WriteLogLine("two", true);
  EXPECT_EQ(Content(), "old");
  EXPECT_EQ(files_.Opens(), 0u);
}

TEST_F(SyncLogTest, WithoutHistoryTheFirstLineEmptiesTheFile) {
  Put("a long earlier run\r\n");
  log_.WriteLogLine("one", false);
  log_.WriteLogLine("two", false);
  EXPECT_EQ(Content(), "one\r\ntwo\r\n");
}

TEST_F(SyncLogTest, WithHistoryRunsFollowEachOther) {
  settings_.SyncLogHistory = 1;
  Put("earlier\r\n");
  log_.WriteLogLine("one", true);
  log_.WriteLogLine("two", true);
  EXPECT_EQ(Content(), "earlier\r\none\r\ntwo\r\n");
}

TEST_F(SyncLogTest, AnyHistoryButZeroIsOn) {
  settings_.SyncLogHistory = -1;
  Put("earlier\r\n");
  log_.WriteLogLine("one", true);
  EXPECT_EQ(Content(), "earlier\r\none\r\n");
}

TEST_F(SyncLogTest, ALineAfterTheClosingOneStartsAfreshWithoutHistory) {
  log_.WriteLogLine("one", true);
  log_.WriteLogLine("two", true);
  EXPECT_EQ(Content(), "two\r\n");
}

TEST_F(SyncLogTest, TheFileIsHeldBetweenLinesAndReleasedAfterTheLast) {
  const auto openForWriting = [&] {
    files_.Open(settings_.SyncLogPath, platform::Access::Write, platform::Disposition::OpenExisting,
                platform::Sharing::All);
  };
  log_.WriteLogLine("one", false);
  EXPECT_EQ(ErrorOf(openForWriting).Number(), 70);
  EXPECT_NO_THROW(files_.Open(settings_.SyncLogPath, platform::Access::Read, platform::Disposition::OpenExisting,
                              platform::Sharing::All))
      << "a running run's log can be read";
  log_.WriteLogLine("two", true);
  EXPECT_NO_THROW(openForWriting());
  EXPECT_EQ(files_.Opens(), 3u) << "the log was opened once for both lines";
}

TEST_F(SyncLogTest, AnErrorNamesTheLog) {
  settings_.SyncLogPath = "C:\\none\\SyncLog.txt";
  const Error error = ErrorOf([&] { log_.WriteLogLine("one", false); });
  EXPECT_EQ(error.Number(), 76);
  EXPECT_EQ(error.Description(), "Path not found");
  EXPECT_EQ(error.Source(), "sync log C:\\none\\SyncLog.txt");
}

TEST_F(SyncLogTest, AFullDiskIsRaised) {
  log_.WriteLogLine("one", false);
  files_.FailWrite(1);
  EXPECT_EQ(ErrorOf([&] { log_.WriteLogLine("two", false); }).Number(), 61);
}

}  // namespace
}  // namespace mv
