#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"

namespace mv {

/// A handle of the remote API: a file or find handle on the handheld, or the connection event.
using RapiHandle = std::uintptr_t;
/// The invalid handle, all bits set.
inline constexpr RapiHandle kInvalidRapiHandle = ~RapiHandle{0};

/// Arguments and results of the calls below, with the numbers of the published interface.
namespace rapi {
inline constexpr std::uint32_t kGenericRead = 0x80000000;
inline constexpr std::uint32_t kGenericWrite = 0x40000000;
inline constexpr std::uint32_t kFileShareRead = 1;
inline constexpr std::uint32_t kCreateAlways = 2;
inline constexpr std::uint32_t kOpenExisting = 3;
inline constexpr std::uint32_t kFileAttributeNormal = 0x80;
inline constexpr std::uint32_t kFileAttributeDirectory = 0x10;
inline constexpr std::uint32_t kFileAttributeArchive = 0x20;
inline constexpr std::uint32_t kNoFileSize = 0xFFFFFFFF;
/// What a call on a file or handle returns that succeeded.
inline constexpr std::int32_t kDone = 1;
inline constexpr std::uint32_t kWaitSignalled = 0;
inline constexpr std::uint32_t kWaitTimeout = 258;
}  // namespace rapi

/// The connection start-up record. Its published layout is the business of the implementations.
struct RAPIINIT {
  std::uint32_t cbSize = 0;     ///< set to 12 by the caller
  RapiHandle heRapiInit = 0;    ///< event, signalled when the connection is up or has failed
  std::int32_t hrRapiInit = 0;  ///< result, 0 = success
};

/// A file or folder of the handheld, as CeFindAllFiles tells of it.
struct DeviceEntry {
  std::string name;  ///< without its folder. It comes from outside: no local path before it was checked
  std::uint32_t attributes = 0;
  std::uint64_t size = 0;           ///< bytes
  std::uint64_t lastWriteTime = 0;  ///< 100 ns since 1601-01-01 UTC; 0 = not known

  bool IsFolder() const { return (attributes & rapi::kFileAttributeDirectory) != 0; }
  friend bool operator==(const DeviceEntry&, const DeviceEntry&) = default;
};

/// The handheld's system, as CeGetVersionEx tells it.
struct SystemVersion {
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
  std::uint32_t build = 0;

  friend bool operator==(const SystemVersion&, const SystemVersion&) = default;
};

/// What is known of the handheld that is connected. Every text may be empty and comes from outside; `system` is missing
/// where there is no way to ask.
struct HandheldFacts {
  std::optional<SystemVersion> system;
  std::string name;      ///< that its owner gave it
  std::string platform;  ///< "PocketPC"
  std::string model;
  std::string address;  ///< where it is reached: a network address, or the folder that stands for it

  friend bool operator==(const HandheldFacts&, const HandheldFacts&) = default;
};

/// The remote API of the handheld's operating system: connection set-up and remote file calls. Names, arguments and
/// results are those of the published calls; every implementation reports as the device would.
///
/// CeRapiGetError is asked right after a failing call: non-zero when the transport failed, 0 when the device itself
/// refused.
class Rapi {
 public:
  virtual ~Rapi() = default;

  /// Starts connecting; returns 0 on success and fills `init`. The connection's own result comes later: `init` must
  /// live until the wait for its event has returned or CeRapiUninit was called, and hrRapiInit is to be read again
  /// after the wait.
  virtual std::int32_t CeRapiInitEx(RAPIINIT& init) = 0;
  /// Ends the connection; open handles go with it.
  virtual std::int32_t CeRapiUninit() = 0;
  virtual std::int32_t CeRapiGetError() = 0;
  /// A valid handle when `path` exists on the device.
  virtual RapiHandle CeFindFirstFile(const std::string& path) = 0;
  virtual RapiHandle CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t shareMode,
                                  std::uint32_t securityAttributes, std::uint32_t disposition,
                                  std::uint32_t flagsAndAttributes) = 0;
  /// Low 32 bits of the size; 0xFFFFFFFF on failure.
  virtual std::uint32_t CeGetFileSize(RapiHandle file) = 0;
  /// Reads from the file's position; non-zero on success, `bytesRead` tells how many bytes of `out` were filled. Our
  /// own implementations fail when they are fewer than asked for; with a library's the rest of `out` is 0.
  virtual std::int32_t CeReadFile(RapiHandle file, ByteSpan out, std::uint32_t& bytesRead) = 0;
  virtual std::int32_t CeWriteFile(RapiHandle file, ByteView data, std::uint32_t& bytesWritten) = 0;
  virtual std::int32_t CeCloseHandle(RapiHandle handle) = 0;
  virtual std::int32_t CeFindClose(RapiHandle handle) = 0;
  /// Lists what `pattern` fits: "*" and "?" may stand in its last segment; without any it names one file or folder.
  /// Non-zero on success, `entries` in no order; that nothing fits is a success with no entries. 0, and no entries,
  /// when it fails.
  virtual std::int32_t CeFindAllFiles(const std::string& pattern, std::vector<DeviceEntry>& entries) = 0;
  /// Non-zero on success. The system's version is asked of the handheld with CeGetVersionEx where it can be asked, so a
  /// success also proves that the two sides understand each other.
  virtual std::int32_t DescribeHandheld(HandheldFacts& facts) = 0;
  /// Waits on the connection event; 0 = signalled, 258 = timed out.
  virtual std::uint32_t WaitForSingleObject(RapiHandle event, std::uint32_t milliseconds) = 0;
};

}  // namespace mv
