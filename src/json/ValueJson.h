#pragma once

#include <string>
#include <string_view>

#include "json/Json.h"
#include "recordset/Value.h"

namespace mv {

/// Field values as JSON and CSV show them:
///
///   null      null
///   Boolean   true, false
///   integers  digits
///   floats    shortest digits that read back the same; as text "NaN", "Infinity", "-Infinity"; a not-a-number with
///             other bits than the usual ones as "nan:7ff8000000000001", so that nothing is lost
///   currency  text with four places: "12.5000"
///   date      text "2024-05-17T08:30:00", with as many decimals of a second as give the same value back; a value that
///             no such text gives: the number of days since 1899-12-30
///   text      text (GUIDs and exact decimals too)
///   bytes     text of hex digits: "00ff"
struct ShownValue {
  std::string text;
  bool quoted = true;  ///< whether JSON writes the text in quotes
};

ShownValue ShownForm(const Value& value);
/// Appends that text; returns whether JSON writes it in quotes.
bool AppendShownForm(std::string& text, const Value& value);
void WriteJsonValue(JsonWriter& writer, const Value& value);

/// What stands for the floating-point values without digits.
namespace json_values {
inline constexpr std::string_view kNotANumber = "NaN";
inline constexpr std::string_view kInfinity = "Infinity";
inline constexpr std::string_view kMinusInfinity = "-Infinity";
}  // namespace json_values

}  // namespace mv
