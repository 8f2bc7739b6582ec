#include "jet/pages/DataPage.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "base/ByteOrder.h"
#include "support/ExpectError.h"
#include "support/Hex.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::ErrorOf;
using mv::testing::FromHex;
using mv::testing::ToHex;

constexpr PageNumber kNumber = 17;

std::string Part(const Page& page, std::size_t from, std::size_t size) {
  return ToHex(ByteView(page).subspan(from, size));
}

Page PageOfThreeRows() {
  Page page;
  DataPage::Format(page, 3);
  DataPage rows(page, kNumber);
  for (std::uint8_t i = 1; i <= 3; ++i) rows.Append(Bytes(19, i), SlotState::Live);
  return page;
}

TEST(DataPage, NewPageHasNoSlotsAnd4082FreeBytes) {
  Page page;
  page.fill(0xAA);
  DataPage::Format(page, 0x0102);
  EXPECT_EQ(Part(page, 0, 14), "01 01 F2 0F 02 01 00 00 00 00 00 00 00 00");
  EXPECT_EQ(page[kPageSize - 1], 0);
}

TEST(DataPage, LongValuePageIsOwnedByItsFourLetters) {
  Page page;
  DataPage::Format(page, kOwnerLongValues);
  EXPECT_EQ(Part(page, 4, 4), "4C 56 41 4C");
}

TEST(DataPage, GlobalMapPageLooksAsInAFreshDatabase) {
  Page page;
  DataPage::Format(page, kOwnerGlobalMaps);
  DataPage rows(page, 1);
  rows.Append(Bytes(69, 0), SlotState::Live);
  rows.Append(Bytes(69, 0), SlotState::Live);
  EXPECT_EQ(Part(page, 0, 18), "01 01 64 0F 01 00 00 00 00 00 00 00 02 00 BB 0F 76 0F");
}

TEST(DataPage, RowsLieFromTheEndDownwardsInSlotOrder) {
  const Page page = PageOfThreeRows();
  EXPECT_EQ(Part(page, 12, 8), "03 00 ED 0F DA 0F C7 0F");
  const DataPageView rows(page, kNumber);
  EXPECT_EQ(rows.FreeSpace(), 4082U - 3 * 21);
  EXPECT_EQ(rows.Row(1).size(), 19U);
  EXPECT_EQ(rows.Row(1)[0], 2);
}

TEST(DataPage, RemoveFirstOfThreeSqueezesItsBytesOut) {
  Page page = PageOfThreeRows();
  DataPage(page, kNumber).Remove(0);
  EXPECT_EQ(Part(page, 14, 6), "00 D0 ED 0F DA 0F");
  EXPECT_EQ(DataPageView(page, kNumber).Row(1)[0], 2);
  EXPECT_EQ(DataPageView(page, kNumber).Row(2)[18], 3);
}

TEST(DataPage, RemoveMiddleOfThreeGivesItTheOffsetOfTheRowBefore) {
  Page page = PageOfThreeRows();
  DataPage(page, kNumber).Remove(1);
  EXPECT_EQ(Part(page, 14, 6), "ED 0F ED CF DA 0F");
}

TEST(DataPage, RemoveLastOfThreeLeavesTheOthersInPlace) {
  Page page = PageOfThreeRows();
  DataPage(page, kNumber).Remove(2);
  EXPECT_EQ(Part(page, 14, 6), "ED 0F DA 0F DA CF");
}

TEST(DataPage, RemoveAllLeavesEverySlotD000AndTheRestFree) {
  Page page = PageOfThreeRows();
  DataPage rows(page, kNumber);
  for (const std::size_t slot : {1, 0, 2}) rows.Remove(slot);
  EXPECT_EQ(Part(page, 14, 6), "00 D0 00 D0 00 D0");
  EXPECT_EQ(LoadLittle<std::uint16_t>(page.data() + kFreeSpaceOffset), 4082 - 2 * 3);
  EXPECT_TRUE(rows.IsEmpty());
  EXPECT_EQ(std::count(page.begin() + 20, page.end(), 0), static_cast<std::ptrdiff_t>(kPageSize - 20));
}

TEST(DataPage, ReplaceByLongerRowShiftsTheRowsBelow) {
  Page page = PageOfThreeRows();
  DataPage rows(page, kNumber);
  rows.Replace(0, Bytes(25, 9), SlotState::Live);
  EXPECT_EQ(Part(page, 14, 6), "E7 0F D4 0F C1 0F");
  EXPECT_EQ(rows.Row(0)[24], 9);
  EXPECT_EQ(rows.Row(1)[0], 2);
  EXPECT_EQ(rows.Row(2)[18], 3);
}

TEST(DataPage, MovedRowIsAFourByteAddressUnderItsFlag) {
  Page page = PageOfThreeRows();
  DataPage(page, kNumber).Replace(1, FromHex("17 4E 01 00"), SlotState::Moved);
  EXPECT_EQ(Part(page, 14, 6), "ED 0F E9 4F D6 0F");
  EXPECT_EQ(DataPageView(page, kNumber).State(1), SlotState::Moved);
  EXPECT_EQ(RowId::FromWord(LoadLittle<std::uint32_t>(DataPageView(page, kNumber).Row(1).data())), (RowId{334, 23}));
}

TEST(DataPage, DeadRowThatKeptItsBytesStillBoundsItsNeighbour) {
  Page page = PageOfThreeRows();
  StoreLittle<std::uint16_t>(page.data() + 16, 0xCFDA);
  const DataPageView rows(page, kNumber);
  EXPECT_EQ(rows.State(1), SlotState::Dead);
  EXPECT_EQ(rows.Row(2).size(), 19U);
  EXPECT_EQ(rows.FreeSpace(), 4082U - 3 * 21);
}

TEST(DataPage, FullOf255SlotsHasNoRoomWhateverIsLeft) {
  Page page;
  DataPage::Format(page, 3);
  DataPage rows(page, kNumber);
  for (std::size_t i = 0; i < kMaxSlots; ++i) rows.Append(Bytes(5, 1), SlotState::Live);
  EXPECT_GT(rows.FreeSpace(), 1000U);
  EXPECT_FALSE(rows.HasRoomFor(1));
  EXPECT_EQ(ErrorNumberOf([&] { rows.Append(Bytes(1, 1), SlotState::Live); }), errors::kJetGeneral);
}

TEST(DataPage, LastTwoFreeBytesBelongToTheSlot) {
  Page page;
  DataPage::Format(page, 3);
  DataPage rows(page, kNumber);
  EXPECT_TRUE(rows.HasRoomFor(4080));
  EXPECT_FALSE(rows.HasRoomFor(4081));
  rows.Append(Bytes(4080, 7), SlotState::Live);
  EXPECT_EQ(rows.FreeSpace(), 0U);
  EXPECT_TRUE(rows.HasRoomFor(0) == false);
}

TEST(DataPage, FreedPageCanBeReadButNotChanged) {
  Page page = PageOfThreeRows();
  SetKind(page, PageKind::FreedData);
  EXPECT_EQ(DataPageView(page, kNumber).SlotCount(), 3U);
  EXPECT_EQ(ErrorNumberOf([&] { DataPage(page, kNumber); }), errors::kJetGeneral);
}

// Hostile pages. Each names the page in its error.

TEST(HostileDataPage, AnotherKindIsRefusedWithThePageNumber) {
  Page page = PageOfThreeRows();
  SetKind(page, PageKind::IndexLeaf);
  EXPECT_NE(ErrorOf([&] { DataPageView(page, kNumber); }).Description().find("page 17"), std::string::npos);
}

TEST(HostileDataPage, MoreThan255SlotsAreRefused) {
  Page page = PageOfThreeRows();
  StoreLittle<std::uint16_t>(page.data() + kSlotCountOffset, 256);
  EXPECT_EQ(ErrorNumberOf([&] { DataPageView(page, kNumber); }), errors::kJetGeneral);
}

TEST(HostileDataPage, RowsThatReachIntoTheSlotsAreRefused) {
  Page page = PageOfThreeRows();
  StoreLittle<std::uint16_t>(page.data() + 18, 19);
  EXPECT_EQ(ErrorNumberOf([&] { DataPageView(page, kNumber); }), errors::kJetGeneral);
}

TEST(HostileDataPage, RisingOffsetIsRefusedWhenTheRowIsRead) {
  Page page = PageOfThreeRows();
  StoreLittle<std::uint16_t>(page.data() + 16, 0x0FEE);
  EXPECT_EQ(ErrorNumberOf([&] { DataPageView(page, kNumber).Row(1); }), errors::kJetGeneral);
}

TEST(HostileDataPage, OffsetBehindThePageIsRefusedWhenTheRowIsRead) {
  Page page = PageOfThreeRows();
  StoreLittle<std::uint16_t>(page.data() + 14, 0x1FFF);
  EXPECT_EQ(ErrorNumberOf([&] { DataPageView(page, kNumber).Row(0); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { DataPageView(page, kNumber).Row(1); }), errors::kJetGeneral);
}

TEST(HostileDataPage, ChangeAboveRisingOffsetsChangesNothing) {
  Page page = PageOfThreeRows();
  StoreLittle<std::uint16_t>(page.data() + 16, 0x0FEE);
  const Page before = page;
  EXPECT_EQ(ErrorNumberOf([&] { DataPage(page, kNumber).Remove(0); }), errors::kJetGeneral);
  EXPECT_EQ(page, before);
}

TEST(HostileDataPage, SlotThatDoesNotExistIsRefused) {
  const Page page = PageOfThreeRows();
  EXPECT_EQ(ErrorNumberOf([&] { DataPageView(page, kNumber).State(3); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { DataPageView(page, kNumber).Row(255); }), errors::kJetGeneral);
}

TEST(HostileDataPage, RandomBytesAreReadOrRefusedButNeverReadOutside) {
  std::mt19937 random(20261);
  for (int round = 0; round < 20000; ++round) {
    Page page = PageOfThreeRows();
    for (int i = 0; i < 4; ++i) page[12 + random() % 10] = static_cast<std::uint8_t>(random());
    try {
      const DataPageView rows(page, kNumber);
      for (std::size_t slot = 0; slot < rows.SlotCount(); ++slot) {
        const ByteView row = rows.Row(slot);
        EXPECT_LE(row.data() + row.size(), page.data() + page.size());
      }
    } catch (const Error& error) {
      EXPECT_EQ(error.Number(), errors::kJetGeneral);
    }
  }
}

// A page must hold what a plain list of rows would hold after the same changes.

struct ModelRow {
  Bytes bytes;
  SlotState state = SlotState::Live;
};

void ExpectSame(const Page& page, const std::vector<ModelRow>& model) {
  const DataPageView rows(page, kNumber);
  ASSERT_EQ(rows.SlotCount(), model.size());
  std::size_t used = 0;
  for (std::size_t slot = 0; slot < model.size(); ++slot) {
    EXPECT_EQ(rows.State(slot), model[slot].state);
    EXPECT_EQ(ToHex(rows.Row(slot)), ToHex(model[slot].bytes));
    used += model[slot].bytes.size();
  }
  EXPECT_EQ(LoadLittle<std::uint16_t>(page.data() + kFreeSpaceOffset), 4096 - 14 - 2 * model.size() - used);
}

Bytes RandomRow(std::mt19937& random, std::size_t longest) {
  Bytes row(random() % (longest + 1));
  for (std::uint8_t& byte : row) byte = static_cast<std::uint8_t>(random());
  return row;
}

void ChangeRandomly(std::mt19937& random, Page& page, std::vector<ModelRow>& model) {
  DataPage rows(page, kNumber);
  const Bytes bytes = RandomRow(random, 90);
  if (model.empty() || random() % 3 == 0) {
    if (!rows.HasRoomFor(bytes.size())) return;
    EXPECT_EQ(rows.Append(bytes, SlotState::Landing), model.size());
    model.push_back({bytes, SlotState::Landing});
    return;
  }
  const std::size_t slot = random() % model.size();
  if (random() % 3 == 0) {
    rows.Remove(slot);
    model[slot] = {{}, SlotState::Dead};
  } else if (bytes.size() <= rows.FreeSpace() + model[slot].bytes.size()) {
    rows.Replace(slot, bytes, SlotState::Live);
    model[slot] = {bytes, SlotState::Live};
  }
}

TEST(DataPageProperty, RandomChangesMatchAModel) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Page page;
    DataPage::Format(page, 3);
    std::vector<ModelRow> model;
    for (int change = 0; change < 400; ++change) {
      ChangeRandomly(random, page, model);
      ASSERT_NO_FATAL_FAILURE(ExpectSame(page, model));
    }
  }
}

}  // namespace
}  // namespace mv::jet
