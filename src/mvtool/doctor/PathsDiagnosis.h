#pragma once

#include <string>

#include "config/Settings.h"
#include "mvtool/doctor/Diagnosis.h"
#include "platform/FileSystem.h"

namespace mv::tool {

/// The places that a run writes to - the database's folder and its room, the log, the work folders - and the template
/// that an Overwrite PC lays over the database. Makes nothing. `programFolder`: where the template lies.
Diagnoses DiagnosePaths(platform::FileSystem& files, const Settings& settings, const std::string& programFolder);

}  // namespace mv::tool
