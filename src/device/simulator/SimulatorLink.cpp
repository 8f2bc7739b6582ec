#include "device/simulator/SimulatorLink.h"

#include <array>

#include "base/ByteOrder.h"
#include "device/message/MessageWriter.h"

namespace mv::simulator {
namespace {

using platform::SocketStatus;
using platform::WaitLimit;

constexpr std::chrono::hours kNoPatienceNeeded(24);
/// A desktop that takes nothing for so long has gone.
constexpr std::chrono::seconds kToSend(30);

}  // namespace

bool SimulatorLink::Send(ByteView bytes) {
  return stream_.Send(bytes, WaitLimit::After(kToSend, &wake_)).IsDone();
}

bool SimulatorLink::SendWords(std::initializer_list<std::uint32_t> words) {
  wire::MessageWriter writer;
  for (const std::uint32_t word : words) writer.Word(word);
  return Send(writer.Content());
}

bool SimulatorLink::Receive(ByteSpan out, std::chrono::milliseconds patience) {
  const bool waits = patience == std::chrono::milliseconds(0);
  std::size_t done = 0;
  for (;;) {
    std::size_t count = 0;
    const WaitLimit limit = WaitLimit::After(waits ? kNoPatienceNeeded : patience, &wake_);
    const SocketStatus status = stream_.ReceiveExactly(out.subspan(done), count, limit).status;
    done += count;
    if (status != SocketStatus::TimedOut || !waits) return status == SocketStatus::Done;
  }
}

std::optional<std::uint16_t> SimulatorLink::ReceiveHalf(std::chrono::milliseconds patience) {
  std::array<std::uint8_t, 2> bytes = {};
  if (!Receive(bytes, patience)) return std::nullopt;
  return LoadLittle<std::uint16_t>(bytes.data());
}

std::optional<std::uint32_t> SimulatorLink::ReceiveWord(std::chrono::milliseconds patience) {
  std::array<std::uint8_t, 4> bytes = {};
  if (!Receive(bytes, patience)) return std::nullopt;
  return LoadLittle<std::uint32_t>(bytes.data());
}

bool SimulatorLink::Pause(std::chrono::milliseconds duration) const {
  return platform::WaitForSockets({}, WaitLimit::After(duration, &wake_)).status != SocketStatus::Woken;
}

void SimulatorLink::FallSilent() {
  std::array<std::uint8_t, 1024> ignored = {};
  while (Receive(std::span(ignored).first(1))) {
  }
}

}  // namespace mv::simulator
