#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "device/message/Commands.h"

namespace mv::wire {

class LineSource;

/// A network link on which handhelds may call. Only its own address is listened at, and only handhelds whose address
/// agrees with it in the first `prefixLength` bits are let in.
struct WireLink {
  std::array<std::uint8_t, 4> desktop = {};  ///< this machine's address on the link
  int prefixLength = 24;                     ///< 0 to 32
};

/// The machine itself, and the addresses that a desktop customarily has on the link of a handheld: over a serial line
/// or PPP, and as a USB network adapter. One that the machine does not have at the moment is tried again later.
inline std::vector<WireLink> CustomaryLinks() {
  return {{{127, 0, 0, 1}, 8}, {{192, 168, 131, 102}, 24}, {{169, 254, 2, 2}, 24}};
}

/// Here: nothing turns a family off, 0 takes a free port, which the status tells.
struct WirePorts {
  std::optional<std::uint16_t> controlA = ports::kControlA;  ///< TCP, here
  std::optional<std::uint16_t> controlB = ports::kControlB;  ///< TCP, here
  std::uint16_t callsA = ports::kCallsA;                     ///< TCP, on the handheld
  std::uint16_t wakeUpB = ports::kWakeUpB;                   ///< UDP, on the handheld
};

/// How long things may take.
struct WireTimes {
  std::chrono::milliseconds step{5000};     ///< for a handheld's next message while it announces itself
  std::chrono::milliseconds connect{5000};  ///< to open a connection for remote calls
  std::chrono::milliseconds reply{60000};   ///< for the whole reply to a remote call
  std::chrono::milliseconds pingA{5000};    ///< between two pings; the handheld leaves after 15 s of silence
  std::chrono::milliseconds pingB{30000};   ///< the same in family B
  int missedPings = 3;                      ///< so many pings in a row without answer, and the handheld is gone
  std::chrono::milliseconds settle{1000};   ///< after an accepted password, before the first remote call
  std::chrono::milliseconds wakeUpB{2000};  ///< between two datagrams that call a family B handheld
  std::chrono::milliseconds listen{2000};   ///< before an address that could not be listened at is tried again
};

/// Whether a password goes out with its NUL: makers of desktops disagreed, handhelds are said to take either.
enum class PasswordEnd { Nul, None };

struct WireOptions {
  std::vector<WireLink> links = CustomaryLinks();
  WirePorts ports;
  WireTimes times;
  /// Largest number of file bytes in one message, at least 1. A slow line wants less: at 19200 baud 8192.
  std::size_t blockSize = 65536;
  /// Where family B handhelds are called by datagram, each from the link that it belongs to; at first the customary
  /// place on a USB link. Handhelds that call by themselves need not be here.
  std::vector<std::array<std::uint8_t, 4>> handhelds = {{169, 254, 2, 1}};
  /// Asked for the device's password when the handheld is locked with one; nothing when none is known. Called on the
  /// caller's thread, from within WaitForSingleObject, once for each time that a handheld asks. A password that was
  /// refused is not sent a second time.
  std::function<std::optional<std::string>()> password = {};
  /// Empty: with the NUL in family A, without it in family B.
  std::optional<PasswordEnd> passwordEnd = {};
  /// Empty: by the system's version that the handheld announces. Whether systems after 5 keep to that is not known.
  std::optional<MessageVersion> messages = {};
  /// Asked, before this program listens itself, for another program that handhelds have called; null when there is
  /// none, and this one listens itself.
  std::function<std::unique_ptr<LineSource>()> findLines = {};
  /// Gets a line for each message: its direction, name and length; never a password, path or content. Called on either
  /// thread, never on both at once.
  std::function<void(const std::string& line)> log = {};
};

}  // namespace mv::wire
