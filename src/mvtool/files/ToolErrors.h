#pragma once

#include <string>

#include "base/Error.h"

namespace mv::tool {

/// The command line is not understood; exit status 2. Any other error is exit status 1.
inline constexpr std::int32_t kWrongUsage = 514;

Error UsageError(std::string description);

}  // namespace mv::tool
