#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "base/Error.h"
#include "device/simulator/HandheldSimulator.h"
#include "device/wire/WireRapi.h"
#include "support/MemoryFileSystem.h"

namespace mv::testing {

/// A desktop that listens at free ports of 127.0.0.1, and the simulated handheld at 127.0.0.2 that calls it. The
/// handheld's files are in memory, below D:\root; \Motorva exists.
class WiredHandheld {
 public:
  explicit WiredHandheld(simulator::SimulatorOptions device = {}, wire::WireOptions desktop = QuickOptions()) {
    files_.CreateFolders("D:\\root\\Motorva");
    desktop.links = {{platform::kLoopbackHost, 8}};
    desktop.ports.controlA = 0;
    desktop.ports.controlB = 0;
    desktop.ports.callsA = device.callsPort = FreePort(device.address);
    desktop.handhelds.clear();
    rapi_ = std::make_unique<wire::WireRapi>(std::move(desktop));
    rapi_->Listen();
    const wire::WireStatus status = rapi_->Status();
    device.desktop = device.family == simulator::Family::A ? status.controlA.at(0) : status.controlB.at(0);
    device.retry = std::chrono::milliseconds(5);
    simulator_ = std::make_unique<simulator::HandheldSimulator>(files_, "D:\\root", std::move(device));
    simulator_->Start();
  }

  /// Limits that fit tests.
  static wire::WireOptions QuickOptions() {
    wire::WireOptions options;
    options.times.settle = std::chrono::milliseconds(0);
    return options;
  }

  Rapi& Api() { return *rapi_; }
  wire::WireRapi& Wire() { return *rapi_; }
  simulator::HandheldSimulator& Device() { return *simulator_; }
  /// To be touched only while no call is under way.
  MemoryFileSystem& Files() { return files_; }

 private:
  static std::uint16_t FreePort(const std::array<std::uint8_t, 4>& host) {
    platform::TcpListener listener;
    const platform::SocketResult result = listener.Listen({host, 0});
    if (!result.IsDone()) throw Failure("no free port: " + result.error);
    return listener.LocalAddress().port;
  }

  MemoryFileSystem files_;
  std::unique_ptr<wire::WireRapi> rapi_;
  std::unique_ptr<simulator::HandheldSimulator> simulator_;
};

}  // namespace mv::testing
