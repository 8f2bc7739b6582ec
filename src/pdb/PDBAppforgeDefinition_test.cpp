#include "pdb/PDBAppforgeDefinition.h"

#include <gtest/gtest.h>

#include "pdb/HandheldType.h"
#include "support/ExpectError.h"
#include "support/Hex.h"

namespace mv {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::FromHex;
using mv::testing::ToHex;

constexpr std::size_t kMark = 276;

PDBAppforgeDefinition TwoFields() {
  PDBAppforgeDefinition definition;
  definition.AddFieldName("ID", CodeOf(HandheldType::Long));
  definition.AddFieldName("Name", CodeOf(HandheldType::Text));
  return definition;
}

void PutWord(Bytes& block, std::size_t offset, std::uint16_t value) {
  block[offset] = static_cast<std::uint8_t>(value >> 8);
  block[offset + 1] = static_cast<std::uint8_t>(value & 0xFF);
}

/// Puts text at an offset of a block that is long enough.
void PutText(Bytes& block, std::size_t offset, std::string_view text) {
  std::copy(text.begin(), text.end(), block.begin() + static_cast<std::ptrdiff_t>(offset));
}

TEST(PDBAppforgeDefinitionTest, ANewDefinitionHasNoFields) {
  const PDBAppforgeDefinition definition;
  EXPECT_EQ(definition.FieldCount(), 0);
  EXPECT_EQ(ErrorNumberOf([&] { definition.FieldName(0); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { definition.FieldType(1); }), errors::kSubscriptOutOfRange);
}

TEST(PDBAppforgeDefinitionTest, FieldsAreNumberedFromOneInTheOrderOfAdding) {
  PDBAppforgeDefinition definition = TwoFields();
  EXPECT_EQ(definition.FieldCount(), 2);
  EXPECT_EQ(definition.FieldName(1), "ID");
  EXPECT_EQ(definition.FieldType(2), CodeOf(HandheldType::Text));
  definition.FieldName(2, "Title");
  definition.FieldType(2, CodeOf(HandheldType::Byte));
  EXPECT_EQ(definition.FieldName(2), "Title");
  EXPECT_EQ(definition.FieldType(2), CodeOf(HandheldType::Byte));
  for (const std::int16_t outside : {std::int16_t{-1}, std::int16_t{0}, std::int16_t{3}}) {
    EXPECT_EQ(ErrorNumberOf([&] { definition.FieldName(outside, "x"); }), errors::kSubscriptOutOfRange);
    EXPECT_EQ(ErrorNumberOf([&] { definition.FieldType(outside, 1); }), errors::kSubscriptOutOfRange);
  }
}

TEST(PDBAppforgeDefinitionTest, AfterClearingTheNextFieldIsNumberOneAgain) {
  PDBAppforgeDefinition definition = TwoFields();
  definition.ClearFieldName();
  EXPECT_EQ(definition.FieldCount(), 0);
  definition.AddFieldName("New", CodeOf(HandheldType::Date));
  EXPECT_EQ(definition.FieldName(1), "New");
}

// --- Building -------------------------------------------------------------------------------------------------------

TEST(PDBAppforgeDefinitionTest, TheBlockOfTwoFieldsByteForByte) {
  const Bytes block = TwoFields().AppInfoBlock();
  ASSERT_EQ(block.size(), 321u);
  EXPECT_EQ(Bytes(block.begin(), block.begin() + kMark), Bytes(kMark, 0)) << "an empty category area";
  EXPECT_EQ(ToHex(ByteView(block).subspan(kMark)),
            "41 50 50 46 4F 52 47 32 "  // APPFORG2
            "00 00 00 00 "
            "00 2C 00 24 00 02 00 05 "  // size word 44, table name at 36, 2 fields, fixed size 5
            "00 00 00 00 "
            "00 25 00 03 00 00 "  // ID at 37, type 3
            "00 28 00 05 00 00 "  // Name at 40, type 5
            "00 "                 // table name
            "49 44 00 4E 61 6D 65 00");
}

TEST(PDBAppforgeDefinitionTest, TheFixedRecordSizeCountsOneForEachText) {
  PDBAppforgeDefinition definition;
  for (std::int32_t type = 0; type <= 10; ++type) definition.AddFieldName("F", type);
  EXPECT_EQ(definition.AppInfoBlock()[295], 33);
}

TEST(PDBAppforgeDefinitionTest, NamesAreWrittenAsOneByteEachCharacter) {
  PDBAppforgeDefinition definition;
  definition.AddFieldName("\xC3\xA9\xE2\x82\xAC\xD0\x96", CodeOf(HandheldType::Byte));
  const Bytes block = definition.AppInfoBlock();
  EXPECT_EQ(ToHex(ByteView(block).subspan(306)), "00 E9 80 3F 00");
}

TEST(PDBAppforgeDefinitionTest, ABlockAbove32767BytesOverflows) {
  PDBAppforgeDefinition definition;
  definition.AddFieldName(std::string(32767 - 300 - 6 - 2, 'x'), CodeOf(HandheldType::Byte));
  EXPECT_EQ(definition.AppInfoBlock().size(), 32767u);
  definition.FieldName(1, std::string(32767 - 300 - 6 - 1, 'x'));
  EXPECT_EQ(ErrorNumberOf([&] { definition.AppInfoBlock(); }), errors::kOverflow);
}

TEST(PDBAppforgeDefinitionTest, AFixedSizeAbove32767Overflows) {
  PDBAppforgeDefinition definition;
  for (int i = 0; i < 4095; ++i) definition.AddFieldName("", CodeOf(HandheldType::Double));
  EXPECT_EQ(definition.AppInfoBlock().size(), 300u + 7u * 4095u + 1u);
  definition.AddFieldName("", CodeOf(HandheldType::Double));
  EXPECT_EQ(ErrorNumberOf([&] { definition.AppInfoBlock(); }), errors::kOverflow);
}

TEST(PDBAppforgeDefinitionTest, ATypeCodeOfMoreThan16BitsOverflows) {
  PDBAppforgeDefinition definition;
  definition.AddFieldName("F", 32768);
  EXPECT_EQ(ErrorNumberOf([&] { definition.AppInfoBlock(); }), errors::kOverflow);
}

TEST(PDBAppforgeDefinitionTest, MoreThan32767FieldsOverflow) {
  PDBAppforgeDefinition definition;
  for (int i = 0; i < 32767; ++i) definition.AddFieldName("", CodeOf(HandheldType::Byte));
  EXPECT_EQ(definition.FieldCount(), 32767);
  EXPECT_EQ(ErrorNumberOf([&] { definition.AddFieldName("", CodeOf(HandheldType::Byte)); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { definition.AppInfoBlock(); }), errors::kOverflow);
}

// --- Reading --------------------------------------------------------------------------------------------------------

TEST(PDBAppforgeDefinitionTest, ReadingABlockGivesItsFields) {
  PDBAppforgeDefinition definition;
  definition.AddFieldName("Old", CodeOf(HandheldType::Byte));
  EXPECT_TRUE(definition.IsAppforgeData(TwoFields().AppInfoBlock()));
  EXPECT_EQ(definition.FieldCount(), 2);
  EXPECT_EQ(definition.FieldName(1), "ID");
  EXPECT_EQ(definition.FieldType(1), CodeOf(HandheldType::Long));
  EXPECT_EQ(definition.FieldName(2), "Name");
  EXPECT_EQ(definition.FieldType(2), CodeOf(HandheldType::Text));
}

/// A device's block: categories and a table name, which no member of a definition sets.
Bytes DeviceBlock() {
  PDBAppforgeDefinition definition;
  definition.AddFieldName("ID", CodeOf(HandheldType::Long));
  Bytes block = definition.AppInfoBlock();
  block.insert(block.begin() + 306, {'T', 'b', 'l'});
  PutWord(block, 288, static_cast<std::uint16_t>(block.size() - 277));
  PutWord(block, 300, 24 + 6 + 4);
  PutWord(block, 0, 0xFFFE);
  PutText(block, 2, "Unfiled");
  PutText(block, 18, "Exactly 16 bytes");
  block[258] = 7;
  block[273] = 15;
  block[274] = 99;
  return block;
}

TEST(PDBAppforgeDefinitionTest, ABlockReadAndBuiltAgainIsTheSameBytes) {
  for (const Bytes& block : {TwoFields().AppInfoBlock(), DeviceBlock()}) {
    PDBAppforgeDefinition definition;
    ASSERT_TRUE(definition.IsAppforgeData(block));
    EXPECT_EQ(ToHex(definition.AppInfoBlock()), ToHex(block));
  }
}

TEST(PDBAppforgeDefinitionTest, ACategoryNameEndsAtItsFirstZeroByte) {
  Bytes block = DeviceBlock();
  PutText(block, 2, std::string_view("ab\0garbage", 10));
  PDBAppforgeDefinition definition;
  ASSERT_TRUE(definition.IsAppforgeData(block));
  const Bytes rebuilt = definition.AppInfoBlock();
  EXPECT_EQ(ToHex(ByteView(rebuilt).subspan(2, 16)), "61 62 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
}

TEST(PDBAppforgeDefinitionTest, NamesComeWithoutBlanksAroundThem) {
  PDBAppforgeDefinition source;
  source.AddFieldName("  My Field ", CodeOf(HandheldType::Byte));
  PDBAppforgeDefinition definition;
  ASSERT_TRUE(definition.IsAppforgeData(source.AppInfoBlock()));
  EXPECT_EQ(definition.FieldName(1), "My Field");
}

TEST(PDBAppforgeDefinitionTest, NamesAreReadAsOneCharacterEachByte) {
  PDBAppforgeDefinition source;
  source.AddFieldName("\xC3\xA9\xE2\x82\xAC", CodeOf(HandheldType::Byte));
  PDBAppforgeDefinition definition;
  ASSERT_TRUE(definition.IsAppforgeData(source.AppInfoBlock()));
  EXPECT_EQ(definition.FieldName(1), "\xC3\xA9\xE2\x82\xAC");
}

TEST(PDBAppforgeDefinitionTest, WithoutTheMarkTheFieldsStayAndTheCategoriesAreTakenOver) {
  const std::vector<std::string_view> otherMarks = {"appforg2", "APPFORG1", "APPFORG ", {"\0PPFORG2", 8}};
  for (const std::string_view mark : otherMarks) {
    Bytes block = DeviceBlock();
    PutText(block, kMark, mark);
    PDBAppforgeDefinition definition = TwoFields();
    EXPECT_FALSE(definition.IsAppforgeData(block));
    EXPECT_EQ(definition.FieldCount(), 2);
    EXPECT_EQ(definition.AppInfoBlock()[274], 99);
  }
}

TEST(PDBAppforgeDefinitionTest, ABlockTooShortForTheMarkHasNone) {
  PDBAppforgeDefinition definition = TwoFields();
  EXPECT_FALSE(definition.IsAppforgeData({}));
  EXPECT_FALSE(definition.IsAppforgeData(Bytes(283, 'A')));
  EXPECT_EQ(definition.FieldCount(), 2);
}

TEST(PDBAppforgeDefinitionTest, UnknownTypeCodesAreKeptAsSigned16BitNumbers) {
  Bytes block = TwoFields().AppInfoBlock();
  PutWord(block, 302, 0xFFFF);
  PDBAppforgeDefinition definition;
  ASSERT_TRUE(definition.IsAppforgeData(block));
  EXPECT_EQ(definition.FieldType(1), -1);
  const Bytes rebuilt = definition.AppInfoBlock();
  EXPECT_EQ(ToHex(ByteView(rebuilt).subspan(302, 2)), "FF FF");
  EXPECT_EQ(rebuilt[295], 1) << "only the text counts in the fixed size";
}

TEST(PDBAppforgeDefinitionTest, WhatTheReaderSkipsMayHoldAnything) {
  Bytes block = TwoFields().AppInfoBlock();
  for (const std::size_t skipped : {275, 284, 287, 288, 289, 294, 295, 296, 299, 304, 305}) block[skipped] = 0xAA;
  PDBAppforgeDefinition definition;
  ASSERT_TRUE(definition.IsAppforgeData(block));
  EXPECT_EQ(ToHex(definition.AppInfoBlock()), ToHex(TwoFields().AppInfoBlock()));
}

// --- Hostile blocks -------------------------------------------------------------------------------------------------

/// The error of reading `block` into a definition of two fields, which must keep them.
std::int32_t ReadError(const Bytes& block) {
  PDBAppforgeDefinition definition = TwoFields();
  const std::int32_t number = ErrorNumberOf([&] { definition.IsAppforgeData(block); });
  EXPECT_EQ(definition.FieldCount(), 2);
  EXPECT_EQ(definition.FieldName(1), "ID");
  return number;
}

TEST(PDBAppforgeDefinitionTest, AFieldCountThatTheBlockCannotHoldIsOutOfRange) {
  for (const std::uint16_t count :
       {std::uint16_t{4}, std::uint16_t{0x7FFF}, std::uint16_t{0x8000}, std::uint16_t{0xFFFF}}) {
    Bytes block = TwoFields().AppInfoBlock();
    PutWord(block, 292, count);
    EXPECT_EQ(ReadError(block), errors::kSubscriptOutOfRange) << count;
  }
}

TEST(PDBAppforgeDefinitionTest, AnOffsetBehindTheBlockIsOutOfRange) {
  for (const std::size_t word : {290, 300, 306}) {
    Bytes block = TwoFields().AppInfoBlock();
    PutWord(block, word, static_cast<std::uint16_t>(block.size() - kMark));
    EXPECT_EQ(ReadError(block), errors::kSubscriptOutOfRange) << word;
    PutWord(block, word, 0xFFFF);
    EXPECT_EQ(ReadError(block), errors::kSubscriptOutOfRange) << word;
  }
}

TEST(PDBAppforgeDefinitionTest, ANameWithoutATerminatorIsOutOfRange) {
  Bytes block = TwoFields().AppInfoBlock();
  block.back() = 'x';
  EXPECT_EQ(ReadError(block), errors::kSubscriptOutOfRange);
}

TEST(PDBAppforgeDefinitionTest, ABlockCutAnywhereBehindTheMarkIsOutOfRange) {
  const Bytes block = TwoFields().AppInfoBlock();
  for (std::size_t size = kMark + 8; size < block.size(); ++size) {
    EXPECT_EQ(ReadError(Bytes(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(size))),
              errors::kSubscriptOutOfRange)
        << size;
  }
}

TEST(PDBAppforgeDefinitionTest, ManyFieldsThatShareOneLongNameAreOutOfRangeInsteadOfFillingTheMemory) {
  constexpr std::uint16_t kFields = 5000;
  Bytes block(300 + 6 * kFields + 30000, 'x');
  PutText(block, kMark, "APPFORG2");
  PutWord(block, 290, 24 + 6 * kFields);
  PutWord(block, 292, kFields);
  for (std::size_t i = 0; i < kFields; ++i) PutWord(block, 300 + 6 * i, 24 + 6 * kFields);
  block.back() = 0;
  EXPECT_EQ(ReadError(block), errors::kSubscriptOutOfRange);
}

// --- Sort list ------------------------------------------------------------------------------------------------------

TEST(PDBAppforgeDefinitionTest, ANewSortListIsEmpty) {
  EXPECT_EQ(ToHex(PDBAppforgeDefinition().SortInfoBlock()),
            "53 4F 52 54 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
}

TEST(PDBAppforgeDefinitionTest, ASortListIsKeptAsItIs) {
  PDBAppforgeDefinition definition;
  const Bytes block = FromHex("53 4F 52 54 00 00 00 00 00 00 00 00 00 00 00 00 00 02 01 02 03 04 05 06 07 08 09 0A");
  definition.SortInfoBlock(block);
  EXPECT_EQ(definition.SortInfoBlock(), block);
}

TEST(PDBAppforgeDefinitionTest, ASortListShorterThanItsCountIsOutOfRange) {
  PDBAppforgeDefinition definition;
  Bytes block = definition.SortInfoBlock();
  block[17] = 1;
  EXPECT_EQ(ErrorNumberOf([&] { definition.SortInfoBlock(block); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { definition.SortInfoBlock(Bytes(19)); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(definition.SortInfoBlock().size(), 20u);
}

}  // namespace
}  // namespace mv
