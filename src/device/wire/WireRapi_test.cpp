#include "device/wire/WireRapi.h"

#include <gtest/gtest.h>

#include <future>
#include <mutex>
#include <thread>

#include "device/wire/Listeners.h"
#include "support/PlayedHandheld.h"

namespace mv::wire {
namespace {

using std::chrono::milliseconds;
using testing::PlayedHandheld;
using testing::PlayedLine;

constexpr std::int32_t kFailed = static_cast<std::int32_t>(0x80004005);
constexpr std::int32_t kLocked = static_cast<std::int32_t>(0x80070005);
constexpr std::int32_t kWrongPassword = static_cast<std::int32_t>(0x80070056);
constexpr std::int32_t kAlreadyConnected = static_cast<std::int32_t>(0x80041001);
constexpr std::uint32_t kTimedOut = 258;
constexpr const char* kPingA = "78563412";

class WireTest : public ::testing::Test {
 protected:
  /// Begins an attempt; the test plays the handheld, and Result waits.
  void Start() {
    if (!rapi_) rapi_ = std::make_unique<WireRapi>(options_);
    ASSERT_EQ(rapi_->CeRapiInitEx(init_), 0);
    ASSERT_EQ(init_.hrRapiInit, 0);
  }
  std::uint32_t Wait(std::uint32_t time = 10000) { return rapi_->WaitForSingleObject(init_.heRapiInit, time); }
  /// The attempt's result, which must come.
  std::int32_t Result() {
    EXPECT_EQ(Wait(), 0U);
    return init_.hrRapiInit;
  }
  PlayedLine Call(Family family) { return handheld_.Call(*rapi_, family); }
  /// Connects with a family A handheld that is not locked.
  void ConnectA() {
    Start();
    control_ = Call(Family::A);
    control_.Send(std::string("00000000") + PlayedHandheld::kRecordA);
    control_.Expect(kPingA);
    calls_ = handheld_.AcceptCalls();
    ASSERT_EQ(Result(), 0);
  }
  /// Runs a call while the test plays the handheld.
  template <typename ACall>
  auto InBackground(ACall call) {
    return std::async(std::launch::async, call);
  }
  bool HasLogged(const std::string& text) const {
    const std::lock_guard lock(logMutex_);
    return log_.find(text) != log_.npos;
  }

  PlayedHandheld handheld_;
  mutable std::mutex logMutex_;
  std::string log_;
  WireOptions options_ = [this] {
    WireOptions options = handheld_.Options();
    options.log = [this](const std::string& line) {
      const std::lock_guard lock(logMutex_);
      log_ += line + "\n";
    };
    return options;
  }();
  std::unique_ptr<WireRapi> rapi_;
  RAPIINIT init_{12, 0, 0};
  PlayedLine control_;
  PlayedLine calls_;
};

// ---- Family A

TEST_F(WireTest, HandheldOfFamilyAIsPingedAndCalled) {
  ConnectA();
  EXPECT_EQ(rapi_->Status().handheld, "PocketPC (Windows CE 4.20) at 127.0.0.2: connected");
}

TEST_F(WireTest, WithoutAHandheldNothingIsSignalled) {
  Start();
  EXPECT_EQ(Wait(30), kTimedOut);
  EXPECT_EQ(init_.hrRapiInit, 0);
  EXPECT_EQ(rapi_->CeRapiUninit(), 0);
}

TEST_F(WireTest, HandheldThatConnectsAndStaysSilentIsNone) {
  options_.times.step = milliseconds(20);
  Start();
  PlayedLine silent = Call(Family::A);
  silent.ExpectEnd();
  EXPECT_EQ(Wait(0), kTimedOut);
}

TEST_F(WireTest, PasswordGoesToBothConnections) {
  options_.password = [] { return std::string("1234"); };
  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  auto result = InBackground([&] { return Result(); });
  control_.Expect("0a00 6b5a685a695a6e5a5a5a");
  control_.Send("0100");
  control_.Expect(kPingA);
  calls_ = handheld_.AcceptCalls();
  calls_.Expect("0a00 6b5a685a695a6e5a5a5a");
  calls_.Send("01");
  EXPECT_EQ(result.get(), 0);
  EXPECT_FALSE(HasLogged("1234"));
}

TEST_F(WireTest, PasswordMayGoWithoutItsNul) {
  options_.password = [] { return std::string("1234"); };
  options_.passwordEnd = PasswordEnd::None;
  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  auto result = InBackground([&] { return Result(); });
  control_.Expect("0800 6b5a685a695a6e5a");
  control_.Send("0100");
  calls_ = handheld_.AcceptCalls();
  calls_.Expect("0800 6b5a685a695a6e5a");
  calls_.Send("01");
  EXPECT_EQ(result.get(), 0);
}

TEST_F(WireTest, HandheldHasTimeToSettleAfterAPassword) {
  options_.password = [] { return std::string("1234"); };
  options_.times.settle = milliseconds(40);
  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  auto result = InBackground([&] { return Result(); });
  control_.Expect("0a00 6b5a685a695a6e5a5a5a");
  const auto accepted = std::chrono::steady_clock::now();
  control_.Send("0100");
  calls_ = handheld_.AcceptCalls();
  EXPECT_GE(std::chrono::steady_clock::now() - accepted, milliseconds(40));
  calls_.Send("01");
  EXPECT_EQ(result.get(), 0);
}

TEST_F(WireTest, RefusedPasswordEndsTheConnectionAndIsNotSentAgain) {
  int asked = 0;
  options_.password = [&asked] {
    ++asked;
    return std::string("1234");
  };
  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  auto result = InBackground([&] { return Result(); });
  control_.Expect("0a00 6b5a685a695a6e5a5a5a");
  control_.Send("0000");
  EXPECT_EQ(result.get(), kWrongPassword);
  control_.ExpectEnd();
  EXPECT_EQ(rapi_->CeRapiUninit(), 0);

  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  EXPECT_EQ(Result(), kWrongPassword);
  control_.ExpectSilence();
  EXPECT_EQ(asked, 2);
}

TEST_F(WireTest, OtherPasswordIsTriedAfterARefusedOne) {
  std::string password = "1234";
  options_.password = [&password] { return password; };
  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  auto result = InBackground([&] { return Result(); });
  control_.Expect("0a00 6b5a685a695a6e5a5a5a");
  control_.Send("0000");
  EXPECT_EQ(result.get(), kWrongPassword);
  rapi_->CeRapiUninit();

  password = "1235";
  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  result = InBackground([&] { return Result(); });
  control_.Expect("0a00 6b5a685a695a6f5a5a5a");
  control_.Send("0100");
  calls_ = handheld_.AcceptCalls();
  calls_.Send("01");
  EXPECT_EQ(result.get(), 0);
}

TEST_F(WireTest, PasswordRefusedByTheSecondConnectionIsAWrongPassword) {
  options_.password = [] { return std::string("1234"); };
  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  auto result = InBackground([&] { return Result(); });
  control_.Expect("0a00 6b5a685a695a6e5a5a5a");
  control_.Send("0100");
  calls_ = handheld_.AcceptCalls();
  calls_.Send("00");
  EXPECT_EQ(result.get(), kWrongPassword);
}

TEST_F(WireTest, LockedHandheldWhosePasswordNobodyKnowsIsSaidAsSuch) {
  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  EXPECT_EQ(Result(), kLocked);
  EXPECT_EQ(rapi_->Status().handheld, "PocketPC (Windows CE 4.20) at 127.0.0.2: locked with a password");
}

TEST_F(WireTest, HandheldThatDoesNotAnswerThePasswordIsGone) {
  options_.password = [] { return std::string("1234"); };
  options_.times.step = milliseconds(50);
  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  EXPECT_EQ(Wait(100), kTimedOut);
  control_.ExpectEnd();
}

TEST_F(WireTest, HandheldThatTakesNoRemoteCallsIsAFailedConnection) {
  handheld_.StopTakingCalls();
  Start();
  control_ = Call(Family::A);
  control_.Send(PlayedHandheld::kRecordA);
  EXPECT_EQ(Result(), kFailed);
}

TEST_F(WireTest, ControlConnectionStaysForTheNextStart) {
  ConnectA();
  EXPECT_EQ(rapi_->CeRapiUninit(), 0);
  calls_.ExpectEnd();
  Start();
  calls_ = handheld_.AcceptCalls();
  EXPECT_EQ(Result(), 0);
}

TEST_F(WireTest, StartWhileConnectedIsRefused) {
  ConnectA();
  RAPIINIT other;
  EXPECT_EQ(rapi_->CeRapiInitEx(other), kAlreadyConnected);
}

TEST_F(WireTest, EndWithoutAStartIsRefused) {
  WireRapi rapi(options_);
  EXPECT_EQ(rapi.CeRapiUninit(), kFailed);
}

TEST_F(WireTest, OnlyTheOwnEventCanBeWaitedFor) {
  ConnectA();
  EXPECT_EQ(rapi_->WaitForSingleObject(init_.heRapiInit + 1, 0), 0xFFFFFFFFU);
  EXPECT_EQ(Wait(0), 0U) << "the event stays signalled";
}

TEST_F(WireTest, PingsGoOnWhileNobodyCalls) {
  options_.times.pingA = milliseconds(10);
  options_.times.missedPings = 1000;
  ConnectA();
  for (int i = 0; i < 5; ++i) {
    control_.Send(kPingA);
    control_.Expect(kPingA);
  }
}

TEST_F(WireTest, HandheldThatAnswersNoPingsIsGoneAndItsCallsFail) {
  options_.times.pingA = milliseconds(60);
  ConnectA();
  EXPECT_EQ(rapi_->CeFindFirstFile("\\a"), kInvalidRapiHandle);
  EXPECT_EQ(rapi_->CeRapiGetError(), kFailed);
  control_.ExpectEnd();
  EXPECT_EQ(rapi_->CeFindFirstFile("\\a"), kInvalidRapiHandle);
  EXPECT_EQ(rapi_->CeRapiGetError(), kFailed) << "until the next start";
}

TEST_F(WireTest, HandheldThatLeavesEndsACallThatWaits) {
  ConnectA();
  auto find = InBackground([&] { return rapi_->CeFindFirstFile("\\a"); });
  calls_.Expect("12000000 00000000 01000000 03000000 5c006100 0000");
  control_.Close();
  EXPECT_EQ(find.get(), kInvalidRapiHandle);
  EXPECT_EQ(rapi_->CeRapiGetError(), kFailed);
}

TEST_F(WireTest, HandheldThatComesBackCanBeStartedAgain) {
  ConnectA();
  control_.Close();
  EXPECT_EQ(rapi_->CeFindFirstFile("\\a"), kInvalidRapiHandle);
  EXPECT_EQ(rapi_->CeRapiUninit(), 0);
  ConnectA();
}

TEST_F(WireTest, WhatIsOpenIsClosedBeforeTheEnd) {
  ConnectA();
  auto open = InBackground([&] { return rapi_->CeCreateFile("\\a", 0x80000000, 1, 1, 3, 0x80); });
  calls_.Expect("26000000 05000000 00000080 01000000 03000000 80000000 00000000 01000000 03000000 5c006100 0000");
  calls_.Send("0c000000 00000000 00000000 c0a20100");
  EXPECT_NE(open.get(), kInvalidRapiHandle);
  auto end = InBackground([&] { return rapi_->CeRapiUninit(); });
  calls_.Expect("08000000 08000000 c0a20100");
  calls_.Send("0c000000 00000000 00000000 01000000");
  EXPECT_EQ(end.get(), 0);
}

TEST_F(WireTest, SearchThatIsOpenIsClosedBeforeTheEnd) {
  ConnectA();
  auto find = InBackground([&] { return rapi_->CeFindFirstFile("\\a"); });
  calls_.Expect("12000000 00000000 01000000 03000000 5c006100 0000");
  calls_.Send("0c000000 00000000 00000000 d0a20100");
  EXPECT_NE(find.get(), kInvalidRapiHandle);
  auto end = InBackground([&] { return rapi_->CeRapiUninit(); });
  calls_.Expect("08000000 02000000 d0a20100");
  calls_.Send("0c000000 00000000 00000000 01000000");
  EXPECT_EQ(end.get(), 0);
}

// ---- Family B

TEST_F(WireTest, HandheldOfFamilyBIsCalledByDatagramAndBringsItsConnection) {
  Start();
  EXPECT_EQ(handheld_.WakeUp(), "7F");
  control_ = Call(Family::B);
  control_.Send("00000000");
  control_.Expect("03000000");
  control_.Send(PlayedHandheld::RecordB());
  control_.Expect("01000000 05000000 04000000 01000000");
  control_.Send("02000000");
  calls_ = Call(Family::B);
  calls_.Send("01000000");
  EXPECT_EQ(Result(), 0);
  auto find = InBackground([&] { return rapi_->CeFindFirstFile("\\a"); });
  calls_.Expect("0e000000 11000000 06000000 5c006100 0000");
  calls_.Send("0c000000 12000000 ffffffff 00000000");
  EXPECT_EQ(find.get(), kInvalidRapiHandle);
  EXPECT_EQ(rapi_->CeRapiGetError(), 0);
  EXPECT_EQ(rapi_->CeGetLastError(), 18U);
}

TEST_F(WireTest, HandheldsAreCalledUntilOneComes) {
  options_.times.wakeUpB = milliseconds(10);
  Start();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(handheld_.WakeUp(), "7F");
}

TEST_F(WireTest, EachConnectionOfFamilyBHasAnIdOfItsOwn) {
  Start();
  control_ = Call(Family::B);
  control_.Send(PlayedHandheld::RecordB());
  control_.Expect("01000000 05000000 04000000 01000000");
  calls_ = Call(Family::B);
  calls_.Send("01000000");
  ASSERT_EQ(Result(), 0);
  rapi_->CeRapiUninit();
  Start();
  control_.Expect("05000000 04000000 02000000");
  calls_ = Call(Family::B);
  calls_.Send("02000000");
  EXPECT_EQ(Result(), 0);
}

TEST_F(WireTest, ConnectionWithAnotherIdIsDroppedAndTheRightOneTaken) {
  Start();
  control_ = Call(Family::B);
  control_.Send(PlayedHandheld::RecordB());
  control_.Expect("01000000 05000000 04000000 01000000");
  PlayedLine wrong = Call(Family::B);
  wrong.Send("07000000");
  wrong.ExpectEnd();
  calls_ = Call(Family::B);
  calls_.Send("01");
  calls_.Send("000000");
  EXPECT_EQ(Result(), 0);
}

TEST_F(WireTest, ConnectionThatNeverComesIsAFailedStart) {
  options_.times.connect = milliseconds(30);
  Start();
  control_ = Call(Family::B);
  control_.Send(PlayedHandheld::RecordB());
  EXPECT_EQ(Result(), kFailed);
}

TEST_F(WireTest, HandheldLockedOnItsScreenIsWaitedForWithoutALimit) {
  Start();
  control_ = Call(Family::B);
  control_.Send(PlayedHandheld::RecordB("ffffffff"));
  control_.Expect("08000000");
  EXPECT_EQ(Wait(30), kTimedOut);
  EXPECT_EQ(rapi_->Status().handheld,
            "PocketPC (Windows CE 5.1) at 127.0.0.2: locked, to be unlocked on its own screen");
  control_.Send("00000000");
  control_.Expect("00000000 0c000000 01000000 05000000 04000000 01000000");
  calls_ = Call(Family::B);
  calls_.Send("01000000");
  EXPECT_EQ(Result(), 0);
}

TEST_F(WireTest, PasswordOfFamilyBGoesToTheControlConnectionOnlyWithoutItsNulOrWithIt) {
  options_.password = [] { return std::string("1234"); };
  const std::pair<std::optional<PasswordEnd>, const char*> cases[] = {
      {std::nullopt, "0800 6b5a685a695a6e5a"},
      {PasswordEnd::None, "0800 6b5a685a695a6e5a"},
      {PasswordEnd::Nul, "0a00 6b5a685a695a6e5a5a5a"},
  };
  for (const auto& [end, sent] : cases) {
    options_.passwordEnd = end;
    rapi_ = std::make_unique<WireRapi>(options_);
    Start();
    control_ = Call(Family::B);
    control_.Send(PlayedHandheld::RecordB("5a7e0000"));
    auto result = InBackground([&] { return Result(); });
    control_.Expect(sent);
    control_.Send("0100");
    control_.Expect("01000000 05000000 04000000 01000000");
    calls_ = Call(Family::B);
    calls_.Send("01000000");
    EXPECT_EQ(result.get(), 0) << sent;
  }
}

TEST_F(WireTest, HandheldOfFamilyBThatRefusesThePasswordMayLeaveOrStay) {
  options_.password = [] { return std::string("1234"); };
  for (const bool leaves : {true, false}) {
    rapi_ = std::make_unique<WireRapi>(options_);
    Start();
    control_ = Call(Family::B);
    control_.Send(PlayedHandheld::RecordB("5a7e0000"));
    auto result = InBackground([&] { return Result(); });
    control_.Expect("0800 6b5a685a695a6e5a");
    control_.Send("0000");
    if (leaves) control_.ShutDown();
    EXPECT_EQ(result.get(), kWrongPassword) << leaves;
    control_.ExpectEnd();
  }
}

// ---- Versions of the messages

TEST_F(WireTest, UntriedSystemIsAskedForItsVersionFirst) {
  Start();
  control_ = Call(Family::A);
  std::string record = PlayedHandheld::kRecordA;
  record.replace(record.find("0414"), 4, "0600");
  control_.Send(record);
  calls_ = handheld_.AcceptCalls();
  auto result = InBackground([&] { return Result(); });
  calls_.Expect("04000000 3b000000");
  calls_.Send("24000000 00000000 00000000 01000000 14000000 14000000 06000000 00000000 00000000 03000000");
  EXPECT_EQ(result.get(), 0);
}

TEST_F(WireTest, UntriedSystemThatDoesNotUnderstandIsAFailedStart) {
  Start();
  control_ = Call(Family::A);
  std::string record = PlayedHandheld::kRecordA;
  record.replace(record.find("0414"), 4, "0700");
  control_.Send(record);
  calls_ = handheld_.AcceptCalls();
  auto result = InBackground([&] { return Result(); });
  calls_.Expect("04000000 3b000000");
  calls_.Send("08000000 78000000 00000000");
  EXPECT_EQ(result.get(), kFailed);
}

TEST_F(WireTest, UntriedSystemWhoseVersionOfTheMessagesIsSetIsNotAsked) {
  options_.messages = MessageVersion::V2;
  Start();
  control_ = Call(Family::A);
  std::string record = PlayedHandheld::kRecordA;
  record.replace(record.find("0414"), 4, "0600");
  control_.Send(record);
  calls_ = handheld_.AcceptCalls();
  EXPECT_EQ(Result(), 0);
  auto find = InBackground([&] { return rapi_->CeFindFirstFile("\\a"); });
  calls_.Expect("0e000000 11000000 06000000 5c006100 0000");
  calls_.Send("08000000 00000000 d0a20100");
  EXPECT_NE(find.get(), kInvalidRapiHandle);
}

TEST_F(WireTest, VersionOfTheMessagesCanBeSet) {
  options_.messages = MessageVersion::V2;
  ConnectA();
  auto find = InBackground([&] { return rapi_->CeFindFirstFile("/a"); });
  calls_.Expect("0e000000 11000000 06000000 5c006100 0000");
  calls_.Send("08000000 00000000 d0a20100");
  EXPECT_NE(find.get(), kInvalidRapiHandle);
}

class WireVersion2 : public WireTest {
 protected:
  void SetUp() override {
    options_.messages = MessageVersion::V2;
    ConnectA();
    auto open = InBackground([&] { return rapi_->CeCreateFile("\\a", 0x80000000, 1, 1, 3, 0x80); });
    calls_.Expect(kOpen);
    calls_.Send("08000000 00000000 c0a20100");
    file_ = open.get();
  }
  void TearDown() override { calls_.Close(); }
  /// Runs a call whose request is this and whose reply is that.
  template <typename ACall>
  auto Played(ACall call, const std::string& request, const std::string& reply) {
    auto result = InBackground(call);
    calls_.Expect(request);
    calls_.Send(reply);
    return result.get();
  }

  static constexpr const char* kOpen =
      "22000000 16000000 06000000 5c006100 0000 00000080 01000000 03000000 80000000 00000000";
  static constexpr const char* kFind = "0e000000 11000000 06000000 5c006100 0000";
  static constexpr const char* kAskSize = "0c000000 2e000000 c0a20100 00000000";
  RapiHandle file_ = 0;
};

TEST_F(WireVersion2, SizeThatIsNotToldIsTakenFromTheFindRecord) {
  for (const char* reply : {"08000000 57000000 ffffffff", "08000000 57000000 00000000", "04000000 57000000"}) {
    auto size = InBackground([&] { return rapi_->CeGetFileSize(file_); });
    calls_.Expect(kAskSize);
    calls_.Send(reply);
    calls_.Expect(kFind);
    calls_.Send("38000000 00000000 d0a20100 2c000000" + std::string(64, '0') + "05000000 42000001 61000000");
    calls_.Expect("08000000 13000000 d0a20100");
    calls_.Send("08000000 00000000 01000000");
    EXPECT_EQ(size.get(), 5U) << reply;
    EXPECT_EQ(rapi_->CeRapiGetError(), 0) << reply;
  }
}

TEST_F(WireVersion2, SizeThatTheFindRecordDoesNotTellEitherIsNone) {
  auto size = InBackground([&] { return rapi_->CeGetFileSize(file_); });
  calls_.Expect(kAskSize);
  calls_.Send("04000000 57000000");
  calls_.Expect(kFind);
  calls_.Send("04000000 05000000");
  EXPECT_EQ(size.get(), rapi::kNoFileSize);
  EXPECT_EQ(rapi_->CeRapiGetError(), kLocked);
}

TEST_F(WireVersion2, CallsRefusedWithAnErrorCodeAloneFailWithItsResult) {
  const char* alone = "04000000 05000000";
  const auto expectRefused = [&](const char* name) {
    EXPECT_EQ(rapi_->CeRapiGetError(), kLocked) << name;
    EXPECT_EQ(rapi_->CeGetLastError(), 5U) << name;
  };
  const RapiHandle found = Played([&] { return rapi_->CeFindFirstFile("\\a"); }, kFind, "08000000 00000000 d0a20100");
  std::uint32_t count = 9;

  EXPECT_EQ(Played([&] { return rapi_->CeFindFirstFile("\\a"); }, kFind, alone), kInvalidRapiHandle);
  expectRefused("CeFindFirstFile");
  EXPECT_EQ(Played([&] { return rapi_->CeCreateFile("\\a", 0x80000000, 1, 1, 3, 0x80); }, kOpen, alone),
            kInvalidRapiHandle);
  expectRefused("CeCreateFile");
  Bytes out(5);
  EXPECT_EQ(Played([&] { return rapi_->CeReadFile(file_, out, count); }, "0c000000 17000000 c0a20100 05000000", alone),
            0);
  EXPECT_EQ(count, 0U);
  expectRefused("CeReadFile");
  EXPECT_EQ(Played(
                [&] {
                  return rapi_->CeWriteFile(file_, Bytes{'H', 'i'}, count);
                },
                "0e000000 18000000 c0a20100 02000000 4869", alone),
            0);
  EXPECT_EQ(count, 0U);
  expectRefused("CeWriteFile");
  EXPECT_EQ(Played([&] { return rapi_->CeCloseHandle(file_); }, "08000000 19000000 c0a20100", alone), 0);
  expectRefused("CeCloseHandle");
  EXPECT_EQ(Played([&] { return rapi_->CeFindClose(found); }, "08000000 13000000 d0a20100", alone), 0);
  expectRefused("CeFindClose");
}

TEST_F(WireVersion2, CallsAreInStepAfterARefusal) {
  Played([&] { return rapi_->CeFindFirstFile("\\a"); }, kFind, "04000000 05000000");
  std::uint32_t count = 0;
  Bytes out(2);
  EXPECT_EQ(Played([&] { return rapi_->CeReadFile(file_, out, count); }, "0c000000 17000000 c0a20100 02000000",
                   "0e000000 00000000 01000000 02000000 4869"),
            1);
  EXPECT_EQ(out, (Bytes{'H', 'i'}));
  EXPECT_EQ(rapi_->CeRapiGetError(), 0);
}

// ---- Who may call

TEST_F(WireTest, HostOutsideTheLinkIsTurnedAway) {
  options_.links = {{{127, 0, 0, 1}, 32}};
  Start();
  control_ = Call(Family::A);
  control_.ExpectEnd();
}

TEST_F(WireTest, MoreThanEightAtOnceAreTurnedAway) {
  Start();
  std::vector<PlayedLine> lines;
  for (int i = 0; i < 8; ++i) lines.push_back(Call(Family::A));
  for (PlayedLine& line : lines) line.ExpectSilence();
  PlayedLine ninth = Call(Family::A);
  ninth.ExpectEnd();
  lines.back().Send(PlayedHandheld::kRecordA);
  lines.back().Expect(kPingA);
}

TEST_F(WireTest, SecondHandheldIsTurnedAway) {
  ConnectA();
  control_.Send(kPingA);
  PlayedLine second = Call(Family::A);
  second.ExpectEnd();
  control_.Expect(kPingA);  // the first is asked whether it is still there
}

TEST_F(WireTest, CrowdOfOtherCallersDoesNotMakeAHandheldLookDead) {
  ConnectA();
  for (int i = 0; i < 10; ++i) Call(Family::A).ExpectEnd();
  control_.Send(kPingA);
  auto find = InBackground([&] { return rapi_->CeFindFirstFile("\\a"); });
  calls_.Expect("12000000 00000000 01000000 03000000 5c006100 0000");
  calls_.Send("0c000000 00000000 12000000 ffffffff");
  find.get();
  EXPECT_EQ(rapi_->CeRapiGetError(), 0);
}

TEST_F(WireTest, HandheldThatSendsNonsenseIsDropped) {
  Start();
  control_ = Call(Family::A);
  control_.Send("01000000");
  control_.ExpectEnd();
  control_ = Call(Family::B);
  control_.Send("00000000");
  control_.Expect("03000000");
  control_.Send("63000000");
  control_.ExpectEnd();
}

TEST_F(WireTest, AnnouncementCutAnywhereLeavesTheDesktopListening) {
  options_.times.wakeUpB = std::chrono::hours(1);
  Start();
  const std::pair<Family, std::string> announcements[] = {
      {Family::A, std::string("00000000") + PlayedHandheld::kRecordA},
      {Family::B, std::string("06000000") + PlayedHandheld::RecordB()}};
  for (const auto& [family, hex] : announcements) {
    const std::string digits = testing::ToHex(testing::FromHex(hex));
    for (std::size_t length = 0; length + 3 < digits.size(); length += 3) {
      PlayedLine line = Call(family);
      line.Send(digits.substr(0, length));
      line.ShutDown();
      line.ExpectEnd();
    }
  }
  EXPECT_EQ(Wait(0), kTimedOut);
  control_ = Call(Family::A);
  control_.Send(PlayedHandheld::kRecordA);
  calls_ = handheld_.AcceptCalls();
  EXPECT_EQ(Result(), 0);
}

TEST_F(WireTest, ConnectionForRemoteCallsCutBeforeItsIdIsDropped) {
  Start();
  control_ = Call(Family::B);
  control_.Send(PlayedHandheld::RecordB());
  control_.Expect("01000000 05000000 04000000 01000000");
  for (const char* part : {"", "01", "010000"}) {
    PlayedLine cut = Call(Family::B);
    cut.Send(part);
    cut.ShutDown();
    cut.ExpectEnd();
  }
  calls_ = Call(Family::B);
  calls_.Send("01000000");
  EXPECT_EQ(Result(), 0);
}

TEST_F(WireTest, ConnectionForRemoteCallsCutWhileThePasswordIsCheckedIsAFailedStart) {
  options_.password = [] { return std::string("1234"); };
  Start();
  control_ = Call(Family::A);
  control_.Send(std::string("5a7e0000") + PlayedHandheld::kRecordA);
  auto result = InBackground([&] { return Result(); });
  control_.Expect("0a00 6b5a685a695a6e5a5a5a");
  control_.Send("0100");
  calls_ = handheld_.AcceptCalls();
  calls_.Close();
  EXPECT_EQ(result.get(), kFailed);
}

TEST_F(WireTest, LockedHandheldThatCallsAnewReplacesItself) {
  Start();
  control_ = Call(Family::B);
  control_.Send(PlayedHandheld::RecordB("ffffffff"));
  control_.Expect("08000000");
  PlayedLine again = Call(Family::B);
  again.Send(PlayedHandheld::RecordB());
  control_.ExpectEnd();
  again.Expect("01000000 05000000 04000000 01000000");
}

// ---- Ports

TEST_F(WireTest, PortThatIsTakenIsToldAndTheOtherFamilyGoesOn) {
  platform::TcpListener other;
  ASSERT_TRUE(other.Listen({platform::kLoopbackHost, 0}).IsDone());
  options_.ports.controlB = other.LocalAddress().port;
  ConnectA();
  const WireStatus status = rapi_->Status();
  EXPECT_TRUE(status.controlB.empty());
  ASSERT_EQ(status.problems.size(), 1U);
  EXPECT_NE(status.problems[0].find("TCP " + other.LocalAddress().Text()), std::string::npos) << status.problems[0];
  EXPECT_NE(status.problems[0].find("listens there"), std::string::npos) << status.problems[0];
}

TEST_F(WireTest, PortThatBecomesFreeIsTakenLater) {
  platform::TcpListener other;
  ASSERT_TRUE(other.Listen({platform::kLoopbackHost, 0}).IsDone());
  options_.ports.controlA = other.LocalAddress().port;
  options_.times.listen = milliseconds(5);
  Start();
  EXPECT_TRUE(rapi_->Status().controlA.empty());
  other.Close();
  for (int i = 0; i < 1000 && rapi_->Status().controlA.empty(); ++i) std::this_thread::sleep_for(milliseconds(2));
  EXPECT_TRUE(rapi_->Status().problems.empty());
  control_ = Call(Family::A);
  control_.Send(PlayedHandheld::kRecordA);
  control_.Expect(kPingA);
}

TEST_F(WireTest, LinkThatIsNotUpIsNoProblem) {
  options_.links.push_back({{192, 0, 2, 1}, 24});
  Start();
  EXPECT_TRUE(rapi_->Status().problems.empty());
  EXPECT_EQ(rapi_->Status().controlA.size(), 1U);
}

TEST(Links, HostsAreOnALinkByTheFirstBitsOfTheirAddress) {
  const WireLink link{{192, 168, 131, 102}, 24};
  EXPECT_TRUE(IsOnLink(link, {{192, 168, 131, 201}, 1}));
  EXPECT_FALSE(IsOnLink(link, {{192, 168, 130, 201}, 1}));
  EXPECT_TRUE(IsOnLink({{10, 0, 0, 1}, 0}, {{192, 168, 130, 201}, 1}));
  EXPECT_FALSE(IsOnLink({{10, 0, 0, 1}, 32}, {{10, 0, 0, 2}, 1}));
  EXPECT_TRUE(IsOnLink({{10, 0, 0, 1}, 32}, {{10, 0, 0, 1}, 1}));
}

}  // namespace
}  // namespace mv::wire
