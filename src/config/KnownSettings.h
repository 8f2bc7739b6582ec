#pragma once

#include <optional>
#include <span>
#include <string>

#include "config/SettingsStore.h"

namespace mv {

/// A setting that the program knows.
struct KnownSetting {
  const char* section;
  const char* key;
  const char* missing;  ///< what counts when it is missing; null where that depends on others, or is nothing
};

/// All of them, section by section.
std::span<const KnownSetting> KnownSettings();

/// True for a name that the program knows, in any case; for the section in which the auto-start registration is kept
/// where there is no registry, too.
bool IsKnown(const SettingName& name);

/// The known setting that an unknown name was probably meant to be: the same key in another section, or one that is
/// two letters away at the most. Nothing when there is none.
std::optional<KnownSetting> MeantBy(const SettingName& name);

}  // namespace mv
