#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.h"
#include "device/FolderNames.h"
#include "platform/FileSystem.h"

namespace mv::simulator {

/// Attributes of files and folders.
namespace attributes {
inline constexpr std::uint32_t kReadOnly = 0x01;
inline constexpr std::uint32_t kHidden = 0x02;
inline constexpr std::uint32_t kSystem = 0x04;
inline constexpr std::uint32_t kFolder = 0x10;
inline constexpr std::uint32_t kArchive = 0x20;
inline constexpr std::uint32_t kRomModule = 0x2000;
}  // namespace attributes

/// A file or folder of the store.
struct StoreEntry {
  std::string name;
  std::uint32_t attributes = 0;
  std::uint64_t size = 0;
  std::uint64_t lastWriteTime = 0;  ///< 100 ns since 1601-01-01 UTC

  bool IsFolder() const { return (attributes & attributes::kFolder) != 0; }
};

/// How a file is to be opened, with the numbers of the handheld's system.
struct OpenRequest {
  static constexpr std::uint32_t kRead = 0x80000000;
  static constexpr std::uint32_t kWrite = 0x40000000;
  static constexpr std::uint32_t kCreateNew = 1;
  static constexpr std::uint32_t kCreateAlways = 2;
  static constexpr std::uint32_t kOpenExisting = 3;
  static constexpr std::uint32_t kOpenAlways = 4;
  static constexpr std::uint32_t kTruncateExisting = 5;

  std::uint32_t access = 0;
  std::uint32_t disposition = 0;
};

/// The files of a simulated handheld, in a local folder that is its root "\". What it does and refuses, and with which
/// code, is what a handheld's system does; it changes a file with every write, so a transfer that is cut leaves a torn
/// file.
///
/// Nothing outside the folder can be reached, by no path and through no link that lies in it. Whatever a caller asks
/// for, memory and disk taken are bounded.
///
/// Every call returns a code of device_errors and never raises. All connections of a handheld share one store; calls
/// may come on any thread. `files` is used under the store's lock only, so whoever else uses it must do so in a way
/// that it allows.
class DeviceStore {
 public:
  /// Number of an open file; never given out twice.
  using FileNumber = std::uint32_t;

  /// Makes the folder "\My Documents" where there is none. Error 76 when `root` is no folder, and the file system's
  /// errors.
  DeviceStore(platform::FileSystem& files, const std::string& root);
  DeviceStore(const DeviceStore&) = delete;
  DeviceStore& operator=(const DeviceStore&) = delete;

  /// A handle number that nobody had before; files and searches take theirs from here.
  std::uint32_t NextHandle();

  /// Succeeds with 0 or, when it found a file that it was to make or may have had to make, 183; `file` is given in both
  /// cases. A second open fails with 32 while either of the two is for writing.
  std::uint32_t Open(std::string_view path, const OpenRequest& request, std::optional<FileNumber>& file);
  std::uint32_t Close(FileNumber file);
  std::uint32_t Size(FileNumber file, std::uint64_t& size);
  /// Reads up to `count` bytes from the position; fewer, and none at the end, are a success.
  std::uint32_t Read(FileNumber file, std::uint32_t count, Bytes& out);
  std::uint32_t Write(FileNumber file, ByteView data);
  /// `method`: 0 from the begin, 1 from the position, 2 from the end.
  std::uint32_t Seek(FileNumber file, std::int64_t distance, std::uint32_t method, std::uint64_t& position);
  /// Cuts or extends the file to the position.
  std::uint32_t EndHere(FileNumber file);

  /// What fits the pattern, by name; 18 when there is nothing.
  std::uint32_t Find(std::string_view pattern, std::vector<StoreEntry>& entries);
  std::uint32_t Attributes(std::string_view path, std::uint32_t& value);
  /// Read-only, hidden and system are remembered as long as the store lives, the rest is not.
  std::uint32_t SetAttributes(std::string_view path, std::uint32_t value);
  std::uint32_t Delete(std::string_view path);
  std::uint32_t CreateFolder(std::string_view path);
  std::uint32_t RemoveFolder(std::string_view path);
  /// Of a file; folders are refused with 5.
  std::uint32_t Move(std::string_view from, std::string_view to);
  std::uint32_t Copy(std::string_view from, std::string_view to, bool failIfExists);

 private:
  struct OpenFile {
    std::string localPath;
    bool reads = false;
    bool writes = false;
    std::unique_ptr<platform::File> file;
    std::uint64_t position = 0;
  };

  /// Runs a call under the lock; errors of the file system become codes.
  template <typename Call>
  std::uint32_t Guarded(Call call);
  /// The same for a call on an open file.
  template <typename Call>
  std::uint32_t WithFile(FileNumber file, Call call);

  /// True for a name in its folder. One that does not "exist" then is a link that leads nowhere, and opening it would
  /// make a file where it points.
  bool IsListed(const std::string& localPath) const;
  /// The place of a path, which need not exist. Fails with 3 and 5.
  std::uint32_t Locate(std::string_view path, std::string& local) const;
  /// The place of a file that is there. Fails with 2, 3 and 5.
  std::uint32_t LocateFile(std::string_view path, std::string& local) const;
  bool IsInside(const std::string& localPath) const;
  /// 0 when the open is allowed, the file being there or not.
  std::uint32_t CheckOpen(const std::string& local, const OpenRequest& request) const;
  bool IsOpen(const std::string& local) const;
  bool IsReadOnly(const std::string& local) const;
  StoreEntry EntryOf(const FolderNames::Match& match) const;

  std::mutex mutex_;
  platform::FileSystem& files_;
  FolderNames names_;
  std::string realRoot_;
  std::uint32_t nextHandle_;
  std::map<FileNumber, OpenFile> open_;
  std::map<std::string, std::uint32_t> marks_;  ///< attributes that were set, by local path
};

}  // namespace mv::simulator
