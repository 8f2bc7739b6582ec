#include "mvtool/commands/CsvFile.h"

#include <utility>

#include "base/Bytes.h"
#include "base/Error.h"

namespace mv::tool {

CsvFile::CsvFile(ToolContext& context, const std::string& path)
    : input_(context.in), name_(path == "-" ? "standard input" : path) {
  if (path == "-") return;
  try {
    const Bytes bytes = platform::ReadWhole(context.files, path);
    content_ = std::make_unique<std::istringstream>(std::string(bytes.begin(), bytes.end()));
  } catch (const Error& error) {
    throw At(path, error);
  }
}

}  // namespace mv::tool
