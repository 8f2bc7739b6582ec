#pragma once

#include <chrono>

#include "device/DeviceHooks.h"
#include "device/Rapi.h"

namespace mv {

/// The connection to the handheld and the one flag that says whether it is up. There is one object of it in a process.
class modWinCERAPIConnectionHandler {
 public:
  /// Both must outlive this object. `wait`: how long a handheld has to answer.
  modWinCERAPIConnectionHandler(Rapi& rapi, const DeviceHooks& hooks, std::chrono::milliseconds wait = kUsualWait)
      : rapi_(rapi), hooks_(hooks), wait_(wait) {}

  static constexpr std::chrono::seconds kUsualWait{5};
  /// How long the window's messages wait at most while the handheld is waited for.
  static constexpr std::chrono::milliseconds kSlice{50};

  /// One attempt to connect, which waits as long as a handheld has and handles the window's messages meanwhile; it ends
  /// early when the attempt is abandoned. Shows the hourglass and leaves it. True when a new connection was made; false
  /// when that failed, and also when there was a connection already, which is kept. Never raises: an unexpected error
  /// clears the flag.
  bool ConnectDevice();
  /// Ends the connection if there is one. Always true.
  bool DisconnectDevice();
  bool IsDeviceConnected() const { return deviceConnected_; }

 private:
  bool Connect();
  bool StartConnection();
  /// What the wait for the connection's event returns. It is one wait in slices, as there are messages to handle.
  std::uint32_t Wait(RapiHandle event);

  Rapi& rapi_;
  const DeviceHooks& hooks_;
  std::chrono::milliseconds wait_;
  bool deviceConnected_ = false;
};

}  // namespace mv
