#include "mvtool/doctor/PathsDiagnosis.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "check/DatabaseCheck.h"
#include "jet/Database.h"
#include "run/TemplateFile.h"
#include "sync/RunMode.h"
#include "sync/Tables.h"

namespace mv::tool {
namespace {

constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20;
constexpr const char* kRights = "check your rights to it, or choose another place in the settings";

/// Without the separator at its end.
std::string FolderOf(const std::string& path) {
  const std::size_t length = FolderLength(path);
  return path.substr(0, length == 0 ? 0 : length - 1);
}

/// The folder itself, or the next one above it that is there; empty when none is.
std::string ExistingAbove(const platform::FileSystem& files, std::string folder) {
  while (!folder.empty() && !files.FolderExists(folder)) folder = FolderOf(folder);
  return folder;
}

/// While tables are saved a second database lies beside the first; an Overwrite PC adds a backup.
std::uint64_t RoomWanted(const platform::FileSystem& files, const std::string& database) {
  const std::uint64_t bytes = files.FileExists(database) ? files.FactsOf(database).bytes : 0;
  return 3 * bytes + 16 * kMegabyte;
}

Diagnosis DiagnoseDatabaseFolder(const platform::FileSystem& files, const std::string& database) {
  const std::string subject = "database folder";
  const std::string folder = FolderOf(database);
  if (!files.FolderExists(folder)) {
    return Broken(subject, Shown(folder) + " is missing", "correct DBPath or DesktopDBPath in the settings");
  }
  if (!files.MayMakeFilesIn(folder)) return Broken(subject, Shown(folder) + " cannot be written to", kRights);
  const std::uint64_t free = files.FreeBytes(folder);
  if (free == 0) return Well(subject, Shown(folder));
  const std::string room = Shown(folder) + ", " + std::to_string(free / kMegabyte) + " MB free";
  if (free >= RoomWanted(files, database)) return Well(subject, room);
  return Doubtful(subject, room, "make room: a run keeps copies of the database while it works");
}

Diagnosis DiagnoseWorkFolder(const platform::FileSystem& files, const char* key, const std::string& folder) {
  const std::string subject = std::string("work folder ") + key;
  if (files.FileExists(folder)) return Broken(subject, Shown(folder) + " is a file", "choose another place for it");
  const std::string above = ExistingAbove(files, folder);
  if (above.empty() || !files.MayMakeFilesIn(above)) {
    return Broken(subject, Shown(folder) + " cannot be written to", kRights);
  }
  return Well(subject, Shown(folder) + (above == folder ? "" : ", will be made"));
}

bool MayWrite(platform::FileSystem& files, const std::string& file) {
  try {
    files.Open(file, platform::Access::Write, platform::Disposition::OpenExisting, platform::Sharing::All);
    return true;
  } catch (const Error&) {
    return false;
  }
}

Diagnosis DiagnoseLog(platform::FileSystem& files, const Settings& settings, const std::string& programFolder) {
  const std::string subject = "log";
  const std::string& log = settings.SyncLogPath;
  if (settings.SyncLog == 0) return Well(subject, "turned off (SyncLog=0)");
  const std::string folder = FolderOf(log);
  if (!files.FolderExists(folder)) {
    return Broken(subject, "the folder of " + Shown(log) + " is missing", "make it, or correct SyncLogPath");
  }
  const bool exists = files.FileExists(log);
  if (exists ? !MayWrite(files, log) : !files.MayMakeFilesIn(folder)) {
    return Broken(subject, Shown(log) + " cannot be written", kRights);
  }
  if (FolderOf(log) == programFolder) {
    return Doubtful(subject, Shown(log) + " lies beside the program, where an update may remove it",
                    "\"mvtool setup --log FILE\" moves it");
  }
  return Well(subject, Shown(log));
}

/// What is wrong with the template; empty when nothing is.
std::string FaultOfTemplate(platform::FileSystem& files, const std::string& path) {
  try {
    const check::Report report = check::CheckDatabase(ReadWhole(files, path));
    if (!report.checked) return "is no Jet 4 database";
    if (!report.IsSound()) return "is damaged (" + SummaryOf(report) + ")";
    const auto database = jet::Database::Open(files, path, jet::PageFile::Mode::ReadOnly);
    for (const SyncTable& table : kTables) database->OpenTable(table.name);
    return {};
  } catch (const Error& error) {
    return "cannot serve: " + error.Description();
  }
}

Diagnosis DiagnoseTemplate(platform::FileSystem& files, const Settings& settings, const std::string& programFolder) {
  const std::string subject = "template _20";
  const std::string path = TemplatePath(files, programFolder);
  const std::string fault = files.FileExists(path) ? FaultOfTemplate(files, path) : "is missing";
  if (fault.empty()) return Well(subject, Shown(path));
  const std::string text = Shown(path) + " " + fault;
  const std::string advice =
      "Overwrite PC needs it: install it beside the program again, or make one with \"mvtool template\"";
  const bool needed = settings.SyncMode == static_cast<std::int16_t>(RunMode::OverwritePc);
  return needed ? Broken(subject, text, advice) : Doubtful(subject, text, advice);
}

}  // namespace

Diagnoses DiagnosePaths(platform::FileSystem& files, const Settings& settings, const std::string& programFolder) {
  return {DiagnoseDatabaseFolder(files, settings.DesktopDBPath),
          DiagnoseWorkFolder(files, "PCSyncSourcePath", settings.PCSyncSourcePath),
          DiagnoseWorkFolder(files, "PCSyncDestPath", settings.PCSyncDestPath),
          DiagnoseLog(files, settings, programFolder), DiagnoseTemplate(files, settings, programFolder)};
}

}  // namespace mv::tool
