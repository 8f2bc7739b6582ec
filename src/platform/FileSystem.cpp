#include "platform/FileSystem.h"

#include "base/Error.h"

namespace mv::platform {

void CopyContent(File& from, File& to) {
  Bytes piece(std::size_t{1} << 20);
  std::size_t count = piece.size();
  for (std::uint64_t offset = 0; count == piece.size(); offset += count) {
    count = from.ReadAt(offset, piece);
    to.WriteAt(offset, ByteView(piece).first(count));
  }
}

Bytes ReadWhole(FileSystem& files, const std::string& path) {
  const std::unique_ptr<File> file = files.Open(path, Access::Read, Disposition::OpenExisting, Sharing::All);
  Bytes content(static_cast<std::size_t>(file->Size()));
  content.resize(file->ReadAt(0, content));
  return content;
}

}  // namespace mv::platform
