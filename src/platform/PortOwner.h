#pragma once

#include <cstdint>
#include <string>

#include "platform/Socket.h"

namespace mv::platform {

/// Who listens at a TCP port that this program could not have, as far as the system tells: "Process 123 (name)", less
/// when less is known, empty when nothing is.
std::string PortOwner(const SocketAddress& address);

/// What to do about a port that this user may not have: one or two sentences.
std::string PortRightAdvice(std::uint16_t port);

}  // namespace mv::platform
