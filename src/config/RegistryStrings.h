#pragma once

#include <string>

#include "config/SettingsStore.h"

namespace mv {

/// The part of the registry that a key path starts from.
enum class RegistryRoot { LocalMachine };

/// The one registry call of the program. Never fails: without access nothing is written and nothing is said, because
/// the machine-wide branch is closed to most users.
class RegistryStrings {
 public:
  virtual ~RegistryStrings() = default;
  /// Sets a text value of a key, which is created when missing.
  virtual void WriteRegistryString(RegistryRoot root, const std::string& keyPath, const std::string& valueName,
                                   const std::string& data) = 0;
};

/// For systems without a registry: the value goes into this program's settings, section = key path, key = value name.
class SettingsRegistryStrings : public RegistryStrings {
 public:
  /// `store` must outlive this object.
  explicit SettingsRegistryStrings(SettingsStore& store) : store_(store) {}
  void WriteRegistryString(RegistryRoot root, const std::string& keyPath, const std::string& valueName,
                           const std::string& data) override;

 private:
  SettingsStore& store_;
};

}  // namespace mv
