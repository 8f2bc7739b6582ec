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

/// A folder with a program `name` that notes its last argument and ends with `status`, first on the search path.
void PutProgram(const TempFolder& folder, const std::string& name, int status) {
  const std::string program = "bin/" + name;
  folder.Write(program, "#!/bin/sh\nfor last; do :; done\nprintf '%s' \"$last\" > '" + folder.Path() +
                            "/opened'\nexit " + std::to_string(status) + "\n");
  std::filesystem::permissions(folder.Path() + "/" + program, std::filesystem::perms::owner_all);
  ::setenv("PATH", (folder.Path() + "/bin:/usr/bin:/bin").c_str(), 1);
}

TEST(ShellTest, AFolderIsNotRecycledByTheDesktopEither) {
  const TempFolder folder;
  ::setenv("XDG_DATA_HOME", folder.Path().c_str(), 1);
  PutProgram(folder, "gio", 0);
  folder.Write("sub/table.pdb", "content");
  for (const char* name : {"sub", "sub\\"}) EXPECT_FALSE(SystemShell().Recycle(folder.File(name))) << name;
  EXPECT_FALSE(folder.Has("opened"));
  EXPECT_EQ(folder.Read("sub/table.pdb"), "content");
}

TEST(ShellTest, ADocumentGoesToTheDesktopsOpener) {
  const TempFolder folder;
  PutProgram(folder, "xdg-open", 0);
  EXPECT_TRUE(SystemShell().OpenDocument(folder.Path() + "\\Sync Log.txt"));
  EXPECT_EQ(folder.Read("opened"), folder.Path() + "/Sync Log.txt");
}

TEST(ShellTest, ADocumentThatTheDesktopRefusesIsAFailure) {
  const TempFolder folder;
  PutProgram(folder, "xdg-open", 3);
  EXPECT_FALSE(SystemShell().OpenDocument("none"));
}

}  // namespace
}  // namespace mv::platform
