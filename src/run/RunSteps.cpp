#include "run/RunSteps.h"

#include "base/Error.h"
#include "run/DesktopBackup.h"
#include "run/TableDriver.h"
#include "sync/SyncContext.h"

namespace mv {

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

void BackUpBeforeOverwritePc(const RunContext& run) {
  if (run.state.settings.SyncMode == sync_modes::kOverwritePc) BackupDesktopDatabase(run);
}

void SynchronizeTables(const RunContext& run, std::size_t first) {
  TableDriver driver(run);
  for (std::size_t i = first; i < kTables.size(); ++i) driver.SynchronizeTable(kTables[i]);
}

}  // namespace mv
