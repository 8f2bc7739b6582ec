#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "jet/definition/TableDefinition.h"
#include "recordset/Recordset.h"

namespace mv::tool {

/// Positions of the columns that tell the rows of a table apart: for a table of the handheld the one by which runs
/// match rows, for any other those of the primary key. Nothing where there are none.
std::vector<std::size_t> KeyOf(const jet::TableDefinition& table);
/// The same of a table file, where only tables of the handheld have one.
std::vector<std::size_t> KeyOf(std::string_view table, std::span<const FieldDefinition> fields);

}  // namespace mv::tool
