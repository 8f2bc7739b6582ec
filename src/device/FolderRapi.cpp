#include "device/FolderRapi.h"

#include <utility>
#include <vector>

#include "base/Error.h"

namespace mv {
namespace {

using platform::Access;
using platform::Disposition;
using platform::Sharing;

/// E_FAIL: what a transport that has lost its device answers.
constexpr std::int32_t kTransportFailed = static_cast<std::int32_t>(0x80004005);

}  // namespace

FolderRapi::FolderRapi(platform::FileSystem& files, const std::string& root) : files_(files), names_(files, root) {}

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

bool FolderRapi::IsUsable() const {
  try {
    return files_.FolderExists(names_.RootFolder()) && files_.RealPath(names_.RootFolder()) != files_.RealPath("\\");
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

std::optional<std::string> FolderRapi::LocalFile(const std::string& devicePath) const {
  try {
    return names_.LocalPath(devicePath);
  } catch (const Error&) {
    return std::nullopt;
  }
}

RapiHandle FolderRapi::CeFindFirstFile(const std::string& path) {
  return Report(kInvalidRapiHandle, [&] {
    const std::optional<std::string> local = names_.LocalPath(path);
    if (!local || !names_.Exists(*local)) throw StandardError(errors::kFileNotFound);
    return *findHandles_.insert(nextHandle_++).first;
  });
}

RapiHandle FolderRapi::CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t, std::uint32_t,
                                    std::uint32_t disposition, std::uint32_t) {
  return Report(kInvalidRapiHandle, [&] {
    const std::optional<std::string> local = names_.LocalPath(path);
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
    for (const auto& [name, path] : names_.Matches(pattern)) entries.push_back(EntryOf(path, name));
    return rapi::kDone;
  });
}

std::int32_t FolderRapi::DescribeHandheld(HandheldFacts& facts) {
  facts = {};
  return Report(std::int32_t{0}, [&] {
    if (!IsUsable()) throw StandardError(errors::kPathNotFound);
    facts.address = names_.Prefix();
    return rapi::kDone;
  });
}

}  // namespace mv
