#include "config/UserSettings.h"

#include "base/Text.h"
#include "config/IniSettingsStore.h"
#include "platform/System.h"

namespace mv {

std::unique_ptr<SettingsStore> MakeSettingsStore(platform::FileSystem& files, const std::string& programFolder) {
  return std::make_unique<IniSettingsStore>(files, SettingsFolder(platform::EnvironmentVariable, programFolder));
}

std::unique_ptr<RegistryStrings> MakeRegistryStrings(SettingsStore& store) {
  return std::make_unique<SettingsRegistryStrings>(store);
}

std::optional<std::string> RegisteredAutoStart(const platform::FileSystem& files) {
  // What systemctl --user enable leaves.
  const std::string folder = SettingsFolder(platform::EnvironmentVariable, "");
  const std::string unit = JoinPath(folder, "systemd/user/default.target.wants/mvppcsync-listen.service");
  if (!files.FileExists(unit)) return std::nullopt;
  return unit;
}

}  // namespace mv
