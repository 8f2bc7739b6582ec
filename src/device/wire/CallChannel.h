#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "base/Bytes.h"
#include "device/wire/WireLog.h"
#include "platform/Socket.h"

namespace mv::wire {

/// Where the end of a reply may go at once, so that a file's bytes are not copied on their way. What is at the place is
/// not defined when the reply was kept together, or did not come.
struct ReplyRoom {
  std::size_t beginning = 0;  ///< bytes of the body in front of that end
  ByteSpan place = {};        ///< empty: the reply is kept together
  /// Whether the `following` bytes behind such a beginning belong there; else the reply is kept together.
  std::function<bool(ByteView beginning, std::size_t following)> belongs = {};
};

/// A reply's body, valid until the next exchange.
struct Reply {
  ByteView kept;           ///< all of it, or its beginning
  std::size_t placed = 0;  ///< bytes that went to the place of a ReplyRoom
};

/// Exchanges requests and replies of remote calls; each request has one reply.
class CallChannel {
 public:
  virtual ~CallChannel() = default;

  /// Sends a whole message, length word included, and receives the reply. `message`: its pieces. Nothing when the
  /// connection was lost, the time was up, or what came is no reply: then the two sides may be out of step, and the
  /// channel must not be used again.
  virtual std::optional<Reply> Exchange(std::span<const ByteView> message, std::chrono::milliseconds time,
                                        const ReplyRoom& room) = 0;
};

/// The channel over a connection: messages and replies are a length word and that many bytes.
class TcpCallChannel : public CallChannel {
 public:
  /// A longer reply is a mistake or an attack.
  static constexpr std::size_t kLongestReply = 16U << 20;

  /// `lost` ends every wait. `log` must outlive the channel.
  TcpCallChannel(platform::TcpStream stream, std::shared_ptr<platform::WakeUp> lost, WireLog& log)
      : stream_(std::move(stream)), lost_(std::move(lost)), log_(log) {}

  std::optional<Reply> Exchange(std::span<const ByteView> message, std::chrono::milliseconds time,
                                const ReplyRoom& room) override;

 private:
  /// Of all replies but lists and blocks of files.
  static constexpr std::size_t kUsualReply = 4096;

  std::optional<Reply> Receive(const ReplyRoom& room, const platform::WaitLimit& limit);
  /// Fills `front` and then `behind` until they have `least` bytes together. `count`: how many they have.
  bool ReceiveUpTo(std::size_t least, ByteSpan front, ByteSpan behind, std::size_t& count,
                   const platform::WaitLimit& limit);
  /// Receives what is missing of a message, `size` bytes with its length word, of which `count` are in the buffer.
  std::optional<Reply> ReceiveRest(std::size_t size, std::size_t count, const platform::WaitLimit& limit);
  /// True when all is well; else the reason goes to the log.
  bool Check(const platform::SocketResult& result, const char* during);
  /// True when nothing has come that nobody asked for.
  bool IsQuiet();

  platform::TcpStream stream_;
  std::shared_ptr<platform::WakeUp> lost_;
  WireLog& log_;
  Bytes buffer_ = Bytes(kUsualReply);
};

}  // namespace mv::wire
