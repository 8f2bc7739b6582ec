#include "check/IndexPage.h"

#include <gtest/gtest.h>

#include "support/CheckWorld.h"
#include "support/Hex.h"

namespace mv::check {
namespace {

using mv::testing::FileBytes;
using mv::testing::FromHex;

/// A page with these entries as they are stored.
class IndexPageTest : public ::testing::Test {
 protected:
  std::string Read(const std::vector<std::string>& entries, std::uint16_t prefix = 0, std::uint16_t kind = kIndexLeaf) {
    file_.Set16(0, 0, kind);
    file_.Set16(0, 0x18, prefix);
    std::size_t end = 0;
    for (const std::string& hex : entries) {
      const Bytes bytes = FromHex(hex);
      std::copy(bytes.begin(), bytes.end(), file_.Page(0) + 0x1E0 + end);
      end += bytes.size();
      Mark(end);
    }
    return std::string(page_.Read(View()));
  }
  void Mark(std::size_t end) {
    file_.Byte(0, 0x1B + end / 8) = static_cast<std::uint8_t>(file_.Byte(0, 0x1B + end / 8) | 1U << end % 8);
  }
  PageView View() { return PageView(file_.Page(0), kPageSize); }

  FileBytes file_{std::size_t{1}};
  IndexPage page_;
};

TEST_F(IndexPageTest, LeafWithPrefixGivesWholeEntries) {
  ASSERT_EQ(Read({"7F 80 00 00 01 00 00 F7 63", "01 00 00 F7 7B", "01 00 00 F8 21"}, 4), "");
  ASSERT_EQ(page_.Count(), 3U);
  EXPECT_EQ(page_.At(0).Copy(), FromHex("7F 80 00 00 01 00 00 F7 63"));
  EXPECT_EQ(page_.At(2).Copy(), FromHex("7F 80 00 00 01 00 00 F8 21"));
  EXPECT_EQ(AddressOf(page_.At(2)), (RowId{0xF8, 0x21}));
  EXPECT_EQ(page_.Room(), 3616U - 19U);
}

TEST_F(IndexPageTest, PrefixThatReachesIntoTheAddress) {
  ASSERT_EQ(Read({"7F 01 00 00 01 62", "63"}, 5), "");
  EXPECT_EQ(AddressOf(page_.At(1)), (RowId{1, 0x63}));
  EXPECT_TRUE(page_.At(1).Without(kAddressSize).Equals(FromHex("7F 01")));
}

TEST_F(IndexPageTest, EntriesCompareAsByteStrings) {
  ASSERT_EQ(Read({"7F 01 02 00 00 01 01", "03 00 00 01 01", "03 00 00 01 01 05"}, 2), "");
  EXPECT_LT(Compare(page_.At(0), page_.At(1)), 0);
  EXPECT_GT(Compare(page_.At(1), page_.At(0)), 0);
  EXPECT_LT(Compare(page_.At(1), page_.At(2)), 0);
  EXPECT_EQ(Compare(page_.At(1), page_.At(1)), 0);
  const Bytes whole = FromHex("7F 01 03 00 00 01 01");
  EXPECT_EQ(Compare(page_.At(1), Entry{{}, whole}), 0);
  EXPECT_EQ(Compare(page_.At(0).Without(5), page_.At(1).Without(5)), 0);
}

TEST_F(IndexPageTest, MarkBehindThePage) {
  Mark(3617);
  EXPECT_EQ(Read({"7F 01 00 00 01 62"}), "an entry would end behind the page");
}

TEST_F(IndexPageTest, PrefixLongerThanTheFirstEntry) {
  EXPECT_EQ(Read({"7F 01 00 00 01 62"}, 7), "the prefix is longer than the first entry");
}

TEST_F(IndexPageTest, EntryTooShort) {
  EXPECT_EQ(Read({"00 00 01 62"}), "an entry is too short for a key and an address");
  EXPECT_EQ(Read({}, 0, kIndexNode), "an entry is too short for a key and an address");
}

TEST_F(IndexPageTest, EmptyPageHasAllItsRoom) {
  EXPECT_EQ(Read({}), "");
  EXPECT_EQ(page_.Count(), 0U);
  EXPECT_EQ(page_.Room(), 3616U);
}

}  // namespace
}  // namespace mv::check
