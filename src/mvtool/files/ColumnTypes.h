#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "jet/definition/TableDefinition.h"
#include "recordset/Value.h"

namespace mv::tool {

/// Type codes of the handheld's field definitions, as they stand in a table file.
enum class HandheldType : std::int32_t {
  Byte = 1,
  Integer = 2,  ///< 16-bit
  Long = 3,     ///< 32-bit
  Single = 4,
  Text = 5,
  Boolean = 6,
  Date = 7,
  Double = 8,
  Currency = 9,
};

/// The name a schema uses for a column type: "Text", "DateTime", ...
std::string_view NameOf(jet::ColumnType type);
/// The type of that name, case counts; nothing for an unknown name and for types that a new table cannot have.
std::optional<jet::ColumnType> ColumnTypeNamed(std::string_view name);

/// The kind of value that a column, or a handheld's field, holds.
DataType DataTypeOf(jet::ColumnType type);
DataType DataTypeOf(HandheldType type);
/// The type of a number from a table file; nothing for a number that has no meaning there.
std::optional<HandheldType> HandheldTypeNumbered(std::int64_t code);

/// What a handheld stores for a null: "", 0, false, its earliest date.
Value ZeroValueOf(HandheldType type);

/// The handheld's type for a column of the desktop; ToolError for a column that handhelds have no type for.
HandheldType HandheldTypeOf(jet::ColumnType type);

}  // namespace mv::tool
