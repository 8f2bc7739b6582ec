#pragma once

#include <optional>
#include <string>

#include "config/SettingsStore.h"

namespace mv {

/// Settings in the user's part of the registry, in the branch that all programs of this kind share:
/// HKEY_CURRENT_USER\Software\VB and VBA Program Settings\<application>\<section>, one REG_SZ value a key.
///
/// Reading takes what other programs and the registry editor leave there: a REG_EXPAND_SZ value is its text as it
/// stands, its variables not replaced; a REG_DWORD value is its decimal text, as the editor shows it; a text may lack
/// its closing zero or have an odd byte at its end, which does not count. Any other type is error 13. A text ends at
/// its first zero.
///
/// Saving stores REG_SZ whatever the value was before, and returns once the registry is on the disk. A text with a zero
/// in it cannot be kept: error 5. A refusal of the registry is the error that FileSystem.h lists for the system's code,
/// with "[section] key" as its source.
class RegistrySettingsStore : public SettingsStore {
 public:
  std::optional<std::string> GetSetting(const std::string& application, const std::string& section,
                                        const std::string& key) override;
  void SaveSetting(const std::string& application, const std::string& section, const std::string& key,
                   const std::string& text) override;
  std::vector<SettingName> Names(const std::string& application) override;
  std::string PlaceOf(const std::string& application) const override;
};

}  // namespace mv
