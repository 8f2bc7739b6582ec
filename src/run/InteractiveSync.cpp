#include "run/InteractiveSync.h"

#include <iterator>

#include "config/Settings.h"
#include "run/CurrentError.h"
#include "run/RunLock.h"
#include "run/RunSteps.h"
#include "run/RunTexts.h"
#include "ui/Texts.h"

namespace mv {
namespace {

/// False when the user gives up, or has closed the window.
bool WaitForHandheld(const RunContext& run) {
  while (!run.connection.ConnectDevice()) {
    run.ui.SetHourglass(false);
    run.connection.DisconnectDevice();
    const MessageAnswer answer = run.ui.ShowMessage(texts::kConnectForRun, texts::kConnectTitle,
                                                    MessageButtons::RetryCancel, MessageIcon::Critical);
    if (answer == MessageAnswer::Cancel) return false;
  }
  run.connection.DisconnectDevice();
  return !run.ui.Closed();
}

void ReportIncomplete(const RunContext& run) {
  run.log.WriteLogLine(log_texts::kErrorsOccurred, false);
  run.ui.AddProgressLine(window_texts::EndedWithErrors(NowText(run)));
  run.ui.ShowMessage(texts::kNotCompleted, texts::kNotCompletedTitle, MessageButtons::Ok, MessageIcon::Critical);
}

void ReportEnd(const RunContext& run) {
  const std::int16_t count = run.state.TablesSynchronized;
  run.ui.SetStatus(window_texts::EndedAt(NowText(run)));
  SaveLastSync(run.settings, run.clock);
  LogLines(run.log, log_texts::InteractiveEnd(count, NowText(run)));
  run.ui.AddProgressLine(log_texts::Ended(count, NowText(run)));
  if (count != log_texts::kCountedTables) ReportIncomplete(run);
  LogLastLine(run.log);
}

void RunConnected(const RunContext& run, RunJournal& journal) {
  RequireSeparatePaths(run, kTables);
  const std::optional<RunLock> alone = RunLock::Take(run.files, run.state.settings.DesktopDBPath);
  if (!alone) throw Failure("another run with this database is going on");
  journal.Begin();
  run.state.TablesSynchronized = 0;
  LogLines(run.log, log_texts::InteractiveBanner(run.state.settings, run.version, NowText(run)));
  run.ui.AddProgressLine(window_texts::Began(NowText(run)));
  journal.RequireSafeStart();
  BackUpBeforeOverwritePc(run, journal, kTables);
  SynchronizeTables(run, journal, kTables);
  const bool allSucceeded = run.state.TablesSynchronized == std::ssize(kTables);
  journal.End(allSucceeded ? ExitStatus::Success : ExitStatus::TablesFailed, nullptr);
  ReportEnd(run);
}

void ShowError(const RunContext& run, const Error& error) {
  if (error.Number() == errors::kPermissionDenied) {
    run.ui.ShowMessage(texts::DatabaseInUse(run.state.settings.DesktopDBPath), texts::kDatabaseInUseTitle,
                       MessageButtons::Ok, MessageIcon::Information);
  } else {
    run.ui.ShowMessage(texts::ErrorOccurred(error), "", MessageButtons::Ok, MessageIcon::Exclamation);
  }
}

void LogStop(const RunContext& run) {
  try {
    run.log.WriteLogLine(log_texts::InteractiveStoppedAt(NowText(run)), false);
    LogLastLine(run.log);
  } catch (...) {
    // The log itself may be what stopped the run; the message box has told it, and the window must stay usable.
  }
}

void ReportStop(const RunContext& run, const Error& error) {
  ShowError(run, error);
  LogStop(run);
  run.ui.AddProgressLine(log_texts::StoppedAt(NowText(run)));
}

}  // namespace

void InteractiveSync(const RunContext& run, MainWindow& window) {
  window.DisableStart();
  run.ui.SetHourglass(true);
  if (!WaitForHandheld(run)) {
    window.EnableStart();
    return;
  }
  window.DisableCommands();
  RunJournal journal(run, kTables);
  try {
    RunConnected(run, journal);
  } catch (...) {
    const Error error = CurrentError();
    journal.End(ExitStatus::Stopped, &error);
    ReportStop(run, error);
  }
  run.connection.DisconnectDevice();
  run.ui.AdvanceSpinner(true);
  window.EnableCommands();
  run.ui.SetHourglass(false);
}

}  // namespace mv
