#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "base/Bytes.h"

/// TCP and UDP over IPv4. Sockets do not block by themselves: every operation that may take time has a limit. Nothing
/// here throws; a failure is a status, with the system's own words beside it. No signal is raised for a peer that has
/// gone.
namespace mv::platform {

/// An IPv4 address and a port.
struct SocketAddress {
  std::array<std::uint8_t, 4> host = {};  ///< in the order in which they are written
  std::uint16_t port = 0;

  /// "127.0.0.1" (port 0) or "127.0.0.1:990"; nothing for any other text, names of machines among them.
  static std::optional<SocketAddress> Parse(std::string_view text);
  /// "127.0.0.1:990".
  std::string Text() const;
  /// "127.0.0.1".
  std::string HostText() const;
  bool operator==(const SocketAddress&) const = default;
};

/// The machine itself.
inline constexpr std::array<std::uint8_t, 4> kLoopbackHost = {127, 0, 0, 1};

enum class SocketStatus {
  Done,
  TimedOut,       ///< the limit's time came first
  Woken,          ///< the limit's wake-up came first
  Closed,         ///< the peer has closed or broken the connection
  Refused,        ///< nobody listens at that address
  InUse,          ///< somebody else has the address and port
  NoRight,        ///< the system does not let this user have the port
  NoSuchAddress,  ///< the address is none of this machine's
  Failed,         ///< anything else
};

struct SocketResult {
  SocketStatus status = SocketStatus::Done;
  std::string error = {};  ///< the system's text; empty when it has none

  bool IsDone() const { return status == SocketStatus::Done; }
};

/// The system's handle of a socket. Closes it.
class Socket {
 public:
  using Handle = std::uintptr_t;
  static constexpr Handle kNone = ~Handle{0};

  Socket() = default;
  explicit Socket(Handle handle) : handle_(handle) {}
  ~Socket() { Close(); }
  Socket(Socket&& other) noexcept;
  Socket& operator=(Socket&& other) noexcept;

  Handle Get() const { return handle_; }
  bool IsOpen() const { return handle_ != kNone; }
  void Close();
  /// Own address and port; all zero when not bound.
  SocketAddress LocalAddress() const;

 private:
  Handle handle_ = kNone;
};

/// Ends the waits of other threads. Stays signalled until Reset, so a signal before the wait counts too.
class WakeUp {
 public:
  /// Error 57 when the system has no more handles.
  WakeUp();
  WakeUp(const WakeUp&) = delete;
  WakeUp& operator=(const WakeUp&) = delete;

  /// May be called by any thread.
  void Signal();
  void Reset();
  /// What is readable while the signal stands.
  const Socket& Signalled() const { return signalled_; }

 private:
  Socket signalled_;
  Socket sender_;
};

using SteadyTime = std::chrono::steady_clock::time_point;

/// How long an operation may take.
struct WaitLimit {
  SteadyTime until = {};         ///< in the past: only what can be done at once
  const WakeUp* wake = nullptr;  ///< ends the wait when signalled

  static WaitLimit After(std::chrono::milliseconds duration, const WakeUp* wake = nullptr);
  /// True for the limit that a default one is: there is nothing to wait for.
  bool IsOnlyNow() const { return until == SteadyTime() && wake == nullptr; }
};

/// One socket of those that a wait is about.
struct WaitItem {
  const Socket* socket = nullptr;  ///< open
  bool forWriting = false;         ///< waits until data can be sent, or an attempt to connect has ended
  bool isReady = false;            ///< set by the wait; also when the socket has failed
};

/// Waits until one socket is ready: has data, a peer that connects, or an end. Takes sixty sockets at most.
SocketResult WaitForSockets(std::span<WaitItem> items, const WaitLimit& limit);

/// How long a machine that is watched may be silent; see TcpStream::WatchPeer.
inline constexpr std::chrono::seconds kOutOfReachAfter(25);

/// A connection. What is sent goes out at once, small pieces too.
class TcpStream {
 public:
  TcpStream() = default;
  explicit TcpStream(Socket socket) : socket_(std::move(socket)) {}

  /// Connects from `local` (its port 0: any), or from the address that the system chooses.
  SocketResult Connect(const SocketAddress& peer, const WaitLimit& limit,
                       const std::optional<SocketAddress>& local = std::nullopt);
  /// Begins to connect. TimedOut means under way: when a wait for writing finds the socket ready, FinishConnect tells
  /// the result.
  SocketResult StartConnect(const SocketAddress& peer, const std::optional<SocketAddress>& local = std::nullopt);
  SocketResult FinishConnect();

  /// Sends all bytes, with one call to the system where it takes them. After any failure some may have been sent.
  SocketResult Send(ByteView data, const WaitLimit& limit) { return Send({&data, 1}, limit); }
  /// The same for bytes that lie in several places; they go out one behind the other.
  SocketResult Send(std::span<const ByteView> pieces, const WaitLimit& limit);
  /// Receives at least one byte and at most `out.size()`, which is not 0. `count`: how many; 0 unless Done.
  SocketResult ReceiveSome(ByteSpan out, std::size_t& count, const WaitLimit& limit) {
    return ReceiveSome(out, {}, count, limit);
  }
  /// The same; what `out` has no room for goes to `behind`.
  SocketResult ReceiveSome(ByteSpan out, ByteSpan behind, std::size_t& count, const WaitLimit& limit);
  /// Fills `out`. `count`: how many bytes were received, on failure too.
  SocketResult ReceiveExactly(ByteSpan out, std::size_t& count, const WaitLimit& limit);
  /// Tells the peer that no more data comes.
  void ShutDown();
  /// From now on, or no longer: a peer whose machine does not answer for kOutOfReachAfter ends the connection, also
  /// while nothing is sent. The systems ask each other; no program on the other side has to answer.
  void WatchPeer(bool on);
  void Close() { socket_.Close(); }

  bool IsOpen() const { return socket_.IsOpen(); }
  const Socket& Handle() const { return socket_; }
  SocketAddress LocalAddress() const { return socket_.LocalAddress(); }
  /// All zero when there is none.
  SocketAddress PeerAddress() const;

 private:
  Socket socket_;
};

/// Waits for connections at one address.
class TcpListener {
 public:
  /// `address`: one of this machine's; port 0 takes a free one. A port whose earlier connections are still being wound
  /// up can be had; one with a listener cannot.
  SocketResult Listen(const SocketAddress& address);
  SocketResult Accept(TcpStream& accepted, const WaitLimit& limit);
  void Close() { socket_.Close(); }

  bool IsOpen() const { return socket_.IsOpen(); }
  const Socket& Handle() const { return socket_; }
  SocketAddress LocalAddress() const { return socket_.LocalAddress(); }

 private:
  Socket socket_;
};

/// Datagrams.
class UdpSocket {
 public:
  /// `address`: one of this machine's; port 0 takes a free one.
  SocketResult Bind(const SocketAddress& address);
  /// One datagram; nobody learns whether it arrives.
  SocketResult Send(ByteView data, const SocketAddress& to);
  /// One datagram, cut to `out.size()`. `count`: its bytes; `from`: who sent it.
  SocketResult Receive(ByteSpan out, std::size_t& count, SocketAddress& from, const WaitLimit& limit);

  bool IsOpen() const { return socket_.IsOpen(); }
  const Socket& Handle() const { return socket_; }
  SocketAddress LocalAddress() const { return socket_.LocalAddress(); }

 private:
  Socket socket_;
};

}  // namespace mv::platform
