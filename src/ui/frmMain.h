#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "config/AutoStartService.h"
#include "config/RegistryStrings.h"
#include "config/Settings.h"
#include "config/SettingsStore.h"
#include "platform/FileSystem.h"
#include "platform/Shell.h"
#include "ui/MainWindow.h"
#include "ui/Toolkit.h"
#include "ui/UserInterface.h"
#include "ui/frmAbout.h"
#include "ui/frmMainView.h"

namespace mv {

/// Behaviour of the main window. It is the run's user interface as well: until it is shown, and after it was closed,
/// what a run shows goes nowhere (but for the pointer, which the window opens under) and questions get the refusing
/// answer.
///
/// The window may be closed at any time, also during a run: its settings are saved, and the run, which handles the
/// window's messages, sees Closed.
class frmMain : public MainWindow, public UserInterface {
 public:
  /// What the window works with; everything must outlive it.
  struct Services {
    Settings& settings;
    /// By mode.
    const std::array<std::string, 3>& modeNames;
    SettingsStore& store;
    RegistryStrings& registry;
    platform::FileSystem& files;
    platform::Shell& shell;
    /// "major.minor.revision".
    std::string version;
    /// Makes an interactive run. Must not raise.
    std::function<void()> startRun;
    /// See ConfigAdditions.
    AutoStartService* autoStart = nullptr;
    std::function<std::chrono::steady_clock::time_point()> now = std::chrono::steady_clock::now;
  };

  static constexpr std::chrono::milliseconds kFrameTime{50};
  static constexpr std::chrono::milliseconds kMessageTime{10};

  frmMain(Toolkit& toolkit, Services services);
  ~frmMain() override;
  frmMain(const frmMain&) = delete;
  frmMain& operator=(const frmMain&) = delete;

  // MainWindow
  void Show() override;
  void Unload() override;
  void EnableStart() override;
  void DisableStart() override;
  void EnableCommands() override;
  void DisableCommands() override;
  void RunUntilClosed() override;

  // UserInterface
  void SetStatus(const std::string& text) override;
  void AddProgressLine(const std::string& text) override;
  /// A frame is shown, and messages are handled, when kFrameTime has gone by since the last one. Runs call this by
  /// bytes and records, thousands of times in a second.
  void AdvanceSpinner(bool reset) override;
  /// A box without a title gets the program's name.
  MessageAnswer ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                            MessageIcon icon) override;
  void SetHourglass(bool on) override;
  /// During a run messages are handled when kMessageTime has gone by since the last time: a run calls this after every
  /// few records, and a look costs more than they do.
  void ProcessMessages() override;
  bool Closed() const override { return closed_; }

  // Handlers for the view. None raises; an error is shown in a message box.
  void Form_Load();
  /// Whenever the window becomes the active one: the settings dialog may have changed the mode.
  void Form_Activate();
  /// Before the window goes away, and when the user's session ends: saves the settings, once.
  void Form_Unload();
  void mnuSyncStart_Click();
  void mnuSyncExit_Click();
  void mnuViewSettings_Click();
  void mnuViewLog_Click();
  void mnuAbout_Click();
  void tb_ButtonClick(int index);
  /// Calls the handler of the command's menu entry.
  void Perform(frmMainView::Command command);

 private:
  /// True while there is a window that can show something.
  bool Open() const { return view_ && !closed_; }
  void HandleMessages();
  void EnableStart(bool enabled);
  void EnableCommands(bool enabled);
  bool LogIsReadable() const;
  /// Runs one of the user's actions; an error in it is shown.
  void Handle(const std::function<void()>& action);

  Toolkit& toolkit_;
  Services services_;
  frmAbout about_;
  std::unique_ptr<frmMainView> view_;  ///< null until the window is shown
  int spinnerFrame_ = 0;
  std::chrono::steady_clock::time_point nextFrame_ = {};
  std::chrono::steady_clock::time_point nextMessages_ = {};
  bool hourglass_ = false;  ///< the window opens under the pointer that was set before
  bool running_ = false;
  bool closed_ = false;
};

}  // namespace mv
