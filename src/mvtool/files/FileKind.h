#pragma once

#include <string>

#include "platform/FileSystem.h"

namespace mv::tool {

enum class FileKind { Database, TableFile };

/// What the file at `path` is, by its content:
///
///   database    bytes 0 to 3 are 00 01 00 00, then "Standard Jet DB" or "Standard ACE DB"; whether the engine can read
///               this version of it is another question
///   table file  a 78-byte header and 8 bytes for each record that the header's last two bytes (big-endian) count
///
/// Failure when it is neither; the file system's errors, with the path, when it cannot be read.
FileKind KindOf(platform::FileSystem& files, const std::string& path);

}  // namespace mv::tool
