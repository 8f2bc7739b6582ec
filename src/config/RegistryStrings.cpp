#include "config/RegistryStrings.h"

#include "base/Error.h"
#include "config/Settings.h"

namespace mv {

void SettingsRegistryStrings::WriteRegistryString(RegistryRoot, const std::string& keyPath,
                                                  const std::string& valueName, const std::string& data) {
  try {
    store_.SaveSetting(kSettingsApplication, keyPath, valueName, data);
  } catch (const Error&) {
    // No registration and no message, as where the registry is closed to the user.
  }
}

}  // namespace mv
