#pragma once

#include <memory>
#include <string>

namespace mv {

/// What starts a run when a handheld connects, where a service of the user's does. Neither call raises.
class AutoStartService {
 public:
  virtual ~AutoStartService() = default;
  /// Switches the service on or off, at once and for the sessions to come. Returns what the user should know of that;
  /// empty when nothing had to be done.
  virtual std::string SwitchOn() = 0;
  virtual std::string SwitchOff() = 0;
};

/// This system's service; null where the device-connection manager starts the program (AutoStart.h).
std::unique_ptr<AutoStartService> MakeAutoStartService();

}  // namespace mv
