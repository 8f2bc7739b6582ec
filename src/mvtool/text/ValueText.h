#pragma once

#include <string>
#include <string_view>

#include "mvtool/text/Json.h"
#include "recordset/Value.h"

namespace mv::tool {

/// Field values as the program shows and reads them, the same in JSON and CSV:
///
///   null      null                                        CSV: nothing
///   Boolean   true, false
///   integers  digits
///   floats    shortest digits that read back the same; as text "NaN", "Infinity", "-Infinity"; a not-a-number with
///   other
///             bits than the usual ones as "nan:7ff8000000000001", so that nothing is lost
///   currency  text with four places: "12.5000"
///   date      text "2024-05-17T08:30:00"; a value that no calendar shows: the number of days since 1899-12-30
///   text      text (GUIDs and exact decimals too)         CSV: quoted when empty, to tell it from null
///   bytes     text of hex digits: "00ff"

void WriteJsonValue(JsonWriter& writer, const Value& value);
/// The value as a CSV field, quoted where RFC 4180 asks for it.
std::string CsvField(const Value& value);
/// `text` as a CSV field.
std::string CsvField(const std::string& text);

/// The column, or the field of a table file, that a value is read for.
struct ValueTarget {
  DataType type = DataType::Integer;
  std::string_view table = {};   ///< for messages
  std::string_view column = {};  ///< for messages
  unsigned precision = 0;        ///< Numeric: digits at most
  unsigned scale = 0;            ///< Numeric: how many of them are decimals
  bool toTheSecond = false;      ///< Date: holds no fractions of seconds
};

/// The value that `json` gives to a column: the inverse of the form above. Numbers stand for currency and decimals too,
/// and for a date as days. Floating-point columns take the nearest number there is, all others only what they hold
/// exactly. Throws ToolError with the place, the column and the value when it does not fit.
Value ValueFromJson(const ValueTarget& target, const Json& json);

}  // namespace mv::tool
