#include "check/UsageMaps.h"

#include <gtest/gtest.h>

#include "support/CheckWorld.h"

namespace mv::check {
namespace {

using mv::testing::CheckWorld;
using mv::testing::FileBytes;
using mv::testing::Lines;

constexpr PageNumber kMapPage = 2;
constexpr PageNumber kBitPage = 3;
constexpr RowId kMap = {kMapPage, 0};

Bytes InlineMap(std::uint32_t firstPage, std::initializer_list<unsigned> bits, std::size_t size = 69) {
  Bytes row(size, 0);
  StoreLittle(row.data() + 1, firstPage);
  for (const unsigned bit : bits) row[5 + bit / 8] = static_cast<std::uint8_t>(row[5 + bit / 8] | 1U << bit % 8);
  return row;
}

Bytes MapByReference(PageNumber bitPage, std::size_t size = 69) {
  Bytes row(size, 0);
  row[0] = 1;
  StoreLittle(row.data() + 1, bitPage);
  return row;
}

/// Ten pages: 1 for the global maps, 2 for a map, 3 for bits.
class UsageMapsTest : public ::testing::Test {
 protected:
  UsageMapsTest() {
    Bytes free = InlineMap(0, {});
    for (std::size_t page = 10; page < 512; ++page) free[5 + page / 8] |= static_cast<std::uint8_t>(1U << page % 8);
    PutGlobalMaps(free, InlineMap(0, {}));
    PutMap(InlineMap(0, {4, 9}));
    file_.Set16(kBitPage, 0, 0x0105);
    file_.Byte(kBitPage, 4) = 0x20;  // page 5
  }

  void PutGlobalMaps(const Bytes& free, const Bytes& released) {
    file_.PutDataPage(1, kGlobalMapOwner, {free, released});
  }
  void PutMap(const Bytes& row) { file_.PutDataPage(kMapPage, kMapOwner, {row}); }

  Lines Read(RowId where = kMap) {
    CheckWorld world(file_);
    const auto pages = world.Maps().Read(where, {.table = "T"}, "the map");
    isRead_ = pages.has_value();
    pages_ = pages.value_or(std::vector<PageNumber>());
    return world.Take();
  }
  Lines CheckGlobal() {
    CheckWorld world(file_);
    free_ = world.Maps().CheckGlobalMaps();
    return world.Take();
  }

  FileBytes file_{std::size_t{10}};
  bool isRead_ = false;
  std::vector<PageNumber> pages_;
  std::vector<bool> free_;
};

TEST_F(UsageMapsTest, InlineMapIsTheSetOfItsBits) {
  EXPECT_EQ(Read(), Lines());
  EXPECT_EQ(pages_, (std::vector<PageNumber>{4, 9}));
}

TEST_F(UsageMapsTest, InlineMapMayStartAtAMultipleOf8) {
  PutMap(InlineMap(8, {0, 1}));
  EXPECT_EQ(Read(), Lines());
  EXPECT_EQ(pages_, (std::vector<PageNumber>{8, 9}));
  PutMap(InlineMap(4, {0}));
  EXPECT_EQ(Read(), Lines{"note: table T, page 2, row 0: the map starts at page 4, which is no multiple of 8"});
  EXPECT_EQ(pages_, std::vector<PageNumber>{4});
}

TEST_F(UsageMapsTest, MapByReferenceHasItsBitsOnPages) {
  PutMap(MapByReference(kBitPage));
  EXPECT_EQ(Read(), Lines());
  EXPECT_EQ(pages_, (std::vector<PageNumber>{5}));
}

TEST_F(UsageMapsTest, MapByReferenceOfAnotherLengthIsNoted) {
  PutMap(MapByReference(kBitPage, 73));
  EXPECT_EQ(Read(), Lines{"note: table T, page 2, row 0: the map has 73 bytes, not 69"});
}

TEST_F(UsageMapsTest, BitPageOfAnotherKindIsDamage) {
  PutMap(MapByReference(kBitPage));
  file_.Byte(kBitPage, 2) = 1;
  EXPECT_EQ(Read(),
            Lines{"damage: table T, page 3: the map should have its bits on this page, but it begins with 05010100"});
}

TEST_F(UsageMapsTest, BitPageOutsideTheFileIsDamage) {
  PutMap(MapByReference(10));
  EXPECT_EQ(Read(), Lines{"damage: table T, page 2, row 0: names page 10, but the file has 10 pages"});
}

TEST_F(UsageMapsTest, BitPageOfTwoMapsIsDamage) {
  Bytes row = MapByReference(kBitPage);
  StoreLittle(row.data() + 5, kBitPage);
  PutMap(row);
  EXPECT_EQ(Read(), Lines{"damage: table T, page 3: the page already belongs to the bits of a usage map of table T"});
}

TEST_F(UsageMapsTest, UnknownKindOrShortRowCannotBeRead) {
  Bytes row = InlineMap(0, {4});
  row[0] = 2;
  PutMap(row);
  EXPECT_EQ(Read(), Lines{"damage: table T, page 2, row 0: the map is of the unknown kind 2"});
  EXPECT_FALSE(isRead_);
  PutMap(Bytes(4, 0));
  EXPECT_EQ(Read(), Lines{"damage: table T, page 2, row 0: the map has only 4 bytes"});
  EXPECT_FALSE(isRead_);
}

TEST_F(UsageMapsTest, PagesOutsideTheFileAreOneDamage) {
  PutMap(InlineMap(0, {0, 4, 10, 11}));
  EXPECT_EQ(Read(), Lines{"damage: table T, page 2, row 0: the map names 3 pages that are not in the file, 0 first"});
  EXPECT_EQ(pages_, (std::vector<PageNumber>{4}));
}

TEST_F(UsageMapsTest, MapMustBeALiveRowOfAMapPage) {
  EXPECT_EQ(Read({0, 0}), Lines{"damage: table T: the map should be at 0/0, outside the file"});
  EXPECT_EQ(Read({10, 0}), Lines{"damage: table T: the map should be at 10/0, outside the file"});
  EXPECT_EQ(Read({kMapPage, 1}), Lines{"damage: table T: the map should be at 2/1, where no live row is"});
  file_.SetSlotState(kMap, 0x8000);
  EXPECT_EQ(Read(), Lines{"damage: table T: the map should be at 2/0, where no live row is"});
}

TEST_F(UsageMapsTest, PageOfMapsBelongsToMaps) {
  file_.Set32(kMapPage, 4, 17);
  EXPECT_EQ(Read(), Lines{"damage: table T, page 2: the owner field is 17, not 0"});
}

TEST_F(UsageMapsTest, RowIsOneMapOnly) {
  CheckWorld world(file_);
  world.Maps().Read(kMap, {}, "the map");
  EXPECT_FALSE(world.Maps().Read(kMap, {.table = "T"}, "another map").has_value());
  EXPECT_EQ(world.Take(), Lines{"damage: table T: another map is at 2/0, which is another map as well"});
}

TEST_F(UsageMapsTest, GlobalMapsGiveTheFreePages) {
  PutGlobalMaps(InlineMap(0, {7}, 7), InlineMap(0, {}));
  EXPECT_THAT(CheckGlobal(), ::testing::SizeIs(1));
  EXPECT_TRUE(free_[7]);
  EXPECT_FALSE(free_[8]);
}

TEST_F(UsageMapsTest, BitsBehindTheEndOfTheFileAreAllSet) {
  EXPECT_EQ(CheckGlobal(), Lines());
  file_.Byte(1, 0xFBB + 5 + 20) = 0xFE;
  EXPECT_EQ(CheckGlobal(),
            Lines{"note: page 1: the map of free pages lacks pages behind the end of the file, where it could grow"});
}

TEST_F(UsageMapsTest, MapOfFreePagesThatIsTooShortIsNoted) {
  PutGlobalMaps(InlineMap(0, {}, 6), InlineMap(0, {}));
  EXPECT_EQ(CheckGlobal(), Lines{"note: page 1: the map of free pages covers 8 of 10 pages"});
}

TEST_F(UsageMapsTest, ReleasedPagesAreNoted) {
  Bytes free = InlineMap(0, {});
  std::fill(free.begin() + 7, free.end(), std::uint8_t{0xFF});
  free[6] = 0xFC;
  PutGlobalMaps(free, InlineMap(0, {4, 5}));
  EXPECT_EQ(CheckGlobal(), Lines{"note: page 1: the map of released pages holds 2 pages that nobody freed"});
}

TEST(CheckSubset, NamesTheFirstPageOutside) {
  Findings findings;
  CheckSubset({1, 3, 5}, {1, 2, 3, 5}, {}, "the page is lost", findings);
  EXPECT_EQ(findings.Damages(), 0U);
  CheckSubset({1, 4, 5, 9}, {1, 2, 3, 5}, {}, "the page is lost", findings);
  Report report;
  findings.MoveInto(report);
  EXPECT_EQ(mv::testing::LinesOf(report), Lines{"damage: page 4: the page is lost (this page first of 2)"});
}

}  // namespace
}  // namespace mv::check
