#include "platform/Shell.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "support/TempFolder.h"

namespace mv::platform {
namespace {

using mv::testing::TempFolder;

TEST(ShellTest, ARecycledFileLiesInTheTrashWithItsInfoFile) {
  const TempFolder folder;
  folder.Write("files/old table.pdb", "content");
  ::setenv("XDG_DATA_HOME", folder.Path().c_str(), 1);

  ASSERT_TRUE(SystemShell().Recycle(folder.File("files\\old table.pdb")));

  EXPECT_FALSE(folder.Has("files/old table.pdb"));
  EXPECT_EQ(folder.Read("Trash/files/old table.pdb"), "content");
  EXPECT_NE(folder.Read("Trash/info/old table.pdb.trashinfo").find("old%20table.pdb"), std::string::npos);
}

TEST(ShellTest, TwoFilesOfOneNameBothStayInTheTrash) {
  const TempFolder folder;
  ::setenv("XDG_DATA_HOME", folder.Path().c_str(), 1);
  for (const char* content : {"one", "two"}) {
    folder.Write("table.pdb", content);
    ASSERT_TRUE(SystemShell().Recycle(folder.File("table.pdb")));
  }
  const auto entries = std::filesystem::directory_iterator(folder.Path() + "/Trash/files");
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 2);
}

TEST(ShellTest, AMissingFileCannotBeRecycled) {
  const TempFolder folder;
  ::setenv("XDG_DATA_HOME", folder.Path().c_str(), 1);
  EXPECT_FALSE(SystemShell().Recycle(folder.File("none")));
}

}  // namespace
}  // namespace mv::platform
