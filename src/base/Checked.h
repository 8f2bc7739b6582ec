#pragma once

#include <concepts>
#include <limits>
#include <utility>

#include "base/Error.h"

namespace mv {

/// `value` as the integer type To, or Error 6 "Overflow" when it does not fit. For the 16- and 32-bit limits that are
/// part of a file format; everything else counts in std::size_t and std::int64_t.
template <std::integral To, std::integral From>
constexpr To CheckedCast(From value) {
  if (!std::in_range<To>(value)) throw StandardError(errors::kOverflow);
  return static_cast<To>(value);
}

/// left + right in type T, or Error 6 "Overflow".
template <std::integral T>
constexpr T CheckedAdd(T left, T right) {
  T sum{};
  if (__builtin_add_overflow(left, right, &sum)) throw StandardError(errors::kOverflow);
  return sum;
}

/// left - right in type T, or Error 6 "Overflow".
template <std::integral T>
constexpr T CheckedSubtract(T left, T right) {
  T difference{};
  if (__builtin_sub_overflow(left, right, &difference)) throw StandardError(errors::kOverflow);
  return difference;
}

/// left * right in type T, or Error 6 "Overflow".
template <std::integral T>
constexpr T CheckedMultiply(T left, T right) {
  T product{};
  if (__builtin_mul_overflow(left, right, &product)) throw StandardError(errors::kOverflow);
  return product;
}

}  // namespace mv
