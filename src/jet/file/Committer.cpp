#include "jet/file/Committer.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"

namespace mv::jet {
namespace {

/// Pages written in one piece: 1 MiB. A database that is no larger is written as a whole: it takes one write.
constexpr std::size_t kPiecePages = 256;

std::uint64_t FileOffset(PageNumber number) {
  return std::uint64_t{number} * kPageSize;
}

std::vector<PageNumber> AllPages(PageNumber count) {
  std::vector<PageNumber> all(count);
  for (PageNumber number = 0; number < count; ++number) all[number] = number;
  return all;
}

/// The pages of both, each once, that the database has.
std::vector<PageNumber> Together(const std::vector<PageNumber>& a, const std::vector<PageNumber>& b, PageNumber count) {
  std::vector<PageNumber> both;
  both.reserve(a.size() + b.size());
  std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(both));
  both.erase(std::lower_bound(both.begin(), both.end(), count), both.end());
  return both;
}

/// Writes these pages, a run of neighbours at a time.
void WritePages(platform::File& file, const std::vector<PageNumber>& numbers, const PageReader& read) {
  const std::size_t size = std::min(kPiecePages, numbers.size()) * kPageSize;
  const auto piece = std::make_unique_for_overwrite<std::uint8_t[]>(size);
  for (std::size_t at = 0; at < numbers.size();) {
    std::size_t count = 1;
    while (count < kPiecePages && at + count < numbers.size() && numbers[at + count] == numbers[at] + count) ++count;
    const ByteSpan bytes(piece.get(), count * kPageSize);
    read(numbers[at], bytes);
    file.WriteAt(FileOffset(numbers[at]), bytes);
    at += count;
  }
}

Page HeaderOf(platform::File& file) {
  Page header{};
  file.ReadAt(0, header);
  return header;
}

/// The second name that the old file has until the new one is in its place.
std::string LinkName(const std::string& path) {
  return path + ".spare";
}

}  // namespace

struct NewFile {
  std::unique_ptr<platform::StagedWrite> staged;
  bool sharesBlocks = false;                    ///< with the old one, whose content it then has
  platform::FileTrace trace;                    ///< of the old one before it was copied ahead
  std::unique_ptr<platform::ContentCopy> copy;  ///< of the old one's content, when that is under way
};

namespace {

NewFile Create(platform::FileSystem& files, const std::string& path, std::unique_ptr<platform::File>& current) {
  NewFile file{std::make_unique<platform::StagedWrite>(files, path, current), false, {}, nullptr};
  file.sharesBlocks = current && file.staged->Contents().ShareContentOf(*current);
  return file;
}

/// Into a file with the content of the database in its place.
void WriteChanges(platform::File& contents, const std::vector<PageNumber>& changed, const PagesToCommit& pages) {
  WritePages(contents, changed, pages.read);
  contents.Resize(FileOffset(pages.count));
}

bool HasContentOfOldFile(NewFile& file) {
  return file.copy ? file.copy->Finish() : file.sharesBlocks;
}

NewFile WriteWhole(platform::FileSystem& files, const std::string& path, std::unique_ptr<platform::File>& current,
                   const PagesToCommit& pages) {
  NewFile file = Create(files, path, current);
  platform::File& contents = file.staged->Contents();
  if (file.sharesBlocks) {
    WriteChanges(contents, pages.changed, pages);
  } else {
    WritePages(contents, AllPages(pages.count), pages.read);
  }
  return file;
}

}  // namespace

Committer::Committer(platform::FileSystem& files) : files_(files) {}

Committer::~Committer() {
  Rest();
}

std::unique_ptr<platform::File> CommitOnce(platform::FileSystem& files, const std::string& path,
                                           std::unique_ptr<platform::File>& current, const PagesToCommit& pages) {
  return WriteWhole(files, path, current, pages).staged->Finish();
}

void Committer::Adopt(const std::string& path) {
  if (left_ && path_ == path) return;
  Rest();
  path_ = path;
  RemoveLeftOvers();
}

void Committer::Changing(const std::string& path, std::unique_ptr<platform::File>& current) {
  const bool hasSpare = left_ && left_->spare;
  if (path != path_ || ahead_ || hasSpare || !current) return;
  try {
    if (!IsWorthCopying(current->Size())) return;
    platform::FileTrace trace = files_.TraceOf(path_);
    auto file = std::make_unique<NewFile>(Create(files_, path_, current));
    file->trace = std::move(trace);
    if (!file->sharesBlocks) file->copy = file->staged->Contents().BeginCopyOf(*current);
    if (file->sharesBlocks || file->copy) ahead_ = std::move(file);
  } catch (const Error&) {
    // The commit tries again, and tells what it meets.
  }
}

std::uint64_t Committer::FreeBytesBeside() const {
  return files_.FreeBytes(path_.substr(0, FolderLength(path_)));
}

/// A copy made before it is needed must not take the room of what is written before the commit.
bool Committer::IsWorthCopying(std::uint64_t bytes) const {
  return bytes > FileOffset(kPiecePages) && FreeBytesBeside() / 2 > bytes;
}

void Committer::Unchanged() {
  ahead_.reset();
}

/// Empty when nothing was copied ahead, or nothing that can be trusted.
NewFile Committer::WriteIntoCopy(const PagesToCommit& pages) {
  const auto ahead = std::exchange(ahead_, nullptr);
  try {
    if (!ahead || !HasContentOfOldFile(*ahead)) return {};
    const platform::FileTrace& then = ahead->trace;
    if (then.content.empty() || files_.TraceOf(path_) != then) return {};
    WriteChanges(ahead->staged->Contents(), pages.changed, pages);
    return std::move(*ahead);
  } catch (const Error&) {
    return {};  // writing all pages may still succeed
  }
}

std::unique_ptr<platform::File> Committer::Commit(const std::string& path, std::unique_ptr<platform::File>& current,
                                                  const PagesToCommit& pages) {
  if (path != path_) return CommitOnce(files_, path, current, pages);
  std::optional<Left> before = std::exchange(left_, std::nullopt);
  if (before && !IsAsLeft(*before, current.get())) before.reset();
  NewFile file;
  if (before && before->spare) file.staged = WriteIntoSpare(*before->spare, current, pages);
  if (!file.staged) file = WriteIntoCopy(pages);
  if (!file.staged) file = WriteWhole(files_, path, current, pages);

  Left now{{}, HeaderOf(file.staged->Contents()), std::nullopt};
  const bool isStamped = file.staged->Contents().StampTime();
  const bool isLinked = before && isStamped && !file.sharesBlocks && LinkOldFile(*before, pages);
  if (!isLinked) files_.NotNeededSoon(path);
  try {
    auto held = file.staged->Finish();
    now.trace = files_.TraceOf(path);
    if (isLinked) KeepOldFile(*before, now, pages.changed);
    if (isStamped) left_ = std::move(now);
    return held;
  } catch (...) {
    if (isLinked) RemoveQuietly(LinkName(path_));
    throw;
  }
}

bool Committer::IsAsLeft(const Left& left, platform::File* current) const {
  return current != nullptr && files_.TraceOf(path_) == left.trace && HeaderOf(*current) == left.header;
}

/// Null when the spare cannot be trusted or written to; it is then gone.
std::unique_ptr<platform::StagedWrite> Committer::WriteIntoSpare(const Spare& spare,
                                                                 std::unique_ptr<platform::File>& current,
                                                                 const PagesToCommit& pages) {
  try {
    auto staged = platform::StagedWrite::TakeOver(files_, path_, current);
    platform::File& contents = staged->Contents();
    const bool isTrusted = files_.TraceOf(files_.StagedName(path_)) == spare.trace &&
                           HeaderOf(contents) == spare.header && contents.IsOpenHereOnly();
    if (!isTrusted) return nullptr;
    WriteChanges(contents, Together(spare.differ, pages.changed, pages.count), pages);
    return staged;
  } catch (const Error&) {
    return nullptr;  // writing all pages into a new file may still succeed
  }
}

/// Gives the old file a name under which it outlives its replacement. False when it is not to be kept.
bool Committer::LinkOldFile(const Left& left, const PagesToCommit& pages) {
  if (pages.count <= kPiecePages || left.trace.names != 1) return false;
  if (FreeBytesBeside() < FileOffset(pages.count)) return false;
  try {
    files_.LinkFile(path_, LinkName(path_));
    return true;
  } catch (const Error&) {
    return false;  // a file system without second names
  }
}

void Committer::KeepOldFile(const Left& before, Left& now, const std::vector<PageNumber>& changed) {
  try {
    files_.RenameFile(LinkName(path_), files_.StagedName(path_));
  } catch (const Error&) {
    return RemoveQuietly(LinkName(path_));
  }
  const platform::FileTrace trace = files_.TraceOf(files_.StagedName(path_));
  if (trace.content == before.trace.content && trace.names == 1) {
    now.spare = Spare{trace, before.header, changed};
  } else {
    RemoveQuietly(files_.StagedName(path_));
  }
}

void Committer::Rest() {
  ahead_.reset();
  if (!path_.empty()) RemoveLeftOvers();
  left_.reset();
}

/// While the database is open a second name of it cannot be removed on Windows.
void Committer::RemoveLeftOvers() {
  RemoveQuietly(LinkName(path_));
  if (!files_.FileExists(files_.StagedName(path_))) return;
  try {
    auto held = files_.Open(files_.StagedName(path_), platform::Access::ReadWrite, platform::Disposition::OpenExisting,
                            platform::Sharing::None);
    files_.DiscardStaged(std::move(held), path_);
  } catch (const Error&) {
    // Another program is writing it at this moment.
  }
}

void Committer::RemoveQuietly(const std::string& path) {
  try {
    if (files_.FileExists(path)) files_.RemoveFile(path);
  } catch (const Error&) {
    // It means nothing, and the next commit removes it or says why it cannot.
  }
}

}  // namespace mv::jet
