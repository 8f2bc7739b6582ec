#include "jet/file/CommitWholeFile.h"

#include <algorithm>

#include "platform/StagedWrite.h"

namespace mv::jet {
namespace {

/// Pages copied in one piece: 1 MiB.
constexpr std::size_t kPiecePages = 256;

}  // namespace

std::unique_ptr<platform::File> CommitWholeFile(platform::FileSystem& files, const std::string& path,
                                                std::unique_ptr<platform::File>& current, PageNumber pageCount,
                                                const PageReader& read) {
  platform::StagedWrite staged(files, path, current);
  Bytes piece(std::min<std::size_t>(kPiecePages, pageCount) * kPageSize);
  for (PageNumber first = 0; first < pageCount; first += kPiecePages) {
    const std::size_t count = std::min<std::size_t>(kPiecePages, pageCount - first);
    const ByteSpan bytes = ByteSpan(piece).first(count * kPageSize);
    read(first, bytes);
    staged.Contents().WriteAt(std::uint64_t{first} * kPageSize, bytes);
  }
  return staged.Finish();
}

}  // namespace mv::jet
