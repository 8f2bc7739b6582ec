#include "mvtool/text/JsonLines.h"

#include <istream>

#include "mvtool/files/ToolErrors.h"

namespace mv::tool {

std::optional<Json> JsonLines::Next() {
  while (std::getline(in_, line_)) {
    ++number_;
    if (line_.find_first_not_of(" \t\r") != std::string::npos) return ParseJson(line_, number_);
  }
  if (in_.bad()) throw ToolError("standard input could not be read");
  return std::nullopt;
}

}  // namespace mv::tool
