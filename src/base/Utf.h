#pragma once

#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace mv {

/// Text inside the program is valid UTF-8. These convert at the edges; what is malformed (a stray byte, a lone
/// surrogate, a code point above U+10FFFF) becomes U+FFFD, so the result is always valid.

/// The next code point of `text` at byte `position`, which advances past it. Needs position < text.size().
char32_t NextCodePoint(std::string_view text, std::size_t& position);
/// Appends the UTF-8 form of one code point.
void AppendUtf8(std::string& text, char32_t codePoint);

std::u32string CodePointsFromUtf8(std::string_view text);
std::string Utf8FromCodePoints(std::u32string_view codePoints);
std::u16string Utf16FromUtf8(std::string_view text);
std::string Utf8FromUtf16(std::u16string_view units);
/// The same for UTF-16LE as files hold it; a byte too many at the end is left out.
std::string Utf8FromUtf16(ByteView littleEndian);
/// Bytes of unknown quality as valid UTF-8.
std::string ValidUtf8(std::string_view bytes);
/// True when `bytes` is well-formed UTF-8.
bool IsValidUtf8(std::string_view bytes);

/// The number of characters (code points).
std::size_t CharacterCount(std::string_view text);
/// `text` cut after `count` characters.
std::string FirstCharacters(std::string_view text, std::size_t count);

}  // namespace mv
