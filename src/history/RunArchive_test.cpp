#include "history/RunArchive.h"

#include <gtest/gtest.h>

#include "support/MemoryFileSystem.h"

namespace mv::history {
namespace {

const std::string kDatabase = "C:\\Cars\\Motorva.db";
const CivilTime kNow = {2026, 11, 22, 6, 30, 0};
const HistoryLimits kLimits = {10, 2048};

class RunArchiveTest : public ::testing::Test {
 protected:
  RunArchiveTest() { files_.Put(kDatabase, {1, 2, 3}); }
  Bytes Kept() { return files_.Content(archive_.Folder().DatabaseOf(archive_.Entry())); }
  void Begin(RunArchive::Changes changes = RunArchive::Changes::ByRename) {
    archive_.Begin(kNow, kLimits, changes, record_);
  }

  testing::MemoryFileSystem files_;
  RunArchive archive_{files_, kDatabase};
  RunRecord record_;
};

TEST_F(RunArchiveTest, TheDatabaseAndTheRecordAreThereFromTheBeginning) {
  Begin();
  EXPECT_EQ(archive_.Entry(), "20261122-063000");
  EXPECT_EQ(Kept(), (Bytes{1, 2, 3}));
  EXPECT_EQ(archive_.Folder().Read(archive_.Entry()), record_);
  ASSERT_TRUE(record_.kept);
  EXPECT_EQ(record_.kept->name, "Motorva.db");
  EXPECT_EQ(record_.kept->facts.bytes, 3u);
}

TEST_F(RunArchiveTest, ADatabaseThatIsReplacedIsKeptByASecondName) {
  Begin();
  EXPECT_EQ(files_.IdentityOf(archive_.Folder().DatabaseOf(archive_.Entry())), files_.IdentityOf(kDatabase));
  files_.WriteWhole(kDatabase, Bytes{9});
  archive_.End(record_);
  EXPECT_EQ(Kept(), (Bytes{1, 2, 3}));
}

TEST_F(RunArchiveTest, ADatabaseThatTheRunLeftAloneIsCopiedAtItsEnd) {
  Begin();
  archive_.End(record_);
  files_.Open(kDatabase, platform::Access::Write, platform::Disposition::OpenExisting, platform::Sharing::None)
      ->WriteAt(0, Bytes{9});
  EXPECT_EQ(Kept(), (Bytes{1, 2, 3})) << "another program writes into the database in place";
}

TEST_F(RunArchiveTest, ADatabaseThatSomebodyElseHoldsAtTheEndIsKeptByItsSecondName) {
  Begin();
  const auto held =
      files_.Open(kDatabase, platform::Access::Write, platform::Disposition::OpenExisting, platform::Sharing::None);
  record_.status = 2;
  archive_.End(record_);
  EXPECT_EQ(archive_.Folder().Read(archive_.Entry())->status, 2);
  EXPECT_EQ(Kept(), (Bytes{1, 2, 3}));
}

TEST_F(RunArchiveTest, ADatabaseThatIsWrittenInPlaceIsCopiedBefore) {
  Begin(RunArchive::Changes::InPlace);
  files_.Open(kDatabase, platform::Access::Write, platform::Disposition::OpenExisting, platform::Sharing::None)
      ->WriteAt(0, Bytes{9});
  EXPECT_EQ(Kept(), (Bytes{1, 2, 3}));
}

TEST_F(RunArchiveTest, WithoutSecondNamesItIsCopied) {
  files_.RefuseLinks();
  Begin();
  EXPECT_NE(files_.IdentityOf(archive_.Folder().DatabaseOf(archive_.Entry())), files_.IdentityOf(kDatabase));
  EXPECT_EQ(Kept(), (Bytes{1, 2, 3}));
}

TEST_F(RunArchiveTest, AMissingDatabaseIsNothingToKeep) {
  files_.RemoveFile(kDatabase);
  Begin();
  EXPECT_FALSE(record_.kept);
  EXPECT_NO_THROW(archive_.End(record_));
}

TEST_F(RunArchiveTest, BeginningMakesRoomForOneMoreEntry) {
  for (int second = 1; second <= 4; ++second) archive_.Folder().Create({2026, 11, 21, 0, 0, second});
  archive_.Begin(kNow, {3, 2048}, RunArchive::Changes::ByRename, record_);
  EXPECT_EQ(archive_.Folder().Entries(),
            (std::vector<std::string>{"20261122-063000", "20261121-000004", "20261121-000003"}));
}

TEST_F(RunArchiveTest, OlderEntriesGiveWayToWhatTheEntryHasBecome) {
  HistoryFolder& folder = archive_.Folder();
  folder.KeepContent(Bytes(600 << 10), folder.DatabaseOf(folder.Create({2026, 11, 21, 0, 0, 1})));
  archive_.Begin(kNow, {10, 1}, RunArchive::Changes::ByRename, record_);
  EXPECT_EQ(folder.Entries().size(), 2u);
  files_.Put("C:\\result", Bytes(600 << 10));
  archive_.KeepResultFile("C:\\result", "brnd_Fuel");
  archive_.End(record_);
  EXPECT_EQ(folder.Entries(), std::vector<std::string>{"20261122-063000"});
}

TEST_F(RunArchiveTest, LinesOfTheReportAreAddedInTheirOrder) {
  Begin();
  archive_.Append("one\n");
  archive_.Append("two\n");
  archive_.SyncChanges();
  const Bytes content = files_.Content(archive_.Folder().ChangesOf(archive_.Entry()));
  EXPECT_EQ(std::string(content.begin(), content.end()), "one\ntwo\n");
}

TEST_F(RunArchiveTest, TheAgreedTableIsTheNewestThatWentBack) {
  files_.Put("C:\\result", {5});
  HistoryFolder& folder = archive_.Folder();
  const auto keep = [&](int second, TableState state) {
    const std::string entry = folder.Create({2026, 11, 21, 0, 0, second});
    RunRecord record;
    record.tables.push_back({});
    record.tables.back().table = "brnd_Fuel";
    record.tables.back().state = state;
    folder.Write(entry, record);
    folder.Keep("C:\\result", folder.ResultFileOf(entry, "brnd_Fuel"));
  };
  keep(1, TableState::Returned);
  keep(2, TableState::Returned);
  keep(3, TableState::NotReturned);
  Begin();
  archive_.KeepResultFile("C:\\result", "brnd_Fuel");
  EXPECT_EQ(archive_.LastReturned("brnd_Fuel"), folder.ResultFileOf("20261121-000002", "brnd_Fuel"));
  EXPECT_EQ(archive_.LastReturned("brnd_Trip"), std::nullopt);
}

}  // namespace
}  // namespace mv::history
