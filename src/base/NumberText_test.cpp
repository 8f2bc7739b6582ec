#include "base/NumberText.h"

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "base/Error.h"

namespace mv {
namespace {

constexpr std::int64_t kLowest64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kHighest64 = std::numeric_limits<std::int64_t>::max();

template <typename Call>
std::int32_t ErrorOf(Call call) {
  try {
    call();
  } catch (const Error& error) {
    return error.Number();
  }
  return 0;
}

std::string DoubleText(std::uint64_t bits) {
  std::string text;
  AppendDoubleBits(text, bits);
  return text;
}

std::string SingleText(std::uint32_t bits) {
  std::string text;
  AppendSingleBits(text, bits);
  return text;
}

TEST(NumberText, IntegersOfEverySizeHaveDecimalTexts) {
  EXPECT_EQ(TextOfInteger(0), "0");
  EXPECT_EQ(TextOfInteger(-12), "-12");
  EXPECT_EQ(TextOfInteger(kLowest64), "-9223372036854775808");
}

TEST(NumberText, DoublesUseTheShortestDigitsThatReadBackTheSame) {
  EXPECT_EQ(TextOfDouble(0.1), "0.1");
  EXPECT_EQ(TextOfDouble(1e22), "1e+22");
  EXPECT_EQ(TextOfDouble(5e-324), "5e-324");
  EXPECT_EQ(TextOfDouble(-0.0), "-0");
  EXPECT_EQ(TextOfDouble(std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(TextOfDouble(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(NumberText, SinglesUseTheirOwnShortestDigitsNotThoseOfADouble) {
  EXPECT_EQ(TextOfSingle(0.1F), "0.1");
  EXPECT_EQ(TextOfSingle(16777216.0F), "16777216");
  EXPECT_EQ(TextOfSingle(1e-45F), "1e-45");
}

TEST(NumberText, NotANumbersKeepTheirBits) {
  EXPECT_EQ(DoubleText(0x7FF8000000000000), "nan:7ff8000000000000");
  EXPECT_EQ(DoubleText(0xFFF0000000000001), "nan:fff0000000000001");
  EXPECT_EQ(SingleText(0x7FC00000), "nan:7fc00000");
  EXPECT_EQ(SingleText(0x7F800001), "nan:7f800001");
  EXPECT_EQ(ParseDoubleBits("nan:fff0000000000001"), 0xFFF0000000000001);
  EXPECT_EQ(ParseSingleBits("nan:7f800001"), 0x7F800001u);
  EXPECT_TRUE(std::isnan(ParseDouble("nan:7ff8000000000000")));
  EXPECT_TRUE(std::isnan(ParseSingle("nan:7fc00000")));
}

TEST(NumberText, ANotANumberTextMustNameBitsOfOne) {
  for (const char* text : {"nan", "nan:", "nan:7fc0000", "nan:7fc000000", "nan:7f800000", "nan:3f800000",
                           "nan:7fc0000g", "nan:-7fc0000", "nan:+7fc0000", "NAN:7fc00000"}) {
    EXPECT_EQ(ErrorOf([&] { ParseSingle(text); }), errors::kTypeMismatch) << text;
  }
  EXPECT_EQ(ErrorOf([] { ParseDouble("nan:7fc00000"); }), errors::kTypeMismatch);
}

TEST(NumberText, DoublesOfRandomBitsReadBackBitForBit) {
  constexpr unsigned kSeed = 20261121;
  SCOPED_TRACE(kSeed);
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 100'000; ++i) {
    const std::uint64_t bits = random();
    ASSERT_EQ(ParseDoubleBits(DoubleText(bits)), bits);
  }
}

TEST(NumberText, SinglesAcrossAllBitsReadBackBitForBit) {
  constexpr std::uint64_t kEnd = std::uint64_t{1} << 32;
  constexpr std::uint64_t kPrimeStep = 40'009;
  for (std::uint64_t bits = 0; bits < kEnd; bits += kPrimeStep) {
    const auto word = static_cast<std::uint32_t>(bits);
    ASSERT_EQ(ParseSingleBits(SingleText(word)), word);
  }
}

TEST(NumberText, EdgesOfTheFloatingPointFormatsReadBackBitForBit) {
  for (const std::uint64_t bits : std::initializer_list<std::uint64_t>{
           0x0000000000000000, 0x8000000000000000, 0x0000000000000001, 0x000FFFFFFFFFFFFF, 0x0010000000000000,
           0x7FEFFFFFFFFFFFFF, 0x7FF0000000000000, 0xFFF0000000000000}) {
    EXPECT_EQ(ParseDoubleBits(DoubleText(bits)), bits);
  }
  for (const std::uint32_t bits :
       {0x00000000u, 0x80000000u, 0x00000001u, 0x007FFFFFu, 0x00800000u, 0x7F7FFFFFu, 0x7F800000u, 0xFF800000u}) {
    EXPECT_EQ(ParseSingleBits(SingleText(bits)), bits);
  }
}

TEST(NumberText, DoublesReadPlainDecimalForms) {
  EXPECT_EQ(ParseDouble("+1.50"), 1.5);
  EXPECT_EQ(ParseDouble(".5"), 0.5);
  EXPECT_EQ(ParseDouble("5."), 5.0);
  EXPECT_EQ(ParseDouble("12E-3"), 0.012);
  EXPECT_EQ(ParseDouble("  7 "), 7.0);
}

TEST(NumberText, TextThatIsNoNumberIsATypeMismatch) {
  for (const char* text : {"", " ", "-", "+", ".", "e5", "1e", "1e+", "1,5", "1.5.1", "0x10", "+-1", "infinity", "Inf",
                           "+inf", "1 2", "\t1"}) {
    EXPECT_EQ(ErrorOf([&] { ParseDouble(text); }), errors::kTypeMismatch) << text;
    EXPECT_EQ(ErrorOf([&] { ParseSingle(text); }), errors::kTypeMismatch) << text;
    EXPECT_EQ(ErrorOf([&] { ParseCurrency(text); }), errors::kTypeMismatch) << text;
    EXPECT_EQ(ErrorOf([&] { ParseInteger(text, kLowest64, kHighest64); }), errors::kTypeMismatch) << text;
    EXPECT_EQ(ErrorOf([&] { ParseRounded(text, kLowest64, kHighest64); }), errors::kTypeMismatch) << text;
  }
}

TEST(NumberText, FloatingPointBeyondTheLargestOverflows) {
  EXPECT_EQ(ErrorOf([] { ParseDouble("1e309"); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseDouble("-1e99999999999999999999"); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseSingle("3.5e38"); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseDouble("1" + std::string(400, '0')); }), errors::kOverflow);
}

TEST(NumberText, FloatingPointTooSmallIsZeroWithItsSign) {
  EXPECT_EQ(ParseDoubleBits("1e-400"), 0u);
  EXPECT_EQ(ParseDoubleBits("-1e-400"), 0x8000000000000000);
  EXPECT_EQ(ParseDoubleBits("0." + std::string(400, '0') + "1"), 0u);
  EXPECT_EQ(ParseSingleBits("1e-60"), 0u);
  EXPECT_EQ(ParseDoubleBits("0e99999999999999999999"), 0u);
}

TEST(NumberText, CurrencyDropsTrailingZerosAndThePointWhenWhole) {
  EXPECT_EQ(TextOfCurrency(-125000), "-12.5");
  EXPECT_EQ(TextOfCurrency(30000), "3");
  EXPECT_EQ(TextOfCurrency(0), "0");
  EXPECT_EQ(TextOfCurrency(1), "0.0001");
  EXPECT_EQ(TextOfCurrency(-1), "-0.0001");
  EXPECT_EQ(TextOfCurrency(100'300), "10.03");
  EXPECT_EQ(TextOfCurrency(kHighest64), "922337203685477.5807");
  EXPECT_EQ(TextOfCurrency(kLowest64), "-922337203685477.5808");
}

TEST(NumberText, FixedCurrencyAlwaysHasFourPlaces) {
  EXPECT_EQ(FixedTextOfCurrency(-125000), "-12.5000");
  EXPECT_EQ(FixedTextOfCurrency(30000), "3.0000");
  EXPECT_EQ(FixedTextOfCurrency(0), "0.0000");
}

TEST(NumberText, CurrencyReadsBackExactlyUpToBothEnds) {
  for (const std::int64_t value : {kLowest64, kLowest64 + 1, kHighest64, kHighest64 - 1, std::int64_t{0},
                                   std::int64_t{-1}, std::int64_t{9999}, std::int64_t{-10000}}) {
    EXPECT_EQ(ParseCurrency(TextOfCurrency(value)), value);
    EXPECT_EQ(ParseCurrency(FixedTextOfCurrency(value)), value);
  }
}

TEST(NumberText, CurrencyRoundsFurtherDecimalsHalfToEven) {
  EXPECT_EQ(ParseCurrency("0.00005"), 0);
  EXPECT_EQ(ParseCurrency("0.00015"), 2);
  EXPECT_EQ(ParseCurrency("0.00025"), 2);
  EXPECT_EQ(ParseCurrency("0.000250000001"), 3);
  EXPECT_EQ(ParseCurrency("-0.00015"), -2);
  EXPECT_EQ(ParseCurrency("0.00004999"), 0);
  EXPECT_EQ(ParseCurrency("9.99996"), 100'000);
}

TEST(NumberText, DecimalPlacesAreThoseThatCount) {
  for (const char* const text :
       {"0", "-0", "0.000", "0e-9", ".0", "12", "12.", "12.000", "1.5e1", "1.50e1", "1e400", "9007199254740993"}) {
    EXPECT_EQ(DecimalPlaces(text), 0) << text;
  }
  EXPECT_EQ(DecimalPlaces("12.500"), 1);
  EXPECT_EQ(DecimalPlaces("-12.50001"), 5);
  EXPECT_EQ(DecimalPlaces("5e-3"), 3);
  EXPECT_EQ(DecimalPlaces("500e-3"), 1);
  EXPECT_EQ(DecimalPlaces("0.05e-1"), 3);
  EXPECT_EQ(DecimalPlaces("1.25e+1"), 1);
  EXPECT_EQ(DecimalPlaces("1e-400"), 400);
  EXPECT_EQ(DecimalPlaces(" .25 "), 2);
  EXPECT_EQ(DecimalPlaces("1e-99999999999999999999"), 1'000'000'000'000);
}

TEST(NumberText, DecimalPlacesAreThoseOfANumber) {
  for (const char* const text : {"", "x", "inf", "nan:7ff8000000000000", "1.5x", "1e"}) {
    EXPECT_EQ(ErrorOf([&] { DecimalPlaces(text); }), errors::kTypeMismatch) << text;
  }
}

TEST(NumberText, CurrencyReadsTheExponentFormOfADouble) {
  EXPECT_EQ(ParseCurrency("1e-05"), 0);
  EXPECT_EQ(ParseCurrency("6e-05"), 1);
  EXPECT_EQ(ParseCurrency("1.5e+3"), 15'000'000);
  EXPECT_EQ(ParseCurrency("0e99999999999999999999"), 0);
  EXPECT_EQ(ParseCurrency("1e-99999999999999999999"), 0);
}

TEST(NumberText, CurrencyBeyondItsRangeOverflows) {
  EXPECT_EQ(ErrorOf([] { ParseCurrency("922337203685477.5808"); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseCurrency("-922337203685477.5809"); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseCurrency("1e15"); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseCurrency("1e99999999999999999999"); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseCurrency("1844674407370955.1616"); }), errors::kOverflow);
}

TEST(NumberText, CurrencyTakesNoInfinityAndNoNotANumber) {
  EXPECT_EQ(ErrorOf([] { ParseCurrency("inf"); }), errors::kTypeMismatch);
  EXPECT_EQ(ErrorOf([] { ParseCurrency("nan:7fc00000"); }), errors::kTypeMismatch);
}

TEST(NumberText, IntegersAreDigitsWithASignWithinTheirRange) {
  EXPECT_EQ(ParseInteger("255", 0, 255), 255);
  EXPECT_EQ(ParseInteger("-32768", -32768, 32767), -32768);
  EXPECT_EQ(ParseInteger(" +7 ", 0, 255), 7);
  EXPECT_EQ(ParseInteger("-9223372036854775808", kLowest64, kHighest64), kLowest64);
  EXPECT_EQ(ErrorOf([] { ParseInteger("256", 0, 255); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseInteger("-1", 0, 255); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseInteger("9223372036854775808", kLowest64, kHighest64); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseInteger("99999999999999999999999", kLowest64, kHighest64); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseInteger("1.0", 0, 255); }), errors::kTypeMismatch);
  EXPECT_EQ(ErrorOf([] { ParseInteger("1e1", 0, 255); }), errors::kTypeMismatch);
}

TEST(NumberText, RoundedIntegersTakeFractionsHalfToEven) {
  EXPECT_EQ(ParseRounded("2.5", -10, 10), 2);
  EXPECT_EQ(ParseRounded("3.5", -10, 10), 4);
  EXPECT_EQ(ParseRounded("-2.51", -10, 10), -3);
  EXPECT_EQ(ParseRounded("0.5", -10, 10), 0);
  EXPECT_EQ(ParseRounded("1e1", -10, 10), 10);
  EXPECT_EQ(ParseRounded("1e-400", -10, 10), 0);
  EXPECT_EQ(ErrorOf([] { ParseRounded("10.5000001", -10, 10); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseRounded("18446744073709551615.9", kLowest64, kHighest64); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseRounded("inf", -10, 10); }), errors::kOverflow);
  EXPECT_EQ(ErrorOf([] { ParseRounded("nan:7fc00000", -10, 10); }), errors::kTypeMismatch);
}

TEST(NumberText, AppendingLeavesWhatTheTextHolds) {
  std::string text = "a";
  AppendInteger(text, 1);
  AppendCurrency(text, 25'000);
  AppendDoubleBits(text, std::bit_cast<std::uint64_t>(0.5));
  EXPECT_EQ(text, "a12.50.5");
}

}  // namespace
}  // namespace mv
