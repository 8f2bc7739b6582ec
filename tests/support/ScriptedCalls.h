#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/ByteOrder.h"
#include "device/wire/RemoteCalls.h"
#include "platform/Socket.h"
#include "support/Hex.h"

namespace mv::testing {

/// A connection for remote calls whose far end answers each request with the next reply of a script, whatever the
/// request is. After the last reply it closes, or falls silent.
class ScriptedCalls {
 public:
  enum class End { Closes, FallsSilent };

  /// `replies`: whole messages in hex, length words included.
  ScriptedCalls(wire::MessageVersion version, std::vector<std::string> replies, End end = End::Closes,
                std::chrono::milliseconds replyTime = std::chrono::seconds(10))
      : calls_(Connect(), version, replyTime, log_) {
    player_ = std::thread([this, replies = std::move(replies), end] { Play(replies, end); });
  }
  ~ScriptedCalls() { Finish(); }
  ScriptedCalls(const ScriptedCalls&) = delete;
  ScriptedCalls& operator=(const ScriptedCalls&) = delete;

  wire::RemoteCalls& Calls() { return calls_; }
  /// The requests that came, length words included. Ends the script.
  const std::vector<Bytes>& Requests() {
    Finish();
    return requests_;
  }
  platform::WakeUp& Lost() { return *lost_; }

 private:
  static platform::WaitLimit Limit() { return platform::WaitLimit::After(std::chrono::seconds(10)); }

  std::unique_ptr<wire::CallChannel> Connect() {
    platform::TcpListener listener;
    listener.Listen({platform::kLoopbackHost, 0});
    platform::TcpStream near;
    near.Connect(listener.LocalAddress(), Limit());
    listener.Accept(far_, Limit());
    return std::make_unique<wire::TcpCallChannel>(std::move(near), lost_, log_);
  }

  void Play(const std::vector<std::string>& replies, End end) {
    for (const std::string& reply : replies) {
      Bytes request(4);
      std::size_t count = 0;
      if (!far_.ReceiveExactly(request, count, Limit()).IsDone()) return;
      Bytes body(LoadLittle<std::uint32_t>(request.data()));
      if (!far_.ReceiveExactly(body, count, Limit()).IsDone()) return;
      request.insert(request.end(), body.begin(), body.end());
      requests_.push_back(request);
      far_.Send(FromHex(reply), Limit());
    }
    if (end == End::Closes) far_.ShutDown();
  }

  void Finish() {
    if (player_.joinable()) player_.join();
  }

  std::shared_ptr<platform::WakeUp> lost_ = std::make_shared<platform::WakeUp>();
  wire::WireLog log_{nullptr};
  platform::TcpStream far_;
  wire::RemoteCalls calls_;
  std::vector<Bytes> requests_;
  std::thread player_;
};

}  // namespace mv::testing
