#include "base/Ascii.h"

#include <gtest/gtest.h>

#include <string>

namespace mv {
namespace {

TEST(Ascii, PrefixEndsAtTheFirstOtherByteWhereverItStands) {
  for (std::size_t size = 0; size < 40; ++size) {
    const std::string ascii(size, '\x7F');
    EXPECT_EQ(AsciiPrefix(ascii), size);
    EXPECT_TRUE(IsAscii(ascii));
    for (std::size_t place = 0; place < size; ++place) {
      std::string text = ascii;
      text[place] = '\x80';
      EXPECT_EQ(AsciiPrefix(text), place) << "of " << size;
      EXPECT_FALSE(IsAscii(text));
      text.back() = '\xFF';  // a second one changes nothing
      EXPECT_EQ(AsciiPrefix(text), place) << "of " << size;
    }
  }
}

}  // namespace
}  // namespace mv
