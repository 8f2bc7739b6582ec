#include "mvtool/files/ToolErrors.h"

#include <utility>

namespace mv::tool {

Error ToolError(std::string description) {
  return Error(kFailed, "mvtool", std::move(description));
}

Error UsageError(std::string description) {
  return Error(kWrongUsage, "mvtool", std::move(description));
}

Error At(const std::string& place, const Error& error) {
  return Error(error.Number(), error.Source(), place + ": " + error.Description());
}

}  // namespace mv::tool
