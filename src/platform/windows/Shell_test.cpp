#include "platform/Shell.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace mv::platform
