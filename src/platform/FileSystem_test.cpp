#include "platform/FileSystem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "base/Error.h"
#include "platform/StagedWrite.h"
#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv::platform {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::MemoryFileSystem;
using mv::testing::TempFolder;

Bytes BytesOf(std::string_view text) {
  return Bytes(text.begin(), text.end());
}
std::string TextOf(const Bytes& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

/// A file system with an empty folder, and a way around it to see what is really there.
class World {
 public:
  virtual ~World() = default;
  virtual FileSystem& Files() = 0;
  /// The folder, without a separator at its end.
  virtual std::string Path() const = 0;
  virtual void Write(std::string_view name, std::string_view content) = 0;
  virtual std::string Read(std::string_view name) const = 0;
  virtual bool Has(std::string_view name) const = 0;
  std::string File(std::string_view name) const { return Path() + "\\" + std::string(name); }
};

/// This machine's files.
class DiskWorld : public World {
 public:
  FileSystem& Files() override { return *files_; }
  std::string Path() const override { return folder_.Path(); }
  void Write(std::string_view name, std::string_view content) override { folder_.Write(name, content); }
  std::string Read(std::string_view name) const override { return folder_.Read(name); }
  bool Has(std::string_view name) const override { return folder_.Has(name); }

 private:
  TempFolder folder_;
  std::unique_ptr<FileSystem> files_ = MakeFileSystem();
};

/// The files in memory that other tests use in their place.
class MemoryWorld : public World {
 public:
  MemoryWorld() { files_.CreateFolders(Path()); }
  FileSystem& Files() override { return files_; }
  std::string Path() const override { return "C:\\folder"; }
  void Write(std::string_view name, std::string_view content) override { files_.Put(File(name), BytesOf(content)); }
  std::string Read(std::string_view name) const override { return TextOf(files_.Content(File(name))); }
  bool Has(std::string_view name) const override { return files_.FileExists(File(name)); }

 private:
  MemoryFileSystem files_;
};

template <typename Kind>
std::unique_ptr<World> Make() {
  return std::make_unique<Kind>();
}

class FileSystemTest : public ::testing::TestWithParam<std::unique_ptr<World> (*)()> {
 protected:
  std::unique_ptr<File> Open(std::string_view name, Access access, Disposition disposition,
                             Sharing sharing = Sharing::None) {
    return files_->Open(folder_.File(name), access, disposition, sharing);
  }

  std::unique_ptr<World> world_ = GetParam()();
  World& folder_ = *world_;
  FileSystem* files_ = &world_->Files();
};

INSTANTIATE_TEST_SUITE_P(OfThisMachine, FileSystemTest, ::testing::Values(&Make<DiskWorld>));
INSTANTIATE_TEST_SUITE_P(InMemory, FileSystemTest, ::testing::Values(&Make<MemoryWorld>));

TEST_P(FileSystemTest, BothSeparatorsLeadToTheSameFile) {
  folder_.Write("sub/file.txt", "x");
  EXPECT_TRUE(files_->FileExists(folder_.Path() + "\\sub\\file.txt"));
  EXPECT_TRUE(files_->FileExists(folder_.Path() + "/sub/file.txt"));
  EXPECT_TRUE(files_->FileExists(folder_.Path() + "\\sub\\\\file.txt"));
}

TEST_P(FileSystemTest, NamesWithAccentsAndAstralCharactersWork) {
  const std::string path = folder_.File("caf\xC3\xA9 \xF0\x9F\x9A\x97.txt");
  files_->WriteWhole(path, BytesOf("x"));
  EXPECT_TRUE(files_->FileExists(path));
  EXPECT_EQ(files_->List(folder_.Path()), std::vector<std::string>{"caf\xC3\xA9 \xF0\x9F\x9A\x97.txt"});
}

TEST_P(FileSystemTest, AMissingFileIsError53AndAMissingFolderError76) {
  EXPECT_EQ(ErrorNumberOf([&] { Open("none", Access::Read, Disposition::OpenExisting); }), 53);
  EXPECT_EQ(ErrorNumberOf([&] { Open("no\\file", Access::Read, Disposition::OpenExisting); }), 76);
  EXPECT_EQ(ErrorNumberOf([&] { Open("no\\file", Access::Write, Disposition::CreateAlways); }), 76);
  EXPECT_EQ(ErrorNumberOf([&] { files_->RemoveFile(folder_.File("none")); }), 53);
}

TEST_P(FileSystemTest, AFolderIsNoFile) {
  files_->CreateFolders(folder_.File("sub"));
  EXPECT_FALSE(files_->FileExists(folder_.File("sub")));
  EXPECT_TRUE(files_->FolderExists(folder_.File("sub")));
  EXPECT_EQ(ErrorNumberOf([&] { Open("sub", Access::ReadWrite, Disposition::OpenAlways); }), 75);
}

TEST_P(FileSystemTest, OpenAlwaysKeepsTheContentAndCreateAlwaysCutsIt) {
  folder_.Write("file", "abc");
  EXPECT_EQ(Open("file", Access::ReadWrite, Disposition::OpenAlways)->Size(), 3u);
  EXPECT_EQ(Open("file", Access::ReadWrite, Disposition::CreateAlways)->Size(), 0u);
}

TEST_P(FileSystemTest, ReadsAndWritesNameTheirOffset) {
  const auto file = Open("file", Access::ReadWrite, Disposition::CreateAlways);
  file->WriteAt(4, BytesOf("ef"));
  Bytes all(10);
  EXPECT_EQ(file->ReadAt(0, all), 6u);
  EXPECT_EQ(Bytes(all.begin(), all.begin() + 6), (Bytes{0, 0, 0, 0, 'e', 'f'}));
  EXPECT_EQ(file->ReadAt(6, all), 0u);
  file->Resize(5);
  EXPECT_EQ(file->Size(), 5u);
}

TEST_P(FileSystemTest, AFileHeldWithoutSharingCannotBeOpenedAgain) {
  folder_.Write("file", "abc");
  const auto held = Open("file", Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
  EXPECT_EQ(ErrorNumberOf([&] { Open("file", Access::ReadWrite, Disposition::OpenExisting); }), 70);
  EXPECT_EQ(ErrorNumberOf([&] { Open("file", Access::Read, Disposition::OpenExisting, Sharing::Read); }), 70);
  EXPECT_EQ(ErrorNumberOf([&] { Open("file", Access::ReadWrite, Disposition::CreateAlways); }), 70);
  EXPECT_EQ(held->Size(), 3u) << "a refused opening cut the file";
}

TEST_P(FileSystemTest, TwoReadersShareAFileAndKeepWritersOut) {
  folder_.Write("file", "abc");
  const auto one = Open("file", Access::Read, Disposition::OpenExisting, Sharing::Read);
  const auto two = Open("file", Access::Read, Disposition::OpenExisting, Sharing::Read);
  EXPECT_EQ(ErrorNumberOf([&] { Open("file", Access::ReadWrite, Disposition::OpenExisting); }), 70);
}

TEST_P(FileSystemTest, AWriterThatSharesReadingKeepsOtherWritersOut) {
  folder_.Write("file", "abc");
  const auto held = Open("file", Access::Write, Disposition::OpenAlways, Sharing::Read);
  EXPECT_EQ(ErrorNumberOf([&] { Open("file", Access::Write, Disposition::OpenAlways, Sharing::Read); }), 70);
  EXPECT_EQ(ErrorNumberOf([&] { Open("file", Access::Write, Disposition::CreateAlways, Sharing::Read); }), 70);
  const auto reader = Open("file", Access::Read, Disposition::OpenExisting, Sharing::All);
  EXPECT_EQ(reader->Size(), 3u);
}

TEST_P(FileSystemTest, WriteWholeReplacesTheContentAndLeavesNothingBeside) {
  folder_.Write("file", "a longer old content");
  files_->WriteWhole(folder_.File("file"), BytesOf("new"));
  EXPECT_EQ(folder_.Read("file"), "new");
  EXPECT_EQ(files_->List(folder_.Path()).size(), 1u);
}

TEST_P(FileSystemTest, CopyWholeCopiesLargeFilesAndReplacesTheTarget) {
  std::string content(3 * 1024 * 1024 + 17, 'x');
  content[1024 * 1024] = 'y';
  folder_.Write("from", content);
  folder_.Write("to", "old");
  files_->CopyWhole(folder_.File("from"), folder_.File("to"));
  EXPECT_TRUE(folder_.Read("to") == content);
}

TEST_P(FileSystemTest, CopyWholeOfAMissingFileLeavesTheTarget) {
  folder_.Write("to", "old");
  EXPECT_EQ(ErrorNumberOf([&] { files_->CopyWhole(folder_.File("none"), folder_.File("to")); }), 53);
  EXPECT_EQ(folder_.Read("to"), "old");
}

TEST_P(FileSystemTest, CopyWholeOverAHeldFileIsError70AndLeavesIt) {
  folder_.Write("from", "new");
  folder_.Write("to", "old");
  {
    const auto held = Open("to", Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
    EXPECT_EQ(ErrorNumberOf([&] { files_->CopyWhole(folder_.File("from"), folder_.File("to")); }), 70);
    EXPECT_EQ(ErrorNumberOf([&] { files_->CopyWhole(folder_.File("to"), folder_.File("copy")); }), 70);
  }
  EXPECT_EQ(folder_.Read("to"), "old");
  EXPECT_FALSE(folder_.Has("copy"));
}

/// A file around another one, as tests and tools put them there: nothing but what the interface says.
class WrappedFile : public File {
 public:
  explicit WrappedFile(std::unique_ptr<File> inner) : inner_(std::move(inner)) {}
  std::uint64_t Size() const override { return inner_->Size(); }
  std::size_t ReadAt(std::uint64_t offset, ByteSpan out) override { return inner_->ReadAt(offset, out); }
  void WriteAt(std::uint64_t offset, ByteView data) override { inner_->WriteAt(offset, data); }
  void Resize(std::uint64_t size) override { inner_->Resize(size); }
  void Sync() override { inner_->Sync(); }

 private:
  std::unique_ptr<File> inner_;
};

TEST_P(FileSystemTest, ReplaceOpenPutsTheStagedFileInPlaceAndKeepsItHeld) {
  for (const bool wrapped : {false, true}) {
    folder_.Write("file", "old");
    const std::string path = folder_.File("file");
    auto current = Open("file", Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
    auto staged = files_->CreateStaged(path, {});
    staged->WriteAt(0, BytesOf("new content"));
    if (wrapped) {
      current = std::make_unique<WrappedFile>(std::move(current));
      staged = std::make_unique<WrappedFile>(std::move(staged));
    }

    const auto replaced = files_->ReplaceOpen(staged, current, path, Existing::Replace);

    Bytes content(32);
    content.resize(replaced->ReadAt(0, content));
    EXPECT_EQ(TextOf(content), "new content");
    EXPECT_EQ(ErrorNumberOf([&] { Open("file", Access::ReadWrite, Disposition::OpenExisting); }), 70);
    EXPECT_FALSE(files_->FileExists(files_->StagedName(path)));
    EXPECT_EQ(staged, nullptr);
    EXPECT_EQ(current, nullptr);
  }
}

TEST_P(FileSystemTest, AStagedWriteLeavesTheOldFileUntilItIsFinished) {
  folder_.Write("file", "old");
  {
    StagedWrite staged(*files_, folder_.File("file"));
    staged.Contents().WriteAt(0, BytesOf("new"));
    EXPECT_EQ(ErrorNumberOf([&] { Open("file", Access::Write, Disposition::OpenExisting); }), 70)
        << "nobody changes it";
  }
  EXPECT_EQ(folder_.Read("file"), "old");
  EXPECT_FALSE(folder_.Has("file.writing"));
  {
    StagedWrite staged(*files_, folder_.File("file"));
    staged.Contents().WriteAt(0, BytesOf("new"));
    staged.Finish();
  }
  EXPECT_EQ(folder_.Read("file"), "new");
  EXPECT_FALSE(folder_.Has("file.writing"));
}

TEST_P(FileSystemTest, ALeftOverLosesItsNameToAStagedWriteAndNothingElse) {
  folder_.Write("file.writing", "old");
  files_->LinkFile(folder_.File("file.writing"), folder_.File("kept"));
  files_->WriteWhole(folder_.File("file"), BytesOf("new"));
  EXPECT_EQ(folder_.Read("file"), "new");
  EXPECT_EQ(folder_.Read("kept"), "old");
}

TEST_P(FileSystemTest, AStagedWriteTakesALeftOverOverAndCutsIt) {
  folder_.Write("file.writing", "the unfinished write of a killed program");
  StagedWrite staged(*files_, folder_.File("file"));
  staged.Contents().WriteAt(0, BytesOf("new"));
  staged.Finish();
  EXPECT_EQ(folder_.Read("file"), "new");
}

TEST_P(FileSystemTest, ASecondStagedWriteOfTheSameFileIsError70) {
  const StagedWrite first(*files_, folder_.File("file"));
  EXPECT_EQ(ErrorNumberOf([&] { StagedWrite(*files_, folder_.File("file")); }), 70);
}

TEST_P(FileSystemTest, FinishNewLeavesAFileThatCameInBetween) {
  StagedWrite staged(*files_, folder_.File("file"));
  staged.Contents().WriteAt(0, BytesOf("new"));
  folder_.Write("file", "somebody else's");
  EXPECT_EQ(ErrorNumberOf([&] { staged.FinishNew(); }), errors::kFileAlreadyExists);
  EXPECT_EQ(folder_.Read("file"), "somebody else's");
  StagedWrite other(*files_, folder_.File("free"));
  other.FinishNew();
  EXPECT_TRUE(folder_.Has("free"));
}

TEST_P(FileSystemTest, AStagedWriteTakesOverWhatSomebodyElseWrote) {
  folder_.Write("file", "old");
  folder_.Write("file.writing", "arrived");
  StagedWrite::TakeOver(*files_, folder_.File("file"))->Finish();
  EXPECT_EQ(folder_.Read("file"), "arrived");
  EXPECT_EQ(ErrorNumberOf([&] { StagedWrite::TakeOver(*files_, folder_.File("file")); }), errors::kFileNotFound);
}

TEST_P(FileSystemTest, NamesOfOneFileAreTheSameFile) {
  folder_.Write("file", "a");
  folder_.Write("other", "a");
  EXPECT_EQ(files_->IdentityOf(folder_.File("file")), files_->IdentityOf(folder_.Path() + "/file"));
  EXPECT_NE(files_->IdentityOf(folder_.File("file")), files_->IdentityOf(folder_.File("other")));
  EXPECT_NE(files_->IdentityOf(folder_.File("file")), files_->IdentityOf(folder_.File("missing")));
  EXPECT_EQ(files_->IdentityOf(folder_.File("missing")), files_->IdentityOf(folder_.Path() + "/missing"));
}

TEST_P(FileSystemTest, ALockBehindTheEndOfAFileIsSeen) {
  folder_.Write("file.ldb", "");
  EXPECT_FALSE(files_->IsRangeLocked(folder_.File("file.ldb"), 0x10000001, 255));
  EXPECT_FALSE(files_->IsRangeLocked(folder_.File("none.ldb"), 0x10000001, 255));
  const auto held = Open("file.ldb", Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
  EXPECT_TRUE(files_->IsRangeLocked(folder_.File("file.ldb"), 0x10000001, 255));
}

TEST_P(FileSystemTest, CreateFoldersMakesEveryMissingLevelAndAcceptsAnExistingOne) {
  files_->CreateFolders(folder_.File("a\\b\\c"));
  files_->CreateFolders(folder_.File("a\\b\\c"));
  EXPECT_TRUE(files_->FolderExists(folder_.File("a\\b\\c")));
}

TEST_P(FileSystemTest, OfTwoWhoMakeTheSameFolderOneIsTold) {
  EXPECT_TRUE(files_->CreateFolder(folder_.File("new")));
  EXPECT_FALSE(files_->CreateFolder(folder_.File("new")));
  folder_.Write("file", "x");
  EXPECT_FALSE(files_->CreateFolder(folder_.File("file")));
  EXPECT_EQ(ErrorNumberOf([&] { files_->CreateFolder(folder_.File("no\\new")); }), errors::kPathNotFound);
}

TEST_P(FileSystemTest, OnlyAnEmptyFolderIsRemoved) {
  files_->CreateFolders(folder_.File("new"));
  folder_.Write("new/file", "x");
  EXPECT_EQ(ErrorNumberOf([&] { files_->RemoveFolder(folder_.File("new")); }), errors::kPathFileAccess);
  files_->RemoveFile(folder_.File("new\\file"));
  files_->RemoveFolder(folder_.File("new"));
  EXPECT_FALSE(files_->FolderExists(folder_.File("new")));
}

TEST_P(FileSystemTest, ASecondNameKeepsTheFileThatLosesItsFirst) {
  folder_.Write("one", "old");
  files_->LinkFile(folder_.File("one"), folder_.File("two"));
  EXPECT_EQ(files_->IdentityOf(folder_.File("one")), files_->IdentityOf(folder_.File("two")));
  files_->WriteWhole(folder_.File("one"), BytesOf("new"));
  EXPECT_EQ(folder_.Read("one"), "new");
  EXPECT_EQ(folder_.Read("two"), "old");
  EXPECT_NE(files_->IdentityOf(folder_.File("one")), files_->IdentityOf(folder_.File("two")));
}

TEST_P(FileSystemTest, ASecondNameReplacesNothing) {
  folder_.Write("one", "1");
  folder_.Write("two", "2");
  EXPECT_EQ(ErrorNumberOf([&] { files_->LinkFile(folder_.File("one"), folder_.File("two")); }),
            errors::kFileAlreadyExists);
  EXPECT_EQ(ErrorNumberOf([&] { files_->LinkFile(folder_.File("no"), folder_.File("three")); }), errors::kFileNotFound);
  EXPECT_EQ(folder_.Read("two"), "2");
}

TEST_P(FileSystemTest, FactsOfAFileChangeWithIt) {
  folder_.Write("file", "x");
  const FileFacts before = files_->FactsOf(folder_.File("file"));
  EXPECT_EQ(before.bytes, 1u);
  EXPECT_EQ(files_->FactsOf(folder_.File("file")), before);
  files_->Open(folder_.File("file"), Access::Write, Disposition::OpenExisting, Sharing::None)->WriteAt(1, BytesOf("y"));
  EXPECT_EQ(files_->FactsOf(folder_.File("file")).bytes, 2u);
  EXPECT_NE(files_->FactsOf(folder_.File("file")), before);
  EXPECT_EQ(ErrorNumberOf([&] { files_->FactsOf(folder_.File("no")); }), errors::kFileNotFound);
}

TEST_P(FileSystemTest, TraceOfAFileChangesWithWritesAndNames) {
  folder_.Write("file", "x");
  const std::string path = folder_.File("file");
  const FileTrace before = files_->TraceOf(path);
  EXPECT_EQ(files_->TraceOf(path), before);
  EXPECT_EQ(before.names, 1u);

  files_->LinkFile(path, folder_.File("other"));
  const FileTrace linked = files_->TraceOf(path);
  EXPECT_EQ(linked.content, before.content);
  EXPECT_EQ(linked.names, 2u);
  EXPECT_NE(linked, before);

  files_->Open(path, Access::Write, Disposition::OpenExisting, Sharing::None)->WriteAt(1, BytesOf("y"));
  EXPECT_NE(files_->TraceOf(path).content, before.content);
  EXPECT_EQ(files_->TraceOf(path), files_->TraceOf(folder_.File("other")));
  EXPECT_EQ(files_->TraceOf(folder_.File("no")), FileTrace());
}

TEST_P(FileSystemTest, StampedFileHasATraceThatNoLaterWriteLeaves) {
  folder_.Write("file", "x");
  const std::string path = folder_.File("file");
  for (int i = 0; i < 20; ++i) {
    auto file = files_->Open(path, Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
    file->WriteAt(0, BytesOf("y"));
    ASSERT_TRUE(file->StampTime());
    file.reset();
    const FileTrace stamped = files_->TraceOf(path);
    files_->Open(path, Access::ReadWrite, Disposition::OpenExisting, Sharing::None)->WriteAt(0, BytesOf("z"));
    EXPECT_NE(files_->TraceOf(path).content, stamped.content);
  }
}

TEST_P(FileSystemTest, WhoHasAFileAloneKnowsIt) {
  folder_.Write("file", "x");
  const auto file = Open("file", Access::ReadWrite, Disposition::OpenExisting);
  EXPECT_TRUE(file->IsOpenHereOnly());
}

TEST_P(FileSystemTest, FolderOnADiskHasRoom) {
  EXPECT_GT(files_->FreeBytes(folder_.Path()), 0u);
  EXPECT_TRUE(files_->MayMakeFilesIn(folder_.Path()));
  EXPECT_FALSE(files_->MayMakeFilesIn(folder_.File("missing")));
}

TEST(FileSystemOnDisk, FileThatTookTheTimeOfAnotherHasTheSameFacts) {
  const TempFolder folder;
  const auto files = MakeFileSystem();
  folder.Write("old", "x");
  const auto old = files->Open(folder.File("old"), Access::ReadWrite, Disposition::OpenExisting, Sharing::All);
  ASSERT_TRUE(old->StampTime());
  const auto copy = files->Open(folder.File("copy"), Access::ReadWrite, Disposition::CreateAlways, Sharing::All);
  copy->WriteAt(0, BytesOf("y"));
  EXPECT_NE(files->FactsOf(folder.File("copy")), files->FactsOf(folder.File("old")));
  ASSERT_TRUE(copy->TakeTimeOf(*old));
  EXPECT_EQ(files->FactsOf(folder.File("copy")), files->FactsOf(folder.File("old")));
}

TEST(FileSystemOnDisk, LastWriteTimeCountsFrom1601AndFoldersHaveOne) {
  using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
  constexpr std::chrono::seconds kFrom1601To1970(11'644'473'600);
  constexpr std::chrono::seconds kCoarsest(2);  // of the file systems that are still about
  const TempFolder folder;
  const auto files = MakeFileSystem();
  const auto written = [&](const char* name) {
    return Ticks(static_cast<std::int64_t>(files->LastWriteTime(folder.File(name))));
  };
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  const Ticks now = std::chrono::duration_cast<Ticks>(sinceEpoch) + kFrom1601To1970;
  folder.Write("folder/file", "x");
  EXPECT_GE(written("folder\\file"), now - kCoarsest);
  EXPECT_LE(written("folder\\file"), now + 10 * kCoarsest);
  EXPECT_GE(written("folder"), now - kCoarsest);
  EXPECT_EQ(ErrorNumberOf([&] { files->LastWriteTime(folder.File("no")); }), errors::kFileNotFound);
}

TEST_P(FileSystemTest, RenameFileReplacesTheTarget) {
  folder_.Write("from", "new");
  folder_.Write("to", "old");
  files_->RenameFile(folder_.File("from"), folder_.File("to"));
  EXPECT_EQ(folder_.Read("to"), "new");
  EXPECT_FALSE(folder_.Has("from"));
}

TEST_P(FileSystemTest, ReadWholeGivesEveryByte) {
  folder_.Write("file", std::string("a\0\xFF\r\n", 5));
  EXPECT_EQ(ReadWhole(*files_, folder_.File("file")), (Bytes{'a', 0, 0xFF, '\r', '\n'}));
}

}  // namespace
}  // namespace mv::platform
