#include "run/Wiring.h"

#include <utility>

#include "config/UserSettings.h"
#include "device/SystemRapi.h"
#include "run/CurrentError.h"
#include "run/DatabaseEngine.h"
#include "run/InteractiveSync.h"
#include "run/Preview.h"
#include "run/RunTexts.h"
#include "run/TableDriver.h"
#include "run/Version.h"
#include "ui/SystemUi.h"

namespace mv {
namespace {

/// The device modules know neither the log nor the window.
DeviceHooks MakeHooks(SyncLog& log, UserInterface& ui) {
  return {[&log](const std::string& line) { log.WriteLogLine(line, false); }, [&ui] { ui.AdvanceSpinner(false); },
          [&ui] { ui.SetHourglass(true); }, [&ui] { ui.ProcessMessages(); }, [&ui] { return ui.Closed(); }};
}

}  // namespace

Wiring::Wiring(Invocation invocation)
    : invocation_(std::move(invocation)),
      systemFiles_(platform::MakeFileSystem()),
      patientFiles_(*systemFiles_, clock_),
      files_(patientFiles_),
      programFolder_(platform::ProgramFolder()),
      settings_(MakeSettingsStore(files_, programFolder_)),
      protectedFiles_(files_, state_.settings, programFolder_),
      log_(files_, state_.settings, protectedFiles_),
      registry_(MakeRegistryStrings(*settings_)),
      autoStart_(MakeAutoStartService()),
      interactive_(MakeInteractiveUi()),
      window_(MakeWindow()),
      noWindow_(MakeSilentUserInterface()),
      handheld_(ChooseHandheld(LoadHandheldSettings(*settings_),
                               {patientFiles_, [this] { return MakeSystemRapi(programFolder_); }, SystemHasRapi()})),
      hooks_(MakeHooks(log_, Ui())),
      connection_(*handheld_.rapi, hooks_, handheld_.wait),
      deviceFiles_(*handheld_.rapi, connection_, files_, hooks_),
      databases_(MakeDatabaseEngine(files_)),
      run_{state_,
           log_,
           Ui(),
           *settings_,
           *databases_,
           connection_,
           deviceFiles_,
           [this] { return CreateFileTransfer(connection_, deviceFiles_, files_); },
           files_,
           shell_,
           clock_,
           programFolder_,
           kProgramVersion,
           protectedFiles_,
           [this](const std::string& path) {
             return handheld_.folder ? handheld_.folder->LocalFile(path) : std::nullopt;
           }} {}

/// Nothing for a silent run: without a toolkit it cannot show a window, whatever happens.
InteractiveUi Wiring::MakeInteractiveUi() {
  if (invocation_.silentMode) return {};
  const auto tables = [this] { return terminal::TableCount{state_.TablesSynchronized, log_texts::kCountedTables}; };
  return ChooseInteractiveUi(invocation_.terminal, files_, tables);
}

std::unique_ptr<frmMain> Wiring::MakeWindow() {
  if (!interactive_.toolkit) return nullptr;
  platform::Shell& shell = interactive_.shell ? *interactive_.shell : shell_;
  return std::make_unique<frmMain>(
      *interactive_.toolkit,
      frmMain::Services{state_.settings, state_.ModeNames, *settings_, *registry_, files_, shell, kProgramVersion,
                        [this] { InteractiveSync(run_, *window_); }, autoStart_.get()});
}

UserInterface& Wiring::Ui() {
  if (window_) return *window_;
  return *noWindow_;
}

PreviewContext Wiring::ForRehearsal() {
  return {patientFiles_,
          clock_,
          *settings_,
          programFolder_,
          *handheld_.rapi,
          handheld_.wait,
          run_.localDeviceFile,
          platform::TemporaryFolder(),
          &Ui()};
}

int Wiring::Run(std::ostream& errors) {
  run_.room = &files_;
  run_.rehearse = [this](std::span<const SyncTable> tables) {
    return RunPreview(ForRehearsal(), {ModeOf(state_), {tables.begin(), tables.end()}});
  };
  run_.obstacles = [this] { return ObstaclesOf(handheld_); };
  run_.tell = [&errors](const std::string& line) { errors << line << '\n'; };
  const EntryContext entry{run_, invocation_, window_.get(), InitCommonControls, errors, interactive_.whyNoWindow};
  if (const auto status = Main(entry)) return static_cast<int>(*status);
  window_->RunUntilClosed();
  return static_cast<int>(ExitStatus::Success);
}

int RunProgram(const Invocation& invocation, std::ostream& errors) {
  try {
    return Wiring(invocation).Run(errors);
  } catch (...) {
    ReportUnloggedError(CurrentError(), errors);
    return static_cast<int>(ExitStatus::Stopped);
  }
}

}  // namespace mv
