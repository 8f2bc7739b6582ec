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

/// A folder with a program "xdg-open" that notes its argument and ends with `status`, first on the search path.
void PutDesktopOpener(const TempFolder& folder, int status) {
  folder.Write("bin/xdg-open",
               "#!/bin/sh\nprintf '%s' \"$1\" > '" + folder.Path() + "/opened'\nexit " + std::to_string(status) + "\n");
  std::filesystem::permissions(folder.Path() + "/bin/xdg-open", std::filesystem::perms::owner_all);
  ::setenv("PATH", (folder.Path() + "/bin:/usr/bin:/bin").c_str(), 1);
}

TEST(ShellTest, ADocumentGoesToTheDesktopsOpener) {
  const TempFolder folder;
  PutDesktopOpener(folder, 0);
  EXPECT_TRUE(SystemShell().OpenDocument(folder.Path() + "\\Sync Log.txt"));
  EXPECT_EQ(folder.Read("opened"), folder.Path() + "/Sync Log.txt");
}

TEST(ShellTest, ADocumentThatTheDesktopRefusesIsAFailure) {
  const TempFolder folder;
  PutDesktopOpener(folder, 3);
  EXPECT_FALSE(SystemShell().OpenDocument("none"));
}

}  // namespace
}  // namespace mv::platform
