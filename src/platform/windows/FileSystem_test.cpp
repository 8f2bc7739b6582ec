#include "platform/FileSystem.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/TempFolder.h"

namespace mv::platform {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::TempFolder;

TEST(WindowsFileSystemTest, TemporaryNamesAreTheSystemsOwn) {
  const TempFolder folder;
  const auto files = MakeFileSystem();
  const std::string path = files->CreateTempFile(folder.Path(), "ntsmore");
  const std::string name = path.substr(folder.Path().size() + 1);
  EXPECT_TRUE(name.starts_with("nts")) << name;
  EXPECT_FALSE(name.starts_with("ntsm")) << name;
  EXPECT_TRUE(name.ends_with(".tmp") || name.ends_with(".TMP")) << name;
  EXPECT_EQ(folder.Read(name), "");
  EXPECT_NE(files->CreateTempFile(folder.Path() + "\\", "nts"), path);
  EXPECT_EQ(ErrorNumberOf([&] { files->CreateTempFile(folder.File("none"), "nts"); }), errors::kPathNotFound);
}

TEST(WindowsFileSystemTest, DevicesAreRefused) {
  const auto files = MakeFileSystem();
  EXPECT_EQ(ErrorNumberOf([&] { files->Open("NUL", Access::Write, Disposition::OpenAlways, Sharing::All); }),
            errors::kPathFileAccess);
}

TEST(WindowsFileSystemTest, AHardLinkAndAnotherCaseAreTheSameFile) {
  const TempFolder folder;
  folder.Write("file", "a");
  const auto files = MakeFileSystem();
  std::filesystem::create_hard_link(std::filesystem::path(folder.Path()) / "file",
                                    std::filesystem::path(folder.Path()) / "hard");
  EXPECT_EQ(files->IdentityOf(folder.File("file")), files->IdentityOf(folder.File("hard")));
  EXPECT_EQ(files->IdentityOf(folder.File("file")), files->IdentityOf(folder.File("FILE")));
  EXPECT_EQ(files->IdentityOf(folder.File("missing")), files->IdentityOf(folder.File("MISSING")));
}

TEST(WindowsFileSystemTest, AFileIsReplacedUnderAVerbatimPathToo) {
  const TempFolder folder;
  folder.Write("file", "old");
  const auto files = MakeFileSystem();
  const std::string plain = files->RealPath(folder.File("file"));
  files->WriteWhole("\\\\?\\" + plain, Bytes{'n', 'e', 'w'});
  EXPECT_EQ(folder.Read("file"), "new");
  EXPECT_FALSE(folder.Has("file.writing"));
}

}  // namespace
}  // namespace mv::platform
