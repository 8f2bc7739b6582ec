#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "device/simulator/SimulatorLink.h"
#include "device/simulator/SimulatorOptions.h"

namespace mv::simulator {

/// What a control connection needs of the rest of the handheld.
struct ControlContext {
  const SimulatorOptions& options;
  /// Family B: opens a remote-call connection that presents `id`.
  std::function<void(std::uint32_t id)> openCalls;
  std::function<void(const std::string& line)> log;
};

/// The handheld's side of a control connection of family A, from the first word to its end.
void ConverseA(SimulatorLink& link, const ControlContext& context);

/// The same of family B.
void ConverseB(SimulatorLink& link, const ControlContext& context);

/// Receives the desktop's password (a u16 with the number of encoded bytes, then these) and says whether it is taken.
/// Nothing when the connection ended.
std::optional<bool> ReceivePassword(SimulatorLink& link, const SimulatorOptions& options);

}  // namespace mv::simulator
