#include "jet/file/Rc4.h"

#include <gtest/gtest.h>

#include "support/EncodedDatabase.h"
#include "support/Hex.h"

namespace mv::jet {
namespace {

using testing::FromHex;
using testing::ToHex;

Bytes Key(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

TEST(Rc4, KnownKeysGiveTheirKnownStreams) {
  EXPECT_EQ(ToHex(Rc4KeyStream(Key("Key"), 10)), "EB 9F 77 81 B7 34 CA 72 A7 19");
  EXPECT_EQ(ToHex(Rc4KeyStream(Key("Wiki"), 6)), "60 44 DB 6D 41 B7");
  EXPECT_EQ(ToHex(Rc4KeyStream(Key("Secret"), 8)), "04 D4 6B 05 3C A8 7B 59");
}

TEST(Rc4, KnownTextIsHiddenAsKnownAndComesBack) {
  Bytes text = Key("Plaintext");
  ApplyRc4(Key("Key"), text);
  EXPECT_EQ(ToHex(text), "BB F3 16 E8 D9 40 AF 0A D3");
  ApplyRc4(Key("Key"), text);
  EXPECT_EQ(text, Key("Plaintext"));
}

TEST(Rc4, KeyOfTheHeaderMaskGivesTheMask) {
  EXPECT_EQ(ToHex(Rc4KeyStream(FromHex("C7 DA 39 6B"), 128)),
            "B5 6F 03 62 61 08 C2 55 EB A9 67 72 43 3F 00 9C 7A 9F 90 FF 80 9A 31 C5 79 BA ED 30 BC DF CC 9D "
            "63 D9 E4 C3 7B 42 FB 8A BC 4E 86 FB EC 37 5D 44 9C FA C6 5E 28 E6 13 B6 8A 60 54 94 7B 36 F5 72 "
            "DF B1 77 F4 13 43 CF AF B1 33 34 61 79 5B 92 B5 7C 2A 05 F1 7C 99 01 1B 98 FD 12 4F 4A 94 6C 3E "
            "60 26 5F 95 F8 D0 89 24 85 67 C6 1F 27 44 D2 EE CF 65 ED FF 07 C7 46 A1 78 16 0C ED E9 2D 62 D4");
}

TEST(Rc4, StreamsAreThoseOfAnotherProgrammer) {
  testing::PageStream expected(0x6B39DAC7);
  for (const std::uint8_t byte : Rc4KeyStream(FromHex("C7 DA 39 6B"), 5000)) ASSERT_EQ(byte, expected.Next());
}

}  // namespace
}  // namespace mv::jet
