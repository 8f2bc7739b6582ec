#include "jet/rows/Decimal.h"

#include <algorithm>
#include <charconv>

#include "base/Error.h"

namespace mv::jet {
namespace {

constexpr std::string_view kDigits = "0123456789";
/// No number of the format has more digits; also keeps exponents from making long texts.
constexpr std::ptrdiff_t kMostDigits = 40;

/// Cuts the leading digits off `text` and returns them.
std::string_view TakeDigits(std::string_view& text) {
  const std::size_t count = std::min(text.find_first_not_of(kDigits), text.size());
  const std::string_view digits = text.substr(0, count);
  text.remove_prefix(count);
  return digits;
}

bool TakeCharacter(std::string_view& text, std::string_view oneOf) {
  if (text.empty() || oneOf.find(text.front()) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

/// The number behind an "e" at the start of `text`, 0 when there is none. `text` must end there.
int TakeExponent(std::string_view& text) {
  if (!TakeCharacter(text, "eE")) return 0;
  TakeCharacter(text, "+");
  int exponent = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), exponent);
  if (code != std::errc()) throw StandardError(errors::kTypeMismatch);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return exponent;
}

/// Adds a digit at the end of the magnitude. Error 6 when it no longer fits.
void AppendDigit(Decimal& decimal, unsigned digit) {
  std::uint64_t carry = digit;
  for (std::size_t word = decimal.magnitude.size(); word-- > 0;) {
    carry += std::uint64_t{decimal.magnitude[word]} * 10;
    decimal.magnitude[word] = static_cast<std::uint32_t>(carry);
    carry >>= 32;
  }
  if (carry != 0) throw StandardError(errors::kOverflow);
}

/// Divides the magnitude by ten and returns the remainder.
unsigned TakeLastDigit(Decimal& decimal) {
  std::uint64_t remainder = 0;
  for (std::uint32_t& word : decimal.magnitude) {
    const std::uint64_t dividend = remainder << 32 | word;
    word = static_cast<std::uint32_t>(dividend / 10);
    remainder = dividend % 10;
  }
  return static_cast<unsigned>(remainder);
}

bool IsZero(const Decimal& decimal) {
  return std::all_of(decimal.magnitude.begin(), decimal.magnitude.end(), [](std::uint32_t word) { return word == 0; });
}

/// `digits` with their last ones cut or zeros added, so that they count units of the scale.
std::string ShiftedDigits(std::string digits, std::ptrdiff_t shift) {
  digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
  if (digits.empty()) return digits;
  const auto count = static_cast<std::ptrdiff_t>(digits.size());
  if (count + shift > kMostDigits) throw StandardError(errors::kOverflow);
  digits.resize(static_cast<std::size_t>(std::max<std::ptrdiff_t>(count + shift, 0)), '0');
  return digits;
}

}  // namespace

Decimal DecimalFromText(std::string_view text, unsigned precision, unsigned scale) {
  Decimal decimal;
  const bool negative = text.starts_with('-');
  TakeCharacter(text, "+-");
  const std::string_view whole = TakeDigits(text);
  const std::string_view decimals = TakeCharacter(text, ".") ? TakeDigits(text) : std::string_view();
  const int exponent = TakeExponent(text);
  if (!text.empty() || whole.size() + decimals.size() == 0) throw StandardError(errors::kTypeMismatch);

  const std::ptrdiff_t shift =
      std::ptrdiff_t{exponent} + static_cast<std::ptrdiff_t>(scale) - static_cast<std::ptrdiff_t>(decimals.size());
  const std::string digits = ShiftedDigits(std::string(whole) + std::string(decimals), shift);
  if (digits.size() > precision) throw StandardError(errors::kOverflow);
  for (const char digit : digits) AppendDigit(decimal, static_cast<unsigned>(digit - '0'));
  decimal.negative = negative && !IsZero(decimal);
  return decimal;
}

std::string TextOfDecimal(const Decimal& decimal, unsigned scale) {
  Decimal rest = decimal;
  std::string reversed;
  while (!IsZero(rest) || reversed.size() <= scale) reversed += static_cast<char>('0' + TakeLastDigit(rest));
  if (scale != 0) reversed.insert(scale, 1, '.');
  if (decimal.negative && !IsZero(decimal)) reversed += '-';
  return std::string(reversed.rbegin(), reversed.rend());
}

}  // namespace mv::jet
