#pragma once

#include <cstdint>

namespace mv {

/// Bits of a record's attributes, set by the handheld since the last run. The other bits are of no concern; they are
/// carried through.
inline constexpr std::uint8_t kRecordModified = 0x40;
inline constexpr std::uint8_t kRecordDeleted = 0x80;

}  // namespace mv
