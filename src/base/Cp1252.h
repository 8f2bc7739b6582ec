#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace mv {

/// Windows-1252, the program's ANSI code page at every edge: the log, the handheld's table files, registry text. The
/// five bytes without a character (81 8D 8F 90 9D) stand for the control characters of the same number, so every byte
/// survives a round trip.

/// The character of one byte.
char32_t CodePointFromCp1252(std::uint8_t byte);
/// The byte of one character; "?" for a character outside the code page (no best fit).
std::uint8_t Cp1252FromCodePoint(char32_t codePoint);

/// One byte a character; "?" for each character outside the code page.
std::string Cp1252FromUtf8(std::string_view text);
std::string Utf8FromCp1252(std::string_view bytes);
std::string Utf8FromCp1252(ByteView bytes);

}  // namespace mv
