#include "json/ValueJson.h"

#include <cmath>
#include <limits>
#include <utility>

#include "base/Error.h"
#include "base/NumberText.h"

namespace mv {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

ShownValue Bare(std::string text) {
  return {std::move(text), false};
}

std::string HexOf(const Bytes& bytes) {
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::uint8_t byte : bytes) {
    text += kHexDigits[byte >> 4];
    text += kHexDigits[byte & 0x0F];
  }
  return text;
}

template <typename Float>
ShownValue ShowFloat(Float value, std::string digits, const std::string& usualNotANumber) {
  if (std::isinf(value)) return {std::string(value < 0 ? json_values::kMinusInfinity : json_values::kInfinity)};
  if (std::isnan(value)) return {digits == usualNotANumber ? std::string(json_values::kNotANumber) : std::move(digits)};
  return Bare(std::move(digits));
}

struct Show {
  ShownValue operator()(Null) const { return Bare("null"); }
  ShownValue operator()(bool value) const { return Bare(value ? "true" : "false"); }
  ShownValue operator()(std::uint8_t value) const { return Bare(TextOfInteger(value)); }
  ShownValue operator()(std::int16_t value) const { return Bare(TextOfInteger(value)); }
  ShownValue operator()(std::int32_t value) const { return Bare(TextOfInteger(value)); }
  ShownValue operator()(float value) const {
    return ShowFloat(value, TextOfSingle(value), TextOfSingle(std::numeric_limits<float>::quiet_NaN()));
  }
  ShownValue operator()(double value) const {
    return ShowFloat(value, TextOfDouble(value), TextOfDouble(std::numeric_limits<double>::quiet_NaN()));
  }
  ShownValue operator()(Currency value) const { return {FixedTextOfCurrency(value.tenThousandths)}; }
  ShownValue operator()(Date value) const {
    try {
      return {PreciseIsoFromDate(value)};
    } catch (const Error&) {
      // Damaged files hold dates outside the calendar; they are worth seeing too.
      return (*this)(value.days);
    }
  }
  ShownValue operator()(const std::string& value) const { return {value}; }
  ShownValue operator()(const Bytes& value) const { return {HexOf(value)}; }
};

}  // namespace

ShownValue ShownForm(const Value& value) {
  return std::visit(Show{}, value);
}

void WriteJsonValue(JsonWriter& writer, const Value& value) {
  const ShownValue shown = ShownForm(value);
  if (shown.quoted) {
    writer.Text(shown.text);
  } else {
    writer.Number(shown.text);
  }
}

}  // namespace mv
