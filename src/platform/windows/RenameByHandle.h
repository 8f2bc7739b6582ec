#pragma once

#include <windows.h>

#include <string>

namespace mv::platform {

/// Renames an open file to the absolute path `to` of the same volume; `file` was opened with the right to delete it.
/// Returns 0 or the system's error code. Through ntdll, because Windows XP has no other way to rename an open file.
unsigned long RenameByHandle(HANDLE file, const std::wstring& to, bool replaces);

}  // namespace mv::platform
