#pragma once

#include <functional>
#include <optional>
#include <string>

#include "device/wire/Rendezvous.h"
#include "platform/Socket.h"

namespace mv::wire {

/// Where connections for remote calls come from: handhelds that call here, or another program that they have called.
class LineSource {
 public:
  virtual ~LineSource() = default;

  /// Begins an attempt to connect. One before it is withdrawn.
  virtual void Ask() = 0;
  /// Ends the attempt.
  virtual void Withdraw() = 0;
  /// Waits for the attempt's result; nothing when the time is up. `askPassword`: see WireOptions::password.
  virtual std::optional<AttemptResult> Wait(platform::SteadyTime until, const Rendezvous::AskPassword& askPassword) = 0;
  virtual WireStatus Status() const = 0;
};

}  // namespace mv::wire
