#include <gtest/gtest.h>

#include "device/simulator/HandheldSimulator.h"
#include "device/wire/BrokerLines.h"
#include "device/wire/BrokerServer.h"
#include "device/wire/ControlService.h"
#include "device/wire/WireRapi.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv::wire {
namespace {

using platform::SocketStatus;
using platform::TcpStream;
using platform::WaitLimit;

constexpr std::chrono::seconds kSoon(5);

/// A program that listens, with its place in a folder of the test, and the handheld that calls it.
class BrokerTest : public ::testing::Test {
 protected:
  BrokerTest() {
    device_.Put("D:\\root\\a.txt", {'h', 'i'});
    options_.links = {{platform::kLoopbackHost, 8}};
    options_.handhelds.clear();
    options_.ports = {FreePort(), std::nullopt, 0, 0};
    options_.times.settle = std::chrono::milliseconds(0);
  }

  static std::uint16_t FreePort() {
    platform::TcpListener listener;
    EXPECT_TRUE(listener.Listen({platform::kLoopbackHost, 0}).IsDone());
    return listener.LocalAddress().port;
  }
  /// The handheld of family A, which looks for the program from now on.
  void StartHandheld(simulator::SimulatorOptions simulated = {}) {
    simulated.desktop = platform::SocketAddress{platform::kLoopbackHost, *options_.ports.controlA};
    simulated.retry = std::chrono::milliseconds(5);
    handheld_.emplace(device_, "D:\\root", simulated);
    options_.ports.callsA = handheld_->CallsPort();
  }
  void StartBroker() {
    claim_ = place_.Claim();
    ASSERT_TRUE(claim_);
    log_.emplace(options_.log);
    lines_.emplace(options_, *log_);
    server_.emplace(*lines_, options_.password);
    place_.Publish(server_->Ticket());
  }
  void Start(const simulator::SimulatorOptions& simulated = {}) {
    StartHandheld(simulated);
    StartBroker();
    handheld_->Start();
  }

  /// A program that reaches the handheld through the other.
  std::unique_ptr<WireRapi> Client() {
    WireOptions options;
    options.links.clear();
    options.findLines = [this]() -> std::unique_ptr<LineSource> {
      const auto ticket = place_.Find();
      return ticket ? std::make_unique<BrokerLines>(*ticket) : nullptr;
    };
    return std::make_unique<WireRapi>(options);
  }
  static std::int32_t Connect(WireRapi& rapi, std::chrono::milliseconds patience = kSoon) {
    RAPIINIT init{12, 0, 0};
    EXPECT_EQ(rapi.CeRapiInitEx(init), 0);
    const auto waited = rapi.WaitForSingleObject(init.heRapiInit, static_cast<std::uint32_t>(patience.count()));
    return waited == rapi::kWaitSignalled ? init.hrRapiInit : -1;
  }
  static std::string Read(WireRapi& rapi) {
    const RapiHandle file = rapi.CeCreateFile("\\a.txt", rapi::kGenericRead, 1, 1, rapi::kOpenExisting, 0x80);
    Bytes content(rapi.CeGetFileSize(file) == rapi::kNoFileSize ? 0 : rapi.CeGetFileSize(file));
    std::uint32_t count = 0;
    rapi.CeReadFile(file, content, count);
    rapi.CeCloseHandle(file);
    return {content.begin(), content.end()};
  }

  testing::TempFolder folder_;
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
  testing::MemoryFileSystem device_;
  WireOptions options_;
  BrokerPlace place_{*files_, folder_.Path()};
  std::unique_ptr<platform::File> claim_;
  std::optional<WireLog> log_;
  std::optional<simulator::HandheldSimulator> handheld_;
  std::optional<ControlService> lines_;
  std::optional<BrokerServer> server_;
};

TEST_F(BrokerTest, PlaceIsTakenOnceAndFreeAfterItsHolder) {
  EXPECT_FALSE(place_.Find());
  auto claim = place_.Claim();
  EXPECT_TRUE(claim);
  EXPECT_FALSE(place_.Claim());
  place_.Publish({1234, {1, 2, 3}});
  ASSERT_TRUE(place_.Find());
  EXPECT_EQ(place_.Find()->port, 1234);
  EXPECT_EQ(place_.Find()->secret, (Bytes{1, 2, 3}));
  claim.reset();
  EXPECT_FALSE(place_.Find()) << "what a program that has died left behind counts for nothing";
  EXPECT_TRUE(place_.Claim());
}

TEST_F(BrokerTest, DamagedTicketIsNone) {
  const auto claim = place_.Claim();
  folder_.Write("listener", "x");
  EXPECT_FALSE(place_.Find());
  place_.Withdraw();
  EXPECT_FALSE(place_.Find());
}

TEST_F(BrokerTest, ProgramReachesTheHandheldThroughTheOne) {
  Start();
  const auto client = Client();
  ASSERT_EQ(Connect(*client), 0);
  EXPECT_EQ(Read(*client), "hi");
  HandheldFacts facts;
  ASSERT_NE(client->DescribeHandheld(facts), 0);
  EXPECT_EQ(facts, (HandheldFacts{SystemVersion{4, 20, 1081}, "PocketPC", "PocketPC", "SimDevice 100", "127.0.0.2"}));
}

TEST_F(BrokerTest, VersionOfTheMessagesIsTold) {
  simulator::SimulatorOptions simulated;
  simulated.device = simulator::SimulatedDevice::OfFamilyB();
  Start(simulated);
  const auto client = Client();
  ASSERT_EQ(Connect(*client), 0);
  EXPECT_EQ(Read(*client), "hi");
}

TEST_F(BrokerTest, SeveralProgramsAreServedSideBySideAndAgain) {
  Start();
  const auto first = Client();
  const auto second = Client();
  ASSERT_EQ(Connect(*first), 0);
  ASSERT_EQ(Connect(*second), 0);
  EXPECT_EQ(Read(*first), "hi");
  EXPECT_EQ(Read(*second), "hi");
  first->CeRapiUninit();
  EXPECT_EQ(Read(*second), "hi");
  ASSERT_EQ(Connect(*first), 0);
  EXPECT_EQ(Read(*first), "hi");
}

TEST_F(BrokerTest, WithoutAHandheldAProgramWaitsInVainAndCanTryAgain) {
  StartHandheld();
  StartBroker();
  const auto client = Client();
  EXPECT_EQ(Connect(*client, std::chrono::milliseconds(30)), -1);
  client->CeRapiUninit();
  handheld_->Start();
  EXPECT_EQ(Connect(*client), 0);
}

TEST_F(BrokerTest, PasswordIsTheListenersBusiness) {
  options_.password = [] { return std::optional<std::string>("1234"); };
  simulator::SimulatorOptions simulated;
  simulated.lock = simulator::Lock::Password;
  simulated.password = "1234";
  Start(simulated);
  const auto client = Client();
  ASSERT_EQ(Connect(*client), 0);
  EXPECT_EQ(Read(*client), "hi");
}

TEST_F(BrokerTest, RefusalsAreTold) {
  simulator::SimulatorOptions simulated;
  simulated.lock = simulator::Lock::Password;
  simulated.password = "1234";
  Start(simulated);
  EXPECT_EQ(Connect(*Client()), results::kLocked);
}

TEST_F(BrokerTest, HandheldThatGoesIsALostConnection) {
  Start();
  const auto client = Client();
  ASSERT_EQ(Connect(*client), 0);
  handheld_->Stop();
  EXPECT_EQ(Read(*client), "");
  EXPECT_NE(client->CeRapiGetError(), 0);
}

TEST_F(BrokerTest, ListenerThatEndsIsALostConnection) {
  Start();
  const auto client = Client();
  ASSERT_EQ(Connect(*client), 0);
  server_.reset();
  EXPECT_EQ(Read(*client), "");
  EXPECT_NE(client->CeRapiGetError(), 0);
}

TEST_F(BrokerTest, WhoDoesNotKnowTheSecretGetsNothing) {
  Start();
  for (const std::size_t length : {32, 5}) {
    TcpStream stranger;
    ASSERT_TRUE(
        stranger
            .Connect(platform::SocketAddress{platform::kLoopbackHost, server_->Ticket().port}, WaitLimit::After(kSoon))
            .IsDone());
    stranger.Send(Bytes(length, 7), WaitLimit::After(kSoon));
    stranger.ShutDown();
    Bytes answer(1);
    std::size_t count = 0;
    const SocketStatus status = stranger.ReceiveSome(answer, count, WaitLimit::After(kSoon)).status;
    EXPECT_TRUE(status == SocketStatus::Closed || status == SocketStatus::Failed);
  }
  EXPECT_EQ(handheld_->Requests(), 0U);
  EXPECT_EQ(Connect(*Client()), 0) << "and the others are served as before";
}

}  // namespace
}  // namespace mv::wire
