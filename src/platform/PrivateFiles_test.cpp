#include "platform/PrivateFiles.h"

#include <gtest/gtest.h>

#include "base/Error.h"
#include "platform/FileSystem.h"
#include "support/ExpectError.h"
#include "support/TempFolder.h"

namespace mv::platform {
namespace {

TEST(PrivateFilesTest, PrivateFileHoldsItsContentAndIsReadByNobodyElse) {
  const mv::testing::TempFolder folder;
  const auto files = MakeFileSystem();
  WritePrivateFile(folder.File("secret"), Bytes{1, 2, 3});
  WritePrivateFile(folder.File("secret"), Bytes{4});
  EXPECT_EQ(ReadWhole(*files, folder.File("secret")), Bytes{4});
  EXPECT_FALSE(OthersMayRead(folder.File("secret")));
  EXPECT_EQ(mv::testing::ErrorNumberOf([&] { OthersMayRead(folder.File("none")); }), errors::kFileNotFound);
}

TEST(PrivateFilesTest, RuntimeFolderIsThereAndStaysTheSame) {
  const std::string folder = PrivateRuntimeFolder();
  EXPECT_TRUE(MakeFileSystem()->FolderExists(folder));
  EXPECT_EQ(PrivateRuntimeFolder(), folder);
}

TEST(PrivateFilesTest, RandomBytesDiffer) {
  EXPECT_EQ(RandomBytes(32).size(), 32U);
  EXPECT_NE(RandomBytes(32), RandomBytes(32));
  EXPECT_TRUE(RandomBytes(0).empty());
}

}  // namespace
}  // namespace mv::platform
