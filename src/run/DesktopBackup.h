#pragma once

#include "run/RunContext.h"

namespace mv {

/// Prepares an Overwrite PC run: copies the desktop database to DesktopDBPath + ".presyncbackup.yyyymmdd-hhmmss", then
/// the template "_20" of the program's folder over it. Each copy is whole or not there, and a copy left half done never
/// stands in the place of the database. Logs the backup line before the first copy.
/// Error 53 when the database or the template is missing, 70 when another program has the database open; the database
/// is then as it was. A backup of the same second is replaced.
void BackupDesktopDatabase(const RunContext& run);

}  // namespace mv
