#include "device/modWinCERAPIConnectionHandler.h"

#include <algorithm>
#include <exception>

namespace mv {
namespace {

/// Size of the published start-up record with its 32-bit handle.
constexpr std::uint32_t kStartUpRecordSize = 12;

/// Ends a connection that is not brought to its end: the library would write into a record that has gone.
class Attempt {
 public:
  explicit Attempt(Rapi& rapi) : rapi_(rapi) {}
  ~Attempt() {
    if (!succeeded_) rapi_.CeRapiUninit();
  }
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;
  bool Succeed() { return succeeded_ = true; }

 private:
  Rapi& rapi_;
  bool succeeded_ = false;
};

}  // namespace

bool modWinCERAPIConnectionHandler::ConnectDevice() {
  try {
    return Connect();
  } catch (const std::exception&) {
    deviceConnected_ = false;  // callers know one kind of failure only
    return false;
  }
}

bool modWinCERAPIConnectionHandler::Connect() {
  if (hooks_.showHourglass) hooks_.showHourglass();
  if (hooks_.processMessages) hooks_.processMessages();
  if (deviceConnected_) return false;
  deviceConnected_ = StartConnection();
  return deviceConnected_;
}

/// Only the time-out is told apart: a wait that fails otherwise counts as signalled, and the result in the record
/// decides.
bool modWinCERAPIConnectionHandler::StartConnection() {
  RAPIINIT init;
  init.cbSize = kStartUpRecordSize;
  Attempt attempt(rapi_);
  if (rapi_.CeRapiInitEx(init) != 0 || init.hrRapiInit != 0) return false;
  if (Wait(init.heRapiInit) == rapi::kWaitTimeout) return false;
  return init.hrRapiInit == 0 && attempt.Succeed();
}

std::uint32_t modWinCERAPIConnectionHandler::Wait(RapiHandle event) {
  for (std::chrono::milliseconds left = wait_;;) {
    const std::chrono::milliseconds slice = hooks_.processMessages ? std::min(left, kSlice) : left;
    const std::uint32_t result = rapi_.WaitForSingleObject(event, static_cast<std::uint32_t>(slice.count()));
    left -= slice;
    if (result != rapi::kWaitTimeout || left.count() <= 0) return result;
    hooks_.processMessages();
    if (hooks_.abandoned && hooks_.abandoned()) return result;
  }
}

bool modWinCERAPIConnectionHandler::DisconnectDevice() {
  if (deviceConnected_) {
    rapi_.CeRapiUninit();
    deviceConnected_ = false;
  }
  return true;
}

}  // namespace mv
