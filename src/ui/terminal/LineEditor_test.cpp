#include "ui/terminal/LineEditor.h"

#include <gtest/gtest.h>

namespace mv::terminal {
namespace {

using Kind = Key::Kind;

void Press(LineEditor& editor, std::initializer_list<Kind> kinds) {
  for (const Kind kind : kinds) editor.Press({kind, 0});
}
void Type(LineEditor& editor, std::u32string_view text) {
  for (const char32_t character : text) editor.Press({Kind::Character, character});
}

TEST(LineEditorTest, TypingGoesOnAtTheEnd) {
  LineEditor editor("/car");
  Type(editor, U"s\u00E9");
  EXPECT_EQ(editor.Text(), "/cars\u00E9");
}

TEST(LineEditorTest, BackspaceTakesACharacterNotAByte) {
  LineEditor editor("a\u00E9");
  Press(editor, {Kind::Backspace});
  EXPECT_EQ(editor.Text(), "a");
  Press(editor, {Kind::Backspace, Kind::Backspace});
  EXPECT_EQ(editor.Text(), "");
}

TEST(LineEditorTest, TheCursorGoesThroughTheLine) {
  LineEditor editor("bd");
  Press(editor, {Kind::Left});
  Type(editor, U"c");
  Press(editor, {Kind::Home, Kind::Left});
  Type(editor, U"a");
  Press(editor, {Kind::End, Kind::Right});
  Type(editor, U"e");
  EXPECT_EQ(editor.Text(), "abcde");
  Press(editor, {Kind::Home, Kind::Right, Kind::Delete, Kind::End, Kind::Delete});
  EXPECT_EQ(editor.Text(), "acde");
}

TEST(LineEditorTest, ClearEmptiesIt) {
  LineEditor editor("abc");
  Press(editor, {Kind::Clear});
  EXPECT_EQ(editor.Text(), "");
}

TEST(LineEditorTest, ALongLineShowsThePartWithTheCursor) {
  LineEditor editor("0123456789");
  EXPECT_EQ(editor.In(4).text, "6789");
  EXPECT_EQ(editor.In(4).behind, 0u);
  Press(editor, {Kind::Home});
  EXPECT_EQ(editor.In(4).text, "0123");
  EXPECT_EQ(editor.In(4).behind, 4u);
  EXPECT_EQ(editor.In(20).text, "0123456789");
}

}  // namespace
}  // namespace mv::terminal
