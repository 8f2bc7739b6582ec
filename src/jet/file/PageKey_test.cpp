#include "jet/file/PageKey.h"

#include <gtest/gtest.h>

#include "support/EncodedDatabase.h"
#include "support/Hex.h"

namespace mv::jet {
namespace {

using testing::ToHex;

constexpr std::uint32_t kKey = 0x12345678;

Bytes Coded(std::uint32_t key, PageNumber first, std::size_t pages) {
  Bytes bytes(pages * kPageSize);
  ApplyPageKey(key, first, bytes);
  return bytes;
}

TEST(ApplyPageKey, PageIsHiddenUnderTheStreamOfTheKeyXorItsNumber) {
  const Bytes page = Coded(kKey, 1, 1);  // zeros, so the bytes are the stream of 79 56 34 12
  EXPECT_EQ(ToHex(ByteView(page).first(16)), "38 8E 77 B0 81 B2 FC 29 D9 8A 1D 8C 6D 41 06 BD");
  EXPECT_EQ(ToHex(ByteView(page).last(8)), "3C FD 28 6E 0E 84 EE C2");
}

TEST(ApplyPageKey, EachPageHasAStreamOfItsOwn) {
  const Bytes pages = Coded(kKey, 1, 2);
  EXPECT_EQ(ToHex(ByteView(pages).subspan(kPageSize, 16)), "49 C3 E9 21 D2 CA 23 06 99 9E 17 7E 0B 9E 37 AD");
  const Bytes file = testing::WithKeyedPages(Bytes(3 * kPageSize), kKey);
  EXPECT_EQ(pages, Bytes(file.begin() + kPageSize, file.end()));
}

TEST(ApplyPageKey, KeyThatIsThePagesNumberIsAStreamLikeAnyOther) {
  const Bytes page = Coded(kKey, kKey, 1);
  EXPECT_EQ(ToHex(ByteView(page).first(16)), "DE 18 89 41 A3 37 5D 3A 8A 06 1E 67 57 6E 92 6D");
}

TEST(ApplyPageKey, HeaderPageStaysAsItIs) {
  const Bytes pages = Coded(kKey, 0, 2);
  EXPECT_EQ(Bytes(pages.begin(), pages.begin() + kPageSize), Bytes(kPageSize));
  EXPECT_EQ(Bytes(pages.begin() + kPageSize, pages.end()), Coded(kKey, 1, 1));
}

TEST(ApplyPageKey, NoKeyMeansPlainPages) {
  EXPECT_EQ(Coded(0, 0, 3), Bytes(3 * kPageSize));
}

TEST(ApplyPageKey, OnceMoreUndoesIt) {
  Bytes pages = Coded(kKey, 5, 3);
  EXPECT_NE(pages, Bytes(3 * kPageSize));
  ApplyPageKey(kKey, 5, pages);
  EXPECT_EQ(pages, Bytes(3 * kPageSize));
}

}  // namespace
}  // namespace mv::jet
