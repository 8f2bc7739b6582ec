#include "jet/rows/LongValues.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <utility>

#include "base/ByteOrder.h"
#include "jet/pages/DataPage.h"
#include "support/ExpectError.h"
#include "support/Hex.h"
#include "support/JetColumns.h"
#include "support/JetStorage.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::FromHex;
using mv::testing::JetColumns;
using mv::testing::JetStorage;
using mv::testing::ToHex;

std::string Letters(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += static_cast<char>('a' + i % 26);
  return text;
}

Bytes Numbers(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7);
  return bytes;
}

class LongValuesTest : public ::testing::Test {
 protected:
  LongValuesTest() : storage_(20), owned_(storage_.AddMap()), freeSpace_(storage_.AddMap()) {}

  Column WithMaps(Column column) const {
    column.longValuePages = owned_;
    column.longValueFreeSpace = freeSpace_;
    return column;
  }
  Column MemoColumn(bool compressed = true) const { return WithMaps(JetColumns().Memo("notes", compressed).Last()); }
  Column OleColumn() const { return WithMaps(JetColumns().Ole("picture").Last()); }

  /// Stores a value in a statement of its own.
  static Bytes Stored(LongValues& values, const Value& value) { return values.Store(values.PlanFor(value)); }
  std::vector<PageNumber> Owned() { return UsageMap(storage_.File(), owned_).Pages(); }
  std::vector<PageNumber> WithRoom() { return UsageMap(storage_.File(), freeSpace_).Pages(); }
  DataPageView PageAt(PageNumber number) { return DataPageView(storage_.File(), number); }

  JetStorage storage_;
  RowId owned_;
  RowId freeSpace_;
};

TEST_F(LongValuesTest, ShortMemoFollowsItsDescriptorCompressedWhateverTheFlag) {
  LongValues values(storage_.File(), MemoColumn(false));
  const Bytes extent = Stored(values, std::string("abc"));
  EXPECT_EQ(ToHex(extent), "05 00 00 80 00 00 00 00 00 00 00 00 FF FE 61 62 63");
  EXPECT_EQ(values.Load(extent), Value(std::string("abc")));
  EXPECT_TRUE(Owned().empty());
}

TEST_F(LongValuesTest, CompressionThatSavesNothingIsLeftOut) {
  LongValues values(storage_.File(), MemoColumn());
  EXPECT_EQ(ToHex(Stored(values, std::string("ab"))), "04 00 00 80 00 00 00 00 00 00 00 00 61 00 62 00");
}

TEST_F(LongValuesTest, EmptyMemoIsADescriptorOfLengthZero) {
  LongValues values(storage_.File(), MemoColumn());
  const Bytes extent = Stored(values, std::string());
  EXPECT_EQ(ToHex(extent), "00 00 00 80 00 00 00 00 00 00 00 00");
  EXPECT_EQ(values.Load(extent), Value(std::string()));
}

TEST_F(LongValuesTest, InlineEndsAt64BytesBeforeCompression) {
  LongValues memo(storage_.File(), MemoColumn());
  EXPECT_EQ(memo.PlanFor(Letters(32)).form, LongValues::Form::Inline);
  EXPECT_EQ(memo.PlanFor(Letters(33)).form, LongValues::Form::OneRow);
  LongValues ole(storage_.File(), OleColumn());
  EXPECT_EQ(ole.PlanFor(Numbers(64)).form, LongValues::Form::Inline);
  EXPECT_EQ(ole.PlanFor(Numbers(64)).SizeInRow(), 76U);
  EXPECT_EQ(ole.PlanFor(Numbers(65)).form, LongValues::Form::OneRow);
  EXPECT_EQ(ole.PlanFor(Numbers(65)).SizeInRow(), 12U);
}

TEST_F(LongValuesTest, OneRowEndsAt3816BytesBeforeCompression) {
  LongValues memo(storage_.File(), MemoColumn());
  EXPECT_EQ(memo.PlanFor(Letters(1908)).form, LongValues::Form::OneRow);
  EXPECT_EQ(memo.PlanFor(Letters(1909)).form, LongValues::Form::Chain);
  LongValues ole(storage_.File(), OleColumn());
  EXPECT_EQ(ole.PlanFor(Numbers(3816)).form, LongValues::Form::OneRow);
  EXPECT_EQ(ole.PlanFor(Numbers(3817)).form, LongValues::Form::Chain);
}

TEST_F(LongValuesTest, OneRowIsARowOfAPageOwnedByLval) {
  LongValues values(storage_.File(), OleColumn());
  const Bytes extent = Stored(values, Numbers(70));
  EXPECT_EQ(ToHex(extent), "46 00 00 40 00 16 00 00 00 00 00 00");  // 70 bytes at 22/0
  EXPECT_EQ(ToHex(ByteView(storage_.File().Read(22)).first(16)), "01 01 AA 0F 4C 56 41 4C 00 00 00 00 01 00 BA 0F");
  EXPECT_EQ(values.Load(extent), Value(Numbers(70)));
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{22}));
  EXPECT_EQ(WithRoom(), (std::vector<PageNumber>{22}));
}

TEST_F(LongValuesTest, MemoInOneRowIsCompressedOnlyWithTheFlag) {
  LongValues flagged(storage_.File(), MemoColumn(true));
  EXPECT_EQ(flagged.PlanFor(Letters(100)).stored.size(), 102U);
  LongValues plain(storage_.File(), MemoColumn(false));
  EXPECT_EQ(plain.PlanFor(Letters(100)).stored.size(), 200U);
  const Bytes extent = Stored(plain, Letters(100));
  EXPECT_EQ(plain.Load(extent), Value(Letters(100)));
}

TEST_F(LongValuesTest, ChainHasItsPartsAloneOnTheirPagesAndItsStampOnTheFirst) {
  LongValues values(storage_.File(), OleColumn());
  const Bytes extent = Stored(values, Numbers(4072 + 4072 + 5));
  EXPECT_EQ(ToHex(ByteView(extent).first(8)), "D5 1F 00 00 00 16 00 00");
  const auto stamp = LoadLittle<std::uint32_t>(extent.data() + 8);
  EXPECT_NE(stamp, 0U);
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{22, 23, 24}));
  EXPECT_TRUE(WithRoom().empty());
  for (const PageNumber number : {22U, 23U, 24U}) {
    EXPECT_EQ(PageAt(number).SlotCount(), 1U);
    EXPECT_EQ(PageAt(number).Owner(), kOwnerLongValues);
    EXPECT_EQ(PageAt(number).Stamp(), number == 22 ? stamp : 0);
  }
  EXPECT_EQ(PageAt(22).Row(0).size(), 4076U);
  EXPECT_EQ(ToHex(PageAt(22).Row(0).first(4)), "00 17 00 00");
  EXPECT_EQ(PageAt(24).Row(0).size(), 9U);
  EXPECT_EQ(ToHex(PageAt(24).Row(0).first(4)), "00 00 00 00");
  EXPECT_EQ(values.Load(extent), Value(Numbers(4072 + 4072 + 5)));
}

TEST_F(LongValuesTest, ChainOfAMemoIsNeverCompressed) {
  LongValues values(storage_.File(), MemoColumn());
  EXPECT_EQ(values.PlanFor(Letters(3000)).stored.size(), 6000U);
  EXPECT_EQ(values.Load(Stored(values, Letters(3000))), Value(Letters(3000)));
}

TEST_F(LongValuesTest, DifferentChainsHaveDifferentStamps) {
  LongValues values(storage_.File(), OleColumn());
  std::set<std::uint32_t> stamps;
  for (std::size_t i = 0; i < 20; ++i) {
    const Bytes extent = Stored(values, Numbers(4000 + i));
    stamps.insert(LoadLittle<std::uint32_t>(extent.data() + 8));
  }
  EXPECT_EQ(stamps.size(), 20U);
}

TEST_F(LongValuesTest, ColumnWithoutFreeSpaceMapKeepsEveryLongerValueAsAChain) {
  Column column = OleColumn();
  column.longValueFreeSpace = {};
  LongValues values(storage_.File(), column);
  const Bytes extent = Stored(values, Numbers(65));
  EXPECT_EQ(extent[3], 0);
  EXPECT_EQ(values.Load(extent), Value(Numbers(65)));
  values.Remove(extent);
  EXPECT_TRUE(Owned().empty());
}

TEST_F(LongValuesTest, ColumnWithoutPagesTakesShortValuesOnly) {
  LongValues values(storage_.File(), JetColumns().Memo("notes").Last());
  EXPECT_EQ(values.PlanFor(Letters(32)).form, LongValues::Form::Inline);
  EXPECT_EQ(ErrorNumberOf([&] { values.PlanFor(Letters(33)); }), errors::kJetGeneral);
}

TEST_F(LongValuesTest, ValuesSharePagesUntilTheyAreFull) {
  LongValues values(storage_.File(), OleColumn());
  for (int i = 0; i < 4; ++i) Stored(values, Numbers(1000));  // 4082 - 4 x 1002 = 74 left
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{22}));
  EXPECT_TRUE(WithRoom().empty());
  Stored(values, Numbers(1000));
  EXPECT_EQ(Owned(), (std::vector<PageNumber>{22, 23}));
}

TEST_F(LongValuesTest, PageWith257FreeBytesIsFullAndWith258IsNot) {
  LongValues values(storage_.File(), OleColumn());
  Stored(values, Numbers(3816));  // 264 left
  EXPECT_EQ(PageAt(22).FreeSpace(), 264U);
  EXPECT_EQ(WithRoom(), (std::vector<PageNumber>{22}));
  const Bytes first = Stored(values, Numbers(1911));
  const Bytes second = Stored(values, Numbers(1910));  // page 23: 4082 - 1913 - 1912 = 257
  EXPECT_EQ(PageAt(23).FreeSpace(), 257U);
  EXPECT_EQ(WithRoom(), (std::vector<PageNumber>{22}));
  values.Remove(first);
  Stored(values, Numbers(1910));
  EXPECT_EQ(PageAt(23).FreeSpace(), 256U);  // the dead slot stays
  EXPECT_EQ(WithRoom(), (std::vector<PageNumber>{22}));
  values.Remove(second);
  EXPECT_EQ(WithRoom(), (std::vector<PageNumber>{22, 23}));
}

TEST_F(LongValuesTest, RoomOnAPageBelowIsFoundAgain) {
  LongValues values(storage_.File(), OleColumn());
  std::vector<Bytes> extents;
  for (int i = 0; i < 12; ++i) extents.push_back(Stored(values, Numbers(1300)));  // three on a page
  EXPECT_EQ(Owned().size(), 4U);
  values.Remove(extents[0]);
  for (int i = 0; i < 2; ++i) Stored(values, Numbers(1300));
  EXPECT_EQ(Owned().size(), 5U);
  EXPECT_EQ(PageAt(22).SlotCount(), 4U);
}

TEST_F(LongValuesTest, RemovedRowIsSqueezedOutAndItsPageListedAgain) {
  LongValues values(storage_.File(), OleColumn());
  const Bytes first = Stored(values, Numbers(2000));
  const Bytes second = Stored(values, Numbers(2001));
  EXPECT_TRUE(WithRoom().empty());
  values.Remove(first);
  EXPECT_EQ(ToHex(ByteView(storage_.File().Read(22)).subspan(14, 4)), "00 D0 2F 08");
  EXPECT_EQ(WithRoom(), (std::vector<PageNumber>{22}));
  EXPECT_EQ(values.Load(second), Value(Numbers(2001)));
}

TEST_F(LongValuesTest, PageWithoutRowsIsFreed) {
  LongValues values(storage_.File(), OleColumn());
  const Bytes extent = Stored(values, Numbers(2000));
  values.Remove(extent);
  EXPECT_TRUE(Owned().empty());
  EXPECT_TRUE(WithRoom().empty());
  EXPECT_TRUE(UsageMap(storage_.File(), {1, 0}).Contains(22));
  EXPECT_EQ(KindOf(storage_.File().Read(22)), PageKind::FreedData);
}

TEST_F(LongValuesTest, RemovedChainFreesAllItsPages) {
  LongValues values(storage_.File(), OleColumn());
  const Bytes kept = Stored(values, Numbers(70));
  const Bytes extent = Stored(values, Numbers(20000));
  EXPECT_EQ(Owned().size(), 6U);
  values.Remove(extent);
  EXPECT_EQ(Owned().size(), 1U);
  EXPECT_EQ(UsageMap(storage_.File(), {1, 0}).Lowest(), 23U);
  EXPECT_EQ(PageAt(23).Stamp(), 0U);
  EXPECT_EQ(values.Load(kept), Value(Numbers(70)));
}

TEST_F(LongValuesTest, InlineValueHasNothingToRemove) {
  LongValues values(storage_.File(), OleColumn());
  values.Remove(Stored(values, Numbers(20)));
  EXPECT_TRUE(Owned().empty());
}

// Descriptors and pages that contradict each other.

TEST_F(LongValuesTest, HostileDescriptorsAreRefused) {
  LongValues values(storage_.File(), OleColumn());
  const std::string stored = ToHex(Stored(values, Numbers(70)));
  for (const std::string extent : {
           "46 00 00 40 00 16 00 00 00 00 00",              // too short
           "46 00 00 C0 00 16 00 00 00 00 00 00",           // unknown form
           "05 00 00 80 00 00 00 00 00 00 00 00 FF FE 61",  // inline, cut
           "FF FF FF BF 00 00 00 00 00 00 00 00",           // inline, a gigabyte
           "47 00 00 40 00 16 00 00 00 00 00 00",           // longer than its row
           "FF FF FF 7F 00 16 00 00 00 00 00 00",           // a gigabyte in one row
           "46 00 00 40 01 16 00 00 00 00 00 00",           // no such slot
           "46 00 00 40 00 01 00 00 00 00 00 00",           // a page that holds maps
           "46 00 00 40 00 FF FF FF 00 00 00 00",           // no such page
           "FF FF FF 3F 00 16 00 00 00 00 00 00",           // a gigabyte in a chain
       }) {
    EXPECT_EQ(ErrorNumberOf([&] { values.Load(FromHex(extent)); }), errors::kJetGeneral) << extent;
    if (extent.substr(9, 2) == "80" || extent.substr(9, 2) == "BF") continue;
    EXPECT_EQ(ErrorNumberOf([&] { values.Remove(FromHex(extent)); }), errors::kJetGeneral) << extent;
  }
  EXPECT_EQ(values.Load(FromHex(stored)), Value(Numbers(70)));
}

TEST_F(LongValuesTest, DeletedRowIsRefused) {
  LongValues values(storage_.File(), OleColumn());
  const Bytes first = Stored(values, Numbers(70));
  Stored(values, Numbers(70));
  values.Remove(first);
  EXPECT_EQ(ErrorNumberOf([&] { values.Load(first); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { values.Remove(first); }), errors::kJetGeneral);
}

TEST_F(LongValuesTest, ChainWithAnotherStampIsRefused) {
  LongValues values(storage_.File(), OleColumn());
  Bytes extent = Stored(values, Numbers(5000));
  extent[8] = static_cast<std::uint8_t>(extent[8] ^ 1);
  EXPECT_EQ(ErrorNumberOf([&] { values.Load(extent); }), errors::kJetGeneral);
}

TEST_F(LongValuesTest, ChainThatLeadsBackIntoItselfIsRefused) {
  LongValues values(storage_.File(), OleColumn());
  Bytes extent = Stored(values, Numbers(5000));
  DataPage last(storage_.File(), 23);
  StoreLittle<std::uint32_t>(last.MutableRow(0).data(), RowId{22, 0}.Word());
  StoreLittle<std::uint32_t>(extent.data(), 0x3FFFFFFF);
  EXPECT_EQ(ErrorNumberOf([&] { values.Load(extent); }), errors::kJetGeneral);
}

TEST_F(LongValuesTest, EmptyChainThatLeadsBackIntoItselfIsRefused) {
  LongValues values(storage_.File(), OleColumn());
  const Bytes extent = Stored(values, Numbers(5000));
  DataPage(storage_.File(), 23).Replace(0, FromHex("00 17 00 00"), SlotState::Live);
  EXPECT_EQ(ErrorNumberOf([&] { values.Load(extent); }), errors::kJetGeneral);
}

TEST_F(LongValuesTest, ChainOfTheWrongLengthIsRefused) {
  LongValues values(storage_.File(), OleColumn());
  for (const std::uint32_t length : {4999U, 5001U, 4072U, 0U}) {
    Bytes extent = Stored(values, Numbers(5000));
    StoreLittle(extent.data(), length);
    EXPECT_EQ(ErrorNumberOf([&] { values.Load(extent); }), errors::kJetGeneral) << length;
  }
}

TEST_F(LongValuesTest, PageOfAnotherColumnInTheListOfPagesWithRoomIsNotWrittenTo) {
  LongValues values(storage_.File(), OleColumn());
  const RowId row = RowId::FromWord(LoadLittle<std::uint32_t>(Stored(values, Numbers(100)).data() + 4));
  UsageMap(storage_.File(), owned_).Remove(row.page);
  EXPECT_EQ(ErrorNumberOf([&] { Stored(values, Numbers(100)); }), errors::kJetGeneral);
}

TEST_F(LongValuesTest, ValueOnAPageOfAnotherColumnIsNotRemoved) {
  LongValues values(storage_.File(), OleColumn());
  const Bytes extent = Stored(values, Numbers(70));
  UsageMap(storage_.File(), owned_).Remove(22);
  EXPECT_EQ(ErrorNumberOf([&] { values.Remove(extent); }), errors::kJetGeneral);
}

TEST_F(LongValuesTest, OldNullAsAChainOfNothingIsEmpty) {
  LongValues values(storage_.File(), OleColumn());
  EXPECT_EQ(values.Load(Bytes(12)), Value(Bytes()));
}

// After any changes: values read back, each row belongs to one value, maps and pages agree.

class LongValuesModel {
 public:
  LongValuesModel(JetStorage& storage, const Column& column, unsigned seed)
      : file_(storage.File()), column_(column), values_(file_, column), random_(seed) {}

  void Change() {
    if (model_.empty() || random_() % 5 < 3) {
      Bytes value(random_() % 4 == 0 ? random_() % 20000 : random_() % 900);
      for (std::uint8_t& byte : value) byte = static_cast<std::uint8_t>(random_());
      model_.emplace_back(values_.Store(values_.PlanFor(value)), value);
      return;
    }
    std::swap(model_[random_() % model_.size()], model_.back());
    values_.Remove(model_.back().first);
    model_.pop_back();
  }

  void Check() {
    std::size_t rows = 0;
    for (const auto& [extent, value] : model_) {
      ASSERT_EQ(values_.Load(extent), Value(value));
      const std::size_t length = value.size();
      if (length > 64) rows += length > 3816 ? (length + 4071) / 4072 : 1;
    }
    const UsageMap freeSpace(file_, column_.longValueFreeSpace);
    for (const PageNumber number : UsageMap(file_, column_.longValuePages).Pages()) {
      const DataPageView page(file_, number);
      ASSERT_FALSE(page.IsEmpty());
      ASSERT_EQ(page.Owner(), kOwnerLongValues);
      ASSERT_EQ(page.FreeSpace(), LoadLittle<std::uint16_t>(file_.Read(number).data() + kFreeSpaceOffset));
      ASSERT_FALSE(UsageMap(file_, {1, 0}).Contains(number));
      ASSERT_TRUE(!freeSpace.Contains(number) || page.FreeSpace() > 257U);
      for (std::size_t slot = 0; slot < page.SlotCount(); ++slot) rows -= page.IsHome(slot) ? 1 : 0;
    }
    ASSERT_EQ(rows, 0U);
    for (const PageNumber number : freeSpace.Pages()) {
      ASSERT_TRUE(UsageMap(file_, column_.longValuePages).Contains(number));
    }
  }

 private:
  PageFile& file_;
  Column column_;
  LongValues values_;
  std::mt19937 random_;
  std::vector<std::pair<Bytes, Bytes>> model_;  ///< bytes in the row, value
};

/// Chains of other writers, put on the column's pages row by row.
class ChainsOfOthers : public LongValuesTest {
 protected:
  /// A new page of the column that is listed as having room.
  PageNumber AddPage() {
    FreePages freePages(storage_.File());
    const PageNumber page = freePages.Allocate();
    DataPage::Format(storage_.File().Write(page), kOwnerLongValues);
    UsageMap(storage_.File(), owned_).Add(page, freePages);
    UsageMap(storage_.File(), freeSpace_).Add(page, freePages);
    return page;
  }
  RowId AddPart(PageNumber page, RowId next, ByteView bytes) {
    Bytes row(4);
    StoreLittle(row.data(), next.Word());
    row.insert(row.end(), bytes.begin(), bytes.end());
    return {page, DataPage(storage_.File(), page).Append(row, SlotState::Live)};
  }
  static Bytes ChainAt(RowId first, std::size_t length) {
    Bytes descriptor(12);
    StoreLittle(descriptor.data(), static_cast<std::uint32_t>(length));
    StoreLittle(descriptor.data() + 4, first.Word());
    return descriptor;
  }
};

TEST_F(ChainsOfOthers, ChainMayHaveMorePartsThanTheFileHasPages) {
  const Bytes value = Numbers(200);
  const PageNumber page = AddPage();
  RowId next;
  for (std::size_t at = value.size(); at-- > 0;) next = AddPart(page, next, ByteView(value).subspan(at, 1));
  ASSERT_GT(value.size(), storage_.File().PageCount());
  LongValues values(storage_.File(), OleColumn());
  EXPECT_EQ(values.Load(ChainAt(next, value.size())), Value(value));
  values.Remove(ChainAt(next, value.size()));
  EXPECT_TRUE(Owned().empty());
  EXPECT_TRUE(WithRoom().empty());
}

TEST_F(ChainsOfOthers, ChainThatLeadsBackIntoItselfIsDamage) {
  const PageNumber page = AddPage();
  const RowId part = AddPart(page, {page, 0}, Bytes(1, 7));
  LongValues values(storage_.File(), OleColumn());
  EXPECT_EQ(ErrorNumberOf([&] { values.Load(ChainAt(part, 50000)); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { values.Load(ChainAt(part, 0x3FFFFFFF)); }), errors::kJetGeneral);
}

TEST_F(ChainsOfOthers, ChainsThatShareAPageGoOneByOne) {
  const PageNumber page = AddPage();
  const RowId lastOfOne = AddPart(page, {}, Bytes(70, 1));
  const RowId lastOfOther = AddPart(page, {}, Bytes(70, 2));
  const Bytes one = ChainAt(AddPart(page, lastOfOne, Bytes(70, 1)), 140);
  const Bytes other = ChainAt(AddPart(page, lastOfOther, Bytes(70, 2)), 140);
  LongValues values(storage_.File(), OleColumn());
  values.Remove(one);
  EXPECT_EQ(values.Load(other), Value(Bytes(140, 2)));
  values.Remove(other);
  EXPECT_TRUE(Owned().empty());
}

TEST_F(ChainsOfOthers, NoValueIsPutBesideAPartOfAChain) {
  const PageNumber page = AddPage();
  const Bytes chain = ChainAt(AddPart(page, AddPart(page, {}, Bytes(70, 1)), Bytes(70, 2)), 140);
  LongValues values(storage_.File(), OleColumn());
  Stored(values, Numbers(100));
  EXPECT_EQ(PageAt(page).SlotCount(), 2u);
  const PageNumber begun = AddPage();
  const RowId part = AddPart(begun, {}, Bytes(70, 3));
  const RowId row = {begun, DataPage(storage_.File(), begun).Append(Numbers(80), SlotState::Live)};
  Bytes beside = ChainAt(row, 80);
  beside[3] = 0x40;
  UsageMap(storage_.File(), freeSpace_).Remove(begun);
  values.Remove(beside);
  EXPECT_FALSE(UsageMap(storage_.File(), freeSpace_).Contains(begun)) << "a page with a part is listed";
  EXPECT_EQ(values.Load(ChainAt(part, 70)), Value(Bytes(70, 3)));
  Bytes expected(70, 2);
  expected.resize(140, 1);
  EXPECT_EQ(values.Load(chain), Value(expected));
}

TEST_F(ChainsOfOthers, ValuesThatBeginLikeALinkShareThePageThatWasBegunForThem) {
  LongValues values(storage_.File(), OleColumn());
  for (int i = 0; i < 20; ++i) Stored(values, Bytes(100, 0));
  EXPECT_EQ(Owned().size(), 1u);
}

TEST_F(LongValuesTest, RandomChangesMatchAModel) {
  for (unsigned seed = 1; seed <= 8; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    JetStorage storage(20);
    Column column = JetColumns().Ole("picture").Last();
    column.longValuePages = storage.AddMap();
    column.longValueFreeSpace = storage.AddMap();
    LongValuesModel model(storage, column, seed);
    for (int change = 0; change < 300; ++change) {
      model.Change();
      if (change % 10 != 0) continue;
      ASSERT_NO_FATAL_FAILURE(model.Check());
    }
    ASSERT_NO_FATAL_FAILURE(model.Check());
  }
}

}  // namespace
}  // namespace mv::jet
