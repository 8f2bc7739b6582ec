#include "ui/terminal/Keyboard.h"

#include <gtest/gtest.h>

namespace mv::terminal {
namespace {

using Charset = platform::Terminal::Charset;
using Kind = Key::Kind;

std::vector<Key> KeysOf(Keyboard& keyboard) {
  std::vector<Key> keys;
  while (const auto key = keyboard.Take()) keys.push_back(*key);
  return keys;
}

std::vector<Key> KeysOf(const std::string& bytes, Charset charset = Charset::Utf8) {
  Keyboard keyboard(charset);
  keyboard.Feed(bytes);
  keyboard.EndPending();
  return KeysOf(keyboard);
}

Key Letter(char32_t character) {
  return {Kind::Character, character};
}
Key Press(Kind kind) {
  return {kind, 0};
}
using Keys = std::vector<Key>;

TEST(KeyboardTest, LettersAreCharacters) {
  EXPECT_EQ(KeysOf("aZ 1"), (Keys{Letter('a'), Letter('Z'), Letter(' '), Letter('1')}));
}

TEST(KeyboardTest, ControlKeysThatMeanSomething) {
  EXPECT_EQ(KeysOf("\r\n\b\x7f\x15\x04\x01\x05"),
            (Keys{Press(Kind::Enter), Press(Kind::Enter), Press(Kind::Backspace), Press(Kind::Backspace),
                  Press(Kind::Clear), Press(Kind::Eof), Press(Kind::Home), Press(Kind::End)}));
}

TEST(KeyboardTest, ControlKeysThatMeanNothingAreDropped) {
  EXPECT_EQ(KeysOf("\x02\tx"), Keys{Letter('x')});
}

TEST(KeyboardTest, SequencesOfTwoKindsOfTerminals) {
  EXPECT_EQ(KeysOf("\x1b[D\x1bOC\x1b[H\x1b[4~\x1b[3~"),
            (Keys{Press(Kind::Left), Press(Kind::Right), Press(Kind::Home), Press(Kind::End), Press(Kind::Delete)}));
}

TEST(KeyboardTest, SequencesOfOtherKeysAreDroppedWhole) {
  EXPECT_EQ(KeysOf("\x1b[15~\x1b[1;5Ax"), Keys{Letter('x')});
}

TEST(KeyboardTest, EscapeIsAKeyOnceNothingFollows) {
  Keyboard keyboard(Charset::Utf8);
  keyboard.Feed("\x1b");
  EXPECT_TRUE(keyboard.Pending());
  EXPECT_EQ(keyboard.Take(), std::nullopt);
  keyboard.EndPending();
  EXPECT_EQ(KeysOf(keyboard), Keys{Press(Kind::Escape)});
  EXPECT_FALSE(keyboard.Pending());
}

TEST(KeyboardTest, ASequenceMayComeInPieces) {
  Keyboard keyboard(Charset::Utf8);
  keyboard.Feed("\x1b");
  keyboard.Feed("[");
  keyboard.Feed("D");
  EXPECT_EQ(KeysOf(keyboard), Keys{Press(Kind::Left)});
}

TEST(KeyboardTest, ACharacterMayComeInPieces) {
  Keyboard keyboard(Charset::Utf8);
  keyboard.Feed("\xE2\x84");
  EXPECT_EQ(keyboard.Take(), std::nullopt);
  keyboard.Feed("\xA2\xF0\x9F\x9A\x97");
  EXPECT_EQ(KeysOf(keyboard), (Keys{Letter(U'\u2122'), Letter(U'\U0001F697')}));
}

TEST(KeyboardTest, BytesThatAreNoUtf8AreDropped) {
  EXPECT_EQ(KeysOf("\xFF\xC3x\x80y\xE2"), (Keys{Letter('x'), Letter('y')}));
}

TEST(KeyboardTest, Latin1HasACharacterAByte) {
  EXPECT_EQ(KeysOf("\xE9\x85", Charset::Latin1), Keys{Letter(U'\u00E9')});
}

TEST(KeyboardTest, ATerminalWithoutACharsetIsTriedAsUtf8) {
  EXPECT_EQ(KeysOf("\xC3\xA9", Charset::Ascii), Keys{Letter(U'\u00E9')});
}

}  // namespace
}  // namespace mv::terminal
