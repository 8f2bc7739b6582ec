#include "config/UserSettings.h"

#include "config/AutoStart.h"
#include "config/windows/RegistrySettingsStore.h"
#include "config/windows/SystemRegistryStrings.h"

namespace mv {

std::unique_ptr<SettingsStore> MakeSettingsStore(platform::FileSystem&, const std::string&) {
  return std::make_unique<RegistrySettingsStore>();
}

std::unique_ptr<RegistryStrings> MakeRegistryStrings(SettingsStore&) {
  return std::make_unique<SystemRegistryStrings>();
}

std::optional<std::string> RegisteredAutoStart(const platform::FileSystem&) {
  const std::string data = ReadMachineString(kAutoStartKey, kAutoStartValue);
  if (data.empty()) return std::nullopt;
  return data;
}

}  // namespace mv
