#include "device/wire/ControlProtocol.h"

#include <gtest/gtest.h>

#include "device/wire/Password.h"
#include "support/Hex.h"

namespace mv::wire {
namespace {

using testing::FromHex;

/// "PocketPC", system 4.20, with its leading length.
constexpr const char* kRecordA =
    "64000000 24000000 04143904 110a0000 00000000 44332211 00000000 24000000 36000000 48000000"
    "50006f00 63006b00 65007400 50004300 00005000 6f006300 6b006500 74005000 43000000 53006900"
    "6d004400 65007600 69006300 65002000 31003000 30000000";

/// "PocketPC", system 5.1, not locked, with control word and length; the lock key is at its end.
constexpr const char* kRecordB =
    "04000000 7a000000 00112233 44556677 8899aabb ccddeeff 05000000 01000000 08000000 50006f00"
    "63006b00 65007400 50004300 00000100 0500110a 00000000 00004433 22110df0 ad0b0a00 0000506f"
    "636b6574 50430000 0d000000 53696d44 65766963 65203130 30000200 00001000 00000c00 00000b00"
    "00000000 0000";
std::string RecordB(const std::string& lockKey = "00000000") {
  return std::string(kRecordB) + lockKey;
}

class ControlTest : public ::testing::Test {
 protected:
  static std::unique_ptr<ControlProtocol> Make(Family family) { return MakeControlProtocol(family, std::nullopt); }
  static void Give(ControlProtocol& protocol, const std::string& hex) { protocol.Receive(FromHex(hex)); }
};
class FamilyATest : public ControlTest {
 protected:
  std::unique_ptr<ControlProtocol> protocol_ = Make(Family::A);
};
class FamilyBTest : public ControlTest {
 protected:
  std::unique_ptr<ControlProtocol> protocol_ = Make(Family::B);
};

// ---- Records

TEST(Records, RecordOfFamilyAIsRead) {
  const Bytes record = FromHex(kRecordA);
  const Announcement handheld = ParseRecordA(ByteView(record).subspan(4)).value();
  EXPECT_EQ(handheld.major, 4U);
  EXPECT_EQ(handheld.minor, 20U);
  EXPECT_EQ(handheld.name, "PocketPC");
  EXPECT_EQ(handheld.platform, "PocketPC");
  EXPECT_EQ(handheld.model, "SimDevice 100");
}

TEST(Records, RecordOfFamilyBIsRead) {
  const Bytes record = FromHex(RecordB("5a7e0000"));
  const Announcement handheld = ParseRecordB(ByteView(record).subspan(8)).value();
  EXPECT_EQ(handheld.major, 5U);
  EXPECT_EQ(handheld.minor, 1U);
  EXPECT_EQ(handheld.name, "PocketPC");
  EXPECT_EQ(handheld.platform, "PocketPC");
  EXPECT_EQ(handheld.model, "SimDevice 100");
  EXPECT_EQ(handheld.lockKey, 0x7E5AU);
}

TEST(Records, NamesThatLieOutsideOfFamilyAAreEmpty) {
  Bytes record = FromHex(kRecordA);
  record[4 + 0x18] = 0xFF;
  record[4 + 0x1C + 3] = 0x80;
  const Announcement handheld = ParseRecordA(ByteView(record).subspan(4)).value();
  EXPECT_EQ(handheld.name, "");
  EXPECT_EQ(handheld.platform, "");
  EXPECT_EQ(handheld.model, "SimDevice 100");
}

TEST(Records, NameWithoutItsNulEndsWithTheRecord) {
  const Bytes record = FromHex(kRecordA);
  const Announcement handheld = ParseRecordA(ByteView(record).subspan(4, 0x64 - 3)).value();
  EXPECT_EQ(handheld.model, "SimDevice 10");
}

TEST(Records, WhatIsNotPrintableInANameIsAQuestionMark) {
  Bytes record = FromHex(kRecordA);
  record[4 + 0x24] = '\n';
  record[4 + 0x26] = 0x1B;
  EXPECT_EQ(ParseRecordA(ByteView(record).subspan(4)).value().name, "??cketPC");
}

TEST(Records, EveryCutOfFamilyBIsRefused) {
  const Bytes record = FromHex(RecordB());
  for (std::size_t length = 0; length < 0x7A; ++length) {
    EXPECT_FALSE(ParseRecordB(ByteView(record).subspan(8, length))) << length;
  }
}

TEST(Records, CountsOfFamilyBBeyondTheirRangeAreRefused) {
  const Bytes whole = FromHex(RecordB() + std::string(2000, '0'));
  constexpr std::size_t kNameLength = 8 + 24;
  constexpr std::size_t kPlatformLength = kNameLength + 4 + 16 + 2 + 20;
  constexpr std::size_t kModelLength = kPlatformLength + 4 + 10;
  constexpr std::size_t kPairs = kModelLength + 4 + 14;
  ASSERT_EQ(whole[kPlatformLength], 10);
  ASSERT_EQ(whole[kModelLength], 13);
  ASSERT_EQ(whole[kPairs], 2);
  for (const std::size_t place : {kNameLength, kPlatformLength + 1, kModelLength + 1, kPairs}) {
    Bytes record = whole;
    record[place] = 0x20;
    EXPECT_FALSE(ParseRecordB(ByteView(record).subspan(8))) << place;
  }
}

TEST(Records, VersionOfTheMessagesFollowsTheSystem) {
  const auto version = [](std::uint32_t major, std::uint32_t minor) {
    return Announcement{major, minor, "", "", "", 0}.Messages();
  };
  for (const auto& [major, minor] : {std::pair{3U, 0U}, {4U, 20U}, {4U, 21U}, {5U, 0U}, {6U, 0U}, {7U, 0U}}) {
    EXPECT_EQ(version(major, minor), MessageVersion::V1) << major << "." << minor;
  }
  for (const auto& [major, minor] : {std::pair{5U, 1U}, {5U, 2U}, {6U, 5U}}) {
    EXPECT_EQ(version(major, minor), MessageVersion::V2) << major << "." << minor;
  }
}

// ---- Passwords

TEST(Passwords, PasswordIsCountedAndXoredWithItsNul) {
  EXPECT_EQ(EncodedPassword("1234", 0x5A, PasswordEnd::Nul), FromHex("0a00 6b5a685a695a6e5a5a5a"));
}

TEST(Passwords, PasswordCanGoWithoutItsNul) {
  EXPECT_EQ(EncodedPassword("1234", 0x5A, PasswordEnd::None), FromHex("0800 6b5a685a695a6e5a"));
}

// ---- Family A

TEST_F(FamilyATest, HelloAndRecordMakeAHandheldReady) {
  Give(*protocol_, "00000000");
  EXPECT_EQ(protocol_->State(), ControlState::Announcing);
  Give(*protocol_, kRecordA);
  EXPECT_EQ(protocol_->State(), ControlState::Ready);
  EXPECT_TRUE(protocol_->TakeOutput().empty());
}

TEST_F(FamilyATest, BytesMayComeOneByOne) {
  for (const std::uint8_t byte : FromHex(std::string("00000000") + kRecordA)) protocol_->Receive({&byte, 1});
  EXPECT_EQ(protocol_->State(), ControlState::Ready);
  EXPECT_EQ(protocol_->Handheld().model, "SimDevice 100");
}

TEST_F(FamilyATest, PingsAreCountedUntilTheyAreAnswered) {
  Give(*protocol_, kRecordA);
  protocol_->Ping();
  protocol_->Ping();
  EXPECT_EQ(protocol_->TakeOutput(), FromHex("78563412 78563412"));
  EXPECT_EQ(protocol_->UnansweredPings(), 2);
  Give(*protocol_, "78563412");
  EXPECT_EQ(protocol_->UnansweredPings(), 0);
}

TEST_F(FamilyATest, ChallengeIsAnsweredWithThePassword) {
  Give(*protocol_, std::string("5a7e0000") + kRecordA);
  EXPECT_EQ(protocol_->State(), ControlState::NeedsPassword);
  protocol_->SendPassword("1234");
  EXPECT_EQ(protocol_->TakeOutput(), FromHex("0a00 6b5a685a695a6e5a5a5a"));
  Give(*protocol_, "01");
  EXPECT_EQ(protocol_->State(), ControlState::AwaitsAnswer);
  Give(*protocol_, "00");
  EXPECT_EQ(protocol_->State(), ControlState::Ready);
}

TEST_F(FamilyATest, ChallengeAfterTheRecordCountsToo) {
  Give(*protocol_, std::string(kRecordA) + "5a7e0000");
  EXPECT_EQ(protocol_->State(), ControlState::NeedsPassword);
}

TEST_F(FamilyATest, ZeroRefusesThePassword) {
  Give(*protocol_, std::string("5a7e0000") + kRecordA);
  protocol_->SendPassword("1234");
  Give(*protocol_, "0000");
  EXPECT_EQ(protocol_->State(), ControlState::Refused);
}

TEST_F(FamilyATest, SmallWordsAreAnError) {
  for (const char* word : {"01000000", "23000000"}) {
    const auto protocol = Make(Family::A);
    Give(*protocol, word);
    EXPECT_EQ(protocol->State(), ControlState::Broken) << word;
  }
}

TEST_F(FamilyATest, LongestRecordIsTakenAndALongerOneIsAChallenge) {
  protocol_->Receive(FromHex("ff010000"));
  protocol_->Receive(Bytes(0x1FE));
  EXPECT_EQ(protocol_->State(), ControlState::Announcing);
  protocol_->Receive(Bytes(1));
  EXPECT_EQ(protocol_->State(), ControlState::Ready);
  Give(*protocol_, "00020000");
  EXPECT_EQ(protocol_->State(), ControlState::NeedsPassword);
  EXPECT_EQ(protocol_->PasswordKey(), 0);
}

// ---- Family B

TEST_F(FamilyBTest, HelloIsAnsweredAndTheRecordMakesAHandheldReady) {
  Give(*protocol_, "00000000");
  EXPECT_EQ(protocol_->TakeOutput(), FromHex("03000000"));
  Give(*protocol_, RecordB());
  EXPECT_EQ(protocol_->State(), ControlState::Ready);
  EXPECT_TRUE(protocol_->TakeOutput().empty());
  protocol_->Ping();
  EXPECT_EQ(protocol_->TakeOutput(), FromHex("01000000"));
  Give(*protocol_, "02000000");
  EXPECT_EQ(protocol_->UnansweredPings(), 0);
}

TEST_F(FamilyBTest, HelloAndCapabilityQuestionMayComeInAnyOrder) {
  for (const char* start : {"00000000", "06000000", "00000000 06000000", "06000000 00000000", ""}) {
    const auto protocol = Make(Family::B);
    Give(*protocol, start + RecordB());
    EXPECT_EQ(protocol->State(), ControlState::Ready) << start;
  }
  Give(*protocol_, "06000000");
  EXPECT_EQ(protocol_->TakeOutput(), FromHex("07000000 08000000 04000000 05000000"));
}

TEST_F(FamilyBTest, BytesMayComeOneByOne) {
  for (const std::uint8_t byte : FromHex("00000000 06000000" + RecordB())) protocol_->Receive({&byte, 1});
  EXPECT_EQ(protocol_->State(), ControlState::Ready);
}

TEST_F(FamilyBTest, LockKeyAsksForThePassword) {
  Give(*protocol_, RecordB("5a7e0000"));
  EXPECT_EQ(protocol_->State(), ControlState::NeedsPassword);
  protocol_->SendPassword("1234");
  EXPECT_EQ(protocol_->TakeOutput(), FromHex("0800 6b5a685a695a6e5a"));
  Give(*protocol_, "0100");
  EXPECT_EQ(protocol_->State(), ControlState::Ready);
}

TEST_F(FamilyBTest, PasswordCanGoWithItsNul) {
  const auto protocol = MakeControlProtocol(Family::B, PasswordEnd::Nul);
  Give(*protocol, RecordB("5a7e0000"));
  protocol->SendPassword("1234");
  EXPECT_EQ(protocol->TakeOutput(), FromHex("0a00 6b5a685a695a6e5a5a5a"));
}

TEST_F(FamilyBTest, ZeroRefusesThePassword) {
  Give(*protocol_, RecordB("5a7e0000"));
  protocol_->SendPassword("1234");
  Give(*protocol_, "0000");
  EXPECT_EQ(protocol_->State(), ControlState::Refused);
}

TEST_F(FamilyBTest, HandheldThatIsLockedOnItsScreenIsShownTheScreenAndConfirmed) {
  Give(*protocol_, RecordB("ffffffff"));
  EXPECT_EQ(protocol_->State(), ControlState::LockedOnScreen);
  EXPECT_EQ(protocol_->TakeOutput(), FromHex("08000000"));
  Give(*protocol_, "00000000");
  EXPECT_EQ(protocol_->State(), ControlState::Ready);
  EXPECT_EQ(protocol_->TakeOutput(), FromHex("00000000 0c000000"));
}

TEST_F(FamilyBTest, UnknownWordIsAnErrorBecauseItsLengthIsNotKnown) {
  Give(*protocol_, "09000000");
  EXPECT_EQ(protocol_->State(), ControlState::Broken);
  EXPECT_EQ(protocol_->Problem(), "the control word 9");
  Give(*protocol_, RecordB());
  EXPECT_EQ(protocol_->State(), ControlState::Broken);
}

TEST_F(FamilyBTest, RecordOfImpossibleLengthIsAnErrorBeforeItComes) {
  Give(*protocol_, "04000000 ffffff7f");
  EXPECT_EQ(protocol_->State(), ControlState::Broken);
}

TEST_F(FamilyBTest, RequestForAConnectionCarriesTheId) {
  EXPECT_EQ(ConnectionRequest(1), FromHex("05000000 04000000 01000000"));
}

}  // namespace
}  // namespace mv::wire
