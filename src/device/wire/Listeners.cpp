#include "device/wire/Listeners.h"

#include <algorithm>

#include "base/ByteOrder.h"
#include "platform/PortOwner.h"

namespace mv::wire {
namespace {

using platform::SocketResult;
using platform::SocketStatus;

const char* WhoCannotCall(Family family) {
  return family == Family::A ? "Handhelds up to Pocket PC 2003" : "Handhelds with Windows Mobile 5 or 6";
}

std::string ProblemOf(const Listeners::Place& place, const SocketResult& result) {
  if (result.IsDone() || result.status == SocketStatus::NoSuchAddress) return {};
  std::string text = std::string(WhoCannotCall(place.family)) + " cannot call at TCP " + place.address.Text() + ": " +
                     result.error + ".";
  if (result.status == SocketStatus::InUse) {
    const std::string owner = platform::PortOwner(place.address);
    text += " " + (owner.empty() ? std::string("Another program") : owner) +
            " listens there; end it, or reach the handheld through it.";
  }
  if (result.status == SocketStatus::NoRight) text += " " + platform::PortRightAdvice(place.address.port);
  return text;
}

}  // namespace

bool IsOnLink(const WireLink& link, const platform::SocketAddress& host) {
  const std::uint32_t differing =
      LoadBig<std::uint32_t>(link.desktop.data()) ^ LoadBig<std::uint32_t>(host.host.data());
  const int free = 32 - std::clamp(link.prefixLength, 0, 32);
  return (std::uint64_t{differing} >> free) == 0;
}

Listeners::Listeners(const WireOptions& options) {
  for (const WireLink& link : options.links) {
    Add(link, Family::A, options.ports.controlA);
    Add(link, Family::B, options.ports.controlB);
  }
}

void Listeners::Add(const WireLink& link, Family family, std::optional<std::uint16_t> port) {
  if (port) places_.push_back({link, family, {link.desktop, *port}, {}, SocketStatus::TimedOut, {}});
}

bool Listeners::Open(Place& place) {
  const SocketResult result = place.listener.Listen(place.address);
  if (result.status == place.failure) return false;
  place.failure = result.status;
  place.problem = ProblemOf(place, result);
  return true;
}

bool Listeners::OpenMissing() {
  bool isChanged = false;
  for (Place& place : places_) {
    if (!place.listener.IsOpen() && Open(place)) isChanged = true;
  }
  return isChanged;
}

bool Listeners::AreAllOpen() const {
  return std::all_of(places_.begin(), places_.end(), [](const Place& place) { return place.listener.IsOpen(); });
}

std::vector<platform::SocketAddress> Listeners::Open(Family family) const {
  std::vector<platform::SocketAddress> open;
  for (const Place& place : places_) {
    if (place.family == family && place.listener.IsOpen()) open.push_back(place.listener.LocalAddress());
  }
  return open;
}

std::vector<std::string> Listeners::Problems() const {
  std::vector<std::string> problems;
  for (const Place& place : places_) {
    if (!place.problem.empty()) problems.push_back(place.problem);
  }
  return problems;
}

}  // namespace mv::wire
