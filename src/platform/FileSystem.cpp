#include "platform/FileSystem.h"

#include "base/Error.h"

namespace mv::platform {

Bytes ReadWhole(FileSystem& files, const std::string& path) {
  const std::unique_ptr<File> file = files.Open(path, Access::Read, Disposition::OpenExisting, Sharing::All);
  Bytes content(static_cast<std::size_t>(file->Size()));
  content.resize(file->ReadAt(0, content));
  return content;
}

}  // namespace mv::platform
