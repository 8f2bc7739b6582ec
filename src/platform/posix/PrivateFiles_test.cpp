#include "platform/PrivateFiles.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>

#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/TempFolder.h"

namespace mv::platform {
namespace {

std::filesystem::path In(const mv::testing::TempFolder& folder, const char* name) {
  return std::filesystem::path(folder.Path()) / name;
}

TEST(PrivateFilesOnPosix, RightsOfOthersAreSeen) {
  const mv::testing::TempFolder folder;
  folder.Write("file", "x");
  for (const mode_t mode : {0640, 0604, 0620, 0602}) {
    ASSERT_EQ(::chmod(In(folder, "file").c_str(), mode), 0);
    EXPECT_TRUE(OthersMayRead(folder.File("file"))) << mode;
  }
  ASSERT_EQ(::chmod(In(folder, "file").c_str(), 0600), 0);
  EXPECT_FALSE(OthersMayRead(folder.File("file")));
}

/// Another place for the runtime folder while a test lasts.
class RuntimeFolder : public ::testing::Test {
 protected:
  RuntimeFolder() { ::setenv("XDG_RUNTIME_DIR", folder_.Path().c_str(), 1); }
  ~RuntimeFolder() override { ::unsetenv("XDG_RUNTIME_DIR"); }

  mv::testing::TempFolder folder_;
};

TEST_F(RuntimeFolder, IsMadeForTheUserAlone) {
  const std::string folder = PrivateRuntimeFolder();
  EXPECT_EQ(folder, folder_.Path() + "/mvppcsync");
  struct stat status = {};
  ASSERT_EQ(::stat(folder.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(RuntimeFolder, IsRefusedWhenItIsALinkOrOpenToOthers) {
  std::filesystem::create_directory(In(folder_, "elsewhere"));
  std::filesystem::create_directory_symlink("elsewhere", In(folder_, "mvppcsync"));
  EXPECT_EQ(mv::testing::ErrorNumberOf([] { PrivateRuntimeFolder(); }), errors::kPathFileAccess);
  std::filesystem::remove(In(folder_, "mvppcsync"));
  std::filesystem::create_directory(In(folder_, "mvppcsync"));
  ASSERT_EQ(::chmod(In(folder_, "mvppcsync").c_str(), 0755), 0);
  EXPECT_EQ(mv::testing::ErrorNumberOf([] { PrivateRuntimeFolder(); }), errors::kPathFileAccess);
}

}  // namespace
}  // namespace mv::platform
