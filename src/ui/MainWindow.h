#pragma once

namespace mv {

/// What the program's entry and an interactive run do with the main window. Its own behaviour is its own business.
class MainWindow {
 public:
  virtual ~MainWindow() = default;

  /// Shows the window modelessly, its Start commands disabled.
  virtual void Show() = 0;
  /// Closes the window, which saves the settings.
  virtual void Unload() = 0;
  /// The first toolbar button and the menu command Start.
  virtual void EnableStart() = 0;
  virtual void DisableStart() = 0;
  /// The three toolbar buttons and the menus Sync and View. The menu command Start keeps the state of its own.
  virtual void EnableCommands() = 0;
  virtual void DisableCommands() = 0;
  /// Handles the user's actions until the window is closed.
  virtual void RunUntilClosed() = 0;
};

}  // namespace mv
