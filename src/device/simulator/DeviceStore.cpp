#include "device/simulator/DeviceStore.h"

#include <algorithm>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "device/simulator/DeviceErrors.h"

namespace mv::simulator {
namespace {

using platform::Access;
using platform::Disposition;
using platform::Sharing;

/// The first handle that is given out, and how far they lie apart.
constexpr std::uint32_t kFirstHandle = 0x1A2C0;
constexpr std::uint32_t kHandleStep = 0x10;

/// A handheld's whole store is smaller; beyond it a file meets a full disk.
constexpr std::uint64_t kLargestFile = 256 * 1024 * 1024;
/// Of one reply; the rest comes with the next read.
constexpr std::uint32_t kLargestRead = 1024 * 1024;
constexpr std::size_t kMostOpenFiles = 1000;
constexpr std::uint32_t kMarks = attributes::kReadOnly | attributes::kHidden | attributes::kSystem;

std::uint32_t CodeOf(const Error& error) {
  switch (error.Number()) {
    case errors::kFileNotFound:
      return device_errors::kFileNotFound;
    case errors::kPathNotFound:
      return device_errors::kPathNotFound;
    case errors::kPermissionDenied:
      return device_errors::kSharingViolation;
    case errors::kPathFileAccess:
      return device_errors::kAccessDenied;
    case errors::kDiskFull:
      return device_errors::kDiskFull;
    case errors::kFileAlreadyExists:
      return device_errors::kAlreadyExists;
    default:
      return device_errors::kGeneralFailure;
  }
}

bool MakesFiles(std::uint32_t disposition) {
  return disposition == OpenRequest::kCreateNew || disposition == OpenRequest::kCreateAlways ||
         disposition == OpenRequest::kOpenAlways;
}

bool EmptiesFiles(std::uint32_t disposition) {
  return disposition == OpenRequest::kCreateAlways || disposition == OpenRequest::kTruncateExisting;
}

}  // namespace

DeviceStore::DeviceStore(platform::FileSystem& files, const std::string& root)
    : files_(files), names_(files, root), nextHandle_(kFirstHandle) {
  if (!files_.FolderExists(names_.RootFolder())) throw StandardError(errors::kPathNotFound, root);
  realRoot_ = files_.RealPath(names_.RootFolder());
  while (realRoot_.size() > 1 && (realRoot_.ends_with('/') || realRoot_.ends_with('\\'))) realRoot_.pop_back();
  const auto documents = names_.LocalPath("\\My Documents");
  if (documents && !names_.Exists(*documents)) files_.CreateFolder(*documents);
}

template <typename Call>
std::uint32_t DeviceStore::Guarded(Call call) {
  const std::lock_guard lock(mutex_);
  try {
    return call();
  } catch (const Error& error) {
    return CodeOf(error);
  }
}

template <typename Call>
std::uint32_t DeviceStore::WithFile(FileNumber file, Call call) {
  return Guarded([&]() -> std::uint32_t {
    const auto found = open_.find(file);
    return found == open_.end() ? device_errors::kInvalidHandle : call(found->second);
  });
}

std::uint32_t DeviceStore::NextHandle() {
  const std::lock_guard lock(mutex_);
  return std::exchange(nextHandle_, nextHandle_ + kHandleStep);
}

// ---- Places

bool DeviceStore::IsInside(const std::string& localPath) const {
  const std::string real = files_.RealPath(localPath);
  if (!real.starts_with(realRoot_)) return false;
  return real.size() > realRoot_.size() &&
         (realRoot_.ends_with('/') || real[realRoot_.size()] == '/' || real[realRoot_.size()] == '\\');
}

bool DeviceStore::IsListed(const std::string& localPath) const {
  const std::size_t nameAt = FolderLength(localPath);
  const std::string folder = localPath.substr(0, nameAt);
  if (!files_.FolderExists(folder)) return false;
  const std::vector<std::string> names = files_.List(folder);
  return std::find(names.begin(), names.end(), localPath.substr(nameAt)) != names.end();
}

std::uint32_t DeviceStore::Locate(std::string_view path, std::string& local) const {
  const std::optional<std::string> found = names_.LocalPath(path);
  if (!found || !IsInside(*found)) return device_errors::kPathNotFound;
  if (!names_.Exists(*found) && IsListed(*found)) return device_errors::kAccessDenied;
  local = *found;
  return device_errors::kNone;
}

std::uint32_t DeviceStore::LocateFile(std::string_view path, std::string& local) const {
  if (const std::uint32_t error = Locate(path, local)) return error;
  if (files_.FolderExists(local)) return device_errors::kAccessDenied;
  return files_.FileExists(local) ? device_errors::kNone : device_errors::kFileNotFound;
}

bool DeviceStore::IsOpen(const std::string& local) const {
  return std::any_of(open_.begin(), open_.end(), [&](const auto& one) { return one.second.localPath == local; });
}

bool DeviceStore::IsReadOnly(const std::string& local) const {
  const auto marks = marks_.find(local);
  return marks != marks_.end() && (marks->second & attributes::kReadOnly) != 0;
}

// ---- Open files

std::uint32_t DeviceStore::CheckOpen(const std::string& local, const OpenRequest& request) const {
  if (request.disposition < OpenRequest::kCreateNew || request.disposition > OpenRequest::kTruncateExisting)
    return device_errors::kBadParameter;
  const bool writes = (request.access & OpenRequest::kWrite) != 0;
  if (EmptiesFiles(request.disposition) && !writes) return device_errors::kBadParameter;
  if (files_.FolderExists(local)) return device_errors::kAccessDenied;
  const bool isThere = files_.FileExists(local);
  if (!isThere) return MakesFiles(request.disposition) ? device_errors::kNone : device_errors::kFileNotFound;
  if (request.disposition == OpenRequest::kCreateNew) return device_errors::kFileExists;
  if (writes && IsReadOnly(local)) return device_errors::kAccessDenied;
  const bool isHeld = std::any_of(open_.begin(), open_.end(), [&](const auto& one) {
    return one.second.localPath == local && (writes || one.second.writes);
  });
  return isHeld ? device_errors::kSharingViolation : device_errors::kNone;
}

std::uint32_t DeviceStore::Open(std::string_view path, const OpenRequest& request, std::optional<FileNumber>& file) {
  file.reset();
  return Guarded([&]() -> std::uint32_t {
    std::string local;
    if (const std::uint32_t error = Locate(path, local)) return error;
    if (const std::uint32_t error = CheckOpen(local, request)) return error;
    if (open_.size() >= kMostOpenFiles) return device_errors::kTooManyOpenFiles;
    const bool isThere = files_.FileExists(local);
    OpenFile open;
    open.localPath = local;
    open.reads = (request.access & OpenRequest::kRead) != 0;
    open.writes = (request.access & OpenRequest::kWrite) != 0;
    const bool changes = open.writes || !isThere;
    open.file = files_.Open(local, changes ? Access::ReadWrite : Access::Read,
                            EmptiesFiles(request.disposition) ? Disposition::CreateAlways
                            : isThere                         ? Disposition::OpenExisting
                                                              : Disposition::OpenAlways,
                            Sharing::All);
    file = std::exchange(nextHandle_, nextHandle_ + kHandleStep);
    open_.emplace(*file, std::move(open));
    return isThere && MakesFiles(request.disposition) ? device_errors::kAlreadyExists : device_errors::kNone;
  });
}

std::uint32_t DeviceStore::Close(FileNumber file) {
  return Guarded(
      [&]() -> std::uint32_t { return open_.erase(file) == 1 ? device_errors::kNone : device_errors::kInvalidHandle; });
}

std::uint32_t DeviceStore::Size(FileNumber file, std::uint64_t& size) {
  return WithFile(file, [&](OpenFile& open) {
    size = open.file->Size();
    return device_errors::kNone;
  });
}

std::uint32_t DeviceStore::Read(FileNumber file, std::uint32_t count, Bytes& out) {
  out.clear();
  return WithFile(file, [&](OpenFile& open) {
    if (!open.reads) return device_errors::kAccessDenied;
    const std::uint64_t size = open.file->Size();
    const std::uint64_t rest = size - std::min(size, open.position);
    out.resize(static_cast<std::size_t>(std::min<std::uint64_t>(std::min(count, kLargestRead), rest)));
    out.resize(open.file->ReadAt(open.position, out));
    open.position += out.size();
    return device_errors::kNone;
  });
}

std::uint32_t DeviceStore::Write(FileNumber file, ByteView data) {
  return WithFile(file, [&](OpenFile& open) {
    if (!open.writes) return device_errors::kAccessDenied;
    if (open.position + data.size() > kLargestFile) return device_errors::kDiskFull;
    open.file->WriteAt(open.position, data);
    open.position += data.size();
    return device_errors::kNone;
  });
}

std::uint32_t DeviceStore::Seek(FileNumber file, std::int64_t distance, std::uint32_t method, std::uint64_t& position) {
  return WithFile(file, [&](OpenFile& open) {
    constexpr std::uint32_t kFromPosition = 1;
    constexpr std::uint32_t kFromEnd = 2;
    if (method > kFromEnd) return device_errors::kBadParameter;
    std::int64_t from = 0;
    if (method == kFromPosition) from = static_cast<std::int64_t>(open.position);
    if (method == kFromEnd) from = static_cast<std::int64_t>(open.file->Size());
    // Far behind what a file may hold, and far from where sums would overflow.
    constexpr std::int64_t kFarthest = std::int64_t{1} << 40;
    const std::int64_t wanted = std::min(from + std::clamp(distance, -kFarthest, kFarthest), kFarthest);
    if (wanted < 0) return device_errors::kNegativeSeek;
    open.position = static_cast<std::uint64_t>(wanted);
    position = open.position;
    return device_errors::kNone;
  });
}

std::uint32_t DeviceStore::EndHere(FileNumber file) {
  return WithFile(file, [&](OpenFile& open) {
    if (!open.writes) return device_errors::kAccessDenied;
    if (open.position > kLargestFile) return device_errors::kDiskFull;
    open.file->Resize(open.position);
    return device_errors::kNone;
  });
}

// ---- Names

StoreEntry DeviceStore::EntryOf(const FolderNames::Match& match) const {
  StoreEntry entry{match.name, attributes::kFolder, 0, files_.LastWriteTime(match.localPath)};
  if (!files_.FolderExists(match.localPath)) {
    entry.attributes = attributes::kArchive;
    entry.size = files_.FactsOf(match.localPath).bytes;
  }
  const auto marks = marks_.find(match.localPath);
  if (marks != marks_.end()) entry.attributes |= marks->second;
  return entry;
}

std::uint32_t DeviceStore::Find(std::string_view pattern, std::vector<StoreEntry>& entries) {
  entries.clear();
  return Guarded([&]() -> std::uint32_t {
    for (const FolderNames::Match& match : names_.Matches(pattern)) {
      if (IsInside(match.localPath)) entries.push_back(EntryOf(match));
    }
    std::sort(entries.begin(), entries.end(),
              [](const StoreEntry& left, const StoreEntry& right) { return left.name < right.name; });
    return entries.empty() ? device_errors::kNoMoreFiles : device_errors::kNone;
  });
}

std::uint32_t DeviceStore::Attributes(std::string_view path, std::uint32_t& value) {
  return Guarded([&]() -> std::uint32_t {
    if (!path.empty() && path.find_first_not_of("\\/") == path.npos) {
      value = attributes::kFolder;
      return device_errors::kNone;
    }
    std::string local;
    if (const std::uint32_t error = Locate(path, local)) return error;
    if (!names_.Exists(local)) return device_errors::kFileNotFound;
    value = EntryOf({"", local}).attributes;
    return device_errors::kNone;
  });
}

std::uint32_t DeviceStore::SetAttributes(std::string_view path, std::uint32_t value) {
  return Guarded([&]() -> std::uint32_t {
    std::string local;
    if (const std::uint32_t error = Locate(path, local)) return error;
    if (!names_.Exists(local)) return device_errors::kFileNotFound;
    marks_[local] = value & kMarks;
    return device_errors::kNone;
  });
}

std::uint32_t DeviceStore::Delete(std::string_view path) {
  return Guarded([&]() -> std::uint32_t {
    std::string local;
    if (const std::uint32_t error = LocateFile(path, local)) return error;
    if (IsOpen(local)) return device_errors::kSharingViolation;
    if (IsReadOnly(local)) return device_errors::kAccessDenied;
    files_.RemoveFile(local);
    marks_.erase(local);
    return device_errors::kNone;
  });
}

std::uint32_t DeviceStore::CreateFolder(std::string_view path) {
  return Guarded([&]() -> std::uint32_t {
    std::string local;
    if (const std::uint32_t error = Locate(path, local)) return error;
    return files_.CreateFolder(local) ? device_errors::kNone : device_errors::kAlreadyExists;
  });
}

std::uint32_t DeviceStore::RemoveFolder(std::string_view path) {
  return Guarded([&]() -> std::uint32_t {
    std::string local;
    if (const std::uint32_t error = Locate(path, local)) return error;
    if (!files_.FolderExists(local)) return device_errors::kFileNotFound;
    if (!files_.List(local).empty()) return device_errors::kFolderNotEmpty;
    files_.RemoveFolder(local);
    marks_.erase(local);
    return device_errors::kNone;
  });
}

std::uint32_t DeviceStore::Move(std::string_view from, std::string_view to) {
  return Guarded([&]() -> std::uint32_t {
    std::string source;
    std::string target;
    if (const std::uint32_t error = LocateFile(from, source)) return error;
    if (const std::uint32_t error = Locate(to, target)) return error;
    if (names_.Exists(target)) return device_errors::kAlreadyExists;
    if (IsOpen(source)) return device_errors::kSharingViolation;
    files_.RenameFile(source, target);
    marks_.erase(source);
    return device_errors::kNone;
  });
}

std::uint32_t DeviceStore::Copy(std::string_view from, std::string_view to, bool failIfExists) {
  return Guarded([&]() -> std::uint32_t {
    std::string source;
    std::string target;
    if (const std::uint32_t error = LocateFile(from, source)) return error;
    if (const std::uint32_t error = Locate(to, target)) return error;
    if (files_.FolderExists(target) || IsReadOnly(target)) return device_errors::kAccessDenied;
    if (failIfExists && files_.FileExists(target)) return device_errors::kFileExists;
    if (IsOpen(target)) return device_errors::kSharingViolation;
    files_.CopyWhole(source, target);
    return device_errors::kNone;
  });
}

}  // namespace mv::simulator
