#pragma once

#include <cstdint>
#include <string_view>

#include "base/Bytes.h"
#include "device/wire/WireOptions.h"

namespace mv::wire {

/// A password as handhelds take it: its length in bytes (two bytes), then UTF-16 with each byte XORed with `key`.
Bytes EncodedPassword(std::string_view password, std::uint8_t key, PasswordEnd end);

}  // namespace mv::wire
