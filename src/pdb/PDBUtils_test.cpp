#include "pdb/PDBUtils.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/ExpectError.h"

namespace mv {
namespace {

using mv::testing::ErrorNumberOf;

constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();

Date DayOf(int year, int month, int day) {
  return DateFromCivil({year, month, day, 0, 0, 0});
}

TEST(PDBUtilsTest, UnsignedToLongWrapsTheUpperHalf) {
  EXPECT_EQ(PDBUtils::UnsignedToLong(0), 0);
  EXPECT_EQ(PDBUtils::UnsignedToLong(2147483647.0), kHighest);
  EXPECT_EQ(PDBUtils::UnsignedToLong(2147483648.0), kLowest);
  EXPECT_EQ(PDBUtils::UnsignedToLong(4294967295.0), -1);
}

TEST(PDBUtilsTest, UnsignedToLongRoundsHalfToEven) {
  EXPECT_EQ(PDBUtils::UnsignedToLong(0.5), 0);
  EXPECT_EQ(PDBUtils::UnsignedToLong(1.5), 2);
  EXPECT_EQ(PDBUtils::UnsignedToLong(4294967294.5), -2);
}

TEST(PDBUtilsTest, UnsignedToLongOverflowsOutsideItsRange) {
  EXPECT_EQ(ErrorNumberOf([] { PDBUtils::UnsignedToLong(4294967296.0); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { PDBUtils::UnsignedToLong(-0.1); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { PDBUtils::UnsignedToLong(2147483647.2); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { PDBUtils::UnsignedToLong(std::numeric_limits<double>::quiet_NaN()); }),
            errors::kOverflow);
}

TEST(PDBUtilsTest, LongToUnsignedIsItsInverse) {
  EXPECT_EQ(PDBUtils::LongToUnsigned(-1), 4294967295.0);
  EXPECT_EQ(PDBUtils::LongToUnsigned(kLowest), 2147483648.0);
  EXPECT_EQ(PDBUtils::LongToUnsigned(kHighest), 2147483647.0);
}

TEST(PDBUtilsTest, SixteenBitCountsWrapAndOverflowLikewise) {
  EXPECT_EQ(PDBUtils::UnsignedToInteger(32767), 32767);
  EXPECT_EQ(PDBUtils::UnsignedToInteger(32768), -32768);
  EXPECT_EQ(PDBUtils::UnsignedToInteger(65535), -1);
  EXPECT_EQ(ErrorNumberOf([] { PDBUtils::UnsignedToInteger(65536); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { PDBUtils::UnsignedToInteger(-1); }), errors::kOverflow);
  EXPECT_EQ(PDBUtils::IntegerToUnsigned(-1), 65535);
  EXPECT_EQ(PDBUtils::IntegerToUnsigned(32767), 32767);
}

TEST(PDBUtilsTest, PalmLongToDateRoundsToWholeDaysHalvesToEven) {
  EXPECT_EQ(PDBUtils::PalmLongToDate(0), DayOf(1904, 1, 1));
  EXPECT_EQ(PDBUtils::PalmLongToDate(43200), DayOf(1904, 1, 1));
  EXPECT_EQ(PDBUtils::PalmLongToDate(43201), DayOf(1904, 1, 2));
  EXPECT_EQ(PDBUtils::PalmLongToDate(129600), DayOf(1904, 1, 3));
}

TEST(PDBUtilsTest, PalmLongToDateTakesTheCountAsUnsigned) {
  EXPECT_EQ(PDBUtils::PalmLongToDate(-1), DayOf(2040, 2, 6));
  EXPECT_EQ(PDBUtils::PalmLongToDate(2082844800), DayOf(1970, 1, 1));
}

TEST(PDBUtilsTest, DateToPalmLongWritesTheDayOfTheMonthOfTheDistance) {
  EXPECT_EQ(PDBUtils::DateToPalmLong(DayOf(1904, 1, 1)), 30 * 86400) << "a distance of 0 is 1899-12-30";
  EXPECT_EQ(PDBUtils::DateToPalmLong(DayOf(1904, 1, 2)), 31 * 86400);
  EXPECT_EQ(PDBUtils::DateToPalmLong(DayOf(1904, 1, 3)), 1 * 86400);
  // 2026-11-21 lies 44885 days behind; as a date that is 2022-11-20.
  EXPECT_EQ(PDBUtils::DateToPalmLong(DayOf(2026, 11, 21)), 20 * 86400);
  EXPECT_EQ(PDBUtils::DateToPalmLong(DateFromCivil({2026, 11, 21, 23, 59, 59})), 20 * 86400);
}

TEST(PDBUtilsTest, DateToPalmLongStaysBetweenOneAnd31Days) {
  for (int day = 0; day < 3000; ++day) {
    const std::int32_t value = PDBUtils::DateToPalmLong(Date{40000.0 + day});
    ASSERT_GE(value, 86400);
    ASSERT_LE(value, 2678400);
  }
}

TEST(PDBUtilsTest, PalmIDtoLongIsTheBigEndianValueOfFourLetters) {
  EXPECT_EQ(PDBUtils::PalmIDtoLong("DATA"), 0x44415441);
  EXPECT_EQ(PDBUtils::PalmIDtoLong("BRND"), 0x42524E44);
  EXPECT_EQ(PDBUtils::PalmIDtoLong("A\xC3\xA9\xE2\x82\xAC?"), 0x41E9803F);  // é and €
}

TEST(PDBUtilsTest, PalmIDtoLongOfAnyOtherLengthIsZero) {
  EXPECT_EQ(PDBUtils::PalmIDtoLong(""), 0);
  EXPECT_EQ(PDBUtils::PalmIDtoLong("ABC"), 0);
  EXPECT_EQ(PDBUtils::PalmIDtoLong("ABCDE"), 0);
  EXPECT_EQ(PDBUtils::PalmIDtoLong("\xC3\xA9\xC3\xA9"), 0) << "characters count, not bytes";
}

TEST(PDBUtilsTest, PalmIDtoLongOverflowsWhenTheFirstCharacterIs128OrMore) {
  EXPECT_EQ(ErrorNumberOf([] {
              PDBUtils::PalmIDtoLong(
                  "\xE2\x82\xAC"
                  "BCD");
            }),
            errors::kOverflow);
}

TEST(PDBUtilsTest, PalmLongtoIdRunsTheDecimalNumbersOfTheBytesTogetherLowestFirst) {
  EXPECT_EQ(PDBUtils::PalmLongtoId(0x41424344), "68676665");
  EXPECT_EQ(PDBUtils::PalmLongtoId(0), "0000");
  EXPECT_EQ(PDBUtils::PalmLongtoId(-1), "255255255255");
}

TEST(PDBUtilsTest, EncodeUTF8GivesOneCharacterForEachByte) {
  EXPECT_EQ(PDBUtils::EncodeUTF8(""), "");
  EXPECT_EQ(PDBUtils::EncodeUTF8("a\xC3\xA9"), "a\xC3\x83\xC2\xA9");  // é is C3 A9, which read "Ã©"
  // 🚗 is F0 9F 9A 97, which read "ðŸš—".
  EXPECT_EQ(PDBUtils::EncodeUTF8("\xF0\x9F\x9A\x97"), "\xC3\xB0\xC5\xB8\xC5\xA1\xE2\x80\x94");
}

TEST(PDBUtilsTest, DecodeUTF8IsItsInverse) {
  for (const char* text : {"", "a", "\xC3\xA9", "\xE2\x84\xA2", "\xD0\x96", "\xF0\x9F\x9A\x97", "\xC2\x81"}) {
    EXPECT_EQ(PDBUtils::DecodeUTF8(PDBUtils::EncodeUTF8(text)), text);
  }
  EXPECT_EQ(PDBUtils::DecodeUTF8("\xC3\xA9"), "\xEF\xBF\xBD") << "a lone E9 is no UTF-8";
}

TEST(PDBUtilsTest, ToUTF8UsesOneTwoOrThreeBytes) {
  EXPECT_EQ(PDBUtils::ToUTF8(0x7F), (Bytes{0x7F}));
  EXPECT_EQ(PDBUtils::ToUTF8(0x80), (Bytes{0xC2, 0x80}));
  EXPECT_EQ(PDBUtils::ToUTF8(0x7FF), (Bytes{0xDF, 0xBF}));
  EXPECT_EQ(PDBUtils::ToUTF8(0x800), (Bytes{0xE0, 0xA0, 0x80}));
  EXPECT_EQ(PDBUtils::ToUTF8(0xFFFF), (Bytes{0xEF, 0xBF, 0xBF}));
  EXPECT_EQ(ErrorNumberOf([] { PDBUtils::ToUTF8(-1); }), errors::kOverflow);
}

TEST(PDBUtilsTest, ToUTF16ReadsByTheNumberOfBytesAlone) {
  EXPECT_EQ(PDBUtils::ToUTF16(Bytes{0xFF}), 0xFF);
  EXPECT_EQ(PDBUtils::ToUTF16(Bytes{0xC3, 0xA9}), 0xE9);
  EXPECT_EQ(PDBUtils::ToUTF16(Bytes{0xC3, 0x29}), 0xE9) << "continuation bytes are not checked";
  EXPECT_EQ(PDBUtils::ToUTF16(Bytes{0xE1, 0xBF, 0xBF}), 0x1FFF);
  EXPECT_EQ(PDBUtils::ToUTF16(Bytes{}), 0);
  EXPECT_EQ(PDBUtils::ToUTF16(Bytes{0xF0, 0x9F, 0x9A, 0x97}), 0);
}

TEST(PDBUtilsTest, ToUTF16OverflowsAbove32767BecauseItCountsIn16SignedBits) {
  EXPECT_EQ(PDBUtils::ToUTF16(Bytes{0xE7, 0xBF, 0xBF}), 0x7FFF);
  EXPECT_EQ(ErrorNumberOf([] { PDBUtils::ToUTF16(Bytes{0xE8, 0x80, 0x80}); }), errors::kOverflow);
}

TEST(PDBUtilsTest, UTF8LengthCountsTwoBytesFromValue129On) {
  EXPECT_EQ(PDBUtils::UTF8Length(""), 0);
  EXPECT_EQ(PDBUtils::UTF8Length("abc"), 3);
  EXPECT_EQ(PDBUtils::UTF8Length("\xC3\xA9"), 2);
  EXPECT_EQ(PDBUtils::UTF8Length("\xE2\x82\xAC"), 1) << "the euro sign is 128 and stays one byte";
  EXPECT_EQ(PDBUtils::UTF8Length("\xC2\x81"), 2) << "129";
  EXPECT_EQ(PDBUtils::UTF8Length("\xD0\x96"), 1) << "outside the code page: a question mark";
}

TEST(PDBUtilsTest, SecondsToTimeTakesTheCountAsUnsigned) {
  EXPECT_EQ(CivilFromDate(PDBUtils::SecondsToTime(3725)), (CivilTime{1899, 12, 30, 1, 2, 5}));
  EXPECT_EQ(CivilFromDate(PDBUtils::SecondsToTime(-1)), (CivilTime{1899, 12, 30, 18, 12, 15}));
}

}  // namespace
}  // namespace mv
