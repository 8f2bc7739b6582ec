#include "mvtool/commands/Overwriting.h"

#include "mvtool/files/ToolErrors.h"

namespace mv::tool {

void RequireReplaceable(const platform::FileSystem& files, const std::string& path, const Arguments& arguments) {
  if (arguments.Has(kForce)) return;
  if (!files.FileExists(path) && !files.FolderExists(path)) return;
  throw Failure("\"" + path + "\" exists; --force replaces it");
}

}  // namespace mv::tool
