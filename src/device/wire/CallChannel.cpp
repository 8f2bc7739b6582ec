#include "device/wire/CallChannel.h"

#include <algorithm>
#include <string>

#include "base/ByteOrder.h"

namespace mv::wire {
namespace {

using platform::SocketResult;
using platform::SocketStatus;
using platform::WaitItem;
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

std::optional<Reply> TcpCallChannel::Exchange(std::span<const ByteView> message, std::chrono::milliseconds time,
                                              const ReplyRoom& room) {
  if (!IsQuiet()) return std::nullopt;
  const WaitLimit limit = WaitLimit::After(time, lost_.get());
  if (!Check(stream_.Send(message, limit), "while a request was sent")) return std::nullopt;
  // No reply is there yet; asking for it would be in vain.
  WaitItem item{&stream_.Handle()};
  if (!Check(platform::WaitForSockets({&item, 1}, limit), "before a reply")) return std::nullopt;
  return Receive(room, limit);
}

/// Takes whatever is there: a reply mostly comes at once with its length word.
std::optional<Reply> TcpCallChannel::Receive(const ReplyRoom& room, const WaitLimit& limit) {
  const ByteSpan all(buffer_);
  const ByteSpan front = room.place.empty() ? all : all.first(kLengthWord + room.beginning);
  std::size_t count = 0;
  if (!ReceiveUpTo(kLengthWord, front, room.place, count, limit)) return std::nullopt;
  const std::uint32_t length = LoadLittle<std::uint32_t>(buffer_.data());
  if (length > kLongestReply) {
    log_.Line("a reply of " + std::to_string(length) + " bytes is none");
    return std::nullopt;
  }
  const std::size_t size = kLengthWord + length;
  if (room.place.empty() || size <= front.size()) return ReceiveRest(size, count, limit);
  if (!ReceiveUpTo(front.size(), front, room.place, count, limit)) return std::nullopt;
  const ByteView beginning = front.subspan(kLengthWord);
  const std::size_t following = size - front.size();
  if (count <= size && following <= room.place.size() && room.belongs(beginning, following)) {
    if (!ReceiveUpTo(size, front, room.place.first(following), count, limit)) return std::nullopt;
    return Reply{beginning, following};
  }
  const ByteSpan misplaced = room.place.first(count - front.size());
  if (buffer_.size() < count) buffer_.resize(count);
  std::copy(misplaced.begin(), misplaced.end(),
            buffer_.begin() + static_cast<std::ptrdiff_t>(count - misplaced.size()));
  return ReceiveRest(size, count, limit);
}

std::optional<Reply> TcpCallChannel::ReceiveRest(std::size_t size, std::size_t count, const WaitLimit& limit) {
  if (buffer_.size() < size) buffer_.resize(size);
  if (!ReceiveUpTo(size, buffer_, {}, count, limit)) return std::nullopt;
  if (count == size) return Reply{ByteView(buffer_).first(size).subspan(kLengthWord)};
  log_.Line("there is more than one reply");
  return std::nullopt;
}

bool TcpCallChannel::ReceiveUpTo(std::size_t least, ByteSpan front, ByteSpan behind, std::size_t& count,
                                 const WaitLimit& limit) {
  while (count < least) {
    std::size_t some = 0;
    const SocketResult received = count < front.size()
                                      ? stream_.ReceiveSome(front.subspan(count), behind, some, limit)
                                      : stream_.ReceiveSome(behind.subspan(count - front.size()), {}, some, limit);
    if (!Check(received, "within a reply")) return false;
    count += some;
  }
  return true;
}

bool TcpCallChannel::Check(const SocketResult& result, const char* during) {
  if (!result.IsDone()) log_.Line(std::string(during) + " " + ReasonOf(result.status));
  return result.IsDone();
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
