#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace mv::jet {

/// A GUID's 16 bytes in the order in which they are printed. Rows keep the first three groups little-endian instead,
/// index keys this order.
using GuidBytes = std::array<std::uint8_t, 16>;

/// "{01234567-89AB-CDEF-0123-456789ABCDEF}". Takes lower-case digits too; error 13 for any other text.
GuidBytes GuidFromText(std::string_view text);
/// With upper-case digits.
std::string TextOfGuid(const GuidBytes& guid);

/// Exchanges printed order and the order in rows; its own inverse.
GuidBytes SwappedGroups(const GuidBytes& guid);

}  // namespace mv::jet
