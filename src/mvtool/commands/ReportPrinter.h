#pragma once

#include <ostream>
#include <span>
#include <vector>

#include "history/Change.h"
#include "history/RunRecord.h"

namespace mv::tool {

/// What a run did, or would do: first the rows that were lost, then a line a table, then all other rows. For people a
/// line each; with `json` an object each: the rows as changes.jsonl has them, the tables with their counts.
void PrintReport(const std::vector<history::Change>& changes, std::span<const history::TableRecord> tables, bool json,
                 std::ostream& out);

}  // namespace mv::tool
