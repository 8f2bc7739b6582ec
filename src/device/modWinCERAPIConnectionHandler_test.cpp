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

TEST_F(ConnectionHandler, NewHandler_IsNotConnected) {
  EXPECT_FALSE(handler_.IsDeviceConnected());
}

TEST_F(ConnectionHandler, DeviceThatAnswers_IsConnected) {
  EXPECT_TRUE(handler_.ConnectDevice());
  EXPECT_TRUE(handler_.IsDeviceConnected());
  EXPECT_EQ(rapi_.calls, (std::vector<std::string>{"CeRapiInitEx", "WaitForSingleObject 77 5000"}));
}

TEST_F(ConnectionHandler, StartUpRecord_StatesItsSize) {
  handler_.ConnectDevice();
  EXPECT_EQ(rapi_.recordSize, 12U);
}

TEST_F(ConnectionHandler, Connecting_ShowsTheHourglassThenLetsMessagesRun) {
  handler_.ConnectDevice();
  EXPECT_EQ(shown_, "hourglass messages ");
}

TEST_F(ConnectionHandler, ConnectWhileConnected_ReturnsFalseAndKeepsTheConnection) {
  handler_.ConnectDevice();
  rapi_.calls.clear();
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_TRUE(handler_.IsDeviceConnected());
  EXPECT_TRUE(rapi_.calls.empty());
  EXPECT_EQ(shown_, "hourglass messages hourglass messages ");
}

TEST_F(ConnectionHandler, FailedInit_IsUndoneWithoutWaiting) {
  rapi_.initResult = kFailed;
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_FALSE(handler_.IsDeviceConnected());
  EXPECT_EQ(rapi_.calls, (std::vector<std::string>{"CeRapiInitEx", "CeRapiUninit"}));
}

TEST_F(ConnectionHandler, FailureInTheRecordAtOnce_IsUndoneWithoutWaiting) {
  rapi_.initResultInRecord = kFailed;
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_EQ(rapi_.calls, (std::vector<std::string>{"CeRapiInitEx", "CeRapiUninit"}));
}

TEST_F(ConnectionHandler, WaitThatTimesOut_IsUndone) {
  rapi_.waitResult = kWaitTimedOut;
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_FALSE(handler_.IsDeviceConnected());
  EXPECT_EQ(rapi_.calls.back(), "CeRapiUninit");
}

TEST_F(ConnectionHandler, WaitThatFailsOtherwise_CountsAsSignalled) {
  rapi_.waitResult = kWaitFailed;
  EXPECT_TRUE(handler_.ConnectDevice());
  EXPECT_TRUE(handler_.IsDeviceConnected());
}

TEST_F(ConnectionHandler, FailureInTheRecordAfterTheWait_IsUndone) {
  rapi_.resultInRecordAfterWait = kFailed;
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_FALSE(handler_.IsDeviceConnected());
  EXPECT_EQ(rapi_.calls.back(), "CeRapiUninit");
}

TEST_F(ConnectionHandler, FailedAttempt_MayBeRepeated) {
  rapi_.waitResult = kWaitTimedOut;
  handler_.ConnectDevice();
  rapi_.waitResult = 0;
  EXPECT_TRUE(handler_.ConnectDevice());
}

TEST_F(ConnectionHandler, UnexpectedError_ClearsTheFlagAndReturnsFalse) {
  handler_.ConnectDevice();
  hooks_.processMessages = [] { throw std::runtime_error("window is gone"); };
  EXPECT_FALSE(handler_.ConnectDevice());
  EXPECT_FALSE(handler_.IsDeviceConnected());
}

TEST_F(ConnectionHandler, WithoutHooks_ConnectsAllTheSame) {
  const DeviceHooks none;
  modWinCERAPIConnectionHandler handler(rapi_, none);
  EXPECT_TRUE(handler.ConnectDevice());
}

TEST_F(ConnectionHandler, Disconnect_EndsTheConnection) {
  handler_.ConnectDevice();
  EXPECT_TRUE(handler_.DisconnectDevice());
  EXPECT_FALSE(handler_.IsDeviceConnected());
  EXPECT_EQ(rapi_.Count("CeRapiUninit"), 1U);
}

TEST_F(ConnectionHandler, DisconnectWithoutAConnection_IsTrueAndCallsNothing) {
  EXPECT_TRUE(handler_.DisconnectDevice());
  EXPECT_TRUE(rapi_.calls.empty());
}

}  // namespace
}  // namespace mv
