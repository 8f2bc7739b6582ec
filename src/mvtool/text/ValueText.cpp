#include "mvtool/text/ValueText.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Error.h"
#include "base/NumberText.h"
#include "jet/rows/Decimal.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

constexpr unsigned kCurrencyPlaces = 4;
constexpr std::string_view kHexDigits = "0123456789abcdef";

bool NeedsQuotes(char character) {
  // The comma is the last of them, and nearly all characters are above it.
  if (static_cast<unsigned char>(character) > ',') return false;
  return character == '"' || character == ',' || character == '\r' || character == '\n';
}

int HexDigit(char character) {
  const char lower = character >= 'A' && character <= 'F' ? static_cast<char>(character + 32) : character;
  const std::size_t digit = kHexDigits.find(lower);
  return digit == std::string_view::npos ? -1 : static_cast<int>(digit);
}

Bytes BytesFromJson(const Json& json) {
  const std::string& text = json.Text();
  if (text.size() % 2 != 0) json.Fail("hex digits in pairs are wanted here");
  Bytes bytes;
  bytes.reserve(text.size() / 2);
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = HexDigit(text[i]);
    const int low = HexDigit(text[i + 1]);
    if (high < 0 || low < 0) json.Fail("hex digits in pairs are wanted here");
    bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
  }
  return bytes;
}

/// The digits of a number, or the text that stands for one.
std::string NumberText(const Json& json) {
  if (const auto* number = json.As<JsonNumber>()) return number->text;
  const auto* const text = json.As<std::string>();
  if (text == nullptr) json.Fail("a number is wanted here");
  if (*text == json_values::kInfinity) return "inf";
  if (*text == json_values::kMinusInfinity) return "-inf";
  return *text;
}

/// The digits of a number that has no more decimals than `most`.
std::string ExactText(const Json& json, unsigned most) {
  std::string text = NumberText(json);
  if (DecimalPlaces(text) > most)
    json.Fail("a number with at most " + std::to_string(most) + " decimals is wanted here");
  return text;
}

/// The nearest number there is; but what is not zero does not become zero.
template <typename Float>
Float FloatFromJson(const Json& json, Float (*parse)(std::string_view)) {
  const std::string text = NumberText(json);
  if (text == json_values::kNotANumber) return std::numeric_limits<Float>::quiet_NaN();
  const Float value = parse(text);
  if (value == 0 && DecimalPlaces(text) > 0) throw StandardError(errors::kOverflow);
  return value;
}

std::string DecimalFromJson(const ValueTarget& target, const Json& json) {
  std::string text = ExactText(json, target.scale);
  jet::DecimalFromText(text, target.precision, target.scale);
  return text;
}

/// A second is rarely an exact number of days; a thousandth of it is more than digits of days are off.
bool IsWholeSecond(Date date) {
  constexpr double kSecondsPerDay = 86400;
  const double seconds = date.days * kSecondsPerDay;
  return std::fabs(seconds - std::round(seconds)) < 0.001;
}

Date DateFromDays(const Json& json) {
  return Date{FloatFromJson<double>(json, &ParseDouble)};
}

Date DateFromText(const Json& json) {
  const std::optional<Date> date = DateFromPreciseIso(json.Text());
  if (!date) json.Fail("a date such as \"2024-05-17T08:30:00\" is wanted here");
  return *date;
}

Date DateValueFromJson(const ValueTarget& target, const Json& json) {
  const Date date = json.As<JsonNumber>() != nullptr ? DateFromDays(json) : DateFromText(json);
  if (target.toTheSecond && !IsWholeSecond(date)) json.Fail("a date to the second is wanted here");
  return date;
}

template <typename Integer>
Integer IntegerFromJson(const Json& json) {
  return static_cast<Integer>(json.Integer(std::numeric_limits<Integer>::min(), std::numeric_limits<Integer>::max()));
}

void ConvertJson(const ValueTarget& target, const Json& json, Value& value) {
  switch (target.type) {
    case DataType::Boolean:
      value = json.Boolean();
      return;
    case DataType::UnsignedTinyInt:
      value = IntegerFromJson<std::uint8_t>(json);
      return;
    case DataType::SmallInt:
      value = IntegerFromJson<std::int16_t>(json);
      return;
    case DataType::Integer:
      value = IntegerFromJson<std::int32_t>(json);
      return;
    case DataType::Single:
      value = FloatFromJson<float>(json, &ParseSingle);
      return;
    case DataType::Double:
      value = FloatFromJson<double>(json, &ParseDouble);
      return;
    case DataType::Currency:
      value = Currency{ParseCurrency(ExactText(json, kCurrencyPlaces))};
      return;
    case DataType::Date:
    case DataType::DBDate:
    case DataType::DBTimeStamp:
      value = DateValueFromJson(target, json);
      return;
    case DataType::Numeric:
      value = DecimalFromJson(target, json);
      return;
    case DataType::Binary:
    case DataType::VarBinary:
    case DataType::LongVarBinary:
      value = BytesFromJson(json);
      return;
    case DataType::BStr:
    case DataType::Guid:
    case DataType::Char:
    case DataType::WChar:
    case DataType::VarWChar:
    case DataType::LongVarWChar:
      value = json.Text();
      return;
  }
  json.Fail("a field of this type cannot be given a value");
}

void ConvertOrSayWhy(const ValueTarget& target, const Json& json, Value& value) {
  try {
    ConvertJson(target, json, value);
  } catch (const Error& error) {
    if (error.Number() == errors::kTypeMismatch) json.Fail("a number is wanted here");
    if (error.Number() == errors::kOverflow) json.Fail("a number within the column's range is wanted here");
    throw;
  }
}

}  // namespace

void AppendCsvText(std::string& line, std::string_view text) {
  if (!text.empty() && std::none_of(text.begin(), text.end(), NeedsQuotes)) {
    line += text;
    return;
  }
  line += '"';
  for (const char character : text) {
    if (character == '"') line += '"';
    line += character;
  }
  line += '"';
}

void AppendCsvField(std::string& line, const Value& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) return AppendCsvText(line, *text);
  // No other form has a character that asks for quotes; of no bytes at all it is empty, which would be null.
  const std::size_t start = line.size();
  if (!IsNull(value)) AppendShownForm(line, value);
  if (line.size() == start && !IsNull(value)) line += "\"\"";
}

void ReadValue(const ValueTarget& target, const Json& json, Value& value) {
  if (json.IsNull()) {
    value = Null();
    return;
  }
  try {
    ConvertOrSayWhy(target, json, value);
  } catch (const Error& error) {
    throw Failure(error.Description() + ", not " + json.Shown() + ". Table '" + std::string(target.table) +
                  "', column '" + std::string(target.column) + "'.");
  }
}

Value ValueFromJson(const ValueTarget& target, const Json& json) {
  Value value;
  ReadValue(target, json, value);
  return value;
}

}  // namespace mv::tool
