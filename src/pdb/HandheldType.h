#pragma once

#include <cstdint>
#include <optional>

#include "recordset/Value.h"

namespace mv {

/// Types of the fields in a handheld's records, under the codes that stand in its table files. Multi-byte values are
/// big-endian. A file may hold any other code as well; such a field occupies nothing.
enum class HandheldType : std::int32_t {
  Byte = 1,      ///< one unsigned byte
  Integer = 2,   ///< 16-bit
  Long = 3,      ///< 32-bit
  Single = 4,    ///< IEEE 754 binary32
  Text = 5,      ///< zero-terminated
  Boolean = 6,   ///< one byte
  Date = 7,      ///< unsigned 32-bit seconds since kHandheldEpoch
  Double = 8,    ///< IEEE 754 binary64
  Currency = 9,  ///< 64-bit, ten-thousandths
};

/// How a true Boolean is written; any byte but 0 reads as true.
inline constexpr std::uint8_t kTrueByte = 255;

/// What a date field whose seconds are 0 holds: 1904-01-01 00:00 local time.
inline constexpr Date kHandheldEpoch{1462};

/// The code that stands in a table file.
constexpr std::int32_t CodeOf(HandheldType type) {
  return static_cast<std::int32_t>(type);
}
/// The type of a code; nothing for a code without a meaning.
std::optional<HandheldType> HandheldTypeNumbered(std::int64_t code);

/// Bytes of a field in a record whose texts are all empty: a text counts 1, its terminator. 0 for an unknown code.
std::int32_t FieldWidth(std::int32_t code);

/// The type of recordset field that a handheld's field is read into.
DataType DataTypeOf(HandheldType type);
/// The handheld's type for a recordset field; nothing for what handhelds have no type for.
std::optional<HandheldType> HandheldTypeOf(DataType type);

}  // namespace mv
