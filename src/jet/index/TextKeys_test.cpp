#include "jet/index/TextKeys.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "base/Text.h"
#include "base/Utf.h"
#include "jet/index/TextWeights.h"
#include "support/Hex.h"

namespace mv::jet {
namespace {

using testing::ToHex;

std::string KeyOf(std::string_view text) {
  Bytes key;
  EXPECT_EQ(AppendTextKey(key, text), std::nullopt);
  return ToHex(key);
}

std::string KeyOfUnits(std::u16string_view units) {
  Bytes key;
  EXPECT_EQ(AppendTextKey(key, units), std::nullopt);
  return ToHex(key);
}

TEST(TextKeys, PlainLettersAreOneWeightEach) {
  EXPECT_EQ(KeyOf("Tables"), "6D 4A 4C 5E 51 6B 01 00");
  EXPECT_EQ(KeyOf("MSysACEs"), "60 6B 76 6B 4A 4D 51 6B 01 00");
}

TEST(TextKeys, CaseDoesNotCount) {
  EXPECT_EQ(KeyOf("tABLES"), KeyOf("Tables"));
  EXPECT_EQ(KeyOf("\u00C9"), KeyOf("\u00E9"));
  EXPECT_EQ(KeyOf("\u0414"), KeyOf("\u0434"));
}

TEST(TextKeys, AccentIsASecondaryByteAtItsPlace) {
  EXPECT_EQ(KeyOf("S\u00E9jour"), "6B 51 5B 64 6F 69 01 02 0E 00");
  EXPECT_EQ(KeyOf("M\u00E9xico D.F."), "60 51 75 59 4D 64 07 4F 1C 53 1C 01 02 0E 00");
}

TEST(TextKeys, EmptyAndBlankTextAreTheFrameAlone) {
  EXPECT_EQ(KeyOf(""), "01 00");
  EXPECT_EQ(KeyOf("   "), "01 00");
}

TEST(TextKeys, TrailingBlanksAreCutAndInnerOnesWeigh) {
  EXPECT_EQ(KeyOf("A b"), "4A 07 4C 01 00");
  EXPECT_EQ(KeyOf("A b  "), KeyOf("A b"));
  EXPECT_EQ(KeyOf("  A"), "07 07 4A 01 00");
}

TEST(TextKeys, NoBreakSpaceAtTheEndIsNotCut) {
  EXPECT_EQ(KeyOf("A\u00A0"), "4A 08 02 01 00");
}

TEST(TextKeys, HyphenAndApostropheAreLateRecords) {
  EXPECT_EQ(KeyOf("co-op"), "4D 64 64 66 01 01 01 01 80 0F 06 82 00");
  EXPECT_EQ(KeyOf("a'b"), "4A 4C 01 01 01 01 80 0B 06 80 00");
}

TEST(TextKeys, BlankBeforeALateCharacterIsNotTrailing) {
  EXPECT_EQ(KeyOf("a -"), "4A 07 01 01 01 01 80 0F 06 82 00");
}

TEST(TextKeys, LateCharactersAndAccentsStandTogether) {
  EXPECT_EQ(KeyOf("\u00E9-a"), "51 4A 01 0E 01 01 01 80 0B 06 82 00");
}

TEST(TextKeys, LatePositionExceedsOneByteBehindSixtyTwoWeights) {
  const auto lateRecord = [](std::size_t weights) {
    const std::string key = KeyOf(std::string(weights, 'a') + "-");
    return key.substr(key.size() - 14);
  };
  EXPECT_EQ(lateRecord(3), "80 13 06 82 00");
  EXPECT_EQ(lateRecord(62), "80 FF 06 82 00");
  EXPECT_EQ(lateRecord(63), "81 03 06 82 00");
  EXPECT_EQ(lateRecord(200), "83 27 06 82 00");
  EXPECT_EQ(lateRecord(250), "83 EF 06 82 00");
}

TEST(TextKeys, LateCharacterAfterOtherCountsOnlyWeights) {
  EXPECT_EQ(KeyOf("--a-"), "4A 01 01 01 01 80 07 06 82 80 07 06 82 80 0B 06 82 00");
}

TEST(TextKeys, ControlCharactersAreLate) {
  EXPECT_EQ(KeyOf("a\x01"), "4A 01 01 01 01 80 0B 06 03 00");
  EXPECT_EQ(KeyOf("\x7F"), "01 01 01 01 80 07 06 1D 00");
  EXPECT_EQ(KeyOf("\u0080\u009F"), "01 01 01 01 80 07 06 1E 80 07 06 3D 00");
}

TEST(TextKeys, TabAndLineEndsAreWeights) {
  EXPECT_EQ(KeyOf("\t\n\v\f\r"), "08 03 08 04 08 05 08 06 08 07 01 00");
}

TEST(TextKeys, NulIsIgnored) {
  EXPECT_EQ(KeyOf(std::string_view("a\0b", 3)), KeyOf("ab"));
}

TEST(TextKeys, BlanksBeforeAnIgnoredCharacterWeigh) {
  EXPECT_EQ(KeyOf(std::string_view("a \0", 3)), "4A 07 01 00");
}

TEST(TextKeys, CharacterOfTwoLettersCountsAsTwoWeights) {
  EXPECT_EQ(KeyOf("A\u00DF-B"), "4A 6B 6B 4C 01 01 01 01 80 13 06 82 00");
  EXPECT_EQ(KeyOf("NuNuCa Nu\u00DF-").substr(45), "80 33 06 82 00");
  EXPECT_EQ(KeyOf("gro\u00DFm\u00E4rkte"), "55 69 64 6B 6B 60 4A 69 5C 6D 51 01 02 02 02 02 02 02 13 00");
  EXPECT_EQ(KeyOf("\u00DF"), KeyOf("ss"));
  EXPECT_EQ(KeyOf("\u00C6\u0153\u00FE"), KeyOf("aeoeth"));
}

TEST(TextKeys, CharacterOfThreeLettersHasTheirWeights) {
  EXPECT_EQ(KeyOf("o\uFB03ce"), KeyOf("office"));
  EXPECT_EQ(KeyOf("-\u00E9\uFB04"), KeyOf("-\u00E9ffl"));
}

TEST(TextKeys, CharacterOfThreeLettersBeforeAPlacedOneIsRefused) {
  for (const char* text : {"\uFB03-", "\uFB03 a\u00E9", "\uFB03\u0301", "\uFB03\u304C", "\uFB03\u01C5"}) {
    Bytes key;
    EXPECT_EQ(AppendTextKey(key, std::string_view(text)), std::optional<char32_t>(0xFB03)) << text;
    EXPECT_EQ(ToHex(key), "");
  }
  Bytes key;
  EXPECT_EQ(AppendTextKey(key, std::u16string_view(u"\uFB04'")), std::optional<char32_t>(0xFB04));
}

TEST(TextKeys, CharacterOfTwoLettersWithAccentsHasASecondaryByteForEach) {
  EXPECT_EQ(KeyOf("\u01C5x-"), "4F 78 75 01 02 14 01 01 01 80 13 06 82 00");
}

TEST(TextKeys, SuperscriptsEqualDigits) {
  EXPECT_EQ(KeyOf("\u00B9\u00B2\u00B3"), KeyOf("123"));
}

TEST(TextKeys, CodePage1252AboveLatin1HasItsWeights) {
  EXPECT_EQ(KeyOf("\u20AC"), "35 A1 01 00");
  EXPECT_EQ(KeyOf("\u2122"), "6E 04 01 00");
  EXPECT_EQ(KeyOf("\u0192"), "53 01 7B 00");
  EXPECT_EQ(KeyOf("\u0160"), "6B 01 14 00");
  EXPECT_EQ(KeyOf("\u2014"), "01 01 01 01 80 07 06 8B 00");
  EXPECT_EQ(KeyOf("\u02C6"), "2B 02 01 03 00");
}

TEST(TextKeys, WeightOfTwoBytesHasOneSecondaryByte) {
  EXPECT_EQ(KeyOf("\u00A1\u00E9"), "2B 10 51 01 02 0E 00");
}

TEST(TextKeys, CombiningMarkAddsToTheSecondaryByteBeforeIt) {
  EXPECT_EQ(KeyOf("a\u0301"), "4A 01 0E 00");
  EXPECT_EQ(KeyOf("a\u0301\u0301b"), "4A 4C 01 1A 00");
  EXPECT_EQ(KeyOf("xe\u0301\u00E9"), "75 51 51 01 02 0E 0E 00");
}

TEST(TextKeys, CombiningMarkBeforeTheFirstWeightIsASecondaryByteOfItsOwn) {
  EXPECT_EQ(KeyOf("\u0301a"), "4A 01 0C 00");
  EXPECT_EQ(KeyOf("\u0301a\u00E9"), "4A 51 01 0C 02 0E 00");
}

TEST(TextKeys, SecondaryByteThatWrapsTo02OrLessIsCutAtTheEnd) {
  const TextWeight mark = WeightOf(0x0301);
  ASSERT_EQ(mark.kind, TextWeight::Kind::AddOn);
  ASSERT_EQ(mark.detail, 0x0C);
  // 02 + 21 x 0C = FE, then 0A: the byte wraps within eight bits.
  std::string text = "a";
  for (int i = 0; i < 22; ++i) text += "\u0301";
  EXPECT_EQ(KeyOf(text), "4A 01 0A 00");
}

TEST(TextKeys, KanaAddTheirCodes) {
  EXPECT_EQ(KeyOf("\u3042"), "7F 02 01 01 01 FF 02 80 FF 80 00");
  EXPECT_EQ(KeyOf("\u3041\u3042"), "7F 02 7F 02 01 01 01 A0 FF 02 80 FF 80 00");
  EXPECT_EQ(KeyOf("\u3041\u3042\u3041\u3041"), "7F 02 7F 02 7F 02 7F 02 01 01 01 AE A0 FF 02 80 FF 80 00");
}

TEST(TextKeys, HiraganaKatakanaAndHalfWidthAreEqual) {
  EXPECT_EQ(KeyOf("\u3042"), KeyOf("\u30A2"));
  EXPECT_EQ(KeyOf("\u3042"), KeyOf("\uFF71"));
}

TEST(TextKeys, VoicedKanaHasASecondaryByte) {
  EXPECT_EQ(KeyOf("\u304C\u304E-x"), "7F 0A 7F 0B 75 01 03 03 01 01 FF 02 80 FF 80 FF 01 80 0F 06 82 00");
}

TEST(TextKeys, KanaAndLateCharactersAreJoinedByFF01) {
  EXPECT_EQ(KeyOf("ab\u3041-"), "4A 4C 7F 02 01 01 01 A0 FF 02 80 FF 80 FF 01 80 13 06 82 00");
}

TEST(TextKeys, CharacterWithoutWeightIsIgnored) {
  EXPECT_EQ(KeyOf("\u0219\u021B"), "01 00");
}

TEST(TextKeys, OtherScriptsHaveTwoByteWeights) {
  EXPECT_EQ(KeyOf("\u0391"), "79 0C 01 00");
  EXPECT_EQ(KeyOf("\u4E00"), "9F 02 01 00");
  EXPECT_EQ(KeyOf("\uAC00"), "81 03 01 00");
}

TEST(TextKeys, RunOfWeightsCarriesFromFFTo02) {
  // Hangul start at 81 03; the 254th weight is the first of the next high byte.
  EXPECT_EQ(KeyOf("\uACFC"), "81 FF 01 00");
  EXPECT_EQ(KeyOf("\uACFD"), "82 02 01 00");
}

TEST(TextKeys, OnlyTheFirst255UnitsHaveASay) {
  EXPECT_EQ(KeyOf(std::string(255, 'a') + "\u00E9"), KeyOf(std::string(255, 'a')));
  EXPECT_EQ(KeyOf(std::string(254, 'a') + "\u00E9"), KeyOf(std::string(254, 'a') + "\u00C9zz"));
  EXPECT_EQ(KeyOf(std::string(250, 'a') + "     b"), KeyOf(std::string(250, 'a')));
  EXPECT_EQ(KeyOf(std::string(255, 'a') + "\U0001F600"), KeyOf(std::string(255, 'a')));
}

TEST(TextKeys, LongestPartsFitTheirBuffers) {
  std::string ligatures;
  std::string hyphens;
  std::string smallKana;
  for (int i = 0; i < 255; ++i) {
    ligatures += "\uFB03";
    hyphens += "-";
    smallKana += "\u3041";
  }
  EXPECT_EQ(KeyOf(ligatures).size(), 3 * (3 * 255u + 2) - 1);
  EXPECT_EQ(KeyOf(hyphens).size(), 3 * (4 * 255u + 5) - 1);
  EXPECT_EQ(KeyOf(smallKana).size(), 3 * (2 * 255u + 3 + 85 + 6) - 1);
}

TEST(TextKeys, SurrogatePairIsRefusedAsItsCharacter) {
  Bytes key = {0x7F};
  EXPECT_EQ(AppendTextKey(key, std::string_view("a\U0001F600")), std::optional<char32_t>(0x1F600));
  EXPECT_EQ(AppendTextKey(key, std::u16string_view(u"a\U0001F600")), std::optional<char32_t>(0x1F600));
  EXPECT_EQ(ToHex(key), "7F");
}

TEST(TextKeys, LoneSurrogateIsRefusedAsItself) {
  Bytes key;
  EXPECT_EQ(AppendTextKey(key, std::u16string_view(std::u16string{u'a', 0xDC00})), std::optional<char32_t>(0xDC00));
  EXPECT_EQ(AppendTextKey(key, std::u16string_view(std::u16string{0xD83D, u'a'})), std::optional<char32_t>(0xD83D));
  EXPECT_EQ(AppendTextKey(key, std::u16string_view(std::u16string{0xD83D})), std::optional<char32_t>(0xD83D));
}

TEST(TextKeys, ShaddaIsRefused) {
  Bytes key;
  EXPECT_EQ(AppendTextKey(key, std::u16string_view(u"\u0651")), std::optional<char32_t>(0x0651));
}

TEST(TextKeys, UnitsAndUtf8GiveTheSameKey) {
  EXPECT_EQ(KeyOfUnits(u"M\u00E9xico-\u3042 \u4E2D"), KeyOf("M\u00E9xico-\u3042 \u4E2D"));
}

/// Texts of ASCII have a way of their own when they come as UTF-8, and none as units.
TEST(TextKeys, UnitsAndUtf8GiveTheSameKeyForTextsOfAnyAsciiCharacters) {
  std::mt19937 random(3);
  for (int i = 0; i < 5000; ++i) {
    // Mostly what identifiers are made of, else anything.
    const std::string_view usual = "AZaz09 -'.";
    std::string text(random() % 300, ' ');
    for (char& character : text) {
      character = i % 4 != 0 ? usual[random() % usual.size()] : static_cast<char>(random() % 0x80);
    }
    ASSERT_EQ(KeyOf(text), KeyOfUnits(std::u16string(text.begin(), text.end()))) << text;
  }
}

class Fnv {
 public:
  void Add(ByteView bytes) {
    for (const std::uint8_t byte : bytes) hash_ = (hash_ ^ byte) * 0x100000001B3u;
  }
  std::uint64_t Value() const { return hash_; }

 private:
  std::uint64_t hash_ = 0xCBF29CE484222325u;
};

bool HasKnownWeight(unsigned unit) {
  return !(unit >= 0xD800 && unit <= 0xDFFF) && unit != 0x0651;
}

// Both sums were made from the published weights by an independent implementation.
TEST(TextKeys, KeysOfAllSingleUnitsHaveTheKnownSum) {
  Fnv sum;
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    if (!HasKnownWeight(unit)) continue;
    Bytes key;
    ASSERT_EQ(AppendTextKey(key, std::u16string_view(std::u16string{static_cast<char16_t>(unit)})), std::nullopt);
    sum.Add(key);
  }
  EXPECT_EQ(sum.Value(), 0x2DA00E297FF1ACB2u);
}

TEST(TextKeys, KeysOfAllUnitsAmongOthersHaveTheKnownSum) {
  Fnv sum;
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    const bool hasThreeLetters = unit == 0xFB03 || unit == 0xFB04;
    if (!HasKnownWeight(unit) || hasThreeLetters) continue;
    const auto character = static_cast<char16_t>(unit);
    Bytes key;
    ASSERT_EQ(AppendTextKey(key, std::u16string_view(std::u16string{u'A', character, u'-', u'b', character})),
              std::nullopt);
    sum.Add(key);
  }
  EXPECT_EQ(sum.Value(), 0xE29C0FCC61153915u);
}

TEST(TextKeys, CasesOfEveryLetterShareTheirKeyWhereTheyShould) {
  for (char32_t character = 1; character <= 0xFFFF; ++character) {
    const char32_t folded = FoldCase(character);
    if (folded == character) continue;
    const std::string text = Utf8FromCodePoints(std::u32string{U'x', character, U'y'});
    const std::string other = Utf8FromCodePoints(std::u32string{U'x', folded, U'y'});
    EXPECT_EQ(KeyOf(text) != KeyOf(other), MayHaveOtherKeys(text)) << static_cast<unsigned>(character);
    EXPECT_EQ(MayHaveOtherKeys(text), MayHaveOtherKeys(other)) << static_cast<unsigned>(character);
  }
  EXPECT_TRUE(MayHaveOtherKeys("a\uFFFD"));
}

std::optional<std::size_t> CertainPartOf(std::string_view text) {
  Bytes key;
  AppendTextKey(key, text);
  return CertainPartOfTextKey(key);
}

TEST(TextKeys, OfATextThatMayHaveTwoLettersInOneOnlyTheWeightsAreCertain) {
  EXPECT_EQ(CertainPartOf("Gro\u00DF-\u00C9"), std::optional<std::size_t>(7));
  EXPECT_EQ(CertainPartOf("gross-\u00E9"), std::optional<std::size_t>(7));
  EXPECT_EQ(CertainPartOf("Caf\u00E9 \u00C6"), std::optional<std::size_t>(8));
  EXPECT_EQ(CertainPartOf("ae-"), std::optional<std::size_t>(3));
  EXPECT_EQ(CertainPartOf("x-ffi"), std::optional<std::size_t>(5));
}

TEST(TextKeys, AllOfOtherKeysIsCertain) {
  for (const char* text :
       {"", "gross", "Gro\u00DF", "Caf\u00E9", "co-op", "a'b", "a-be", "-f", "S\u00E9jour", "\u3042"}) {
    EXPECT_EQ(CertainPartOf(text), std::nullopt) << text;
  }
}

TEST(TextKeys, AllUnitsWithoutKnownWeightAreRefused) {
  for (unsigned unit = 0xD800; unit <= 0xDFFF; ++unit) {
    Bytes key;
    ASSERT_EQ(AppendTextKey(key, std::u16string_view(std::u16string{static_cast<char16_t>(unit)})),
              std::optional<char32_t>(unit));
  }
}

}  // namespace
}  // namespace mv::jet
