#include "mvtool/files/ToolErrors.h"

#include <utility>

namespace mv::tool {

Error UsageError(std::string description) {
  return Error(kWrongUsage, "mvtool", std::move(description));
}

}  // namespace mv::tool
