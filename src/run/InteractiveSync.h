#pragma once

#include "run/RunContext.h"
#include "ui/MainWindow.h"

namespace mv {

/// The run that the user starts from the main window: all thirteen tables in the mode of the run state, told in the
/// sync log, the progress list, the status bar and in message boxes.
///
/// Without a handheld the user is asked to connect it; refusing ends the attempt and leaves Start enabled. During the
/// run the window's commands are disabled. They are enabled again at its end, however it ends, but for the menu command
/// Start: after one run the toolbar button starts the next.
///
/// Never raises: an error stops the run and is shown. So does closing the window; the table in hand is then left as
/// after any error.
void InteractiveSync(const RunContext& run, MainWindow& window);

}  // namespace mv
