#pragma once

#include <optional>
#include <string_view>

#include "jet/rows/ColumnValue.h"
#include "pdb/HandheldType.h"

namespace mv::tool {

/// The name a schema uses for a column type: "Text", "DateTime", ...
std::string_view NameOf(jet::ColumnType type);
/// The type of that name, case counts; nothing for an unknown name and for types that a new table cannot have.
std::optional<jet::ColumnType> ColumnTypeNamed(std::string_view name);

/// The handheld's type for a column of the desktop; Failure for a column that handhelds have no type for.
HandheldType HandheldTypeOf(jet::ColumnType type);

}  // namespace mv::tool
