#include "history/RestorePreview.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/HistoryWorld.h"

namespace mv::history {
namespace {

using testing::HistoryWorld;
using testing::OdoRow;

class RestorePreviewTest : public ::testing::Test {
 protected:
  /// What a restore would do after a run that found `desktop` and `handheld` and left `newDesktop` and `newHandheld`.
  std::vector<TablePreview> Preview(const std::vector<OdoRow>& desktop, const std::vector<OdoRow>& newDesktop,
                                    const std::vector<OdoRow>& handheld, const std::vector<OdoRow>& newHandheld) {
    world_.PutDatabase(desktop);
    world_.PutHandheld("brnd_Fuel", handheld);
    run_ = world_.KeepAll({"brnd_Fuel"});
    world_.PutDatabase(newDesktop);
    world_.PutHandheld("brnd_Fuel", newHandheld);
    return PreviewNow();
  }
  std::vector<TablePreview> PreviewNow() {
    const auto tables = world_.Connection();
    const RestoreContext context = world_.Context(*tables);
    return PreviewRestore(context, PlanRestore(context, run_, Sides::Both));
  }
  static std::vector<std::string> LinesOf(const TablePreview& preview) {
    std::vector<std::string> lines;
    for (const Change& change : preview.changes) lines.push_back(LineOf(change));
    return lines;
  }

  HistoryWorld world_;
  std::string run_;
};

TEST_F(RestorePreviewTest, RowsThatComeGoAndChangeAreListed) {
  const auto previews = Preview({{"a", 1}, {"b", 2}}, {{"b", 3}, {"c", 4}}, {{"x", 1}}, {{"y", 2}});
  ASSERT_EQ(previews.size(), 2u);
  EXPECT_EQ(previews[0].table, "brnd_Fuel");
  EXPECT_EQ(previews[0].desktop, (SideCounts{2, 2, 1, 1, 1}));
  EXPECT_EQ(previews[0].handheld, (SideCounts{1, 1, 1, 0, 1}));
  EXPECT_EQ(LinesOf(previews[0]),
            (std::vector<std::string>{"brnd_Fuel a: added on the PC: KY_RECID \"a\", NM_ODO 1",
                                      "brnd_Fuel b: changed on the PC: NM_ODO 3 -> 2",
                                      "brnd_Fuel c: deleted on the PC: KY_RECID \"c\", NM_ODO 4",
                                      "brnd_Fuel x: added on the handheld: KY_RECID \"x\", NM_ODO 1",
                                      "brnd_Fuel y: deleted on the handheld: KY_RECID \"y\", NM_ODO 2"}));
  EXPECT_EQ(previews[1].table, "brnd_Trip");
  EXPECT_TRUE(previews[1].changes.empty());
}

TEST_F(RestorePreviewTest, FlagsAloneAreCounted) {
  const auto previews = Preview({}, {}, {{"a", 1, 64}, {"b", 2, 128}, {"c", 3}}, {{"a", 1}, {"b", 2}, {"c", 3}});
  EXPECT_EQ(previews[0].flags, 2);
  EXPECT_EQ(previews[0].handheld, (SideCounts{3, 3, 0, 0, 0}));
  EXPECT_TRUE(previews[0].changes.empty());
}

TEST_F(RestorePreviewTest, NothingIsChanged) {
  Preview({{"a", 1}}, {{"b", 2}}, {{"a", 1}}, {{"b", 2}});
  const std::size_t writes = world_.files.Writes();
  const platform::FileFacts facts = world_.files.FactsOf(HistoryWorld::kDatabase);
  PreviewNow();
  EXPECT_EQ(world_.files.Writes(), writes);
  EXPECT_EQ(world_.files.FactsOf(HistoryWorld::kDatabase), facts);
  EXPECT_EQ(world_.folder.Entries(), std::vector<std::string>{run_});
  EXPECT_EQ(world_.rapi.Count("CeWriteFile"), 0u);
}

TEST_F(RestorePreviewTest, WhatIsMissingTodayCounts) {
  Preview({{"a", 1}}, {}, {{"a", 1}}, {});
  world_.files.RemoveFile(HistoryWorld::kDatabase);
  world_.rapi.Put(HistoryWorld::DevicePath("brnd_Fuel"), {});
  const auto previews = PreviewNow();
  EXPECT_EQ(previews[0].desktop.added, 1);
  EXPECT_EQ(previews[0].handheld.added, 1);
}

TEST_F(RestorePreviewTest, WhatCannotBeReadTodayIsNoted) {
  Preview({{"a", 1}}, {}, {{"a", 1}}, {});
  world_.files.WriteWhole(HistoryWorld::kDatabase, Bytes{1, 2, 3});
  world_.rapi.Put(HistoryWorld::DevicePath("brnd_Fuel"), Bytes{1, 2, 3});
  const auto previews = PreviewNow();
  ASSERT_EQ(previews.size(), 3u);
  EXPECT_EQ(previews[0].table, "");
  ASSERT_EQ(previews[0].notes.size(), 1u);
  EXPECT_TRUE(previews[0].notes[0].starts_with("the database cannot be read today: ")) << previews[0].notes[0];
  ASSERT_EQ(previews[1].notes.size(), 1u);
  EXPECT_TRUE(previews[1].notes[0].starts_with("the handheld's file cannot be read today: ")) << previews[1].notes[0];
  EXPECT_EQ(previews[1].desktop.added, 1);
}

TEST_F(RestorePreviewTest, HandheldThatDoesNotAnswerIsAnError) {
  Preview({{"a", 1}}, {}, {{"a", 1}}, {});
  world_.rapi.initResult = -1;
  EXPECT_EQ(testing::ErrorOf([&] { PreviewNow(); }).Description(), "the handheld does not answer");
}

}  // namespace
}  // namespace mv::history
