#pragma once

#include <span>
#include <string>
#include <vector>

#include "run/RunContext.h"
#include "run/RunJournal.h"
#include "sync/Tables.h"

/// What the silent and the interactive run have in common.
namespace mv {

/// Lets pending window messages run once. Error 18 when the user has closed the window by then: a run may call this
/// wherever it can be stopped like by any other error, and nowhere else.
void Yield(const RunContext& run);

void LogLines(SyncLog& log, const std::vector<std::string>& lines);
/// The empty line that ends a run's log, and closes it.
void LogLastLine(SyncLog& log);

/// Error 75 when a path of the run - log, source, destination or handheld, of these tables - leads to the desktop
/// database, its template or a backup. To be asked before anything is opened.
void RequireSeparatePaths(const RunContext& run, std::span<const SyncTable> tables);
/// Backs the desktop database up and lays the template over it when the mode is Overwrite PC. `tables`: those of the
/// run.
void BackUpBeforeOverwritePc(const RunContext& run, RunJournal& journal, std::span<const SyncTable> tables);
/// Synchronises these tables in their order.
void SynchronizeTables(const RunContext& run, RunJournal& journal, std::span<const SyncTable> tables);

}  // namespace mv
