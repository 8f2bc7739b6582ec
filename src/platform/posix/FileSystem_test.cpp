#include "platform/FileSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <vector>

#include "base/Error.h"
#include "platform/StagedWrite.h"
#include "support/ExpectError.h"
#include "support/TempFolder.h"

// What only POSIX systems have: modes and links.

namespace mv::platform {
namespace {

namespace fs = std::filesystem;
using mv::testing::ErrorNumberOf;
using mv::testing::TempFolder;

constexpr fs::perms kOwnerOnly = fs::perms::owner_read | fs::perms::owner_write;

class PosixFiles : public ::testing::Test {
 protected:
  PosixFiles() { folder_.Write("file", "old"); }

  fs::path Native(const std::string& name) const { return fs::path(folder_.Path()) / name; }
  fs::perms ModeOf(const std::string& name) const { return fs::status(Native(name)).permissions(); }

  TempFolder folder_;
  std::unique_ptr<FileSystem> files_ = MakeFileSystem();
};

TEST_F(PosixFiles, FileThatIsToReplaceAPrivateOneIsPrivateFromTheStart) {
  fs::permissions(Native("file"), kOwnerOnly);
  const StagedWrite staged(*files_, folder_.File("file"));
  EXPECT_EQ(ModeOf("file.writing"), kOwnerOnly);
}

TEST_F(PosixFiles, NewCopyOfAPrivateFileIsPrivateFromTheStart) {
  fs::permissions(Native("file"), kOwnerOnly);
  files_->CopyWhole(folder_.File("file"), folder_.File("copy"));
  EXPECT_EQ(ModeOf("copy"), kOwnerOnly);
  const StagedWrite staged(*files_, folder_.File("other"), folder_.File("file"));
  EXPECT_EQ(ModeOf("other.writing"), kOwnerOnly);
}

TEST_F(PosixFiles, WriteWholeKeepsTheModeAndGoesThroughALink) {
  fs::permissions(Native("file"), kOwnerOnly);
  fs::create_symlink("file", Native("link"));
  files_->WriteWhole(folder_.File("link"), Bytes{'n', 'e', 'w'});
  EXPECT_TRUE(fs::is_symlink(Native("link")));
  EXPECT_EQ(folder_.Read("file"), "new");
  EXPECT_EQ(ModeOf("file"), kOwnerOnly);
}

TEST_F(PosixFiles, FileThatReplacesAReadOnlyOneCanBeWrittenByItsNameUntilItIsInPlace) {
  folder_.Write("file.writing", "new");
  fs::permissions(Native("file"), fs::perms::owner_read | fs::perms::group_read);
  files_->CreateStaged(folder_.File("file"), {});
  EXPECT_EQ(ModeOf("file.writing"), kOwnerOnly | fs::perms::group_read);
  StagedWrite::TakeOver(*files_, folder_.File("file"))->Finish();
  EXPECT_EQ(ModeOf("file"), fs::perms::owner_read | fs::perms::group_read);
}

TEST_F(PosixFiles, LinksOfBothKindsAreTheSameFile) {
  fs::create_symlink("file", Native("symbolic"));
  fs::create_hard_link(Native("file"), Native("hard"));
  fs::create_directory_symlink(".", Native("way"));
  for (const char* name : {"symbolic", "hard", "way/file", "way/way/hard"}) {
    EXPECT_EQ(files_->IdentityOf(folder_.File("file")), files_->IdentityOf(folder_.File(name))) << name;
  }
}

TEST_F(PosixFiles, RealPathOfAFileThatIsStillToBeMadeIsInItsRealFolder) {
  fs::create_directories(Native("real/inner"));
  fs::create_directory_symlink("real", Native("folder"));
  fs::create_symlink("nowhere", Native("dangling"));
  const std::string root = fs::canonical(Native("")).string();
  const auto real = [&](const std::string& path) { return files_->RealPath(folder_.Path() + "/" + path); };
  EXPECT_EQ(real("folder/new"), root + "/real/new");
  EXPECT_EQ(real("folder//inner/../new"), root + "/real/new");
  EXPECT_EQ(real("folder/none/new"), root + "/real/none/new");
  EXPECT_EQ(real("folder/inner/.."), root + "/real");
  EXPECT_EQ(real("dangling"), root + "/dangling");
  EXPECT_EQ(real("file/new"), root + "/file/new");
  EXPECT_EQ(files_->RealPath("/no such file"), "/no such file");
}

TEST_F(PosixFiles, ReaderWithoutLocksIsNoticed) {
  folder_.Write("file", "x");
  const auto file = files_->Open(folder_.File("file"), Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
  std::ifstream reader(Native("file"));
  ASSERT_TRUE(reader.is_open());
  EXPECT_FALSE(file->IsOpenHereOnly());
  reader.close();
  EXPECT_TRUE(file->IsOpenHereOnly());
}

TEST_F(PosixFiles, PipesAndDevicesAreRefusedAndNotWaitedFor) {
  ASSERT_EQ(::mkfifo(Native("pipe").c_str(), 0600), 0);
  fs::create_symlink("pipe", Native("link"));
  fs::create_symlink("/dev/null", Native("device"));
  for (const char* name : {"pipe", "link", "device"}) {
    for (const Access access : {Access::Read, Access::Write, Access::ReadWrite}) {
      for (const Disposition disposition :
           {Disposition::OpenExisting, Disposition::OpenAlways, Disposition::CreateAlways}) {
        EXPECT_EQ(ErrorNumberOf([&] { files_->Open(folder_.File(name), access, disposition, Sharing::All); }),
                  errors::kPathFileAccess)
            << name;
      }
    }
    EXPECT_EQ(ErrorNumberOf([&] { files_->WriteWhole(folder_.File(name), Bytes{1}); }), errors::kPathFileAccess);
  }
}

TEST_F(PosixFiles, PipeInThePlaceOfAFileIsNotReplaced) {
  ASSERT_EQ(::mkfifo(Native("pipe").c_str(), 0600), 0);
  folder_.Write("pipe.writing", "arrived");
  EXPECT_EQ(ErrorNumberOf([&] { StagedWrite::TakeOver(*files_, folder_.File("pipe"))->Finish(); }),
            errors::kPathFileAccess);
  EXPECT_TRUE(fs::is_fifo(Native("pipe")));
}

/// One of several programs that count in a file: it takes hold of the file, and puts a new one with the next number in
/// its place, without a sync, so that names change hands as fast as the system can. Returns how often it got hold of
/// the file.
int CountUp(const fs::path& path, int attempts) {
  const std::unique_ptr<FileSystem> files = MakeFileSystem();
  const std::string staged = files->StagedName(path.string());
  int done = 0;
  for (int i = 0; i < attempts; ++i) {
    try {
      const auto current = files->Open(path.string(), Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
      Bytes content(static_cast<std::size_t>(current->Size()));
      current->ReadAt(0, content);
      const std::string next = std::to_string(std::stoi(std::string(content.begin(), content.end())) + 1);
      const auto written = files->Open(staged, Access::ReadWrite, Disposition::CreateAlways, Sharing::None);
      written->WriteAt(0, Bytes(next.begin(), next.end()));
      fs::rename(staged, path);
      ++done;
    } catch (const Error&) {
      // Somebody else holds the file; that attempt does not count.
    }
  }
  return done;
}

TEST_F(PosixFiles, FileThatOthersReplaceIsHeldOnlyUnderItsName) {
  folder_.Write("count", "0");
  constexpr int kPrograms = 4;
  constexpr int kAttempts = 10000;
  std::vector<std::future<int>> programs;
  for (int i = 0; i < kPrograms; ++i) {
    programs.push_back(std::async(std::launch::async, CountUp, Native("count"), kAttempts));
  }
  int done = 0;
  for (std::future<int>& program : programs) done += program.get();
  EXPECT_GT(done, 0);
  EXPECT_EQ(folder_.Read("count"), std::to_string(done)) << "what was written to a file without a name is lost";
}

}  // namespace
}  // namespace mv::platform
