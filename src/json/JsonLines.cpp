#include "json/JsonLines.h"

#include <istream>

#include "base/Error.h"

namespace mv {

const Json* JsonLines::Next() {
  while (std::getline(in_, line_)) {
    ++number_;
    if (line_.find_first_not_of(" \t\r") == std::string::npos) continue;
    ReadJson(line_, value_, number_);
    return &value_;
  }
  if (in_.bad()) throw Failure("standard input could not be read");
  return nullptr;
}

}  // namespace mv
