#pragma once

#include "device/IFileTransfer.h"

namespace mv {

/// Place of another device family: every copy reports success and moves nothing.
class clsNokiaFileTransfer : public IFileTransfer {
 public:
  DeviceCopyResult CopyToDesktop(const std::string&, const std::string&, Overwrite) override {
    return DeviceCopyResult::Copied;
  }
  DeviceCopyResult CopyToDevice(const std::string&, const std::string&, Overwrite) override {
    return DeviceCopyResult::Copied;
  }
  void Terminate() override {}
  void Initialize() override {}
};

}  // namespace mv
