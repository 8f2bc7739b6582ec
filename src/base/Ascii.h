#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace mv {

/// Nearly all text is plain ASCII, and text is what most of a record is: these look at eight bytes at a time.

/// How many bytes below 0x80 `text` begins with.
inline std::size_t AsciiPrefix(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::size_t length = 0;
  std::uint64_t word = 0;
  for (; text.size() - length >= sizeof(word); length += sizeof(word)) {
    std::memcpy(&word, text.data() + length, sizeof(word));
    if ((word & kHighBits) != 0) break;
  }
  while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80) ++length;
  return length;
}

inline bool IsAscii(std::string_view text) {
  return AsciiPrefix(text) == text.size();
}

/// "A" to "Z" in eight ASCII bytes as "a" to "z".
inline std::uint64_t AsciiLowerWord(std::uint64_t word) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  // The high bit of each byte tells whether it is "A" or above, and whether it is above "Z".
  const std::uint64_t fromA = word + kEach * (0x80 - 'A');
  const std::uint64_t aboveZ = word + kEach * (0x7F - 'Z');
  return word | ((fromA ^ aboveZ) & kEach * 0x80) >> 2;
}

}  // namespace mv
