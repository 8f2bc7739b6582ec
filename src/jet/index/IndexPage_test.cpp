#include "jet/index/IndexPage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/Hex.h"
#include "support/JetStorage.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::FromHex;
using mv::testing::JetStorage;
using mv::testing::ToHex;

constexpr PageNumber kTable = 245;

/// One index page, empty at first.
class IndexPageTest : public ::testing::Test {
 protected:
  IndexPageTest() : storage_(3) { Format(0); }

  static constexpr PageNumber kNumber = 2;

  void Format(std::uint8_t level) { IndexPage::Format(Bytes4096(), kTable, level); }
  Page& Bytes4096() { return storage_.File().Write(kNumber); }
  IndexPage Edit() { return IndexPage(storage_.File(), kNumber, kTable); }
  IndexPageView View() { return IndexPageView(storage_.File(), kNumber, kTable); }

  std::string HexAt(std::size_t offset, std::size_t count) {
    return ToHex(ByteView(storage_.File().Read(kNumber)).subspan(offset, count));
  }
  void Append(ByteView entry) { ASSERT_TRUE(Edit().TryInsert(View().Used(), entry)); }
  void StoreWithPrefix(const std::vector<std::string>& entries) {
    EntryList list;
    for (const std::string& entry : entries) list.Append(FromHex(entry));
    Edit().StoreCompact({list, 0, list.Count()});
  }
  std::vector<std::string> Entries() {
    std::vector<std::string> texts;
    const EntryList list = View().AllEntries();
    for (std::size_t i = 0; i < list.Count(); ++i) texts.push_back(ToHex(list[i]));
    return texts;
  }

  JetStorage storage_;
};

Bytes LeafEntry(std::uint8_t key, PageNumber page, std::uint8_t slot) {
  const Bytes bytes = {0x7F, 0x80, 0x00, 0x00, key};
  const EntryBytes entry(bytes, {page, slot});
  return {entry.View().begin(), entry.View().end()};
}

TEST_F(IndexPageTest, EmptyLeafIsItsHeader) {
  EXPECT_EQ(HexAt(0, 0x1C), "04 01 20 0E F5 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
  EXPECT_TRUE(View().IsEmpty());
  EXPECT_TRUE(View().IsLeaf());
}

TEST_F(IndexPageTest, RootNodeOfTwoEntriesAndATailIsByteForByteWhatJetWrites) {
  Format(1);
  Edit().SetTail(0x111);
  Append(FromHex("7F 80 00 00 1D | 00 00 FA 7D | 00 00 01 0F"));
  Append(FromHex("7F 80 00 00 37 | 00 00 FF 3C | 00 00 01 10"));
  EXPECT_EQ(HexAt(0, 0x20),
            "03 01 06 0E F5 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 11 01 00 00 00 00 01 00 20 00 04 00");
  EXPECT_EQ(HexAt(0x1E0, 28), "7F 80 00 00 1D 00 00 FA 7D 00 00 01 0F 7F 80 00 00 37 00 00 FF 3C 00 00 01 10 00 00");
  EXPECT_EQ(View().ChildAt(0), 271U);
  EXPECT_EQ(View().ChildAt(13), 272U);
  EXPECT_EQ(View().Tail(), 273U);
}

TEST_F(IndexPageTest, LeafOf722EntriesIsByteForByteWhatJetWrites) {
  // Keys Long 1 to 29; all share 7F 80 00 00, so that the entries fill all but two bytes.
  EntryList list;
  list.Append(LeafEntry(1, 247, 99));
  list.Append(LeafEntry(1, 247, 123));
  list.Append(LeafEntry(1, 248, 33));
  for (int i = 3; i < 721; ++i) {
    list.Append(LeafEntry(static_cast<std::uint8_t>(1 + i / 26), 249, static_cast<std::uint8_t>(i % 26)));
  }
  list.Append(LeafEntry(29, 250, 125));
  IndexPage page = Edit();
  page.SetNext(0x110);
  ASSERT_TRUE(page.TryStore({list, 0, list.Count()}));
  EXPECT_EQ(HexAt(0, 0x20),
            "04 01 02 00 F5 00 00 00 00 00 00 00 00 00 00 00 10 01 00 00 00 00 00 00 04 00 00 00 42 08 21 84");
  EXPECT_EQ(HexAt(0x1E0, 19), "7F 80 00 00 01 00 00 F7 63 01 00 00 F7 7B 01 00 00 F8 21");
  EXPECT_EQ(HexAt(4096 - 7, 7), "1D 00 00 FA 7D 00 00");
  const EntryList read = View().AllEntries();
  ASSERT_EQ(read.Count(), 722U);
  EXPECT_EQ(ToHex(read[2]), "7F 80 00 00 01 00 00 F8 21");
  EXPECT_EQ(ToHex(read[721]), "7F 80 00 00 1D 00 00 FA 7D");
}

TEST_F(IndexPageTest, PrefixMayReachIntoTheRowAddress) {
  StoreWithPrefix({"7F 6B 4A 60 51 01 00 | 00 01 62 00", "7F 6B 4A 60 51 01 00 | 00 01 62 01",
                   "7F 6B 4A 60 51 01 00 | 00 01 63 00"});
  EXPECT_EQ(View().PrefixLength(), 9U);
  EXPECT_EQ(HexAt(0x1E0, 16), "7F 6B 4A 60 51 01 00 00 01 62 00 62 01 63 00 00");
  EXPECT_EQ(Entries().back(), "7F 6B 4A 60 51 01 00 00 01 63 00");
  EntryBytes entry;
  View().ReadEntry(11, entry);
  EXPECT_EQ(entry.Row(), (RowId{0x162, 1}));
  EXPECT_EQ(ToHex(entry.Key()), "7F 6B 4A 60 51 01 00");
}

TEST_F(IndexPageTest, FirstEntryThatIsAllPrefixIsWholeAndTheOthersKeepTheirRest) {
  StoreWithPrefix({"7F 01 | 00 00 05 00", "7F 01 | 00 00 05 00 09", "7F 01 | 00 00 05 00 0A"});
  EXPECT_EQ(View().PrefixLength(), 6U);
  EXPECT_EQ(Entries().size(), 3U);
  EXPECT_EQ(Entries()[1], "7F 01 00 00 05 00 09");
  Edit().Remove(0);
  EXPECT_EQ(Entries(), (std::vector<std::string>{"7F 01 00 00 05 00 09", "7F 01 00 00 05 00 0A"}));
  EXPECT_EQ(View().PrefixLength(), 6U);
}

TEST_F(IndexPageTest, InsertIntoAPageWithPrefixStoresTheRestOnly) {
  StoreWithPrefix({"7F 01 | 00 00 05 10", "7F 01 | 00 00 05 20"});
  ASSERT_EQ(View().PrefixLength(), 5U);
  EXPECT_TRUE(Edit().TryInsert(6, FromHex("7F 01 00 00 05 18")));
  EXPECT_EQ(HexAt(0x1E0, 9), "7F 01 00 00 05 10 18 20 00");
  EXPECT_EQ(HexAt(0x1B, 2), "C0 01");
  EXPECT_EQ(HexAt(2, 2), "18 0E");
}

TEST_F(IndexPageTest, InsertInFrontOfAPageWithPrefixTakesThePrefixBytesOver) {
  StoreWithPrefix({"7F 01 | 00 00 05 10", "7F 01 | 00 00 05 20"});
  EXPECT_TRUE(Edit().TryInsert(0, FromHex("7F 01 00 00 05 08")));
  EXPECT_EQ(HexAt(0x1E0, 9), "7F 01 00 00 05 08 10 20 00");
  EXPECT_EQ(Entries().size(), 3U);
  EXPECT_EQ(Entries()[1], "7F 01 00 00 05 10");
}

TEST_F(IndexPageTest, EntryThatDoesNotShareThePrefixIsNotInserted) {
  StoreWithPrefix({"7F 01 | 00 00 05 10", "7F 01 | 00 00 05 20"});
  const std::string before = HexAt(0, 4096);
  EXPECT_FALSE(Edit().TryInsert(7, FromHex("7F 01 00 00 06 00")));
  EXPECT_FALSE(Edit().TryInsert(0, FromHex("7F 00 00 00 05 20")));
  EXPECT_EQ(HexAt(0, 4096), before);
}

TEST_F(IndexPageTest, RemovingTheFirstOfAPageWithPrefixMakesTheSecondWhole) {
  StoreWithPrefix({"7F 01 | 00 00 05 10", "7F 01 | 00 00 05 20", "7F 01 | 00 00 05 30"});
  Edit().Remove(0);
  EXPECT_EQ(HexAt(0x1E0, 8), "7F 01 00 00 05 20 30 00");
  EXPECT_EQ(View().PrefixLength(), 5U);
}

TEST_F(IndexPageTest, LeafLeftWithOneEntryHasNoPrefix) {
  StoreWithPrefix({"7F 01 | 00 00 05 10", "7F 01 | 00 00 05 20"});
  Edit().Remove(6);
  EXPECT_EQ(View().PrefixLength(), 0U);
  EXPECT_EQ(Entries(), std::vector<std::string>{"7F 01 00 00 05 10"});
}

TEST_F(IndexPageTest, LeafLeftEmptyIsAnEmptyLeafAgain) {
  const std::string empty = HexAt(0, 4096);
  Append(FromHex("7F 01 | 00 00 05 10"));
  Edit().Remove(0);
  EXPECT_EQ(HexAt(0, 4096), empty);
}

TEST_F(IndexPageTest, EntriesThatFitPlainAreStoredWithoutPrefix) {
  EntryList list;
  for (int i = 0; i < 401; ++i) {
    list.Append(LeafEntry(1, 300 + static_cast<PageNumber>(i / 200), static_cast<std::uint8_t>(i % 200)));
  }
  ASSERT_TRUE(Edit().TryStore({list, 0, 401}));
  EXPECT_EQ(View().PrefixLength(), 0U);
  EXPECT_EQ(HexAt(2, 2), "07 00");
  list.Append(LeafEntry(1, 302, 1));
  ASSERT_TRUE(Edit().TryStore({list, 0, 402}));
  EXPECT_EQ(View().PrefixLength(), 7U);
}

TEST_F(IndexPageTest, EntriesThatDoNotFitLeaveThePageAsItIs) {
  Append(FromHex("7F 01 | 00 00 05 10"));
  const std::string before = HexAt(0, 4096);
  EntryList list;
  for (std::uint8_t i = 0; i < 200; ++i) list.Append(Bytes(20, i));
  EXPECT_FALSE(Edit().TryStore({list, 0, list.Count()}));
  EXPECT_FALSE(Edit().TryInsert(0, Bytes(3611, 0x11)));
  EXPECT_EQ(HexAt(0, 4096), before);
  EXPECT_TRUE(Edit().TryInsert(0, Bytes(3610, 0x11)));
}

TEST_F(IndexPageTest, PageFilledToItsLastByteSetsTheLastEndMark) {
  Append(Bytes(3616, 0x7F));
  EXPECT_EQ(HexAt(0x1B + 452, 1), "01");
  EXPECT_EQ(View().Used(), 3616U);
  EXPECT_EQ(HexAt(2, 2), "00 00");
  Edit().Remove(0);
  EXPECT_TRUE(View().IsEmpty());
  EXPECT_EQ(HexAt(0x1B + 452, 1), "00");
}

TEST_F(IndexPageTest, LowerBoundFindsTheFirstEntryNotBelow) {
  Append(FromHex("7F 10 | 00 00 05 10"));
  Append(FromHex("7F 10 20 | 00 00 05 10"));
  Append(FromHex("7F 30 | 00 00 05 10"));
  EXPECT_EQ(View().LowerBound(FromHex("7F 00")), 0U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 10 00 00 05 10")), 0U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 10 00 00 05 11")), 6U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 10 20 00 00 05 10 00")), 13U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 30 00 00 05 11")), 19U);
}

TEST_F(IndexPageTest, LowerBoundTellsApartWhatDiffersInAnyOneByte) {
  Bytes entry(30);
  for (std::size_t i = 0; i < entry.size(); ++i) entry[i] = static_cast<std::uint8_t>(0x70 + i);
  Append(entry);
  for (std::size_t place = 0; place < entry.size(); ++place) {
    for (const auto& [byte, bound] : {std::pair(0x00, 0U), std::pair(0xFF, 30U)}) {
      Bytes sought = entry;
      sought[place] = static_cast<std::uint8_t>(byte);
      // What comes behind is of no account.
      if (place + 1 < sought.size()) sought[place + 1] = static_cast<std::uint8_t>(~byte);
      EXPECT_EQ(View().LowerBound(sought), bound) << place;
    }
    EXPECT_EQ(View().LowerBound(ByteView(entry).first(place)), 0U) << place;
  }
  entry.push_back(0);
  EXPECT_EQ(View().LowerBound(entry), 30U);
}

TEST_F(IndexPageTest, LowerBoundInANodeLeavesTheChildOut) {
  Format(1);
  Append(FromHex("7F 10 | 00 00 05 10 | 00 00 00 09"));
  Append(FromHex("7F 20 | 00 00 05 10 | 00 00 00 01"));
  EXPECT_EQ(View().LowerBound(FromHex("7F 10 00 00 05 10")), 0U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 10 00 00 05 11")), 10U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 20 00 00 05 11")), 20U);
}

TEST_F(IndexPageTest, LowerBoundOnAPageWithPrefixComparesThePrefixFirst) {
  StoreWithPrefix({"7F 01 | 00 00 05 10", "7F 01 | 00 00 05 20", "7F 01 | 00 00 05 30"});
  EXPECT_EQ(View().LowerBound(FromHex("7F 00 FF FF FF FF")), 0U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 01 00")), 0U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 01 00 00 05 10")), 0U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 01 00 00 05 11")), 6U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 01 00 00 05 30")), 7U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 01 00 00 05 31")), 8U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 01 00 00 06 00")), 8U);
}

TEST_F(IndexPageTest, HoldsComparesTheWholeEntry) {
  StoreWithPrefix({"7F 01 | 00 00 05 10", "7F 01 | 00 00 05 20"});
  EXPECT_TRUE(View().Holds(0, FromHex("7F 01 00 00 05 10")));
  EXPECT_TRUE(View().Holds(6, FromHex("7F 01 00 00 05 20")));
  EXPECT_FALSE(View().Holds(6, FromHex("7F 01 00 00 05 21")));
  EXPECT_FALSE(View().Holds(6, FromHex("7F 02 00 00 05 20")));
  EXPECT_FALSE(View().Holds(0, FromHex("7F 01 00 00 05 10 00")));
  EXPECT_FALSE(View().Holds(7, FromHex("7F 01 00 00 05 20")));
}

// Pages that this engine does not make, but others may.
TEST_F(IndexPageTest, EmptyLeafWithAPrefixTakesEntriesAsOneWithout) {
  Bytes4096()[kIndexPrefixOffset] = 3;
  EXPECT_EQ(View().LowerBound(FromHex("7F 10 00 00 05 10")), 0U);
  Append(FromHex("7F 10 | 00 00 05 10"));
  Append(FromHex("7F 20 | 00 00 05 11"));
  EXPECT_EQ(Entries(), (std::vector<std::string>{"7F 10 00 00 05 10", "7F 20 00 00 05 11"}));
}

TEST_F(IndexPageTest, NodeWithAPrefixIsReadAndChanged) {
  Format(1);
  Append(FromHex("7F 10 | 00 00 05 10 | 00 00 00 09"));
  Append(FromHex("00 05 20 | 00 00 00 07"));
  Append(FromHex("20 00 05 10 | 00 00 00 01"));
  Bytes4096()[kIndexPrefixOffset] = 3;
  const auto whole = std::vector<std::string>{"7F 10 00 00 05 10 00 00 00 09", "7F 10 00 00 05 20 00 00 00 07",
                                              "7F 10 00 20 00 05 10 00 00 00 01"};
  EXPECT_EQ(Entries(), whole);
  EXPECT_EQ(View().ChildAt(10), 7U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 10 00 00 05 11")), 10U);
  EXPECT_EQ(View().LowerBound(FromHex("7F 10 00 00 05 21")), 17U);
  EXPECT_TRUE(Edit().TryInsert(10, FromHex("7F 10 00 00 05 18 00 00 00 06")));
  EXPECT_EQ(View().ChildAt(10), 6U);
  EXPECT_EQ(View().ChildAt(17), 7U);
  Edit().Remove(0);
  Edit().Remove(0);
  EXPECT_EQ(Entries(), (std::vector<std::string>{whole[1], whole[2]}));
}

TEST(EntryRange, EqualEntriesOfADamagedPageKeepSomethingToStoreOfEach) {
  EntryList list;
  for (int i = 0; i < 3; ++i) list.Append(FromHex("7F 01 | 00 00 05 10"));
  EXPECT_EQ((EntryRange{list, 0, 3}.SharedPrefix()), 5U);
  EXPECT_EQ((EntryRange{list, 0, 3}.StoredSize(5)), 8U);
}

TEST(EntryRange, FewerThanTwoEntriesShareNothing) {
  EntryList list;
  EXPECT_EQ((EntryRange{list, 0, 0}.SharedPrefix()), 0U);
  EXPECT_EQ((EntryRange{list, 0, 0}.StoredSize(0)), 0U);
  list.Append(FromHex("7F 01 | 00 00 05 10"));
  EXPECT_EQ((EntryRange{list, 0, 1}.SharedPrefix()), 0U);
}

class DamagedIndexPage : public IndexPageTest {
 protected:
  DamagedIndexPage() { StoreWithPrefix({"7F 01 | 00 00 05 10", "7F 01 | 00 00 05 20"}); }
  void ExpectDamage() {
    EXPECT_EQ(ErrorNumberOf([&] { View(); }), errors::kJetGeneral);
  }
};

TEST_F(DamagedIndexPage, OtherKindOfPage) {
  Bytes4096()[0] = 1;
  ExpectDamage();
}

TEST_F(DamagedIndexPage, PageOfAnotherTable) {
  Bytes4096()[4] = 0;
  ExpectDamage();
}

TEST_F(DamagedIndexPage, LeafWithALevel) {
  Bytes4096()[kIndexLevelOffset] = 1;
  ExpectDamage();
}

TEST_F(IndexPageTest, NodeIsReadWhateverItsLevelByteSays) {
  Format(1);
  for (const int level : {0, 32, 255}) {
    Bytes4096()[kIndexLevelOffset] = static_cast<std::uint8_t>(level);
    EXPECT_FALSE(View().IsLeaf());
  }
}

TEST_F(DamagedIndexPage, EndMarksOutsideTheEntries) {
  Bytes4096()[kEndMarksOffset + 452] = 2;
  ExpectDamage();
  Bytes4096()[kEndMarksOffset + 452] = 0;
  Bytes4096()[kEndMarksOffset] |= 1;
  ExpectDamage();
}

TEST_F(DamagedIndexPage, PrefixLongerThanTheFirstEntry) {
  Bytes4096()[kIndexPrefixOffset] = 7;
  ExpectDamage();
}

TEST_F(DamagedIndexPage, NodeWithAPrefixThatReachesIntoItsChild) {
  Format(1);
  Append(FromHex("7F 10 | 00 00 05 10 | 00 00 00 09"));
  Append(FromHex("00 00 00 07"));
  Bytes4096()[kIndexPrefixOffset] = 7;
  EXPECT_EQ(ErrorNumberOf([&] { View().LowerBound(FromHex("7F 10 00 00 05 10 00")); }), errors::kJetGeneral);
}

TEST_F(DamagedIndexPage, InsertBehindTheEntries) {
  EXPECT_EQ(ErrorNumberOf([&] { Edit().TryInsert(8, FromHex("7F 01 00 00 05 30")); }), errors::kJetGeneral);
}

TEST_F(DamagedIndexPage, NodeWithoutATail) {
  Format(1);
  EXPECT_EQ(ErrorNumberOf([&] { View().Tail(); }), errors::kJetGeneral);
}

TEST_F(DamagedIndexPage, EntriesTooShortForARowOrAChild) {
  Format(0);
  Append(FromHex("00 00 05 10"));
  EntryBytes entry;
  EXPECT_EQ(ErrorNumberOf([&] { View().ReadEntry(0, entry); }), errors::kJetGeneral);
  Format(1);
  Append(FromHex("00 00 05 10 00 00 00 09"));
  EXPECT_EQ(ErrorNumberOf([&] { View().ChildAt(0); }), errors::kJetGeneral);
  Format(1);
  Append(FromHex("00 00 09"));
  EXPECT_EQ(ErrorNumberOf([&] { View().LowerBound(FromHex("7F")); }), errors::kJetGeneral);
}

// Random inserts and removals on one page against a sorted list; lengths, prefixes and word borders vary.
TEST_F(IndexPageTest, AnyInsertsAndRemovalsLeaveASortedListAndAnHonestHeader) {
  constexpr std::uint32_t kSeed = 20040615;
  RecordProperty("seed", static_cast<int>(kSeed));
  std::mt19937 random(kSeed);
  for (int round = 0; round < 200; ++round) {
    Format(0);
    std::vector<Bytes> model;
    const std::size_t longest = 5 + random() % 300;
    for (int step = 0; step < 300; ++step) {
      if (model.empty() || random() % 3 != 0) {
        Bytes entry(5 + random() % (longest - 4), 0x40);
        for (std::size_t i = entry.size() - 4; i < entry.size(); ++i) entry[i] = static_cast<std::uint8_t>(random());
        const auto place = std::lower_bound(model.begin(), model.end(), entry);
        if (place != model.end() && *place == entry) continue;
        IndexPage page = Edit();
        if (!page.TryInsert(page.LowerBound(entry), entry)) {
          EntryList list;
          std::vector<Bytes> all = model;
          all.insert(all.begin() + (place - model.begin()), entry);
          for (const Bytes& one : all) list.Append(one);
          if (!page.TryStore({list, 0, list.Count()})) continue;
        }
        model.insert(place, entry);
      } else {
        const std::size_t victim = random() % model.size();
        IndexPage page = Edit();
        page.Remove(page.LowerBound(model[victim]));
        model.erase(model.begin() + static_cast<std::ptrdiff_t>(victim));
      }
      const EntryList list = View().AllEntries();
      ASSERT_EQ(list.Count(), model.size()) << "seed " << kSeed << ", round " << round << ", step " << step;
      for (std::size_t i = 0; i < model.size(); ++i) {
        ASSERT_TRUE(std::ranges::equal(list[i], model[i])) << "seed " << kSeed << ", round " << round;
      }
      ASSERT_EQ(LoadLittle<std::uint16_t>(Bytes4096().data() + 2), 3616 - View().Used());
    }
  }
}

}  // namespace
}  // namespace mv::jet
