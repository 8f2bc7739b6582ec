#include "ui/terminal/Screen.h"

#include <gtest/gtest.h>

#include "support/FakeTerminal.h"

namespace mv::terminal {
namespace {

class ScreenTest : public ::testing::Test {
 protected:
  void Draw() { terminal_.canDraw = true; }
  mv::testing::FakeTerminal terminal_;
  Screen screen_{terminal_};
};

TEST_F(ScreenTest, APipeGetsEachLineOnceAndNoFoot) {
  screen_.Foot({{"| working", Style::Strong}});
  screen_.Line("one", Style::Warning);
  screen_.Foot({{"/ working"}});
  screen_.Line("two");
  screen_.Redraw();
  EXPECT_EQ(terminal_.output, "one\ntwo\n");
}

TEST_F(ScreenTest, APipeGetsAQuestionAndItsAnswerAsOneLine) {
  screen_.Ask({{"Retry? "}});
  screen_.Ask({{"Retry? "}});
  screen_.Answered("Yes");
  screen_.Line("next");
  EXPECT_EQ(terminal_.output, "Retry? Yes\nnext\n");
}

TEST_F(ScreenTest, ALineUnderAQuestionAsksAgain) {
  screen_.Ask({{"Retry? "}});
  screen_.Line("news");
  EXPECT_EQ(terminal_.output, "Retry? \nnews\nRetry? ");
}

TEST_F(ScreenTest, ATerminalShowsLinesAboveTheFoot) {
  Draw();
  screen_.Foot({{"foot"}});
  EXPECT_EQ(terminal_.Written(), "foot");
  screen_.Line("one");
  EXPECT_EQ(terminal_.Written(), "\r\x1b[Kone\nfoot");
  screen_.Foot({{"more"}});
  EXPECT_EQ(terminal_.Written(), "\r\x1b[Kmore");
  screen_.ClearFoot();
  EXPECT_EQ(terminal_.Written(), "\r\x1b[K");
  screen_.Line("two");
  EXPECT_EQ(terminal_.Written(), "two\n");
}

TEST_F(ScreenTest, TheSameFootIsNotDrawnAgain) {
  Draw();
  screen_.Foot({{"foot"}});
  terminal_.output.clear();
  screen_.Foot({{"foot"}});
  EXPECT_EQ(terminal_.Written(), "");
  screen_.Redraw();
  EXPECT_EQ(terminal_.Written(), "\r\x1b[Kfoot");
}

TEST_F(ScreenTest, AFootIsShorterThanTheLine) {
  Draw();
  terminal_.columns = 6;
  screen_.Foot({{"abc"}, {"defg"}});
  EXPECT_EQ(terminal_.Written(), "abcde");
}

TEST_F(ScreenTest, AnUnknownWidthCountsAsTheUsualOne) {
  terminal_.columns = 0;
  EXPECT_EQ(screen_.Columns(), 79u);
}

TEST_F(ScreenTest, TheCursorStandsWhereTheUserTypes) {
  Draw();
  screen_.Foot({{"Path: abc"}}, 2);
  EXPECT_EQ(terminal_.Written(), "Path: abc\x1b[2D");
}

TEST_F(ScreenTest, StylesNeedATerminalAndColoursAUserWhoWantsThem) {
  screen_.Line("plain", Style::Warning);
  EXPECT_EQ(terminal_.Written(), "plain\n");
  Draw();
  screen_.Line("marked", Style::Warning);
  EXPECT_EQ(terminal_.Written(), "\x1b[1;7mmarked\x1b[0m\n");
  terminal_.hasColours = true;
  screen_.Line("red", Style::Warning);
  EXPECT_EQ(terminal_.Written(), "\x1b[1;31mred\x1b[0m\n");
}

TEST_F(ScreenTest, TextsCannotCommandTheTerminal) {
  screen_.Line("a\x1b[2Jb");
  EXPECT_EQ(terminal_.Written(), "a [2Jb\n");
}

TEST_F(ScreenTest, LinesAreInTheTerminalsCharset) {
  terminal_.charset = platform::Terminal::Charset::Ascii;
  screen_.Line("Motorva\u2122");
  EXPECT_EQ(terminal_.Written(), "Motorva(TM)\n");
}

}  // namespace
}  // namespace mv::terminal
