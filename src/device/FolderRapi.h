#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "device/FolderNames.h"
#include "device/Rapi.h"
#include "platform/FileSystem.h"
#include "platform/StagedWrite.h"

namespace mv {

/// A local folder that stands for the root "\" of a handheld: a mounted card, a share, a folder of tests. Only the uses
/// that the program makes of the remote API are there: reading an existing file from start to end, and replacing or
/// creating a whole file.
///
/// Device paths name files and folders below the root as FolderNames says.
///
/// An upload goes into a file beside the table's and takes its place in one step when its handle is closed: until then,
/// and for ever when the handle is never closed, the table is the old one. A process that dies in mid-upload leaves the
/// unfinished file behind; the next upload of that table replaces it. Meanwhile the old file is held, so that no other
/// program changes it.
///
/// Errors as a device reports them: while the root folder is there CeRapiGetError is 0 after a failure, and non-zero
/// when it has vanished or there is no connection.
class FolderRapi : public Rapi {
 public:
  /// `root` is a local folder; `files` must outlive this object.
  FolderRapi(platform::FileSystem& files, const std::string& root);
  FolderRapi(const FolderRapi&) = delete;
  FolderRapi& operator=(const FolderRapi&) = delete;

  /// Fails when the root is no folder, or is the desktop's own root folder: there the paths of both sides would name
  /// the same files, and the clean-up after an upload would remove what was just sent.
  std::int32_t CeRapiInitEx(RAPIINIT& init) override;
  std::int32_t CeRapiUninit() override;
  std::int32_t CeRapiGetError() override { return rapiError_; }
  RapiHandle CeFindFirstFile(const std::string& path) override;
  /// Generic read with "open existing", or generic write with "create always"; anything else fails.
  RapiHandle CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t shareMode,
                          std::uint32_t securityAttributes, std::uint32_t disposition,
                          std::uint32_t flagsAndAttributes) override;
  std::uint32_t CeGetFileSize(RapiHandle file) override;
  /// Fails when the file ends before `out` is full: callers ask for what CeGetFileSize told, so the file was cut
  /// meanwhile, and a table filled up with zeros would pass for a whole one.
  std::int32_t CeReadFile(RapiHandle file, ByteSpan out, std::uint32_t& bytesRead) override;
  std::int32_t CeWriteFile(RapiHandle file, ByteView data, std::uint32_t& bytesWritten) override;
  /// For an upload this is the moment at which the new file counts; a failure leaves the old one.
  std::int32_t CeCloseHandle(RapiHandle handle) override;
  std::int32_t CeFindClose(RapiHandle handle) override;
  /// Names that differ in case only are listed each; files that cannot be looked at are left out.
  std::int32_t CeFindAllFiles(const std::string& pattern, std::vector<DeviceEntry>& entries) override;
  /// Of a folder its path is all that is known.
  std::int32_t DescribeHandheld(HandheldFacts& facts) override;
  std::uint32_t WaitForSingleObject(RapiHandle event, std::uint32_t milliseconds) override;

  /// The local path of a file of the handheld, whether or not it exists; nothing when a folder on the way is missing or
  /// cannot be looked at, for then no copy reaches the file either.
  std::optional<std::string> LocalFile(const std::string& devicePath) const;

 private:
  /// A file being read, or one being written.
  struct OpenFile {
    std::unique_ptr<platform::File> file;           ///< null for an upload
    std::unique_ptr<platform::StagedWrite> upload;  ///< null for a file being read
    std::uint64_t position = 0;

    platform::File& Contents() { return upload ? upload->Contents() : *file; }
  };

  bool IsUsable() const;
  DeviceEntry EntryOf(const std::string& localPath, const std::string& name) const;

  OpenFile OpenForReading(const std::string& localPath);
  OpenFile OpenForUpload(const std::string& localPath);
  OpenFile& FileOf(RapiHandle handle);

  /// Runs one call; notes whether it failed, and whether the transport is to blame. `failure` is its failed result.
  template <typename Result, typename Call>
  Result Report(Result failure, Call call);

  platform::FileSystem& files_;
  FolderNames names_;
  bool connected_ = false;
  std::int32_t rapiError_ = 0;
  RapiHandle nextHandle_ = 1;
  std::map<RapiHandle, OpenFile> openFiles_;
  std::set<RapiHandle> findHandles_;
};

}  // namespace mv
