#include "run/Main.h"

#include <ostream>

#include "base/NumberText.h"
#include "base/Text.h"
#include "run/CurrentError.h"
#include "run/SilentSync.h"
#include "sync/SyncContext.h"
#include "ui/Texts.h"

namespace mv {
namespace {

/// What an interactive start says that nothing can be shown on.
std::string NothingToShowOn(const EntryContext& entry) {
  const std::string why = entry.invocation.terminal ? "--terminal needs a terminal on standard input"
                                                    : "no window: " + entry.whyNoWindow +
                                                          "; and no terminal on standard input, which --terminal needs";
  return "MVPPCSync: " + why +
         ". Start it with -Mode0 (Synchronize), -Mode1 (Overwrite PDA) or -Mode2 (Overwrite PC).\n";
}

void FillModeTexts(RunState& state) {
  state.ModeResultTexts = ModeResultTexts();
  state.ModeNames = ModeNames();
}

MessageAnswer AskToConnect(UserInterface& ui) {
  return ui.ShowMessage(texts::kConnectAtStart, texts::kConnectTitle, MessageButtons::RetryCancel,
                        MessageIcon::Information);
}

/// False when the handheld does not answer and the program shall end.
bool CheckDevice(const EntryContext& entry) {
  const RunContext& run = entry.run;
  while (!run.connection.ConnectDevice()) {
    run.ui.SetHourglass(false);
    run.connection.DisconnectDevice();
    if (!run.state.InteractiveRun) return false;
    if (AskToConnect(run.ui) == MessageAnswer::Retry) continue;
    entry.window->Unload();
    return false;
  }
  // Each transfer opens a connection of its own; this one has only proved that the handheld answers.
  run.connection.DisconnectDevice();
  return true;
}

ExitStatus RunSilently(const EntryContext& entry, RunMode mode) {
  SetMode(entry.run.state, mode);
  const ExitStatus status = SilentSync(entry.run);
  CheckDevice(entry);
  return status;
}

std::optional<ExitStatus> RunInteractively(const EntryContext& entry) {
  const RunContext& run = entry.run;
  if (entry.window == nullptr) {
    entry.errors << NothingToShowOn(entry);
    return ExitStatus::Stopped;
  }
  run.state.InteractiveRun = true;
  if (!entry.whyNoWindow.empty()) {
    entry.errors << "MVPPCSync: no window: " << entry.whyNoWindow << "; here is the terminal instead" << std::endl;
  }
  entry.window->Show();
  run.ui.ProcessMessages();
  if (!CheckDevice(entry)) return ExitStatus::NoHandheld;
  entry.window->EnableStart();
  run.ui.SetHourglass(false);
  return std::nullopt;
}

std::optional<ExitStatus> Enter(const EntryContext& entry) {
  const RunContext& run = entry.run;
  entry.initCommonControls();
  run.state.InteractiveRun = false;
  run.ui.SetHourglass(true);
  run.ui.ProcessMessages();
  FillModeTexts(run.state);
  run.state.settings = LoadSettings(run.settings, run.programFolder);
  run.state.history = LoadHistoryLimits(run.settings);
  run.state.safety = LoadSafetySettings(run.settings);
  if (const auto mode = entry.invocation.silentMode) return RunSilently(entry, *mode);
  return RunInteractively(entry);
}

}  // namespace

void ReportUnloggedError(const Error& error, std::ostream& errors) {
  errors << "MVPPCSync: " << error.Source() << (error.Source().empty() ? "" : ": ")
         << "Error: " << TextOfInteger(error.Number()) << " has occurred. Description: " << error.Description();
  if (!error.Subject().empty() && !error.Source().ends_with(error.Subject())) errors << " (" << error.Subject() << ")";
  errors << (error.Number() == errors::kOutOfMemory ? "\n" : "; \"mvtool doctor\" says what to do\n");
}

std::optional<ExitStatus> Main(const EntryContext& entry) {
  try {
    return Enter(entry);
  } catch (...) {
    ReportUnloggedError(CurrentError(), entry.errors);
    return ExitStatus::Stopped;
  }
}

}  // namespace mv
