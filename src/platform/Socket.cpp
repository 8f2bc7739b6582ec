#include "platform/Socket.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "platform/SocketCalls.h"

namespace mv::platform {
namespace {

using std::chrono::milliseconds;

/// One decimal number at the start of `text`, which is cut behind it.
std::optional<unsigned> TakeNumber(std::string_view& text, unsigned largest) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number > largest) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

bool TakeCharacter(std::string_view& text, char character) {
  if (!text.starts_with(character)) return false;
  text.remove_prefix(1);
  return true;
}

/// Milliseconds until then, rounded up so that a wait never ends early; bounded for calls that take an int.
milliseconds TimeUntil(SteadyTime until) {
  constexpr milliseconds kLongest = std::chrono::hours(1);
  const auto left = until - std::chrono::steady_clock::now();
  if (left <= left.zero()) return milliseconds(0);
  return std::min(std::chrono::ceil<milliseconds>(left), kLongest);
}

/// Tries `call` until it is done or has failed, and waits for the socket in between.
template <typename Call>
calls::Outcome Repeat(const Socket& socket, bool forWriting, const WaitLimit& limit, Call call) {
  for (;;) {
    calls::Outcome outcome = call();
    if (outcome.result.status != SocketStatus::TimedOut) return outcome;
    if (limit.IsOnlyNow()) return outcome;
    WaitItem item{&socket, forWriting};
    const SocketResult waited = WaitForSockets({&item, 1}, limit);
    if (!waited.IsDone()) return {waited};
  }
}

/// Takes the first `count` bytes away, and the empty pieces that come to stand in front.
void DropFront(std::vector<ByteView>& pieces, std::size_t count) {
  auto piece = pieces.begin();
  for (; piece != pieces.end() && piece->size() <= count; ++piece) count -= piece->size();
  pieces.erase(pieces.begin(), piece);
  if (!pieces.empty()) pieces.front() = pieces.front().subspan(count);
}

}  // namespace

std::optional<SocketAddress> SocketAddress::Parse(std::string_view text) {
  SocketAddress address;
  for (std::size_t i = 0; i < address.host.size(); ++i) {
    if (i > 0 && !TakeCharacter(text, '.')) return std::nullopt;
    const std::optional<unsigned> part = TakeNumber(text, 255);
    if (!part) return std::nullopt;
    address.host[i] = static_cast<std::uint8_t>(*part);
  }
  if (text.empty()) return address;
  if (!TakeCharacter(text, ':')) return std::nullopt;
  const std::optional<unsigned> port = TakeNumber(text, 65535);
  if (!port || !text.empty()) return std::nullopt;
  address.port = static_cast<std::uint16_t>(*port);
  return address;
}

std::string SocketAddress::HostText() const {
  std::string text = std::to_string(host[0]);
  for (std::size_t i = 1; i < host.size(); ++i) text += '.' + std::to_string(host[i]);
  return text;
}

std::string SocketAddress::Text() const {
  return HostText() + ':' + std::to_string(port);
}

Socket::Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, kNone)) {}

Socket& Socket::operator=(Socket&& other) noexcept {
  if (this == &other) return *this;
  Close();
  handle_ = std::exchange(other.handle_, kNone);
  return *this;
}

void Socket::Close() {
  if (IsOpen()) calls::Close(std::exchange(handle_, kNone));
}

SocketAddress Socket::LocalAddress() const {
  return calls::LocalAddress(*this);
}

WakeUp::WakeUp() {
  const SocketResult opened = calls::OpenWakeUp(signalled_, sender_).result;
  if (!opened.IsDone()) throw Error(errors::kDeviceIo, "", "Device I/O error: " + opened.error);
}

void WakeUp::Signal() {
  calls::SendWakeUp(sender_);
}

void WakeUp::Reset() {
  calls::DrainWakeUp(signalled_);
}

WaitLimit WaitLimit::After(milliseconds duration, const WakeUp* wake) {
  return {std::chrono::steady_clock::now() + duration, wake};
}

SocketResult WaitForSockets(std::span<WaitItem> items, const WaitLimit& limit) {
  std::vector<WaitItem> all(items.begin(), items.end());
  if (limit.wake != nullptr) all.push_back({&limit.wake->Signalled()});
  for (;;) {
    const milliseconds left = TimeUntil(limit.until);
    const SocketResult waited = calls::Wait(all, left).result;
    if (waited.status == SocketStatus::TimedOut && left > milliseconds(0)) continue;
    if (limit.wake != nullptr && all.back().isReady) return {SocketStatus::Woken};
    for (std::size_t i = 0; i < items.size(); ++i) items[i].isReady = all[i].isReady;
    return waited;
  }
}

SocketResult TcpStream::StartConnect(const SocketAddress& peer, const std::optional<SocketAddress>& local) {
  const SocketResult opened = calls::OpenStream(socket_).result;
  if (!opened.IsDone()) return opened;
  const SocketResult bound = local ? calls::Bind(socket_, *local).result : SocketResult();
  if (!bound.IsDone()) return bound;
  return calls::Connect(socket_, peer).result;
}

SocketResult TcpStream::FinishConnect() {
  return calls::ConnectResult(socket_).result;
}

SocketResult TcpStream::Connect(const SocketAddress& peer, const WaitLimit& limit,
                                const std::optional<SocketAddress>& local) {
  const SocketResult started = StartConnect(peer, local);
  if (started.status != SocketStatus::TimedOut) return started;
  WaitItem item{&socket_, true};
  const SocketResult waited = WaitForSockets({&item, 1}, limit);
  return waited.IsDone() ? FinishConnect() : waited;
}

SocketResult TcpStream::Send(std::span<const ByteView> pieces, const WaitLimit& limit) {
  std::vector<ByteView> rest(pieces.begin(), pieces.end());
  DropFront(rest, 0);
  while (!rest.empty()) {
    const calls::Outcome sent = Repeat(socket_, true, limit, [&] { return calls::Send(socket_, rest); });
    if (!sent.result.IsDone()) return sent.result;
    DropFront(rest, sent.count);
  }
  return {};
}

SocketResult TcpStream::ReceiveSome(ByteSpan out, ByteSpan behind, std::size_t& count, const WaitLimit& limit) {
  const calls::Outcome received = Repeat(socket_, false, limit, [&] { return calls::Receive(socket_, out, behind); });
  count = received.count;
  return received.result;
}

SocketResult TcpStream::ReceiveExactly(ByteSpan out, std::size_t& count, const WaitLimit& limit) {
  count = 0;
  while (count < out.size()) {
    std::size_t some = 0;
    const SocketResult received = ReceiveSome(out.subspan(count), some, limit);
    count += some;
    if (!received.IsDone()) return received;
  }
  return {};
}

void TcpStream::ShutDown() {
  calls::ShutDown(socket_);
}

void TcpStream::WatchPeer(bool on) {
  calls::WatchPeer(socket_, on);
}

SocketAddress TcpStream::PeerAddress() const {
  return calls::PeerAddress(socket_);
}

SocketResult TcpListener::Listen(const SocketAddress& address) {
  Socket socket;
  const SocketResult opened = calls::OpenStream(socket).result;
  if (!opened.IsDone()) return opened;
  calls::ClaimPort(socket);
  const SocketResult bound = calls::Bind(socket, address).result;
  if (!bound.IsDone()) return bound;
  const SocketResult listens = calls::Listen(socket).result;
  if (listens.IsDone()) socket_ = std::move(socket);
  return listens;
}

SocketResult TcpListener::Accept(TcpStream& accepted, const WaitLimit& limit) {
  Socket socket;
  const calls::Outcome outcome = Repeat(socket_, false, limit, [&] { return calls::Accept(socket_, socket); });
  if (outcome.result.IsDone()) accepted = TcpStream(std::move(socket));
  return outcome.result;
}

SocketResult UdpSocket::Bind(const SocketAddress& address) {
  const SocketResult opened = calls::OpenDatagram(socket_).result;
  return opened.IsDone() ? calls::Bind(socket_, address).result : opened;
}

SocketResult UdpSocket::Send(ByteView data, const SocketAddress& to) {
  return calls::SendTo(socket_, data, to).result;
}

SocketResult UdpSocket::Receive(ByteSpan out, std::size_t& count, SocketAddress& from, const WaitLimit& limit) {
  const calls::Outcome received = Repeat(socket_, false, limit, [&] { return calls::ReceiveFrom(socket_, out, from); });
  count = received.count;
  return received.result;
}

}  // namespace mv::platform
