#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>

#include "base/ByteOrder.h"
#include "base/Bytes.h"

namespace mv::jet {

inline constexpr std::size_t kPageSize = 4096;

/// Pages count from 0, the header page. In files 0 stands for "none" wherever a page is named.
using PageNumber = std::uint32_t;

using Page = std::array<std::uint8_t, kPageSize>;

/// Address of a row: a data page and a slot on it. On disk 4 bytes, slot first, then the page as 3 bytes little-endian;
/// in index entries page first, 3 bytes big-endian, then the slot.
struct RowId {
  PageNumber page = 0;
  std::uint8_t slot = 0;

  friend auto operator<=>(const RowId&, const RowId&) = default;

  static constexpr RowId FromWord(std::uint32_t word) { return {word >> 8, static_cast<std::uint8_t>(word)}; }
  constexpr std::uint32_t Word() const { return page << 8 | slot; }
  constexpr bool IsNone() const { return page == 0 && slot == 0; }
};

/// First two bytes of a page, little-endian (a data page begins 01 01, a definition 02 01).
enum class PageKind : std::uint16_t {
  Header = 0x0100,
  Data = 0x0101,
  Definition = 0x0102,
  IndexNode = 0x0103,
  IndexLeaf = 0x0104,
  MapBits = 0x0105,
  FreedDefinition = 0x0108,
  FreedData = 0x0109,
};

/// The kind a page claims to be; freed pages may claim anything, see UsageMap.h.
inline PageKind KindOf(const Page& page) {
  return static_cast<PageKind>(LoadLittle<std::uint16_t>(page.data()));
}
inline void SetKind(Page& page, PageKind kind) {
  StoreLittle(page.data(), static_cast<std::uint16_t>(kind));
}

}  // namespace mv::jet
