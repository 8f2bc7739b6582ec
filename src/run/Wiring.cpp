#include "run/Wiring.h"

#include <utility>

#include "config/UserSettings.h"
#include "device/FolderRapi.h"
#include "device/SystemRapi.h"
#include "run/CurrentError.h"
#include "run/DatabaseEngine.h"
#include "run/InteractiveSync.h"
#include "run/TableDriver.h"
#include "run/Version.h"
#include "ui/SystemUi.h"

namespace mv {
namespace {

/// A folder that stands for the handheld comes before the handheld that the system may reach.
std::unique_ptr<Rapi> MakeRapi(platform::FileSystem& files, const std::string& handheldRoot,
                               const std::string& programFolder) {
  if (handheldRoot.empty()) return MakeSystemRapi(programFolder);
  return std::make_unique<FolderRapi>(files, handheldRoot);
}

/// The device modules know neither the log nor the window.
DeviceHooks MakeHooks(RunState& state, SyncLog& log, UserInterface& ui) {
  return {[&log](const std::string& line) { log.WriteLogLine(line, false); },
          [&state, &ui] {
            if (state.InteractiveRun) ui.AdvanceSpinner(false);
          },
          [&ui] { ui.SetHourglass(true); }, [&ui] { ui.ProcessMessages(); }};
}

}  // namespace

Wiring::Wiring(std::string commandLine)
    : commandLine_(std::move(commandLine)),
      systemFiles_(platform::MakeFileSystem()),
      files_(*systemFiles_, clock_),
      programFolder_(platform::ProgramFolder()),
      settings_(MakeSettingsStore(files_, programFolder_)),
      log_(files_, state_.settings),
      registry_(MakeRegistryStrings(*settings_)),
      toolkit_(MakeToolkit()),
      window_(MakeWindow()),
      noWindow_(MakeSilentUserInterface()),
      rapi_(MakeRapi(files_, LoadHandheldRoot(*settings_), programFolder_)),
      hooks_(MakeHooks(state_, log_, Ui())),
      connection_(*rapi_, hooks_),
      deviceFiles_(*rapi_, connection_, files_, hooks_),
      databases_(MakeDatabaseEngine(files_)),
      run_{state_,         log_,
           Ui(),           *settings_,
           *databases_,    connection_,
           deviceFiles_,   [this] { return CreateFileTransfer(connection_, deviceFiles_, files_); },
           files_,         shell_,
           clock_,         programFolder_,
           kProgramVersion} {}

/// Null in an edition without a window, and for a silent run, which cannot show one then, whatever happens.
std::unique_ptr<frmMain> Wiring::MakeWindow() {
  if (!toolkit_ || SilentModeOf(commandLine_)) return nullptr;
  return std::make_unique<frmMain>(
      *toolkit_, frmMain::Services{state_.settings, state_.ModeNames, *settings_, *registry_, files_, shell_,
                                   kProgramVersion, [this] { InteractiveSync(run_, *window_); }});
}

UserInterface& Wiring::Ui() {
  if (window_) return *window_;
  return *noWindow_;
}

int Wiring::Run(std::ostream& errors) {
  const EntryContext entry{run_, commandLine_, window_.get(), InitCommonControls, errors};
  if (const auto status = Main(entry)) return static_cast<int>(*status);
  window_->RunUntilClosed();
  return static_cast<int>(ExitStatus::Success);
}

int RunProgram(const std::string& commandLine, std::ostream& errors) {
  try {
    return Wiring(commandLine).Run(errors);
  } catch (...) {
    ReportUnloggedError(CurrentError(), errors);
    return static_cast<int>(ExitStatus::Stopped);
  }
}

}  // namespace mv
