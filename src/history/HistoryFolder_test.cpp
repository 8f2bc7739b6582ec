#include "history/HistoryFolder.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"

namespace mv::history {
namespace {

constexpr CivilTime kNow = {2026, 11, 22, 6, 30, 0};
constexpr std::size_t kMegabyte = 1 << 20;

class HistoryFolderTest : public ::testing::Test {
 protected:
  HistoryFolderTest() { files_.Put("C:\\Cars\\Motorva.db", Bytes{1, 2, 3}); }

  /// An entry with a record and `bytes` more.
  std::string Entry(CivilTime time, std::size_t bytes = 0) {
    const std::string entry = folder_.Create(time);
    folder_.Write(entry, RunRecord());
    files_.Put(folder_.ResultFileOf(entry, "brnd_Fuel"), Bytes(bytes));
    return entry;
  }

  testing::MemoryFileSystem files_;
  HistoryFolder folder_{files_, "C:\\Cars\\Motorva.db"};
};

TEST_F(HistoryFolderTest, LiesBesideTheDatabase) {
  EXPECT_EQ(folder_.Path(), "C:\\Cars\\sync\\history");
  EXPECT_EQ(folder_.DatabaseOf("x"), "C:\\Cars\\sync\\history\\x\\Motorva.db");
  EXPECT_EQ(folder_.HandheldFileOf("x", "brnd_Fuel"), "C:\\Cars\\sync\\history\\x\\handheld\\brnd_Fuel.pdb");
  EXPECT_EQ(folder_.ResultFileOf("x", "brnd_Fuel"), "C:\\Cars\\sync\\history\\x\\result\\brnd_Fuel.pdb");
}

TEST_F(HistoryFolderTest, WithoutHistoryThereAreNoEntries) {
  EXPECT_TRUE(folder_.Entries().empty());
  EXPECT_TRUE(folder_.Prune({0, 0}).empty());
}

TEST_F(HistoryFolderTest, NewEntryIsCalledByTheTime) {
  EXPECT_EQ(folder_.Create(kNow), "20261122-063000");
  EXPECT_TRUE(files_.FolderExists(folder_.PathOf("20261122-063000") + "\\handheld"));
  EXPECT_TRUE(files_.FolderExists(folder_.PathOf("20261122-063000") + "\\result"));
}

TEST_F(HistoryFolderTest, SecondThatIsTakenGivesTheNextFreeOne) {
  folder_.Create(kNow);
  folder_.Create({2026, 11, 22, 6, 30, 1});
  EXPECT_EQ(folder_.Create(kNow), "20261122-063002");
}

TEST_F(HistoryFolderTest, NewEntryIsTheNewestAlsoWhenTheClockWentBack) {
  folder_.Create({2026, 11, 22, 6, 59, 59});
  files_.CreateFolders(folder_.PathOf("99999999-999999"));
  EXPECT_EQ(folder_.Create(kNow), "20261122-070000");
  folder_.Remove("20261122-065959");
  EXPECT_EQ(folder_.Create(kNow), "20261122-070001") << "a name that was given up is not taken again";
}

TEST_F(HistoryFolderTest, EntriesComeNewestFirstAndNothingElseIsOne) {
  folder_.Create(kNow);
  folder_.Create({2027, 1, 1, 0, 0, 0});
  files_.Put(folder_.PathOf("notes.txt"), {});
  files_.CreateFolders(folder_.PathOf("20261122-0630000"));
  EXPECT_EQ(folder_.Entries(), (std::vector<std::string>{"20270101-000000", "20261122-063000"}));
}

TEST_F(HistoryFolderTest, WrittenRecordIsRead) {
  const std::string entry = folder_.Create(kNow);
  RunRecord record;
  record.modeName = "Synchronize";
  folder_.Write(entry, record);
  EXPECT_EQ(folder_.Read(entry), record);
}

TEST_F(HistoryFolderTest, RecordThatIsMissingOrMangledIsNone) {
  const std::string entry = folder_.Create(kNow);
  EXPECT_EQ(folder_.Read(entry), std::nullopt);
  files_.Put(folder_.RecordOf(entry), Bytes{'{', 0xFF});
  EXPECT_EQ(folder_.Read(entry), std::nullopt);
}

TEST_F(HistoryFolderTest, RecordThatCannotBeWrittenLeavesTheOldOne) {
  const std::string entry = Entry(kNow);
  RunRecord record;
  record.error = "x";
  files_.FailWrite(1);
  EXPECT_EQ(testing::ErrorNumberOf([&] { folder_.Write(entry, record); }), errors::kDiskFull);
  EXPECT_EQ(folder_.Read(entry), RunRecord());
}

TEST_F(HistoryFolderTest, KeptFileIsTheSameFileUnderASecondName) {
  const std::string entry = folder_.Create(kNow);
  folder_.Keep("C:\\Cars\\Motorva.db", folder_.DatabaseOf(entry));
  EXPECT_EQ(files_.IdentityOf(folder_.DatabaseOf(entry)), files_.IdentityOf("C:\\Cars\\Motorva.db"));
}

TEST_F(HistoryFolderTest, KeptFileIsACopyWhereThereAreNoSecondNames) {
  const std::string entry = folder_.Create(kNow);
  files_.RefuseLinks();
  folder_.Keep("C:\\Cars\\Motorva.db", folder_.DatabaseOf(entry));
  EXPECT_EQ(files_.Content(folder_.DatabaseOf(entry)), (Bytes{1, 2, 3}));
  EXPECT_NE(files_.IdentityOf(folder_.DatabaseOf(entry)), files_.IdentityOf("C:\\Cars\\Motorva.db"));
}

TEST_F(HistoryFolderTest, WhoHoldsAFileKeepsItWithoutSecondNamesToo) {
  const std::string entry = folder_.Create(kNow);
  files_.RefuseLinks();
  const auto held = files_.Open("C:\\Cars\\Motorva.db", platform::Access::ReadWrite,
                                platform::Disposition::OpenExisting, platform::Sharing::None);
  folder_.Keep("C:\\Cars\\Motorva.db", folder_.DatabaseOf(entry), *held);
  EXPECT_EQ(files_.Content(folder_.DatabaseOf(entry)), (Bytes{1, 2, 3}));
}

TEST_F(HistoryFolderTest, TakenNameIsAnErrorAndNoCopy) {
  const std::string entry = folder_.Create(kNow);
  files_.Put(folder_.DatabaseOf(entry), Bytes{9});
  EXPECT_EQ(testing::ErrorNumberOf([&] { folder_.Keep("C:\\Cars\\Motorva.db", folder_.DatabaseOf(entry)); }),
            errors::kFileAlreadyExists);
  EXPECT_EQ(files_.Content(folder_.DatabaseOf(entry)), Bytes{9});
}

TEST_F(HistoryFolderTest, RemovedEntryLeavesNothing) {
  const std::string entry = Entry(kNow, 7);
  folder_.Keep("C:\\Cars\\Motorva.db", folder_.DatabaseOf(entry));
  folder_.Remove(entry);
  EXPECT_FALSE(files_.FolderExists(folder_.PathOf(entry)));
  EXPECT_EQ(files_.Content("C:\\Cars\\Motorva.db"), (Bytes{1, 2, 3}));
}

TEST_F(HistoryFolderTest, EntryThatCannotBeRemovedWholeHasNoRecord) {
  const std::string entry = Entry(kNow);
  const auto held = files_.Open(folder_.ResultFileOf(entry, "brnd_Fuel"), platform::Access::Read,
                                platform::Disposition::OpenExisting, platform::Sharing::Read);
  EXPECT_EQ(testing::ErrorNumberOf([&] { folder_.Remove(entry); }), errors::kPermissionDenied);
  EXPECT_EQ(folder_.Read(entry), std::nullopt);
}

TEST_F(HistoryFolderTest, PruneByCountTakesTheOldest) {
  Entry({2026, 1, 1, 0, 0, 0});
  Entry({2026, 1, 2, 0, 0, 0});
  Entry({2026, 1, 3, 0, 0, 0});
  EXPECT_EQ(folder_.Prune({1, 1000}), (std::vector<std::string>{"20260101-000000", "20260102-000000"}));
  EXPECT_EQ(folder_.Entries(), std::vector<std::string>{"20260103-000000"});
}

TEST_F(HistoryFolderTest, PruneBySizeTakesTheOldest) {
  Entry({2026, 1, 1, 0, 0, 0}, kMegabyte);
  Entry({2026, 1, 2, 0, 0, 0}, kMegabyte);
  Entry({2026, 1, 3, 0, 0, 0}, kMegabyte / 2);
  EXPECT_EQ(folder_.Prune({10, 2}), std::vector<std::string>{"20260101-000000"});
}

TEST_F(HistoryFolderTest, OwnEntryIsNeverPruned) {
  const std::string own = Entry({2026, 1, 1, 0, 0, 0}, 2 * kMegabyte);
  Entry({2026, 1, 2, 0, 0, 0});
  EXPECT_EQ(folder_.Prune({0, 0}, own), std::vector<std::string>{"20260102-000000"});
  EXPECT_EQ(folder_.Entries(), std::vector<std::string>{own});
}

TEST_F(HistoryFolderTest, EntryThatSomebodyHoldsStays) {
  const std::string entry = Entry({2026, 1, 1, 0, 0, 0});
  Entry({2026, 1, 2, 0, 0, 0});
  const auto held = files_.Open(folder_.ResultFileOf(entry, "brnd_Fuel"), platform::Access::Read,
                                platform::Disposition::OpenExisting, platform::Sharing::Read);
  EXPECT_EQ(folder_.Prune({0, 0}), std::vector<std::string>{"20260102-000000"});
  EXPECT_EQ(folder_.Entries(), std::vector<std::string>{entry});
}

}  // namespace
}  // namespace mv::history
