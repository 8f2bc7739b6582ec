#pragma once

#include <cstdint>
#include <string>

#include "ui/UserInterface.h"

namespace mv {

class frmAbout;
class frmConfig;

/// The main window as its toolkit shows it. It calls the handlers of frmMain for what the user does, each only from its
/// message loop: in ProcessMessages, RunUntilClosed or a modal window.
///
/// After Unload, or when the system took the window away, every call does nothing; a view is destroyed with its
/// frmMain, not with its window.
class frmMainView {
 public:
  /// The toolbar's buttons by index; 2 is a separator.
  static constexpr int kSyncButton = 1;
  static constexpr int kSettingsButton = 3;
  static constexpr int kLogButton = 4;
  static constexpr int kSpinnerFrames = 4;

  enum class Panel { Status, Mode };
  enum class Menu { Sync, SyncStart, View };

  virtual ~frmMainView() = default;

  /// Sets up the one column of the progress list.
  virtual void SetUpProgressColumn() = 0;
  virtual void Show() = 0;
  virtual void Unload() = 0;
  /// Handles messages until the window is closed.
  virtual void RunUntilClosed() = 0;
  virtual void ProcessMessages() = 0;

  virtual void SetPanel(Panel panel, const std::string& text) = 0;
  /// Picture and tool tip of the panel sspSyncIcon. A mode outside 0 to 2 has no picture.
  virtual void ShowMode(std::int16_t mode, const std::string& tip) = 0;
  /// A new last line, which is scrolled into sight.
  virtual void AddProgressItem(const std::string& text) = 0;
  /// `frame`: 0 to kSpinnerFrames - 1.
  virtual void ShowSpinnerFrame(int frame) = 0;
  virtual void EnableButton(int index, bool enabled) = 0;
  virtual void EnableMenu(Menu menu, bool enabled) = 0;
  virtual void SetHourglass(bool on) = 0;

  virtual MessageAnswer ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                                    MessageIcon icon) = 0;
  /// Shows the settings dialog, or the about box, modally over the window; returns when it is closed.
  virtual void ShowModal(frmConfig& form) = 0;
  virtual void ShowModal(frmAbout& form) = 0;
};

}  // namespace mv
