#include "check/PageOwners.h"

#include <gtest/gtest.h>

#include "support/CheckWorld.h"

namespace mv::check {
namespace {

using mv::testing::Lines;
using Use = PageOwners::Owner::Use;

class PageOwnersTest : public ::testing::Test {
 protected:
  Lines Take() {
    Report report;
    findings_.MoveInto(report);
    return mv::testing::LinesOf(report);
  }

  Findings findings_;
  PageOwners owners_{8, findings_};
};

TEST_F(PageOwnersTest, PageIsTakenOnce) {
  const PageOwners::Id rows = owners_.Add({Use::Rows, "T"});
  const PageOwners::Id index = owners_.Add({Use::Index, "T", "PrimaryKey"});
  EXPECT_TRUE(owners_.Claim(3, index, {}));
  EXPECT_FALSE(owners_.Claim(3, rows, {.table = "T"}));
  EXPECT_EQ(owners_.OwnerOf(3), index);
  EXPECT_EQ(Take(), Lines{"damage: table T, page 3: the page already belongs to index PrimaryKey of table T"});
}

TEST_F(PageOwnersTest, PageOutsideTheFileCannotBeTaken) {
  EXPECT_FALSE(owners_.Claim(8, owners_.Add({Use::Rows, "T"}), {.table = "T"}));
  EXPECT_EQ(Take(), Lines{"damage: table T: names page 8, but the file has 8 pages"});
}

TEST_F(PageOwnersTest, PageIsOwnedOrFree) {
  const PageOwners::Id memo = owners_.Add({Use::LongValues, "T", "M"});
  for (PageNumber page = 0; page < 4; ++page) owners_.Claim(page, memo, {});
  owners_.CheckFreePages({false, false, false, true, true, true, true, true});
  EXPECT_EQ(Take(), Lines{"damage: page 3: the page is free, but belongs to the long values of column M of table T"});
}

TEST_F(PageOwnersTest, PagesThatAreNeitherOwnedNorFreeAreOneNote) {
  owners_.CheckFreePages({true, true, false, true, false, true, true, true});
  EXPECT_EQ(Take(), Lines{"note: pages that are neither free nor in use: 2, 4"});
}

TEST_F(PageOwnersTest, OfManySuchPagesTheFirstTenAreNamed) {
  PageOwners owners(100, findings_);
  owners.CheckFreePages(std::vector<bool>(100, false));
  EXPECT_EQ(Take(), Lines{"note: pages that are neither free nor in use: 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 and 90 more"});
}

}  // namespace
}  // namespace mv::check
