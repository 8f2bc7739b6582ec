#include "history/RunList.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/HistoryWorld.h"

namespace mv::history {
namespace {

using testing::HistoryWorld;

class RunListTest : public ::testing::Test {
 protected:
  RunListTest() {
    world_.PutDatabase({{"a", 1}});
    world_.PutHandheld("brnd_Fuel", {{"a", 1}});
  }
  KeptState State(const std::string& entry) {
    return StateOfKept(world_.files, world_.folder, entry, *world_.folder.Read(entry), HistoryWorld::kDatabase);
  }
  std::string PutRestore(const std::string& of, bool isDone, const std::string& ended) {
    const std::string entry = world_.folder.Create(world_.clock.Now());
    RunRecord record;
    record.ended = ended;
    record.restore = RestoreRecord{of, true, {}, isDone, {}};
    world_.folder.Write(entry, record);
    return entry;
  }

  HistoryWorld world_;
};

TEST_F(RunListTest, KeptDatabaseIsLiveUntilAnotherTakesItsPlace) {
  const std::string entry = world_.KeepAll({});
  EXPECT_EQ(State(entry), KeptState::Live);
  world_.PutDatabase({{"b", 2}});
  EXPECT_EQ(State(entry), KeptState::Whole);
}

TEST_F(RunListTest, KeptDatabaseThatSomebodyHasWrittenIntoIsChanged) {
  const std::string entry = world_.KeepAll({});
  world_.PutDatabase({{"b", 2}});
  world_.files
      .Open(world_.folder.DatabaseOf(entry), platform::Access::ReadWrite, platform::Disposition::OpenExisting,
            platform::Sharing::None)
      ->WriteAt(5000, Bytes{1});
  EXPECT_EQ(State(entry), KeptState::Changed);
}

TEST_F(RunListTest, KeptDatabaseMayBeMissingOrOfAnotherName) {
  const std::string entry = world_.KeepAll({});
  RunRecord record = *world_.folder.Read(entry);
  world_.files.RemoveFile(world_.folder.DatabaseOf(entry));
  EXPECT_EQ(State(entry), KeptState::Missing);
  record.kept->name = "..\\..\\Other.db";
  world_.folder.Write(entry, record);
  EXPECT_EQ(State(entry), KeptState::OtherDatabase);
  record.kept.reset();
  world_.folder.Write(entry, record);
  EXPECT_EQ(State(entry), KeptState::Nothing);
}

TEST_F(RunListTest, RunsComeNewestFirstWithWhatCanBeUndone) {
  const std::string first = world_.KeepAll({"brnd_Fuel"});
  const std::string second = world_.folder.Create(world_.clock.Now());
  const std::vector<RunEntry> runs = ListRuns(world_.files, world_.folder, HistoryWorld::kDatabase);
  ASSERT_EQ(runs.size(), 2u);
  EXPECT_EQ(runs[0].name, second);
  EXPECT_EQ(runs[0].record, std::nullopt);
  EXPECT_FALSE(runs[0].undo.desktop);
  EXPECT_EQ(runs[1].name, first);
  EXPECT_TRUE(runs[1].undo.desktop);
  EXPECT_EQ(runs[1].undo.tables, std::vector<std::string>{"brnd_Fuel"});
}

TEST_F(RunListTest, RunIsFoundByItsName) {
  const std::string first = world_.KeepAll({});
  world_.KeepAll({});
  EXPECT_EQ(FindRun(world_.folder, first), first);
}

TEST_F(RunListTest, LastRunIsTheNewestWithARecord) {
  const std::string run = world_.KeepAll({});
  world_.folder.Create(world_.clock.Now());
  EXPECT_EQ(FindRun(world_.folder, "last"), run);
}

TEST_F(RunListTest, LastRunIsARestoreOnceThatIsDone) {
  const std::string run = world_.KeepAll({});
  const std::string restore = PutRestore(run, true, "2026-11-21T14:05:10");
  EXPECT_EQ(FindRun(world_.folder, "last"), restore);
}

TEST_F(RunListTest, LastRunIsThatOfARestoreThatIsLeftOver) {
  const std::string run = world_.KeepAll({});
  PutRestore(run, false, "");
  EXPECT_EQ(FindRun(world_.folder, "last"), run);
  PutRestore(run, false, "2026-11-21T14:05:10");
  EXPECT_EQ(FindRun(world_.folder, "last"), run);
  PutRestore(run, true, "");
  EXPECT_EQ(FindRun(world_.folder, "last"), run);
}

TEST_F(RunListTest, UnknownRunIsAnErrorThatListsThemAll) {
  EXPECT_EQ(testing::ErrorOf([&] { FindRun(world_.folder, "last"); }).Description(),
            "there is no history in \"C:\\Cars\\sync\\history\"");
  const std::string first = world_.KeepAll({});
  const std::string second = world_.KeepAll({});
  for (const char* word : {"20200101-000000", "..", "", "Last"}) {
    EXPECT_EQ(testing::ErrorOf([&] { FindRun(world_.folder, word); }).Description(),
              "there is no run \"" + std::string(word) + "\" in \"C:\\Cars\\sync\\history\"; there are: " + second +
                  ", " + first);
  }
}

TEST_F(RunListTest, LastOfRunsWithoutRecordsIsAnError) {
  world_.folder.Create(world_.clock.Now());
  EXPECT_EQ(testing::ErrorOf([&] { FindRun(world_.folder, "last"); }).Description(),
            "none of the runs in \"C:\\Cars\\sync\\history\" has a record");
}

}  // namespace
}  // namespace mv::history
