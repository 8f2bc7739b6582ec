#pragma once

#include <memory>
#include <sstream>
#include <string>

#include "mvtool/commands/Command.h"

namespace mv::tool {

/// The CSV file that a command was given, open for reading: the file at `path`, or standard input for "-".
class CsvFile {
 public:
  /// The file system's errors.
  CsvFile(ToolContext& context, const std::string& path);

  std::istream& Stream() { return content_ ? *content_ : input_; }
  /// What messages call it.
  const std::string& Name() const { return name_; }

 private:
  std::istream& input_;
  std::string name_;
  std::unique_ptr<std::istringstream> content_;
};

}  // namespace mv::tool
