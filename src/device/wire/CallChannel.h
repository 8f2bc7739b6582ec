#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "device/wire/Rendezvous.h"
#include "device/wire/WireLog.h"

namespace mv::wire {

/// Exchanges requests and replies over a connection for remote calls. Both are a length word and that many bytes; each
/// request has one reply.
class CallChannel {
 public:
  /// A longer reply is a mistake or an attack.
  static constexpr std::size_t kLongestReply = 16U << 20;

  /// `log` must outlive the channel.
  CallChannel(CallLine line, WireLog& log) : line_(std::move(line)), log_(log) {}

  /// Sends a whole message and receives the reply's body. Nothing when the connection was lost, the time was up, or
  /// what came is no reply: then the two sides may be out of step, and the channel must not be used again.
  std::optional<Bytes> Exchange(ByteView message, std::chrono::milliseconds time);

  MessageVersion Version() const { return line_.version; }
  const Announcement& Handheld() const { return line_.handheld; }
  const platform::SocketAddress& Address() const { return line_.address; }

 private:
  /// Receives into `reply` until it holds `size` bytes.
  bool ReceiveUpTo(Bytes& reply, std::size_t size, const platform::WaitLimit& limit);
  /// True when nothing has come that nobody asked for.
  bool IsQuiet();

  CallLine line_;
  WireLog& log_;
};

}  // namespace mv::wire
