#pragma once

#include <optional>
#include <span>

#include "base/Error.h"
#include "run/RunContext.h"
#include "sync/Tables.h"

namespace mv {

/// Whether the run is done on a copy first. The settings stop a run for a mass loss, but this one could not stop in
/// time: an Overwrite PC has laid the template over the database before it sees what the handheld holds, and a database
/// that is written in place has each row at once.
bool NeedsRehearsal(const RunContext& run);

/// What keeps such a run from beginning, when it does that on a copy: a table that loses too much, and an Overwrite PC
/// that does not fill every table that it empties. Nothing when it may begin; other errors are left to the run itself.
std::optional<Error> ObjectionTo(RunMode mode, const PreviewResult& rehearsed);

/// Does the run on a copy where that is needed. Raises its objection, with nothing changed.
void RequireGoodRehearsal(const RunContext& run, std::span<const SyncTable> tables);

}  // namespace mv
