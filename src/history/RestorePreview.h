#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "history/Change.h"
#include "history/Restore.h"
#include "history/RunRecord.h"

namespace mv::history {

/// What a restore would do to a table. The counts are of rows that come (added), change and go (deleted).
struct TablePreview {
  std::string table;
  SideCounts desktop;
  SideCounts handheld;
  std::int64_t flags = 0;          ///< records of the handheld that get other flags and keep their values
  std::vector<Change> changes;     ///< the desktop's first; `before` is today's row
  std::vector<std::string> notes;  ///< why a side cannot be compared
};

/// Compares what the plan brings with what there is today; changes nothing. All tables of the database, then those that
/// only the handheld has. What cannot be read today is no error, since a restore may be wanted for that very reason; it
/// is noted. Failure when the handheld does not answer.
std::vector<TablePreview> PreviewRestore(const RestoreContext& context, const RestorePlan& plan);

}  // namespace mv::history
