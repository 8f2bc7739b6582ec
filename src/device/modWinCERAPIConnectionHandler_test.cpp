#include "device/modWinCERAPIConnectionHandler.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/FakeRapi.h"

namespace mv {
namespace {

constexpr std::int32_t kFailed = -2147467259;
constexpr std::uint32_t kWaitTimedOut = 258;
constexpr std::uint32_t kWaitFailed = 0xFFFFFFFF;

class ConnectionHandler : public ::testing::Test {
 protected:
  testing::FakeRapi rapi_;
  std::string shown_;
  DeviceHooks hooks_{{}, {}, [this] { shown_ += "hourglass "; }, [this] { shown_ += "messages "; }};
  modWinCERAPIConnectionHandler handler_{rapi_, hooks_};
};

TEST_F(ConnectionHandler, NewHandlerIsNotConnected) {
  EXPECT_FALSE(handler_.IsDeviceConnected());
}

TEST_F(ConnectionHandler, DeviceThatAnswersIsConnected) {
  EXPECT_TRUE(handler_.ConnectDevice());
  EXPECT_TRUE(handler_.IsDeviceConnected());
  EXPECT_EQ(rapi_.calls, (std::vector<std::string>{"CeRapiInitEx", "WaitForSingleObject 77 50"}));
}

TEST_F(ConnectionHandler, TheWaitIsFiveSecondsInSlicesWithMessagesBetweenThem) {
  rapi_.waitResult = kWaitTimedOut;
  handler_.ConnectDevice();
  EXPECT_EQ(rapi_.waited, 5000U);
  EXPECT_EQ(rapi_.Count("WaitForSingleObject"), 100U);
  std::size_t messages = 0;
  for (std::size_t at = shown_.find("messages"); at != std::string::npos; at = shown_.find("messages", at + 1))
    ++messages;
  EXPECT_EQ(messages, 1U + 99U);
}

TEST_F(ConnectionHandler, WithoutMessagesToHandleTheWaitIsOne) {
  const DeviceHooks none;
  modWinCERAPIConnectionHandler(rapi_, none).ConnectDevice();
  EXPECT_EQ(rapi_.calls, (std::vector<std::string>{"CeRapiInitEx", "WaitForSingleObject 77 5000"}));
}

TEST_F(ConnectionHandler, DeviceThatAnswersLateIsConnected) {
  rapi_.answersAfter = 4990;
  EXPECT_TRUE(handler_.ConnectDevice());
  EXPECT_EQ(rapi_.waited, 5000U);
}

TEST_F(ConnectionHandler, AWaitThatNobodyWantsAnyMoreEndsAndIsUndone) {
  rapi_.answersAfter = 4000;
  hooks_.abandoned = [this] { return rapi_.waited >= 200; };
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_EQ(rapi_.waited, 200U);
  EXPECT_EQ(rapi_.calls.back(), "CeRapiUninit");
}

TEST_F(ConnectionHandler, AnErrorWithinTheWaitUndoesTheAttempt) {
  rapi_.answersAfter = 4000;
  hooks_.processMessages = [this] {
    if (rapi_.waited > 0) throw std::runtime_error("window is gone");
  };
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_EQ(rapi_.calls.back(), "CeRapiUninit");
}

TEST_F(ConnectionHandler, StartUpRecordStatesItsSize) {
  handler_.ConnectDevice();
  EXPECT_EQ(rapi_.recordSize, 12U);
}

TEST_F(ConnectionHandler, ConnectingShowsTheHourglassThenLetsMessagesRun) {
  handler_.ConnectDevice();
  EXPECT_EQ(shown_, "hourglass messages ");
}

TEST_F(ConnectionHandler, ConnectWhileConnectedReturnsFalseAndKeepsTheConnection) {
  handler_.ConnectDevice();
  rapi_.calls.clear();
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_TRUE(handler_.IsDeviceConnected());
  EXPECT_TRUE(rapi_.calls.empty());
  EXPECT_EQ(shown_, "hourglass messages hourglass messages ");
}

TEST_F(ConnectionHandler, FailedInitIsUndoneWithoutWaiting) {
  rapi_.initResult = kFailed;
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_FALSE(handler_.IsDeviceConnected());
  EXPECT_EQ(rapi_.calls, (std::vector<std::string>{"CeRapiInitEx", "CeRapiUninit"}));
}

TEST_F(ConnectionHandler, FailureInTheRecordAtOnceIsUndoneWithoutWaiting) {
  rapi_.initResultInRecord = kFailed;
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_EQ(rapi_.calls, (std::vector<std::string>{"CeRapiInitEx", "CeRapiUninit"}));
}

TEST_F(ConnectionHandler, WaitThatTimesOutIsUndone) {
  rapi_.waitResult = kWaitTimedOut;
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_FALSE(handler_.IsDeviceConnected());
  EXPECT_EQ(rapi_.calls.back(), "CeRapiUninit");
}

TEST_F(ConnectionHandler, WaitThatFailsOtherwiseCountsAsSignalled) {
  rapi_.waitResult = kWaitFailed;
  EXPECT_TRUE(handler_.ConnectDevice());
  EXPECT_TRUE(handler_.IsDeviceConnected());
}

TEST_F(ConnectionHandler, FailureInTheRecordAfterTheWaitIsUndone) {
  rapi_.resultInRecordAfterWait = kFailed;
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_FALSE(handler_.IsDeviceConnected());
  EXPECT_EQ(rapi_.calls.back(), "CeRapiUninit");
}

TEST_F(ConnectionHandler, FailedAttemptMayBeRepeated) {
  rapi_.waitResult = kWaitTimedOut;
  handler_.ConnectDevice();
  rapi_.waitResult = 0;
  EXPECT_TRUE(handler_.ConnectDevice());
}

TEST_F(ConnectionHandler, UnexpectedErrorClearsTheFlagAndReturnsFalse) {
  handler_.ConnectDevice();
  hooks_.processMessages = [] { throw std::runtime_error("window is gone"); };
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_FALSE(handler_.IsDeviceConnected());
}

TEST_F(ConnectionHandler, WithoutHooksConnectsAllTheSame) {
  const DeviceHooks none;
  modWinCERAPIConnectionHandler handler(rapi_, none);
  EXPECT_TRUE(handler.ConnectDevice());
}

TEST_F(ConnectionHandler, DisconnectEndsTheConnection) {
  handler_.ConnectDevice();
  EXPECT_TRUE(handler_.DisconnectDevice());
  EXPECT_FALSE(handler_.IsDeviceConnected());
  EXPECT_EQ(rapi_.Count("CeRapiUninit"), 1U);
}

TEST_F(ConnectionHandler, DisconnectWithoutAConnectionIsTrueAndCallsNothing) {
  EXPECT_TRUE(handler_.DisconnectDevice());
  EXPECT_TRUE(rapi_.calls.empty());
}

TEST(ConnectionWait, IsFiveSecondsUnlessAnotherIsAskedFor) {
  testing::FakeRapi rapi;
  const DeviceHooks hooks;
  modWinCERAPIConnectionHandler(rapi, hooks).ConnectDevice();
  modWinCERAPIConnectionHandler(rapi, hooks, std::chrono::seconds(90)).ConnectDevice();
  EXPECT_EQ(rapi.Count("WaitForSingleObject"), 2U);
  EXPECT_EQ(rapi.calls[1], "WaitForSingleObject 77 5000");
  EXPECT_EQ(rapi.calls[3], "WaitForSingleObject 77 90000");
}

}  // namespace
}  // namespace mv
