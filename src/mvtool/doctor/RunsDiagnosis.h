#pragma once

#include <optional>
#include <string>

#include "config/Settings.h"
#include "mvtool/doctor/Diagnosis.h"
#include "platform/FileSystem.h"

namespace mv::tool {

/// How the last run ended, and what earlier runs and restores left undone.
Diagnoses DiagnoseRuns(platform::FileSystem& files, const std::string& database, const HistoryLimits& limits);

/// Whether runs start by themselves. `registered`: see RegisteredAutoStart.
Diagnosis DiagnoseAutoStart(const platform::FileSystem& files, const Settings& settings,
                            const std::optional<std::string>& registered);

}  // namespace mv::tool
