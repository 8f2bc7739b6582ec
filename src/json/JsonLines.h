#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

#include "json/Json.h"

namespace mv {

/// Reads the one value of a line into `value`, as ReadJson does; false for a blank line.
bool ReadJsonLine(std::string_view line, Json& value, std::size_t number);

/// JSON values from a stream, one on each line; blank lines are skipped. Keeps one line at a time, so that an input may
/// be of any length.
class JsonLines {
 public:
  /// The stream must outlive the reader.
  explicit JsonLines(std::istream& in) : in_(in) {}

  /// The next value, good until the next call; null at the end. Failure with line and column for a line that is not one
  /// JSON value, and when the stream cannot be read.
  const Json* Next();

  /// Number of the line that was read last, from 1.
  std::size_t Number() const { return number_; }

 private:
  std::istream& in_;
  std::string line_;
  Json value_;
  std::size_t number_ = 0;
};

}  // namespace mv
