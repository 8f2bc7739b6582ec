#include "check/StoredText.h"

#include <gtest/gtest.h>

namespace mv::check {
namespace {

TEST(StoredText, PlainIsUtf16) {
  std::u16string units;
  EXPECT_TRUE(DecodeStoredText(Bytes{'a', 0, 0x2D, 0x4E}, units));
  EXPECT_EQ(units, u"a\u4E2D");
  EXPECT_TRUE(DecodeStoredText({}, units));
  EXPECT_EQ(units, u"");
}

TEST(StoredText, CompressedChangesBetweenNarrowAndWide) {
  std::u16string units;
  EXPECT_TRUE(DecodeStoredText(Bytes{0xFF, 0xFE, 'c', 0xE9, 0, 0x2D, 0x4E, 0, 'x'}, units));
  EXPECT_EQ(units, u"c\u00E9\u4E2Dx");
}

TEST(StoredText, EndingWithinACharacterIsWrong) {
  std::u16string units;
  EXPECT_FALSE(DecodeStoredText(Bytes{'a', 0, 'b'}, units));
  EXPECT_FALSE(DecodeStoredText(Bytes{0xFF, 0xFE, 'c', 0, 0x2D}, units));
}

}  // namespace
}  // namespace mv::check
