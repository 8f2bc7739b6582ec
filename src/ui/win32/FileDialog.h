#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "ui/frmConfigView.h"

namespace mv::win32 {

/// Shows the system's dialog for opening or saving a file over `owner`; nothing when the user cancels it. The current
/// folder stays what it was, whatever folder the user looks into.
std::optional<std::string> AskFile(HWND owner, const FileQuestion& question);

}  // namespace mv::win32
