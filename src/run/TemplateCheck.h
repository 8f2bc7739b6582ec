#pragma once

#include <span>
#include <string>

#include "run/RunContext.h"
#include "sync/Tables.h"

namespace mv {

/// Raises when the template database at `path`, whose bytes are `content`, cannot serve a run over these tables: the
/// engine's errors for a damaged database and for a missing table, with the template's path. A template of another Jet
/// version is left to the engine that opens the desktop database, which knows it or does not.
void CheckTemplate(const RunContext& run, const std::string& path, ByteView content, std::span<const SyncTable> tables);

}  // namespace mv
