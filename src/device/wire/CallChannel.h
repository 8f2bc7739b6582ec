#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

#include "base/Bytes.h"
#include "device/wire/WireLog.h"
#include "platform/Socket.h"

namespace mv::wire {

/// Exchanges requests and replies of remote calls; each request has one reply.
class CallChannel {
 public:
  virtual ~CallChannel() = default;

  /// Sends a whole message, length word included, and receives the reply's body. Nothing when the connection was lost,
  /// the time was up, or what came is no reply: then the two sides may be out of step, and the channel must not be used
  /// again. The reply is valid until the next exchange.
  virtual std::optional<ByteView> Exchange(ByteView message, std::chrono::milliseconds time) = 0;
};

/// The channel over a connection: messages and replies are a length word and that many bytes.
class TcpCallChannel : public CallChannel {
 public:
  /// A longer reply is a mistake or an attack.
  static constexpr std::size_t kLongestReply = 16U << 20;

  /// `lost` ends every wait. `log` must outlive the channel.
  TcpCallChannel(platform::TcpStream stream, std::shared_ptr<platform::WakeUp> lost, WireLog& log)
      : stream_(std::move(stream)), lost_(std::move(lost)), log_(log) {}

  std::optional<ByteView> Exchange(ByteView message, std::chrono::milliseconds time) override;

 private:
  /// Room for a reply with a block of 64 KiB.
  static constexpr std::size_t kUsualReply = 65536 + 64;

  std::optional<ByteView> Receive(const platform::WaitLimit& limit);
  /// True when nothing has come that nobody asked for.
  bool IsQuiet();

  platform::TcpStream stream_;
  std::shared_ptr<platform::WakeUp> lost_;
  WireLog& log_;
  Bytes buffer_ =
      Bytes(kUsualReply);  ///< kept, because a new one for each block of a file would cost as much as receiving it
};

}  // namespace mv::wire
