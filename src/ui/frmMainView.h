#pragma once

#include <cstdint>
#include <string>

#include "ui/UserInterface.h"

namespace mv {

class frmAbout;
class frmConfig;

/// The main window as its toolkit shows it: menu bar, toolbar and status bar as in MainWindowLayout.h, a band with mode
/// picture and spinner, the progress list. The list has the focus at first; Tab leads to the toolbar and back. It calls
/// the handlers of frmMain for what the user does, each only from its message loop: in ProcessMessages, RunUntilClosed
/// or a modal window.
///
/// After Unload, or when the system took the window away, every call does nothing; a view is destroyed with its
/// frmMain, not with its window.
class frmMainView {
 public:
  static constexpr int kSpinnerFrames = 4;

  enum class Panel { Status, Mode };
  enum class Menu { Sync, View };
  /// What the menus and the toolbar offer.
  enum class Command { Start, Exit, Settings, Log, About };

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
  /// `index`: a layout::ToolButton's.
  virtual void EnableButton(int index, bool enabled) = 0;
  virtual void EnableMenu(Menu menu, bool enabled) = 0;
  /// The command's menu entry.
  virtual void EnableMenuItem(Command command, bool enabled) = 0;
  virtual void SetHourglass(bool on) = 0;

  virtual MessageAnswer ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                                    MessageIcon icon) = 0;
  /// Shows the settings dialog modally over the window; returns when it is closed.
  virtual void ShowModal(frmConfig& form) = 0;
  /// Shows the about box over the window and returns at once, so that a run goes on beneath it. Until it is closed, by
  /// its button or with the window, the window takes no input, and message boxes come up over the box. There is one at
  /// a time: asked for again it comes to the front. `form` must outlive the view.
  virtual void ShowAbout(frmAbout& form) = 0;
};

}  // namespace mv
