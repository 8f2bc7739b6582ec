#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "device/simulator/HandheldSimulator.h"
#include "device/wire/WireRapi.h"
#include "support/MemoryFileSystem.h"
#include "support/RapiContract.h"

namespace mv::testing {

/// A desktop that listens at free ports of 127.0.0.1, and the simulated handheld at 127.0.0.2 that calls it. The
/// handheld's files are in memory, below D:\root; \Motorva exists.
class WiredHandheld : public Handheld {
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

  Rapi& Api() override { return *rapi_; }
  wire::WireRapi& Wire() { return *rapi_; }
  simulator::HandheldSimulator& Device() { return *simulator_; }
  /// To be touched only while no call is under way.
  MemoryFileSystem& Files() { return files_; }

 private:
  static std::uint16_t FreePort(const std::array<std::uint8_t, 4>& host) {
    platform::TcpListener listener;
    EXPECT_TRUE(listener.Listen({host, 0}).IsDone());
    return listener.LocalAddress().port;
  }

  MemoryFileSystem files_;
  std::unique_ptr<wire::WireRapi> rapi_;
  std::unique_ptr<simulator::HandheldSimulator> simulator_;
};

/// A handheld of a family and a version of the messages, with blocks of `blockSize` bytes.
template <simulator::Family family, wire::MessageVersion version, std::size_t blockSize = 65536>
class WiredHandheldOf : public WiredHandheld {
 public:
  WiredHandheldOf() : WiredHandheld(Device(), Desktop()) {}

 private:
  static simulator::SimulatorOptions Device() {
    simulator::SimulatorOptions device;
    device.family = family;
    device.device = version == wire::MessageVersion::V1 ? simulator::SimulatedDevice::OfFamilyA()
                                                        : simulator::SimulatedDevice::OfFamilyB();
    return device;
  }
  static wire::WireOptions Desktop() {
    wire::WireOptions desktop = QuickOptions();
    desktop.blockSize = blockSize;
    return desktop;
  }
};

}  // namespace mv::testing
