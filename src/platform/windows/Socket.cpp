// Before windows.h, which has an older socket interface otherwise.
#include <winsock2.h>

#include <mstcpip.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "base/ByteOrder.h"
#include "platform/SocketCalls.h"
#include "platform/windows/Wide.h"

namespace mv::platform::calls {
namespace {

constexpr int kBacklog = 16;
/// How many bytes a single call is given: some take their count as an int.
constexpr std::size_t kLongestPiece = 1U << 20;

SOCKET Native(const Socket& socket) {
  return static_cast<SOCKET>(socket.Get());
}
static_assert(sizeof(SOCKET) == sizeof(Socket::Handle) && INVALID_SOCKET == Socket::kNone);

SocketStatus StatusOf(int code) {
  switch (code) {
    case WSAEWOULDBLOCK:
    case WSAEINPROGRESS:
    case WSAEALREADY:
    case WSAEINTR:
      return SocketStatus::TimedOut;
    case WSAECONNRESET:
    case WSAECONNABORTED:
    case WSAENOTCONN:
    case WSAESHUTDOWN:
    case WSAEDISCON:
      return SocketStatus::Closed;
    case WSAECONNREFUSED:
      return SocketStatus::Refused;
    case WSAEADDRINUSE:
      return SocketStatus::InUse;
    case WSAEACCES:
      return SocketStatus::NoRight;
    case WSAEADDRNOTAVAIL:
      return SocketStatus::NoSuchAddress;
    default:
      return SocketStatus::Failed;
  }
}

std::string ErrorText(int code) {
  wchar_t text[512] = {};
  const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        static_cast<DWORD>(code), 0, text, 512, nullptr);
  std::wstring_view message(text, length);
  message = message.substr(0, message.find_last_not_of(L"\r\n. ") + 1);
  return message.empty() ? "socket error " + std::to_string(code) : Narrow(message);
}

Outcome FailedWith(int code) {
  const SocketStatus status = StatusOf(code);
  if (status == SocketStatus::TimedOut) return {{status}};
  return {{status, ErrorText(code)}};
}

/// For calls that return a count, negative on failure.
Outcome OutcomeOf(int count) {
  if (count < 0) return FailedWith(::WSAGetLastError());
  return {{}, static_cast<std::size_t>(count)};
}

int PieceLength(std::size_t size) {
  return static_cast<int>(std::min(size, kLongestPiece));
}

WSABUF Place(ByteSpan bytes) {
  return {static_cast<ULONG>(PieceLength(bytes.size())), reinterpret_cast<CHAR*>(bytes.data())};
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
  int size = sizeof native;
  const int failed = call(Native(socket), reinterpret_cast<sockaddr*>(&native), &size);
  return failed != 0 ? SocketAddress() : FromNative(native);
}

void SetOption(const Socket& socket, int level, int option) {
  const BOOL on = TRUE;
  ::setsockopt(Native(socket), level, option, reinterpret_cast<const char*>(&on), sizeof on);
}

/// Every socket counts as one use of the library, so that the last one to close lets it go.
bool BeginUse(Outcome& outcome) {
  WSADATA ignored = {};
  const int code = ::WSAStartup(MAKEWORD(2, 2), &ignored);
  if (code != 0) outcome = FailedWith(code);
  return code == 0;
}

/// What every socket is like.
void SetUp(const Socket& socket) {
  u_long nonBlocking = 1;
  ::ioctlsocket(Native(socket), static_cast<long>(FIONBIO), &nonBlocking);
  ::SetHandleInformation(reinterpret_cast<HANDLE>(socket.Get()), HANDLE_FLAG_INHERIT, 0);
}

Outcome Open(Socket& socket, int type, int protocol) {
  Outcome outcome;
  if (!BeginUse(outcome)) return outcome;
  const SOCKET opened = ::socket(AF_INET, type, protocol);
  if (opened == INVALID_SOCKET) {
    outcome = FailedWith(::WSAGetLastError());
    ::WSACleanup();
    return outcome;
  }
  socket = Socket(static_cast<Socket::Handle>(opened));
  SetUp(socket);
  return outcome;
}

/// A set of sockets for the system's wait.
void Add(fd_set& set, const Socket& socket) {
  if (set.fd_count < FD_SETSIZE) set.fd_array[set.fd_count++] = Native(socket);
}

bool IsIn(fd_set& set, const Socket& socket) {
  return std::find(set.fd_array, set.fd_array + set.fd_count, Native(socket)) != set.fd_array + set.fd_count;
}

}  // namespace

Outcome OpenStream(Socket& socket) {
  Outcome outcome = Open(socket, SOCK_STREAM, IPPROTO_TCP);
  if (outcome.result.IsDone()) SetOption(socket, IPPROTO_TCP, TCP_NODELAY);
  return outcome;
}

Outcome OpenDatagram(Socket& socket) {
  return Open(socket, SOCK_DGRAM, IPPROTO_UDP);
}

void Close(Socket::Handle handle) {
  ::closesocket(static_cast<SOCKET>(handle));
  ::WSACleanup();
}

Outcome Bind(const Socket& socket, const SocketAddress& address) {
  const sockaddr_in native = NativeAddress(address);
  return OutcomeOf(::bind(Native(socket), reinterpret_cast<const sockaddr*>(&native), sizeof native));
}

void ClaimPort(const Socket& socket) {
  SetOption(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE);  // without it another program could listen beside us
}

Outcome Listen(const Socket& socket) {
  return OutcomeOf(::listen(Native(socket), kBacklog));
}

Outcome Accept(const Socket& listener, Socket& accepted) {
  Outcome outcome;
  if (!BeginUse(outcome)) return outcome;
  const SOCKET peer = ::accept(Native(listener), nullptr, nullptr);
  if (peer == INVALID_SOCKET) {
    const int code = ::WSAGetLastError();
    ::WSACleanup();
    // A peer that has gone before it was accepted is none.
    return code == WSAECONNRESET ? FailedWith(WSAEWOULDBLOCK) : FailedWith(code);
  }
  accepted = Socket(static_cast<Socket::Handle>(peer));
  SetUp(accepted);
  SetOption(accepted, IPPROTO_TCP, TCP_NODELAY);
  return outcome;
}

Outcome Connect(const Socket& socket, const SocketAddress& peer) {
  const sockaddr_in native = NativeAddress(peer);
  return OutcomeOf(::connect(Native(socket), reinterpret_cast<const sockaddr*>(&native), sizeof native));
}

Outcome ConnectResult(const Socket& socket) {
  int code = 0;
  int size = sizeof code;
  const int failed = ::getsockopt(Native(socket), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&code), &size);
  if (failed != 0) code = ::WSAGetLastError();
  return code == 0 ? Outcome() : FailedWith(code);
}

Outcome Send(const Socket& socket, std::span<const ByteView> pieces) {
  std::array<WSABUF, kMostPieces> places = {};
  DWORD used = 0;
  for (std::size_t room = kLongestPiece; used < std::min(pieces.size(), places.size()) && room > 0; ++used) {
    const ByteView piece = pieces[used].first(std::min(pieces[used].size(), room));
    places[used] = {static_cast<ULONG>(piece.size()),
                    reinterpret_cast<CHAR*>(const_cast<std::uint8_t*>(piece.data()))};  // sending only reads
    room -= piece.size();
  }
  DWORD count = 0;
  const int failed = ::WSASend(Native(socket), places.data(), used, &count, 0, nullptr, nullptr);
  return failed != 0 ? FailedWith(::WSAGetLastError()) : Outcome{{}, count};
}

Outcome Receive(const Socket& socket, ByteSpan out, ByteSpan behind) {
  WSABUF places[] = {Place(out), Place(behind)};
  const bool usesBoth = !behind.empty() && out.size() <= kLongestPiece;
  DWORD count = 0;
  DWORD flags = 0;
  const int failed = ::WSARecv(Native(socket), places, usesBoth ? 2 : 1, &count, &flags, nullptr, nullptr);
  if (failed != 0) return FailedWith(::WSAGetLastError());
  return count == 0 ? Outcome{{SocketStatus::Closed}} : Outcome{{}, count};
}

Outcome SendTo(const Socket& socket, ByteView data, const SocketAddress& to) {
  const sockaddr_in native = NativeAddress(to);
  return OutcomeOf(::sendto(Native(socket), reinterpret_cast<const char*>(data.data()), PieceLength(data.size()), 0,
                            reinterpret_cast<const sockaddr*>(&native), sizeof native));
}

Outcome ReceiveFrom(const Socket& socket, ByteSpan out, SocketAddress& from) {
  sockaddr_in native = {};
  int size = sizeof native;
  const int count = ::recvfrom(Native(socket), reinterpret_cast<char*>(out.data()), PieceLength(out.size()), 0,
                               reinterpret_cast<sockaddr*>(&native), &size);
  const int code = count < 0 ? ::WSAGetLastError() : 0;
  // A datagram sent earlier came back: nobody listens there. That says nothing of those that come in.
  if (code == WSAECONNRESET) return FailedWith(WSAEWOULDBLOCK);
  if (code != 0 && code != WSAEMSGSIZE) return FailedWith(code);
  from = FromNative(native);
  return {{}, code == WSAEMSGSIZE ? out.size() : static_cast<std::size_t>(count)};
}

void ShutDown(const Socket& socket) {
  ::shutdown(Native(socket), SD_SEND);
}

/// What was sent and never acknowledged the system gives up by itself in about that time.
void WatchPeer(const Socket& socket, bool on) {
  using std::chrono::milliseconds;
  tcp_keepalive watch = {};
  watch.onoff = on ? 1 : 0;
  watch.keepalivetime = static_cast<ULONG>(milliseconds(kBeforeQuestions).count());
  watch.keepaliveinterval = static_cast<ULONG>(milliseconds(kBetweenQuestions).count());
  DWORD ignored = 0;
  ::WSAIoctl(Native(socket), SIO_KEEPALIVE_VALS, &watch, sizeof watch, nullptr, 0, &ignored, nullptr, nullptr);
}

SocketAddress LocalAddress(const Socket& socket) {
  return AskAddress(::getsockname, socket);
}

SocketAddress PeerAddress(const Socket& socket) {
  return AskAddress(::getpeername, socket);
}

Outcome Wait(std::span<WaitItem> items, std::chrono::milliseconds duration) {
  if (items.empty()) {  // the system's wait wants one at least
    ::Sleep(static_cast<DWORD>(duration.count()));
    return {{SocketStatus::TimedOut}};
  }
  fd_set readable = {};
  fd_set writable = {};
  fd_set failed = {};  // where an attempt to connect ends that finds nobody
  for (const WaitItem& item : items) {
    Add(item.forWriting ? writable : readable, *item.socket);
    if (item.forWriting) Add(failed, *item.socket);
  }
  timeval time = {static_cast<long>(duration.count() / 1000), static_cast<long>(duration.count() % 1000 * 1000)};
  const int ready = ::select(0, &readable, &writable, &failed, &time);
  if (ready < 0) return FailedWith(::WSAGetLastError());
  for (WaitItem& item : items) {
    item.isReady = IsIn(readable, *item.socket) || IsIn(writable, *item.socket) || IsIn(failed, *item.socket);
  }
  return {{ready == 0 ? SocketStatus::TimedOut : SocketStatus::Done}};
}

/// The system's wait takes sockets only, so the wake-up is a datagram from the machine to itself.
Outcome OpenWakeUp(Socket& receiver, Socket& sender) {
  for (Socket* end : {&receiver, &sender}) {
    Outcome outcome = OpenDatagram(*end);
    if (outcome.result.IsDone()) outcome = Bind(*end, {kLoopbackHost, 0});
    if (!outcome.result.IsDone()) return outcome;
  }
  // Connected to each other, they take nobody else's datagrams.
  const Outcome outcome = Connect(receiver, LocalAddress(sender));
  return outcome.result.IsDone() ? Connect(sender, LocalAddress(receiver)) : outcome;
}

void SendWakeUp(const Socket& sender) {
  const std::uint8_t signal = 1;
  const ByteView bytes(&signal, 1);
  Send(sender, {&bytes, 1});
}

void DrainWakeUp(const Socket& receiver) {
  std::uint8_t signal = 0;
  while (Receive(receiver, {&signal, 1}, {}).result.IsDone()) continue;
}

}  // namespace mv::platform::calls
