#pragma once

namespace mv {

/// What the program's entry does with the main window. The window's own behaviour is its own business.
class MainWindow {
 public:
  virtual ~MainWindow() = default;

  /// Shows the window modelessly, its Start commands disabled.
  virtual void Show() = 0;
  /// Closes the window, which saves the settings.
  virtual void Unload() = 0;
  /// Enables the first toolbar button and the menu command Start.
  virtual void EnableStart() = 0;
  /// Handles the user's actions until the window is closed.
  virtual void RunUntilClosed() = 0;
};

}  // namespace mv
