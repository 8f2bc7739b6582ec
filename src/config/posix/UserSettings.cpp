#include "config/UserSettings.h"

#include "config/IniSettingsStore.h"
#include "platform/System.h"

namespace mv {

std::unique_ptr<SettingsStore> MakeSettingsStore(platform::FileSystem& files, const std::string& programFolder) {
  return std::make_unique<IniSettingsStore>(files, SettingsFolder(platform::EnvironmentVariable, programFolder));
}

std::unique_ptr<RegistryStrings> MakeRegistryStrings(SettingsStore& store) {
  return std::make_unique<SettingsRegistryStrings>(store);
}

}  // namespace mv
