#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "jet/Database.h"
#include "recordset/Value.h"

namespace mv::tool {

/// Made-up vehicle records. A row depends on its table and its number alone, never on other rows, so that tables can be
/// made in any order and size and still refer to each other's keys.

/// Row `number` (from 0) of the sample table at position `table` of SampleTables(); its key differs from those of all
/// other numbers also without regard to case and holds no quote. No value is null.
std::vector<Value> DemoRow(std::size_t table, std::size_t number);

/// The row as somebody edited it: one or two columns differ from `row`, never the key; which ones depends on `number`.
std::vector<Value> EditedRow(const jet::TableSpec& table, std::vector<Value> row, std::size_t number);

}  // namespace mv::tool
