#pragma once

#include <map>
#include <string>
#include <vector>

#include "jet/Database.h"
#include "mvtool/doctor/Diagnosis.h"
#include "platform/FileSystem.h"
#include "sync/Tables.h"

namespace mv::tool {

/// The desktop database as a file: there, of a version that runs can work with, sound, and nobody else's at the moment.
/// Opens it, and lets it go again; changes nothing.
Diagnoses DiagnoseDatabase(platform::FileSystem& files, const std::string& database);

/// One table of the database, all its rows: what would stop a run, and what the handheld would not give back as it
/// was. `onHandheld`: the names of the handheld's fields, to be held against the columns; null where they are not
/// known.
Diagnoses DiagnoseTable(jet::Database& database, const SyncTable& table, const std::vector<std::string>* onHandheld);

/// By name of table.
using HandheldFields = std::map<std::string, std::vector<std::string>>;

/// All thirteen. A table that is sound has no line of its own: one line sums up.
Diagnoses DiagnoseTables(platform::FileSystem& files, const std::string& database, const HandheldFields& onHandheld);

}  // namespace mv::tool
