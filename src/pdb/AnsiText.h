#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/Cp1252.h"
#include "base/Utf.h"

namespace mv {

/// The highest Windows-1252 value that zero-terminated text of table files holds in one byte; those above take two.
/// 127 would be right by UTF-8, but handhelds read a lone 80 as what it is in Windows-1252, the euro sign.
inline constexpr std::uint8_t kLastOneByteValue = 128;

/// The Windows-1252 value of the next character of `text` at byte `position`, which advances past it; "?" for a
/// character outside the code page. Needs position < text.size(). Inline, because it runs for each character of each
/// record.
inline std::uint8_t NextAnsiValue(std::string_view text, std::size_t& position) {
  const auto byte = static_cast<std::uint8_t>(text[position]);
  if (byte >= 0x80) return Cp1252FromCodePoint(NextCodePoint(text, position));
  ++position;
  return byte;
}

}  // namespace mv
