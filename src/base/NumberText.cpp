#include "base/NumberText.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "base/Checked.h"
#include "base/Error.h"
#include "base/Text.h"

namespace mv {
namespace {

constexpr std::string_view kNotANumberMark = "nan:";
constexpr int kCurrencyPlaces = 4;
/// Exponents beyond this are the same as this one: no mantissa that fits into memory makes up for it.
constexpr std::int64_t kExponentLimit = 1'000'000'000'000;

/// A decimal number taken apart: sign, then the digits of `whole` and `fraction` in a row, then a power of ten.
struct Decimal {
  bool negative = false;
  std::string_view whole;
  std::string_view fraction;
  std::int64_t exponent = 0;
};

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view TakeDigits(std::string_view& text) {
  const auto end = std::find_if_not(text.begin(), text.end(), IsDigit);
  const std::string_view digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(digits.size());
  return digits;
}

bool TakeSign(std::string_view& text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  return negative;
}

/// The digits behind "e", with their sign; nothing when there are none.
std::optional<std::int64_t> TakeExponent(std::string_view& text) {
  const bool negative = TakeSign(text);
  const std::string_view digits = TakeDigits(text);
  if (digits.empty()) return std::nullopt;
  std::int64_t exponent = 0;
  for (const char digit : digits) exponent = std::min(exponent * 10 + (digit - '0'), kExponentLimit);
  return negative ? -exponent : exponent;
}

std::optional<Decimal> ScanDecimal(std::string_view text) {
  Decimal decimal;
  decimal.negative = TakeSign(text);
  decimal.whole = TakeDigits(text);
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    decimal.fraction = TakeDigits(text);
  }
  if (decimal.whole.empty() && decimal.fraction.empty()) return std::nullopt;
  if (text.starts_with('e') || text.starts_with('E')) {
    text.remove_prefix(1);
    const std::optional<std::int64_t> exponent = TakeExponent(text);
    if (!exponent) return std::nullopt;
    decimal.exponent = *exponent;
  }
  if (!text.empty()) return std::nullopt;
  return decimal;
}

Decimal RequireDecimal(std::string_view text) {
  const std::optional<Decimal> decimal = ScanDecimal(text);
  if (!decimal) throw StandardError(errors::kTypeMismatch);
  return *decimal;
}

/// True for a number whose first digit that counts stands behind the point.
bool IsBelowOne(const Decimal& decimal) {
  const auto wholeSize = static_cast<std::int64_t>(decimal.whole.size());
  const std::size_t inWhole = decimal.whole.find_first_not_of('0');
  if (inWhole != std::string_view::npos) {
    return wholeSize - static_cast<std::int64_t>(inWhole) + decimal.exponent <= 0;
  }
  const std::size_t inFraction = decimal.fraction.find_first_not_of('0');
  if (inFraction == std::string_view::npos) return true;
  return decimal.exponent - static_cast<std::int64_t>(inFraction) <= 0;
}

char DigitAt(const Decimal& decimal, std::size_t index) {
  const std::size_t wholeSize = decimal.whole.size();
  return index < wholeSize ? decimal.whole[index] : decimal.fraction[index - wholeSize];
}

void AppendDigit(std::uint64_t& magnitude, unsigned digit) {
  if (__builtin_mul_overflow(magnitude, std::uint64_t{10}, &magnitude) ||
      __builtin_add_overflow(magnitude, std::uint64_t{digit}, &magnitude)) {
    throw StandardError(errors::kOverflow);
  }
}

/// Whether the digits from `first` on, which are cut off, round the magnitude up (half to even).
bool RoundsUp(const Decimal& decimal, std::size_t first, std::uint64_t magnitude) {
  const std::size_t count = decimal.whole.size() + decimal.fraction.size();
  if (first >= count) return false;
  const char digit = DigitAt(decimal, first);
  if (digit != '5') return digit > '5';
  for (std::size_t i = first + 1; i < count; ++i) {
    if (DigitAt(decimal, i) != '0') return true;
  }
  return magnitude % 2 != 0;
}

/// The number times 10^places, rounded half to even, without its sign.
std::uint64_t ScaledMagnitude(const Decimal& decimal, int places) {
  const std::size_t count = decimal.whole.size() + decimal.fraction.size();
  const std::int64_t kept = static_cast<std::int64_t>(decimal.whole.size()) + decimal.exponent + places;
  if (kept < 0) return 0;
  std::uint64_t magnitude = 0;
  const auto fromDigits = static_cast<std::size_t>(std::min(kept, static_cast<std::int64_t>(count)));
  for (std::size_t i = 0; i < fromDigits; ++i) AppendDigit(magnitude, static_cast<unsigned>(DigitAt(decimal, i) - '0'));
  if (RoundsUp(decimal, fromDigits, magnitude)) magnitude = CheckedAdd(magnitude, std::uint64_t{1});
  for (auto i = static_cast<std::int64_t>(fromDigits); i < kept && magnitude != 0; ++i) AppendDigit(magnitude, 0);
  return magnitude;
}

std::int64_t WithSign(std::uint64_t magnitude, bool negative) {
  constexpr auto kHighest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (magnitude > kHighest + (negative ? 1u : 0u)) throw StandardError(errors::kOverflow);
  return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

std::int64_t RequireRange(std::int64_t value, std::int64_t lowest, std::int64_t highest) {
  if (value < lowest || value > highest) throw StandardError(errors::kOverflow);
  return value;
}

template <typename Number>
void AppendChars(std::string& text, Number value) {
  char buffer[32];  // the longest shortest form of a double has 24 characters
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  text.append(buffer, result.ptr);
}

/// What the bits of one IEEE 754 format mean.
template <typename Bits, typename Float, int kFractionBits>
struct FloatFormat {
  static constexpr Bits kSign = Bits{1} << (sizeof(Bits) * 8 - 1);
  static constexpr Bits kInfinity = (kSign - 1) ^ ((Bits{1} << kFractionBits) - 1);
  static constexpr std::size_t kHexDigits = sizeof(Bits) * 2;

  static bool IsNotANumber(Bits bits) { return (bits & ~kSign) > kInfinity; }

  static void Append(std::string& text, Bits bits) {
    if (!IsNotANumber(bits)) {
      AppendChars(text, std::bit_cast<Float>(bits));
      return;
    }
    text += kNotANumberMark;
    for (std::size_t i = kHexDigits; i-- > 0;) text += "0123456789abcdef"[bits >> (4 * i) & 0xF];
  }

  static Bits ParseNotANumber(std::string_view digits) {
    Bits bits = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), bits, 16);
    const bool whole = result.ec == std::errc() && result.ptr == digits.data() + digits.size();
    if (!whole || digits.size() != kHexDigits || !IsNotANumber(bits)) throw StandardError(errors::kTypeMismatch);
    return bits;
  }

  static Bits ParseDecimal(std::string_view text) {
    const Decimal decimal = RequireDecimal(text);
    if (text.front() == '+') text.remove_prefix(1);  // from_chars takes no plus sign
    Float value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc()) return std::bit_cast<Bits>(value);
    if (!IsBelowOne(decimal)) throw StandardError(errors::kOverflow);
    return decimal.negative ? kSign : Bits{0};
  }

  static Bits Parse(std::string_view text) {
    text = Trim(text);
    if (text.starts_with(kNotANumberMark)) return ParseNotANumber(text.substr(kNotANumberMark.size()));
    if (text == "inf") return kInfinity;
    if (text == "-inf") return kSign | kInfinity;
    return ParseDecimal(text);
  }
};

using DoubleFormat = FloatFormat<std::uint64_t, double, 52>;
using SingleFormat = FloatFormat<std::uint32_t, float, 23>;

/// The places of a currency amount, without trailing zeros from `fewest` places on.
void AppendPlaces(std::string& text, unsigned places, std::size_t fewest) {
  char digits[kCurrencyPlaces];
  for (std::size_t i = kCurrencyPlaces; i-- > 0; places /= 10) digits[i] = static_cast<char>('0' + places % 10);
  std::size_t count = kCurrencyPlaces;
  while (count > fewest && digits[count - 1] == '0') --count;
  if (count == 0) return;
  text += '.';
  text.append(digits, count);
}

void AppendCurrency(std::string& text, std::int64_t tenThousandths, std::size_t fewestPlaces) {
  constexpr std::uint64_t kScale = 10'000;
  const auto bits = static_cast<std::uint64_t>(tenThousandths);
  const std::uint64_t magnitude = tenThousandths < 0 ? 0 - bits : bits;
  if (tenThousandths < 0) text += '-';
  AppendChars(text, magnitude / kScale);
  AppendPlaces(text, static_cast<unsigned>(magnitude % kScale), fewestPlaces);
}

}  // namespace

std::string TextOfInteger(std::int64_t value) {
  std::string text;
  AppendInteger(text, value);
  return text;
}

std::string TextOfDouble(double value) {
  std::string text;
  AppendDoubleBits(text, std::bit_cast<std::uint64_t>(value));
  return text;
}

std::string TextOfSingle(float value) {
  std::string text;
  AppendSingleBits(text, std::bit_cast<std::uint32_t>(value));
  return text;
}

std::string TextOfCurrency(std::int64_t tenThousandths) {
  std::string text;
  AppendCurrency(text, tenThousandths);
  return text;
}

std::string FixedTextOfCurrency(std::int64_t tenThousandths) {
  std::string text;
  AppendCurrency(text, tenThousandths, kCurrencyPlaces);
  return text;
}

double ParseDouble(std::string_view text) {
  return std::bit_cast<double>(ParseDoubleBits(text));
}

float ParseSingle(std::string_view text) {
  return std::bit_cast<float>(ParseSingleBits(text));
}

std::int64_t ParseCurrency(std::string_view text) {
  const Decimal decimal = RequireDecimal(Trim(text));
  return WithSign(ScaledMagnitude(decimal, kCurrencyPlaces), decimal.negative);
}

std::int64_t DecimalPlaces(std::string_view text) {
  const Decimal decimal = RequireDecimal(Trim(text));
  const std::size_t wholeSize = decimal.whole.size();
  std::size_t count = wholeSize + decimal.fraction.size();
  while (count > 0 && DigitAt(decimal, count - 1) == '0') --count;
  if (count == 0) return 0;
  const std::int64_t places = static_cast<std::int64_t>(count) - static_cast<std::int64_t>(wholeSize);
  return std::max(places - decimal.exponent, std::int64_t{0});
}

std::int64_t ParseInteger(std::string_view text, std::int64_t lowest, std::int64_t highest) {
  text = Trim(text);
  const bool negative = TakeSign(text);
  const std::string_view digits = TakeDigits(text);
  if (digits.empty() || !text.empty()) throw StandardError(errors::kTypeMismatch);
  std::uint64_t magnitude = 0;
  for (const char digit : digits) AppendDigit(magnitude, static_cast<unsigned>(digit - '0'));
  return RequireRange(WithSign(magnitude, negative), lowest, highest);
}

std::int64_t ParseRounded(std::string_view text, std::int64_t lowest, std::int64_t highest) {
  text = Trim(text);
  if (text == "inf" || text == "-inf") throw StandardError(errors::kOverflow);
  const Decimal decimal = RequireDecimal(text);
  return RequireRange(WithSign(ScaledMagnitude(decimal, 0), decimal.negative), lowest, highest);
}

void AppendInteger(std::string& text, std::int64_t value) {
  AppendChars(text, value);
}

void AppendDoubleBits(std::string& text, std::uint64_t bits) {
  DoubleFormat::Append(text, bits);
}

void AppendSingleBits(std::string& text, std::uint32_t bits) {
  SingleFormat::Append(text, bits);
}

void AppendCurrency(std::string& text, std::int64_t tenThousandths) {
  AppendCurrency(text, tenThousandths, 0);
}

std::uint64_t ParseDoubleBits(std::string_view text) {
  return DoubleFormat::Parse(text);
}

std::uint32_t ParseSingleBits(std::string_view text) {
  return SingleFormat::Parse(text);
}

}  // namespace mv
