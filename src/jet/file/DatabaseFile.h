#pragma once

#include <memory>
#include <string>

#include "base/Error.h"
#include "platform/FileSystem.h"

namespace mv::jet {

enum class DatabaseAccess {
  Read,   ///< nobody may write the file meanwhile
  Write,  ///< nobody else may have it open
};

/// Opens an existing database file, a link's target too: the door that every reader and writer of databases goes
/// through.
///
/// The engine of the platform shows by byte locks on a lock file beside the database (NAME.ldb) that it has the
/// database open; such locks make the file "in use". A lock file without locks was left behind by a crash and is no
/// reason to refuse.
///
/// Raises the file system's errors: 53 or 76 for a missing file, 70 for one in use, 75 without the right to it.
std::unique_ptr<platform::File> OpenDatabaseFile(platform::FileSystem& files, const std::string& path,
                                                 DatabaseAccess access);

/// What the engine says for an error of OpenDatabaseFile on `path`.
Error JetErrorFor(const Error& error, const std::string& path);

}  // namespace mv::jet
