#pragma once

#include <string>

#include "device/modWinCEFileManagement.h"

namespace mv {

/// How the program reaches a family of handhelds. An object lives for one table; the connection is not its own.
class IFileTransfer {
 public:
  virtual ~IFileTransfer() = default;

  virtual DeviceCopyResult CopyToDesktop(const std::string& devicePath, const std::string& desktopPath,
                                         Overwrite overwrite) = 0;
  virtual DeviceCopyResult CopyToDevice(const std::string& desktopPath, const std::string& devicePath,
                                        Overwrite overwrite) = 0;
  virtual void Terminate() = 0;
  virtual void Initialize() = 0;
};

}  // namespace mv
