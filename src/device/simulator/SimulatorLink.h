#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <optional>

#include "base/Bytes.h"
#include "platform/Socket.h"

namespace mv::simulator {

/// A connection of the simulated handheld, whose waits end when it is told to. Every operation fails once the
/// connection has ended, for whatever reason.
class SimulatorLink {
 public:
  SimulatorLink() = default;
  explicit SimulatorLink(platform::TcpStream stream) : stream_(std::move(stream)) {}
  SimulatorLink(const SimulatorLink&) = delete;
  SimulatorLink& operator=(const SimulatorLink&) = delete;

  platform::TcpStream& Stream() { return stream_; }
  /// Ends the waits, now and from now on. May be called by any thread.
  void End() { wake_.Signal(); }
  const platform::WakeUp& Wake() const { return wake_; }

  bool Send(ByteView bytes);
  bool SendWords(std::initializer_list<std::uint32_t> words);
  /// Fills `out`. 0 in `patience`: waits until the connection ends.
  bool Receive(ByteSpan out, std::chrono::milliseconds patience = {});
  std::optional<std::uint16_t> ReceiveHalf(std::chrono::milliseconds patience = {});
  std::optional<std::uint32_t> ReceiveWord(std::chrono::milliseconds patience = {});
  /// False when the connection was told to end.
  bool Pause(std::chrono::milliseconds duration) const;
  /// Takes what comes and says nothing, until the connection ends.
  void FallSilent();

 private:
  platform::TcpStream stream_;
  platform::WakeUp wake_;
};

}  // namespace mv::simulator
