#pragma once

#include "device/IFileTransfer.h"

namespace mv {

/// Pocket PC over the remote API: both directions.
class clsPPCFileTransfer : public IFileTransfer {
 public:
  /// Both must outlive this object.
  clsPPCFileTransfer(modWinCERAPIConnectionHandler& connection, modWinCEFileManagement& copies)
      : connection_(connection), copies_(copies) {}

  DeviceCopyResult CopyToDesktop(const std::string& devicePath, const std::string& desktopPath,
                                 Overwrite overwrite) override {
    return copies_.CopyFileFromDevice(devicePath, desktopPath, overwrite);
  }
  DeviceCopyResult CopyToDevice(const std::string& desktopPath, const std::string& devicePath,
                                Overwrite overwrite) override {
    return copies_.CopyFileToDevice(desktopPath, devicePath, overwrite);
  }
  /// Ends the connection.
  void Terminate() override { connection_.DisconnectDevice(); }
  /// Connects; whether that worked shows in the first copy.
  void Initialize() override { connection_.ConnectDevice(); }

 private:
  modWinCERAPIConnectionHandler& connection_;
  modWinCEFileManagement& copies_;
};

}  // namespace mv
