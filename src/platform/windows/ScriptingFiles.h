#pragma once

#include <optional>
#include <string>

namespace mv::platform {

/// Asks a new object of the class Scripting.FileSystemObject, which this system's scripts reach files through, whether
/// `native` is a file: its member FileExists, called by name. Nothing when the class is not registered or cannot be
/// used, as where an administrator has taken scripting away.
std::optional<bool> ScriptingFileExists(const std::wstring& native);

}  // namespace mv::platform
