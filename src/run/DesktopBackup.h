#pragma once

#include <functional>
#include <span>
#include <string>

#include "run/RunContext.h"
#include "sync/Tables.h"

namespace mv {

/// Prepares an Overwrite PC run: copies the desktop database to DesktopDBPath + ".presyncbackup.yyyymmdd-hhmmss", then
/// puts a copy of the template "_20" of the program's folder in its place. `tables`: those of
/// the run.
///
/// No backup is ever replaced: while a name is taken, the time in it goes on by a second. A backup may be read and
/// written by nobody who could not read and write the database. Each copy is whole or not there, and a copy left half
/// done never stands in the place of the database. Logs the backup line before the copy.
///
/// The template must be sound and have the tables of the run. Error 53 when the database or the template is missing, 70
/// when another program has the database open, and those of CheckTemplate; the database is then as it was.
/// `beforeTemplate`, with the backup's path, is called when all is ready and nothing but the last step is left; what it
/// raises leaves the database as it was. May be null.
void BackupDesktopDatabase(const RunContext& run, std::span<const SyncTable> tables,
                           const std::function<void(const std::string&)>& beforeTemplate = {});

/// Removes what killed runs left of unfinished backups.
void RemoveUnfinishedBackups(const RunContext& run);

}  // namespace mv
