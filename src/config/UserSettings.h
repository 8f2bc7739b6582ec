#pragma once

#include <memory>
#include <optional>
#include <string>

#include "config/RegistryStrings.h"
#include "config/SettingsStore.h"
#include "platform/FileSystem.h"

namespace mv {

/// The settings of the user who runs the program, where this system keeps them: on Windows the registry, else a file in
/// the folder that SettingsFolder names. `files` must outlive the store.
std::unique_ptr<SettingsStore> MakeSettingsStore(platform::FileSystem& files, const std::string& programFolder);

/// Where this system keeps the auto-start registration: on Windows the registry, else in `store`, which must outlive
/// the object.
std::unique_ptr<RegistryStrings> MakeRegistryStrings(SettingsStore& store);

/// What starts runs by itself when a handheld comes, as this system has it: on Windows the registration of the
/// device-connection manager, else the user's service that listens for handhelds. Nothing when nothing does.
/// `files` is where such a service is looked for.
std::optional<std::string> RegisteredAutoStart(const platform::FileSystem& files);

}  // namespace mv
