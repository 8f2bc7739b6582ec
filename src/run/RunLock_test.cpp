#include "run/RunLock.h"

#include <gtest/gtest.h>

#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv {
namespace {

TEST(RunLockTest, OneAtATimeHasIt) {
  const testing::TempFolder folder;
  const auto files = platform::MakeFileSystem();
  const std::string database = folder.File("Motorva.db");
  std::optional<RunLock> first = RunLock::Take(*files, database);
  ASSERT_TRUE(first);
  EXPECT_FALSE(RunLock::Take(*files, database));
  EXPECT_TRUE(RunLock::Take(*files, folder.File("other\\Motorva.db"))) << "a folder that is not there";
  EXPECT_TRUE(RunLock::IsHeld(*files, database));
  first.reset();
  EXPECT_FALSE(RunLock::IsHeld(*files, database));
  EXPECT_TRUE(RunLock::Take(*files, database));
}

TEST(RunLockTest, AskingWhetherItIsHeldMakesNoFile) {
  const testing::TempFolder folder;
  const auto files = platform::MakeFileSystem();
  EXPECT_FALSE(RunLock::IsHeld(*files, folder.File("Motorva.db")));
  EXPECT_TRUE(files->List(folder.Path()).empty());
}

TEST(RunLockTest, PlaceThatTakesNoFileIsNoReasonNotToRun) {
  testing::MemoryFileSystem files;
  files.CreateFolders("C:\\Cars\\sync\\run.lock");
  EXPECT_TRUE(RunLock::Take(files, "C:\\Cars\\Motorva.db"));
}

}  // namespace
}  // namespace mv
