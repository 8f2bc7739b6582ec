#include "jet/pages/UsageMap.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "base/ByteOrder.h"
#include "jet/pages/DataPage.h"
#include "support/ExpectError.h"
#include "support/Hex.h"
#include "support/JetStorage.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::ErrorOf;
using mv::testing::JetStorage;
using mv::testing::ToHex;

std::string RowStart(PageFile& file, RowId row, std::size_t size) {
  return ToHex(DataPageView(file, row.page).Row(row.slot).first(size));
}

std::size_t RowLength(PageFile& file, RowId row) {
  return DataPageView(file, row.page).Row(row.slot).size();
}

TEST(UsageMap, InlineMapSetsTheLowestBitOfTheFirstByteForItsFirstPage) {
  JetStorage storage(20);
  FreePages freePages(storage.File());
  const RowId where = storage.AddMap();
  UsageMap map(storage.File(), where);
  map.Add(0, freePages);
  map.Add(9, freePages);
  map.Add(511, freePages);
  EXPECT_EQ(RowStart(storage.File(), where, 7), "00 00 00 00 00 01 02");
  EXPECT_EQ(DataPageView(storage.File(), where.page).Row(where.slot).back(), 0x80);
  EXPECT_EQ(map.Pages(), (std::vector<PageNumber>{0, 9, 511}));
}

TEST(UsageMap, PageThatIsNotCoveredMovesTheStartDownToAMultipleOfEight) {
  JetStorage storage(20);
  FreePages freePages(storage.File());
  const RowId where = storage.AddMap();
  UsageMap map(storage.File(), where);
  map.Add(743, freePages);
  map.Add(1200, freePages);
  EXPECT_EQ(RowStart(storage.File(), where, 6), "00 E0 02 00 00 80");  // 736, bit 7
  EXPECT_EQ(map.Pages(), (std::vector<PageNumber>{743, 1200}));
  map.Add(740, freePages);
  EXPECT_EQ(RowStart(storage.File(), where, 6), "00 E0 02 00 00 90");
}

TEST(UsageMap, LowerPageMovesTheStartDownAndKeepsTheOthers) {
  JetStorage storage(20);
  FreePages freePages(storage.File());
  UsageMap map(storage.File(), storage.AddMap());
  map.Add(1000, freePages);
  map.Add(800, freePages);
  EXPECT_EQ(map.Pages(), (std::vector<PageNumber>{800, 1000}));
}

TEST(UsageMap, PagesFartherApartThan512BecomeReferencesToBitPages) {
  JetStorage storage(20);
  FreePages freePages(storage.File());
  const RowId where = storage.AddMap();
  UsageMap map(storage.File(), where);
  map.Add(3, freePages);
  map.Add(515, freePages);
  EXPECT_EQ(RowLength(storage.File(), where), 69U);
  EXPECT_EQ(RowStart(storage.File(), where, 9), "01 15 00 00 00 00 00 00 00");  // bit page 21
  EXPECT_EQ(ToHex(ByteView(storage.File().Read(21)).first(5)), "05 01 00 00 08");
  EXPECT_EQ(map.Pages(), (std::vector<PageNumber>{3, 515}));
  EXPECT_FALSE(UsageMap(storage.File(), {1, 0}).Contains(21));
}

TEST(UsageMap, PageBehindTheFirstBitPageGetsABitPageOfItsRange) {
  JetStorage storage(20);
  FreePages freePages(storage.File());
  const RowId where = storage.AddMap();
  UsageMap map(storage.File(), where);
  map.Add(3, freePages);
  map.Add(32735, freePages);
  map.Add(2 * 32736, freePages);
  EXPECT_EQ(RowStart(storage.File(), where, 13), "01 15 00 00 00 00 00 00 00 16 00 00 00");
  EXPECT_EQ(map.Pages(), (std::vector<PageNumber>{3, 32735, 65472}));
}

TEST(UsageMap, LongInlineMapShrinksTo69BytesWhenItBecomesReferences) {
  JetStorage storage(20);
  FreePages freePages(storage.File());
  const RowId where = storage.AddMap();
  DataPage(storage.File(), where.page).Resize(where.slot, 109);
  UsageMap map(storage.File(), where);
  map.Add(0, freePages);
  map.Add(831, freePages);
  EXPECT_EQ(RowLength(storage.File(), where), 109U);
  map.Add(832, freePages);
  EXPECT_EQ(RowLength(storage.File(), where), 69U);
  EXPECT_EQ(map.Pages(), (std::vector<PageNumber>{0, 831, 832}));
}

TEST(UsageMap, RemovedPageIsGoneAndRemovingAgainIsNoChange) {
  JetStorage storage(20);
  FreePages freePages(storage.File());
  UsageMap map(storage.File(), storage.AddMap());
  map.Add(7, freePages);
  map.Remove(7);
  map.Remove(7);
  map.Remove(99999);
  EXPECT_TRUE(map.Pages().empty());
}

TEST(UsageMap, SearchesFindNeighboursInEitherDirection) {
  JetStorage storage(20);
  FreePages freePages(storage.File());
  UsageMap map(storage.File(), storage.AddMap());
  EXPECT_EQ(map.Lowest(), std::nullopt);
  EXPECT_EQ(map.Highest(), std::nullopt);
  for (const PageNumber page : {63U, 64U, 200U, 40000U}) map.Add(page, freePages);
  EXPECT_EQ(map.Lowest(), 63U);
  EXPECT_EQ(map.Highest(), 40000U);
  EXPECT_EQ(map.LowestFrom(63), 63U);
  EXPECT_EQ(map.LowestFrom(65), 200U);
  EXPECT_EQ(map.LowestFrom(201), 40000U);
  EXPECT_EQ(map.LowestFrom(40001), std::nullopt);
  EXPECT_EQ(map.HighestBelow(40000), 200U);
  EXPECT_EQ(map.HighestBelow(64), 63U);
  EXPECT_EQ(map.HighestBelow(63), std::nullopt);
  EXPECT_EQ(map.HighestBelow(0), std::nullopt);
}

TEST(UsageMap, ChangesOnABitPageAreUndoneByRollback) {
  JetStorage storage(20);
  FreePages freePages(storage.File());
  UsageMap map(storage.File(), storage.AddMap());
  map.Add(3, freePages);
  const PageNumber count = storage.File().PageCount();
  storage.File().Begin();
  map.Add(9000, freePages);
  storage.File().Rollback();
  EXPECT_EQ(map.Pages(), (std::vector<PageNumber>{3}));
  EXPECT_EQ(storage.File().PageCount(), count);
}

TEST(UsageMapProperty, RandomChangesMatchASet) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    JetStorage storage(20);
    FreePages freePages(storage.File());
    UsageMap map(storage.File(), storage.AddMap());
    std::set<PageNumber> model;
    const PageNumber spread = seed % 3 == 0 ? 100000 : seed % 3 == 1 ? 700 : 300;
    for (int change = 0; change < 300; ++change) {
      const auto page = static_cast<PageNumber>(5000 + random() % spread);
      if (random() % 3 == 0) {
        map.Remove(page);
        model.erase(page);
      } else {
        map.Add(page, freePages);
        model.insert(page);
      }
      const auto probe = static_cast<PageNumber>(5000 + random() % spread);
      ASSERT_EQ(map.Contains(probe), model.contains(probe));
      const auto next = model.lower_bound(probe);
      ASSERT_EQ(map.LowestFrom(probe), next == model.end() ? std::nullopt : std::optional(*next));
      ASSERT_EQ(map.HighestBelow(probe), next == model.begin() ? std::nullopt : std::optional(*std::prev(next)));
    }
    EXPECT_EQ(map.Pages(), std::vector<PageNumber>(model.begin(), model.end()));
  }
}

// Hostile maps.

RowId MapOf(JetStorage& storage, const Bytes& bytes) {
  const RowId where = storage.AddMap();
  DataPage(storage.File(), where.page).Replace(where.slot, bytes, SlotState::Live);
  return where;
}

TEST(HostileUsageMap, OfUnknownKindOrTooShortOrDeadIsRefused) {
  JetStorage storage(20);
  for (const Bytes& bytes : {Bytes(69, 2), Bytes(4, 0), Bytes()}) {
    const UsageMap map(storage.File(), MapOf(storage, bytes));
    EXPECT_EQ(ErrorNumberOf([&] { map.Contains(1); }), errors::kJetGeneral);
  }
  const RowId dead = storage.AddMap();
  DataPage(storage.File(), dead.page).Remove(dead.slot);
  EXPECT_EQ(ErrorNumberOf([&] { UsageMap(storage.File(), dead).Pages(); }), errors::kJetGeneral);
}

TEST(HostileUsageMap, StartOutsideTheFormatIsRefused) {
  JetStorage storage(20);
  Bytes bytes(69, 0xFF);
  bytes[0] = 0;
  const UsageMap map(storage.File(), MapOf(storage, bytes));
  EXPECT_NE(ErrorOf([&] { map.Pages(); }).Description().find("page map 20/0"), std::string::npos);
}

TEST(HostileUsageMap, ReferenceToAnythingButABitPageIsRefused) {
  JetStorage storage(20);
  Bytes bytes(69, 0);
  bytes[0] = 1;
  bytes[1] = 1;
  EXPECT_EQ(ErrorNumberOf([&] { UsageMap(storage.File(), MapOf(storage, bytes)).Pages(); }), errors::kJetGeneral);
  StoreLittle<std::uint32_t>(bytes.data() + 1, 0xFFFFFFFF);
  EXPECT_EQ(ErrorNumberOf([&] { UsageMap(storage.File(), MapOf(storage, bytes)).Pages(); }), errors::kJetGeneral);
}

TEST(HostileUsageMap, AddressOfNoRowIsRefused) {
  JetStorage storage(20);
  EXPECT_EQ(ErrorNumberOf([&] { UsageMap(storage.File(), {1, 2}).Pages(); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { UsageMap(storage.File(), {77, 0}).Pages(); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { UsageMap(storage.File(), {5, 0}).Pages(); }), errors::kJetGeneral);
}

// Free pages.

TEST(FreePages, WithoutFreePagesTheFileGrowsByThePageBehindItsEnd) {
  JetStorage storage(16);
  FreePages freePages(storage.File());
  EXPECT_EQ(freePages.Allocate(), 16U);
  EXPECT_EQ(freePages.Allocate(), 17U);
  EXPECT_EQ(storage.File().PageCount(), 18U);
  EXPECT_EQ(RowStart(storage.File(), {1, 0}, 9), "00 00 00 00 00 00 00 FC FF");
}

TEST(FreePages, FreedPageIsMarkedAndTakenAgainFirstWithZeros) {
  JetStorage storage(16);
  FreePages freePages(storage.File());
  DataPage::Format(storage.File().Write(9), 3);
  freePages.Free(9);
  freePages.Free(12);
  EXPECT_EQ(ToHex(ByteView(storage.File().Read(9)).first(2)), "09 01");
  EXPECT_EQ(freePages.Allocate(), 9U);
  EXPECT_EQ(storage.File().Read(9), Page{});
  EXPECT_EQ(freePages.Allocate(), 12U);
  EXPECT_EQ(freePages.Allocate(), 16U);
}

TEST(FreePages, FreedIndexPageKeepsItsKind) {
  JetStorage storage(16);
  FreePages freePages(storage.File());
  SetKind(storage.File().Write(9), PageKind::IndexLeaf);
  freePages.Free(9);
  EXPECT_EQ(KindOf(storage.File().Read(9)), PageKind::IndexLeaf);
}

TEST(FreePages, ReleasedPageIsNotTaken) {
  JetStorage storage(16);
  FreePages freePages(storage.File());
  freePages.Free(9);
  freePages.Free(11);
  UsageMap(storage.File(), {1, 1}).Add(9, freePages);
  EXPECT_EQ(freePages.Allocate(), 11U);
  EXPECT_EQ(freePages.Allocate(), 16U);
}

TEST(FreePages, ClearBitBehindTheEndLeavesNoHole) {
  JetStorage storage(16);
  FreePages freePages(storage.File());
  UsageMap(storage.File(), {1, 0}).Remove(16);
  EXPECT_EQ(freePages.Allocate(), 16U);
  EXPECT_EQ(freePages.Allocate(), 17U);
}

TEST(FreePages, FreeingTwiceOrOutsideTheFileIsRefused) {
  JetStorage storage(16);
  FreePages freePages(storage.File());
  freePages.Free(9);
  EXPECT_EQ(ErrorNumberOf([&] { freePages.Free(9); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { freePages.Free(16); }), errors::kJetGeneral);
}

TEST(FreePages, MapThatCallsTheHeaderFreeIsRefused) {
  JetStorage storage(16);
  FreePages freePages(storage.File());
  UsageMap(storage.File(), {1, 0}).Add(1, freePages);
  EXPECT_EQ(ErrorNumberOf([&] { freePages.Allocate(); }), errors::kJetGeneral);
}

TEST(FreePages, BehindPage512TheMapGrowsInPlaceAndItsNeighbourMovesDown) {
  JetStorage storage(512);
  FreePages freePages(storage.File());
  UsageMap(storage.File(), {1, 1}).Add(5, freePages);
  EXPECT_EQ(freePages.Allocate(), 512U);
  EXPECT_EQ(RowLength(storage.File(), {1, 0}), 73U);
  EXPECT_EQ(RowLength(storage.File(), {1, 1}), 69U);
  EXPECT_TRUE(UsageMap(storage.File(), {1, 1}).Contains(5));
  const ByteView row = DataPageView(storage.File(), 1).Row(0);
  EXPECT_EQ(ToHex(row.subspan(69)), "FE FF FF FF");
}

TEST(FreePages, MapOf743PagesHas101BytesAndOf836Pages113) {
  JetStorage storage(512);
  FreePages freePages(storage.File());
  while (storage.File().PageCount() < 743) freePages.Allocate();
  EXPECT_EQ(RowLength(storage.File(), {1, 0}), 101U);
  while (storage.File().PageCount() < 836) freePages.Allocate();
  EXPECT_EQ(RowLength(storage.File(), {1, 0}), 113U);
}

TEST(FreePages, FileLongerThanItsMapDoesNotTakeThePagesOutsideForFree) {
  JetStorage storage(600);
  FreePages freePages(storage.File());
  EXPECT_EQ(freePages.Allocate(), 600U);
  EXPECT_EQ(freePages.Allocate(), 601U);
}

TEST(FreePages, FreedPageBehindTheMapLengthensItAndIsTakenAgain) {
  JetStorage storage(900);
  PageFile& file = storage.File();
  FreePages freePages(file);
  freePages.Free(600);
  EXPECT_EQ(RowLength(file, {1, 0}), 81U);  // up to page 607
  EXPECT_EQ(UsageMap(file, {1, 0}).Pages(), std::vector<PageNumber>{600});
  freePages.Free(899);
  EXPECT_EQ(RowLength(file, {1, 0}), 121U);
  EXPECT_EQ(UsageMap(file, {1, 0}).LowestFrom(601), 899U);
  EXPECT_EQ(freePages.Allocate(), 600U);
  EXPECT_EQ(freePages.Allocate(), 899U);
  EXPECT_EQ(freePages.Allocate(), 900U);
}

/// A file of `pages` pages whose map of free pages is as long as in a file that has grown so far.
void GrowTo(JetStorage& storage, PageNumber pages) {
  FreePages freePages(storage.File());
  while (storage.File().PageCount() < pages) freePages.Allocate();
}

TEST(FreePages, Behind32000PagesTheMapTurnsIntoBitPagesThatBeginAsFree) {
  JetStorage storage(512);
  GrowTo(storage, 32000);
  PageFile& file = storage.File();
  FreePages freePages(file);
  EXPECT_EQ(RowLength(file, {1, 0}), 4005U);
  freePages.Free(77);
  freePages.Free(31999);
  EXPECT_EQ(freePages.Allocate(), 77U);
  EXPECT_EQ(freePages.Allocate(), 31999U);
  freePages.Free(78);
  EXPECT_EQ(freePages.Allocate(), 78U);

  EXPECT_EQ(freePages.Allocate(), 32001U);
  EXPECT_EQ(RowLength(file, {1, 0}), 69U);
  EXPECT_EQ(RowStart(file, {1, 0}, 9), "01 00 7D 00 00 00 00 00 00");  // bit page 32000
  EXPECT_EQ(RowLength(file, {1, 1}), 69U);
  EXPECT_EQ(file.PageCount(), 32002U);
  EXPECT_EQ(UsageMap(file, {1, 0}).Lowest(), 32002U);
  EXPECT_EQ(UsageMap(file, {1, 0}).Highest(), 32735U);
}

TEST(FreePages, Behind32736PagesTheNextBitPageIsTheNextPage) {
  JetStorage storage(512);
  GrowTo(storage, 32736);
  PageFile& file = storage.File();
  FreePages freePages(file);
  EXPECT_EQ(freePages.Allocate(), 32737U);
  EXPECT_EQ(RowStart(file, {1, 0}, 9), "01 00 7D 00 00 E0 7F 00 00");  // bit pages 32000 and 32736
  EXPECT_FALSE(UsageMap(file, {1, 0}).Contains(32736));
  EXPECT_EQ(UsageMap(file, {1, 0}).Lowest(), 32738U);
  freePages.Free(100);
  EXPECT_EQ(freePages.Allocate(), 100U);
}

TEST(FreePages, FreedPageOfARangeWithoutABitPageGetsOne) {
  JetStorage storage(512);
  GrowTo(storage, 32740);
  PageFile& file = storage.File();
  StoreLittle<std::uint32_t>(DataPage(file, 1).MutableRow(0).data() + 5, 0);  // the reference of range 1
  FreePages freePages(file);
  freePages.Free(32738);
  EXPECT_EQ(file.PageCount(), 32741U);
  EXPECT_EQ(UsageMap(file, {1, 0}).LowestFrom(32736), 32738U);
  EXPECT_EQ(UsageMap(file, {1, 0}).LowestFrom(32739), 32741U);
}

TEST(FreePagesProperty, RandomAllocationsAndReleasesNeverGiveAPageTwice) {
  for (unsigned seed = 1; seed <= 10; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    JetStorage storage(500);
    FreePages freePages(storage.File());
    std::set<PageNumber> mine;
    std::set<PageNumber> freed;
    for (int step = 0; step < 600; ++step) {
      if (mine.empty() || random() % 5 < 3) {
        const PageNumber page = freePages.Allocate();
        ASSERT_EQ(page, freed.empty() ? storage.File().PageCount() - 1 : *freed.begin());
        freed.erase(page);
        ASSERT_TRUE(mine.insert(page).second);
        ASSERT_GE(page, 500U);
      } else {
        const auto victim = std::next(mine.begin(), static_cast<std::ptrdiff_t>(random() % mine.size()));
        freePages.Free(*victim);
        freed.insert(*victim);
        mine.erase(victim);
      }
    }
  }
}

}  // namespace
}  // namespace mv::jet
