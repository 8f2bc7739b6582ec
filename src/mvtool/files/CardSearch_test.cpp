#include "mvtool/files/CardSearch.h"

#include <gtest/gtest.h>

#include "support/MemoryFileSystem.h"

namespace mv::tool {
namespace {

using Folders = std::vector<std::string>;

TEST(CardSearchTest, TablesAreFoundInAnyFolderAndAnyCaseThoseWithMostFirst) {
  testing::MemoryFileSystem files;
  files.Put("E:\\old\\brnd_fuel.PDB", {1});
  files.Put("E:\\My\\Tables\\BRND_FUEL.pdb", {1});
  files.Put("E:\\My\\Tables\\brnd_Trip.pdb", {1});
  files.Put("E:\\My\\other.pdb", {1});
  EXPECT_EQ(FindTableFolders(files, "E:"), (Folders{"\\My\\Tables", "\\old"}));
}

TEST(CardSearchTest, TablesInTheRootItselfAreFound) {
  testing::MemoryFileSystem files;
  files.Put("E:\\brnd_Fuel.pdb", {1});
  EXPECT_EQ(FindTableFolders(files, "E:"), Folders{"\\"});
}

TEST(CardSearchTest, EightFoldersDeepIsDeepEnough) {
  testing::MemoryFileSystem files;
  files.Put("E:\\1\\2\\3\\4\\5\\6\\7\\8\\brnd_Fuel.pdb", {1});
  EXPECT_EQ(FindTableFolders(files, "E:"), Folders{"\\1\\2\\3\\4\\5\\6\\7\\8"});
  files.Put("F:\\1\\2\\3\\4\\5\\6\\7\\8\\9\\brnd_Fuel.pdb", {1});
  EXPECT_TRUE(FindTableFolders(files, "F:").empty());
}

TEST(CardSearchTest, AFolderOfTheHandheldIsFoundInAnyCase) {
  testing::MemoryFileSystem files;
  files.Put("E:\\program FILES\\motorva\\a.pdb", {1});
  EXPECT_NE(FolderInAnyCase(files, "E:", "\\Program Files\\Motorva"), "");
  EXPECT_EQ(FolderInAnyCase(files, "E:", "\\"), "E:");
  EXPECT_EQ(FolderInAnyCase(files, "E:", "\\Program Files\\Other"), "");
  EXPECT_EQ(FolderInAnyCase(files, "E:", "\\Program Files\\Motorva\\a.pdb"), "") << "that is a file";
}

}  // namespace
}  // namespace mv::tool
