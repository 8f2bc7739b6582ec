#include "device/wire/CallChannel.h"

#include <string>

#include "base/ByteOrder.h"

namespace mv::wire {
namespace {

using platform::SocketResult;
using platform::SocketStatus;
using platform::WaitLimit;

constexpr std::size_t kLengthWord = 4;

const char* ReasonOf(SocketStatus status) {
  switch (status) {
    case SocketStatus::TimedOut:
      return "the time is up";
    case SocketStatus::Woken:
      return "the handheld has gone";
    default:
      return "the connection was closed";
  }
}

}  // namespace

std::optional<ByteView> TcpCallChannel::Exchange(ByteView message, std::chrono::milliseconds time) {
  if (!IsQuiet()) return std::nullopt;
  const WaitLimit limit = WaitLimit::After(time, lost_.get());
  const SocketResult sent = stream_.Send(message, limit);
  if (!sent.IsDone()) {
    log_.Line(std::string("while a request was sent ") + ReasonOf(sent.status));
    return std::nullopt;
  }
  const std::optional<ByteView> length = Receive(kLengthWord, limit);
  if (!length) return std::nullopt;
  const std::uint32_t size = LoadLittle<std::uint32_t>(length->data());
  if (size <= kLongestReply) return Receive(size, limit);
  log_.Line("a reply of " + std::to_string(size) + " bytes is none");
  return std::nullopt;
}

std::optional<ByteView> TcpCallChannel::Receive(std::size_t size, const WaitLimit& limit) {
  if (buffer_.size() < size) buffer_.resize(size);
  const ByteSpan bytes = ByteSpan(buffer_).first(size);
  std::size_t count = 0;
  const SocketResult received = stream_.ReceiveExactly(bytes, count, limit);
  if (received.IsDone()) return bytes;
  log_.Line("after " + std::to_string(count) + " of " + std::to_string(size) + " bytes of a reply " +
            ReasonOf(received.status));
  return std::nullopt;
}

bool TcpCallChannel::IsQuiet() {
  std::uint8_t unasked = 0;
  std::size_t count = 0;
  const SocketResult received = stream_.ReceiveSome({&unasked, 1}, count, {});
  if (received.status == SocketStatus::TimedOut) return true;
  log_.Line(received.IsDone() ? "there is more than one reply" : "the connection was closed");
  return false;
}

}  // namespace mv::wire
