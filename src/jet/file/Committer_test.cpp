#include "jet/file/Committer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv::jet {
namespace {

using mv::testing::MemoryFileSystem;
using mv::testing::TempFolder;

const std::string kFolder = "C:\\data";
const std::string kPath = "C:\\data\\Motorva.db";
const std::string kSpare = kPath + ".writing";
/// Large enough for a spare.
constexpr PageNumber kPages = 600;

Bytes ContentOf(platform::FileSystem& files, const std::string& path) {
  const auto file =
      files.Open(path, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::All);
  return platform::ReadWhole(*file);
}

/// Somebody who writes into a file as it lies there, without asking for locks or leave.
void WriteInPlace(platform::FileSystem& files, const std::string& path, std::uint64_t offset, const Bytes& data) {
  files.Open(path, platform::Access::ReadWrite, platform::Disposition::OpenExisting, platform::Sharing::All)
      ->WriteAt(offset, data);
}

/// A database that is changed page by page, and what is expected of its file.
class PagedDatabase {
 public:
  PagedDatabase(platform::FileSystem& files, std::string path) : files_(files), path_(files.RealPath(path)) {}

  /// Takes hold of the file as it is now.
  void Open() {
    committer_.Adopt(path_);
    held_ =
        files_.Open(path_, platform::Access::ReadWrite, platform::Disposition::OpenExisting, platform::Sharing::None);
    pages_ = static_cast<PageNumber>(held_->Size() / kPageSize);
  }
  void Close() {
    committer_.Unchanged();
    held_.reset();
    changed_.clear();
  }

  /// Fills a page, at the end of the file or in it, with bytes that no page has had.
  void Change(PageNumber number) {
    if (changed_.empty()) committer_.Changing(path_, held_);
    Page page;
    page.fill(static_cast<std::uint8_t>(++lastFill_));
    StoreLittle(page.data() + 8, lastFill_);
    changed_[number] = page;
    pages_ = std::max(pages_, number + 1);
  }

  void Commit() {
    PagesToCommit pages;
    pages.count = pages_;
    for (const auto& [number, page] : changed_) pages.changed.push_back(number);
    pages.read = [this](PageNumber first, ByteSpan out) { Read(first, out); };
    held_ = committer_.Commit(path_, held_, pages);
    changed_.clear();
  }

  /// The bytes that a commit must leave.
  Bytes Expected() {
    Bytes content(pages_ * kPageSize);
    Read(0, content);
    return content;
  }
  void Rest() { committer_.Rest(); }
  bool IsHeld() const { return held_ != nullptr; }

 private:
  void Read(PageNumber first, ByteSpan out) {
    held_->ReadAt(std::uint64_t{first} * kPageSize, out);
    const auto end = changed_.lower_bound(first + static_cast<PageNumber>(out.size() / kPageSize));
    for (auto change = changed_.lower_bound(first); change != end; ++change) {
      std::copy(change->second.begin(), change->second.end(), out.begin() + (change->first - first) * kPageSize);
    }
  }

  platform::FileSystem& files_;
  std::string path_;
  Committer committer_{files_};
  std::unique_ptr<platform::File> held_;
  std::map<PageNumber, Page> changed_;
  PageNumber pages_ = 0;
  std::uint32_t lastFill_ = 0;
};

class CommitterTest : public ::testing::Test {
 protected:
  CommitterTest() {
    files_.Put(kPath, Bytes(kPages * kPageSize, 0xAA));
    database_.Open();
  }

  /// Commits changes of these pages and returns the bytes that this wrote.
  std::uint64_t Commit(const std::vector<PageNumber>& pages) {
    const std::uint64_t before = files_.BytesWritten();
    for (const PageNumber page : pages) database_.Change(page);
    const Bytes expected = database_.Expected();
    database_.Commit();
    EXPECT_EQ(files_.Content(kPath), expected);
    return files_.BytesWritten() - before;
  }
  /// As between two tables of a run.
  void CloseAndOpen() {
    database_.Close();
    database_.Open();
  }
  /// Two commits, after which there is a spare.
  void MakeSpare() {
    Commit({7});
    Commit({8});
    ASSERT_TRUE(files_.FileExists(kSpare));
  }
  bool CommitFails() {
    try {
      database_.Commit();
      return false;
    } catch (const Error&) {
      return true;
    }
  }
  void ExpectOnly(std::set<std::string> names) {
    const std::vector<std::string> found = files_.List(kFolder);
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()), names);
  }

  static constexpr std::uint64_t kWhole = kPages * kPageSize;
  MemoryFileSystem files_;
  PagedDatabase database_{files_, kPath};
};

TEST_F(CommitterTest, FromTheThirdCommitOnWritesThePagesOfTwoCommits) {
  EXPECT_EQ(Commit({3}), kWhole);
  EXPECT_EQ(Commit({4, 9}), kWhole);
  EXPECT_EQ(Commit({5, 6, 7}), 5 * kPageSize);
  EXPECT_EQ(Commit({7, 200}), 4 * kPageSize);
  EXPECT_EQ(Commit({0}), 3 * kPageSize);
}

/// Where copies can be begun ahead, and where they cannot.
class AnyCommitterTest : public CommitterTest, public ::testing::WithParamInterface<MemoryFileSystem::CopiesAhead> {
 protected:
  AnyCommitterTest() { files_.CopyAhead(GetParam()); }
};

std::string NameOf(const ::testing::TestParamInfo<MemoryFileSystem::CopiesAhead>& copies) {
  switch (copies.param) {
    case MemoryFileSystem::CopiesAhead::Never:
      return "NoCopies";
    case MemoryFileSystem::CopiesAhead::AtOnce:
      return "CopiesAtOnce";
    case MemoryFileSystem::CopiesAhead::AtItsEnd:
      return "CopiesAtTheirEnd";
  }
  return {};
}

INSTANTIATE_TEST_SUITE_P(Ahead, AnyCommitterTest,
                         ::testing::Values(MemoryFileSystem::CopiesAhead::Never, MemoryFileSystem::CopiesAhead::AtOnce,
                                           MemoryFileSystem::CopiesAhead::AtItsEnd),
                         NameOf);

TEST_P(AnyCommitterTest, PowerCutAtAnyStepLeavesADatabaseThatWasCommittedAndTheHistorysAsItWas) {
  const std::string kept = "C:\\data\\kept";
  files_.Link(kPath, kept);
  files_.SyncFolder(kFolder);
  const Bytes original = files_.Content(kPath);
  Bytes before = original;
  Bytes coming = original;
  bool mayBeBefore = true;
  std::size_t looks = 0;
  const auto look = [&] {
    for (const bool names : {false, true}) {
      for (const bool contents : {false, true}) {
        const auto left = files_.AfterPowerCut({names, contents});
        const Bytes& database = left.at("C:/data/Motorva.db");
        ASSERT_TRUE(database == coming || (mayBeBefore && database == before)) << "step " << looks;
        ASSERT_EQ(left.at("C:/data/kept"), original);
      }
    }
    ++looks;
  };
  files_.LookAtEachStep(look);
  for (PageNumber page = 1; page <= 6; ++page) {
    mayBeBefore = true;
    for (const PageNumber changed : {page, page + 300}) database_.Change(changed);
    coming = database_.Expected();
    database_.Commit();
    mayBeBefore = false;
    look();
    before = coming;
  }
  files_.LookAtEachStep([] {});
  EXPECT_GT(looks, 40u);
}

TEST_F(CommitterTest, SpareIsOfUseFromOneOpeningOfTheDatabaseToTheNext) {
  MakeSpare();
  CloseAndOpen();
  EXPECT_EQ(Commit({1}), 2 * kPageSize);
  CloseAndOpen();
  EXPECT_EQ(Commit({2}), 2 * kPageSize);
}

TEST_F(CommitterTest, GrowingDatabaseGrowsInBothFiles) {
  MakeSpare();
  EXPECT_EQ(Commit({kPages, kPages + 1}), 3 * kPageSize);
  EXPECT_EQ(Commit({kPages + 2}), 3 * kPageSize);
  EXPECT_EQ(Commit({1}), 2 * kPageSize);
}

TEST_P(AnyCommitterTest, AnyChangesInAnyOrderGiveTheFileThatIsExpected) {
  std::mt19937 random(20261122);
  PageNumber count = kPages;
  for (int commit = 0; commit < 60; ++commit) {
    std::vector<PageNumber> pages;
    for (auto changes = random() % 40; changes > 0; --changes)
      pages.push_back(static_cast<PageNumber>(random() % count));
    if (random() % 4 == 0) pages.push_back(count++);
    if (pages.empty()) pages.push_back(0);
    Commit(pages);
    if (random() % 3 == 0) CloseAndOpen();
  }
}

TEST_F(CommitterTest, FileThatOthersWroteBecomesNoSpare) {
  Commit({1});
  ExpectOnly({"Motorva.db"});
}

TEST_F(CommitterTest, CopyByHardLinkStaysAsItWasMade) {
  for (int commit = 0; commit < 5; ++commit) {
    Commit({static_cast<PageNumber>(commit)});
    const std::string kept = "C:\\history\\" + std::to_string(commit);
    const Bytes then = files_.Content(kPath);
    files_.Link(kPath, kept);
    for (PageNumber page = 10; page < 14; ++page) Commit({page});
    EXPECT_EQ(files_.Content(kept), then) << commit;
  }
}

TEST_F(CommitterTest, CopyByHardLinkOfTheSpareStaysToo) {
  MakeSpare();
  const Bytes then = files_.Content(kSpare);
  files_.Link(kSpare, "C:\\backup\\x");
  EXPECT_EQ(Commit({1}), kWhole);
  Commit({2});
  EXPECT_EQ(files_.Content("C:\\backup\\x"), then);
}

TEST_F(CommitterTest, PageThatSomebodyChangedInPlaceBetweenTwoCommitsIsKept) {
  MakeSpare();
  database_.Close();
  WriteInPlace(files_, kPath, 300 * kPageSize, Bytes(10, 0x77));
  database_.Open();
  EXPECT_EQ(Commit({1}), kWhole);
  Commit({2});
  Commit({3});
  EXPECT_EQ(files_.Content(kPath)[300 * kPageSize], 0x77);
}

TEST_F(CommitterTest, DatabaseThatSomebodyReplacedIsTheOneThatIsChanged) {
  MakeSpare();
  database_.Close();
  files_.RemoveFile(kPath);
  files_.Put(kPath, Bytes(kPages * kPageSize, 0xBB));
  database_.Open();
  EXPECT_EQ(Commit({1}), kWhole);
  EXPECT_EQ(files_.Content(kPath)[500 * kPageSize], 0xBB);
}

TEST_F(CommitterTest, SpareThatSomebodyWroteIntoIsNotUsed) {
  MakeSpare();
  WriteInPlace(files_, kSpare, 300 * kPageSize, Bytes(10, 0x77));
  EXPECT_EQ(Commit({1}), kWhole);
}

TEST_F(CommitterTest, SpareThatIsGoneIsNotMissed) {
  MakeSpare();
  files_.RemoveFile(kSpare);
  EXPECT_EQ(Commit({1}), kWhole);
}

TEST_F(CommitterTest, AnotherFileInTheSparesPlaceIsNotUsed) {
  MakeSpare();
  files_.RemoveFile(kSpare);
  files_.Put(kSpare, Bytes(kPages * kPageSize, 0xCC));
  EXPECT_EQ(Commit({1}), kWhole);
}

TEST_F(CommitterTest, WhereTheVolumeHasNoRoomForAnotherCopyNoSpareIsKept) {
  files_.SetFreeBytes(kPages * kPageSize - 1);
  Commit({1});
  Commit({2});
  EXPECT_EQ(Commit({3}), kWhole);
  ExpectOnly({"Motorva.db"});
}

TEST_F(CommitterTest, WhereFilesHaveOneNameNoSpareIsKept) {
  files_.RefuseLinks();
  Commit({1});
  Commit({2});
  EXPECT_EQ(Commit({3}), kWhole);
  ExpectOnly({"Motorva.db"});
}

TEST_F(CommitterTest, SmallDatabaseIsWrittenAsAWhole) {
  database_.Close();
  files_.Put(kPath, Bytes(256 * kPageSize));
  database_.Open();
  Commit({1});
  Commit({2});
  EXPECT_EQ(Commit({3}), 256 * kPageSize);
  ExpectOnly({"Motorva.db"});
}

TEST_F(CommitterTest, WhereBlocksCanBeSharedOnlyChangedPagesAreWrittenAndThereIsNoSpare) {
  files_.ShareBlocks(true);
  EXPECT_EQ(Commit({3}), kPageSize);
  EXPECT_EQ(Commit({kPages, 5}), 2 * kPageSize);
  EXPECT_EQ(Commit({1}), kPageSize);
  ExpectOnly({"Motorva.db"});
}

TEST_F(CommitterTest, NothingStaysBesideTheDatabaseAtRest) {
  MakeSpare();
  database_.Close();
  database_.Rest();
  ExpectOnly({"Motorva.db"});
  database_.Open();
  EXPECT_EQ(Commit({1}), kWhole) << "a later commit begins anew";
}

TEST_F(CommitterTest, WhatAKilledProgramLeftGoesWhenTheDatabaseIsOpenedNext) {
  MakeSpare();
  files_.Put(kPath + ".spare", Bytes(10));
  database_.Close();
  PagedDatabase next(files_, kPath);
  next.Open();
  ExpectOnly({"Motorva.db"});
}

TEST_P(AnyCommitterTest, FailureAnywhereLeavesTheOldFileOrTheNewAndTheNextCommitSucceeds) {
  for (const bool syncs : {false, true}) {
    for (std::size_t at = 1; at <= 6; ++at) {
      database_.Close();
      database_.Rest();
      database_.Open();
      MakeSpare();
      const Bytes before = files_.Content(kPath);
      syncs ? files_.FailSync(at) : files_.FailWrite(at);
      database_.Change(20);
      const Bytes after = database_.Expected();
      const bool failed = CommitFails();
      syncs ? files_.FailSync(0) : files_.FailWrite(0);
      EXPECT_TRUE(files_.Content(kPath) == (failed ? before : after)) << at;
      Commit({21});
      Commit({22});
    }
  }
  database_.Close();
  database_.Rest();
  ExpectOnly({"Motorva.db"});
}

class CopyAheadTest : public CommitterTest {
 protected:
  CopyAheadTest() { files_.CopyAhead(MemoryFileSystem::CopiesAhead::AtOnce); }

  /// What is written of the file in the database's place before there is a commit.
  std::uint64_t WrittenByChanging(PageNumber page) {
    const std::uint64_t before = files_.BytesWritten();
    database_.Change(page);
    return files_.BytesWritten() - before;
  }
};

TEST_F(CopyAheadTest, CommitThatWouldWriteAllPagesWritesWhatChangedSinceTheCopyWasBegun) {
  EXPECT_EQ(WrittenByChanging(3), kWhole);
  EXPECT_EQ(Commit({3, 4}), 2 * kPageSize);
  CloseAndOpen();
  EXPECT_EQ(WrittenByChanging(9), kWhole);
  EXPECT_EQ(Commit({kPages}), 2 * kPageSize) << "a page that was added, too";
}

TEST_F(CopyAheadTest, NothingIsCopiedWhereThereIsASpare) {
  MakeSpare();
  EXPECT_EQ(WrittenByChanging(1), 0u);
  EXPECT_EQ(Commit({2}), 3 * kPageSize);
}

TEST_F(CopyAheadTest, CopyBelongsToOneOpeningOfTheDatabase) {
  database_.Change(1);
  EXPECT_TRUE(files_.FileExists(kSpare));
  CloseAndOpen();
  ExpectOnly({"Motorva.db"});
  EXPECT_EQ(Commit({2}), kWhole + kPageSize);
}

TEST_F(CopyAheadTest, SmallDatabaseIsNotCopied) {
  database_.Close();
  files_.Put(kPath, Bytes(256 * kPageSize));
  database_.Open();
  EXPECT_EQ(WrittenByChanging(1), 0u);
}

TEST_F(CopyAheadTest, NothingIsCopiedWhereItCouldTakeTheRoomOfTheRun) {
  files_.SetFreeBytes(2 * kWhole);
  EXPECT_EQ(WrittenByChanging(1), 0u);
  EXPECT_EQ(Commit({2}), kWhole);
}

TEST_F(CopyAheadTest, CopyThatFailsIsMadeAnewByTheCommit) {
  files_.CopyAhead(MemoryFileSystem::CopiesAhead::AtItsEnd);
  database_.Change(1);
  files_.FailWrite(1);
  EXPECT_EQ(Commit({}), kWhole + kWhole / 2);
  ExpectOnly({"Motorva.db"});
}

TEST_F(CopyAheadTest, FileOfAnotherProgramInTheWayIsNoFailure) {
  auto writer =
      files_.Open(kSpare, platform::Access::ReadWrite, platform::Disposition::OpenAlways, platform::Sharing::None);
  EXPECT_EQ(WrittenByChanging(1), 0u);
  writer.reset();
  EXPECT_EQ(Commit({}), kWhole);
}

TEST_F(CopyAheadTest, WhereBlocksCanBeSharedTheyAreShared) {
  files_.ShareBlocks(true);
  EXPECT_EQ(WrittenByChanging(1), 0u);
  EXPECT_EQ(Commit({5}), 2 * kPageSize);
  ExpectOnly({"Motorva.db"});
}

/// On the disk of this machine.
class CommitterOnDiskTest : public ::testing::Test {
 protected:
  CommitterOnDiskTest() {
    files_->WriteWhole(path_, Bytes(kPages * kPageSize, 0xAA));
    database_.Open();
  }
  void Commit(PageNumber page) {
    database_.Change(page);
    const Bytes expected = database_.Expected();
    database_.Commit();
    EXPECT_TRUE(ContentOfHeld() == expected);
  }
  /// The database is held, which keeps every other program out on Windows.
  Bytes ContentOfHeld() {
    database_.Close();
    Bytes content = ContentOf(*files_, path_);
    database_.Open();
    return content;
  }

  TempFolder folder_;
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
  std::string path_ = files_->RealPath(folder_.File("Motorva.db"));
  PagedDatabase database_{*files_, path_};
};

TEST_F(CommitterOnDiskTest, SpareBecomesTheDatabaseAndTheDatabaseTheSpare) {
  Commit(1);
  Commit(2);
  const std::string spare = files_->IdentityOf(path_ + ".writing");
  const std::string database = files_->IdentityOf(path_);
  ASSERT_NE(spare, database);
  Commit(3);
  EXPECT_EQ(files_->IdentityOf(path_), spare);
  EXPECT_EQ(files_->IdentityOf(path_ + ".writing"), database);
  Commit(4);
  EXPECT_EQ(files_->IdentityOf(path_), database);
  database_.Close();
  database_.Rest();
  EXPECT_FALSE(files_->FileExists(path_ + ".writing"));
}

TEST_F(CommitterOnDiskTest, WriteRightAfterACommitIsSeen) {
  Commit(1);
  Commit(2);
  for (PageNumber round = 0; round < 20; ++round) {
    database_.Change(round);
    database_.Commit();
    database_.Close();
    WriteInPlace(*files_, path_, (300 + round) * kPageSize, Bytes(10, static_cast<std::uint8_t>(round + 1)));
    database_.Open();
  }
  Commit(2);
  const Bytes content = ContentOfHeld();
  for (PageNumber round = 0; round < 20; ++round) EXPECT_EQ(content[(300 + round) * kPageSize], round + 1);
}

TEST_F(CommitterOnDiskTest, PageThatSomebodyChangesAfterItWasCopiedAheadIsKept) {
  for (PageNumber commit = 1; commit <= 2; ++commit) {
    database_.Change(commit);
    while (files_->FactsOf(path_ + ".writing").bytes < kPages * kPageSize) std::this_thread::yield();
    try {
      WriteInPlace(*files_, path_, (300 + commit) * kPageSize, Bytes(10, 0x77));
    } catch (const Error& error) {
      // Where the database is kept from everybody there is nothing to show.
      EXPECT_EQ(error.Number(), errors::kPermissionDenied);
      return;
    }
    database_.Commit();
    EXPECT_EQ(ContentOfHeld()[(300 + commit) * kPageSize], 0x77);
  }
}

TEST_F(CommitterOnDiskTest, DatabaseThatIsClosedWithoutACommitLeavesNothingBesideIt) {
  for (int time = 0; time < 20; ++time) {
    database_.Change(1);
    database_.Close();
    EXPECT_FALSE(files_->FileExists(path_ + ".writing"));
    database_.Open();
  }
}

TEST_F(CommitterOnDiskTest, WhoOpenedTheDatabaseReadsWhatHeOpened) {
  Commit(1);
  Commit(2);
  for (PageNumber round = 10; round < 14; ++round) {
    const Bytes then = ContentOfHeld();
    database_.Close();
    auto reader =
        files_->Open(path_, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::All);
    // Where a reader keeps everybody out there is nothing to show.
    try {
      database_.Open();
      for (PageNumber page = 0; page < 4; ++page) {
        database_.Change(page);
        database_.Commit();
      }
    } catch (const Error& error) {
      EXPECT_EQ(error.Number(), errors::kPermissionDenied);
    }
    EXPECT_TRUE(platform::ReadWhole(*reader) == then);
    reader.reset();
    if (!database_.IsHeld()) database_.Open();
  }
}

}  // namespace
}  // namespace mv::jet
