#include "base/Utf.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

namespace mv {
namespace {

/// Text of runs of ASCII between characters of every length and lone surrogates.
std::u16string RandomUnits(std::mt19937& random) {
  constexpr char16_t kOthers[] = {0x80, 0xE9, 0x7FF, 0x800, 0x20AC, 0xFFFD, 0xD83D, 0xDE97, 0};
  std::u16string units;
  for (auto parts = random() % 6; parts > 0; --parts) {
    for (auto run = random() % 80; run > 0; --run) units += static_cast<char16_t>('a' + run % 26);
    for (auto others = random() % 3; others > 0; --others) units += kOthers[random() % std::size(kOthers)];
  }
  return units;
}

TEST(UtfTest, UnitsAsAFileHoldsThemGiveTheSameText) {
  std::mt19937 random(20261122);
  for (int i = 0; i < 2000; ++i) {
    const std::u16string units = RandomUnits(random);
    Bytes bytes(units.size() * 2 + i % 2, 0x41);  // an odd byte is left out
    for (std::size_t at = 0; at < units.size(); ++at) {
      bytes[2 * at] = static_cast<std::uint8_t>(units[at] & 0xFF);
      bytes[2 * at + 1] = static_cast<std::uint8_t>(units[at] >> 8);
    }
    ASSERT_EQ(Utf8FromUtf16(ByteView(bytes)), Utf8FromUtf16(units)) << i;
    ASSERT_EQ(Utf8FromUtf16(Utf16FromUtf8(Utf8FromUtf16(units))), Utf8FromUtf16(units)) << i;
  }
}

TEST(UtfTest, Utf16RoundTripKeepsAstralCharacters) {
  const std::string text = "a é ™ 中 🚗";
  EXPECT_EQ(Utf8FromUtf16(Utf16FromUtf8(text)), text);
  EXPECT_EQ(Utf16FromUtf8("🚗"), u"\xD83D\xDE97");
}

TEST(UtfTest, ALoneSurrogateBecomesTheReplacementCharacter) {
  EXPECT_EQ(Utf8FromUtf16(std::u16string{u'a', char16_t{0xD83D}, u'b'}), "a\uFFFDb");
  EXPECT_EQ(Utf8FromUtf16(std::u16string{char16_t{0xDE97}}), "\uFFFD");
}

TEST(UtfTest, MalformedBytesBecomeReplacementCharactersAndAreReported) {
  for (const char* bad : {"\xFF", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80"}) {
    EXPECT_FALSE(IsValidUtf8(bad));
    EXPECT_TRUE(IsValidUtf8(ValidUtf8(bad)));
  }
  EXPECT_EQ(ValidUtf8("a\xFF"
                      "b"),
            "a\uFFFDb");
  EXPECT_TRUE(IsValidUtf8("é™中🚗"));
}

TEST(UtfTest, CharactersAreCodePoints) {
  EXPECT_EQ(CharacterCount(""), 0u);
  EXPECT_EQ(CharacterCount("é™中🚗"), 4u);
  EXPECT_EQ(CodePointsFromUtf8("é🚗"), U"é🚗");
  EXPECT_EQ(Utf8FromCodePoints(U"é🚗"), "é🚗");
}

TEST(UtfTest, FirstCharactersCountsCharactersNotBytes) {
  EXPECT_EQ(FirstCharacters("\xC3\xA9\xF0\x9F\x9A\x97x", 2), "\xC3\xA9\xF0\x9F\x9A\x97");
  EXPECT_EQ(FirstCharacters("ab", 5), "ab");
  EXPECT_EQ(FirstCharacters("ab", 0), "");
}

}  // namespace
}  // namespace mv
