#pragma once

#include <string>
#include <string_view>

namespace mv::platform {

/// UTF-8 as the system's wide calls take it.
std::wstring Wide(std::string_view text);
/// The inverse.
std::string Narrow(std::wstring_view text);
/// UTF-8 in the system's ANSI code page, for the few calls that are made in their ANSI form. What the code page lacks
/// becomes the system's best fit or "?". Files never go this way: their code page is base/Cp1252.h on every machine.
std::string Ansi(std::string_view text);
/// A path for the wide calls: "/" becomes "\".
std::wstring NativePath(const std::string& path);
/// The absolute form of a native path; the path itself when the system knows none.
std::wstring FullPath(const std::wstring& native);

}  // namespace mv::platform
