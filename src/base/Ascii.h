#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace mv {

/// Nearly all text is plain ASCII, and text is what most of a record is: these look at eight bytes at a time.

/// How many of the eight bytes that `word` was loaded from come before the first above 0x7F; 8 when none is.
inline std::size_t AsciiBytesIn(std::uint64_t word) {
  const std::uint64_t high = word & 0x8080808080808080;
  const int zeros = std::endian::native == std::endian::little ? std::countr_zero(high) : std::countl_zero(high);
  return static_cast<std::size_t>(zeros) / 8;
}

/// How many bytes below 0x80 `text` begins with.
inline std::size_t AsciiPrefix(std::string_view text) {
  std::size_t length = 0;
  std::uint64_t word = 0;
  for (; text.size() - length >= sizeof(word); length += sizeof(word)) {
    std::memcpy(&word, text.data() + length, sizeof(word));
    const std::size_t ascii = AsciiBytesIn(word);
    if (ascii != sizeof(word)) return length + ascii;
  }
  if (text.size() > sizeof(word)) {
    // The last eight bytes, some of which were looked at already.
    const std::size_t last = text.size() - sizeof(word);
    std::memcpy(&word, text.data() + last, sizeof(word));
    return last + AsciiBytesIn(word);
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
