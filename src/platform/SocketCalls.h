#pragma once

#include <chrono>
#include <cstddef>
#include <span>
#include <utility>

#include "platform/Socket.h"

/// The socket calls as each system has them, one to one; Socket.cpp makes operations with limits of them. Every socket
/// made here is non-blocking, sends small pieces at once and is not inherited by child processes.
namespace mv::platform::calls {

struct Outcome {
  SocketResult result = {};
  std::size_t count = 0;  ///< bytes moved, when Done
};

/// The status TimedOut means "not now" in this header.
Outcome OpenStream(Socket& socket);
Outcome OpenDatagram(Socket& socket);
void Close(Socket::Handle handle);
Outcome Bind(const Socket& socket, const SocketAddress& address);
/// Before Bind of a listener: it shares its port with nobody, and waits for no old connections of the port.
void ClaimPort(const Socket& socket);
Outcome Listen(const Socket& socket);
Outcome Accept(const Socket& listener, Socket& accepted);
Outcome Connect(const Socket& socket, const SocketAddress& peer);
/// Result of an attempt to connect that has ended.
Outcome ConnectResult(const Socket& socket);
/// One call sends this many pieces at most; the rest is left to the next call.
inline constexpr std::size_t kMostPieces = 4;
/// Sends the first of `pieces`, or a part of them; the count says how many bytes.
Outcome Send(const Socket& socket, std::span<const ByteView> pieces);
/// What `out` has no room for goes to `behind`. A connection that the peer has closed gives Closed.
Outcome Receive(const Socket& socket, ByteSpan out, ByteSpan behind);
Outcome SendTo(const Socket& socket, ByteView data, const SocketAddress& to);
Outcome ReceiveFrom(const Socket& socket, ByteSpan out, SocketAddress& from);
void ShutDown(const Socket& socket);
/// After the first time of silence the peer's system is asked so many times, at these intervals; Windows has no other
/// number of questions.
inline constexpr std::chrono::seconds kBeforeQuestions(5);
inline constexpr std::chrono::seconds kBetweenQuestions(2);
inline constexpr int kQuestions = 10;
static_assert(kBeforeQuestions + kQuestions * kBetweenQuestions == kOutOfReachAfter);
void WatchPeer(const Socket& socket, bool on);
SocketAddress LocalAddress(const Socket& socket);
SocketAddress PeerAddress(const Socket& socket);
/// Sets isReady of each item. TimedOut when none became ready.
Outcome Wait(std::span<WaitItem> items, std::chrono::milliseconds duration);
/// The two ends of a wake-up: what is sent at `sender` makes `receiver` readable.
Outcome OpenWakeUp(Socket& receiver, Socket& sender);
void SendWakeUp(const Socket& sender);
void DrainWakeUp(const Socket& receiver);

}  // namespace mv::platform::calls
