#pragma once

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>
#include <utility>

#include "device/wire/ControlProtocol.h"
#include "device/wire/WireOptions.h"
#include "device/wire/WireRapi.h"
#include "platform/Socket.h"
#include "support/Hex.h"

namespace mv::testing {

/// One connection whose far end a test plays by hand, in hex.
class PlayedLine {
 public:
  PlayedLine() = default;
  explicit PlayedLine(platform::TcpStream stream) : stream_(std::move(stream)) {}

  void Send(const std::string& hex) { EXPECT_TRUE(stream_.Send(FromHex(hex), Limit()).IsDone()) << hex; }
  /// The next bytes that come are these.
  void Expect(const std::string& hex) {
    const Bytes expected = FromHex(hex);
    Bytes bytes(expected.size());
    std::size_t count = 0;
    EXPECT_TRUE(stream_.ReceiveExactly(bytes, count, Limit()).IsDone()) << "for " << hex;
    EXPECT_EQ(ToHex(bytes), ToHex(expected));
  }
  /// Nothing comes for a moment.
  void ExpectSilence() {
    Bytes bytes(1);
    std::size_t count = 0;
    const auto moment = platform::WaitLimit::After(std::chrono::milliseconds(30));
    EXPECT_EQ(stream_.ReceiveSome(bytes, count, moment).status, platform::SocketStatus::TimedOut);
  }
  /// The desktop closes; what comes before does not matter.
  void ExpectEnd() {
    Bytes bytes(100);
    std::size_t count = 0;
    platform::SocketResult received;
    while (received.IsDone()) received = stream_.ReceiveSome(bytes, count, Limit());
    EXPECT_EQ(received.status, platform::SocketStatus::Closed);
  }
  void Close() { stream_.Close(); }
  void ShutDown() { stream_.ShutDown(); }

 private:
  static platform::WaitLimit Limit() { return platform::WaitLimit::After(std::chrono::seconds(10)); }

  platform::TcpStream stream_;
};

/// A handheld at 127.0.0.2 that a test plays by hand.
class PlayedHandheld {
 public:
  /// "PocketPC", 4.20.
  static constexpr const char* kRecordA =
      "64000000 24000000 04143904 110a0000 00000000 44332211 00000000 24000000 36000000 48000000"
      "50006f00 63006b00 65007400 50004300 00005000 6f006300 6b006500 74005000 43000000 53006900"
      "6d004400 65007600 69006300 65002000 31003000 30000000";
  /// "PocketPC", 5.1, with this lock key.
  static std::string RecordB(const std::string& lockKey = "00000000") {
    return "04000000 7a000000 00112233 44556677 8899aabb ccddeeff 05000000 01000000 08000000 50006f00"
           "63006b00 65007400 50004300 00000100 0500110a 00000000 00004433 22110df0 ad0b0a00 0000506f"
           "636b6574 50430000 0d000000 53696d44 65766963 65203130 30000200 00001000 00000c00 00000b00"
           "00000000 0000" +
           lockKey;
  }

  PlayedHandheld() {
    EXPECT_TRUE(calls_.Listen({kHost, 0}).IsDone());
    EXPECT_TRUE(wakeUps_.Bind({kHost, 0}).IsDone());
  }

  /// What makes a desktop listen for this handheld, at free ports of 127.0.0.1 and with short limits.
  wire::WireOptions Options() const {
    wire::WireOptions options;
    options.links = {{{127, 0, 0, 1}, 8}};
    options.ports = {0, 0, calls_.LocalAddress().port, wakeUps_.LocalAddress().port};
    options.handhelds = {kHost};
    options.times.settle = std::chrono::milliseconds(0);
    return options;
  }

  /// Opens a connection to the desktop's control port.
  PlayedLine Call(const wire::WireRapi& desktop, wire::Family family) const {
    const wire::WireStatus status = desktop.Status();
    const auto& open = family == wire::Family::A ? status.controlA : status.controlB;
    platform::TcpStream stream;
    EXPECT_TRUE(stream.Connect(open.at(0), Limit(), platform::SocketAddress{kHost, 0}).IsDone());
    return PlayedLine(std::move(stream));
  }
  /// The desktop's next connection for remote calls, in family A.
  PlayedLine AcceptCalls() {
    platform::TcpStream stream;
    EXPECT_TRUE(calls_.Accept(stream, Limit()).IsDone());
    return PlayedLine(std::move(stream));
  }
  /// The next datagram, in hex.
  std::string WakeUp() {
    Bytes bytes(10);
    std::size_t count = 0;
    platform::SocketAddress from;
    EXPECT_TRUE(wakeUps_.Receive(bytes, count, from, Limit()).IsDone());
    return ToHex(ByteView(bytes).first(count));
  }
  void StopTakingCalls() { calls_.Close(); }

 private:
  static constexpr std::array<std::uint8_t, 4> kHost = {127, 0, 0, 2};

  static platform::WaitLimit Limit() { return platform::WaitLimit::After(std::chrono::seconds(10)); }

  platform::TcpListener calls_;
  platform::UdpSocket wakeUps_;
};

}  // namespace mv::testing
