#include "recordset/Conversions.h"

#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "base/Checked.h"
#include "base/Error.h"
#include "base/NumberText.h"
#include "base/Text.h"

namespace mv {
namespace {

constexpr double kTenThousand = 10000;
/// The smallest double that a 64-bit count cannot hold.
constexpr double kTwoTo63 = 9223372036854775808.0;
/// What a true Boolean is as a byte: all bits set, as in the wider integers.
constexpr std::uint8_t kTrueByte = 0xFF;

template <typename... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};
// Older compilers do not find this by themselves.
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

/// A number, date, Boolean or number text as a double. Exact for every integer field type.
double NumberOf(const Value& value) {
  return std::visit(Overloaded{
                        [](bool flag) { return flag ? -1.0 : 0.0; },
                        [](Currency amount) { return static_cast<double>(amount.tenThousandths) / kTenThousand; },
                        [](Date date) { return date.days; },
                        [](const std::string& text) { return ParseDouble(text); },
                        [](const Bytes&) -> double { throw StandardError(errors::kTypeMismatch); },
                        [](Null) -> double { throw StandardError(errors::kTypeMismatch); },
                        [](auto number) { return static_cast<double>(number); },
                    },
                    value);
}

/// Rounds halves to even.
template <typename Integer>
Integer IntegerOf(const Value& value) {
  const double rounded = std::nearbyint(NumberOf(value));
  using Limits = std::numeric_limits<Integer>;
  const bool fits = rounded >= Limits::min() && rounded <= Limits::max();
  if (!fits) throw StandardError(errors::kOverflow);
  return static_cast<Integer>(rounded);
}

std::uint8_t ByteOf(const Value& value) {
  if (const bool* flag = std::get_if<bool>(&value)) return *flag ? kTrueByte : 0;
  return IntegerOf<std::uint8_t>(value);
}

float SingleOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return ParseSingle(*text);
  const double number = NumberOf(value);
  const bool fits = !std::isfinite(number) || std::abs(number) <= std::numeric_limits<float>::max();
  if (!fits) throw StandardError(errors::kOverflow);
  return static_cast<float>(number);
}

Currency CurrencyOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return {ParseCurrency(*text)};
  const double tenThousandths = std::nearbyint(NumberOf(value) * kTenThousand);
  const bool fits = tenThousandths >= -kTwoTo63 && tenThousandths < kTwoTo63;
  if (!fits) throw StandardError(errors::kOverflow);
  return {static_cast<std::int64_t>(tenThousandths)};
}

Date DateOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    if (const std::optional<Date> date = DateFromIso(Trim(*text))) return *date;
  }
  return {NumberOf(value)};
}

bool BooleanOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    if (EqualsIgnoreAsciiCase(Trim(*text), "True")) return true;
    if (EqualsIgnoreAsciiCase(Trim(*text), "False")) return false;
  }
  return NumberOf(value) != 0;
}

Value TextFieldOf(Value value) {
  if (std::holds_alternative<std::string>(value)) return value;
  if (std::holds_alternative<Bytes>(value)) throw StandardError(errors::kTypeMismatch);
  return TextOf(value);
}

bool IsPlainDecimal(std::string_view text) {
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  const std::string_view fraction = point == text.npos ? std::string_view() : text.substr(point + 1);
  const std::string_view whole = text.substr(0, point);
  constexpr std::string_view kDigits = "0123456789";
  const bool isDigits =
      whole.find_first_not_of(kDigits) == whole.npos && fraction.find_first_not_of(kDigits) == whole.npos;
  return isDigits && !(whole.empty() && fraction.empty());
}

/// An exact decimal travels as its digits; other numbers take the text that reads back the same.
std::string DecimalTextOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    const std::string_view digits = Trim(*text);
    if (!IsPlainDecimal(digits)) throw StandardError(errors::kTypeMismatch);
    return std::string(digits);
  }
  if (const auto* amount = std::get_if<Currency>(&value)) return TextOfCurrency(amount->tenThousandths);
  return TextOfDouble(NumberOf(value));
}

Value BytesOf(Value value) {
  if (!std::holds_alternative<Bytes>(value)) throw StandardError(errors::kTypeMismatch);
  return value;
}

std::string TextOfDate(Date date) {
  try {
    return IsoFromDate(date);
  } catch (const Error&) {
    return TextOfDouble(date.days);  // outside the calendar; a key text must come out all the same
  }
}

std::string HexOf(const Bytes& bytes) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += kHexDigits[byte >> 4];
    text += kHexDigits[byte & 0xF];
  }
  return text;
}

}  // namespace

Value ConvertedTo(DataType type, Value value) {
  if (IsNull(value)) return value;
  switch (type) {
    case DataType::SmallInt:
      return IntegerOf<std::int16_t>(value);
    case DataType::Integer:
      return IntegerOf<std::int32_t>(value);
    case DataType::Single:
      return std::holds_alternative<float>(value) ? value : Value(SingleOf(value));
    case DataType::Double:
      return NumberOf(value);
    case DataType::Currency:
      return std::holds_alternative<Currency>(value) ? value : Value(CurrencyOf(value));
    case DataType::Date:
    case DataType::DBDate:
    case DataType::DBTimeStamp:
      return DateOf(value);
    case DataType::Boolean:
      return BooleanOf(value);
    case DataType::UnsignedTinyInt:
      return ByteOf(value);
    case DataType::BStr:
    case DataType::Guid:
    case DataType::Char:
    case DataType::WChar:
    case DataType::VarWChar:
    case DataType::LongVarWChar:
      return TextFieldOf(std::move(value));
    case DataType::Numeric:
      return DecimalTextOf(value);
    case DataType::Binary:
    case DataType::VarBinary:
    case DataType::LongVarBinary:
      return BytesOf(std::move(value));
  }
  throw StandardError(errors::kTypeMismatch);
}

std::string TextOf(const Value& value) {
  return std::visit(Overloaded{
                        [](Null) { return std::string(); },
                        [](bool flag) { return std::string(flag ? "True" : "False"); },
                        [](float number) { return TextOfSingle(number); },
                        [](double number) { return TextOfDouble(number); },
                        [](Currency amount) { return TextOfCurrency(amount.tenThousandths); },
                        [](Date date) { return TextOfDate(date); },
                        [](const std::string& text) { return text; },
                        [](const Bytes& bytes) { return HexOf(bytes); },
                        [](auto integer) { return TextOfInteger(integer); },
                    },
                    value);
}

}  // namespace mv
