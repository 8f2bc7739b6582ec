#pragma once

#include <cstdint>

namespace mv::jet {

/// Text sort order of a column or a file.
struct SortOrder {
  std::uint16_t language = 0x0409;
  std::uint8_t id = 0;
  std::uint8_t version = 0;

  friend bool operator==(const SortOrder&, const SortOrder&) = default;
};

}  // namespace mv::jet
