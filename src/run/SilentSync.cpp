#include "run/SilentSync.h"

#include <iterator>

#include "config/KnownSettings.h"
#include "config/Settings.h"
#include "run/CurrentError.h"
#include "run/JournalTexts.h"
#include "run/RunJournal.h"
#include "run/RunLock.h"
#include "run/RunSteps.h"
#include "run/RunTexts.h"

namespace mv {
namespace {

using Tables = std::span<const SyncTable>;

/// Says on standard error how a run ended that did not do all; the log may be turned off.
void Tell(const RunContext& run, const std::string& line) {
  if (run.tell) run.tell(line);
}

void TellObstacles(const RunContext& run) {
  if (!run.obstacles) return;
  for (const std::string& obstacle : run.obstacles()) Tell(run, "  " + obstacle);
}

/// What may be wrong with the settings, for a user who thinks that they name a handheld.
void TellDoubtsAboutSettings(const RunContext& run) {
  const std::vector<SettingName> names = run.settings.Names(kSettingsApplication);
  if (names.empty()) Tell(run, "  " + journal_texts::NoSettings(run.settings.PlaceOf(kSettingsApplication)));
  for (const SettingName& name : names) {
    const auto meant = IsKnown(name) ? std::nullopt : MeantBy(name);
    if (!meant) continue;
    Tell(run, "  " + journal_texts::MistypedSetting("[" + name.section + "] " + name.key,
                                                    std::string("[") + meant->section + "] " + meant->key));
  }
}

ExitStatus ReportNoHandheld(const RunContext& run) {
  Tell(run, journal_texts::NoHandheldLine());
  TellObstacles(run);
  TellDoubtsAboutSettings(run);
  LogLines(run.log, log_texts::NoHandheld(NowText(run)));
  run.ui.SetHourglass(false);
  run.connection.DisconnectDevice();
  return ExitStatus::NoHandheld;
}

/// The log is the other run's.
ExitStatus ReportOtherRun(const RunContext& run) {
  Tell(run, journal_texts::OtherRunLine(run.state.settings.DesktopDBPath));
  run.ui.SetHourglass(false);
  return ExitStatus::Stopped;
}

/// The tables as far as they go; the end lines are another matter.
ExitStatus RunTables(const RunContext& run, RunJournal& journal, Tables tables) {
  journal.RequireSafeStart();
  BackUpBeforeOverwritePc(run, journal, tables);
  SynchronizeTables(run, journal, tables);
  const bool allSucceeded = run.state.TablesSynchronized == std::ssize(tables);
  const ExitStatus status = allSucceeded ? ExitStatus::Success : ExitStatus::TablesFailed;
  journal.End(status, nullptr);
  if (!allSucceeded) Tell(run, journal_texts::TablesFailedLine(journal.FailedTables()));
  // An empty mount point answers like a handheld without tables.
  if (run.state.TablesSynchronized == 0) TellObstacles(run);
  return status;
}

ExitStatus RunConnected(const RunContext& run, RunJournal& journal, Tables tables) {
  run.connection.DisconnectDevice();
  RequireSeparatePaths(run, tables);
  journal.Begin();
  run.state.TablesSynchronized = 0;
  LogLines(run.log, log_texts::SilentBanner(NowText(run)));
  const ExitStatus status = RunTables(run, journal, tables);
  SaveLastSync(run.settings, run.clock);
  LogLines(run.log, log_texts::SilentEnd(run.state.TablesSynchronized, NowText(run)));
  LogLastLine(run.log);
  run.connection.DisconnectDevice();
  run.ui.SetHourglass(false);
  run.ui.ProcessMessages();
  return status;
}

ExitStatus ReportStop(const RunContext& run, RunJournal& journal, const Error& error) {
  const std::string& database = run.state.settings.DesktopDBPath;
  run.state.stop = error;
  journal.End(ExitStatus::Stopped, &error);
  run.log.WriteLogLine(log_texts::StoppedBy(error, database), false);
  run.log.WriteLogLine(log_texts::StoppedAt(NowText(run)), false);
  LogLastLine(run.log);
  Tell(run, journal_texts::StoppedLine(journal.CurrentTable(), error, database));
  return ExitStatus::Stopped;
}

}  // namespace

ExitStatus SilentSync(const RunContext& run, std::span<const SyncTable> tables) {
  run.ui.SetHourglass(true);
  run.ui.ProcessMessages();
  const std::optional<RunLock> alone = RunLock::Take(run.files, run.state.settings.DesktopDBPath);
  if (!alone) return ReportOtherRun(run);
  if (!run.connection.ConnectDevice()) return ReportNoHandheld(run);
  RunJournal journal(run, tables);
  try {
    return RunConnected(run, journal, tables);
  } catch (...) {
    return ReportStop(run, journal, CurrentError());
  }
}

}  // namespace mv
