#include "device/FolderRapi.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "base/Text.h"
#include "device/DevicePattern.h"

namespace mv {
namespace {

using platform::Access;
using platform::Disposition;
using platform::Sharing;

/// E_FAIL: what a transport that has lost its device answers.
constexpr std::int32_t kTransportFailed = static_cast<std::int32_t>(0x80004005);

/// Blanks and dots at a name's end are dropped by some systems, so ".. " may mean ".." and "a." may mean "a".
bool IsPlainName(std::string_view name) {
  constexpr std::string_view kForbidden("<>:\"|?*\0", 8);
  const bool endsOddly = name.ends_with('.') || name.ends_with(' ');
  return !name.empty() && !endsOddly && name.find_first_of(kForbidden) == name.npos;
}

constexpr std::string_view kSeparators = "\\/";

/// The names between the separators of a device path; nothing when one of them is no plain name or there is none.
std::vector<std::string> SegmentsOf(std::string_view path) {
  std::vector<std::string> segments;
  for (std::size_t start = path.find_first_not_of(kSeparators); start != path.npos;) {
    const std::size_t end = std::min(path.find_first_of(kSeparators, start), path.size());
    const std::string_view name = path.substr(start, end - start);
    if (!IsPlainName(name)) return {};
    segments.emplace_back(name);
    start = path.find_first_not_of(kSeparators, end);
  }
  return segments;
}

std::string WithoutSeparatorsAtEnd(std::string_view path) {
  const std::size_t last = path.find_last_not_of("\\/");
  return std::string(path.substr(0, last == path.npos ? 0 : last + 1));
}

}  // namespace

FolderRapi::FolderRapi(platform::FileSystem& files, const std::string& root)
    : files_(files), prefix_(WithoutSeparatorsAtEnd(root)) {}

template <typename Result, typename Call>
Result FolderRapi::Report(Result failure, Call call) {
  rapiError_ = 0;
  try {
    if (connected_) return call();
  } catch (const Error&) {
    // Callers of the remote API learn of failures by result and error code only.
  }
  rapiError_ = connected_ && IsUsable() ? 0 : kTransportFailed;
  return failure;
}

std::string FolderRapi::RootFolder() const {
  return prefix_ + '\\';
}

bool FolderRapi::IsUsable() const {
  try {
    return files_.FolderExists(RootFolder()) && files_.RealPath(RootFolder()) != files_.RealPath("\\");
  } catch (const Error&) {
    return false;  // a folder that cannot be looked at is as good as gone
  }
}

std::int32_t FolderRapi::CeRapiInitEx(RAPIINIT& init) {
  connected_ = IsUsable();
  rapiError_ = connected_ ? 0 : kTransportFailed;
  init.heRapiInit = nextHandle_++;
  init.hrRapiInit = rapiError_;
  return rapiError_;
}

std::int32_t FolderRapi::CeRapiUninit() {
  openFiles_.clear();
  findHandles_.clear();
  connected_ = false;
  rapiError_ = 0;
  return 0;
}

std::uint32_t FolderRapi::WaitForSingleObject(RapiHandle, std::uint32_t) {
  return rapi::kWaitSignalled;
}

bool FolderRapi::Exists(const std::string& localPath) const {
  return files_.FileExists(localPath) || files_.FolderExists(localPath);
}

std::optional<std::string> FolderRapi::EntryName(const std::string& folder, const std::string& name) const {
  const std::string exact = JoinPath(folder, name);
  if (Exists(exact)) return name;
  std::optional<std::string> match;
  for (const std::string& entry : files_.List(folder + '\\')) {
    if (FoldCase(entry) != FoldCase(name)) continue;
    if (!match || entry < *match) match = entry;  // the listing has no order, the answer must have one
  }
  return match;
}

std::optional<std::string> FolderRapi::LocalPath(const std::string& devicePath) const {
  std::vector<std::string> segments = SegmentsOf(devicePath);
  if (segments.empty()) return std::nullopt;
  const std::string last = std::move(segments.back());
  segments.pop_back();
  const std::optional<std::string> folder = LocalFolder(segments);
  if (!folder) return std::nullopt;
  return JoinPath(*folder, EntryName(*folder, last).value_or(last));
}

std::optional<std::string> FolderRapi::LocalFolder(const std::vector<std::string>& names) const {
  std::string folder = prefix_;
  for (const std::string& name : names) {
    const std::optional<std::string> entry = EntryName(folder, name);
    if (!entry) return std::nullopt;
    folder = JoinPath(folder, *entry);
  }
  return folder;
}

std::optional<std::string> FolderRapi::LocalFile(const std::string& devicePath) const {
  try {
    return LocalPath(devicePath);
  } catch (const Error&) {
    return std::nullopt;
  }
}

RapiHandle FolderRapi::CeFindFirstFile(const std::string& path) {
  return Report(kInvalidRapiHandle, [&] {
    const std::optional<std::string> local = LocalPath(path);
    if (!local || !Exists(*local)) throw StandardError(errors::kFileNotFound);
    return *findHandles_.insert(nextHandle_++).first;
  });
}

RapiHandle FolderRapi::CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t, std::uint32_t,
                                    std::uint32_t disposition, std::uint32_t) {
  return Report(kInvalidRapiHandle, [&] {
    const std::optional<std::string> local = LocalPath(path);
    if (!local) throw StandardError(errors::kPathNotFound);
    const bool reads = access == rapi::kGenericRead && disposition == rapi::kOpenExisting;
    const bool uploads = access == rapi::kGenericWrite && disposition == rapi::kCreateAlways;
    if (!reads && !uploads) throw StandardError(errors::kPathFileAccess);
    const RapiHandle handle = nextHandle_++;
    openFiles_.emplace(handle, reads ? OpenForReading(*local) : OpenForUpload(*local));
    return handle;
  });
}

FolderRapi::OpenFile FolderRapi::OpenForReading(const std::string& localPath) {
  OpenFile open;
  open.file = files_.Open(localPath, Access::Read, Disposition::OpenExisting, Sharing::Read);
  return open;
}

FolderRapi::OpenFile FolderRapi::OpenForUpload(const std::string& localPath) {
  if (files_.FolderExists(localPath)) throw StandardError(errors::kPathFileAccess);
  OpenFile open;
  open.upload = std::make_unique<platform::StagedWrite>(files_, localPath);
  return open;
}

FolderRapi::OpenFile& FolderRapi::FileOf(RapiHandle handle) {
  const auto found = openFiles_.find(handle);
  if (found == openFiles_.end()) throw StandardError(errors::kDeviceIo);
  return found->second;
}

std::uint32_t FolderRapi::CeGetFileSize(RapiHandle file) {
  return Report(rapi::kNoFileSize, [&] { return static_cast<std::uint32_t>(FileOf(file).Contents().Size()); });
}

std::int32_t FolderRapi::CeReadFile(RapiHandle file, ByteSpan out, std::uint32_t& bytesRead) {
  bytesRead = 0;
  return Report(std::int32_t{0}, [&] {
    OpenFile& open = FileOf(file);
    const std::size_t count = open.Contents().ReadAt(open.position, out);
    open.position += count;
    bytesRead = static_cast<std::uint32_t>(count);
    if (count < out.size()) throw StandardError(errors::kDeviceIo);
    return rapi::kDone;
  });
}

std::int32_t FolderRapi::CeWriteFile(RapiHandle file, ByteView data, std::uint32_t& bytesWritten) {
  bytesWritten = 0;
  return Report(std::int32_t{0}, [&] {
    OpenFile& open = FileOf(file);
    if (!open.upload) throw StandardError(errors::kPermissionDenied);
    open.upload->Contents().WriteAt(open.position, data);
    open.position += data.size();
    bytesWritten = static_cast<std::uint32_t>(data.size());
    return rapi::kDone;
  });
}

std::int32_t FolderRapi::CeCloseHandle(RapiHandle handle) {
  return Report(std::int32_t{0}, [&] {
    const OpenFile open = std::move(FileOf(handle));
    openFiles_.erase(handle);
    if (open.upload) open.upload->Finish();
    return rapi::kDone;
  });
}

std::int32_t FolderRapi::CeFindClose(RapiHandle handle) {
  return Report(std::int32_t{0}, [&] {
    if (findHandles_.erase(handle) == 0) throw StandardError(errors::kDeviceIo);
    return rapi::kDone;
  });
}

DeviceEntry FolderRapi::EntryOf(const std::string& localPath, const std::string& name) const {
  DeviceEntry entry{name, rapi::kFileAttributeArchive, 0, files_.LastWriteTime(localPath)};
  if (files_.FolderExists(localPath)) {
    entry.attributes = rapi::kFileAttributeDirectory;
  } else {
    entry.size = files_.FactsOf(localPath).bytes;
  }
  return entry;
}

std::int32_t FolderRapi::CeFindAllFiles(const std::string& pattern, std::vector<DeviceEntry>& entries) {
  entries.clear();
  return Report(std::int32_t{0}, [&] {
    const std::size_t slash = pattern.find_last_of(kSeparators);
    const std::size_t nameAt = slash == pattern.npos ? 0 : slash + 1;
    const std::string folderPath = pattern.substr(0, nameAt);
    const std::vector<std::string> segments = SegmentsOf(folderPath);
    const bool isRoot = folderPath.find_first_not_of(kSeparators) == folderPath.npos;
    if (segments.empty() && !isRoot) return rapi::kDone;
    const std::optional<std::string> folder = LocalFolder(segments);
    if (!folder || !files_.FolderExists(*folder + '\\')) return rapi::kDone;
    const DevicePattern wanted(std::string_view(pattern).substr(nameAt));
    for (const std::string& name : files_.List(*folder + '\\')) {
      const std::string path = JoinPath(*folder, name);
      if (IsPlainName(name) && wanted.Fits(name) && Exists(path)) entries.push_back(EntryOf(path, name));
    }
    return rapi::kDone;
  });
}

std::int32_t FolderRapi::DescribeHandheld(HandheldFacts& facts) {
  facts = {};
  return Report(std::int32_t{0}, [&] {
    if (!IsUsable()) throw StandardError(errors::kPathNotFound);
    facts.address = prefix_;
    return rapi::kDone;
  });
}

}  // namespace mv
