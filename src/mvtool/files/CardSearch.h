#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"

namespace mv::tool {

/// Looking for the handheld's folders and tables below a local folder that stands for its root. Handhelds do not tell
/// names apart by case; local systems may.

/// The local path of a folder of the handheld ("\Program Files\Motorva"); empty when it is not there.
std::string FolderInAnyCase(const platform::FileSystem& files, const std::string& root, std::string_view devicePath);

/// The folders below `root`, as paths on the handheld, that hold table files by their names, those with most tables
/// first, in alphabetical order where they have as many. Looks eight folders deep and into no more than ten thousand,
/// so that a link that leads back, or the wrong root, costs little.
std::vector<std::string> FindTableFolders(const platform::FileSystem& files, const std::string& root);

}  // namespace mv::tool
