#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace mv {

/// How text stands in a file: one byte a character in Windows-1252, or UTF-16, low byte first, behind the mark.
enum class FileEncoding { Ansi, Unicode };

inline constexpr std::array<std::uint8_t, 2> kUnicodeMark = {0xFF, 0xFE};

/// The text of a piece of a file, without its mark; an odd last byte of UTF-16 is dropped.
std::string TextFromFile(ByteView bytes, FileEncoding encoding);
/// The bytes of a piece of a file, without a mark.
Bytes BytesForFile(std::string_view text, FileEncoding encoding);

}  // namespace mv
