#include <gtest/gtest.h>

#include "device/message/Commands.h"
#include "device/message/MessageReader.h"
#include "device/message/MessageWriter.h"
#include "support/Hex.h"

namespace mv::wire {
namespace {

using testing::FromHex;

constexpr const char* kPath = "\\T\\a.pdb";

TEST(MessageWriting, CreateFileOfVersion1IsAsHandheldsReadIt) {
  MessageWriter message;
  message.Word(commands::kCreateFile.v1);
  for (const std::uint32_t word : {0x40000000U, 1U, 2U, 0x80U, 0U}) message.Word(word);
  message.String(kPath);
  EXPECT_EQ(message.Framed(), FromHex("32000000 05000000 00000040 01000000 02000000"
                                      "80000000 00000000 01000000 09000000"
                                      "5c005400 5c006100 2e007000 64006200 0000"));
}

TEST(MessageWriting, CreateFileOfVersion2IsAsHandheldsReadIt) {
  MessageWriter message;
  message.Word(commands::kCreateFile.v2);
  message.ShortString(kPath);
  for (const std::uint32_t word : {0x40000000U, 1U, 2U, 0x80U, 0U}) message.Word(word);
  EXPECT_EQ(message.Framed(), FromHex("2e000000 16000000 12000000"
                                      "5c005400 5c006100 2e007000 64006200 0000"
                                      "00000040 01000000 02000000 80000000 00000000"));
}

TEST(MessageWriting, WriteFileOfVersion1HasDataAndANullPointer) {
  MessageWriter message;
  message.Word(commands::kWriteFile.v1);
  message.Word(0x1A2C0);
  message.InBuffer(FromHex("48454c4c4f"));
  message.InBuffer(std::nullopt);
  EXPECT_EQ(message.Framed(), FromHex("19000000 07000000 c0a20100 01000000 05000000 48454c4c4f 00000000"));
}

TEST(MessageWriting, MessageUpToDataThatIsSentFromElsewhereCountsWhatFollows) {
  MessageWriter message;
  message.Word(commands::kWriteFile.v1);
  message.Word(0x1A2C0);
  message.InBufferOf(5);
  EXPECT_EQ(message.Framed(5 + 4), FromHex("19000000 07000000 c0a20100 01000000 05000000"));
}

TEST(MessageWriting, ReadFileOfVersion1AsksForACount) {
  MessageWriter message;
  message.Word(commands::kReadFile.v1);
  message.Word(0x1A2E0);
  message.OutBuffer(16);
  message.InBuffer(std::nullopt);
  EXPECT_EQ(message.Framed(), FromHex("18000000 06000000 e0a20100 01000000 10000000 00000000 00000000"));
}

TEST(MessageWriting, DeleteFileOfVersion1TakesTheOptionalKindOfText) {
  MessageWriter message;
  message.Word(commands::kDeleteFile.v1);
  message.OptionalString(kPath);
  EXPECT_EQ(message.Framed(), FromHex("22000000 1c000000 01000000 12000000 01000000"
                                      "5c005400 5c006100 2e007000 64006200 0000"));
}

TEST(MessageWriting, NullPointersAreOneWord) {
  MessageWriter message;
  message.String(std::nullopt);
  message.OptionalString(std::nullopt);
  message.InBuffer(std::nullopt);
  message.OutBuffer(std::nullopt);
  message.Returned(std::nullopt);
  message.ShortString(std::nullopt);
  EXPECT_EQ(message.Content(), Bytes(24));
}

TEST(MessageWriting, ReturnedBytesFollowTheirCountAndAWord) {
  MessageWriter message;
  message.Returned(Bytes(4));
  EXPECT_EQ(message.Content(), FromHex("01000000 04000000 01000000 00000000"));
}

TEST(MessageWriting, CharactersOutsideTheBasicPlaneAreSurrogatePairs) {
  MessageWriter message;
  message.ShortString("é€😀");
  EXPECT_EQ(message.Content(), FromHex("0a000000 e900 ac20 3dd8 00de 0000"));
  const Bytes content = message.Content();
  EXPECT_EQ(MessageReader(content).ShortString(), "é€😀");
}

TEST(MessageReading, PartsComeBackAsTheyWereWritten) {
  MessageWriter message;
  message.Byte(1);
  message.Half(0x203);
  message.Word(0x4050607);
  message.Long(0x8090A0B0C0D0E0F);
  message.String(kPath);
  message.String(std::nullopt);
  message.OptionalString("b");
  message.InBuffer(Bytes{7, 8});
  message.OutBuffer(99);
  message.Returned(Bytes{5});
  message.Returned(Bytes{});
  message.Returned(std::nullopt);
  message.Counted(Bytes{1, 2, 3});
  message.ShortString("");
  message.ShortString(std::nullopt);

  MessageReader reader(message.Content());
  EXPECT_EQ(reader.Byte(), 1);
  EXPECT_EQ(reader.Half(), 0x203);
  EXPECT_EQ(reader.Word(), 0x4050607U);
  EXPECT_EQ(reader.Long(), 0x8090A0B0C0D0E0FU);
  EXPECT_EQ(reader.String(), kPath);
  EXPECT_EQ(reader.String(), std::nullopt);
  EXPECT_EQ(reader.OptionalString(), "b");
  EXPECT_EQ(reader.InBuffer().value().size(), 2U);
  EXPECT_EQ(reader.OutBuffer(), 99U);
  EXPECT_EQ(reader.Returned().value()[0], 5);
  EXPECT_TRUE(reader.Returned().value().empty());
  EXPECT_FALSE(reader.Returned());
  EXPECT_EQ(reader.Counted().size(), 3U);
  EXPECT_EQ(reader.ShortString(), "");
  EXPECT_EQ(reader.ShortString(), std::nullopt);
  EXPECT_TRUE(reader.IsGood());
  EXPECT_EQ(reader.Remaining(), 0U);
}

TEST(MessageReading, FindRecordIsReadAsHandheldsSendIt) {
  const Bytes reply = FromHex(
      "00000000 00000000 d0a20100 34000000"
      "20000000 0060c191 8070c301 0060c191 8070c301"
      "0060c191 8070c301 00000000 05000000 42000001"
      "61002e00 70006400 62000000");
  MessageReader reader(reply);
  reader.Raw(8);
  EXPECT_EQ(reader.Word(), 0x1A2D0U);
  MessageReader record(reader.Counted());
  EXPECT_EQ(record.Word(), 0x20U);
  record.Raw(24);
  EXPECT_EQ(record.Word(), 0U);
  EXPECT_EQ(record.Word(), 5U);
  EXPECT_EQ(record.Word(), 0x1000042U);
  EXPECT_EQ(record.Text(record.Remaining()), "a.pdb");
  EXPECT_TRUE(reader.IsGood() && record.IsGood());
}

TEST(MessageReading, TextEndsAtItsFirstNulAndIsReadPastIt) {
  const Bytes bytes = FromHex("6100 0000 6200 07");
  MessageReader reader(bytes);
  EXPECT_EQ(reader.Text(6), "a");
  EXPECT_EQ(reader.Byte(), 7);
}

TEST(MessageReading, TextWithoutItsNulEndsWithItsBytes) {
  const Bytes bytes = FromHex("6100 6200");
  MessageReader reader(bytes);
  EXPECT_EQ(reader.Text(4), "ab");
  EXPECT_TRUE(reader.IsGood());
}

TEST(MessageReading, LoneSurrogateBecomesTheReplacementCharacter) {
  const Bytes bytes = FromHex("3dd8 6100 0000");
  EXPECT_EQ(MessageReader(bytes).Text(6),
            "\xEF\xBF\xBD"
            "a");
}

TEST(MessageReading, PartBeyondTheEndFailsAndEverythingAfterIt) {
  const Bytes bytes = FromHex("010203");
  MessageReader reader(bytes);
  EXPECT_EQ(reader.Word(), 0U);
  EXPECT_FALSE(reader.IsGood());
  EXPECT_EQ(reader.Byte(), 0) << "not the first byte: the place is lost";
  EXPECT_EQ(reader.Remaining(), 0U);
}

TEST(MessageReading, HostileCountsFail) {
  const Bytes huge = FromHex("01000000 ffffffff 01000000 0000");
  const Bytes odd = FromHex("03000000 616263");
  EXPECT_FALSE([&] {
    MessageReader r(huge);
    r.String();
    return r.IsGood();
  }());
  EXPECT_FALSE([&] {
    MessageReader r(huge);
    r.OptionalString();
    return r.IsGood();
  }());
  EXPECT_FALSE([&] {
    MessageReader r(huge);
    r.InBuffer();
    return r.IsGood();
  }());
  EXPECT_FALSE([&] {
    MessageReader r(huge);
    r.Returned();
    return r.IsGood();
  }());
  EXPECT_FALSE([&] {
    MessageReader r(huge);
    r.OutBuffer();
    return r.IsGood();
  }());
  EXPECT_FALSE([&] {
    MessageReader r(odd);
    r.ShortString();
    return r.IsGood();
  }());
}

TEST(MessageReading, CharacterCountThatWouldWrapAroundFails) {
  const Bytes bytes = FromHex("01000000 01000080 6100 0000");  // twice the count is 2 in 32 bits
  MessageReader reader(bytes);
  reader.String();
  EXPECT_FALSE(reader.IsGood());
}

TEST(MessageReading, PointerThatIsNeitherThereNorNullFails) {
  const Bytes bytes = FromHex("02000000 01000000 0000");
  MessageReader reader(bytes);
  EXPECT_FALSE(reader.String());
  EXPECT_FALSE(reader.IsGood());
}

}  // namespace
}  // namespace mv::wire
