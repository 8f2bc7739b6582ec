#pragma once

#include <string>
#include <string_view>

#include "mvtool/commands/Arguments.h"
#include "platform/FileSystem.h"

namespace mv::tool {

/// The option of every command that writes files.
inline constexpr std::string_view kForce = "--force";

/// Failure when something of that name exists and --force is not given.
void RequireReplaceable(const platform::FileSystem& files, const std::string& path, const Arguments& arguments);

}  // namespace mv::tool
