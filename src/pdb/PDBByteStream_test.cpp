#include "pdb/PDBByteStream.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "support/ExpectError.h"
#include "support/Hex.h"

namespace mv {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::FromHex;
using mv::testing::ToHex;

constexpr bool kBig = true;
constexpr bool kLittle = false;

PDBByteStream StreamOf(std::string_view hex) {
  PDBByteStream stream;
  stream.ByteArray(FromHex(hex));
  return stream;
}

std::string HexOf(const PDBByteStream& stream) {
  return ToHex(stream.ByteArray());
}

/// What StringToByte writes for `text` on a new stream, terminator and spare byte included.
std::string WrittenText(std::string_view text, bool utf8 = true) {
  PDBByteStream stream;
  stream.UTF8Strings(utf8);
  std::int32_t pos = 0;
  stream.StringToByte(text, pos);
  EXPECT_EQ(pos, stream.Length());
  return HexOf(stream);
}

std::string ReadText(std::string_view hex, bool utf8 = true) {
  PDBByteStream stream = StreamOf(hex);
  stream.UTF8Strings(utf8);
  std::int32_t pos = 0;
  std::string text;
  stream.ByteToString(text, pos);
  return text;
}

// --- The buffer -----------------------------------------------------------------------------------------------------

TEST(PDBByteStreamTest, ANewStreamIsEmptyWithUtf8TextAndNoByteSwap) {
  const PDBByteStream stream;
  EXPECT_EQ(stream.Length(), 0);
  EXPECT_TRUE(stream.UTF8Strings());
  EXPECT_FALSE(stream.GlobalByteSwap());
  EXPECT_EQ(stream.DatabaseFor(), 0);
  std::string text = "x";
  std::int32_t pos = 5;
  stream.ByteToString(text, pos);
  EXPECT_EQ(text, "");
  EXPECT_EQ(pos, 5);
}

TEST(PDBByteStreamTest, LengthIsTheUpperBoundNotTheByteCount) {
  EXPECT_EQ(StreamOf("01").Length(), 0);
  EXPECT_EQ(StreamOf("01 02 03").Length(), 2);
  EXPECT_EQ(StreamOf("").Length(), 0);
}

TEST(PDBByteStreamTest, ResizeKeepsContentsAndClearLeavesOneByte) {
  PDBByteStream stream = StreamOf("01 02 03");
  stream.Resize(5);
  EXPECT_EQ(HexOf(stream), "01 02 03 00 00");
  stream.Resize(2);
  EXPECT_EQ(HexOf(stream), "01 02");
  stream.Clear();
  EXPECT_EQ(HexOf(stream), "00");
  EXPECT_EQ(ErrorNumberOf([&] { stream.Resize(-1); }), errors::kSubscriptOutOfRange);
}

TEST(PDBByteStreamTest, WritersLeaveOneSpareZeroByteBehindThem) {
  PDBByteStream stream;
  std::int32_t pos = 0;
  stream.IntegerToByte(0x1234, pos, kBig);
  EXPECT_EQ(HexOf(stream), "12 34 00");
  EXPECT_EQ(stream.Length(), 2);
  stream.IntegerToByte(0x1234, pos, kLittle);
  EXPECT_EQ(HexOf(stream), "12 34 34 12 00");
  EXPECT_EQ(pos, 4);
}

TEST(PDBByteStreamTest, AWriterThatFitsDoesNotGrowTheArray) {
  PDBByteStream stream;
  stream.Resize(3);
  std::int32_t pos = 0;
  stream.IntegerToByte(-1, pos, kBig);
  EXPECT_EQ(HexOf(stream), "FF FF 00");
  pos = 1;
  stream.IntegerToByte(-1, pos, kBig);
  EXPECT_EQ(HexOf(stream), "FF FF FF 00") << "position 1 and 2 bytes reach behind the upper bound 2";
}

TEST(PDBByteStreamTest, SetByteGrowsWithoutASpareByte) {
  PDBByteStream stream = StreamOf("01");
  std::int32_t pos = 1;
  stream.SetByte(2, pos);
  EXPECT_EQ(HexOf(stream), "01 02");
  EXPECT_EQ(pos, 2);
  pos = 4;
  stream.SetByte(5, pos);
  EXPECT_EQ(HexOf(stream), "01 02 00 00 05");
}

TEST(PDBByteStreamTest, SetByteAtZeroOfANewStreamFailsBecauseZeroIsNotBehindItsLength) {
  PDBByteStream stream;
  std::int32_t pos = 0;
  EXPECT_EQ(ErrorNumberOf([&] { stream.SetByte(1, pos); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(pos, 0);
  stream.Clear();
  stream.SetByte(1, pos);
  EXPECT_EQ(HexOf(stream), "01");
}

TEST(PDBByteStreamTest, GrowthKeepsContentsAndFillsTheGapWithZeros) {
  PDBByteStream stream = StreamOf("01 02");
  std::int32_t pos = 4;
  stream.LongToByte(-1, pos, kBig);
  EXPECT_EQ(HexOf(stream), "01 02 00 00 FF FF FF FF 00");
}

// --- Byte order -----------------------------------------------------------------------------------------------------

TEST(PDBByteStreamTest, EveryWidthIsWrittenAndReadInBothOrders) {
  PDBByteStream stream;
  std::int32_t pos = 0;
  stream.IntegerToByte(-2, pos, kBig);
  stream.IntegerToByte(-2, pos, kLittle);
  stream.Int24ToByte(0x12345678, pos, kBig);
  stream.Int24ToByte(0x12345678, pos, kLittle);
  stream.LongToByte(0x01020304, pos, kBig);
  stream.LongToByte(0x01020304, pos, kLittle);
  stream.DoubleToByte(-2.5, pos, kBig);
  stream.DoubleToByte(-2.5, pos, kLittle);
  stream.CurrencyToByte(-12'345'678'901, pos, kBig);
  stream.CurrencyToByte(-12'345'678'901, pos, kLittle);
  stream.SingleToByte(0.5F, pos, kBig);
  stream.SingleToByte(0.5F, pos, kLittle);
  EXPECT_EQ(HexOf(stream),
            "FF FE FE FF 34 56 78 78 56 34 01 02 03 04 04 03 02 01 "
            "C0 04 00 00 00 00 00 00 00 00 00 00 00 00 04 C0 "
            "FF FF FF FD 20 23 E3 CB CB E3 23 20 FD FF FF FF 3F 00 00 00 00 00 00 3F 00");

  pos = 0;
  std::int16_t integer = 0;
  std::int32_t value = 0;
  double number = 0;
  std::int64_t amount = 0;
  float single = 0;
  for (const bool swap : {kBig, kLittle}) {
    stream.ByteToInteger(integer, pos, swap);
    EXPECT_EQ(integer, -2);
  }
  for (const bool swap : {kBig, kLittle}) {
    stream.ByteToInt24(value, pos, swap);
    EXPECT_EQ(value, 0x345678);
  }
  for (const bool swap : {kBig, kLittle}) {
    stream.ByteToLong(value, pos, swap);
    EXPECT_EQ(value, 0x01020304);
  }
  for (const bool swap : {kBig, kLittle}) {
    stream.ByteToDouble(number, pos, swap);
    EXPECT_EQ(number, -2.5);
  }
  for (const bool swap : {kBig, kLittle}) {
    stream.ByteToCurrency(amount, pos, swap);
    EXPECT_EQ(amount, -12'345'678'901);
  }
  for (const bool swap : {kBig, kLittle}) {
    stream.ByteToSingle(single, pos, swap);
    EXPECT_EQ(single, 0.5F);
  }
  EXPECT_EQ(pos, stream.Length());
}

TEST(PDBByteStreamTest, Int24IsUnsigned) {
  const PDBByteStream stream = StreamOf("FF FF FF");
  std::int32_t pos = 0;
  std::int32_t value = 0;
  stream.ByteToInt24(value, pos, kLittle);
  EXPECT_EQ(value, 16'777'215);
}

TEST(PDBByteStreamTest, GlobalByteSwapInvertsEveryOrder) {
  PDBByteStream stream;
  stream.GlobalByteSwap(true);
  std::int32_t pos = 0;
  stream.IntegerToByte(0x1234, pos, kBig);
  stream.Int24ToByte(0x123456, pos, kLittle);
  stream.LongToByte(0x12345678, pos, kBig);
  EXPECT_EQ(HexOf(stream), "34 12 12 34 56 78 56 34 12 00");
}

TEST(PDBByteStreamTest, DatabaseFor1TurnsByteSwapOnAndNothingTurnsItOff) {
  PDBByteStream stream;
  stream.DatabaseFor(4);
  EXPECT_FALSE(stream.GlobalByteSwap());
  stream.DatabaseFor(1);
  EXPECT_TRUE(stream.GlobalByteSwap());
  std::int32_t pos = 0;
  stream.IntegerToByte(0x1234, pos, kLittle);
  EXPECT_EQ(HexOf(stream), "12 34 00");
  stream.DatabaseFor(0);
  EXPECT_TRUE(stream.GlobalByteSwap());
  EXPECT_EQ(stream.DatabaseFor(), 0);
}

// --- Bounds ---------------------------------------------------------------------------------------------------------

TEST(PDBByteStreamTest, ReadingBehindTheUpperBoundIsOutOfRangeAndMovesNothing) {
  const PDBByteStream stream = StreamOf("01 02 03 04");
  std::int32_t pos = 1;
  std::int32_t value = 7;
  EXPECT_EQ(ErrorNumberOf([&] { stream.ByteToLong(value, pos, kBig); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(pos, 1);
  EXPECT_EQ(value, 7);
  for (std::int32_t outside : {4, -1, std::numeric_limits<std::int32_t>::max()}) {
    std::uint8_t byte = 0;
    EXPECT_EQ(ErrorNumberOf([&] { stream.GetByte(byte, outside); }), errors::kSubscriptOutOfRange);
  }
  EXPECT_EQ(stream.ByteArray().size(), 4u);
}

TEST(PDBByteStreamTest, AnArrayWithoutElementsHasNothingToRead) {
  const PDBByteStream stream = StreamOf("");
  std::int32_t pos = 0;
  std::uint8_t byte = 0;
  std::string text;
  EXPECT_EQ(ErrorNumberOf([&] { stream.GetByte(byte, pos); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { stream.ByteToString(text, pos); }), errors::kSubscriptOutOfRange);
}

TEST(PDBByteStreamTest, APositionThatLeaves32BitsOverflows) {
  PDBByteStream stream;
  std::int32_t pos = std::numeric_limits<std::int32_t>::max() - 1;
  EXPECT_EQ(ErrorNumberOf([&] { stream.LongToByte(1, pos, kBig); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { stream.StringToByte("abc", pos); }), errors::kOverflow);
  pos = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(ErrorNumberOf([&] { stream.SetByte(1, pos); }), errors::kOverflow);
  EXPECT_EQ(stream.Length(), 0);
}

TEST(PDBByteStreamTest, WritingAtANegativePositionIsOutOfRange) {
  PDBByteStream stream;
  std::int32_t pos = -1;
  EXPECT_EQ(ErrorNumberOf([&] { stream.LongToByte(1, pos, kBig); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { stream.SetByte(1, pos); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(pos, -1);
}

// --- Zero-terminated text -------------------------------------------------------------------------------------------

TEST(PDBByteStreamTest, TextIsWrittenWithATerminatorAndASpareByte) {
  EXPECT_EQ(WrittenText(""), "00 00");
  EXPECT_EQ(WrittenText("ab"), "61 62 00 00");
  EXPECT_EQ(WrittenText("\xC3\xA9"), "C3 A9 00 00");
  EXPECT_EQ(WrittenText("\xC3\xA9", false), "E9 00 00");
}

TEST(PDBByteStreamTest, TheTwoByteFormIsThatOfTheAnsiValueNotOfTheCharacter) {
  EXPECT_EQ(WrittenText("\xE2\x84\xA2"), "C2 99 00 00") << "the trade mark sign is 153 in the code page";
  EXPECT_EQ(WrittenText("\xC3\xBF"), "C3 BF 00 00") << "255, the highest";
}

TEST(PDBByteStreamTest, TheEuroSignIsValue128AndStaysARawByte) {
  EXPECT_EQ(WrittenText("\xE2\x82\xAC"), "80 00 00");
  EXPECT_EQ(ReadText("80 00"), "\xE2\x82\xAC");
}

TEST(PDBByteStreamTest, CharactersOutsideTheCodePageAreOneQuestionMarkEach) {
  EXPECT_EQ(WrittenText("\xD0\x96\xF0\x9F\x9A\x97"), "3F 3F 00 00");
}

TEST(PDBByteStreamTest, TextIsReadUpToItsTerminator) {
  const PDBByteStream stream = StreamOf("FF C3 A9 61 00 62");
  std::int32_t pos = 1;
  std::string text;
  stream.ByteToString(text, pos);
  EXPECT_EQ(text,
            "\xC3\xA9"
            "a");
  EXPECT_EQ(pos, 5);
}

TEST(PDBByteStreamTest, ZeroInsideACharacterDoesNotEndTheText) {
  const PDBByteStream stream = StreamOf("61 C3 00 62 00 63");
  std::int32_t pos = 0;
  std::string text;
  stream.ByteToString(text, pos);
  EXPECT_EQ(text, "aÀb");
  EXPECT_EQ(pos, 5);
}

TEST(PDBByteStreamTest, TextWithoutATerminatorEndsWithTheArray) {
  const PDBByteStream stream = StreamOf("61 62");
  std::int32_t pos = 1;
  std::string text;
  stream.ByteToString(text, pos);
  EXPECT_EQ(text, "b");
  EXPECT_EQ(pos, stream.Length() + 1);
  stream.ByteToString(text, pos);
  EXPECT_EQ(text, "");
  EXPECT_EQ(pos, 2);
  pos = 9;
  stream.ByteToString(text, pos);
  EXPECT_EQ(pos, 2) << "a position behind the end comes back to it";
}

TEST(PDBByteStreamTest, OnlyTheLeadBytes195To198And225AreDecoded) {
  EXPECT_EQ(ReadText("C3 80 00"), "\xC3\x80");                         // À
  EXPECT_EQ(ReadText("C6 BF 00"), "\xC6\xBF");                         // U+01BF
  EXPECT_EQ(ReadText("E1 BA BF 00"), "\xE1\xBA\xBF");                  // ế
  EXPECT_EQ(ReadText("C7 80 00"), "\xC3\x87\xE2\x82\xAC");             // Ç and €
  EXPECT_EQ(ReadText("E2 82 AC 00"), "\xC3\xA2\xE2\x80\x9A\xC2\xAC");  // â, ‚ and ¬
}

TEST(PDBByteStreamTest, ValuesUnder192DoNotComeBackBecauseLeadByte194IsNotDecoded) {
  EXPECT_EQ(ReadText("C2 99 00"), "\xC3\x82\xE2\x84\xA2") << "the trade mark sign comes back with an A circumflex";
}

TEST(PDBByteStreamTest, EveryCharacterFrom192OnComesBack) {
  for (int value = 0xC0; value <= 0xFF; ++value) {
    const std::string text = {static_cast<char>(0xC3), static_cast<char>(0x80 | (value & 0x3F))};
    PDBByteStream stream;
    std::int32_t pos = 0;
    stream.StringToByte(text, pos);
    std::string back;
    pos = 0;
    stream.ByteToString(back, pos);
    ASSERT_EQ(back, text);
  }
}

TEST(PDBByteStreamTest, ALeadByteSwallowsWhateverFollowsEvenATerminator) {
  EXPECT_EQ(ReadText("C3 00 61 00"),
            "\xC3\x80"
            "a");
  EXPECT_EQ(ReadText("E1 00 00 61 00"),
            "\xE1\x80\x80"
            "a");
}

TEST(PDBByteStreamTest, ALeadByteWithoutItsOtherBytesIsOutOfRange) {
  EXPECT_EQ(ErrorNumberOf([] { ReadText("61 C3"); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([] { ReadText("E1 80"); }), errors::kSubscriptOutOfRange);
}

TEST(PDBByteStreamTest, WithoutUtf8EveryByteIsOneCharacter) {
  EXPECT_EQ(ReadText("C3 A9 E1 80 00", false), "\xC3\x83\xC2\xA9\xC3\xA1\xE2\x82\xAC");
}

/// A text of `length` letters, terminated or not.
PDBByteStream LongText(std::size_t length, bool terminated) {
  Bytes bytes(length, 'x');
  if (terminated) bytes.push_back(0);
  PDBByteStream stream;
  stream.ByteArray(std::move(bytes));
  return stream;
}

TEST(PDBByteStreamTest, ATextThatRunsPastPosition32767OverflowsBecauseTheIndexHas16Bits) {
  std::string text;
  std::int32_t pos = 0;
  LongText(32767, true).ByteToString(text, pos);
  EXPECT_EQ(text.size(), 32767u);
  EXPECT_EQ(pos, 32768);

  pos = 0;
  EXPECT_EQ(ErrorNumberOf([&] { LongText(32768, true).ByteToString(text, pos); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { LongText(32768, false).ByteToString(text, pos); }), errors::kOverflow);
  EXPECT_EQ(pos, 0);
  pos = 32768;
  EXPECT_EQ(ErrorNumberOf([&] { LongText(40000, true).ByteToString(text, pos); }), errors::kOverflow);
}

TEST(PDBByteStreamTest, AShortTextInAnArrayLongerThan32767IsRead) {
  PDBByteStream stream = LongText(40000, true);
  std::int32_t pos = 3;
  stream.SetByte(0, pos);
  std::string text;
  pos = 0;
  stream.ByteToString(text, pos);
  EXPECT_EQ(text, "xxx");
}

// --- Fixed-width and length-prefixed text ---------------------------------------------------------------------------

TEST(PDBByteStreamTest, FixedTextIsCutOrFilledUp) {
  PDBByteStream stream;
  std::int32_t pos = 0;
  stream.FixStringToByte("ABCDE", pos, 4);
  EXPECT_EQ(pos, 4);
  stream.FixStringToByte("AB", pos, 4);
  EXPECT_EQ(HexOf(stream), "41 42 43 44 41 42 00 00 00");
  stream.FixStringToByte("\xC3\xA9\xE2\x82\xAC\xD0\x96", pos, 3);
  EXPECT_EQ(HexOf(stream), "41 42 43 44 41 42 00 00 E9 80 3F 00") << "one byte a character, no UTF-8";
}

TEST(PDBByteStreamTest, FixedTextEndsAtItsZeroAndIsNotReadBehindIt) {
  const PDBByteStream stream = StreamOf("41 C3 00 42");
  std::string text;
  std::int32_t pos = 0;
  stream.ByteToFixString(text, pos, 4);
  EXPECT_EQ(text, "A\xC3\x83");
  EXPECT_EQ(pos, 4);
  pos = 2;
  stream.ByteToFixString(text, pos, 100);
  EXPECT_EQ(text, "");
  EXPECT_EQ(pos, 102);
}

TEST(PDBByteStreamTest, FixedTextThatIsCutOffIsOutOfRange) {
  const PDBByteStream stream = StreamOf("41 42");
  std::string text;
  std::int32_t pos = 0;
  EXPECT_EQ(ErrorNumberOf([&] { stream.ByteToFixString(text, pos, 3); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { stream.ByteToFixString(text, pos, -1); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(pos, 0);
}

TEST(PDBByteStreamTest, LengthPrefixedTextIsWrittenWithOneByteUnder255AndTwoFromThereOn) {
  PDBByteStream stream;
  stream.Clear();
  std::int32_t pos = 0;
  stream.CStringToByte("AB", pos);
  EXPECT_EQ(HexOf(stream), "02 41 42 00");
  EXPECT_EQ(pos, 3);

  PDBByteStream longText;
  pos = 0;
  longText.CStringToByte(std::string(300, 'x'), pos);
  EXPECT_EQ(longText.ByteArray()[0], 0x2C);
  EXPECT_EQ(longText.ByteArray()[1], 0x01);
  EXPECT_EQ(longText.ByteArray()[2], 'x');
  EXPECT_EQ(pos, 302);
  EXPECT_EQ(ErrorNumberOf([&] { longText.CStringToByte(std::string(32768, 'x'), pos); }), errors::kOverflow);
}

TEST(PDBByteStreamTest, LengthPrefixedTextOf255CharactersHasATwoByteLengthWithoutAMark) {
  PDBByteStream shorter;
  shorter.Clear();
  std::int32_t pos = 0;
  shorter.CStringToByte(std::string(254, 'x'), pos);
  EXPECT_EQ(pos, 255);
  EXPECT_EQ(ToHex(ByteView(shorter.ByteArray()).first(3)), "FE 78 78");

  PDBByteStream stream;
  pos = 0;
  stream.CStringToByte(std::string(255, 'x'), pos);
  EXPECT_EQ(pos, 257);
  EXPECT_EQ(ToHex(ByteView(stream.ByteArray()).first(4)), "FF 00 78 78");
  EXPECT_EQ(stream.ByteArray().size(), 258u);
}

TEST(PDBByteStreamTest, LengthPrefixedTextOf255CharactersDoesNotReadBackBecauseItsLengthIsTakenForAMark) {
  PDBByteStream stream;
  std::int32_t pos = 0;
  stream.CStringToByte(std::string(255, 'x'), pos);
  std::string text;
  pos = 0;
  stream.ByteToCString(text, pos);
  EXPECT_EQ(text, std::string(254, 'x')) << "the first character belongs to the length; the spare byte ends the text";
  EXPECT_EQ(pos, 3 + 0x7800);
}

TEST(PDBByteStreamTest, LengthPrefixedTextIsReadWithALongLengthOnlyUnlikeItIsWritten) {
  std::string text;
  std::int32_t pos = 0;
  StreamOf("02 41 42 00").ByteToCString(text, pos);
  EXPECT_EQ(text, "");
  EXPECT_EQ(pos, 1);
  pos = 0;
  StreamOf("FF 02 00 41 42").ByteToCString(text, pos);
  EXPECT_EQ(text, "AB");
  EXPECT_EQ(pos, 5);
  pos = 0;
  EXPECT_EQ(ErrorNumberOf([&] { StreamOf("FF FF FF 41").ByteToCString(text, pos); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(pos, 0);
}

}  // namespace
}  // namespace mv
