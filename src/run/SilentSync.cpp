#include "run/SilentSync.h"

#include <iterator>

#include "config/Settings.h"
#include "run/CurrentError.h"
#include "run/RunSteps.h"
#include "run/RunTexts.h"

namespace mv {
namespace {

ExitStatus ReportNoHandheld(const RunContext& run) {
  LogLines(run.log, log_texts::NoHandheld(NowText(run)));
  run.ui.SetHourglass(false);
  run.connection.DisconnectDevice();
  return ExitStatus::NoHandheld;
}

ExitStatus RunConnected(const RunContext& run) {
  run.connection.DisconnectDevice();
  RequireSeparatePaths(run, kSilentTables);
  run.state.TablesSynchronized = 0;
  LogLines(run.log, log_texts::SilentBanner(NowText(run)));
  BackUpBeforeOverwritePc(run, kSilentTables);
  SynchronizeTables(run, kSilentTables);
  SaveLastSync(run.settings, run.clock);
  LogLines(run.log, log_texts::SilentEnd(run.state.TablesSynchronized, NowText(run)));
  LogLastLine(run.log);
  run.connection.DisconnectDevice();
  run.ui.SetHourglass(false);
  run.ui.ProcessMessages();
  const bool allSucceeded = run.state.TablesSynchronized == std::ssize(kSilentTables);
  return allSucceeded ? ExitStatus::Success : ExitStatus::TablesFailed;
}

ExitStatus ReportStop(const RunContext& run, const Error& error) {
  run.log.WriteLogLine(log_texts::StoppedBy(error, run.state.settings.DesktopDBPath), false);
  run.log.WriteLogLine(log_texts::StoppedAt(NowText(run)), false);
  LogLastLine(run.log);
  return ExitStatus::Stopped;
}

}  // namespace

ExitStatus SilentSync(const RunContext& run) {
  run.ui.SetHourglass(true);
  run.ui.ProcessMessages();
  if (!run.connection.ConnectDevice()) return ReportNoHandheld(run);
  try {
    return RunConnected(run);
  } catch (...) {
    return ReportStop(run, CurrentError());
  }
}

}  // namespace mv
