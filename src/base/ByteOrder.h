#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace mv {

/// Integers from and to bytes in a stated order; the host's own order does not matter. The caller has checked that
/// sizeof(T) bytes are there. On nearly every host each is one load or store, which compilers do not make of a loop
/// over bytes.

/// The bytes of `value` in reverse.
template <std::integral T>
constexpr T Reversed(T value) {
  auto bits = static_cast<std::make_unsigned_t<T>>(value);
  if constexpr (sizeof(T) == 2) {
    bits = static_cast<std::uint16_t>(bits >> 8 | bits << 8);
  } else if constexpr (sizeof(T) == 4) {
    bits = bits >> 16 | bits << 16;
    bits = (bits & 0xFF00FF00) >> 8 | (bits & 0x00FF00FF) << 8;
  } else if constexpr (sizeof(T) == 8) {
    bits = bits >> 32 | bits << 32;
    bits = (bits & 0xFFFF0000FFFF0000) >> 16 | (bits & 0x0000FFFF0000FFFF) << 16;
    bits = (bits & 0xFF00FF00FF00FF00) >> 8 | (bits & 0x00FF00FF00FF00FF) << 8;
  }
  return static_cast<T>(bits);
}

template <std::integral T>
constexpr T LoadLittle(const std::uint8_t* bytes) {
  if (!std::is_constant_evaluated() && std::endian::native == std::endian::little) {
    T loaded;
    std::memcpy(&loaded, bytes, sizeof loaded);
    return loaded;
  }
  std::uint64_t value = 0;
  for (std::size_t i = sizeof(T); i-- > 0;) value = value << 8 | bytes[i];
  return static_cast<T>(value);
}

template <std::integral T>
constexpr T LoadBig(const std::uint8_t* bytes) {
  return Reversed(LoadLittle<T>(bytes));
}

template <std::integral T>
constexpr void StoreLittle(std::uint8_t* bytes, T value) {
  if (!std::is_constant_evaluated() && std::endian::native == std::endian::little) {
    std::memcpy(bytes, &value, sizeof value);
    return;
  }
  using Unsigned = std::make_unsigned_t<T>;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[i] = static_cast<std::uint8_t>(static_cast<Unsigned>(value) >> (8 * i));
  }
}

template <std::integral T>
constexpr void StoreBig(std::uint8_t* bytes, T value) {
  StoreLittle(bytes, Reversed(value));
}

}  // namespace mv
