#include "platform/Shell.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "platform/windows/Wide.h"
#include "support/TempFolder.h"

namespace mv::platform {
namespace {

using mv::testing::TempFolder;

TEST(ShellTest, ARecycledFileIsGoneFromItsFolder) {
  const TempFolder folder;
  folder.Write("old table.pdb", "content");
  EXPECT_TRUE(SystemShell().Recycle(folder.File("old table.pdb")));
  EXPECT_FALSE(folder.Has("old table.pdb"));
}

TEST(ShellTest, AMissingFileCannotBeRecycled) {
  const TempFolder folder;
  EXPECT_FALSE(SystemShell().Recycle(folder.File("none")));
}

TEST(ShellTest, AFolderStaysWithAllThatItHolds) {
  const TempFolder folder;
  folder.Write("sub/old table.pdb", "content");
  for (const char* name : {"sub", "sub\\", "sub\\*", "sub\\old?table.pdb"}) {
    EXPECT_FALSE(SystemShell().Recycle(folder.File(name))) << name;
    EXPECT_EQ(folder.Read("sub/old table.pdb"), "content") << name;
  }
}

TEST(ShellTest, ANameWithoutAFolderIsOneOfTheCurrentFolder) {
  const TempFolder folder;
  folder.Write("old table.pdb", "content");
  wchar_t before[MAX_PATH] = {};
  ::GetCurrentDirectoryW(MAX_PATH, before);
  ASSERT_TRUE(::SetCurrentDirectoryW(NativePath(folder.Path()).c_str()));
  EXPECT_TRUE(SystemShell().Recycle("old table.pdb"));
  ::SetCurrentDirectoryW(before);
  EXPECT_FALSE(folder.Has("old table.pdb"));
}

}  // namespace
}  // namespace mv::platform
