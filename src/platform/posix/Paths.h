#pragma once

#include <string>

namespace mv::platform {

/// A path of the program as this system takes it: "\" becomes "/".
std::string NativePath(const std::string& path);

}  // namespace mv::platform
