#include "mvtool/manual/ManPage.h"

#include <gtest/gtest.h>

namespace mv::tool {
namespace {

TEST(ManPageTest, LinesIndentedByTwoAreAParagraph) {
  EXPECT_EQ(RoffOf("  One line,\n  and another.\n"), "One line,\nand another.\n");
}

TEST(ManPageTest, AnOptionIsTaggedAndTakesTheLinesBelowItsText) {
  EXPECT_EQ(RoffOf("    --keep N  leaves no more\n              than N\n"),
            ".TP\n\\fB\\-\\-keep N\\fR\nleaves no more\nthan N\n");
}

TEST(ManPageTest, AnOptionWhoseTextStandsBelowItIsOneToo) {
  EXPECT_EQ(RoffOf("    backup FOLDER [PATH]\n                  copies all files\n"),
            ".TP\n\\fBbackup FOLDER [PATH]\\fR\ncopies all files\n");
}

TEST(ManPageTest, TextAfterAnOptionIsAParagraphOfItsOwn) {
  EXPECT_EQ(RoffOf("    --csv  as CSV\n  All else.\n"), ".TP\n\\fB\\-\\-csv\\fR\nas CSV\n.PP\nAll else.\n");
}

TEST(ManPageTest, OtherDeepLinesStandAsTheyAre) {
  EXPECT_EQ(RoffOf("  As in:\n    {\"a\":[\n      1]}\n  So.\n"),
            "As in:\n.RS 4\n.nf\n{\"a\":[\n  1]}\n.fi\n.RE\n.PP\nSo.\n");
}

TEST(ManPageTest, WhatTheLanguageOfThePagesWouldTakeForItsOwnIsEscaped) {
  EXPECT_EQ(RoffOf("  .TH is \\e-\n  'x'\n"), "\\&.TH is \\ee\\-\n\\&'x'\n");
}

TEST(ManPageTest, EachGroupIsNamedOnceAndEachCommandStandsBelowItsOwn) {
  const std::vector<Command> commands = Commands();
  const std::string page = ManPageOf({"mvtool", "files", "1.2.3", "2026-11-22"}, commands);
  EXPECT_TRUE(page.starts_with(".TH MVTOOL 1 2026-11-22 \"MVPPCSync 1.2.3\"")) << page.substr(0, 80);
  std::size_t at = 0;
  for (const Command& command : commands) {
    const std::size_t found = page.find("\\fBmvtool " + std::string(command.name) + " ", at);
    const std::size_t foundAlone = page.find("\\fBmvtool " + std::string(command.name) + "\\fR", at);
    at = std::min(found, foundAlone);
    ASSERT_NE(at, std::string::npos) << command.name;
  }
  for (const CommandGroup group :
       {CommandGroup::Start, CommandGroup::Runs, CommandGroup::Handheld, CommandGroup::Files}) {
    const std::string heading = ".SS " + std::string(NameOf(group)) + "\n";
    EXPECT_EQ(page.find(heading), page.rfind(heading));
    EXPECT_NE(page.find(heading), std::string::npos);
  }
}

}  // namespace
}  // namespace mv::tool
