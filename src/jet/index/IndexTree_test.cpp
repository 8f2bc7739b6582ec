#include "jet/index/IndexTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <set>
#include <string>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "jet/index/IndexKey.h"
#include "support/ExpectError.h"
#include "support/Hex.h"
#include "support/IndexTreeWalker.h"
#include "support/JetHabits.h"
#include "support/JetStorage.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::FromHex;
using mv::testing::IndexTreeWalker;
using mv::testing::JetStorage;
using mv::testing::ToHex;

constexpr PageNumber kTable = 245;

/// A file with one empty index tree.
class IndexTreeTest : public ::testing::Test {
 protected:
  IndexTreeTest() : freePages_(storage_.File()) {
    index_.map = storage_.AddMap();
    index_.root = freePages_.Allocate();
    tree_ = std::make_unique<IndexTree>(IndexTree::Create(storage_.File(), freePages_, kTable, index_));
  }

  IndexTreeWalker Walk() { return IndexTreeWalker(storage_.File(), kTable, index_.root, index_.map); }
  const Page& PageAt(PageNumber page) { return storage_.File().Read(page); }
  std::string HexAt(PageNumber page, std::size_t offset, std::size_t count) {
    return ToHex(ByteView(PageAt(page)).subspan(offset, count));
  }
  IndexPageView View(PageNumber page) { return IndexPageView(storage_.File(), page, kTable); }
  IndexPageView Root() { return View(index_.root); }
  /// A node without entries, as other engines leave them.
  PageNumber AddNode(std::uint8_t level, PageNumber tail) {
    const PageNumber node = freePages_.Allocate();
    IndexPage::Format(storage_.File().Write(node), kTable, level);
    IndexPage(storage_.File(), node, kTable).SetTail(tail);
    UsageMap(storage_.File(), index_.map).Add(node, freePages_);
    return node;
  }
  std::vector<Page> AllPages() {
    std::vector<Page> pages;
    for (PageNumber page = 0; page < storage_.File().PageCount(); ++page) pages.push_back(PageAt(page));
    return pages;
  }

  JetStorage storage_;
  FreePages freePages_;
  IndexData index_;
  std::unique_ptr<IndexTree> tree_;
};

/// 7F and the number like the key of a Long.
Bytes LongKey(std::int32_t number) {
  Bytes key = {0x7F, 0, 0, 0, 0};
  StoreBig(key.data() + 1, static_cast<std::uint32_t>(number) ^ 0x80000000U);
  return key;
}

/// A key of `size` bytes that sorts by number and differs in its second to fifth byte.
Bytes WideKey(std::int32_t number, std::size_t size) {
  Bytes key = LongKey(number);
  key.resize(size, 0x4A);
  return key;
}

RowId RowOf(std::int32_t number) {
  return {1000 + static_cast<PageNumber>(number) / 200, static_cast<std::uint8_t>(number % 200)};
}

/// Wide keys, seven to a page: leaves and nodes of few entries.
constexpr std::size_t kWide = 505;

TEST_F(IndexTreeTest, EmptyTreeIsAnEmptyRootLeaf) {
  EXPECT_EQ(HexAt(index_.root, 0, 0x1C),
            "04 01 20 0E F5 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
  EXPECT_TRUE(tree_->Entries().empty());
  EXPECT_EQ(tree_->Find(LongKey(1)), std::nullopt);
  EXPECT_FALSE(tree_->Remove(LongKey(1), {1000, 0}));
  Walk();
}

TEST_F(IndexTreeTest, CreateClearsThePageAndListsItInTheMap) {
  const PageNumber page = freePages_.Allocate();
  storage_.File().Write(page).fill(0xFF);
  IndexData index;
  index.map = storage_.AddMap();
  index.root = page;
  const IndexTree tree = IndexTree::Create(storage_.File(), freePages_, kTable, index);
  EXPECT_EQ(PageAt(page), PageAt(index_.root));
  EXPECT_EQ(UsageMap(storage_.File(), index.map).Pages(), std::vector<PageNumber>{page});
  EXPECT_TRUE(tree.Entries().empty());
}

TEST_F(IndexTreeTest, EntriesAreKeyAndRowAddressBigEndian) {
  tree_->Insert(LongKey(1), {0x012345, 0x67});
  EXPECT_EQ(HexAt(index_.root, 0x1E0, 10), "7F 80 00 00 01 01 23 45 67 00");
  EXPECT_EQ(HexAt(index_.root, 0x1B, 3), "00 02 00");
  EXPECT_EQ(HexAt(index_.root, 2, 2), "17 0E");
  ASSERT_EQ(tree_->Entries().size(), 1U);
  EXPECT_EQ(tree_->Entries()[0].key, LongKey(1));
  EXPECT_EQ(tree_->Entries()[0].row, (RowId{0x012345, 0x67}));
}

// The catalog of an empty database as a genuine engine writes it: free space 3439 and 3544, keys in this order.
TEST_F(IndexTreeTest, CatalogKeysOfAnEmptyDatabaseGiveTheGenuinePage) {
  Column parent;
  parent.type = ColumnType::Long;
  Column name;
  const auto insert = [&](std::int32_t parentId, const char* text, std::uint8_t slot) {
    Bytes key;
    AppendKey(key, parent, parentId, true);
    AppendKey(key, name, std::string(text), true);
    tree_->Insert(key, {14, slot});
  };
  insert(0x0F000000, "Tables", 0);
  insert(0x0F000000, "Databases", 1);
  insert(0x0F000000, "Relationships", 2);
  insert(0x0F000002, "MSysDb", 3);
  insert(0x0F000001, "MSysObjects", 4);
  insert(0x0F000001, "MSysACEs", 5);
  insert(0x0F000001, "MSysQueries", 6);
  insert(0x0F000001, "MSysRelationships", 7);
  EXPECT_EQ(HexAt(index_.root, 0, 0x0C), "04 01 6F 0D F5 00 00 00 00 00 00 00");
  EXPECT_EQ(HexAt(index_.root, 0x1E0, 21), "7F 8F 00 00 00 7F 4F 4A 6D 4A 4C 4A 6B 51 6B 01 00 00 00 0E 01");
  std::string slots;
  for (const IndexTree::Entry& entry : tree_->Entries()) slots += std::to_string(entry.row.slot);
  EXPECT_EQ(slots, "12054673");
}

TEST_F(IndexTreeTest, EqualKeysAreOrderedByPageThenSlot) {
  const Bytes key = LongKey(7);
  for (const RowId row : {RowId{300, 2}, RowId{20, 200}, RowId{300, 1}, RowId{0x10000, 0}, RowId{20, 3}}) {
    tree_->Insert(key, row);
  }
  std::vector<RowId> rows;
  for (const IndexTree::Entry& entry : tree_->Entries()) rows.push_back(entry.row);
  EXPECT_EQ(rows, (std::vector<RowId>{{20, 3}, {20, 200}, {300, 1}, {300, 2}, {0x10000, 0}}));
}

TEST_F(IndexTreeTest, LeafThatOverflowsIsRewrittenWithItsPrefixFirst) {
  const Bytes key = FromHex("7F 6B 4A 60 51 01 00");
  for (int i = 0; i < 328; ++i) {
    tree_->Insert(key, {0x162U + static_cast<PageNumber>(i / 255), static_cast<std::uint8_t>(i % 255)});
  }
  EXPECT_EQ(Root().PrefixLength(), 0U);
  for (int i = 328; i < 500; ++i) {
    tree_->Insert(key, {0x162U + static_cast<PageNumber>(i / 255), static_cast<std::uint8_t>(i % 255)});
  }
  EXPECT_TRUE(Root().IsLeaf());
  EXPECT_EQ(HexAt(index_.root, 0x18, 2), "09 00");
  EXPECT_EQ(HexAt(index_.root, 0x1E0, 15), "7F 6B 4A 60 51 01 00 00 01 62 00 62 01 62 02");
  EXPECT_EQ(Walk().Entries().size(), 500U);
}

TEST_F(IndexTreeTest, AppendingSplitLeavesTheOldPageFullAndThePageNumberOfTheRoot) {
  for (int i = 0; i < 8; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  ASSERT_FALSE(Root().IsLeaf());
  ASSERT_EQ(Root().AllEntries().Count(), 1U);
  const PageNumber left = Root().ChildAt(0);
  const PageNumber right = Root().Tail();
  EXPECT_EQ(View(left).AllEntries().Count(), 7U);
  EXPECT_EQ(View(right).AllEntries().Count(), 1U);
  EXPECT_EQ(View(left).Next(), right);
  EXPECT_EQ(View(right).Previous(), left);
  EXPECT_EQ(HexAt(index_.root, 0, 2), "03 01");
  EXPECT_EQ(Root().Level(), 1);
  Walk();
}

TEST_F(IndexTreeTest, NodeEntryOfALeafIsItsLastEntryAndItsPage) {
  for (int i = 0; i < 8; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  EntryBytes entry;
  Root().ReadEntry(0, entry);
  Bytes expected = WideKey(6, kWide);
  const Bytes rest = FromHex("00 03 E8 06 | 00 00 00 04");
  expected.insert(expected.end(), rest.begin(), rest.end());
  EXPECT_EQ(ToHex(entry.View()), ToHex(expected));
  EXPECT_EQ(Root().ChildAt(0), 4U);
}

TEST_F(IndexTreeTest, MiddleSplitOfATailPutsTheUpperHalfOnTheNewPage) {
  for (int i = 0; i < 7; ++i) tree_->Insert(WideKey(2 * i, kWide), RowOf(i));
  tree_->Insert(WideKey(5, kWide), RowOf(50));
  const PageNumber left = Root().ChildAt(0);
  EXPECT_EQ(View(left).AllEntries().Count(), 4U);
  EXPECT_EQ(View(Root().Tail()).AllEntries().Count(), 4U);
  EXPECT_LT(left, Root().Tail());
  Walk();
}

TEST_F(IndexTreeTest, MiddleSplitOfAnotherChildPutsTheLowerHalfOnTheNewPage) {
  for (int i = 0; i < 8; ++i) tree_->Insert(WideKey(2 * i, kWide), RowOf(i));
  const PageNumber old = Root().ChildAt(0);
  const PageNumber tail = Root().Tail();
  tree_->Insert(WideKey(5, kWide), RowOf(50));
  ASSERT_EQ(Root().AllEntries().Count(), 2U);
  const PageNumber added = Root().ChildAt(0);
  EXPECT_EQ(Root().ChildAt(Root().EndOf(0)), old);
  EXPECT_EQ(Root().Tail(), tail);
  EXPECT_EQ(View(added).Next(), old);
  EXPECT_EQ(View(old).Previous(), added);
  EXPECT_EQ(View(added).Previous(), 0U);
  EXPECT_EQ(ToHex(View(added).AllEntries()[0]).substr(0, 14), "7F 80 00 00 00");
  Walk();
}

TEST_F(IndexTreeTest, AscendingKeysFillLeavesAndNodes) {
  for (int i = 0; i < 8 * 7 * 7; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  const IndexTreeWalker walker = Walk();
  EXPECT_EQ(walker.Levels(), 3U);
  EXPECT_EQ(walker.LeafCount(), 8U * 7);
  EXPECT_EQ(walker.Entries().size(), 8U * 7 * 7);
}

TEST_F(IndexTreeTest, AppendingSplitOfANodeLeavesTheNewNodeOneEntryAndItsTail) {
  // Leaves of 7; the root takes 7 entries and a tail, then its last entry but one goes up.
  for (int i = 0; i < 7 * 8 + 1; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  ASSERT_EQ(Root().Level(), 2);
  EXPECT_EQ(Root().AllEntries().Count(), 1U);
  EXPECT_EQ(View(Root().ChildAt(0)).AllEntries().Count(), 6U);
  EXPECT_EQ(View(Root().Tail()).AllEntries().Count(), 1U);
  EXPECT_EQ(View(Root().Tail()).Previous(), Root().ChildAt(0));
  EXPECT_EQ(Walk().Levels(), 3U);
}

/// Rows of one key fill a leaf by what they share; halved together with a key that shares less they would not fit.
TEST_F(IndexTreeTest, KeyBesideALeafOfOneKeyGetsAPageOfItsOwn) {
  constexpr std::int32_t kFull = 1700;
  for (std::int32_t i = 0; i < kFull; ++i) tree_->Insert(LongKey(7), RowOf(i));
  ASSERT_TRUE(Root().IsLeaf());
  tree_->Insert(LongKey(3), RowOf(0));
  EXPECT_FALSE(Root().IsLeaf());
  EXPECT_EQ(tree_->FindAll(LongKey(7)).size(), static_cast<std::size_t>(kFull));
  EXPECT_EQ(tree_->FindAll(LongKey(3)).size(), 1U);
  Walk();
}

TEST_F(IndexTreeTest, DescendingKeysKeepEveryRule) {
  for (int i = 500; i-- > 0;) tree_->Insert(WideKey(i, kWide), RowOf(i));
  const IndexTreeWalker walker = Walk();
  EXPECT_GE(walker.Levels(), 3U);
  EXPECT_EQ(walker.Entries().size(), 500U);
}

TEST_F(IndexTreeTest, FourLevelsKeepEveryRuleDownToTheEmptyRoot) {
  for (int i = 0; i < 3000; ++i) tree_->Insert(WideKey(i * 7919 % 3000, kWide), RowOf(i));
  EXPECT_GE(Walk().Levels(), 4U);
  for (int i = 0; i < 3000; ++i) {
    ASSERT_TRUE(tree_->Remove(WideKey(i * 7919 % 3000, kWide), RowOf(i)));
    if (i % 300 == 0) Walk();
  }
  EXPECT_EQ(HexAt(index_.root, 0, 0x1C),
            "04 01 20 0E F5 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
  EXPECT_EQ(Walk().Pages().size(), 1U);
}

TEST_F(IndexTreeTest, RemovingTheLastEntryOfALeafLowersTheParentsEntry) {
  for (int i = 0; i < 8; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  EXPECT_TRUE(tree_->Remove(WideKey(6, kWide), RowOf(6)));
  EntryBytes entry;
  Root().ReadEntry(0, entry);
  EXPECT_EQ(ToHex(entry.KeyAndRow().first(5)), "7F 80 00 00 05");
  Walk();
}

TEST_F(IndexTreeTest, RemovingTheLastEntryOfATailLeafLowersTheNextAncestorThatIsNoTail) {
  for (int i = 0; i < 7 * 8 + 1; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  // The root's entry stands for the node whose tail is the seventh leaf.
  EXPECT_TRUE(tree_->Remove(WideKey(48, kWide), RowOf(48)));
  EntryBytes entry;
  Root().ReadEntry(0, entry);
  EXPECT_EQ(ToHex(entry.KeyAndRow().first(5)), "7F 80 00 00 2F");
  Walk();
}

TEST_F(IndexTreeTest, EmptyLeafIsUnlinkedTakenOutOfTheMapAndFreed) {
  for (int i = 0; i < 7 * 3; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  const PageNumber middle = Root().ChildAt(Root().EndOf(0));
  for (int i = 7; i < 14; ++i) EXPECT_TRUE(tree_->Remove(WideKey(i, kWide), RowOf(i)));
  EXPECT_TRUE(UsageMap(storage_.File(), {1, 0}).Contains(middle));
  EXPECT_EQ(HexAt(middle, 0, 2), "04 01");
  EXPECT_EQ(Walk().LeafCount(), 2U);
}

TEST_F(IndexTreeTest, EmptyTailIsReplacedByTheLastEntrysChild) {
  for (int i = 0; i < 7 * 3; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  const PageNumber middle = Root().ChildAt(Root().EndOf(0));
  for (int i = 14; i < 21; ++i) EXPECT_TRUE(tree_->Remove(WideKey(i, kWide), RowOf(i)));
  EXPECT_EQ(Root().Tail(), middle);
  EXPECT_EQ(Root().AllEntries().Count(), 1U);
  EXPECT_EQ(View(middle).Next(), 0U);
  Walk();
}

TEST_F(IndexTreeTest, RootLeftWithItsTailOnlyTakesTheTailsContent) {
  for (int i = 0; i < 8; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  for (int i = 0; i < 7; ++i) EXPECT_TRUE(tree_->Remove(WideKey(i, kWide), RowOf(i)));
  EXPECT_TRUE(Root().IsLeaf());
  EXPECT_EQ(HexAt(index_.root, 0x0C, 8), "00 00 00 00 00 00 00 00");
  const IndexTreeWalker walker = Walk();
  EXPECT_EQ(walker.Entries().size(), 1U);
  EXPECT_EQ(walker.Pages(), std::set<PageNumber>{index_.root});
}

TEST_F(IndexTreeTest, NodeLeftWithItsTailOnlyIsJoinedWithItsLeftNeighbour) {
  for (int i = 0; i < 7 * 8 + 1; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  // The right node had two leaves; the left one with seven takes the other one in, so one level is enough again.
  EXPECT_TRUE(tree_->Remove(WideKey(56, kWide), RowOf(56)));
  const IndexTreeWalker walker = Walk();
  EXPECT_EQ(walker.Levels(), 2U);
  EXPECT_EQ(walker.LeafCount(), 8U);
  EXPECT_EQ(walker.Entries().size(), 56U);
}

TEST_F(IndexTreeTest, NodeLeftWithItsTailOnlyIsJoinedWithItsRightNeighbour) {
  for (int i = 0; i < 7 * 8 + 1; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  for (int i = 0; i < 7 * 6; ++i) EXPECT_TRUE(tree_->Remove(WideKey(i, kWide), RowOf(i)));
  const IndexTreeWalker walker = Walk();
  EXPECT_EQ(walker.Levels(), 2U);
  EXPECT_EQ(walker.LeafCount(), 3U);
}

TEST_F(IndexTreeTest, NodeLeftWithItsTailOnlyBesideAFullOneTakesChildrenOver) {
  for (int i = 0; i < 7 * 8 + 1; ++i) tree_->Insert(WideKey(2 * i, kWide), RowOf(i));
  // A split leaf fills the left node; without its second leaf the right one has only one.
  tree_->Insert(WideKey(1, kWide), RowOf(500));
  ASSERT_EQ(View(Root().ChildAt(0)).AllEntries().Count(), 7U);
  EXPECT_TRUE(tree_->Remove(WideKey(2 * 56, kWide), RowOf(56)));
  const IndexTreeWalker walker = Walk();
  EXPECT_EQ(walker.Levels(), 3U);
  EXPECT_EQ(View(Root().ChildAt(0)).AllEntries().Count(), 3U);
  EXPECT_EQ(View(Root().Tail()).AllEntries().Count(), 4U);
  EXPECT_EQ(walker.Entries().size(), 57U);
}

TEST_F(IndexTreeTest, NodesWithATailOnlyOfOtherEnginesAreWorkedWith) {
  for (int i = 0; i < 7 * 2; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  const PageNumber lastLeaf = Root().Tail();
  const PageNumber left = AddNode(1, Root().ChildAt(0));
  const PageNumber right = AddNode(1, lastLeaf);
  IndexPage(storage_.File(), left, kTable).SetNext(right);
  IndexPage(storage_.File(), right, kTable).SetPrevious(left);
  EntryBytes old;
  Root().ReadEntry(0, old);
  EntryBytes entry;
  entry.Append(old.KeyAndRow());
  entry.AppendChild(left);
  IndexPage::Format(storage_.File().Write(index_.root), kTable, 2);
  IndexPage root(storage_.File(), index_.root, kTable);
  ASSERT_TRUE(root.TryInsert(0, entry.View()));
  root.SetTail(right);

  for (int i = 0; i < 7 * 2; ++i) EXPECT_TRUE(tree_->Find(WideKey(i, kWide)).has_value());
  for (int i = 7; i < 14; ++i) EXPECT_TRUE(tree_->Remove(WideKey(i, kWide), RowOf(i)));
  EXPECT_EQ(tree_->Entries().size(), 7U);
  for (int i = 0; i < 7; ++i) EXPECT_TRUE(tree_->Remove(WideKey(i, kWide), RowOf(i)));
  EXPECT_EQ(Walk().Pages(), std::set<PageNumber>{index_.root});
}

TEST_F(IndexTreeTest, NodeUnderAParentWithATailOnlyOfOtherEnginesMayBeLeftWithItsTailOnly) {
  for (int i = 0; i < 7 * 2; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  const PageNumber node = AddNode(1, 0);
  const Page content = PageAt(index_.root);
  storage_.File().Write(node) = content;
  IndexPage::Format(storage_.File().Write(index_.root), kTable, 2);
  IndexPage(storage_.File(), index_.root, kTable).SetTail(node);

  for (int i = 0; i < 14; ++i) {
    EXPECT_TRUE(tree_->Remove(WideKey(i, kWide), RowOf(i)));
    EXPECT_EQ(tree_->Entries().size(), 13U - static_cast<std::size_t>(i));
  }
  EXPECT_EQ(Walk().Pages(), std::set<PageNumber>{index_.root});
}

TEST_F(IndexTreeTest, FourLevelsEmptiedFromEitherEndKeepEveryRule) {
  constexpr int kCount = 7 * 7 * 16;
  for (int i = 0; i < kCount; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  ASSERT_EQ(Walk().Levels(), 4U);
  for (int i = kCount; i-- > kCount / 2;) {
    ASSERT_TRUE(tree_->Remove(WideKey(i, kWide), RowOf(i)));
    if (i % 7 == 0) Walk();
  }
  for (int i = 0; i < kCount / 2; ++i) {
    ASSERT_TRUE(tree_->Remove(WideKey(i, kWide), RowOf(i)));
    if (i % 7 == 0) Walk();
  }
  EXPECT_EQ(Walk().Pages(), std::set<PageNumber>{index_.root});
}

TEST_F(IndexTreeTest, LongerParentEntryThatNoLongerFitsSplitsTheNode) {
  // Leaves that end with a short key behind a long one: removing the short ones makes the node's entries grow.
  std::vector<std::pair<Bytes, RowId>> shortOnes;
  for (int i = 0; i < 400; ++i) {
    const bool isShort = i % 2 == 1;
    const Bytes key = WideKey(i, isShort ? 6 : kWide);
    tree_->Insert(key, RowOf(i));
    if (isShort) shortOnes.emplace_back(key, RowOf(i));
  }
  const std::size_t levels = Walk().Levels();
  for (const auto& [key, row] : shortOnes) ASSERT_TRUE(tree_->Remove(key, row));
  const IndexTreeWalker walker = Walk();
  EXPECT_EQ(walker.Entries().size(), 200U);
  EXPECT_GT(walker.Levels(), levels);
}

TEST_F(IndexTreeTest, FindGivesTheFirstRowOfTheKey) {
  for (int i = 0; i < 2000; ++i) tree_->Insert(LongKey(i / 4), RowOf(i));
  EXPECT_EQ(tree_->Find(LongKey(100)), std::optional(RowOf(400)));
  EXPECT_EQ(tree_->Find(LongKey(100), RowOf(400)), std::optional(RowOf(401)));
  EXPECT_EQ(tree_->Find(LongKey(100), RowOf(401)), std::optional(RowOf(400)));
  EXPECT_EQ(tree_->Find(LongKey(500)), std::nullopt);
  EXPECT_EQ(tree_->Find(LongKey(-1)), std::nullopt);
}

TEST_F(IndexTreeTest, FindAllGivesTheRowsOfTheKeyInOrderUpToTheLimit) {
  std::vector<RowId> wanted;
  for (int i = 0; i < 2000; ++i) tree_->Insert(LongKey(i % 2), RowOf((i * 7) % 2000));
  for (int i = 0; i < 2000; i += 2) wanted.push_back(RowOf(i));
  EXPECT_EQ(tree_->FindAll(LongKey(0)), wanted);
  wanted.resize(3);
  EXPECT_EQ(tree_->FindAll(LongKey(0), 3), wanted);
  EXPECT_TRUE(tree_->FindAll(LongKey(2)).empty());
}

TEST_F(IndexTreeTest, FindAllLeavesOutLongerKeysThatBeginAlike) {
  const Bytes shorter = LongKey(5);
  Bytes longer = shorter;
  longer.push_back(0);
  tree_->Insert(longer, RowOf(1));
  tree_->Insert(shorter, RowOf(3));
  tree_->Insert(shorter, RowOf(0));
  EXPECT_EQ(tree_->FindAll(shorter), (std::vector<RowId>{RowOf(0), RowOf(3)}));
}

TEST_F(IndexTreeTest, InsertTellsWhetherTheKeyIsNewAlsoAtTheEdgesOfLeaves) {
  for (int i = 0; i < 40; ++i) EXPECT_TRUE(tree_->InsertAndTell(WideKey(2 * i, kWide), RowOf(2 * i)));
  for (int i = 0; i < 40; ++i) EXPECT_FALSE(tree_->InsertAndTell(WideKey(2 * i, kWide), RowOf(2 * i + 1)));
  for (int i = 0; i < 40; ++i) EXPECT_TRUE(tree_->InsertAndTell(WideKey(2 * i + 1, kWide), RowOf(100 + i)));
  for (int i = 39; i >= 0; --i) EXPECT_FALSE(tree_->InsertAndTell(WideKey(2 * i + 1, kWide), RowOf(50 - i)));
}

TEST_F(IndexTreeTest, InsertTellsAKeyFromLongerOnesThatBeginAlike) {
  const Bytes shorter = LongKey(5);
  Bytes longer = shorter;
  longer.push_back(0);
  // Its entry stands between those of the shorter key's rows 0 and 3.
  EXPECT_TRUE(tree_->InsertAndTell(longer, RowOf(1)));
  EXPECT_TRUE(tree_->InsertAndTell(shorter, RowOf(0)));
  EXPECT_FALSE(tree_->InsertAndTell(shorter, RowOf(3)));
  EXPECT_FALSE(tree_->InsertAndTell(longer, RowOf(2)));
}

TEST_F(IndexTreeTest, FindOfAUniqueKeyExceptItsOwnRowFindsNothing) {
  for (int i = 0; i < 2000; ++i) tree_->Insert(LongKey(i), RowOf(i));
  EXPECT_EQ(tree_->Find(LongKey(1234), RowOf(1234)), std::nullopt);
}

TEST_F(IndexTreeTest, FindOfAKeyAtTheEndOfALeafLooksIntoTheNextOne) {
  for (int i = 0; i < 70; ++i) tree_->Insert(WideKey(i / 35, kWide), RowOf(i));
  for (int i = 0; i < 70; ++i) {
    std::optional<RowId> found = tree_->Find(WideKey(i / 35, kWide), RowOf(i));
    EXPECT_EQ(found, std::optional(RowOf(i % 35 == 0 ? i + 1 : i / 35 * 35)));
  }
}

TEST_F(IndexTreeTest, FindOfAKeyThatOthersBeginWithIsExact) {
  const Bytes empty = FromHex("7F");
  const Bytes zero = FromHex("7F 00 00 00 00 00 00 00 00 01");
  tree_->Insert(zero, {5, 1});
  EXPECT_EQ(tree_->Find(empty), std::nullopt);
  tree_->Insert(empty, {0x30, 7});
  EXPECT_EQ(tree_->Find(empty), std::optional(RowId{0x30, 7}));
  EXPECT_EQ(tree_->Find(zero), std::optional(RowId{5, 1}));
}

TEST_F(IndexTreeTest, RemoveUnderAnotherKeyFindsTheRowByItsAddress) {
  for (int i = 0; i < 1000; ++i) tree_->Insert(LongKey(i), RowOf(i));
  EXPECT_TRUE(tree_->Remove(LongKey(-5), RowOf(777)));
  EXPECT_EQ(tree_->Find(LongKey(777)), std::nullopt);
  EXPECT_EQ(Walk().Entries().size(), 999U);
}

TEST_F(IndexTreeTest, RowAddressWithinThePrefixIsFoundByAddress) {
  const Bytes key = FromHex("7F 6B 4A 60 51 01 00");
  for (int i = 0; i < 500; ++i) {
    tree_->Insert(key, {0x162U + static_cast<PageNumber>(i / 255), static_cast<std::uint8_t>(i % 255)});
  }
  ASSERT_GT(Root().PrefixLength(), key.size());
  EXPECT_TRUE(tree_->Remove(LongKey(1), {0x163, 4}));
  EXPECT_EQ(Walk().Entries().size(), 499U);
  EXPECT_EQ(tree_->Find(key, RowId{0x162, 0}), std::optional(RowId{0x162, 1}));
}

TEST_F(IndexTreeTest, RemoveOfARowWithoutEntrySaysSo) {
  for (int i = 0; i < 1000; ++i) tree_->Insert(LongKey(i), RowOf(i));
  const std::vector<Page> before = AllPages();
  EXPECT_FALSE(tree_->Remove(LongKey(5), RowOf(1000)));
  EXPECT_EQ(AllPages(), before);
}

TEST_F(IndexTreeTest, InsertOfAnEntryThatIsThereIsDamage) {
  tree_->Insert(LongKey(1), RowOf(1));
  EXPECT_EQ(ErrorNumberOf([&] { tree_->Insert(LongKey(1), RowOf(1)); }), errors::kJetGeneral);
  EXPECT_EQ(tree_->Entries().size(), 1U);
}

TEST_F(IndexTreeTest, KeyOfTheGreatestLengthStillSplits) {
  for (int i = 0; i < 40; ++i) tree_->Insert(WideKey(i * 17 % 40, IndexTree::kLongestKey), RowOf(i));
  EXPECT_EQ(Walk().Entries().size(), 40U);
  EXPECT_EQ(ErrorNumberOf([&] { tree_->Insert(WideKey(99, IndexTree::kLongestKey + 1), RowOf(99)); }),
            errors::kJetGeneral);
}

TEST_F(IndexTreeTest, KeyTooLongForAnyPageIsNotThere) {
  EXPECT_EQ(tree_->Find(Bytes(5000, 0x7F)), std::nullopt);
  EXPECT_FALSE(tree_->Remove(Bytes(5000, 0x7F), {9, 9}));
}

TEST_F(IndexTreeTest, ParentEntryAboveItsChildIsFollowedAndMended) {
  for (int i = 0; i < 7 * 3; ++i) tree_->Insert(WideKey(2 * i, kWide), RowOf(i));
  // As other engines leave it after a removal: the entry still says 12 while the leaf ends with 10.
  IndexPage leaf(storage_.File(), Root().ChildAt(0), kTable);
  leaf.Remove(leaf.LastStart());
  tree_->Insert(WideKey(11, kWide), RowOf(100));
  EXPECT_EQ(tree_->Find(WideKey(11, kWide)), std::optional(RowOf(100)));
  EXPECT_TRUE(tree_->Remove(WideKey(11, kWide), RowOf(100)));
  EXPECT_EQ(Walk().Entries().size(), 20U);
}

TEST_F(IndexTreeTest, FullLeafBelowAParentEntryThatIsAboveItIsHalved) {
  for (int i = 0; i < 7 * 3; ++i) tree_->Insert(WideKey(4 * i, kWide), RowOf(i));
  IndexPage leaf(storage_.File(), Root().ChildAt(0), kTable);
  leaf.Remove(leaf.LastStart());
  tree_->Insert(WideKey(21, kWide), RowOf(100));
  tree_->Insert(WideKey(22, kWide), RowOf(101));
  EXPECT_EQ(View(Root().ChildAt(0)).AllEntries().Count(), 4U);
  EXPECT_EQ(View(Root().ChildAt(Root().EndOf(0))).AllEntries().Count(), 4U);
  EXPECT_TRUE(tree_->Remove(WideKey(22, kWide), RowOf(101)));
  EXPECT_EQ(Walk().Entries().size(), 21U);
}

TEST_F(IndexTreeTest, RolledBackStatementLeavesNoTrace) {
  for (int i = 0; i < 300; ++i) tree_->Insert(WideKey(2 * i, kWide), RowOf(i));
  const std::vector<Page> before = AllPages();
  {
    const Statement statement(storage_.File());
    for (int i = 0; i < 100; ++i) tree_->Insert(WideKey(2 * i + 1, kWide), RowOf(1000 + i));
    for (int i = 0; i < 300; i += 2) tree_->Remove(WideKey(2 * i, kWide), RowOf(i));
  }
  EXPECT_EQ(AllPages(), before);
  tree_->Insert(WideKey(1, kWide), RowOf(1000));
  EXPECT_EQ(Walk().Entries().size(), 301U);
}

TEST_F(IndexTreeTest, LeavesLinkedInACircleAreDamage) {
  for (int i = 0; i < 7 * 3; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  const PageNumber first = Root().ChildAt(0);
  IndexPage(storage_.File(), Root().Tail(), kTable).SetNext(first);
  EXPECT_EQ(ErrorNumberOf([&] { tree_->Entries(); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { tree_->Remove(LongKey(1), {9, 9}); }), errors::kJetGeneral);
}

/// Trees of other writers, whose nodes hold more than ours because they have a prefix.
class TreesOfOthers : public IndexTreeTest {
 protected:
  static constexpr std::size_t kLong = 300;
  static constexpr int kKeys = 1500;

  /// Keys that differ in their last bytes only; those of every fifth group of 300 in the second byte as well.
  static Bytes KeyWithLateDifference(int number) {
    Bytes key(kLong, 0x4A);
    key[1] = static_cast<std::uint8_t>(number / 300);
    StoreBig(key.data() + kLong - 4, static_cast<std::uint32_t>(number));
    return key;
  }

  Bytes KeyOf(int number) const { return isWide_ ? WideKey(number, kWide) : KeyWithLateDifference(number); }

  void Build(const mv::testing::TreeShape& shape) {
    for (int i = 0; i < kKeys; i += 2) Insert(i);
    Reshape(shape);
  }
  void Reshape(const mv::testing::TreeShape& shape) {
    TableDefinition table;
    table.page = kTable;
    mv::testing::TreeShaper(storage_.File(), table, index_, 1).Reshape(shape);
  }
  void Insert(int number) {
    tree_->Insert(KeyOf(number), RowOf(number));
    there_.insert(number);
  }
  void Remove(int number) {
    EXPECT_TRUE(tree_->Remove(KeyOf(number), RowOf(number)));
    there_.erase(number);
  }
  void ExpectAllThere() {
    std::vector<RowId> rows;
    for (const IndexTree::Entry& entry : tree_->Entries()) rows.push_back(entry.row);
    std::vector<RowId> expected;
    for (const int number : there_) expected.push_back(RowOf(number));
    EXPECT_EQ(rows, expected);
    for (const int number : there_) ASSERT_EQ(tree_->Find(KeyOf(number)), RowOf(number));
  }

  bool isWide_ = false;
  std::set<int> there_;
};

TEST_F(TreesOfOthers, NodeThatIsFullByItsPrefixTakesAnEntryThatDoesNotShareIt) {
  for (int i = 300; i < 540; ++i) Insert(i);
  Reshape({.mostEntries = 1, .mostChildren = 240, .nodePrefix = mv::testing::TreeShape::Prefix::Longest});
  for (int i = 0; i < 300; ++i) Insert(i);
  ExpectAllThere();
  while (!there_.empty()) Remove(*there_.rbegin());
  EXPECT_EQ(UsageMap(storage_.File(), index_.map).Pages(), std::vector<PageNumber>{index_.root});
}

TEST_F(TreesOfOthers, LevelsAreCountedFromTheLeavesWhateverTheirBytesSay) {
  isWide_ = true;
  for (int i = 0; i < kKeys; i += 8) Insert(i);
  Reshape({.mostEntries = 4, .mostChildren = 5, .nodeLevel = 0});
  for (int i = 0; i < kKeys; ++i) {
    if (i % 8 != 0) Insert(i);
  }
  ExpectAllThere();
  while (there_.size() > 3) Remove(*there_.begin());
  ExpectAllThere();
}

TEST_F(TreesOfOthers, NodesWithAPrefixAreSplitAndJoined) {
  Build({.mostEntries = 4,
         .mostChildren = 120,
         .leafPrefix = mv::testing::TreeShape::Prefix::Longest,
         .nodePrefix = mv::testing::TreeShape::Prefix::Longest});
  std::mt19937 random(3);
  for (int i = 1; i < kKeys; i += 2) Insert(i);
  ExpectAllThere();
  while (there_.size() > 20) Remove(*std::next(there_.begin(), static_cast<std::ptrdiff_t>(random() % there_.size())));
  ExpectAllThere();
  for (int i = 0; i < kKeys; ++i) {
    if (!there_.contains(i)) Insert(i);
  }
  ExpectAllThere();
  while (!there_.empty()) Remove(*there_.begin());
  EXPECT_EQ(UsageMap(storage_.File(), index_.map).Pages(), std::vector<PageNumber>{index_.root});
}

TEST_F(TreesOfOthers, NodesWithoutTailAndEmptyLeavesAreEmptiedFromTheRight) {
  Build({.mostEntries = 3, .mostChildren = 3, .extraLevels = 1, .tails = false, .emptyLeaves = true});
  while (there_.size() > 5) Remove(*there_.rbegin());
  ExpectAllThere();
  for (int i = 0; i < kKeys; ++i) {
    if (!there_.contains(i)) Insert(i);
  }
  ExpectAllThere();
}

TEST_F(IndexTreeTest, NodeThatIsItsOwnTailIsDamage) {
  for (int i = 0; i < 7 * 3; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  IndexPage(storage_.File(), index_.root, kTable).SetTail(index_.root);
  EXPECT_EQ(ErrorNumberOf([&] { tree_->Insert(WideKey(99, kWide), RowOf(99)); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { tree_->Find(WideKey(99, kWide)); }), errors::kJetGeneral);
}

TEST_F(IndexTreeTest, NeighboursThatDoNotAgreeAreDamage) {
  for (int i = 0; i < 7 * 3; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  IndexPage(storage_.File(), Root().Tail(), kTable).SetPrevious(Root().ChildAt(0));
  for (int i = 7; i < 13; ++i) tree_->Remove(WideKey(i, kWide), RowOf(i));
  EXPECT_EQ(ErrorNumberOf([&] { tree_->Remove(WideKey(13, kWide), RowOf(13)); }), errors::kJetGeneral);
}

TEST_F(IndexTreeTest, EntriesOutOfOrderAreDamageWhenARowIsSoughtByAddress) {
  IndexPage leaf(storage_.File(), index_.root, kTable);
  ASSERT_TRUE(leaf.TryInsert(0, FromHex("7F 80 00 00 05 | 00 00 09 01")));
  ASSERT_TRUE(leaf.TryInsert(9, FromHex("7F 80 00 00 03 | 00 00 09 02")));
  EXPECT_EQ(ErrorNumberOf([&] { tree_->Remove(LongKey(1), {9, 2}); }), errors::kJetGeneral);
}

TEST_F(IndexTreeTest, FreePageOutsideTheFileMakesTheFileGrow) {
  for (int i = 0; i < 4000; ++i) tree_->Insert(WideKey(i, kWide), RowOf(i));
  EXPECT_GT(storage_.File().PageCount(), 512U);
  EXPECT_EQ(Walk().Entries().size(), 4000U);
}

/// How the keys of a storm look.
struct Storm {
  const char* name;
  std::uint32_t seed;
  std::function<Bytes(std::mt19937&)> key;
};

class IndexTreeStorm : public IndexTreeTest, public ::testing::WithParamInterface<Storm> {};

Bytes RandomBytes(std::mt19937& random, std::size_t size, unsigned alphabet) {
  Bytes bytes(size);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(0x4A + random() % alphabet);
  return bytes;
}

// Grows and shrinks a tree at random and compares it with a sorted set all along.
TEST_P(IndexTreeStorm, KeepsEveryRuleAndEqualsASortedSet) {
  std::mt19937 random(GetParam().seed);
  RecordProperty("seed", static_cast<int>(GetParam().seed));
  SCOPED_TRACE("seed " + std::to_string(GetParam().seed));
  std::set<std::pair<Bytes, RowId>> model;
  std::set<RowId> rows;
  constexpr int kSteps = 30000;
  for (int step = 0; step < kSteps; ++step) {
    // Three quarters inserts at first, then three quarters removals, and so on.
    const bool grows = (random() % 4 != 0) == (step / 6000 % 2 == 0);
    if (grows || model.empty()) {
      const Bytes key = GetParam().key(random);
      const RowId row{static_cast<PageNumber>(20 + random() % 40000), static_cast<std::uint8_t>(random() % 255)};
      if (!rows.insert(row).second) continue;
      const auto sameKey = model.lower_bound({key, RowId{}});
      const bool isNewKey = sameKey == model.end() || sameKey->first != key;
      model.emplace(key, row);
      ASSERT_EQ(tree_->InsertAndTell(key, row), isNewKey) << "step " << step;
    } else {
      auto victim = model.lower_bound({GetParam().key(random), RowId{}});
      if (victim == model.end()) victim = model.begin();
      ASSERT_TRUE(tree_->Remove(victim->first, victim->second));
      rows.erase(victim->second);
      model.erase(victim);
    }
    if (step % 1500 != 0) continue;
    const IndexTreeWalker walker = Walk();
    if (HasFailure()) FAIL() << "step " << step;
    ASSERT_EQ(walker.Entries().size(), model.size());
    std::size_t i = 0;
    for (const auto& [key, row] : model) {
      const EntryBytes expected(key, row);
      ASSERT_TRUE(std::ranges::equal(walker.Entries()[i++], expected.View())) << "step " << step;
    }
  }
  while (!model.empty()) {
    ASSERT_TRUE(tree_->Remove(model.begin()->first, model.begin()->second));
    model.erase(model.begin());
  }
  EXPECT_EQ(Walk().Pages(), std::set<PageNumber>{index_.root});
}

INSTANTIATE_TEST_SUITE_P(
    Keys, IndexTreeStorm,
    ::testing::Values(
        Storm{"Numbers", 101, [](std::mt19937& random) { return LongKey(static_cast<std::int32_t>(random())); }},
        Storm{"FewNumbersManyRows", 102,
              [](std::mt19937& random) { return LongKey(static_cast<std::int32_t>(random() % 20)); }},
        Storm{"OneKey", 103, [](std::mt19937&) { return FromHex("7F 6B 4A 60 51 01 00"); }},
        Storm{"Words", 104,
              [](std::mt19937& random) {
                Bytes key = RandomBytes(random, 1 + random() % 30, 20);
                key.insert(key.begin(), 0x7F);
                key.insert(key.end(), {0x01, 0x00});
                return key;
              }},
        Storm{"LongTexts", 105, [](std::mt19937& random) { return RandomBytes(random, 1 + random() % 510, 3); }},
        Storm{"LongSharedBeginnings", 106,
              [](std::mt19937& random) {
                Bytes key(300 + random() % 200, 0x5E);
                const Bytes rest = RandomBytes(random, 4, 50);
                key.insert(key.end(), rest.begin(), rest.end());
                return key;
              }},
        Storm{"ShortAndLongest", 107,
              [](std::mt19937& random) { return RandomBytes(random, random() % 8 == 0 ? 510 : 3, 30); }}),
    [](const ::testing::TestParamInfo<Storm>& storm) { return std::string(storm.param.name); });

// Whatever stands on the pages, nothing but the engine's own error may come out.
TEST_F(IndexTreeTest, PageThatTheMapDoesNotListIsNotGivenBack) {
  for (std::uint32_t i = 0; Root().IsLeaf(); ++i) {
    Bytes key(100, 0);
    StoreBig(key.data(), i);
    tree_->Insert(key, {300, static_cast<std::uint8_t>(i)});
  }
  UsageMap(storage_.File(), index_.map).Remove(Root().FirstChild());
  const auto removeAll = [&] {
    for (const IndexTree::Entry& entry : tree_->Entries()) tree_->Remove(entry.key, entry.row);
  };
  EXPECT_EQ(ErrorNumberOf(removeAll), errors::kJetGeneral);
}

TEST_F(IndexTreeTest, DamagedBytesRaiseNothingButTheDamageError) {
  constexpr std::uint32_t kSeed = 20041103;
  RecordProperty("seed", static_cast<int>(kSeed));
  std::mt19937 random(kSeed);
  for (int i = 0; i < 600; ++i) tree_->Insert(WideKey(i * 7 % 600, i % 3 == 0 ? 20 : 300), RowOf(i));
  const std::vector<PageNumber> pages = UsageMap(storage_.File(), index_.map).Pages();
  int raised = 0;
  for (int round = 0; round < 3000; ++round) {
    const Statement statement(storage_.File());
    for (auto i = 1 + random() % 3; i > 0; --i) {
      Page& page = storage_.File().Write(pages[random() % pages.size()]);
      // Half of the damage to headers and end marks, where it hurts most.
      const std::size_t at = random() % 2 == 0 ? random() % kEntriesOffset : random() % kPageSize;
      page[at] = static_cast<std::uint8_t>(random() % 3 == 0 ? random() : page[at] ^ (1U << random() % 8));
    }
    try {
      const int number = static_cast<int>(random() % 700);
      const Bytes key = WideKey(number, random() % 2 == 0 ? 20 : 300);
      tree_->Find(key);
      tree_->Insert(key, RowOf(2000 + number));
      for (int i = 0; i < 10; ++i) tree_->Remove(WideKey((number + i) % 600, i % 3 == 0 ? 20 : 300), RowOf(number));
      tree_->Entries();
    } catch (const Error& error) {
      ++raised;
      ASSERT_EQ(error.Number(), errors::kJetGeneral) << "seed " << kSeed << ", round " << round;
    }
  }
  EXPECT_GT(raised, 0);
  EXPECT_EQ(Walk().Entries().size(), 600U);
}

}  // namespace
}  // namespace mv::jet
