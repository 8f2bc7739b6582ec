#include "jet/rows/RowStore.h"

#include <gtest/gtest.h>

#include <map>
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
using mv::testing::FromHex;
using mv::testing::JetStorage;
using mv::testing::ToHex;

constexpr PageNumber kTablePage = 7;

class RowStoreTest : public ::testing::Test {
 protected:
  RowStoreTest()
      : storage_(20),
        owned_(storage_.AddMap()),
        freeSpace_(storage_.AddMap()),
        rows_(storage_.File(), kTablePage, owned_, freeSpace_) {}

  std::vector<PageNumber> Owned() { return UsageMap(storage_.File(), owned_).Pages(); }
  std::vector<PageNumber> WithRoom() { return UsageMap(storage_.File(), freeSpace_).Pages(); }
  DataPageView PageAt(PageNumber number) { return DataPageView(storage_.File(), number); }
  std::vector<RowId> Scan() {
    std::vector<RowId> found;
    for (auto row = rows_.First(); row; row = rows_.Next(*row)) found.push_back(*row);
    return found;
  }

  JetStorage storage_;
  RowId owned_;
  RowId freeSpace_;
  RowStore rows_;
};

TEST_F(RowStoreTest, EmptyTableHasNoRowsAndNoPage) {
  EXPECT_EQ(rows_.First(), std::nullopt);
  EXPECT_EQ(rows_.Last(), std::nullopt);
  EXPECT_EQ(rows_.Count(), 0);
  EXPECT_FALSE(rows_.IsLive({22, 0}));
  EXPECT_TRUE(Owned().empty());
}

TEST_F(RowStoreTest, FirstRowTakesThePageAndTheMaps) {
  EXPECT_EQ(rows_.Insert(Bytes(19, 1)), (RowId{22, 0}));
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{22}));
  EXPECT_EQ(WithRoom(), (std::vector<PageNumber>{22}));
  EXPECT_EQ(PageAt(22).Owner(), kTablePage);
}

TEST_F(RowStoreTest, RowsAreScannedInPhysicalOrder) {
  std::vector<RowId> inserted;
  for (int i = 0; i < 10; ++i) inserted.push_back(rows_.Insert(Bytes(1000, 1)));
  EXPECT_EQ(Scan(), inserted);
  EXPECT_EQ(rows_.Last(), inserted.back());
  EXPECT_EQ(rows_.Count(), 10);
  EXPECT_EQ(Owned().size(), 3U);
}

TEST_F(RowStoreTest, PageThatSaysItIsAnotherTablesIsNeitherReadNorChanged) {
  const RowId row = rows_.Insert(Bytes(19, 1));
  StoreLittle<std::uint32_t>(storage_.File().Write(row.page).data() + kOwnerOffset, kTablePage + 1);
  EXPECT_EQ(ErrorNumberOf([&] { rows_.First(); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { rows_.Read(row); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { rows_.Remove(row); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { rows_.Insert(Bytes(19, 1)); }), errors::kJetGeneral);
}

TEST_F(RowStoreTest, PageWith256FreeBytesOrFewerIsNotListed) {
  rows_.Insert(Bytes(1911, 1));
  rows_.Insert(Bytes(1910, 1));
  EXPECT_EQ(PageAt(22).FreeSpace(), 257U);
  EXPECT_EQ(WithRoom().size(), 1U);
  rows_.Replace({22, 0}, Bytes(1912, 1));
  EXPECT_TRUE(WithRoom().empty());
  rows_.Replace({22, 0}, Bytes(1911, 1));
  EXPECT_EQ(WithRoom().size(), 1U);
}

TEST_F(RowStoreTest, PageFoundTooFullIsTakenOffTheList) {
  rows_.Insert(Bytes(3000, 1));
  EXPECT_EQ(WithRoom(), (std::vector<PageNumber>{22}));
  EXPECT_EQ(rows_.Insert(Bytes(2000, 1)), (RowId{23, 0}));
  EXPECT_EQ(WithRoom(), (std::vector<PageNumber>{23}));
}

TEST_F(RowStoreTest, PageOf255SlotsTakesNoMoreRows) {
  for (int i = 0; i < 255; ++i) rows_.Insert(Bytes(5, 1));
  EXPECT_TRUE(WithRoom().empty());
  EXPECT_EQ(rows_.Insert(Bytes(5, 1)), (RowId{23, 0}));
}

TEST_F(RowStoreTest, RowAtHomeGrowsThereWhileThereIsRoom) {
  const RowId a = rows_.Insert(Bytes(1000, 1));
  const RowId b = rows_.Insert(Bytes(1000, 2));
  rows_.Replace(a, Bytes(3000, 3));
  EXPECT_EQ(ToHex(rows_.Read(a).first(2)), "03 03");
  EXPECT_EQ(rows_.Read(b)[999], 2);
  EXPECT_EQ(PageAt(22).State(0), SlotState::Live);
}

TEST_F(RowStoreTest, RowThatOutgrowsItsPageLandsElsewhereUnderItsOldAddress) {
  const RowId a = rows_.Insert(Bytes(2000, 1));
  const RowId b = rows_.Insert(Bytes(2000, 2));
  rows_.Replace(a, Bytes(2500, 3));
  EXPECT_EQ(PageAt(22).State(0), SlotState::Moved);
  EXPECT_EQ(ToHex(PageAt(22).Row(0)), "00 17 00 00");
  EXPECT_EQ(PageAt(23).State(0), SlotState::Landing);
  EXPECT_EQ(rows_.Read(a).size(), 2500U);
  EXPECT_EQ(Scan(), (std::vector<RowId>{a, b}));
  EXPECT_EQ(rows_.Count(), 2);
  EXPECT_FALSE(rows_.IsLive({23, 0}));
  EXPECT_EQ(WithRoom(), (std::vector<PageNumber>{22, 23}));
}

TEST_F(RowStoreTest, MovedRowGrowsWhereItLanded) {
  const RowId a = rows_.Insert(Bytes(2000, 1));
  rows_.Insert(Bytes(2000, 2));
  rows_.Replace(a, Bytes(2500, 3));
  rows_.Replace(a, Bytes(4000, 4));
  EXPECT_EQ(ToHex(PageAt(22).Row(0)), "00 17 00 00");
  EXPECT_EQ(PageAt(23).SlotCount(), 1U);
  EXPECT_EQ(rows_.Read(a).size(), 4000U);
}

TEST_F(RowStoreTest, MovedRowThatOutgrowsItsLandingMovesOnInOneHop) {
  const RowId a = rows_.Insert(Bytes(2000, 1));
  rows_.Insert(Bytes(2000, 2));
  rows_.Replace(a, Bytes(2500, 3));
  rows_.Insert(Bytes(1400, 5));  // beside the landing row
  rows_.Replace(a, Bytes(4000, 4));
  EXPECT_EQ(ToHex(PageAt(22).Row(0)), "00 18 00 00");
  EXPECT_EQ(PageAt(23).State(0), SlotState::Dead);
  EXPECT_EQ(PageAt(24).State(0), SlotState::Landing);
}

TEST_F(RowStoreTest, MovedRowThatFitsAgainComesHomeAndItsLandingPageIsFreed) {
  const RowId a = rows_.Insert(Bytes(2000, 1));
  rows_.Insert(Bytes(2000, 2));
  rows_.Replace(a, Bytes(2500, 3));
  rows_.Replace(a, Bytes(2010, 4));
  EXPECT_EQ(PageAt(22).State(0), SlotState::Live);
  EXPECT_EQ(rows_.Read(a).size(), 2010U);
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{22}));
  EXPECT_TRUE(UsageMap(storage_.File(), {1, 0}).Contains(23));
}

TEST_F(RowStoreTest, RemovedMovedRowLeavesNothingBehind) {
  const RowId a = rows_.Insert(Bytes(2000, 1));
  const RowId b = rows_.Insert(Bytes(2000, 2));
  rows_.Replace(a, Bytes(2500, 3));
  rows_.Remove(a);
  EXPECT_EQ(Scan(), (std::vector<RowId>{b}));
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{22}));
  EXPECT_EQ(ToHex(ByteView(storage_.File().Read(22)).subspan(14, 4)), "00 D0 30 08");
}

TEST_F(RowStoreTest, EmptyPageIsFreedButTheFirstOneStays) {
  std::vector<RowId> rows;
  for (int i = 0; i < 6; ++i) rows.push_back(rows_.Insert(Bytes(1900, 1)));
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{22, 23, 24}));
  for (const std::size_t i : {0, 1, 2, 3}) rows_.Remove(rows[i]);
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{22, 24}));
  EXPECT_EQ(ToHex(ByteView(storage_.File().Read(23)).first(18)),
            "09 01 EE 0F 07 00 00 00 00 00 00 00 02 00 00 D0 00 D0");
  EXPECT_TRUE(PageAt(22).IsEmpty());
  EXPECT_EQ(Scan(), (std::vector<RowId>{rows[4], rows[5]}));
}

TEST_F(RowStoreTest, EmptyFirstPageIsFreedWhenALowerPageBecomesTheFirst) {
  const RowId a = rows_.Insert(Bytes(1900, 1));
  rows_.Insert(Bytes(1900, 1));
  rows_.Insert(Bytes(4000, 1));
  FreePages(storage_.File()).Free(9);
  rows_.Remove(a);
  rows_.Remove({22, 1});
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{22, 23}));
  EXPECT_EQ(rows_.Insert(Bytes(4079, 1)), (RowId{9, 0}));  // does not fit beside two dead slots
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{9, 23}));
  EXPECT_TRUE(UsageMap(storage_.File(), {1, 0}).Contains(22));
}

TEST_F(RowStoreTest, PageOfLandingRowsOnlyIsNotEmpty) {
  const RowId a = rows_.Insert(Bytes(2000, 1));
  rows_.Insert(Bytes(2000, 2));
  rows_.Replace(a, Bytes(2500, 3));
  const RowId c = rows_.Insert(Bytes(1000, 4));
  EXPECT_EQ(c, (RowId{23, 1}));
  rows_.Remove(c);
  EXPECT_EQ(rows_.Read(a).size(), 2500U);
}

TEST_F(RowStoreTest, DeadSlotsAreNotUsedAgain) {
  const RowId a = rows_.Insert(Bytes(100, 1));
  rows_.Insert(Bytes(100, 2));
  rows_.Remove(a);
  EXPECT_EQ(rows_.Insert(Bytes(100, 3)), (RowId{22, 2}));
}

TEST_F(RowStoreTest, ScanGoesOnWhateverIsChangedUnderIt) {
  std::vector<RowId> rows;
  for (int i = 0; i < 12; ++i) rows.push_back(rows_.Insert(Bytes(1300, 1)));
  std::vector<RowId> seen;
  for (auto row = rows_.First(); row; row = rows_.Next(*row)) {
    seen.push_back(*row);
    if (seen.size() % 2 == 0) {
      rows_.Remove(*row);
    } else {
      rows_.Replace(*row, Bytes(1500, 2));
    }
  }
  EXPECT_EQ(seen, rows);
}

TEST_F(RowStoreTest, RowsThatAreNotLiveAreNotRead) {
  const RowId a = rows_.Insert(Bytes(2000, 1));
  rows_.Insert(Bytes(2000, 2));
  rows_.Replace(a, Bytes(2500, 3));
  rows_.Remove({22, 1});
  for (const RowId row : {RowId{22, 1}, RowId{22, 2}, RowId{23, 0}, RowId{1, 0}, RowId{5, 0}, RowId{0xFFFFFF, 0}}) {
    EXPECT_FALSE(rows_.IsLive(row));
    EXPECT_EQ(ErrorNumberOf([&] { rows_.Read(row); }), errors::kNoCurrentRecord);
    EXPECT_EQ(ErrorNumberOf([&] { rows_.Replace(row, Bytes(5)); }), errors::kNoCurrentRecord);
    EXPECT_EQ(ErrorNumberOf([&] { rows_.Remove(row); }), errors::kNoCurrentRecord);
  }
}

TEST_F(RowStoreTest, WideMovedSlotIsFollowedByItsFirstFourBytes) {
  const RowId a = rows_.Insert(Bytes(2000, 1));
  rows_.Insert(Bytes(2000, 2));
  rows_.Replace(a, Bytes(2500, 3));
  DataPage(storage_.File(), 22).Replace(0, FromHex("00 17 00 00 EE EE EE EE"), SlotState::Moved);
  EXPECT_EQ(rows_.Read(a).size(), 2500U);
}

// Hostile pages.

TEST_F(RowStoreTest, MovedToAPlaceThatDoesNotHoldItIsDamage) {
  const RowId a = rows_.Insert(Bytes(2000, 1));
  rows_.Insert(Bytes(2000, 2));
  rows_.Replace(a, Bytes(2500, 3));
  for (const char* address : {"01 16 00 00", "00 16 00 00", "05 17 00 00", "00 01 00 00", "00 FF FF FF", "00 17"}) {
    DataPage(storage_.File(), 22).Replace(0, FromHex(address), SlotState::Moved);
    EXPECT_EQ(ErrorNumberOf([&] { rows_.Read(a); }), errors::kJetGeneral) << address;
    EXPECT_EQ(ErrorNumberOf([&] { rows_.Remove(a); }), errors::kJetGeneral) << address;
  }
}

TEST_F(RowStoreTest, ListedPageOfAnotherTableIsDamage) {
  rows_.Insert(Bytes(100, 1));
  StoreLittle<std::uint32_t>(storage_.File().Write(22).data() + kOwnerOffset, 8);
  EXPECT_EQ(ErrorNumberOf([&] { rows_.Insert(Bytes(100, 1)); }), errors::kJetGeneral);
}

TEST_F(RowStoreTest, OwnedPageBehindTheEndOrOfAnotherKindIsDamage) {
  FreePages freePages(storage_.File());
  rows_.Insert(Bytes(100, 1));
  UsageMap(storage_.File(), owned_).Add(15, freePages);
  EXPECT_EQ(ErrorNumberOf([&] { rows_.First(); }), errors::kJetGeneral);
  UsageMap(storage_.File(), owned_).Remove(15);
  UsageMap(storage_.File(), owned_).Add(400, freePages);
  EXPECT_EQ(ErrorNumberOf([&] { rows_.Last(); }), errors::kJetGeneral);
}

// After any changes the rows are those of a plain map from address to bytes, and pages and maps agree.

class RowStoreModel {
 public:
  explicit RowStoreModel(unsigned seed)
      : storage_(20),
        owned_(storage_.AddMap()),
        freeSpace_(storage_.AddMap()),
        rows_(storage_.File(), kTablePage, owned_, freeSpace_),
        random_(seed),
        longest_(seed % 2 == 0 ? 60 : 1500) {}

  void Change() {
    const auto kind = static_cast<unsigned>(random_() % 10);
    if (model_.empty() || kind < 4 + (shrinking_ ? 0U : 2U)) {
      const Bytes row = RandomRow();
      const RowId address = rows_.Insert(row);
      ASSERT_FALSE(model_.contains(address));
      model_[address] = row;
      return;
    }
    const auto victim = std::next(model_.begin(), static_cast<std::ptrdiff_t>(random_() % model_.size()));
    if (kind < 8) {
      victim->second = RandomRow();
      rows_.Replace(victim->first, victim->second);
    } else {
      rows_.Remove(victim->first);
      model_.erase(victim);
    }
  }

  /// Does changes and takes them back.
  void ChangeInVain() {
    const auto before = model_;
    storage_.File().Begin();
    for (int i = 0; i < 5; ++i) ASSERT_NO_FATAL_FAILURE(Change());
    storage_.File().Rollback();
    model_ = before;
  }

  void Shrink() { shrinking_ = true; }

  void Check() {
    ASSERT_EQ(rows_.Count(), static_cast<std::int64_t>(model_.size()));
    auto expected = model_.begin();
    for (auto row = rows_.First(); row; row = rows_.Next(*row), ++expected) {
      ASSERT_NE(expected, model_.end());
      ASSERT_EQ(*row, expected->first);
      ASSERT_EQ(ToHex(rows_.Read(*row)), ToHex(expected->second));
    }
    ASSERT_EQ(expected, model_.end());
    ASSERT_EQ(rows_.Last(), model_.empty() ? std::nullopt : std::optional(std::prev(model_.end())->first));
    ASSERT_NO_FATAL_FAILURE(CheckPages());
  }

 private:
  void CheckPages() {
    PageFile& file = storage_.File();
    const UsageMap owned(file, owned_);
    std::set<RowId> landings;
    std::size_t moved = 0;
    for (const PageNumber number : owned.Pages()) {
      const DataPageView page(file, number);
      ASSERT_EQ(page.Owner(), kTablePage);
      ASSERT_EQ(page.FreeSpace(), LoadLittle<std::uint16_t>(file.Read(number).data() + kFreeSpaceOffset));
      ASSERT_FALSE(UsageMap(file, {1, 0}).Contains(number));
      ASSERT_TRUE(number == owned.Lowest() || !page.IsEmpty());
      for (std::size_t slot = 0; slot < page.SlotCount(); ++slot) {
        if (page.State(slot) == SlotState::Landing) landings.insert({number, static_cast<std::uint8_t>(slot)});
        if (page.State(slot) == SlotState::Moved) {
          ++moved;
          ASSERT_EQ(page.Row(slot).size(), 4U);
        }
      }
    }
    ASSERT_EQ(landings.size(), moved);
    for (const PageNumber number : UsageMap(file, freeSpace_).Pages()) ASSERT_TRUE(owned.Contains(number));
  }

  Bytes RandomRow() {
    Bytes row(5 + random_() % longest_);
    for (std::uint8_t& byte : row) byte = static_cast<std::uint8_t>(random_());
    return row;
  }

  JetStorage storage_;
  RowId owned_;
  RowId freeSpace_;
  RowStore rows_;
  std::mt19937 random_;
  std::size_t longest_;
  bool shrinking_ = false;
  std::map<RowId, Bytes> model_;
};

TEST(RowStoreProperty, RandomChangesMatchAModel) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RowStoreModel model(seed);
    for (int change = 0; change < 900; ++change) {
      if (change == 500) model.Shrink();
      ASSERT_NO_FATAL_FAILURE(model.Change());
      if (change % 20 != 0) continue;
      ASSERT_NO_FATAL_FAILURE(model.ChangeInVain());
      ASSERT_NO_FATAL_FAILURE(model.Check());
    }
    ASSERT_NO_FATAL_FAILURE(model.Check());
  }
}

}  // namespace
}  // namespace mv::jet
