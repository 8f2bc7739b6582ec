#pragma once

#include "device/IFileTransfer.h"
#include "platform/FileSystem.h"

namespace mv {

/// The one that runs use: upload over the remote API, then a clean-up on the desktop's side.
class clsWin32FileTransfer : public IFileTransfer {
 public:
  /// All must outlive this object.
  clsWin32FileTransfer(modWinCERAPIConnectionHandler& connection, modWinCEFileManagement& copies,
                       platform::FileSystem& files)
      : connection_(connection), copies_(copies), files_(files) {}

  /// Moves nothing and reports success: tables are fetched by modWinCEFileManagement directly.
  DeviceCopyResult CopyToDesktop(const std::string&, const std::string&, Overwrite) override {
    return DeviceCopyResult::Copied;
  }
  /// Uploads, then removes the desktop file whose path is `devicePath`, whatever became of the upload. Normally there
  /// is none, and a failed removal is ignored. Returns the upload's code.
  DeviceCopyResult CopyToDevice(const std::string& desktopPath, const std::string& devicePath,
                                Overwrite overwrite) override;
  /// Leaves the connection up.
  void Terminate() override {}
  /// Connects; whether that worked shows in the first copy.
  void Initialize() override { connection_.ConnectDevice(); }

 private:
  modWinCERAPIConnectionHandler& connection_;
  modWinCEFileManagement& copies_;
  platform::FileSystem& files_;
};

}  // namespace mv
