#pragma once

#include <span>

#include "run/RunContext.h"
#include "sync/Tables.h"

namespace mv {

/// The run without a window: `tables`, usually eleven, in the mode of the run state, everything told in the sync log
/// only.
///
/// While another run of the database is going on it does nothing and writes no log (Stopped). Without a handheld it
/// writes three lines and ends (NoHandheld). Otherwise it writes the banner, backs the desktop database up in mode 2,
/// synchronises the tables, saves the time as "LastSync" and writes the end lines. They count thirteen tables although
/// a silent run has eleven, so they always report errors; the status returned does not.
///
/// Any error on the way is logged, ends the run and leaves "LastSync" as it was (Stopped). Raises only when the log
/// itself cannot be written; nothing more is synchronised then. A run that does not end with Success says so in one
/// line to the context's `tell`.
ExitStatus SilentSync(const RunContext& run, std::span<const SyncTable> tables = kSilentTables);

}  // namespace mv
