#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "config/SettingsStore.h"

namespace mv {

/// The ways to a handheld.
enum class HandheldWay {
  Folder,   ///< a local folder stands for its root
  Library,  ///< the system's own remote API
  Network,
};

/// An address of this machine at which handhelds may call.
struct ListenAddress {
  std::array<std::uint8_t, 4> host = {};
  int prefixLength = 24;  ///< handhelds agree with it in so many bits

  friend bool operator==(const ListenAddress&, const ListenAddress&) = default;
};

/// TCP and UDP ports of a handheld on the network; 0 turns one of the first, second or last off.
struct HandheldPorts {
  std::uint16_t controlA = 5679;  ///< here: handhelds up to Windows CE 4 call
  std::uint16_t controlB = 990;   ///< here: later handhelds call
  std::uint16_t callsA = 990;     ///< on the handheld
  std::uint16_t wakeUpB = 5679;   ///< on the handheld, UDP

  friend bool operator==(const HandheldPorts&, const HandheldPorts&) = default;
};

/// The section "Handheld".
struct HandheldSettings {
  std::optional<HandheldWay> way;                      ///< "Connection"; nothing: what is there
  std::string root;                                    ///< "Root": the folder; empty: none
  std::vector<ListenAddress> listen;                   ///< "Listen"; empty: not set
  std::vector<std::array<std::uint8_t, 4>> handhelds;  ///< "Handhelds": to be called by datagram; empty: not set
  std::chrono::seconds wait{5};                        ///< "Wait": for a handheld to answer
  std::string passwordFile;                            ///< "PasswordFile"; empty: none
  HandheldPorts ports;                                 ///< "ControlPortA", "ControlPortB", "CallPortA", "WakeUpPortB"
  std::size_t blockSize = 65536;                       ///< "BlockSize": bytes of a file in one message

  friend bool operator==(const HandheldSettings&, const HandheldSettings&) = default;
};

/// What the settings dialog shows of the section, where it does.
struct HandheldPlace {
  std::string root;      ///< "Root"
  bool network = false;  ///< "Connection" is "network"; else a folder stands for the handheld

  friend bool operator==(const HandheldPlace&, const HandheldPlace&) = default;
};

/// Never raises: what makes no sense counts as not set.
HandheldPlace LoadHandheldPlace(SettingsStore& store);
/// Stores what differs from `before`, and nothing else of the section. Takes effect at the program's next start.
void SaveHandheldPlace(SettingsStore& store, const HandheldPlace& before, const HandheldPlace& place);

/// Reads the section. Failure, with the key and what it may hold, for a value that makes no sense.
HandheldSettings LoadHandheldSettings(SettingsStore& store);

}  // namespace mv
