#include "json/ValueJson.h"

#include <bit>
#include <cmath>
#include <limits>
#include <variant>

#include "base/Error.h"
#include "base/NumberText.h"

namespace mv {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

void AppendHex(std::string& text, const Bytes& bytes) {
  text.reserve(text.size() + bytes.size() * 2);
  for (const std::uint8_t byte : bytes) {
    text += kHexDigits[byte >> 4];
    text += kHexDigits[byte & 0x0F];
  }
}

/// Appends the form of each type; returns whether JSON quotes it.
class Append {
 public:
  explicit Append(std::string& text) : text_(text) {}

  bool operator()(Null) const { return Bare("null"); }
  bool operator()(bool value) const { return Bare(value ? "true" : "false"); }
  bool operator()(std::uint8_t value) const { return Whole(value); }
  bool operator()(std::int16_t value) const { return Whole(value); }
  bool operator()(std::int32_t value) const { return Whole(value); }
  bool operator()(float value) const {
    if (!std::isfinite(value)) return Special(value, TextOfSingle(value), TextOfSingle(Usual<float>()));
    AppendSingleBits(text_, std::bit_cast<std::uint32_t>(value));
    return false;
  }
  bool operator()(double value) const {
    if (!std::isfinite(value)) return Special(value, TextOfDouble(value), TextOfDouble(Usual<double>()));
    AppendDoubleBits(text_, std::bit_cast<std::uint64_t>(value));
    return false;
  }
  bool operator()(Currency value) const { return Quoted(FixedTextOfCurrency(value.tenThousandths)); }
  bool operator()(Date value) const {
    try {
      return Quoted(PreciseIsoFromDate(value));
    } catch (const Error&) {
      // Damaged files hold dates outside the calendar; they are worth seeing too.
      return (*this)(value.days);
    }
  }
  bool operator()(const std::string& value) const { return Quoted(value); }
  bool operator()(const Bytes& value) const {
    AppendHex(text_, value);
    return true;
  }

 private:
  template <typename Float>
  static Float Usual() {
    return std::numeric_limits<Float>::quiet_NaN();
  }

  bool Bare(std::string_view form) const {
    text_ += form;
    return false;
  }
  bool Quoted(std::string_view form) const {
    text_ += form;
    return true;
  }
  bool Whole(std::int64_t value) const {
    AppendInteger(text_, value);
    return false;
  }
  template <typename Float>
  bool Special(Float value, const std::string& digits, const std::string& usualNotANumber) const {
    if (std::isinf(value)) return Quoted(value < 0 ? json_values::kMinusInfinity : json_values::kInfinity);
    return Quoted(digits == usualNotANumber ? json_values::kNotANumber : digits);
  }

  std::string& text_;
};

}  // namespace

bool AppendShownForm(std::string& text, const Value& value) {
  return std::visit(Append(text), value);
}

ShownValue ShownForm(const Value& value) {
  ShownValue shown;
  shown.quoted = AppendShownForm(shown.text, value);
  return shown;
}

void WriteJsonValue(JsonWriter& writer, const Value& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) {
    writer.Text(*text);
    return;
  }
  writer.Form([&](std::string& json) { return AppendShownForm(json, value); });
}

}  // namespace mv
