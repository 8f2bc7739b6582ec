#include "base/Cp1252.h"

#include <gtest/gtest.h>

#include <string>

#include "base/Utf.h"

namespace mv {
namespace {

TEST(Cp1252Test, EveryByteSurvivesARoundTrip) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string one(1, static_cast<char>(byte));
    EXPECT_EQ(Cp1252FromUtf8(Utf8FromCp1252(one)), one) << byte;
  }
}

TEST(Cp1252Test, TheFiveUnassignedBytesAreControlCharactersOfTheSameNumber) {
  for (const char32_t code : {0x81, 0x8D, 0x8F, 0x90, 0x9D}) {
    EXPECT_EQ(CodePointFromCp1252(static_cast<std::uint8_t>(code)), code);
  }
}

TEST(Cp1252Test, HighPunctuationHasItsUnicodeNumbers) {
  EXPECT_EQ(CodePointFromCp1252(0x80), U'€');
  EXPECT_EQ(CodePointFromCp1252(0x99), U'™');
  EXPECT_EQ(CodePointFromCp1252(0xE9), U'é');
  EXPECT_EQ(Cp1252FromUtf8("é™€"), "\xE9\x99\x80");
}

TEST(Cp1252Test, ACharacterOutsideTheCodePageIsOneQuestionMark) {
  EXPECT_EQ(Cp1252FromUtf8("aĀb"), "a?b");
  EXPECT_EQ(Cp1252FromUtf8("中"), "?");
  EXPECT_EQ(Cp1252FromUtf8("🚗!"), "?!");
  EXPECT_EQ(Cp1252FromCodePoint(0x80), '?') << "U+0080 is not the euro sign";
}

}  // namespace
}  // namespace mv
