#include "ui/ConfigLayout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/CaptionMarks.h"

namespace mv::layout {
namespace {

using testing::MarksOf;
using Kind = ControlKind;
using Lines = std::vector<std::string>;

Lines Shown(std::span<const ConfigControl> controls) {
  Lines lines;
  for (const ConfigControl& control : controls) lines.push_back(Marked(control.caption));
  return lines;
}

std::vector<ControlId> Ids(std::span<const ConfigControl> controls) {
  std::vector<ControlId> ids;
  for (const ConfigControl& control : controls) ids.push_back(control.id);
  return ids;
}

TEST(ConfigLayoutTest, TwoFramesAndWhatIsBelowThem) {
  ASSERT_EQ(std::size(kConfigSections), 3u);
  EXPECT_STREQ(kConfigSections[0].frame, "Database/File Locations");
  EXPECT_STREQ(kConfigSections[1].frame, "Process Options");
  EXPECT_EQ(kConfigSections[2].frame, nullptr);
}

TEST(ConfigLayoutTest, ARowIsALabelItsPathAndWhereThereIsADialogItsBrowseButton) {
  const auto rows = kConfigSections[0].controls.first(8);
  EXPECT_EQ(Ids(rows), (std::vector<ControlId>{{Kind::Label, 0},
                                               {Kind::Path, 0},
                                               {Kind::Browse, 0},
                                               {Kind::Label, 1},
                                               {Kind::Path, 1},
                                               {Kind::Label, 2},
                                               {Kind::Path, 2},
                                               {Kind::Browse, 1}}));
  EXPECT_EQ(Shown(rows), (Lines{"&Desktop Edition Database Location", "", " Browse to Set Database File Location ",
                                "&Mobile Edition Location on PDA", "", "S&ynchronization Log File", "",
                                " Browse to Set Log File Location "}));
}

TEST(ConfigLayoutTest, TheBrowseButtonsStandInTheRowsOfTheDatabaseAndOfTheLog) {
  EXPECT_EQ(kBrowseButtons, 2u);
  EXPECT_EQ(RowOfBrowse(0), 0u);
  EXPECT_EQ(RowOfBrowse(1), kLogRow);
}

TEST(ConfigLayoutTest, TheLoggingBoxesEndTheLocations) {
  const auto boxes = kConfigSections[0].controls.subspan(8);
  EXPECT_EQ(Ids(boxes), (std::vector<ControlId>{IdOf(CheckBox::WriteLog), IdOf(CheckBox::History)}));
  EXPECT_EQ(Shown(boxes), (Lines{"&Logging On", "Retain &History"}));
}

TEST(ConfigLayoutTest, TheOptionsAreAPictureAndTheModesInTheirOrder) {
  EXPECT_EQ(Ids(kConfigSections[1].controls),
            (std::vector<ControlId>{{Kind::ModePicture}, {Kind::Mode, 0}, {Kind::Mode, 1}, {Kind::Mode, 2}}));
  EXPECT_EQ(Shown(kConfigSections[1].controls),
            (Lines{"", "&Synchronize Databases [Normal Mode] - RECOMMENDED",
                   "Desktop (&PC) Database Completely Overwrites Mobile (PDA) Database",
                   "Mobile (PD&A) Database Completely Overwrites Desktop (PC) Database"}));
}

TEST(ConfigLayoutTest, AutoStartHelpOkAndCancelFollow) {
  EXPECT_EQ(Ids(kConfigSections[2].controls),
            (std::vector<ControlId>{IdOf(CheckBox::AutoStart), {Kind::Help}, {Kind::Ok}, {Kind::Cancel}}));
  EXPECT_EQ(Shown(kConfigSections[2].controls),
            (Lines{"Auto &Run in Silent Mode whenever Active Sync is Launched",
                   "Use this dialog to setup your sync options. Use care when using any mode other than [Normal Mode] "
                   "as a complete database replacement will occur.",
                   "OK", "Cancel"}));
}

TEST(ConfigLayoutTest, WhatFollowsTheLoggingBoxIsTheLogsRowAndTheHistory) {
  EXPECT_EQ(IdOf(LogControl::Label), (ControlId{Kind::Label, 2}));
  EXPECT_EQ(IdOf(LogControl::Path), (ControlId{Kind::Path, 2}));
  EXPECT_EQ(IdOf(LogControl::Browse), (ControlId{Kind::Browse, 1}));
  EXPECT_EQ(IdOf(LogControl::History), IdOf(CheckBox::History));
}

TEST(ConfigLayoutTest, AMarkIsInItsTextAndLeadsToOneControl) {
  std::vector<Caption> marked;
  for (const ConfigSection& section : kConfigSections) {
    for (const ConfigControl& control : section.controls) {
      if (control.caption.mark != 0) marked.push_back(control.caption);
    }
  }
  EXPECT_EQ(marked.size(), 9u);
  EXPECT_EQ(MarksOf(marked).size(), marked.size());
}

TEST(ConfigLayoutTest, NoControlIsThereTwice) {
  std::vector<ControlId> all;
  for (const ConfigSection& section : kConfigSections) {
    for (const ControlId& id : Ids(section.controls)) {
      EXPECT_EQ(std::count(all.begin(), all.end(), id), 0) << "control " << all.size();
      all.push_back(id);
    }
  }
  EXPECT_EQ(all.size(), 18u);
}

TEST(ConfigLayoutTest, TheHandheldsSectionFollowsTheLocationsWithARowABoxAndAWordOnWhenItCounts) {
  ASSERT_EQ(std::size(kConfigSectionsWithHandheld), 4u);
  EXPECT_STREQ(kConfigSectionsWithHandheld[1].frame, "Handheld");
  EXPECT_EQ(
      Ids(kConfigSectionsWithHandheld[1].controls),
      (std::vector<ControlId>{{Kind::Label, 3}, {Kind::Path, 3}, {Kind::Browse, 2}, kNetworkBox, {Kind::Help, 1}}));
  EXPECT_EQ(
      Shown(kConfigSectionsWithHandheld[1].controls),
      (Lines{"&Folder in the Handheld's Place", "", "Browse to Set Handheld Folder",
             "Handheld Connects over the &Network", "A change here takes effect at the next start of this program."}));
}

TEST(ConfigLayoutTest, AMarkLeadsToOneControlBesideTheHandheldsSectionToo) {
  std::vector<Caption> marked;
  for (const ConfigSection& section : kConfigSectionsWithHandheld) {
    for (const ConfigControl& control : section.controls) {
      if (control.caption.mark != 0) marked.push_back(control.caption);
    }
  }
  EXPECT_EQ(marked.size(), 11u);
  EXPECT_EQ(MarksOf(marked).size(), marked.size());
}

}  // namespace
}  // namespace mv::layout
