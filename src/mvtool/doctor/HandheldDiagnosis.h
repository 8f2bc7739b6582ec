#pragma once

#include <string>
#include <vector>

#include "history/HandheldTables.h"
#include "mvtool/doctor/DatabaseDiagnosis.h"
#include "mvtool/doctor/Diagnosis.h"
#include "platform/FileSystem.h"
#include "run/HandheldChoice.h"

namespace mv::tool {

/// A folder that stands for the handheld: there at all, with something in it (a mount point without its card is
/// empty), writable, with the folder of the tables (`tablesFolder`, by its path on the handheld).
Diagnoses DiagnoseCard(const platform::FileSystem& files, const std::string& root, const std::string& tablesFolder);

/// What the handheld's tables are like.
struct HandheldReport {
  Diagnoses diagnoses;
  bool answered = false;
  HandheldFields fields;  ///< of the tables that could be read
};

/// Asks the handheld for its thirteen tables and reads them all. `chosen` is whose they are.
HandheldReport DiagnoseHandheld(history::HandheldTables& tables, const ChosenHandheld& chosen);

}  // namespace mv::tool
