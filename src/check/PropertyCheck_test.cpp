#include "check/PropertyCheck.h"

#include <gtest/gtest.h>

#include "support/CheckWorld.h"
#include "support/Hex.h"

namespace mv::check {
namespace {

using mv::testing::Lines;

using Strings = std::vector<std::string>;

/// A list that says: column "name" is required, "id" is not.
class PropertyCheckTest : public ::testing::Test {
 protected:
  static constexpr std::size_t kNamesBlock = 4;
  static constexpr std::size_t kFirstOwner = kNamesBlock + 24;
  static constexpr std::size_t kFirstEntry = kFirstOwner + 6 + 14;

  Lines Check() {
    Findings findings;
    required_ = CheckProperties(list_, {.table = "T"}, findings);
    Report report;
    findings.MoveInto(report);
    return mv::testing::LinesOf(report);
  }

  Bytes list_ = mv::testing::FromHex(
      "4D 52 32 00"
      "18 00 00 00 80 00  10 00 52 00 65 00 71 00 75 00 69 00 72 00 65 00 64 00"
      "1D 00 00 00 01 00  0E 00 00 00 08 00 6E 00 61 00 6D 00 65 00  09 00 01 01 00 00 01 00 01"
      "19 00 00 00 01 00  0A 00 00 00 04 00 69 00 64 00              09 00 01 01 00 00 01 00 00");
  Strings required_;
};

TEST_F(PropertyCheckTest, SoundListSaysWhichColumnsAreRequired) {
  EXPECT_EQ(Check(), Lines());
  EXPECT_EQ(required_, Strings{"name"});
}

TEST_F(PropertyCheckTest, ListWithoutPropertiesIsSound) {
  list_.resize(4);
  EXPECT_EQ(Check(), Lines());
}

TEST_F(PropertyCheckTest, OtherMark) {
  list_[0] = 'K';
  EXPECT_EQ(Check(), Lines{"damage: table T: the property list does not begin with MR2"});
}

TEST_F(PropertyCheckTest, EndWithinABlock) {
  list_.resize(list_.size() + 3);
  EXPECT_EQ(Check(), Lines{"damage: table T: the property list ends within a block"});
}

TEST_F(PropertyCheckTest, SizeOfABlock) {
  list_[kFirstOwner + 1] = 1;
  EXPECT_EQ(Check(), Lines{"damage: table T: a block of the property list is too long or too short"});
  list_[kFirstOwner + 1] = 0;
  list_[kFirstOwner] = 5;
  EXPECT_EQ(Check(), Lines{"damage: table T: a block of the property list is too long or too short"});
}

TEST_F(PropertyCheckTest, NamesComeFirstAndOnce) {
  list_[kFirstOwner + 4] = 0x80;
  EXPECT_EQ(Check(), Lines{"damage: table T: the property list has no block of names, or more than one"});
  list_[kFirstOwner + 4] = 1;
  list_[kNamesBlock + 4] = 1;
  EXPECT_EQ(Check(), Lines{"damage: table T: the property list has no block of names, or more than one"});
}

TEST_F(PropertyCheckTest, KindOfABlock) {
  list_[kFirstOwner + 4] = 7;
  EXPECT_EQ(Check(), Lines{"damage: table T: a block of the property list is of an unknown kind"});
}

TEST_F(PropertyCheckTest, NameBeyondItsBlock) {
  list_[kNamesBlock + 6] = 0x12;
  EXPECT_EQ(Check(), Lines{"damage: table T: a property's name does not fit into its block"});
}

TEST_F(PropertyCheckTest, OwnersName) {
  list_[kFirstOwner + 6] = 0x0D;
  EXPECT_EQ(Check(), Lines{"damage: table T: the name of a property's owner does not fit"});
}

TEST_F(PropertyCheckTest, BlockWithoutOwner) {
  list_.resize(kFirstOwner);
  const Bytes block = {0x0A, 0, 0, 0, 1, 0, 0, 0, 0, 0};
  list_.insert(list_.end(), block.begin(), block.end());
  EXPECT_EQ(Check(), Lines{"damage: table T: a block of the property list is too short for its owner"});
}

TEST_F(PropertyCheckTest, SizeOfAnEntry) {
  list_[kFirstEntry] = 10;
  EXPECT_EQ(Check(), Lines{"damage: table T: a property does not fit into its block"});
  list_[kFirstEntry] = 7;
  EXPECT_EQ(Check(), Lines{"damage: table T: a property does not fit into its block"});
}

TEST_F(PropertyCheckTest, NameNumberOfAnEntry) {
  list_[kFirstEntry + 4] = 1;
  EXPECT_EQ(Check(), Lines{"damage: table T: a property has a name that is not listed"});
}

TEST_F(PropertyCheckTest, ValueOfAnEntry) {
  list_[kFirstEntry + 6] = 2;
  EXPECT_EQ(Check(), Lines{"damage: table T: a property's value does not fit"});
}

TEST_F(PropertyCheckTest, EveryCutListIsWrongOrEndsBetweenBlocks) {
  const Bytes whole = list_;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    list_.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const bool betweenBlocks = size == kNamesBlock || size == kFirstOwner || size == kFirstOwner + 29;
    EXPECT_EQ(Check().empty(), betweenBlocks) << size;
  }
}

}  // namespace
}  // namespace mv::check
