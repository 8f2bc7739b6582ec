#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include "platform/PatientFileSystem.h"
#include "run/HandheldChoice.h"
#include "run/Main.h"
#include "ui/InteractiveUi.h"
#include "ui/frmMain.h"

namespace mv {

/// The program put together: the one place that chooses production objects. Owns them all.
class Wiring {
 public:
  /// Reads the settings as far as they decide on an object. Raises when they cannot be read.
  explicit Wiring(Invocation invocation);
  Wiring(const Wiring&) = delete;
  Wiring& operator=(const Wiring&) = delete;

  /// Runs the program to its end; returns the process's exit status.
  int Run(std::ostream& errors);

 private:
  InteractiveUi MakeInteractiveUi();
  std::unique_ptr<frmMain> MakeWindow();
  UserInterface& Ui();
  PreviewContext ForRehearsal();

  Invocation invocation_;
  platform::SystemClock clock_;
  std::unique_ptr<platform::FileSystem> systemFiles_;
  platform::PatientFileSystem patientFiles_;
  history::RoomMaker files_;
  platform::SystemShell shell_;
  std::string programFolder_;
  std::unique_ptr<SettingsStore> settings_;
  RunState state_;
  ProtectedFiles protectedFiles_;
  SyncLog log_;
  std::unique_ptr<RegistryStrings> registry_;
  std::unique_ptr<AutoStartService> autoStart_;  ///< null where the registry does it
  InteractiveUi interactive_;                    ///< empty for a silent run
  std::unique_ptr<frmMain> window_;              ///< null where there is nothing to show it on, and for a silent run
  std::unique_ptr<UserInterface> noWindow_;
  ChosenHandheld handheld_;
  DeviceHooks hooks_;
  modWinCERAPIConnectionHandler connection_;
  modWinCEFileManagement deviceFiles_;
  std::unique_ptr<DatabaseProvider> databases_;
  RunContext run_;
};

/// Puts the program together and runs it to its end; returns the process's exit status. Never raises: what no log could
/// tell goes to `errors`.
int RunProgram(const Invocation& invocation, std::ostream& errors);

}  // namespace mv
