#include "jet/rows/TextCompression.h"

#include <gtest/gtest.h>

#include <random>

#include "base/Error.h"
#include "support/ExpectError.h"

namespace mv::jet {
namespace {

using testing::ErrorNumberOf;

/// What UTF-8 becomes, in memory that held something else.
Bytes Encoded(std::string_view text, TextForm form) {
  Bytes bytes(20, 0xEE);
  EncodeText(text, form, bytes);
  return bytes;
}

const Bytes kCafe = {0xFF, 0xFE, 0x63, 0x61, 0x66, 0xE9, 0x00, 0x2D, 0x4E};

TEST(TextCompression, NarrowTextIsMarkedAndTakesOneByteACharacter) {
  const Bytes expected = {0xFF, 0xFE, 'S', 'p', 'e', 'e', 'd', 'y', ' ', 'E', 'x', 'p', 'r', 'e', 's', 's'};
  EXPECT_EQ(EncodeText(u"Speedy Express", TextForm::CompressedUnlessLonger), expected);
  EXPECT_EQ(Encoded("Speedy Express", TextForm::CompressedUnlessLonger), expected);
  EXPECT_EQ(DecodeText(expected), "Speedy Express");
}

TEST(TextCompression, ChangeToWideIsOneSwitchByteAndTheValueMayEndWide) {
  EXPECT_EQ(EncodeText(u"caf\u00E9\u4E2D", TextForm::CompressedUnlessLonger), kCafe);
  EXPECT_EQ(Encoded("caf\u00E9\u4E2D", TextForm::CompressedIfShorter), kCafe);
  EXPECT_EQ(DecodeText(kCafe), "caf\u00E9\u4E2D");
}

TEST(TextCompression, SingleNarrowCharacterBetweenWideOnesIsSwitchedFor) {
  const Bytes expected = {0xFF, 0xFE, 'a', 'b', 'c', 'd', 'e', 'f', 0x00, 0x2D, 0x4E, 0x00, 'g', 0x00, 0x2D, 0x4E};
  EXPECT_EQ(EncodeText(u"abcdef\u4E2Dg\u4E2D", TextForm::CompressedUnlessLonger), expected);
  EXPECT_EQ(DecodeUnits(expected), u"abcdef\u4E2Dg\u4E2D");
}

TEST(TextCompression, TextThatStartsWideSwitchesRightBehindTheMark) {
  const Bytes expected = {0xFF, 0xFE, 0x00, 0x2D, 0x4E, 0x00, 'a', 'b', 'c', 'd', 'e'};
  EXPECT_EQ(EncodeText(u"\u4E2Dabcde", TextForm::CompressedIfShorter), expected);
  EXPECT_EQ(DecodeText(expected), "\u4E2Dabcde");
}

TEST(TextCompression, EqualLengthIsCompressedInATextColumnAndPlainInAMemo) {
  const Bytes compressed = {0xFF, 0xFE, 'a', 'b', 'c', 0x00, 0x2D, 0x4E};
  const Bytes plain = {'a', 0, 'b', 0, 'c', 0, 0x2D, 0x4E};
  EXPECT_EQ(EncodeText(u"abc\u4E2D", TextForm::CompressedUnlessLonger), compressed);
  EXPECT_EQ(EncodeText(u"abc\u4E2D", TextForm::CompressedIfShorter), plain);
}

TEST(TextCompression, EqualLengthWithTwoSwitchesIsCompressedInATextColumnAndPlainInAMemo) {
  const Bytes compressed = {0xFF, 0xFE, 'a', 'b', 0x00, 0x2D, 0x4E, 0x00, 'c', 'd'};
  const Bytes plain = {'a', 0, 'b', 0, 0x2D, 0x4E, 'c', 0, 'd', 0};
  EXPECT_EQ(EncodeText(u"ab\u4E2Dcd", TextForm::CompressedUnlessLonger), compressed);
  EXPECT_EQ(EncodeText(u"ab\u4E2Dcd", TextForm::CompressedIfShorter), plain);
}

TEST(TextCompression, LongerThanPlainIsPlainEverywhere) {
  const Bytes plain = {'a', 0, 0x2D, 0x4E, 'b', 0};
  EXPECT_EQ(EncodeText(u"a\u4E2Db", TextForm::CompressedUnlessLonger), plain);
  EXPECT_EQ(EncodeText(u"a\u4E2Db", TextForm::CompressedIfShorter), plain);
}

TEST(TextCompression, FewerThanThreeCharactersArePlain) {
  EXPECT_EQ(Encoded("ab", TextForm::CompressedUnlessLonger), (Bytes{'a', 0, 'b', 0}));
  EXPECT_EQ(EncodeText(u"ab", TextForm::CompressedUnlessLonger), (Bytes{'a', 0, 'b', 0}));
  EXPECT_EQ(Encoded("abc", TextForm::CompressedIfShorter), (Bytes{0xFF, 0xFE, 'a', 'b', 'c'}));
}

TEST(TextCompression, EmptyTextHasNoBytes) {
  EXPECT_TRUE(Encoded("", TextForm::CompressedUnlessLonger).empty());
  EXPECT_EQ(DecodeText({}), "");
}

TEST(TextCompression, WideCharacterWithLowByteZeroMakesTheWholeTextPlain) {
  EXPECT_EQ(EncodeText(u"aaaaa\u4E00", TextForm::CompressedUnlessLonger),
            (Bytes{'a', 0, 'a', 0, 'a', 0, 'a', 0, 'a', 0, 0x00, 0x4E}));
  EXPECT_EQ(EncodeText(u"aaaa\u0100", TextForm::CompressedIfShorter),
            (Bytes{'a', 0, 'a', 0, 'a', 0, 'a', 0, 0x00, 0x01}));
}

TEST(TextCompression, NulCharacterMakesTheWholeTextPlain) {
  const Bytes expected = {'a', 0, 'b', 0, 0, 0, 'c', 0};
  EXPECT_EQ(Encoded(std::string_view("ab\0c", 4), TextForm::CompressedUnlessLonger), expected);
  EXPECT_EQ(EncodeText(std::u16string_view(u"ab\0c", 4), TextForm::CompressedUnlessLonger), expected);
  EXPECT_EQ(DecodeText(expected), std::string("ab\0c", 4));
}

TEST(TextCompression, PlainFormNeverCompresses) {
  EXPECT_EQ(Encoded("abc", TextForm::Plain), (Bytes{'a', 0, 'b', 0, 'c', 0}));
}

TEST(TextCompression, MemoOfAThousandNarrowAndOneWideCharacterTakes1005Bytes) {
  EXPECT_EQ(EncodeText(std::u16string(1000, u'a') + u'\u4E2D', TextForm::CompressedIfShorter).size(), 1005u);
}

TEST(TextCompression, NarrowCharactersAboveAsciiAreOneByteEach) {
  const Bytes expected = {0xFF, 0xFE, 0x4E, 0x75, 0xDF};
  EXPECT_EQ(Encoded("Nu\u00DF", TextForm::CompressedUnlessLonger), expected);
  EXPECT_EQ(DecodeText(expected), "Nu\u00DF");
}

TEST(TextCompression, MarkAloneIsTheEmptyText) {
  EXPECT_EQ(DecodeText(Bytes{0xFF, 0xFE}), "");
}

TEST(TextCompression, SwitchAtTheEndIsAccepted) {
  EXPECT_EQ(DecodeText(Bytes{0xFF, 0xFE, 'a', 'b', 0x00}), "ab");
}

TEST(TextCompression, CompressedTextThatEndsWithinACharacterIsDamage) {
  EXPECT_EQ(ErrorNumberOf([] { DecodeText(Bytes{0xFF, 0xFE, 'a', 0x00, 0x2D}); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([] { DecodeUnits(Bytes{0xFF, 0xFE, 'a', 0x00, 0x2D, 0x4E, 0x2D}); }), errors::kJetGeneral);
}

TEST(TextCompression, PlainTextOfOddLengthIsDamage) {
  EXPECT_EQ(ErrorNumberOf([] { DecodeText(Bytes{'a', 0, 'b'}); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([] { DecodeText(Bytes{0xFF}); }), errors::kJetGeneral);
}

TEST(TextCompression, AstralCharacterIsItsTwoUnits) {
  const Bytes expected = {0x3D, 0xD8, 0x00, 0xDE};
  EXPECT_EQ(Encoded("\U0001F600", TextForm::CompressedUnlessLonger), expected);
  EXPECT_EQ(DecodeText(expected), "\U0001F600");
}

TEST(TextCompression, LoneSurrogateSurvivesAsUnitAndReadsAsReplacementCharacter) {
  const Bytes stored = {0x3D, 0xD8, 'a', 0};
  EXPECT_EQ(DecodeUnits(stored), (std::u16string{0xD83D, u'a'}));
  EXPECT_EQ(EncodeText(DecodeUnits(stored), TextForm::Plain), stored);
  EXPECT_EQ(DecodeText(stored), "\uFFFDa");
}

TEST(TextCompression, AnyTextReadsBackInEveryForm) {
  constexpr std::uint32_t kSeed = 20040601;
  RecordProperty("seed", static_cast<int>(kSeed));
  std::mt19937 random(kSeed);
  const char16_t alphabet[] = {u'a', u'\u00FF', u'\u0001', u'\u4E2D', u'\u4E00', u'\u0100', u'\0', 0xD83D, u'z'};
  for (int round = 0; round < 20000; ++round) {
    std::u16string units(random() % 12, u'\0');
    for (char16_t& unit : units) unit = alphabet[random() % std::size(alphabet)];
    for (const TextForm form : {TextForm::Plain, TextForm::CompressedUnlessLonger, TextForm::CompressedIfShorter}) {
      const Bytes stored = EncodeText(units, form);
      ASSERT_EQ(DecodeUnits(stored), units) << "seed " << kSeed << ", round " << round;
      ASSERT_LE(stored.size(), units.size() * 2);
    }
  }
}

}  // namespace
}  // namespace mv::jet
