#pragma once

#include <string>
#include <string_view>

#include "json/Json.h"
#include "json/ValueJson.h"
#include "recordset/Value.h"

namespace mv::tool {

/// Appends the value as a CSV field in the form of ValueJson.h, quoted where RFC 4180 asks for it: nothing for null, ""
/// for an empty text.
void AppendCsvField(std::string& line, const Value& value);
/// Appends a text as a CSV field.
void AppendCsvText(std::string& line, std::string_view text);

/// The column, or the field of a table file, that a value is read for.
struct ValueTarget {
  DataType type = DataType::Integer;
  std::string_view table = {};   ///< for messages
  std::string_view column = {};  ///< for messages
  unsigned precision = 0;        ///< Numeric: digits at most
  unsigned scale = 0;            ///< Numeric: how many of them are decimals
  bool toTheSecond = false;      ///< Date: holds no fractions of seconds
};

/// The value that `json` gives to a column: the inverse of the form of ValueJson.h. Numbers stand for currency and
/// decimals too, and for a date as days. Floating-point columns take the nearest number there is, all others only what
/// they hold exactly. Throws Failure with the place, the column and the value when it does not fit.
Value ValueFromJson(const ValueTarget& target, const Json& json);
/// The same into `value`; the memory of the text it held is used again. After a failure it holds anything.
void ReadValue(const ValueTarget& target, const Json& json, Value& value);

}  // namespace mv::tool
