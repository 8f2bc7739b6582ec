#include "jet/rows/Decimal.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;

std::string RoundTrip(std::string_view text, unsigned precision, unsigned scale) {
  return TextOfDecimal(DecimalFromText(text, precision, scale), scale);
}

TEST(Decimal, MagnitudeCountsUnitsOfTheScale) {
  const Decimal decimal = DecimalFromText("-12.5", 18, 4);
  EXPECT_TRUE(decimal.negative);
  EXPECT_EQ(decimal.magnitude, (std::array<std::uint32_t, 4>{0, 0, 0, 0x1E848}));
  EXPECT_EQ(TextOfDecimal(decimal, 4), "-12.5000");
}

TEST(Decimal, ExtraDecimalsAreCutTowardsZeroNotRounded) {
  EXPECT_EQ(RoundTrip("1.99999", 18, 4), "1.9999");
  EXPECT_EQ(RoundTrip("-1.99999", 18, 4), "-1.9999");
  EXPECT_EQ(RoundTrip("0.00009", 18, 4), "0.0000");
}

TEST(Decimal, ZeroHasNoSign) {
  EXPECT_EQ(DecimalFromText("-0.00", 18, 2), Decimal());
  EXPECT_EQ(RoundTrip("-0.001", 18, 2), "0.00");
  EXPECT_EQ(TextOfDecimal({true, {}}, 0), "0");
}

TEST(Decimal, ScaleZeroHasNoPoint) {
  EXPECT_EQ(RoundTrip("42", 18, 0), "42");
  EXPECT_EQ(RoundTrip("+042.9", 18, 0), "42");
}

TEST(Decimal, ExponentMovesThePoint) {
  EXPECT_EQ(RoundTrip("1e+05", 18, 2), "100000.00");
  EXPECT_EQ(RoundTrip("1.25E-2", 18, 4), "0.0125");
  EXPECT_EQ(RoundTrip("0e300", 18, 4), "0.0000");
  EXPECT_EQ(RoundTrip("5e-300", 18, 4), "0.0000");
}

TEST(Decimal, TwentyEightDigitsFitIn128Bits) {
  const std::string most = "9999999999999999999999999999";
  EXPECT_EQ(RoundTrip(most, 28, 0), most);
  EXPECT_EQ(RoundTrip(".1234567890123456789012345678", 28, 28), "0.1234567890123456789012345678");
}

TEST(Decimal, MoreDigitsThanThePrecisionOverflow) {
  EXPECT_EQ(RoundTrip("99999.9", 6, 1), "99999.9");
  EXPECT_EQ(ErrorNumberOf([] { DecimalFromText("100000", 6, 1); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { DecimalFromText("1e300", 28, 0); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { DecimalFromText("1e2000000000", 28, 0); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { DecimalFromText(std::string(40, '9'), 255, 0); }), errors::kOverflow);
}

TEST(Decimal, OtherTextsAreNoNumbers) {
  for (const char* text :
       {"", "-", ".", "1,5", "1.5.5", " 1", "1 ", "0x10", "nan", "1e", "1e+", "--1", "1e99999999999"}) {
    EXPECT_EQ(ErrorNumberOf([&] { DecimalFromText(text, 18, 4); }), errors::kTypeMismatch) << text;
  }
}

}  // namespace
}  // namespace mv::jet
