#pragma once

#include <optional>
#include <string>

namespace mv {

/// The per-user application settings of the operating system: texts (UTF-8) by application, section and key. Names
/// match without regard to case. What other programs keep in the same place stays as it is.
class SettingsStore {
 public:
  virtual ~SettingsStore() = default;

  /// The stored text, which may be empty; nothing when the key is missing. Raises when the store is there but cannot be
  /// read.
  virtual std::optional<std::string> GetSetting(const std::string& application, const std::string& section,
                                                const std::string& key) = 0;
  /// Stores `text`, durable on return; what is missing on the way (store, section, key) is made. When it fails the
  /// store is as it was.
  virtual void SaveSetting(const std::string& application, const std::string& section, const std::string& key,
                           const std::string& text) = 0;
};

}  // namespace mv
