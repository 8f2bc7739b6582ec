#pragma once

#include <vector>

#include "jet/Database.h"
#include "sync/Tables.h"

namespace mv::tool {

inline constexpr std::size_t kSampleTableCount = kTables.size();

/// Position of the key column in every table.
inline constexpr std::size_t kKeyColumn = 0;

/// The tables of a run (kTables), in its order, as the demo data and the template database have them.
/// Columns stand in the order of the handheld's fields: the two sides are matched by position. Every table has one
/// index, its primary key.
std::vector<jet::TableSpec> SampleTables();

}  // namespace mv::tool
