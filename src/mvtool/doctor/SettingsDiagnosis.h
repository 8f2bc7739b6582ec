#pragma once

#include <string>

#include "config/SettingsStore.h"
#include "mvtool/doctor/Diagnosis.h"

namespace mv::tool {

/// Every setting that the program knows, with what counts and where that comes from; values that make no sense, and
/// names that the program does not know, with what was probably meant. `programFolder`: see LoadSettings.
Diagnoses DiagnoseSettings(SettingsStore& store, const std::string& programFolder);

}  // namespace mv::tool
