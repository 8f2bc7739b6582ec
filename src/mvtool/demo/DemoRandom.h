#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace mv::tool {

/// Pseudo-random numbers that are the same on every machine and with every library (SplitMix64), which the standard
/// library's distributions are not.
class DemoRandom {
 public:
  explicit DemoRandom(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15;
    std::uint64_t bits = state_;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EB;
    return bits ^ (bits >> 31);
  }

  /// A number from `lowest` to `highest`, both included. The slight favour for low numbers does no harm here.
  std::int64_t Between(std::int64_t lowest, std::int64_t highest) {
    return lowest + static_cast<std::int64_t>(Next() % static_cast<std::uint64_t>(highest - lowest + 1));
  }

  template <typename T, std::size_t size>
  const T& Pick(const std::array<T, size>& items) {
    return items[static_cast<std::size_t>(Next() % size)];
  }

 private:
  std::uint64_t state_;
};

}  // namespace mv::tool
