#include "device/wire/CallChannel.h"

#include "base/ByteOrder.h"

namespace mv::wire {
namespace {

using platform::SocketResult;
using platform::SocketStatus;
using platform::WaitLimit;

constexpr std::size_t kLengthWord = 4;

}  // namespace

std::optional<Bytes> CallChannel::Exchange(ByteView message, std::chrono::milliseconds time) {
  const WaitLimit limit = WaitLimit::After(time, line_.lost.get());
  if (!IsQuiet()) return std::nullopt;
  const SocketResult sent = line_.stream.Send(message, limit);
  if (!sent.IsDone()) {
    log_.Line("sending failed: " + sent.error);
    return std::nullopt;
  }
  Bytes length;
  if (!ReceiveUpTo(length, kLengthWord, limit)) return std::nullopt;
  const std::uint32_t size = LoadLittle<std::uint32_t>(length.data());
  if (size > kLongestReply) {
    log_.Line("a reply of " + std::to_string(size) + " bytes is none");
    return std::nullopt;
  }
  Bytes reply;
  if (!ReceiveUpTo(reply, size, limit)) return std::nullopt;
  return reply;
}

bool CallChannel::ReceiveUpTo(Bytes& reply, std::size_t size, const WaitLimit& limit) {
  reply.resize(size);
  std::size_t count = 0;
  const SocketResult received = line_.stream.ReceiveExactly(reply, count, limit);
  if (received.IsDone()) return true;
  const char* reason = received.status == SocketStatus::TimedOut ? "the time is up"
                       : received.status == SocketStatus::Woken  ? "the handheld has gone"
                                                                 : "the connection was closed";
  log_.Line("after " + std::to_string(count) + " of " + std::to_string(size) + " bytes " + reason);
  return false;
}

bool CallChannel::IsQuiet() {
  std::uint8_t unasked = 0;
  std::size_t count = 0;
  const SocketResult received = line_.stream.ReceiveSome({&unasked, 1}, count, {});
  if (received.status == SocketStatus::TimedOut) return true;
  log_.Line(received.IsDone() ? "there is more than one reply" : "the connection was closed");
  return false;
}

}  // namespace mv::wire
