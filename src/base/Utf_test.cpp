#include "base/Utf.h"

#include <gtest/gtest.h>

namespace mv {
namespace {

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
