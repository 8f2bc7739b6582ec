#include <gtest/gtest.h>

#include "check/DatabaseCheck.h"
#include "check/IndexPage.h"
#include "jet/definition/TableDefinition.h"
#include "support/CheckWorld.h"
#include "support/JetDatabase.h"
#include "support/JetHabits.h"

// Breaks one thing in the index of a database that is sound otherwise, and looks at what the check of the whole file
// says.

namespace mv::check {
namespace {

using mv::testing::FileBytes;
using mv::testing::FindingsIn;
using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::Lines;

constexpr std::size_t kRows = 600;
constexpr std::size_t kLevelAt = 0x1A;
constexpr std::size_t kPreviousAt = 0x0C;
constexpr std::size_t kNextAt = 0x10;
constexpr std::size_t kTailAt = 0x14;
constexpr std::size_t kEntriesAt = 0x1E0;

struct Sample {
  Bytes image;
  jet::TableDefinition definition;
};

/// A table whose primary key has a tree of two levels; N ignores nulls, U is unique and has a null.
const Sample& SoundSample() {
  static const Sample sample = [] {
    JetDatabase database;
    JetTable design = JetTable("T")
                          .Text("K", 40)
                          .Column("N", jet::ColumnType::Long)
                          .Column("U", jet::ColumnType::Long)
                          .PrimaryKey("K");
    design.Index("N", {"N"}).ignoreNulls = true;
    design.Index("U", {"U"}).unique = true;
    jet::Table& table = database.Add(design);
    for (std::size_t i = 0; i < kRows; ++i) {
      std::string number = std::to_string(i);
      number.insert(0, 4 - number.size(), '0');
      const Value n = i % 2 == 0 ? Value(Null()) : Value(static_cast<std::int32_t>(i));
      const Value u = i == 0 ? Value(Null()) : Value(static_cast<std::int32_t>(i));
      table.Insert({"KEY " + number + " of the table", n, u});
    }
    return Sample{database.Image(), table.Definition()};
  }();
  return sample;
}

class IndexCheckTest : public ::testing::Test {
 protected:
  const jet::IndexData& Primary() const { return SoundSample().definition.indexData.at(0); }
  const jet::IndexData& WithoutNulls() const { return SoundSample().definition.indexData.at(1); }
  const jet::IndexData& Unique() const { return SoundSample().definition.indexData.at(2); }

  IndexPage PageAt(PageNumber page) {
    IndexPage read;
    EXPECT_EQ(read.Read(PageView(file_.Page(page), kPageSize)), "");
    return read;
  }
  /// The children of the primary key's root, from left to right.
  std::vector<PageNumber> Leaves() {
    const IndexPage root = PageAt(Primary().root);
    std::vector<PageNumber> leaves;
    for (std::size_t i = 0; i < root.Count(); ++i) leaves.push_back(root.At(i).Word(0));
    leaves.push_back(root.Tail());
    return leaves;
  }
  Lines Check() { return FindingsIn(file_.All()); }
  static std::string At(PageNumber page, const std::string& text, const std::string& index = "PrimaryKey") {
    return "damage: table T, index " + index + ", page " + std::to_string(page) + ": " + text;
  }
  static std::string Noted(PageNumber page, const std::string& text) {
    return "note: table T, index PrimaryKey, page " + std::to_string(page) + ": " + text;
  }
  /// The row whose entry is the first of the leaf.
  RowId FirstRowOf(PageNumber leaf) { return AddressOf(PageAt(leaf).At(0)); }
  static std::string Text(RowId row) { return std::to_string(row.page) + "/" + std::to_string(row.slot); }

  FileBytes file_{SoundSample().image};
};

TEST_F(IndexCheckTest, SoundDatabaseHasNoFindings) {
  EXPECT_EQ(Check(), Lines());
  EXPECT_GE(Leaves().size(), 3U);
}

TEST_F(IndexCheckTest, RootOutsideTheFile) {
  const PageNumber definition = SoundSample().definition.page;
  constexpr std::uint32_t kIndexTag = 0x783;
  std::size_t block = 0;
  while (file_.Word32(definition, block) != kIndexTag) ++block;
  const std::size_t rootAt = block + 38;
  ASSERT_EQ(file_.Word32(definition, rootAt), Primary().root);
  file_.Set32(definition, rootAt, 9999);
  EXPECT_THAT(Check(),
              ::testing::Contains("damage: table T, index PrimaryKey: the root should be page 9999, outside the file"));
}

TEST_F(IndexCheckTest, PageOfAnotherKind) {
  const PageNumber leaf = Leaves()[1];
  file_.Byte(leaf, 0) = 1;
  EXPECT_EQ(Check(), Lines{At(leaf, "the page should be an index page, but begins with 0101")});
}

TEST_F(IndexCheckTest, EntriesThatCannotBeFound) {
  const PageNumber leaf = Leaves()[1];
  file_.Byte(leaf, 0x1B) |= 0x02;
  EXPECT_EQ(Check(), Lines{At(leaf, "the prefix is longer than the first entry")});
}

TEST_F(IndexCheckTest, OwnerField) {
  const PageNumber leaf = Leaves()[1];
  file_.Set32(leaf, 4, 3);
  EXPECT_EQ(Check(), Lines{At(leaf, "the owner field is 3, not " + std::to_string(SoundSample().definition.page))});
}

TEST_F(IndexCheckTest, ReservedWordIsNoted) {
  const PageNumber leaf = Leaves()[1];
  file_.Set32(leaf, 8, 1);
  EXPECT_EQ(Check(),
            Lines{"note: table T, index PrimaryKey, page " + std::to_string(leaf) + ": the word at 8 is not 0"});
}

TEST_F(IndexCheckTest, FreeSpaceWord) {
  const PageNumber leaf = Leaves()[1];
  const std::uint16_t free = file_.Word16(leaf, 2);
  file_.Set16(leaf, 2, static_cast<std::uint16_t>(free + 1));
  EXPECT_EQ(Check(), Lines{At(leaf, "the free-space word is " + std::to_string(free + 1) + ", but " +
                                        std::to_string(free) + " bytes are free")});
}

TEST_F(IndexCheckTest, LevelBytes) {
  const PageNumber leaf = Leaves()[0];
  file_.Byte(leaf, kLevelAt) = 1;
  file_.Byte(Primary().root, kLevelAt) = 2;
  EXPECT_EQ(Check(), (Lines{Noted(Primary().root, "the level byte is 2, but the page is on level 1"),
                            At(leaf, "the level byte of the leaf is 1")}));
}

TEST_F(IndexCheckTest, LeafWithTail) {
  const PageNumber leaf = Leaves()[0];
  file_.Set32(leaf, kTailAt, Leaves()[1]);
  EXPECT_EQ(Check(), Lines{Noted(leaf, "the leaf has a tail child")});
}

TEST_F(IndexCheckTest, LinksOfLeaves) {
  const std::vector<PageNumber> leaves = Leaves();
  file_.Set32(leaves[0], kNextAt, leaves[2]);
  file_.Set32(leaves[0], kPreviousAt, 5);
  EXPECT_EQ(Check(), Lines{At(leaves[0], "the leaf's neighbours are 5 and " + std::to_string(leaves[2]) +
                                             ", but should be 0 and " + std::to_string(leaves[1]))});
}

TEST_F(IndexCheckTest, LinksOfNodes) {
  file_.Set32(Primary().root, kNextAt, 40);
  EXPECT_EQ(Check(), Lines{Noted(Primary().root, "a neighbour of the node does not name it back")});
}

TEST_F(IndexCheckTest, ChildMetTwice) {
  const PageNumber root = Primary().root;
  file_.Set32(root, kTailAt, Leaves()[0]);
  const Lines found = Check();
  EXPECT_THAT(found, ::testing::Contains(At(Leaves()[0], "the page already belongs to index PrimaryKey of table T")));
}

TEST_F(IndexCheckTest, RootAsItsOwnChild) {
  const PageNumber root = Primary().root;
  file_.Set32(root, kTailAt, root);
  EXPECT_THAT(Check(), ::testing::Contains(At(root, "the page already belongs to index PrimaryKey of table T")));
}

TEST_F(IndexCheckTest, NodeWithoutTailLeavesRowsOut) {
  const PageNumber tail = Leaves().back();
  file_.Set32(Primary().root, kTailAt, 0);
  const Lines found = Check();
  EXPECT_THAT(found, ::testing::Contains("note: table T, index PrimaryKey, page " + std::to_string(Primary().root) +
                                         ": the node has no tail child"));
  EXPECT_THAT(found, ::testing::Contains(At(tail,
                                            "the page is in the map of the index, but not in the tree (this page "
                                            "first of 1)")));
  EXPECT_THAT(found, ::testing::Contains(::testing::EndsWith("the row has no entry in the index")));
}

TEST_F(IndexCheckTest, NodeWithoutChildren) {
  const PageNumber root = Unique().root;
  Bytes empty(kPageSize);
  std::copy(empty.begin(), empty.end(), file_.Page(root));
  file_.Set16(root, 0, kIndexNode);
  file_.Set16(root, 2, 3616);
  file_.Set32(root, 4, SoundSample().definition.page);
  EXPECT_THAT(Check(), ::testing::Contains(At(root, "the node has no child at all", "U")));
}

TEST_F(IndexCheckTest, LevelsThatDiffer) {
  const PageNumber leaf = Leaves()[0];
  const PageNumber child = WithoutNulls().root;
  Bytes empty(kPageSize);
  std::copy(empty.begin(), empty.end(), file_.Page(leaf));
  file_.Set16(leaf, 0, kIndexNode);
  file_.Set16(leaf, 2, 3616);
  file_.Set32(leaf, 4, SoundSample().definition.page);
  file_.Set32(leaf, kTailAt, child);
  EXPECT_THAT(Check(),
              ::testing::Contains("damage: table T, index PrimaryKey: nodes and leaves are on one level of the tree"));
}

TEST_F(IndexCheckTest, EmptyLeafBelowTheRoot) {
  const PageNumber leaf = Leaves()[1];
  for (std::size_t at = 0x1B; at < kEntriesAt; ++at) file_.Byte(leaf, at) = 0;
  file_.Set16(leaf, 0x18, 0);
  file_.Set16(leaf, 2, 3616);
  EXPECT_THAT(Check(), ::testing::Contains(Noted(leaf, "the leaf is empty, but not the root")));
}

TEST_F(IndexCheckTest, PrefixOfANodeIsNoted) {
  const PageNumber root = Primary().root;
  const IndexPage page = PageAt(root);
  ASSERT_EQ(page.PrefixLength(), 0U);
  file_.Set16(root, 0x18, 1);
  EXPECT_THAT(Check(), ::testing::Contains("note: table T, index PrimaryKey, page " + std::to_string(root) +
                                           ": a node, or a leaf of fewer than two entries, has a prefix"));
}

TEST_F(IndexCheckTest, MapIsTheTree) {
  const RowId map{Primary().map.page, Primary().map.slot};
  const std::size_t bits = file_.RowStart(map) + 5;
  const PageNumber root = Primary().root;
  file_.Byte(map.page, bits + root / 8) ^= static_cast<std::uint8_t>(1U << root % 8);
  EXPECT_EQ(Check(),
            Lines{At(root, "the page is in the tree, but not in the map of the index (this page first of 1)")});
  file_.Byte(map.page, bits + root / 8) ^= static_cast<std::uint8_t>(1U << root % 8);
  file_.Byte(map.page, bits) ^= 0x10;
  EXPECT_EQ(Check(), Lines{At(4, "the page is in the map of the index, but not in the tree (this page first of 1)")});
}

/// The byte of the key's last letter in an entry of a node: key, 01 00, address, child.
constexpr std::size_t kBehindKey = 2 + 4 + 4;

TEST_F(IndexCheckTest, EntryOfANodeIsTheLastBelowItsChild) {
  const PageNumber root = Primary().root;
  const std::size_t last = kEntriesAt + PageAt(root).At(0).Size() - kBehindKey - 1;
  --file_.Byte(root, last);
  EXPECT_EQ(Check(),
            Lines{At(root, "an entry of the node stands below the last one of leaf " + std::to_string(Leaves()[0]))});
  file_.Byte(root, last) = static_cast<std::uint8_t>(file_.Byte(root, last) + 2);
  EXPECT_EQ(Check(), Lines{"note: table T, index PrimaryKey, page " + std::to_string(root) +
                           ": an entry of the node stands above the last one of leaf " + std::to_string(Leaves()[0])});
}

TEST_F(IndexCheckTest, KeyThatIsNotItsRows) {
  const PageNumber leaf = Leaves()[0];
  const RowId row = FirstRowOf(leaf);
  file_.Byte(leaf, kEntriesAt) = 0x7E;
  const Lines found = Check();
  EXPECT_THAT(found, ::testing::Contains(::testing::StartsWith(At(leaf, "the key of row " + Text(row) + " is 7e"))));
}

TEST_F(IndexCheckTest, EntriesOutOfOrder) {
  const PageNumber leaf = Leaves()[0];
  const IndexPage page = PageAt(leaf);
  const std::size_t size = page.At(1).rest.size();
  ASSERT_EQ(page.At(2).rest.size(), size);
  const std::size_t at = kEntriesAt + page.At(0).Size();
  std::swap_ranges(file_.Page(leaf) + at, file_.Page(leaf) + at + size, file_.Page(leaf) + at + size);
  EXPECT_THAT(Check(), ::testing::ElementsAre(::testing::HasSubstr("does not come after")));
}

TEST_F(IndexCheckTest, EntriesOutOfOrderOverTwoLeaves) {
  const std::vector<PageNumber> leaves = Leaves();
  file_.Byte(leaves[1], kEntriesAt) = 0x7E;  // of the prefix, so that the leaf itself stays in order
  const Lines found = Check();
  EXPECT_THAT(found, ::testing::Contains(::testing::AllOf(::testing::StartsWith(At(leaves[1], "entry ")),
                                                          ::testing::HasSubstr("does not come after"))));
}

TEST_F(IndexCheckTest, EntryWithoutRow) {
  const PageNumber leaf = Leaves()[0];
  const RowId row = FirstRowOf(leaf);
  const std::size_t slotAt = kEntriesAt + PageAt(leaf).At(0).Size() - 1;
  file_.Byte(leaf, slotAt) = 254;
  EXPECT_EQ(Check(), (Lines{At(leaf, "an entry leads to " + Text({row.page, 254}) + ", where no row is"),
                            "damage: table T, index PrimaryKey, page " + std::to_string(row.page) + ", row " +
                                std::to_string(row.slot) + ": the row has no entry in the index"}));
}

TEST_F(IndexCheckTest, TwoEntriesForOneRow) {
  const PageNumber leaf = Leaves()[0];
  const IndexPage page = PageAt(leaf);
  const std::size_t second = kEntriesAt + page.At(0).Size() + page.At(1).rest.size() - 1;
  const RowId row = FirstRowOf(leaf);
  file_.Byte(leaf, second) = row.slot;
  const Lines found = Check();
  EXPECT_THAT(found, ::testing::Contains(At(leaf, "row " + Text(row) + " has two entries")));
  EXPECT_THAT(found, ::testing::Contains(::testing::EndsWith("the row has no entry in the index")));
}

/// Changes a row's value where it lies, so that all else stays as it was.
class RowValueTest : public IndexCheckTest {
 protected:
  /// Where the long of a row's fixed area lies on the page; N first, then U.
  std::size_t FixedAt(RowId row, std::size_t number) { return file_.RowStart(row) + 2 + 4 * number; }
  std::uint8_t& MaskOf(RowId row) { return file_.Byte(row.page, file_.RowEnd(row) - 1); }
};

TEST_F(RowValueTest, RowThatHasNoNullAnyMoreNeedsAnEntry) {
  const RowId row = FirstRowOf(Leaves()[0]);
  MaskOf(row) |= 0x02;
  EXPECT_EQ(Check(), Lines{"damage: table T, index N, page " + std::to_string(row.page) + ", row " +
                           std::to_string(row.slot) + ": the row has no entry in the index"});
}

TEST_F(RowValueTest, RowOfNullsHasNoEntryInAnIndexThatIgnoresThem) {
  const RowId row = AddressOf(PageAt(WithoutNulls().root).At(0));
  MaskOf(row) &= 0xFD;
  const Lines found = Check();
  EXPECT_THAT(found, ::testing::Contains(
                         At(WithoutNulls().root, "row " + Text(row) + " is null and should have no entry", "N")));
}

TEST_F(RowValueTest, NullInAPrimaryKey) {
  const RowId row = FirstRowOf(Leaves()[0]);
  MaskOf(row) &= 0xFE;
  EXPECT_THAT(Check(),
              ::testing::Contains(At(Leaves()[0], "row " + Text(row) + " has a null in a key that refuses it")));
}

TEST_F(RowValueTest, SameKeyTwiceInAUniqueIndex) {
  // The rows with 1 and 2 stand beside each other; the first entry is the null.
  PageNumber first = Unique().root;
  while (!PageAt(first).IsLeaf())
    first = PageAt(first).Count() == 0 ? PageAt(first).Tail() : PageAt(first).At(0).Word(0);
  const RowId one = AddressOf(PageAt(first).At(1));
  const RowId two = AddressOf(PageAt(first).At(2));
  ASSERT_EQ(file_.Word32(two.page, FixedAt(two, 1)), 2U);
  file_.Set32(two.page, FixedAt(two, 1), 1);
  const IndexPage entries = PageAt(first);
  const Bytes oneKey = entries.At(1).Copy();
  const std::size_t at = kEntriesAt + entries.At(0).Size() + entries.At(1).rest.size();
  file_.Byte(first, at + entries.At(2).rest.size() - 5) = oneKey[oneKey.size() - 5];
  EXPECT_EQ(Check(),
            Lines{At(first, "rows " + Text(one) + " and " + Text(two) + " have the same key 7f80000001", "U")});
}

TEST_F(IndexCheckTest, KeysOfAnotherSortOrderAreNotComparedAndNoted) {
  const jet::TableDefinition& definition = SoundSample().definition;
  const std::size_t column = 63 + 12 * definition.indexData.size() + 25 * definition.columns[0].id;
  ASSERT_EQ(file_.Word16(definition.page, column + 11), 0x0409);
  file_.Set16(definition.page, column + 11, 0x0411);
  EXPECT_EQ(Check(),
            (Lines{"note: table T, column K, page " + std::to_string(definition.page) +
                       ": the sort order 11040000 is not that of the file, 09040000",
                   "note: table T, index PrimaryKey: 600 keys were not compared with their rows: of their sort order, "
                   "characters or type no key can be built"}));
}

/// Texts with a sharp s, whose entries another writer has built.
class KeysOfOtherRules : public ::testing::Test {
 protected:
  KeysOfOtherRules() : table_(database_.Add(Design())) {}

  static JetTable Design() {
    JetTable design = JetTable("T").Text("Name", 20);
    design.Index("ByName", {"Name"});
    return design;
  }
  /// The findings of a unique index over these texts.
  Lines FindingsOf(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) table_.Insert({text});
    mv::testing::CountLettersAsOne(database_->Pages(), table_, mv::testing::LettersAsOne::InAccents);
    mv::testing::ChangeDefinition(database_->Pages(), table_, [&](Bytes& bytes) {
      const mv::testing::DefinitionBlocks blocks(bytes, table_.Definition());
      bytes[blocks.trees + jet::layout::index::kFlagsAt] |= 0x01;
    });
    Lines kinds = FindingsIn(database_.Image());
    std::erase_if(kinds, [](const std::string& line) {
      return line.ends_with("was built by another version of the engine's rules");
    });
    return kinds;
  }

  JetDatabase database_;
  jet::Table& table_;
};

TEST_F(KeysOfOtherRules, SameBytesOfDifferentTextsAreNoDuplicates) {
  EXPECT_EQ(FindingsOf({"\u00DF\u00E9", "s\u015Be", "\u00DF\u00E9-\u00E9"}), Lines());
}

TEST_F(KeysOfOtherRules, SameTextsAreDuplicatesThoughTheirBytesDiffer) {
  EXPECT_EQ(FindingsOf({"\u00DF\u00E9", "ss\u00E9"}),
            Lines{"damage: table T, index ByName: 1 rows have the key of another one, built by other rules"});
}

}  // namespace
}  // namespace mv::check
