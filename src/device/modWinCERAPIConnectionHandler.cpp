#include "device/modWinCERAPIConnectionHandler.h"

#include <exception>

namespace mv {
namespace {

/// Size of the published start-up record with its 32-bit handle.
constexpr std::uint32_t kStartUpRecordSize = 12;

/// True when the handheld answered in time. Only the time-out is told apart: a wait that fails otherwise counts as
/// signalled, and the result in the record decides.
bool StartConnection(Rapi& rapi, std::chrono::milliseconds wait) {
  RAPIINIT init;
  init.cbSize = kStartUpRecordSize;
  if (rapi.CeRapiInitEx(init) != 0 || init.hrRapiInit != 0) return false;
  if (rapi.WaitForSingleObject(init.heRapiInit, static_cast<std::uint32_t>(wait.count())) == rapi::kWaitTimeout)
    return false;
  return init.hrRapiInit == 0;
}

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
  if (StartConnection(rapi_, wait_)) {
    deviceConnected_ = true;
    return true;
  }
  rapi_.CeRapiUninit();
  return false;
}

bool modWinCERAPIConnectionHandler::DisconnectDevice() {
  if (deviceConnected_) {
    rapi_.CeRapiUninit();
    deviceConnected_ = false;
  }
  return true;
}

}  // namespace mv
