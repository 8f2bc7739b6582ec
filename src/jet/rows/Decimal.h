#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace mv::jet {

/// An exact decimal number without its point: the value is magnitude / 10^scale, the scale being the column's.
struct Decimal {
  bool negative = false;
  /// 128 bits, most significant word first.
  std::array<std::uint32_t, 4> magnitude = {};

  friend bool operator==(const Decimal&, const Decimal&) = default;
};

/// Reads "-12.5", also "1.5e+3". Decimals beyond `scale` are cut, not rounded. Zero has no sign. Error 13 for a text
/// that is no number, error 6 when more than `precision` digits remain.
Decimal DecimalFromText(std::string_view text, unsigned precision, unsigned scale);
/// "-12.5000" for scale 4: always `scale` decimals and at least one digit before the point.
std::string TextOfDecimal(const Decimal& decimal, unsigned scale);

}  // namespace mv::jet
