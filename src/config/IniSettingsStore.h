#pragma once

#include <functional>
#include <optional>
#include <string>

#include "config/SettingsStore.h"
#include "fileio/IniDocument.h"
#include "platform/FileSystem.h"

namespace mv {

/// Settings in text files, one for each application: "<Application>.ini" in one folder, in the form that IniDocument
/// describes. A missing file or folder is an empty store. The file is read anew for each call, so what the user changes
/// meanwhile is seen; a save replaces it whole in one step, and one that changes nothing writes nothing.
class IniSettingsStore : public SettingsStore {
 public:
  /// `files` must outlive the store.
  IniSettingsStore(platform::FileSystem& files, std::string folder);

  std::optional<std::string> GetSetting(const std::string& application, const std::string& section,
                                        const std::string& key) override;
  void SaveSetting(const std::string& application, const std::string& section, const std::string& key,
                   const std::string& text) override;
  std::vector<SettingName> Names(const std::string& application) override;
  std::string PlaceOf(const std::string& application) const override;

 private:
  std::string PathOf(const std::string& application) const;
  IniDocument Load(const std::string& path);

  platform::FileSystem& files_;
  std::string folder_;
};

/// The folder of the user's settings files: $XDG_CONFIG_HOME, else $HOME/.config, else `programFolder`.
/// A value that is no absolute path does not count. `variable` looks an environment variable up.
std::string SettingsFolder(const std::function<std::optional<std::string>(const std::string& name)>& variable,
                           const std::string& programFolder);

}  // namespace mv
