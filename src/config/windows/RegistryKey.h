#pragma once

#include <windows.h>

namespace mv {

/// A registry key handle that closes itself. Empty until a call has filled it.
class RegistryKey {
 public:
  RegistryKey() = default;
  ~RegistryKey() {
    if (key_ != nullptr) ::RegCloseKey(key_);
  }
  RegistryKey(const RegistryKey&) = delete;
  RegistryKey& operator=(const RegistryKey&) = delete;

  HKEY Get() const { return key_; }
  /// Where an opening call stores the handle.
  HKEY* Out() { return &key_; }

 private:
  HKEY key_ = nullptr;
};

}  // namespace mv
