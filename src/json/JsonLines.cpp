#include "json/JsonLines.h"

#include <istream>

#include "base/Error.h"

namespace mv {

std::optional<Json> JsonLines::Next() {
  while (std::getline(in_, line_)) {
    ++number_;
    if (line_.find_first_not_of(" \t\r") != std::string::npos) return ParseJson(line_, number_);
  }
  if (in_.bad()) throw Failure("standard input could not be read");
  return std::nullopt;
}

}  // namespace mv
