#pragma once

#include <string>
#include <string_view>

namespace mv::platform {

/// UTF-8 as the system's wide calls take it.
std::wstring Wide(std::string_view text);
/// The inverse.
std::string Narrow(std::wstring_view text);
/// A path for the wide calls: "/" becomes "\".
std::wstring NativePath(const std::string& path);

}  // namespace mv::platform
