#pragma once

#include <optional>
#include <string>
#include <vector>

namespace mv {

/// Where a stored setting stands.
struct SettingName {
  std::string section;
  std::string key;

  friend bool operator==(const SettingName&, const SettingName&) = default;
};

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

  /// All that is stored for an application, as it is written there; none where the store cannot tell.
  virtual std::vector<SettingName> Names(const std::string& application) {
    static_cast<void>(application);
    return {};
  }
  /// Where the settings of an application lie, for people: the path of a file, a key of the registry.
  virtual std::string PlaceOf(const std::string& application) const { return application; }
};

}  // namespace mv
