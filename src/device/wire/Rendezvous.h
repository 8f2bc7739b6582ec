#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "device/wire/Announcement.h"
#include "device/wire/Results.h"
#include "platform/Socket.h"

namespace mv::wire {

/// An open connection for remote calls.
struct CallLine {
  platform::TcpStream stream;
  MessageVersion version = MessageVersion::V1;
  std::shared_ptr<platform::WakeUp> lost;  ///< signalled when the handheld has gone
  Announcement handheld;
  platform::SocketAddress address;  ///< the handheld's
};

struct AttemptResult {
  std::int32_t code = results::kConnected;
  std::optional<CallLine> line;  ///< when connected
};

/// How things stand, for people.
struct WireStatus {
  std::vector<platform::SocketAddress> controlA;  ///< where handhelds of family A can call
  std::vector<platform::SocketAddress> controlB;
  std::vector<std::string> problems;  ///< where they cannot, why, and what to do
  std::string handheld;               ///< who has called and whether it takes remote calls; never empty
  std::uint64_t caller = 0;           ///< which one that is, counted from 1; 0: none is here
};

/// Where the callers of the remote API and the helper thread meet. All of the state that they share is in here, under
/// one lock. One caller at a time.
class Rendezvous {
 public:
  using AskPassword = std::function<std::optional<std::string>()>;

  // For the callers.

  /// Begins an attempt to connect. One before it is withdrawn.
  void Ask();
  /// Ends the attempt; a connection that it got and nobody fetched is closed.
  void Withdraw();
  /// Waits for the attempt's result; nothing when the time is up, or when there is no attempt. A password that the
  /// handheld wants meanwhile is asked of `askPassword` on this thread; when that has none the result is kLocked.
  std::optional<AttemptResult> Wait(platform::SteadyTime until, const AskPassword& askPassword);
  WireStatus Status() const;
  void Stop();

  // For the helper thread.

  bool IsStopping() const;
  /// The number of the attempt that waits for a result.
  std::optional<std::uint64_t> OpenAttempt() const;
  /// What was answered to WantPassword, once.
  std::optional<std::string> TakePassword();
  void WantPassword();
  void Settle(AttemptResult result);
  void SetStatus(WireStatus status);
  /// Signalled when a caller has changed something.
  platform::WakeUp& Wake() { return wake_; }

 private:
  bool CanGoOn() const { return result_ || isPasswordWanted_ || !isOpen_; }
  /// Asks for the password with the lock released.
  void AnswerPassword(std::unique_lock<std::mutex>& lock, const AskPassword& askPassword);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  platform::WakeUp wake_;
  bool isStopping_ = false;
  bool isOpen_ = false;  ///< an attempt without a result
  std::uint64_t attempt_ = 0;
  bool isPasswordWanted_ = false;
  std::optional<std::string> password_;
  std::optional<AttemptResult> result_;
  WireStatus status_;
};

}  // namespace mv::wire
