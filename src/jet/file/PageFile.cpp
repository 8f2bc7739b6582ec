#include "jet/file/PageFile.h"
#include "jet/file/DatabaseFile.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/Error.h"
#include "jet/file/Header.h"
#include "jet/file/JetErrors.h"
#include "jet/file/PageKey.h"

namespace mv::jet {
namespace {

/// Pages fetched with one read when pages are met in ascending order.
constexpr std::size_t kReadAhead = 16;
/// Blocks for old contents that are kept from one statement to the next.
constexpr std::size_t kSpareBlocks = 64;

std::uint64_t FileOffset(PageNumber number) {
  return std::uint64_t{number} * kPageSize;
}

void CheckLength(const std::string& path, platform::File& file) {
  const std::uint64_t length = file.Size();
  const bool isWhole = length % kPageSize == 0 && length >= 2 * kPageSize;
  if (isWhole && length / kPageSize > PageFile::kMaxPages) {
    throw UnrecognizedFormatError(path, "The file is longer than 2 GiB.");
  }
  if (isWhole) return;
  // Files of older engines have smaller pages: what kind of file it is tells more than its length.
  Page start{};
  const std::size_t got = file.ReadAt(0, start);
  CheckFileKind(path, ByteView(start).first(got), length);
}

}  // namespace

PageFile::PageFile(Key, platform::FileSystem& files, const std::string& path, Mode mode,
                   std::shared_ptr<Committer> committer)
    : files_(files), committer_(std::move(committer)), path_(path), realPath_(files.RealPath(path)), mode_(mode) {}

PageFile::~PageFile() {
  if (committer_) committer_->Unchanged();
}

std::unique_ptr<PageFile> PageFile::Open(platform::FileSystem& files, const std::string& path, Mode mode,
                                         std::shared_ptr<Committer> committer) {
  auto pages = std::make_unique<PageFile>(Key(), files, path, mode, std::move(committer));
  if (pages->committer_) pages->committer_->Adopt(pages->realPath_);
  pages->file_ = pages->OpenFile();
  CheckLength(path, *pages->file_);
  pages->fileCount_ = static_cast<PageNumber>(pages->file_->Size() / kPageSize);
  pages->entries_.resize(pages->fileCount_);
  return pages;
}

std::unique_ptr<PageFile> PageFile::Create(platform::FileSystem& files, const std::string& path) {
  auto pages = std::make_unique<PageFile>(Key(), files, path, Mode::ReadWrite, nullptr);
  if (files.FileExists(pages->realPath_)) pages->file_ = pages->OpenFile();
  return pages;
}

std::unique_ptr<platform::File> PageFile::OpenFile() const {
  try {
    return OpenDatabaseFile(files_, realPath_, mode_ == Mode::ReadWrite ? DatabaseAccess::Write : DatabaseAccess::Read);
  } catch (const Error& error) {
    throw JetErrorFor(error, path_);
  }
}

/// How many pages from `number` on to fetch together: one, or a run when the page before it is in memory, because
/// scans go through pages in ascending order.
std::size_t PageFile::RunLength(PageNumber number) const {
  if (number == 0 || !entries_[number - 1].page) return 1;
  const std::size_t end = std::min<std::size_t>(fileCount_, number + kReadAhead);
  std::size_t next = number + 1;
  while (next < end && !entries_[next].page) ++next;
  return next - number;
}

const Page& PageFile::Load(PageNumber number) const {
  if (number >= entries_.size()) {
    throw DamagedFileError("page " + std::to_string(number) + " lies behind the end of the file");
  }
  if (!file_) throw FileInUseError(path_);
  std::array<std::uint8_t, kReadAhead * kPageSize> buffer;
  const std::size_t run = RunLength(number);
  const ByteSpan bytes = ByteSpan(buffer).first(run * kPageSize);
  if (file_->ReadAt(FileOffset(number), bytes) != bytes.size()) {
    throw DamagedFileError("page " + std::to_string(number) + " cannot be read");
  }
  ApplyPageKey(key_, number, bytes);
  for (std::size_t i = 0; i < run; ++i) {
    auto page = std::make_unique_for_overwrite<Page>();
    std::memcpy(page->data(), bytes.data() + i * kPageSize, kPageSize);
    entries_[number + i].page = std::move(page);
  }
  loadedSinceShrunk_ += run;
  return *entries_[number].page;
}

void PageFile::CheckMayWrite() const {
  if (mode_ == Mode::ReadOnly) throw StandardError(errors::kPermissionDenied);
}

Page& PageFile::MakeWritable(PageNumber number) {
  CheckMayWrite();
  Read(number);
  if (depth_ > 0 && number < countAtBegin_) KeepOldContent(number);
  Entry& entry = entries_[number];
  if (!entry.changed) CountChanged();
  entry.changed = true;
  entry.writableIn = writableNow_;
  return *entry.page;
}

PageNumber PageFile::Append() {
  CheckMayWrite();
  entries_.push_back({std::make_unique<Page>(), writableNow_, true});
  CountChanged();
  return PageCount() - 1;
}

void PageFile::CountChanged() {
  if (changedCount_++ == 0 && committer_) committer_->Changing(realPath_, file_);
}

void PageFile::KeepOldContent(PageNumber number) {
  if (beforeUsed_ == before_.size()) before_.push_back({0, false, std::make_unique_for_overwrite<Page>()});
  BeforeImage& image = before_[beforeUsed_++];
  image.number = number;
  image.changed = entries_[number].changed;
  *image.content = *entries_[number].page;
}

void PageFile::RestoreOldContents() {
  for (std::size_t i = 0; i < beforeUsed_; ++i) {
    Entry& entry = entries_[before_[i].number];
    *entry.page = *before_[i].content;
    entry.changed = before_[i].changed;
    if (!entry.changed) --changedCount_;
  }
  changedCount_ -= entries_.size() - countAtBegin_;
  entries_.resize(countAtBegin_);
  ++writableNow_;
  ++undone_;
  DropOldContents();
}

void PageFile::DropOldContents() {
  beforeUsed_ = 0;
  if (before_.size() > kSpareBlocks) before_.resize(kSpareBlocks);
}

void PageFile::Begin() {
  if (depth_++ > 0) return;
  doomed_ = false;
  countAtBegin_ = PageCount();
  ++writableNow_;
}

void PageFile::End() {
  if (depth_ == 0 || --depth_ > 0) return;  // 0: after a Discard in the midst of a statement
  if (doomed_) {
    RestoreOldContents();
    throw Error(errors::kJetGeneral, "PageFile", "A part of the change failed, so nothing was changed.");
  }
  DropOldContents();
}

void PageFile::Rollback() {
  if (depth_ == 0) return;
  doomed_ = true;
  if (--depth_ == 0) RestoreOldContents();
}

void PageFile::Commit() {
  if (depth_ > 0) throw Error(errors::kJetGeneral, "PageFile", "A change is still under way.");
  if (!Changed()) return;
  try {
    const PagesToCommit pages = ChangedPages();
    file_ = committer_ ? committer_->Commit(realPath_, file_, pages) : CommitOnce(files_, realPath_, file_, pages);
  } catch (const Error& error) {
    if (!file_) ReopenAfterFailure();
    if (error.Number() == errors::kPathFileAccess) throw FolderNotWritableError(path_);
    throw;
  }
  fileCount_ = PageCount();
  for (Entry& entry : entries_) entry.changed = false;
  changedCount_ = 0;
  ++writableNow_;
}

PagesToCommit PageFile::ChangedPages() {
  PagesToCommit pages;
  pages.count = PageCount();
  pages.changed.reserve(changedCount_);
  for (PageNumber number = 0; number < PageCount(); ++number) {
    if (entries_[number].changed) pages.changed.push_back(number);
  }
  pages.read = [this](PageNumber first, ByteSpan out) { ReadPages(first, out); };
  return pages;
}

void PageFile::ReadPages(PageNumber first, ByteSpan out) {
  ReadUnchanged(first, out);
  for (std::size_t i = 0; i < out.size() / kPageSize; ++i) {
    const Entry& entry = entries_[first + i];
    if (!entry.changed) continue;
    const ByteSpan page = out.subspan(i * kPageSize, kPageSize);
    std::memcpy(page.data(), entry.page->data(), kPageSize);
    ApplyPageKey(key_, first + static_cast<PageNumber>(i), page);
  }
}

/// Fills `out` with the bytes of the file from page `first` on, encoded or not, as far as it reaches; the rest is left
/// as it is. Reads nothing when every page of the piece has changed.
void PageFile::ReadUnchanged(PageNumber first, ByteSpan out) {
  const std::size_t count = first < fileCount_ ? std::min<std::size_t>(out.size() / kPageSize, fileCount_ - first) : 0;
  const auto isChanged = [](const Entry& entry) { return entry.changed; };
  const auto begin = entries_.begin() + first;
  if (std::all_of(begin, begin + static_cast<std::ptrdiff_t>(count), isChanged)) return;
  if (!file_) throw FileInUseError(path_);
  const std::size_t bytes = count * kPageSize;
  if (file_->ReadAt(FileOffset(first), out.first(bytes)) != bytes) {
    throw DamagedFileError("page " + std::to_string(first) + " cannot be read");
  }
}

/// Replacing gave the old file up. Takes hold of it again; when somebody else was faster every later use says that the
/// file is in use.
void PageFile::ReopenAfterFailure() {
  try {
    if (files_.FileExists(realPath_)) file_ = OpenFile();
  } catch (const Error&) {
    // The caller is about to see the error that made this necessary.
  }
}

void PageFile::Discard() {
  entries_.resize(fileCount_);
  for (Entry& entry : entries_) {
    if (entry.changed) entry = Entry();
  }
  changedCount_ = 0;
  depth_ = 0;
  DropOldContents();
  ++writableNow_;
  ++undone_;
}

void PageFile::ShrinkTo(std::size_t mostPages) {
  if (loadedSinceShrunk_ <= mostPages) return;
  for (Entry& entry : entries_) {
    if (!entry.changed) entry.page.reset();
  }
  loadedSinceShrunk_ = 0;
}

}  // namespace mv::jet
