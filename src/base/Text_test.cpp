#include "base/Text.h"

#include <gtest/gtest.h>

#include "base/ByteOrder.h"
#include "base/Checked.h"
#include "support/ExpectError.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;

TEST(TextTest, TrimCutsBlanksOnly) {
  EXPECT_EQ(Trim("  -Mode1 "), "-Mode1");
  EXPECT_EQ(Trim("\t x"), "\t x");
  EXPECT_EQ(Trim("   "), "");
}

TEST(TextTest, FoldCasePairsTheLettersOfTheCodePage) {
  EXPECT_EQ(FoldCase("ÀÉÎÕÜÝÞŒŠŽŸ"), "àéîõüýþœšžÿ");
  EXPECT_EQ(FoldCase("×÷ß"), "×÷ß");
  EXPECT_EQ(FoldCase("VIN-1Ab"), "vin-1ab");
}

TEST(TextTest, FoldCaseKnowsGreekAndCyrillic) {
  EXPECT_EQ(FoldCase("ΑΒΩ"), "αβω");
  EXPECT_EQ(FoldCase("ЖЯЁ"), "жяё");
}

TEST(TextTest, FoldCaseChangesOfAsciiTheCapitalLettersOnly) {
  std::string text;
  std::string folded;
  for (char c = 0; c < 0x7F; ++c) {
    text += c;
    folded += c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c;
  }
  for (std::size_t start = 0; start < 9; ++start) {
    EXPECT_EQ(FoldCase(text.substr(start)), folded.substr(start)) << start;
    EXPECT_EQ(FoldCase(text.substr(start) + "É" + text), folded.substr(start) + "é" + folded) << start;
  }
}

TEST(TextTest, FoldCaseIsIdempotent) {
  for (char32_t c = 1; c < 0x3000; ++c) EXPECT_EQ(FoldCase(FoldCase(c)), FoldCase(c)) << std::hex << unsigned(c);
}

TEST(TextTest, FolderLengthEndsAfterTheLastSeparatorOfEitherKind) {
  EXPECT_EQ(FolderLength("a\\b/c"), 4u);
  EXPECT_EQ(FolderLength("a/b\\c"), 4u);
  EXPECT_EQ(FolderLength("c"), 0u);
}

TEST(ByteOrderTest, LoadsAndStoresInTheStatedOrder) {
  const std::uint8_t bytes[] = {0x12, 0x34, 0x56, 0x78};
  EXPECT_EQ(LoadBig<std::uint32_t>(bytes), 0x12345678u);
  EXPECT_EQ(LoadLittle<std::uint32_t>(bytes), 0x78563412u);
  EXPECT_EQ(LoadLittle<std::int16_t>(bytes + 2), 0x7856);
  std::uint8_t out[4] = {};
  StoreBig<std::int32_t>(out, -2);
  EXPECT_EQ(LoadBig<std::int32_t>(out), -2);
  EXPECT_EQ(out[3], 0xFE);
  StoreLittle<std::uint16_t>(out, 0x0102);
  EXPECT_EQ(out[0], 2);
}

TEST(PathTest, LocalPathsAreShownWithOneSeparator) {
  EXPECT_EQ(ShownPath(JoinPath("/home/kim/cars", "sync\\source")), "/home/kim/cars/sync/source");
  EXPECT_EQ(ShownPath(JoinPath("C:\\Cars", "_20")), "C:\\Cars\\_20");
  EXPECT_EQ(ShownPath("\\Program Files\\Motorva"), "\\Program Files\\Motorva") << "of the handheld";
  EXPECT_EQ(ShownPath(""), "");
}

TEST(CheckedTest, LeavingTheTypeIsOverflow) {
  EXPECT_EQ(CheckedCast<std::int16_t>(32767), 32767);
  EXPECT_EQ(ErrorNumberOf([] { CheckedCast<std::int16_t>(32768); }), 6);
  EXPECT_EQ(ErrorNumberOf([] { CheckedCast<std::uint8_t>(-1); }), 6);
  EXPECT_EQ(ErrorNumberOf([] { CheckedAdd<std::int16_t>(32767, 1); }), 6);
  EXPECT_EQ(ErrorNumberOf([] { CheckedSubtract<std::int32_t>(-2147483647, 2); }), 6);
  EXPECT_EQ(ErrorNumberOf([] { CheckedMultiply<std::int32_t>(65536, 32768); }), 6);
  EXPECT_EQ(CheckedMultiply<std::int32_t>(65536, 32767), 2147418112);
}

TEST(ErrorTest, StandardErrorsCarryThePlatformsTexts) {
  EXPECT_EQ(StandardError(5).Description(), "Invalid procedure call or argument");
  EXPECT_EQ(StandardError(6).Description(), "Overflow");
  EXPECT_EQ(StandardError(7).Description(), "Out of memory");
  EXPECT_EQ(StandardError(9).Description(), "Subscript out of range");
  EXPECT_EQ(StandardError(13).Description(), "Type mismatch");
  EXPECT_EQ(StandardError(51).Description(), "Internal error");
  EXPECT_EQ(StandardError(52).Description(), "Bad file name or number");
  EXPECT_EQ(StandardError(54).Description(), "Bad file mode");
  EXPECT_EQ(StandardError(53).Description(), "File not found");
  EXPECT_EQ(StandardError(70).Description(), "Permission denied");
  EXPECT_EQ(StandardError(75).Description(), "Path/File access error");
  EXPECT_EQ(StandardError(76).Description(), "Path not found");
  EXPECT_EQ(StandardError(4711).Description(), "Application-defined or object-defined error");
}

}  // namespace
}  // namespace mv
