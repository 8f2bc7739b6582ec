#include "platform/FileSystem.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/ExpectError.h"
#include "support/TempFolder.h"

// What only POSIX systems have: modes and links.

namespace mv::platform {
namespace {

namespace fs = std::filesystem;
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

TEST_F(PosixFiles, FileThatIsToReplaceAPrivateOne_IsPrivateFromTheStart) {
  fs::permissions(Native("file"), kOwnerOnly);
  const std::string staged = files_->StagedName(folder_.File("file"));
  const auto file = files_->Open(staged, Access::ReadWrite, Disposition::CreateAlways, Sharing::None);
  EXPECT_EQ(ModeOf("file.writing"), kOwnerOnly);
}

TEST_F(PosixFiles, WriteWhole_KeepsTheModeAndGoesThroughALink) {
  fs::permissions(Native("file"), kOwnerOnly);
  fs::create_symlink("file", Native("link"));
  files_->WriteWhole(folder_.File("link"), Bytes{'n', 'e', 'w'});
  EXPECT_TRUE(fs::is_symlink(Native("link")));
  EXPECT_EQ(folder_.Read("file"), "new");
  EXPECT_EQ(ModeOf("file"), kOwnerOnly);
}

}  // namespace
}  // namespace mv::platform
