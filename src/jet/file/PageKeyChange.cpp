#include "jet/file/PageKeyChange.h"

#include <algorithm>
#include <numeric>

#include "base/Error.h"
#include "jet/file/Committer.h"
#include "jet/file/DatabaseFile.h"
#include "jet/file/JetErrors.h"
#include "jet/file/PageKey.h"

namespace mv::jet {
namespace {

/// A page that every database has in use: the definition of its first system table.
constexpr PageNumber kDefinitionPage = 2;

std::unique_ptr<platform::File> OpenForWriting(platform::FileSystem& files, const std::string& path) {
  try {
    return OpenDatabaseFile(files, path, DatabaseAccess::Write);
  } catch (const Error& error) {
    throw JetErrorFor(error, path);
  }
}

}  // namespace

PageKeyChange::PageKeyChange(platform::FileSystem& files, const std::string& path)
    : files_(files), path_(path), file_(OpenForWriting(files, path)), header_(ReadHeader(path, *file_)) {
  CheckAccess(path_, header_);
  CheckKey();
}

Header PageKeyChange::ReadHeader(const std::string& path, platform::File& file) {
  Page start{};
  const std::size_t got = file.ReadAt(0, start);
  CheckFileKind(path, ByteView(start).first(got), file.Size());
  return Header::FromPage(start);
}

/// A key that is not that of the pages would scramble them, with a header that says they are plain.
void PageKeyChange::CheckKey() {
  Page page{};
  file_->ReadAt(std::uint64_t{kDefinitionPage} * kPageSize, page);
  ApplyPageKey(PresentKey(), kDefinitionPage, page);
  if (KindOf(page) == PageKind::Definition) return;
  throw DamagedFileError("page " + std::to_string(kDefinitionPage) + " is no definition with the page key of the file");
}

void PageKeyChange::Commit(std::uint32_t key) {
  const Header header = header_.WithPageKey(key);
  PagesToCommit pages;
  pages.count = static_cast<PageNumber>(file_->Size() / kPageSize);
  pages.changed.resize(pages.count);
  std::iota(pages.changed.begin(), pages.changed.end(), PageNumber{0});
  pages.read = [this, &header](PageNumber first, ByteSpan out) { ReadPages(first, out, header); };
  try {
    file_ = CommitOnce(files_, files_.RealPath(path_), file_, pages);
  } catch (const Error& error) {
    if (error.Number() == errors::kPathFileAccess) throw FolderNotWritableError(path_);
    throw;
  }
  header_ = header;
}

void PageKeyChange::ReadPages(PageNumber first, ByteSpan out, const Header& header) {
  if (file_->ReadAt(std::uint64_t{first} * kPageSize, out) != out.size()) {
    throw DamagedFileError("page " + std::to_string(first) + " cannot be read");
  }
  ApplyPageKey(PresentKey(), first, out);
  ApplyPageKey(header.PageKey(), first, out);
  if (first != 0) return;
  const Page page = header.ToPage();
  std::copy(page.begin(), page.end(), out.begin());
}

}  // namespace mv::jet
