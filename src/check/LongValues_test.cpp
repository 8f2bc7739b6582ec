#include "check/LongValues.h"

#include <gtest/gtest.h>

#include "support/CheckWorld.h"

namespace mv::check {
namespace {

using mv::testing::CheckWorld;
using mv::testing::FileBytes;
using mv::testing::Lines;

constexpr std::uint32_t kInline = 0x80000000;
constexpr std::uint32_t kOneRow = 0x40000000;
constexpr std::uint32_t kChain = 0;
constexpr std::uint32_t kStamp = 0x1234;
constexpr std::size_t kPart = 4072;
constexpr std::size_t kChainLength = 2 * kPart + 100;

Bytes Descriptor(std::uint32_t form, std::size_t length, RowId first = {}, std::uint32_t stamp = 0) {
  Bytes bytes(12);
  StoreLittle(bytes.data(), static_cast<std::uint32_t>(form | length));
  StoreLittle(bytes.data() + 4, first.Word());
  StoreLittle(bytes.data() + 8, stamp);
  return bytes;
}

Bytes Part(RowId next, std::size_t size) {
  Bytes bytes(4 + size, 'x');
  StoreLittle(bytes.data(), next.Word());
  return bytes;
}

/// Pages 1 to 4 are long value pages of one OLE column: 1 has two values, 2 to 4 are a chain. 5 is another column's.
class LongValuesTest : public ::testing::Test {
 protected:
  LongValuesTest() {
    column_.type = ColumnType::Ole;
    column_.hasFreeSpaceMap = true;
    file_.PutDataPage(1, kLongValueOwner, {Bytes(200, 'a'), Bytes(300, 'b')});
    file_.PutDataPage(2, kLongValueOwner, {Part({3, 0}, kPart)}, kStamp);
    file_.PutDataPage(3, kLongValueOwner, {Part({4, 0}, kPart)});
    file_.PutDataPage(4, kLongValueOwner, {Part({}, 100)});
    file_.PutDataPage(5, kLongValueOwner, {Bytes(200, 'c')});
  }

  Lines Check(const Bytes& descriptor) {
    Begin();
    readable_ = values_->Check(column_, descriptor, {.table = "T", .column = "O"});
    return world_->Take();
  }
  void Begin() {
    world_.emplace(file_);
    values_.emplace(world_->Context());
    PageOwners& owners = world_->Context().owners;
    column_.longValues = owners.Add({PageOwners::Owner::Use::LongValues, "T", "O"});
    for (PageNumber page = 1; page <= 4; ++page) {
      owners.Claim(page, column_.longValues, {});
      world_->Context().rows.Add(page, kLongValueOwner, {});
    }
    world_->Take();
  }
  static Bytes Chain() { return Descriptor(kChain, kChainLength, {2, 0}, kStamp); }
  static std::string Damage(const std::string& text) { return "damage: table T, column O: " + text; }
  static std::string Note(const std::string& text) { return "note: table T, column O: " + text; }

  FileBytes file_{std::size_t{6}};
  Column column_;
  std::optional<CheckWorld> world_;
  std::optional<LongValues> values_;
  bool readable_ = false;
};

TEST_F(LongValuesTest, SoundValuesOfAllForms) {
  Bytes inlined = Descriptor(kInline, 3);
  inlined.insert(inlined.end(), {1, 2, 3});
  EXPECT_EQ(Check(inlined), Lines());
  EXPECT_EQ(Check(Descriptor(kOneRow, 200, {1, 0})), Lines());
  EXPECT_EQ(Check(Chain()), Lines());
  EXPECT_TRUE(readable_);
}

TEST_F(LongValuesTest, FetchGivesTheBytes) {
  Bytes inlined = Descriptor(kInline, 3);
  inlined.insert(inlined.end(), {1, 2, 3});
  Begin();
  Bytes bytes;
  values_->Fetch(inlined, bytes);
  EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
  values_->Fetch(Descriptor(kOneRow, 200, {1, 0}), bytes);
  EXPECT_EQ(bytes, Bytes(200, 'a'));
  values_->Fetch(Chain(), bytes);
  EXPECT_EQ(bytes, Bytes(kChainLength, 'x'));
}

TEST_F(LongValuesTest, DescriptorTooShort) {
  EXPECT_EQ(Check(Bytes(11)), Lines{Damage("the descriptor has only 11 bytes")});
  EXPECT_FALSE(readable_);
}

TEST_F(LongValuesTest, UnknownForm) {
  EXPECT_EQ(Check(Descriptor(0xC0000000, 10)), Lines{Damage("the value is of an unknown form")});
}

TEST_F(LongValuesTest, InlineValueHasItsBytesAndNoMore) {
  Bytes descriptor = Descriptor(kInline, 3);
  descriptor.insert(descriptor.end(), {1, 2});
  EXPECT_EQ(Check(descriptor), Lines{Damage("the value should have 3 bytes, but only 2 follow its descriptor")});
  descriptor.insert(descriptor.end(), {3, 4});
  EXPECT_EQ(Check(descriptor), Lines{Note("more bytes follow the descriptor than the value has")});
}

TEST_F(LongValuesTest, FormGoesByTheLength) {
  Bytes inlined = Descriptor(kInline, 65);
  inlined.resize(12 + 65);
  EXPECT_EQ(Check(inlined), Lines{Note("a value of 65 bytes should be stored in another form")});
  EXPECT_EQ(Check(Descriptor(kOneRow, 64, {1, 0})),
            Lines{Note("a value of 64 bytes should be stored in another form")});
  file_.PutDataPage(2, kLongValueOwner, {Part({}, 3816)}, kStamp);
  EXPECT_EQ(Check(Descriptor(kChain, 3816, {2, 0}, kStamp)),
            Lines{Note("a value of 3816 bytes should be stored in another form")});
}

TEST_F(LongValuesTest, FormOfAMemoGoesByItsLengthBeforeCompression) {
  column_.type = ColumnType::Memo;
  Bytes inlined = Descriptor(kInline, 35);
  inlined.insert(inlined.end(), {0xFF, 0xFE});
  inlined.resize(12 + 35, 'm');
  EXPECT_EQ(Check(inlined), Lines{Note("a value of 66 bytes should be stored in another form")});
}

TEST_F(LongValuesTest, ShortChainIsRightInAColumnWithoutFreeSpaceMap) {
  column_.hasFreeSpaceMap = false;
  file_.PutDataPage(2, kLongValueOwner, {Part({}, 80)}, kStamp);
  EXPECT_EQ(Check(Descriptor(kChain, 80, {2, 0}, kStamp)), Lines());
}

TEST_F(LongValuesTest, MemoThatEndsWithinACharacter) {
  column_.type = ColumnType::Memo;
  Bytes inlined = Descriptor(kInline, 3);
  inlined.insert(inlined.end(), {'a', 0, 'b'});
  EXPECT_EQ(Check(inlined), Lines{Damage("the text ends within a character")});
}

TEST_F(LongValuesTest, RowThatIsTooShort) {
  EXPECT_EQ(Check(Descriptor(kOneRow, 201, {1, 0})),
            Lines{Damage("the value should have 201 bytes, but its row at 1/0 has 200")});
}

TEST_F(LongValuesTest, RowOnAPageOfSomebodyElse) {
  EXPECT_EQ(Check(Descriptor(kOneRow, 200, {5, 0})),
            Lines{Damage("the value leads to 5/0, which is on no page of its column")});
  EXPECT_EQ(Check(Descriptor(kOneRow, 200, {6, 0})),
            Lines{Damage("the value leads to 6/0, which is on no page of its column")});
}

TEST_F(LongValuesTest, RowThatIsNotLive) {
  EXPECT_EQ(Check(Descriptor(kOneRow, 200, {1, 2})), Lines{Damage("the value leads to 1/2, where no live row is")});
  file_.SetSlotState({1, 0}, 0xC000);
  EXPECT_EQ(Check(Descriptor(kOneRow, 200, {1, 0})), Lines{Damage("the value leads to 1/0, where no live row is")});
}

TEST_F(LongValuesTest, RowOfTwoValues) {
  Check(Descriptor(kOneRow, 200, {1, 0}));
  EXPECT_FALSE(values_->Check(column_, Descriptor(kOneRow, 200, {1, 0}), {.table = "T", .column = "O"}));
  EXPECT_EQ(world_->Take(), Lines{Damage("the value leads to 1/0, which belongs to a value already")});
}

TEST_F(LongValuesTest, ChainThatEndsEarly) {
  file_.Set32(3, file_.RowStart({3, 0}), 0);
  EXPECT_EQ(Check(Chain()), Lines{Damage("the chain ends after 8144 of 8244 bytes")});
}

TEST_F(LongValuesTest, ChainThatGoesOn) {
  file_.Set32(4, file_.RowStart({4, 0}), RowId{1, 0}.Word());
  EXPECT_EQ(Check(Chain()), (Lines{Note("a part of the chain has 104 bytes, not 4076"),
                                   Damage("the chain goes on behind its 8244 bytes")}));
}

TEST_F(LongValuesTest, ChainOfAnotherLength) {
  EXPECT_EQ(Check(Descriptor(kChain, kChainLength - 1, {2, 0}, kStamp)),
            Lines{Damage("the chain has 8244 bytes, but should have 8243")});
}

TEST_F(LongValuesTest, ChainThatRunsInACircle) {
  file_.Set32(3, file_.RowStart({3, 0}), RowId{2, 0}.Word());
  EXPECT_EQ(Check(Chain()), Lines{Damage("the value leads to 2/0, which belongs to a value already")});
}

TEST_F(LongValuesTest, PartWithoutContent) {
  file_.PutDataPage(3, kLongValueOwner, {Part({4, 0}, 0)});
  EXPECT_EQ(Check(Chain()), Lines{Damage("the part of the chain at 3/0 has no content")});
}

TEST_F(LongValuesTest, PartsOfOtherSizes) {
  file_.PutDataPage(2, kLongValueOwner, {Part({3, 0}, kPart - 1)}, kStamp);
  file_.PutDataPage(4, kLongValueOwner, {Part({}, 101)});
  EXPECT_EQ(Check(Chain()), Lines{Note("a part of the chain has 4075 bytes, not 4076")});
}

TEST_F(LongValuesTest, PartThatIsNotAlone) {
  file_.PutDataPage(4, kLongValueOwner, {Part({}, 100), Bytes(5)});
  EXPECT_EQ(Check(Chain()), Lines{Note("the part of the chain at 4/0 is not alone on its page")});
}

TEST_F(LongValuesTest, StampOfAChainIsThatOfItsFirstPage) {
  EXPECT_EQ(Check(Descriptor(kChain, kChainLength, {2, 0}, kStamp + 1)),
            Lines{Damage("the value has the stamp 4661, its first page 2 has 4660")});
  EXPECT_EQ(Check(Descriptor(kChain, kChainLength, {2, 0}, 0)),
            Lines{Damage("the value has the stamp 0, its first page 2 has 4660")});
}

TEST_F(LongValuesTest, ChainWithoutStampIsNoted) {
  file_.Set32(2, 8, 0);
  EXPECT_EQ(Check(Descriptor(kChain, kChainLength, {2, 0}, 0)), Lines{Note("the chain has no stamp")});
  EXPECT_TRUE(readable_);
}

TEST_F(LongValuesTest, StampsElsewhereAreNoted) {
  file_.Set32(3, 8, 7);
  EXPECT_EQ(Check(Chain()), Lines{Note("page 3 has a stamp, but begins no chain")});
  file_.Set32(1, 8, 7);
  EXPECT_EQ(Check(Descriptor(kOneRow, 200, {1, 0})), Lines{Note("page 1 has a stamp, but begins no chain")});
  Bytes inlined = Descriptor(kInline, 0, {}, 7);
  EXPECT_EQ(Check(inlined), Lines{Note("the value has a stamp, but is no chain")});
}

TEST_F(LongValuesTest, RowsOfNoValueAreNoted) {
  Check(Chain());
  values_->Check(column_, Descriptor(kOneRow, 200, {1, 0}), {});
  values_->NoteOrphans({1, 2, 3, 4}, {.table = "T", .column = "O"});
  EXPECT_EQ(world_->Take(), Lines{"note: table T, column O, page 1: rows that belong to no value: 1"});
}

}  // namespace
}  // namespace mv::check
