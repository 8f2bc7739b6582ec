#include "json/JsonLines.h"

#include <istream>

#include "base/Error.h"

namespace mv {

bool ReadJsonLine(std::string_view line, Json& value, std::size_t number) {
  if (line.find_first_not_of(" \t\r") == line.npos) return false;
  ReadJson(line, value, number);
  return true;
}

const Json* JsonLines::Next() {
  while (std::getline(in_, line_)) {
    ++number_;
    if (ReadJsonLine(line_, value_, number_)) return &value_;
  }
  if (in_.bad()) throw Failure("standard input could not be read");
  return nullptr;
}

}  // namespace mv
