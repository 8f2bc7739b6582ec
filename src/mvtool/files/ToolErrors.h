#pragma once

#include <string>

#include "base/Error.h"

namespace mv::tool {

/// Numbers of the program's own errors, beside those that the engines raise.
inline constexpr std::int32_t kFailed = 513;      ///< an operation cannot be done; exit status 1
inline constexpr std::int32_t kWrongUsage = 514;  ///< the command line is not understood; exit status 2

Error ToolError(std::string description);
Error UsageError(std::string description);

/// `error` with the place where it happened in front of its description: "place: description". Number and source stay.
Error At(const std::string& place, const Error& error);

}  // namespace mv::tool
