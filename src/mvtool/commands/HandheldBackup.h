#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "mvtool/commands/HandheldSession.h"
#include "platform/FileSystem.h"

namespace mv::tool {

/// What a backup did.
struct BackupResult {
  std::size_t files = 0;
  std::uint64_t bytes = 0;
  std::size_t failed = 0;
};

/// Copies all files below `devicePath` into the local folder, which is made when it is missing. Each file is there
/// whole or not at all. Names that no local file can have are written otherwise (SafeFileName). Each file is told on
/// `out`, one that could not be copied on `err`; the others are copied all the same. Files that exist are replaced.
BackupResult BackUpHandheld(HandheldSession& session, const std::string& devicePath, const std::string& folder,
                            platform::FileSystem& files, std::ostream& out, std::ostream& err);

}  // namespace mv::tool
