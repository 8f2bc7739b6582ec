#pragma once

#include <memory>
#include <string>

#include "platform/FileSystem.h"
#include "recordset/Connection.h"

namespace mv {

/// What opens the desktop database in this edition. Linux: our own engine. Windows: ADO with the provider that the
/// connection string names, and our own engine on a PC that lacks it. `files` must outlive it.
std::unique_ptr<DatabaseProvider> MakeDatabaseEngine(platform::FileSystem& files);

/// How the run asks for a database file.
inline std::string ConnectionStringFor(const std::string& database) {
  return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + database + ";";
}

}  // namespace mv
