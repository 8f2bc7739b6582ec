#include "check/DataPages.h"

#include <gtest/gtest.h>

#include "support/CheckWorld.h"

namespace mv::check {
namespace {

using mv::testing::CheckWorld;
using mv::testing::FileBytes;
using mv::testing::Lines;

constexpr PageNumber kPage = 1;
constexpr std::uint32_t kOwner = 7;

/// A page with three rows.
class DataPagesTest : public ::testing::Test {
 protected:
  DataPagesTest() { file_.PutDataPage(kPage, kOwner, {Bytes(20, 1), Bytes(30, 2), Bytes(40, 3)}); }

  Lines Check(std::uint32_t owner = kOwner) {
    CheckWorld world(file_);
    world.Context().rows.Add(kPage, owner, {.table = "T"});
    readable_ = world.Context().rows.SlotCount(kPage);
    return world.Take();
  }

  FileBytes file_{std::size_t{2}};
  unsigned readable_ = 0;
};

TEST_F(DataPagesTest, SoundPageCanBeRead) {
  CheckWorld world(file_);
  DataPages& rows = world.Context().rows;
  EXPECT_TRUE(rows.Add(kPage, kOwner, {}));
  EXPECT_EQ(world.Take(), Lines());
  ASSERT_EQ(rows.SlotCount(kPage), 3U);
  EXPECT_EQ(rows.Bytes({kPage, 1}).size(), 30U);
  EXPECT_EQ(rows.Bytes({kPage, 1})[0], 2);
  EXPECT_EQ(rows.StateOf({kPage, 1}), SlotState::Live);
  EXPECT_FALSE(rows.Has({kPage, 3}));
  EXPECT_FALSE(rows.Has({0, 0}));
  EXPECT_FALSE(rows.Has({1000, 0}));
}

TEST_F(DataPagesTest, StatesOfSlots) {
  file_.SetSlotState({kPage, 0}, 0x4000);
  file_.SetSlotState({kPage, 1}, 0x8000);
  file_.SetSlotState({kPage, 2}, 0xC000);
  CheckWorld world(file_);
  DataPages& rows = world.Context().rows;
  rows.Add(kPage, kOwner, {});
  EXPECT_EQ(world.Take(), Lines());
  EXPECT_EQ(rows.StateOf({kPage, 0}), SlotState::Moved);
  EXPECT_EQ(rows.StateOf({kPage, 1}), SlotState::Landing);
  EXPECT_EQ(rows.StateOf({kPage, 2}), SlotState::Dead);
}

TEST_F(DataPagesTest, KindOfThePageIsExact) {
  file_.Byte(kPage, 1) = 0;
  EXPECT_EQ(Check(), Lines{"damage: table T, page 1: the page should be a data page, but begins with 0100"});
  EXPECT_EQ(readable_, 0U);
}

TEST_F(DataPagesTest, OwnerFieldNamesTheOwner) {
  EXPECT_EQ(Check(9), Lines{"damage: table T, page 1: the owner field is 7, not 9"});
  EXPECT_EQ(readable_, 3U);
}

TEST_F(DataPagesTest, WordAt8Is0OnAllButLongValuePages) {
  file_.Set32(kPage, 8, 5);
  EXPECT_EQ(Check(), Lines{"note: table T, page 1: the word at 8 is 5, not 0"});
  file_.Set32(kPage, 4, kLongValueOwner);
  EXPECT_EQ(Check(kLongValueOwner), Lines());
}

TEST_F(DataPagesTest, MoreThan255SlotsCannotBe) {
  file_.PutDataPage(kPage, kOwner, std::vector<Bytes>(255, Bytes(5, 0)));
  EXPECT_EQ(Check(), Lines());
  EXPECT_EQ(readable_, 255U);
  file_.PutDataPage(kPage, kOwner, std::vector<Bytes>(256, Bytes(5, 0)));
  EXPECT_EQ(Check(), Lines{"damage: table T, page 1: the page has 256 slots, at most 255 can be"});
  EXPECT_EQ(readable_, 0U);
}

TEST_F(DataPagesTest, RowThatBeginsBehindTheRowBeforeCannotBeReadNorThoseAfterIt) {
  file_.Set16(kPage, 14 + 2 * 1, 4090);
  EXPECT_EQ(Check(), Lines{"damage: table T, page 1: the row in slot 1 would begin at 4090 and end at 4076"});
  EXPECT_EQ(readable_, 1U);
}

TEST_F(DataPagesTest, RowThatReachesIntoTheSlotsCannotBeRead) {
  file_.Set16(kPage, 14 + 2 * 2, 19);
  EXPECT_EQ(Check(), Lines{"damage: table T, page 1: the row in slot 2 would begin at 19 and end at 4046"});
  EXPECT_EQ(readable_, 2U);
}

TEST_F(DataPagesTest, UnknownFlagOfASlot) {
  file_.Set16(kPage, 14, file_.Word16(kPage, 14) | 0x2000);
  EXPECT_EQ(Check(), Lines{"damage: table T, page 1: slot 0 has an unknown flag"});
}

TEST_F(DataPagesTest, FreeSpaceWordCountsTheFreeBytes) {
  file_.Set16(kPage, 2, 100);
  EXPECT_EQ(Check(), Lines{"damage: table T, page 1: the free-space word is 100, but 3986 bytes are free"});
}

TEST_F(DataPagesTest, EmptyPageIsSound) {
  file_.PutDataPage(kPage, kOwner, {});
  EXPECT_EQ(Check(), Lines());
}

}  // namespace
}  // namespace mv::check
