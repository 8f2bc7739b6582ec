#pragma once

#include "device/Rapi.h"

namespace mv {

/// The remote API of a machine that has none: no connection ever comes about.
class NoRapi : public Rapi {
 public:
  std::int32_t CeRapiInitEx(RAPIINIT&) override { return kNotImplemented; }
  std::int32_t CeRapiUninit() override { return kNotImplemented; }
  std::int32_t CeRapiGetError() override { return kNotImplemented; }
  RapiHandle CeFindFirstFile(const std::string&) override { return kInvalidRapiHandle; }
  RapiHandle CeCreateFile(const std::string&, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                          std::uint32_t) override {
    return kInvalidRapiHandle;
  }
  std::uint32_t CeGetFileSize(RapiHandle) override { return rapi::kNoFileSize; }
  std::int32_t CeReadFile(RapiHandle, ByteSpan, std::uint32_t&) override { return 0; }
  std::int32_t CeWriteFile(RapiHandle, ByteView, std::uint32_t&) override { return 0; }
  std::int32_t CeCloseHandle(RapiHandle) override { return 0; }
  std::int32_t CeFindClose(RapiHandle) override { return 0; }
  std::int32_t CeFindAllFiles(const std::string&, std::vector<DeviceEntry>& entries) override {
    entries.clear();
    return 0;
  }
  std::int32_t DescribeHandheld(HandheldFacts& facts) override {
    facts = {};
    return 0;
  }
  std::uint32_t WaitForSingleObject(RapiHandle, std::uint32_t) override { return rapi::kWaitTimeout; }

 private:
  static constexpr std::int32_t kNotImplemented = -2147467263;  // E_NOTIMPL, 0x80004001
};

}  // namespace mv
