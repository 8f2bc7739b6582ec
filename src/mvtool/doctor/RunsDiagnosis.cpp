#include "mvtool/doctor/RunsDiagnosis.h"

#include "base/Error.h"
#include "history/RunList.h"
#include "history/UnfilledTables.h"

namespace mv::tool {
namespace {

using history::RunRecord;

constexpr const char* kSubject = "last run";
constexpr std::string_view kModeSwitch = "-Mode";

Diagnosis DiagnoseLast(const std::string& name, const RunRecord& record) {
  if (record.restore) {
    const std::string what = name + ", a restore of " + record.restore->of;
    if (!IsLeftOver(record)) return Well(kSubject, what);
    return Doubtful(kSubject, what + ", was cut off",
                    "\"mvtool restore " + record.restore->of + "\" does what is left");
  }
  const std::string what = name + ", " + record.modeName;
  if (!record.status) return Doubtful(kSubject, what + ", was cut off", "run the same mode again");
  if (*record.status == 0) return Well(kSubject, what + ", all went well");
  const std::string end = record.error.empty() ? "a table failed" : record.error;
  return Doubtful(kSubject, what + ", ended with status " + std::to_string(*record.status) + ": " + end,
                  "\"mvtool runs\" and docs/user/recovery.md tell more");
}

Diagnosis DiagnoseHistory(const history::HistoryFolder& folder) {
  for (const std::string& entry : folder.Entries()) {
    if (const auto record = folder.Read(entry)) return DiagnoseLast(entry, *record);
  }
  return Well(kSubject, "none is kept yet");
}

std::optional<Diagnosis> DiagnoseUnfilled(platform::FileSystem& files, const std::string& database) {
  try {
    const std::vector<std::string> unfilled = history::UnfilledTables(files, database).Load();
    if (unfilled.empty()) return std::nullopt;
    return Doubtful("Overwrite PC", "one emptied " + std::to_string(unfilled.size()) + " tables and did not fill them",
                    "run it again (the window's takes all tables), or \"mvtool restore\" what was before");
  } catch (const Error& error) {
    return Broken("Overwrite PC", error.Description(), "see docs/user/recovery.md");
  }
}

/// "C:\Program Files\Motorva\MVPPCSync.exe" of a registration with "-Mode0" behind it; empty for any other text.
std::string ProgramIn(const std::string& registered) {
  const std::size_t blank = registered.rfind(' ');
  const bool hasSwitch =
      blank != std::string::npos && std::string_view(registered).substr(blank + 1).starts_with(kModeSwitch);
  return hasSwitch ? registered.substr(0, blank) : std::string();
}

}  // namespace

Diagnoses DiagnoseRuns(platform::FileSystem& files, const std::string& database, const HistoryLimits& limits) {
  Diagnoses diagnoses = {DiagnoseHistory(history::HistoryFolder(files, database))};
  if (auto unfilled = DiagnoseUnfilled(files, database)) diagnoses.push_back(std::move(*unfilled));
  if (limits.keep == 0) {
    diagnoses.push_back(Doubtful("history", "Keep of [History] is 0, so no run can be taken back", "10 is usual"));
  }
  return diagnoses;
}

Diagnosis DiagnoseAutoStart(const platform::FileSystem& files, const Settings& settings,
                            const std::optional<std::string>& registered) {
  const std::string subject = "auto-start";
  if (!registered) {
    if (settings.AutoStart == 0) return Well(subject, "off");
    return Doubtful(subject, "wanted by the settings, but nothing starts runs by itself",
                    "docs/user/settings.md, \"Starting with the handheld\"");
  }
  const std::string program = ProgramIn(*registered);
  if (program.empty()) return Well(subject, *registered);
  if (!files.FileExists(program)) {
    return Doubtful(subject, "it starts " + Shown(program) + ", which is not there",
                    "install the program into that folder, or turn auto-start off");
  }
  const std::string wanted = std::string(kModeSwitch) + std::to_string(settings.SyncMode);
  if (registered->ends_with(wanted)) return Well(subject, *registered);
  return Doubtful(subject, *registered + " is of another mode than the settings", "confirm the settings dialog once");
}

}  // namespace mv::tool
