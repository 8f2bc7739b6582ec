#include "device/clsWin32FileTransfer.h"

#include "base/Error.h"

namespace mv {

DeviceCopyResult clsWin32FileTransfer::CopyToDevice(const std::string& desktopPath, const std::string& devicePath,
                                                    Overwrite overwrite) {
  const DeviceCopyResult result = copies_.CopyFileToDevice(desktopPath, devicePath, overwrite);
  try {
    files_.RemoveFile(devicePath);
  } catch (const Error&) {
    // The clean-up must never spoil the upload's result, and mostly there is nothing to remove.
  }
  return result;
}

}  // namespace mv
