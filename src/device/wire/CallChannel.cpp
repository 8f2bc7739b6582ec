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
  return Receive(limit);
}

/// Takes whatever is there: a reply mostly comes at once with its length word.
std::optional<ByteView> TcpCallChannel::Receive(const WaitLimit& limit) {
  std::size_t size = kLengthWord;
  std::size_t count = 0;
  while (count < size) {
    std::size_t some = 0;
    const SocketResult received = stream_.ReceiveSome(ByteSpan(buffer_).subspan(count), some, limit);
    if (!received.IsDone()) {
      log_.Line("after " + std::to_string(count) + " bytes of a reply " + ReasonOf(received.status));
      return std::nullopt;
    }
    const bool hadLength = count >= kLengthWord;
    count += some;
    if (hadLength || count < kLengthWord) continue;
    const std::uint32_t length = LoadLittle<std::uint32_t>(buffer_.data());
    if (length > kLongestReply) {
      log_.Line("a reply of " + std::to_string(length) + " bytes is none");
      return std::nullopt;
    }
    size = kLengthWord + length;
    if (buffer_.size() < size) buffer_.resize(size);
  }
  if (count == size) return ByteView(buffer_).subspan(kLengthWord, size - kLengthWord);
  log_.Line("there is more than one reply");
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
