#pragma once

#include <optional>
#include <string>
#include <vector>

#include "device/wire/ControlProtocol.h"
#include "device/wire/WireOptions.h"
#include "platform/Socket.h"

namespace mv::wire {

/// True when a host is on a link: the first bits of its address are those of the desktop's.
bool IsOnLink(const WireLink& link, const platform::SocketAddress& host);

/// The addresses at which handhelds can call: each family's port on each link.
class Listeners {
 public:
  struct Place {
    WireLink link;
    Family family;
    platform::SocketAddress address;
    platform::TcpListener listener;
    platform::SocketStatus failure;  ///< why it is not open; at first TimedOut, which no attempt gives
    std::string problem;             ///< the same for people; empty when there is nothing to say
  };

  explicit Listeners(const WireOptions& options);

  /// Tries to open what is not open. True when something has changed.
  bool OpenMissing();
  bool AreAllOpen() const;
  std::vector<Place>& Places() { return places_; }
  const std::vector<Place>& Places() const { return places_; }

  /// Addresses that are open, with their ports.
  std::vector<platform::SocketAddress> Open(Family family) const;
  /// Some sentences for each that is not open, but for addresses that this machine does not have: their link is not up.
  std::vector<std::string> Problems() const;

 private:
  /// True when it is open now, or fails in another way than before.
  static bool Open(Place& place);
  void Add(const WireLink& link, Family family, std::optional<std::uint16_t> port);

  std::vector<Place> places_;
};

}  // namespace mv::wire
