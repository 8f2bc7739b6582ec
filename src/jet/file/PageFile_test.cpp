#include "jet/file/PageFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/EncodedDatabase.h"
#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::ErrorOf;
using mv::testing::MemoryFileSystem;
using mv::testing::TempFolder;
using mv::testing::WithKeyedPages;
using Mode = PageFile::Mode;

const char* const kPath = "C:\\data\\Motorva.db";

/// The content of a page of test files: its number, everywhere.
Page PageOf(std::size_t number) {
  Page page;
  page.fill(static_cast<std::uint8_t>(number));
  return page;
}

Bytes FileOf(std::size_t pages) {
  Bytes bytes(pages * kPageSize);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i / kPageSize);
  return bytes;
}

class PageFileTest : public ::testing::Test {
 protected:
  std::unique_ptr<PageFile> OpenWith(std::size_t pages, Mode mode = Mode::ReadWrite) {
    files_.Put(kPath, FileOf(pages));
    return PageFile::Open(files_, kPath, mode);
  }
  void ExpectNothingLeftBeside() { EXPECT_EQ(files_.List("C:\\data").size(), 1U); }

  MemoryFileSystem files_;
};

TEST_F(PageFileTest, MissingFileAndMissingFolderAreNotFoundUnderTheNameGiven) {
  files_.CreateFolders("C:\\data");
  EXPECT_EQ(ErrorOf([&] { PageFile::Open(files_, kPath, Mode::ReadWrite); }).Description(),
            "Could not find file 'C:\\data\\Motorva.db'.");
  EXPECT_EQ(ErrorOf([&] { PageFile::Open(files_, "D:\\x\\y.db", Mode::ReadOnly); }).Description(),
            "Could not find file 'D:\\x\\y.db'.");
}

TEST_F(PageFileTest, FolderInPlaceOfAFileCannotBeOpened) {
  files_.CreateFolders(kPath);
  EXPECT_EQ(ErrorOf([&] { PageFile::Open(files_, kPath, Mode::ReadWrite); }).Description(),
            "The Microsoft Jet database engine cannot open the file 'C:\\data\\Motorva.db'. It is already opened "
            "exclusively by another user, or you need permission to view its data.");
}

TEST_F(PageFileTest, FolderThatTakesNoNewFileKeepsTheOldFileAndTheChanges) {
  const auto file = OpenWith(3);
  file->Write(1).fill(0x55);
  files_.CreateFolders(files_.StagedName(kPath));
  const Error error = ErrorOf([&] { file->Commit(); });
  EXPECT_EQ(error.Number(), errors::kPathFileAccess);
  EXPECT_EQ(error.Description(),
            "The new database cannot be written beside 'C:\\data\\Motorva.db': its folder takes no new file.");
  EXPECT_EQ(files_.Content(kPath), FileOf(3));
  EXPECT_TRUE(file->Changed());
}

TEST_F(PageFileTest, FileThatSomebodyHoldsIsInUse) {
  const auto holder = OpenWith(3);
  EXPECT_EQ(ErrorOf([&] { PageFile::Open(files_, kPath, Mode::ReadWrite); }).Description(),
            "Could not use 'C:\\data\\Motorva.db'; file already in use.");
  EXPECT_EQ(ErrorNumberOf([&] { PageFile::Open(files_, kPath, Mode::ReadOnly); }), errors::kJetGeneral);
}

TEST_F(PageFileTest, TwoReadersMayShareAFileButNoWriterJoins) {
  const auto one = OpenWith(3, Mode::ReadOnly);
  const auto two = PageFile::Open(files_, kPath, Mode::ReadOnly);
  EXPECT_EQ(two->Read(1), PageOf(1));
  EXPECT_EQ(ErrorNumberOf([&] { PageFile::Open(files_, kPath, Mode::ReadWrite); }), errors::kJetGeneral);
}

TEST_F(PageFileTest, LengthsThatNoDatabaseHasAreRefused) {
  for (const std::size_t length : {std::size_t{0}, kPageSize, 2 * kPageSize + 1, 3 * kPageSize - 1}) {
    files_.Put(kPath, Bytes(length));
    const Error error = ErrorOf([&] { PageFile::Open(files_, kPath, Mode::ReadWrite); });
    EXPECT_TRUE(error.Description().starts_with("Unrecognized database format 'C:\\data\\Motorva.db'.")) << length;
  }
}

TEST_F(PageFileTest, LocksOnTheLockFileMeanInUse) {
  files_.Put(kPath, FileOf(3));
  files_.Put("C:\\data\\Motorva.ldb", Bytes(64));
  const auto lock = files_.Open("C:\\data\\Motorva.ldb", platform::Access::ReadWrite,
                                platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_EQ(ErrorOf([&] { PageFile::Open(files_, kPath, Mode::ReadWrite); }).Description(),
            "Could not use 'C:\\data\\Motorva.db'; file already in use.");
  EXPECT_EQ(ErrorNumberOf([&] { PageFile::Open(files_, kPath, Mode::ReadOnly); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { PageFile::Create(files_, kPath); }), errors::kJetGeneral);
}

TEST_F(PageFileTest, StaleLockFileIsNoReasonToRefuseAndIsLeftAlone) {
  files_.Put("C:\\data\\Motorva.ldb", Bytes(64));
  OpenWith(3);
  EXPECT_EQ(files_.Content("C:\\data\\Motorva.ldb"), Bytes(64));
}

TEST_F(PageFileTest, LockFileOfANameWithoutExtensionIsNamedByTheWholeName) {
  files_.Put("C:\\da.ta\\Motorva", FileOf(3));
  files_.Put("C:\\da.ta\\Motorva.ldb", Bytes(64));
  const auto lock = files_.Open("C:\\da.ta\\Motorva.ldb", platform::Access::ReadWrite,
                                platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_EQ(ErrorNumberOf([&] { PageFile::Open(files_, "C:\\da.ta\\Motorva", Mode::ReadWrite); }), errors::kJetGeneral);
}

TEST_F(PageFileTest, NoLockFileIsMade) {
  const auto file = OpenWith(3);
  file->Write(2).fill(9);
  file->Commit();
  ExpectNothingLeftBeside();
}

TEST_F(PageFileTest, OpeningReadsNoPage) {
  const auto file = OpenWith(100);
  EXPECT_EQ(file->PageCount(), 100U);
  EXPECT_EQ(files_.Reads(), 0U);
}

TEST_F(PageFileTest, ReadingInAscendingOrderFetchesRunsOfPages) {
  const auto file = OpenWith(100);
  for (PageNumber number = 0; number < 100; ++number) EXPECT_EQ(file->Read(number), PageOf(number));
  EXPECT_LE(files_.Reads(), 10U);
  const std::size_t reads = files_.Reads();
  for (PageNumber number = 0; number < 100; ++number) EXPECT_EQ(file->Read(number), PageOf(number));
  EXPECT_EQ(files_.Reads(), reads);
}

TEST_F(PageFileTest, ReadAheadKeepsPagesThatHaveChanged) {
  const auto file = OpenWith(100);
  file->Write(12).fill(0xEE);
  for (PageNumber number = 9; number < 20; ++number) {
    EXPECT_EQ(file->Read(number)[0], number == 12 ? 0xEE : number);
  }
}

TEST_F(PageFileTest, PageBehindTheEndIsDamage) {
  const auto file = OpenWith(3);
  EXPECT_EQ(ErrorOf([&] { file->Read(3); }).Description(),
            "The database file is damaged: page 3 lies behind the end of the file. Nothing was changed.");
  EXPECT_EQ(ErrorNumberOf([&] { file->Write(0xFFFFFFFF); }), errors::kJetGeneral);
}

TEST_F(PageFileTest, FileThatBecameShorterIsDamageWhenThePageIsRead) {
  const auto file = OpenWith(5);
  files_.Put(kPath, FileOf(3));
  EXPECT_EQ(file->Read(2), PageOf(2));
  EXPECT_EQ(ErrorNumberOf([&] { file->Read(4); }), errors::kJetGeneral);
}

TEST_F(PageFileTest, FailingReadIsReportedAndMayBeTriedAgain) {
  const auto file = OpenWith(3);
  files_.FailRead(1);
  EXPECT_EQ(ErrorNumberOf([&] { file->Read(1); }), errors::kDeviceIo);
  EXPECT_EQ(file->Read(1), PageOf(1));
}

TEST_F(PageFileTest, FileOpenedReadOnlyCannotBeChanged) {
  const auto file = OpenWith(3, Mode::ReadOnly);
  EXPECT_EQ(ErrorNumberOf([&] { file->Write(1); }), errors::kPermissionDenied);
  EXPECT_EQ(ErrorNumberOf([&] { file->Append(); }), errors::kPermissionDenied);
  EXPECT_FALSE(file->Changed());
}

TEST_F(PageFileTest, ChangesStayInMemoryUntilCommit) {
  const auto file = OpenWith(3);
  EXPECT_FALSE(file->Changed());
  file->Write(1).fill(0x55);
  EXPECT_EQ(file->Append(), 3U);
  EXPECT_EQ(file->Read(1)[4095], 0x55);
  EXPECT_EQ(file->Read(3), Page{});
  EXPECT_TRUE(file->Changed());
  EXPECT_EQ(files_.Content(kPath), FileOf(3));

  file->Commit();
  EXPECT_FALSE(file->Changed());
  Bytes expected = FileOf(3);
  std::fill_n(expected.begin() + kPageSize, kPageSize, std::uint8_t{0x55});
  expected.resize(4 * kPageSize);
  EXPECT_EQ(files_.Content(kPath), expected);
  ExpectNothingLeftBeside();
}

TEST_F(PageFileTest, CommitWithoutChangesTouchesNothing) {
  const auto file = OpenWith(3);
  file->Read(2);
  const std::size_t opens = files_.Opens();
  file->Commit();
  EXPECT_EQ(files_.Writes(), 0U);
  EXPECT_EQ(files_.Opens(), opens);
}

TEST_F(PageFileTest, CommitOfALargeFileStreamsItInPiecesAndKeepsTheRest) {
  const std::size_t pages = 3 * 256 + 7;
  const auto file = OpenWith(pages);
  Bytes expected = FileOf(pages);
  for (const std::size_t number : {0U, 255U, 256U, 774U}) {
    file->Write(static_cast<PageNumber>(number))[7] = 0xAB;
    expected[number * kPageSize + 7] = 0xAB;
  }
  file->Commit();
  EXPECT_EQ(files_.Content(kPath), expected);
  EXPECT_EQ(files_.Writes(), 4U + 1U);
}

TEST_F(PageFileTest, CommitAfterCommitBuildsOnTheFileWrittenBefore) {
  const auto file = OpenWith(40);
  file->Write(3)[0] = 0x11;
  file->Commit();
  file->Write(30)[0] = 0x22;
  file->Append();
  file->Commit();
  file->Write(40)[0] = 0x33;
  file->Commit();
  Bytes expected = FileOf(40);
  expected.resize(41 * kPageSize);
  expected[3 * kPageSize] = 0x11;
  expected[30 * kPageSize] = 0x22;
  expected[40 * kPageSize] = 0x33;
  EXPECT_EQ(files_.Content(kPath), expected);
}

TEST_F(PageFileTest, FileStaysHeldThroughCommits) {
  const auto file = OpenWith(3);
  file->Write(1).fill(1);
  file->Commit();
  EXPECT_EQ(ErrorNumberOf([&] { PageFile::Open(files_, kPath, Mode::ReadOnly); }), errors::kJetGeneral);
}

TEST_F(PageFileTest, CommitThatFailsAtAnyStepLeavesTheOldFileAndTheChanges) {
  for (std::size_t step = 1; step <= 5; ++step) {
    SCOPED_TRACE(step);
    const auto file = OpenWith(600);
    file->Write(500).fill(0x77);
    file->Append();
    if (step <= 4) {
      files_.FailWrite(step);  // three pieces, then the replacement
    } else {
      files_.FailSync(1);
    }
    EXPECT_EQ(ErrorNumberOf([&] { file->Commit(); }), errors::kDiskFull);
    EXPECT_EQ(files_.Content(kPath), FileOf(600));
    ExpectNothingLeftBeside();
    EXPECT_TRUE(file->Changed());
    EXPECT_EQ(file->Read(500)[0], 0x77);
    EXPECT_EQ(file->Read(77), PageOf(77));

    file->Commit();
    Bytes expected = FileOf(600);
    std::fill_n(expected.begin() + 500 * static_cast<std::ptrdiff_t>(kPageSize), kPageSize, std::uint8_t{0x77});
    expected.resize(601 * kPageSize);
    EXPECT_EQ(files_.Content(kPath), expected);
  }
}

TEST_F(PageFileTest, CommitThatCannotReadTheOldFileChangesNothing) {
  const auto file = OpenWith(600);
  file->Write(500).fill(0x77);
  files_.FailRead(2);
  EXPECT_EQ(ErrorNumberOf([&] { file->Commit(); }), errors::kDeviceIo);
  EXPECT_EQ(files_.Content(kPath), FileOf(600));
  ExpectNothingLeftBeside();
}

class PageFileCopiedAheadTest : public PageFileTest {
 protected:
  PageFileCopiedAheadTest() {
    files_.CopyAhead(MemoryFileSystem::CopiesAhead::AtOnce);
    files_.Put(kPath, FileOf(kPages));
    file_ = PageFile::Open(files_, kPath, Mode::ReadWrite, committer_);
  }
  bool IsBegun() const { return files_.FileExists(files_.StagedName(kPath)); }

  static constexpr PageNumber kPages = 300;
  std::shared_ptr<Committer> committer_ = std::make_shared<Committer>(files_);
  std::unique_ptr<PageFile> file_;
};

TEST_F(PageFileCopiedAheadTest, FirstChangeBeginsTheNewFile) {
  file_->Read(1);
  EXPECT_FALSE(IsBegun());
  file_->Write(1).fill(0x55);
  EXPECT_TRUE(IsBegun());
  file_->Commit();
  EXPECT_FALSE(IsBegun());
  file_->Append();
  EXPECT_TRUE(IsBegun()) << "an added page is a change, too";
}

TEST_F(PageFileCopiedAheadTest, WhatIsUndoneIsNotInTheNewFile) {
  file_->Write(1).fill(0x55);
  file_->Write(file_->Append()).fill(0x55);
  file_->Discard();
  file_->Begin();
  file_->Write(2).fill(0x55);
  file_->Rollback();
  file_->Write(3).fill(0x66);
  file_->Commit();
  Bytes expected = FileOf(kPages);
  std::fill_n(expected.begin() + 3 * kPageSize, kPageSize, 0x66);
  EXPECT_TRUE(files_.Content(kPath) == expected);
}

TEST_F(PageFileCopiedAheadTest, ChangesOfAnotherDatabaseDoNotBeginItsNewFile) {
  const char* const other = "C:\\data\\other.db";
  files_.Put(other, Bytes(kPages * kPageSize, 0xBB));
  const auto second = PageFile::Open(files_, other, Mode::ReadWrite, committer_);
  file_->Write(1).fill(0x55);
  EXPECT_FALSE(files_.FileExists(files_.StagedName(other)));
  second->Write(2).fill(0x66);
  second->Commit();
  Bytes expected(kPages * kPageSize, 0xBB);
  std::fill_n(expected.begin() + 2 * kPageSize, kPageSize, 0x66);
  EXPECT_TRUE(files_.Content(other) == expected);
}

TEST_F(PageFileCopiedAheadTest, ClosingWithoutACommitLeavesNothingBesideTheDatabase) {
  file_->Write(1).fill(0x55);
  file_.reset();
  ExpectNothingLeftBeside();
  EXPECT_TRUE(files_.Content(kPath) == FileOf(kPages));
}

TEST_F(PageFileTest, DiscardForgetsChangesAndPagesAdded) {
  const auto file = OpenWith(3);
  file->Write(1).fill(0x55);
  file->Append();
  file->Discard();
  EXPECT_EQ(file->Undone(), 1U);
  EXPECT_FALSE(file->Changed());
  EXPECT_EQ(file->PageCount(), 3U);
  EXPECT_EQ(file->Read(1), PageOf(1));
  file->Write(2).fill(0x66);
  file->Commit();
  EXPECT_EQ(files_.Content(kPath)[kPageSize], 1);
  EXPECT_EQ(files_.Content(kPath)[2 * kPageSize], 0x66);
}

TEST_F(PageFileTest, ShrinkToForgetsPagesWithoutChangesAndKeepsTheOthers) {
  const auto file = OpenWith(100);
  for (PageNumber page = 0; page < 100; ++page) file->Read(page);
  file->Write(7).fill(0x55);
  const std::size_t reads = files_.Reads();
  file->ShrinkTo(100);
  file->Read(50);
  EXPECT_EQ(files_.Reads(), reads);
  file->ShrinkTo(99);
  EXPECT_EQ(file->Read(50), PageOf(50));
  EXPECT_EQ(files_.Reads(), reads + 1);
  EXPECT_EQ(file->Read(7)[0], 0x55);
  EXPECT_TRUE(file->Changed());
  file->Commit();
  EXPECT_EQ(files_.Content(kPath)[7 * kPageSize], 0x55);
  EXPECT_EQ(files_.Content(kPath)[8 * kPageSize], 8);
}

TEST_F(PageFileTest, ShrinkToInAStatementLeavesItsOldContents) {
  const auto file = OpenWith(10);
  file->Begin();
  file->Write(3).fill(0x55);
  for (PageNumber page = 0; page < 10; ++page) file->Read(page);
  file->ShrinkTo(0);
  file->Rollback();
  EXPECT_EQ(file->Read(3), PageOf(3));
  EXPECT_FALSE(file->Changed());
}

TEST_F(PageFileTest, NewDatabaseExistsOnlyAfterCommit) {
  files_.CreateFolders("C:\\data");
  const auto file = PageFile::Create(files_, kPath);
  EXPECT_EQ(file->PageCount(), 0U);
  file->Append();
  file->Write(file->Append()).fill(5);
  EXPECT_FALSE(files_.FileExists(kPath));
  file->Commit();
  Bytes expected(2 * kPageSize, 0);
  std::fill_n(expected.begin() + kPageSize, kPageSize, std::uint8_t{5});
  EXPECT_EQ(files_.Content(kPath), expected);
  file->Write(0).fill(4);
  file->Commit();
  EXPECT_EQ(files_.Content(kPath)[0], 4);
}

TEST_F(PageFileTest, NewDatabaseOverAnOldFileHoldsItAndReplacesIt) {
  files_.Put(kPath, FileOf(9));
  const auto file = PageFile::Create(files_, kPath);
  EXPECT_EQ(file->PageCount(), 0U);
  EXPECT_EQ(ErrorNumberOf([&] { PageFile::Open(files_, kPath, Mode::ReadOnly); }), errors::kJetGeneral);
  file->Append();
  EXPECT_EQ(files_.Content(kPath), FileOf(9));
  file->Commit();
  EXPECT_EQ(files_.Content(kPath), Bytes(kPageSize, 0));
}

// Statements.

TEST_F(PageFileTest, RollbackRestoresPagesCountAndTheUnchangedState) {
  const auto file = OpenWith(3);
  file->Begin();
  file->Write(1).fill(0x55);
  file->Write(file->Append()).fill(0x66);
  EXPECT_EQ(file->Undone(), 0U);
  file->Rollback();
  EXPECT_EQ(file->Undone(), 1U);
  EXPECT_EQ(file->Read(1), PageOf(1));
  EXPECT_EQ(file->PageCount(), 3U);
  EXPECT_FALSE(file->Changed());
}

TEST_F(PageFileTest, RollbackKeepsWhatEarlierStatementsDid) {
  const auto file = OpenWith(3);
  file->Begin();
  file->Write(1).fill(0x55);
  file->End();
  file->Append();
  file->Begin();
  file->Write(1).fill(0x66);
  file->Write(1).fill(0x77);
  file->Write(3).fill(0x77);
  file->Rollback();
  EXPECT_EQ(file->Read(1)[9], 0x55);
  EXPECT_EQ(file->Read(3), Page{});
  EXPECT_EQ(file->PageCount(), 4U);
  EXPECT_TRUE(file->Changed());
}

TEST_F(PageFileTest, ManyStatementsReuseTheirRoomAndRestoreTheRightPages) {
  const auto file = OpenWith(200);
  for (PageNumber round = 0; round < 5; ++round) {
    file->Begin();
    for (PageNumber number = round; number < 150; ++number) file->Write(number).fill(0xEE);
    file->Rollback();
  }
  for (PageNumber number = 0; number < 200; ++number) EXPECT_EQ(file->Read(number), PageOf(number));
}

TEST_F(PageFileTest, StatementWithoutCompleteIsRolledBack) {
  const auto file = OpenWith(3);
  {
    Statement statement(*file);
    file->Write(1).fill(0x55);
  }
  EXPECT_FALSE(file->Changed());
  {
    Statement statement(*file);
    file->Write(1).fill(0x55);
    statement.Complete();
  }
  EXPECT_EQ(file->Read(1)[0], 0x55);
}

TEST_F(PageFileTest, StatementInsideAnotherIsRolledBackWithIt) {
  const auto file = OpenWith(3);
  {
    Statement outer(*file);
    file->Write(0).fill(0x44);
    Statement inner(*file);
    file->Write(1).fill(0x55);
    inner.Complete();
  }
  EXPECT_FALSE(file->Changed());
  EXPECT_EQ(file->Read(1), PageOf(1));
}

TEST_F(PageFileTest, FailedStatementInsideAnotherCannotBeCompleted) {
  const auto file = OpenWith(3);
  Statement outer(*file);
  file->Write(0).fill(0x44);
  {
    Statement inner(*file);
    file->Write(1).fill(0x55);
  }
  EXPECT_EQ(ErrorNumberOf([&] { outer.Complete(); }), errors::kJetGeneral);
  EXPECT_FALSE(file->Changed());
}

TEST_F(PageFileTest, CommitInAStatementIsRefused) {
  const auto file = OpenWith(3);
  Statement statement(*file);
  file->Write(1).fill(0x55);
  EXPECT_EQ(ErrorNumberOf([&] { file->Commit(); }), errors::kJetGeneral);
  EXPECT_EQ(files_.Content(kPath), FileOf(3));
}

TEST_F(PageFileTest, DiscardInAStatementEndsIt) {
  const auto file = OpenWith(3);
  {
    Statement statement(*file);
    file->Write(1).fill(0x55);
    file->Append();
    file->Discard();
  }
  EXPECT_EQ(file->PageCount(), 3U);
  EXPECT_EQ(file->Read(1), PageOf(1));
  file->Write(2).fill(0x66);
  file->Commit();
  EXPECT_EQ(files_.Content(kPath)[2 * kPageSize], 0x66);
}

// Encoded pages.

constexpr std::uint32_t kKey = 0x12345678;

class EncodedPageFileTest : public PageFileTest {
 protected:
  std::unique_ptr<PageFile> OpenEncoded(std::size_t pages) {
    files_.Put(kPath, WithKeyedPages(FileOf(pages), kKey));
    return OpenAgain();
  }
  std::unique_ptr<PageFile> OpenAgain(std::shared_ptr<Committer> committer = nullptr) {
    auto file = PageFile::Open(files_, kPath, Mode::ReadWrite, std::move(committer));
    file->UseKey(kKey);
    return file;
  }
  Bytes PlainContent() const { return WithKeyedPages(files_.Content(kPath), kKey); }
};

TEST_F(EncodedPageFileTest, PagesAreReadPlainOneByOneAndInRuns) {
  const auto file = OpenEncoded(100);
  EXPECT_EQ(file->Read(0), PageOf(0));
  EXPECT_EQ(file->Read(77), PageOf(77));
  for (PageNumber number = 0; number < 100; ++number) EXPECT_EQ(file->Read(number), PageOf(number)) << number;
  file->ShrinkTo(0);
  EXPECT_EQ(file->Read(50), PageOf(50));
}

TEST_F(EncodedPageFileTest, CommitEncodesChangedAndNewPagesAndLeavesTheOthersAsTheyLie) {
  const auto file = OpenEncoded(600);
  const Bytes before = files_.Content(kPath);
  file->Write(300).fill(0x55);
  file->Write(file->Append()).fill(0x66);
  file->Commit();

  Bytes expected = FileOf(601);
  std::fill_n(expected.begin() + 300 * kPageSize, kPageSize, std::uint8_t{0x55});
  std::fill_n(expected.begin() + 600 * kPageSize, kPageSize, std::uint8_t{0x66});
  EXPECT_EQ(PlainContent(), expected);
  Bytes after = files_.Content(kPath);
  std::copy_n(before.begin() + 300 * kPageSize, kPageSize, after.begin() + 300 * kPageSize);
  after.resize(before.size());
  EXPECT_EQ(after, before);
}

TEST_F(EncodedPageFileTest, PagesInMemoryStayPlainThroughCommits) {
  const auto file = OpenEncoded(3);
  file->Write(1).fill(0x55);
  file->Commit();
  EXPECT_EQ(file->Read(1)[4095], 0x55);
  file->Write(2)[0] = 0x77;
  file->Commit();
  file->ShrinkTo(0);
  EXPECT_EQ(file->Read(1)[0], 0x55);
  EXPECT_EQ(file->Read(2)[0], 0x77);
  EXPECT_EQ(file->Read(2)[1], 2);
}

TEST_F(EncodedPageFileTest, UndoneChangesLeaveThePagesAsTheyWere) {
  const auto file = OpenEncoded(3);
  file->Begin();
  file->Write(1).fill(0x55);
  file->Rollback();
  EXPECT_EQ(file->Read(1), PageOf(1));
  file->Write(2).fill(0x66);
  file->Discard();
  EXPECT_EQ(file->Read(2), PageOf(2));
}

TEST_F(EncodedPageFileTest, FailedCommitMayBeTriedAgain) {
  const auto file = OpenEncoded(3);
  const Bytes before = files_.Content(kPath);
  file->Write(1).fill(0x55);
  files_.FailWrite(1);
  EXPECT_EQ(ErrorNumberOf([&] { file->Commit(); }), errors::kDiskFull);
  EXPECT_EQ(files_.Content(kPath), before);
  EXPECT_EQ(file->Read(1)[7], 0x55);
  file->Commit();
  EXPECT_EQ(PlainContent()[kPageSize], 0x55);
  EXPECT_EQ(PlainContent()[2 * kPageSize], 2);
}

TEST_F(EncodedPageFileTest, CommitsIntoASpareFileAreTheSamePages) {
  files_.Put(kPath, WithKeyedPages(FileOf(600), kKey));
  Bytes expected = FileOf(600);
  const auto committer = std::make_shared<Committer>(files_);
  std::uint64_t written = 0;
  for (PageNumber round = 0; round < 6; ++round) {
    const auto file = OpenAgain(committer);
    for (const PageNumber number : {3 + round, 500 - round}) {
      file->Write(number)[9] = 0xEE;
      expected[number * kPageSize + 9] = 0xEE;
    }
    file->Append();
    expected.resize(expected.size() + kPageSize);
    written = files_.BytesWritten();
    file->Commit();
    written = files_.BytesWritten() - written;
  }
  EXPECT_EQ(PlainContent(), expected);
  EXPECT_EQ(written, 6 * kPageSize) << "the spare was not used";
}

TEST(PageFileOnDisk, CommitOverAFileOfThisMachineIsReadBackByTheNextOpening) {
  const TempFolder folder;
  const auto files = platform::MakeFileSystem();
  const std::string path = folder.File("real.mdb");
  {
    const auto file = PageFile::Create(*files, path);
    for (PageNumber number = 0; number < 300; ++number) file->Write(file->Append()) = PageOf(number);
    file->Commit();
    file->Write(299).fill(0xAA);
    EXPECT_EQ(ErrorNumberOf([&] { PageFile::Open(*files, path, Mode::ReadWrite); }), errors::kJetGeneral);
    file->Commit();
  }
  const auto file = PageFile::Open(*files, path, Mode::ReadOnly);
  EXPECT_EQ(file->PageCount(), 300U);
  EXPECT_EQ(file->Read(298), PageOf(298));
  EXPECT_EQ(file->Read(299)[0], 0xAA);
  EXPECT_EQ(files->List(folder.Path()).size(), 1U);
}

}  // namespace
}  // namespace mv::jet
