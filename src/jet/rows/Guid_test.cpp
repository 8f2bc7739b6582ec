#include "jet/rows/Guid.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/Hex.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::ToHex;

const char* const kText = "{01234567-89AB-CDEF-0123-456789ABCDEF}";

TEST(Guid, BytesStandInPrintedOrder) {
  EXPECT_EQ(ToHex(GuidFromText(kText)), "01 23 45 67 89 AB CD EF 01 23 45 67 89 AB CD EF");
  EXPECT_EQ(TextOfGuid(GuidFromText(kText)), kText);
}

TEST(Guid, LowerCaseDigitsArePrintedInUpperCase) {
  EXPECT_EQ(TextOfGuid(GuidFromText("{01234567-89ab-cdef-0123-456789abcdef}")), kText);
}

TEST(Guid, RowOrderTurnsTheFirstThreeGroups) {
  EXPECT_EQ(ToHex(SwappedGroups(GuidFromText(kText))), "67 45 23 01 AB 89 EF CD 01 23 45 67 89 AB CD EF");
  EXPECT_EQ(SwappedGroups(SwappedGroups(GuidFromText(kText))), GuidFromText(kText));
}

TEST(Guid, OtherTextsAreRefused) {
  for (const char* text : {"", "01234567-89AB-CDEF-0123-456789ABCDEF", "{01234567-89AB-CDEF-0123-456789ABCDEG}",
                           "{01234567+89AB-CDEF-0123-456789ABCDEF}", "{01234567-89AB-CDEF-0123-456789ABCDEF} "}) {
    EXPECT_EQ(ErrorNumberOf([&] { GuidFromText(text); }), errors::kTypeMismatch) << text;
  }
}

}  // namespace
}  // namespace mv::jet
