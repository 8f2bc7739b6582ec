#pragma once

#include <windows.h>

/// Menus can be read by the program that owns them only. So the probe hooks the window's thread with a library, which
/// answers the message kAskMenu from inside with JSON in the section kSection: a list of items with text, id, enabled,
/// separator and, for a popup, items.
namespace mv::window {

inline constexpr const wchar_t* kAskMenu = L"windowprobe.menu";
inline constexpr const wchar_t* kSection = L"windowprobe.section";
inline constexpr DWORD kSectionSize = 16384;

}  // namespace mv::window
