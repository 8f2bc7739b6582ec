#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

#include "base/ByteOrder.h"
#include "platform/SocketCalls.h"

namespace mv::platform::calls {
namespace {

constexpr int kBacklog = 16;

int Descriptor(const Socket& socket) {
  return static_cast<int>(socket.Get());
}

SocketStatus StatusOf(int code) {
  switch (code) {
    case EAGAIN:
    case EINPROGRESS:
    case EALREADY:
    case EINTR:
      return SocketStatus::TimedOut;
    case EPIPE:
    case ECONNRESET:
    case ECONNABORTED:
    case ENOTCONN:
      return SocketStatus::Closed;
    case ECONNREFUSED:
      return SocketStatus::Refused;
    case EADDRINUSE:
      return SocketStatus::InUse;
    case EACCES:
    case EPERM:
      return SocketStatus::NoRight;
    case EADDRNOTAVAIL:
      return SocketStatus::NoSuchAddress;
    default:
      return SocketStatus::Failed;
  }
}

Outcome FailedWith(int code) {
  const SocketStatus status = StatusOf(code);
  if (status == SocketStatus::TimedOut) return {{status}};
  return {{status, std::generic_category().message(code)}};
}

/// For calls that return a count, negative on failure.
Outcome OutcomeOf(ssize_t count) {
  if (count < 0) return FailedWith(errno);
  return {{}, static_cast<std::size_t>(count)};
}

sockaddr_in NativeAddress(const SocketAddress& address) {
  sockaddr_in native = {};
  native.sin_family = AF_INET;
  StoreBig(reinterpret_cast<std::uint8_t*>(&native.sin_port), address.port);
  std::memcpy(&native.sin_addr, address.host.data(), address.host.size());
  return native;
}

SocketAddress FromNative(const sockaddr_in& native) {
  SocketAddress address;
  address.port = LoadBig<std::uint16_t>(reinterpret_cast<const std::uint8_t*>(&native.sin_port));
  std::memcpy(address.host.data(), &native.sin_addr, address.host.size());
  return address;
}

template <typename Call>
SocketAddress AskAddress(Call call, const Socket& socket) {
  sockaddr_in native = {};
  socklen_t size = sizeof native;
  const int failed = call(Descriptor(socket), reinterpret_cast<sockaddr*>(&native), &size);
  return failed != 0 ? SocketAddress() : FromNative(native);
}

void SetOption(const Socket& socket, int level, int option, int value = 1) {
  ::setsockopt(Descriptor(socket), level, option, &value, sizeof value);
}

Outcome Open(Socket& socket, int type) {
  const int descriptor = ::socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return FailedWith(errno);
  socket = Socket(static_cast<Socket::Handle>(descriptor));
  return {};
}

}  // namespace

Outcome OpenStream(Socket& socket) {
  Outcome outcome = Open(socket, SOCK_STREAM);
  if (outcome.result.IsDone()) SetOption(socket, IPPROTO_TCP, TCP_NODELAY);
  return outcome;
}

Outcome OpenDatagram(Socket& socket) {
  return Open(socket, SOCK_DGRAM);
}

void Close(Socket::Handle handle) {
  ::close(static_cast<int>(handle));
}

Outcome Bind(const Socket& socket, const SocketAddress& address) {
  const sockaddr_in native = NativeAddress(address);
  return OutcomeOf(::bind(Descriptor(socket), reinterpret_cast<const sockaddr*>(&native), sizeof native));
}

void ClaimPort(const Socket& socket) {
  SetOption(socket, SOL_SOCKET, SO_REUSEADDR);  // on these systems no way to share a port with another listener
}

Outcome Listen(const Socket& socket) {
  return OutcomeOf(::listen(Descriptor(socket), kBacklog));
}

Outcome Accept(const Socket& listener, Socket& accepted) {
  const int descriptor = ::accept4(Descriptor(listener), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
  // A peer that has gone before it was accepted is none.
  if (descriptor < 0) return errno == ECONNABORTED ? FailedWith(EAGAIN) : FailedWith(errno);
  accepted = Socket(static_cast<Socket::Handle>(descriptor));
  SetOption(accepted, IPPROTO_TCP, TCP_NODELAY);
  return {};
}

Outcome Connect(const Socket& socket, const SocketAddress& peer) {
  const sockaddr_in native = NativeAddress(peer);
  return OutcomeOf(::connect(Descriptor(socket), reinterpret_cast<const sockaddr*>(&native), sizeof native));
}

Outcome ConnectResult(const Socket& socket) {
  int code = 0;
  socklen_t size = sizeof code;
  if (::getsockopt(Descriptor(socket), SOL_SOCKET, SO_ERROR, &code, &size) != 0) code = errno;
  return code == 0 ? Outcome() : FailedWith(code);
}

Outcome Send(const Socket& socket, std::span<const ByteView> pieces) {
  std::array<iovec, kMostPieces> places = {};
  msghdr message = {};
  message.msg_iov = places.data();
  message.msg_iovlen = std::min(pieces.size(), places.size());
  for (std::size_t i = 0; i < message.msg_iovlen; ++i) {
    places[i] = {const_cast<std::uint8_t*>(pieces[i].data()), pieces[i].size()};  // sending only reads
  }
  return OutcomeOf(::sendmsg(Descriptor(socket), &message, MSG_NOSIGNAL));
}

Outcome Receive(const Socket& socket, ByteSpan out, ByteSpan behind) {
  iovec places[] = {{out.data(), out.size()}, {behind.data(), behind.size()}};
  msghdr message = {};
  message.msg_iov = places;
  message.msg_iovlen = 2;
  const ssize_t count = behind.empty() ? ::recv(Descriptor(socket), out.data(), out.size(), 0)
                                       : ::recvmsg(Descriptor(socket), &message, 0);
  return count == 0 ? Outcome{{SocketStatus::Closed}} : OutcomeOf(count);
}

Outcome SendTo(const Socket& socket, ByteView data, const SocketAddress& to) {
  const sockaddr_in native = NativeAddress(to);
  return OutcomeOf(::sendto(Descriptor(socket), data.data(), data.size(), MSG_NOSIGNAL,
                            reinterpret_cast<const sockaddr*>(&native), sizeof native));
}

Outcome ReceiveFrom(const Socket& socket, ByteSpan out, SocketAddress& from) {
  sockaddr_in native = {};
  socklen_t size = sizeof native;
  const ssize_t count =
      ::recvfrom(Descriptor(socket), out.data(), out.size(), 0, reinterpret_cast<sockaddr*>(&native), &size);
  if (count >= 0) from = FromNative(native);
  return OutcomeOf(count);
}

void ShutDown(const Socket& socket) {
  ::shutdown(Descriptor(socket), SHUT_WR);
}

void WatchPeer(const Socket& socket, bool on) {
  SetOption(socket, IPPROTO_TCP, TCP_KEEPIDLE, static_cast<int>(kBeforeQuestions.count()));
  SetOption(socket, IPPROTO_TCP, TCP_KEEPINTVL, static_cast<int>(kBetweenQuestions.count()));
  SetOption(socket, IPPROTO_TCP, TCP_KEEPCNT, kQuestions);
  SetOption(socket, SOL_SOCKET, SO_KEEPALIVE, on ? 1 : 0);
  // What was sent and never acknowledged is repeated for a quarter of an hour, and nothing is asked meanwhile.
  const std::chrono::milliseconds unacknowledged = on ? kOutOfReachAfter : std::chrono::seconds(0);
  SetOption(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, static_cast<int>(unacknowledged.count()));
}

SocketAddress LocalAddress(const Socket& socket) {
  return AskAddress(::getsockname, socket);
}

SocketAddress PeerAddress(const Socket& socket) {
  return AskAddress(::getpeername, socket);
}

Outcome Wait(std::span<WaitItem> items, std::chrono::milliseconds duration) {
  std::vector<pollfd> polled;
  for (const WaitItem& item : items) {
    polled.push_back({Descriptor(*item.socket), static_cast<short>(item.forWriting ? POLLOUT : POLLIN), 0});
  }
  const int ready = ::poll(polled.data(), polled.size(), static_cast<int>(duration.count()));
  if (ready < 0) return FailedWith(errno);
  for (std::size_t i = 0; i < items.size(); ++i) items[i].isReady = polled[i].revents != 0;
  return {{ready == 0 ? SocketStatus::TimedOut : SocketStatus::Done}};
}

Outcome OpenWakeUp(Socket& receiver, Socket& sender) {
  int ends[2] = {};
  if (::pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0) return FailedWith(errno);
  receiver = Socket(static_cast<Socket::Handle>(ends[0]));
  sender = Socket(static_cast<Socket::Handle>(ends[1]));
  return {};
}

void SendWakeUp(const Socket& sender) {
  const std::uint8_t signal = 1;
  // A full pipe is a signal that stands already.
  [[maybe_unused]] const ssize_t written = ::write(Descriptor(sender), &signal, 1);
}

void DrainWakeUp(const Socket& receiver) {
  std::uint8_t signals[64];
  while (::read(Descriptor(receiver), signals, sizeof signals) > 0) continue;
}

}  // namespace mv::platform::calls
