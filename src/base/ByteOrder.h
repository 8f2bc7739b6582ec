#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace mv {

/// Integers from and to bytes in a stated order; the host's own order does not matter. The caller has checked that
/// sizeof(T) bytes are there.

template <std::integral T>
constexpr T LoadLittle(const std::uint8_t* bytes) {
  if (!std::is_constant_evaluated() && std::endian::native == std::endian::little) {
    T loaded;  // one load; compilers do not see through the loop below
    std::memcpy(&loaded, bytes, sizeof loaded);
    return loaded;
  }
  std::uint64_t value = 0;
  for (std::size_t i = sizeof(T); i-- > 0;) value = value << 8 | bytes[i];
  return static_cast<T>(value);
}

template <std::integral T>
constexpr T LoadBig(const std::uint8_t* bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) value = value << 8 | bytes[i];
  return static_cast<T>(value);
}

template <std::integral T>
constexpr void StoreLittle(std::uint8_t* bytes, T value) {
  using Unsigned = std::make_unsigned_t<T>;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[i] = static_cast<std::uint8_t>(static_cast<Unsigned>(value) >> (8 * i));
  }
}

template <std::integral T>
constexpr void StoreBig(std::uint8_t* bytes, T value) {
  using Unsigned = std::make_unsigned_t<T>;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[sizeof(T) - 1 - i] = static_cast<std::uint8_t>(static_cast<Unsigned>(value) >> (8 * i));
  }
}

}  // namespace mv
