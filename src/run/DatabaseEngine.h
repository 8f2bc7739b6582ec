#pragma once

#include <memory>

#include "platform/FileSystem.h"
#include "recordset/Connection.h"

namespace mv {

/// What opens the desktop database in this edition. Linux: our own engine. Windows: ADO with the provider that the
/// connection string names, and our own engine on a PC that lacks it. `files` must outlive it.
std::unique_ptr<DatabaseProvider> MakeDatabaseEngine(platform::FileSystem& files);

}  // namespace mv
