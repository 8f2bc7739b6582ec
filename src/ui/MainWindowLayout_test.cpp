#include "ui/MainWindowLayout.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/CaptionMarks.h"

namespace mv::layout {
namespace {

using testing::MarksOf;
using Lines = std::vector<std::string>;

/// A menu's entries with their marks, "-" for a separator, in brackets what is disabled at first.
Lines Shown(std::span<const MenuItem> items) {
  Lines lines;
  for (const MenuItem& item : items) {
    const std::string text = item.command ? Marked(item.caption) : "-";
    lines.push_back(item.enabled ? text : "[" + text + "]");
  }
  return lines;
}

TEST(MainWindowLayoutTest, TheMenuBarHoldsTwoMenusAndACommand) {
  Lines bar;
  for (const MenuBarEntry& entry : kMenuBar) bar.push_back(Marked(entry.caption));
  EXPECT_EQ(bar, (Lines{"&Sync", "&View", "&About..."}));
  EXPECT_EQ(kMenuBar[0].menu, Menu::Sync);
  EXPECT_EQ(kMenuBar[1].menu, Menu::View);
  EXPECT_EQ(kMenuBar[2].command, Command::About);
  EXPECT_FALSE(kMenuBar[2].menu);
}

TEST(MainWindowLayoutTest, StartIsDisabledAtFirstAndViewEndsWithASeparator) {
  EXPECT_EQ(Shown(kMenuBar[0].items), (Lines{"[&Start]", "-", "E&xit Program"}));
  EXPECT_EQ(Shown(kMenuBar[1].items), (Lines{"&Settings...", "Sync &Log...", "-"}));
  EXPECT_TRUE(kMenuBar[2].items.empty());
}

TEST(MainWindowLayoutTest, EachEntryCallsForWhatItSays) {
  EXPECT_EQ(kMenuBar[0].items[0].command, Command::Start);
  EXPECT_EQ(kMenuBar[0].items[2].command, Command::Exit);
  EXPECT_EQ(kMenuBar[1].items[0].command, Command::Settings);
  EXPECT_EQ(kMenuBar[1].items[1].command, Command::Log);
}

TEST(MainWindowLayoutTest, AMarkIsInItsTextAndLeadsToOneEntryOfItsMenu) {
  std::vector<Caption> bar;
  for (const MenuBarEntry& entry : kMenuBar) {
    bar.push_back(entry.caption);
    std::vector<Caption> menu;
    for (const MenuItem& item : entry.items) {
      if (item.command) menu.push_back(item.caption);
    }
    EXPECT_EQ(MarksOf(menu).size(), menu.size()) << entry.caption.text;
  }
  EXPECT_EQ(MarksOf(bar).size(), bar.size());
}

TEST(MainWindowLayoutTest, AMenuIsFoundByItsPlace) {
  EXPECT_EQ(PositionOf(Menu::Sync), 0u);
  EXPECT_EQ(PositionOf(Menu::View), 1u);
}

TEST(MainWindowLayoutTest, TheToolbarHasThreeButtonsAndASeparatorBehindTheFirst) {
  Lines shown;
  for (const ToolButton& button : kToolBar) {
    shown.push_back(std::to_string(button.index) + "|" + button.text + "|" + button.tip);
  }
  EXPECT_EQ(shown, (Lines{"1|Sync| Begin Sync Process ", "2||", "3| Settings | Sync Settings... ",
                          "4|Sync Log|View Sync Log"}));
}

TEST(MainWindowLayoutTest, AButtonIsKnownByItsIndex) {
  EXPECT_EQ(CommandOfButton(1), Command::Start);
  EXPECT_EQ(CommandOfButton(3), Command::Settings);
  EXPECT_EQ(CommandOfButton(4), Command::Log);
}

TEST(MainWindowLayoutTest, TheSeparatorAndIndexesWithoutAButtonAskForNothing) {
  for (const int index : {-1, 0, 2, 5}) EXPECT_EQ(CommandOfButton(index), std::nullopt) << index;
}

TEST(MainWindowLayoutTest, TheStatusBarShowsTheStatusAndThenTheMode) {
  EXPECT_EQ(PositionOf(Panel::Status), 0u);
  EXPECT_EQ(PositionOf(Panel::Mode), 1u);
  EXPECT_STREQ(kStatusBar[0].tip, " Current Status Information ");
  EXPECT_STREQ(kStatusBar[1].tip, " Current Mode ");
}

TEST(MainWindowLayoutTest, TwoModesOverwriteOneSide) {
  EXPECT_FALSE(OverwritesOneSide(-1));
  EXPECT_FALSE(OverwritesOneSide(0));
  EXPECT_TRUE(OverwritesOneSide(1));
  EXPECT_TRUE(OverwritesOneSide(2));
  EXPECT_FALSE(OverwritesOneSide(3));
}

}  // namespace
}  // namespace mv::layout
