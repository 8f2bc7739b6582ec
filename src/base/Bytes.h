#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace mv {

/// Raw bytes that own their storage.
using Bytes = std::vector<std::uint8_t>;
/// Raw bytes that somebody else owns, to read.
using ByteView = std::span<const std::uint8_t>;
/// Raw bytes that somebody else owns, to fill.
using ByteSpan = std::span<std::uint8_t>;

}  // namespace mv
