#include "platform/Socket.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace mv::platform {
namespace {

using std::chrono::milliseconds;

constexpr SocketAddress kAnyPort{kLoopbackHost, 0};

WaitLimit Soon() {
  return WaitLimit::After(std::chrono::seconds(10));
}

/// What can be done at once.
WaitLimit Now() {
  return {};
}

TEST(SocketAddressText, AddressesRoundTrip) {
  for (const char* text : {"127.0.0.1:990", "0.0.0.0:0", "255.255.255.255:65535"}) {
    ASSERT_TRUE(SocketAddress::Parse(text)) << text;
    EXPECT_EQ(SocketAddress::Parse(text)->Text(), text);
  }
  EXPECT_EQ(SocketAddress::Parse("192.168.131.102")->HostText(), "192.168.131.102");
  EXPECT_EQ(SocketAddress::Parse("192.168.131.102")->port, 0);
}

TEST(SocketAddressText, OtherTextsAreNoAddress) {
  for (const char* text : {"", "localhost", "127.0.0", "127.0.0.1.", "127.0.0.256", "1.2.3.4:", "1.2.3.4:65536",
                           "1..3.4", "1.2.3.4:1x", " 1.2.3.4", "1.2.3.-4", "1.2.3.4:+1", "::1"}) {
    EXPECT_FALSE(SocketAddress::Parse(text)) << text;
  }
}

/// A listener at a free port and a connection to it, both ends.
class Connected : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(listener_.Listen(kAnyPort).IsDone());
    ASSERT_TRUE(near_.Connect(listener_.LocalAddress(), Soon()).IsDone());
    ASSERT_TRUE(listener_.Accept(far_, Soon()).IsDone());
  }
  /// Text of what arrives at the far end.
  std::string Arriving(std::size_t size) {
    Bytes bytes(size);
    std::size_t count = 0;
    EXPECT_TRUE(far_.ReceiveExactly(bytes, count, Soon()).IsDone());
    return std::string(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
  }
  static Bytes BytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

  TcpListener listener_;
  TcpStream near_;
  TcpStream far_;
};

TEST_F(Connected, BothEndsKnowEachOther) {
  EXPECT_EQ(near_.PeerAddress(), listener_.LocalAddress());
  EXPECT_EQ(far_.PeerAddress(), near_.LocalAddress());
}

TEST_F(Connected, WhatIsSentArrivesInOrder) {
  ASSERT_TRUE(near_.Send(BytesOf("one "), Soon()).IsDone());
  ASSERT_TRUE(near_.Send(BytesOf("two"), Soon()).IsDone());
  EXPECT_EQ(Arriving(7), "one two");
}

TEST_F(Connected, SomeIsWhatThereIs) {
  near_.Send(BytesOf("abc"), Soon());
  Bytes bytes(100);
  std::size_t count = 0;
  EXPECT_TRUE(far_.ReceiveSome(bytes, count, Soon()).IsDone());
  EXPECT_EQ(count, 3U);
}

TEST_F(Connected, WhatTheFirstPlaceHasNoRoomForGoesBehindIt) {
  near_.Send(BytesOf("abcdef"), Soon());
  WaitItem item{&far_.Handle()};
  ASSERT_TRUE(WaitForSockets({&item, 1}, Soon()).IsDone());
  Bytes first(2);
  Bytes behind(9);
  std::size_t count = 0;
  EXPECT_TRUE(far_.ReceiveSome(first, behind, count, Soon()).IsDone());
  EXPECT_EQ(count, 6U);
  EXPECT_EQ(first, BytesOf("ab"));
  behind.resize(4);
  EXPECT_EQ(behind, BytesOf("cdef"));
}

TEST_F(Connected, ReceivingFromASilentPeerTimesOut) {
  Bytes bytes(4);
  std::size_t count = 9;
  EXPECT_EQ(far_.ReceiveExactly(bytes, count, WaitLimit::After(milliseconds(20))).status, SocketStatus::TimedOut);
  EXPECT_EQ(count, 0U);
}

TEST_F(Connected, PartOfWhatWasAskedForIsCountedWhenTheRestNeverComes) {
  near_.Send(BytesOf("ab"), Soon());
  near_.Close();
  Bytes bytes(4);
  std::size_t count = 0;
  EXPECT_EQ(far_.ReceiveExactly(bytes, count, Soon()).status, SocketStatus::Closed);
  EXPECT_EQ(count, 2U);
}

TEST_F(Connected, PeerThatShutsDownIsClosedAfterItsLastByte) {
  near_.Send(BytesOf("x"), Soon());
  near_.ShutDown();
  EXPECT_EQ(Arriving(1), "x");
  Bytes bytes(1);
  std::size_t count = 0;
  EXPECT_EQ(far_.ReceiveSome(bytes, count, Soon()).status, SocketStatus::Closed);
  EXPECT_TRUE(far_.Send(BytesOf("back"), Soon()).IsDone()) << "the other direction is still open";
}

TEST_F(Connected, SendingToAPeerThatHasGoneEndsInClosedAndNoSignal) {
  far_.Close();
  SocketResult sent;
  const Bytes block(65536);
  for (int i = 0; i < 1000 && sent.IsDone(); ++i) sent = near_.Send(block, Soon());
  EXPECT_EQ(sent.status, SocketStatus::Closed);
}

TEST_F(Connected, SendingToAPeerThatNeverReadsTimesOut) {
  SocketResult sent;
  const Bytes block(1 << 20);
  for (int i = 0; i < 1000 && sent.IsDone(); ++i) sent = near_.Send(block, WaitLimit::After(milliseconds(20)));
  EXPECT_EQ(sent.status, SocketStatus::TimedOut);
}

TEST_F(Connected, MovedConnectionGoesOnAndTheOldOneIsNone) {
  const TcpStream moved = std::move(near_);
  EXPECT_TRUE(moved.IsOpen());
  EXPECT_FALSE(near_.IsOpen());
  EXPECT_EQ(moved.PeerAddress(), listener_.LocalAddress());
}

/// The system takes a part at a time, so that sends end within a piece.
TEST_F(Connected, LargeTransferArrivesWholeInOnePieceOrMore) {
  Bytes sent(6 << 20);
  for (std::size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<std::uint8_t>(i * 31 >> 3);
  const ByteView all(sent);
  const std::size_t half = sent.size() / 2;
  for (const std::vector<ByteView>& pieces :
       {std::vector{all}, std::vector{all.first(5), all.first(half).subspan(5), all.subspan(half)}}) {
    std::thread sender([&] { EXPECT_TRUE(near_.Send(pieces, Soon()).IsDone()); });
    Bytes received(sent.size());
    std::size_t count = 0;
    EXPECT_TRUE(far_.ReceiveExactly(received, count, Soon()).IsDone());
    sender.join();
    EXPECT_EQ(received, sent) << pieces.size();
  }
}

TEST_F(Connected, PiecesArriveOneBehindTheOtherHoweverMany) {
  const Bytes digits = BytesOf("0123456789");
  std::vector<ByteView> pieces;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    pieces.push_back(ByteView(digits).subspan(i, 1));
    pieces.emplace_back();
  }
  ASSERT_TRUE(near_.Send(pieces, Soon()).IsDone());
  EXPECT_EQ(Arriving(10), "0123456789");
}

TEST_F(Connected, NothingToSendIsDone) {
  const ByteView none[2] = {};
  EXPECT_TRUE(near_.Send(none, Soon()).IsDone());
  EXPECT_TRUE(near_.Send(std::span<const ByteView>(), Soon()).IsDone());
}

TEST_F(Connected, PiecesForAPeerThatNeverReadsTimeOut) {
  SocketResult sent;
  const Bytes block(1 << 20);
  const ByteView pieces[] = {block, block, block};
  for (int i = 0; i < 1000 && sent.IsDone(); ++i) sent = near_.Send(pieces, WaitLimit::After(milliseconds(20)));
  EXPECT_EQ(sent.status, SocketStatus::TimedOut);
}

TEST(TcpConnect, NobodyListeningIsRefused) {
  TcpListener listener;
  ASSERT_TRUE(listener.Listen(kAnyPort).IsDone());
  const SocketAddress address = listener.LocalAddress();
  listener.Close();
  TcpStream stream;
  const SocketResult result = stream.Connect(address, Soon());
  EXPECT_EQ(result.status, SocketStatus::Refused);
  EXPECT_FALSE(result.error.empty());
}

TEST(TcpConnect, ConnectsFromTheAddressAskedFor) {
  TcpListener listener;
  ASSERT_TRUE(listener.Listen(kAnyPort).IsDone());
  TcpStream stream;
  ASSERT_TRUE(stream.Connect(listener.LocalAddress(), Soon(), SocketAddress{{127, 0, 0, 2}, 0}).IsDone());
  EXPECT_EQ(stream.LocalAddress().HostText(), "127.0.0.2");
}

TEST(TcpConnect, AddressOfAnotherMachineCannotBeConnectedFrom) {
  TcpStream stream;
  EXPECT_EQ(stream.Connect({kLoopbackHost, 9}, Soon(), SocketAddress{{192, 0, 2, 1}, 0}).status,
            SocketStatus::NoSuchAddress);
}

TEST(TcpConnect, ConnectionUnderWayIsFinishedAfterAWait) {
  TcpListener listener;
  ASSERT_TRUE(listener.Listen(kAnyPort).IsDone());
  TcpStream stream;
  const SocketResult started = stream.StartConnect(listener.LocalAddress());
  ASSERT_TRUE(started.IsDone() || started.status == SocketStatus::TimedOut);
  WaitItem item{&stream.Handle(), true};
  ASSERT_TRUE(WaitForSockets({&item, 1}, Soon()).IsDone());
  EXPECT_TRUE(stream.FinishConnect().IsDone());
}

TEST(TcpListen, PortInUseIsSaidAsSuch) {
  TcpListener first;
  ASSERT_TRUE(first.Listen(kAnyPort).IsDone());
  TcpListener second;
  const SocketResult result = second.Listen(first.LocalAddress());
  EXPECT_EQ(result.status, SocketStatus::InUse);
  EXPECT_FALSE(result.error.empty());
  EXPECT_FALSE(second.IsOpen());
}

TEST(TcpListen, PortCanBeHadAgainAfterItsConnections) {
  TcpListener listener;
  ASSERT_TRUE(listener.Listen(kAnyPort).IsDone());
  const SocketAddress address = listener.LocalAddress();
  TcpStream near;
  TcpStream far;
  ASSERT_TRUE(near.Connect(address, Soon()).IsDone());
  ASSERT_TRUE(listener.Accept(far, Soon()).IsDone());
  far.Close();
  near.Close();
  listener.Close();
  EXPECT_TRUE(listener.Listen(address).IsDone());
}

TEST(TcpListen, AddressOfAnotherMachineIsSaidAsSuch) {
  TcpListener listener;
  EXPECT_EQ(listener.Listen({{192, 0, 2, 1}, 0}).status, SocketStatus::NoSuchAddress);
}

TEST(TcpListen, OtherLoopbackAddressIsAnotherPlace) {
  TcpListener first;
  ASSERT_TRUE(first.Listen(kAnyPort).IsDone());
  TcpListener second;
  EXPECT_TRUE(second.Listen({{127, 0, 0, 77}, first.LocalAddress().port}).IsDone());
}

TEST(TcpListen, AcceptWithoutAPeerTimesOut) {
  TcpListener listener;
  ASSERT_TRUE(listener.Listen(kAnyPort).IsDone());
  TcpStream stream;
  EXPECT_EQ(listener.Accept(stream, Now()).status, SocketStatus::TimedOut);
  EXPECT_FALSE(stream.IsOpen());
}

TEST(Udp, DatagramArrivesWithItsSender) {
  UdpSocket sender;
  UdpSocket receiver;
  ASSERT_TRUE(sender.Bind(kAnyPort).IsDone());
  ASSERT_TRUE(receiver.Bind(kAnyPort).IsDone());
  ASSERT_TRUE(sender.Send(Bytes{0x7f}, receiver.LocalAddress()).IsDone());
  Bytes bytes(10);
  std::size_t count = 0;
  SocketAddress from;
  ASSERT_TRUE(receiver.Receive(bytes, count, from, Soon()).IsDone());
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(bytes[0], 0x7f);
  EXPECT_EQ(from, sender.LocalAddress());
}

TEST(Udp, DatagramToNobodyDoesNotSpoilWhatComesIn) {
  UdpSocket gone;
  UdpSocket one;
  UdpSocket other;
  ASSERT_TRUE(gone.Bind(kAnyPort).IsDone());
  ASSERT_TRUE(one.Bind(kAnyPort).IsDone());
  ASSERT_TRUE(other.Bind(kAnyPort).IsDone());
  const SocketAddress nobody = gone.LocalAddress();
  gone = UdpSocket();
  one.Send(Bytes{1}, nobody);
  other.Send(Bytes{2}, one.LocalAddress());
  Bytes bytes(1);
  std::size_t count = 0;
  SocketAddress from;
  EXPECT_TRUE(one.Receive(bytes, count, from, Soon()).IsDone());
  EXPECT_EQ(bytes[0], 2);
}

TEST(Waits, OnlyTheSocketWithDataIsReady) {
  UdpSocket quiet;
  UdpSocket busy;
  ASSERT_TRUE(quiet.Bind(kAnyPort).IsDone());
  ASSERT_TRUE(busy.Bind(kAnyPort).IsDone());
  ASSERT_TRUE(quiet.Send(Bytes{1}, busy.LocalAddress()).IsDone());
  std::array<WaitItem, 2> items{WaitItem{&quiet.Handle()}, WaitItem{&busy.Handle()}};
  ASSERT_TRUE(WaitForSockets(items, Soon()).IsDone());
  EXPECT_FALSE(items[0].isReady);
  EXPECT_TRUE(items[1].isReady);
}

TEST(Waits, SignalOfAnotherThreadEndsAWait) {
  WakeUp wake;
  std::thread other([&] { wake.Signal(); });
  EXPECT_EQ(WaitForSockets({}, WaitLimit::After(std::chrono::seconds(10), &wake)).status, SocketStatus::Woken);
  other.join();
}

TEST(Waits, SignalStandsUntilItIsReset) {
  WakeUp wake;
  wake.Signal();
  wake.Signal();
  EXPECT_EQ(WaitForSockets({}, WaitLimit::After(milliseconds(0), &wake)).status, SocketStatus::Woken);
  EXPECT_EQ(WaitForSockets({}, WaitLimit::After(milliseconds(0), &wake)).status, SocketStatus::Woken);
  wake.Reset();
  EXPECT_EQ(WaitForSockets({}, WaitLimit::After(milliseconds(0), &wake)).status, SocketStatus::TimedOut);
}

TEST(Waits, SignalEndsAReceive) {
  TcpListener listener;
  ASSERT_TRUE(listener.Listen(kAnyPort).IsDone());
  TcpStream stream;
  ASSERT_TRUE(stream.Connect(listener.LocalAddress(), Soon()).IsDone());
  WakeUp wake;
  wake.Signal();
  Bytes bytes(1);
  std::size_t count = 0;
  EXPECT_EQ(stream.ReceiveSome(bytes, count, WaitLimit::After(std::chrono::seconds(10), &wake)).status,
            SocketStatus::Woken);
}

TEST(Waits, NothingEndsAWaitEarly) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(WaitForSockets({}, WaitLimit::After(milliseconds(30))).status, SocketStatus::TimedOut);
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(30));
}

}  // namespace
}  // namespace mv::platform
