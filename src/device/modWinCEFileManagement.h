#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "base/FileContent.h"
#include "device/DeviceHooks.h"
#include "device/Rapi.h"
#include "device/modWinCERAPIConnectionHandler.h"
#include "platform/FileSystem.h"

namespace mv {

/// How a device copy ended. The numbers are printed in messages and in the sync log.
enum class DeviceCopyResult : std::int32_t {
  Copied = 0,
  SourceUnreadable = 1,   ///< upload: no such desktop file; download: device file not opened, sized or read
  SourceEmpty = 2,        ///< upload: the desktop file is empty or cannot be read
  DestinationExists = 4,  ///< and overwriting was not asked for
  WriteFailed = 5,        ///< upload: a write or the final close; download: the desktop file
  NoConnection = 6,       ///< none, or the transport failed
  CannotCreate = 7,       ///< upload: the device file
};

enum class Overwrite { No, Yes };

/// Copies whole files between the desktop and the handheld, one at a time, each held in memory.
///
/// Codes 1, 5 and 7 mean that the device itself refused; when CeRapiGetError right after the failing call says that
/// the transport failed, the code is 6. Every failed copy ends the connection; a successful one leaves it up.
class modWinCEFileManagement {
 public:
  /// All must outlive this object.
  modWinCEFileManagement(Rapi& rapi, modWinCERAPIConnectionHandler& connection, platform::FileSystem& files,
                         const DeviceHooks& hooks)
      : rapi_(rapi), connection_(connection), files_(files), hooks_(hooks) {}

  /// Connects when there is no connection. Writes in about twenty chunks, the spinner advances after each. Closes the
  /// device file before it reports success, because a handheld that keeps a table whole until it is complete may refuse
  /// it only then; logs "     N bytes written to device at: PATH".
  DeviceCopyResult CopyFileToDevice(const std::string& desktopPath, const std::string& devicePath, Overwrite overwrite);

  /// Needs a connection; does not make one. Logs "     N bytes read from device at: PATH". Error 9 for a device file of
  /// length 0 or of more than 2,147,483,647 bytes; the connection stays up then. A longer file at `desktopPath` keeps
  /// its tail (see WriteFileBytes).
  DeviceCopyResult CopyFileFromDevice(const std::string& devicePath, const std::string& desktopPath,
                                      Overwrite overwrite);

  /// Reads a whole desktop file into `buffer`; returns its length, 0 for an empty file and on every error. The spinner
  /// advances for every 256 bytes.
  std::int32_t ReadFileBytes(const std::string& desktopPath, FileContent& buffer);

  /// Writes `buffer` over the start of a desktop file, created if missing but not cut: the rest of a longer file stays
  /// behind the new bytes. False on every error, an empty buffer included. The spinner advances for every 1024 bytes.
  bool WriteFileBytes(const std::string& desktopPath, ByteView buffer);

 private:
  DeviceCopyResult Upload(const std::string& desktopPath, const std::string& devicePath, Overwrite overwrite);
  DeviceCopyResult Download(const std::string& devicePath, const std::string& desktopPath, Overwrite overwrite);
  /// Copied when there is no file at `devicePath`.
  DeviceCopyResult RequireNoDeviceFile(const std::string& devicePath);
  bool WriteInChunks(RapiHandle file, ByteView data);
  /// Nothing when the device file cannot be sized or read.
  std::optional<FileContent> ReadDeviceFile(RapiHandle file);
  /// The code for a failed device call: `refused`, or NoConnection when the transport failed. To be asked right after
  /// that call.
  DeviceCopyResult FailureCode(DeviceCopyResult refused);
  void AdvanceSpinner();
  void AdvanceSpinnerPer(std::size_t bytesPerTurn, std::size_t bytes);
  void LogTransfer(std::size_t bytes, const char* what, const std::string& devicePath);

  Rapi& rapi_;
  modWinCERAPIConnectionHandler& connection_;
  platform::FileSystem& files_;
  const DeviceHooks& hooks_;
};

}  // namespace mv
