#include "run/RunSteps.h"

#include <utility>

#include "base/Error.h"
#include "run/DesktopBackup.h"
#include "run/TableDriver.h"
#include "run/TablePaths.h"
#include "sync/SyncContext.h"

namespace mv {
namespace {

/// However the tables end, no more of them follow.
class RestAtEnd {
 public:
  explicit RestAtEnd(DatabaseProvider& databases) : databases_(databases) {}
  ~RestAtEnd() { databases_.Rest(); }
  RestAtEnd(const RestAtEnd&) = delete;
  RestAtEnd& operator=(const RestAtEnd&) = delete;

 private:
  DatabaseProvider& databases_;
};

}  // namespace

void Yield(const RunContext& run) {
  run.ui.ProcessMessages();
  if (run.ui.Closed()) throw StandardError(errors::kUserInterrupt);
}

void LogLines(SyncLog& log, const std::vector<std::string>& lines) {
  for (const std::string& line : lines) log.WriteLogLine(line, false);
}

void LogLastLine(SyncLog& log) {
  log.WriteLogLine("", true);
}

void RequireSeparatePaths(const RunContext& run, std::span<const SyncTable> tables) {
  const Settings& settings = run.state.settings;
  std::vector<ProtectedFiles::Use> uses = {{"the source folder", settings.PCSyncSourcePath},
                                           {"the destination folder", settings.PCSyncDestPath}};
  if (settings.SyncLog != 0) uses.push_back({"the sync log", settings.SyncLogPath});
  for (const SyncTable& table : tables) {
    const TablePaths paths = PathsOf(settings, table.name);
    uses.push_back({"the fetched table file", paths.source});
    uses.push_back({"the merged table file", paths.result});
    // What has the handheld's path on this PC is removed after each upload.
    uses.push_back({"the handheld's table file", paths.device});
    if (!run.localDeviceFile) continue;
    if (auto local = run.localDeviceFile(paths.device))
      uses.push_back({"the handheld's table file", std::move(*local)});
  }
  run.protectedFiles.RequireOthers(uses);
}

void BackUpBeforeOverwritePc(const RunContext& run, RunJournal& journal, std::span<const SyncTable> tables) {
  RemoveUnfinishedBackups(run);
  if (ModeOf(run.state) != RunMode::OverwritePc) return;
  BackupDesktopDatabase(run, tables, [&](const std::string& backup) { journal.BeforeTemplate(backup); });
}

void SynchronizeTables(const RunContext& run, RunJournal& journal, std::span<const SyncTable> tables) {
  const RestAtEnd rest(run.databases);
  TableDriver driver(run, journal);
  for (const SyncTable& table : tables) driver.SynchronizeTable(table.name);
}

}  // namespace mv
