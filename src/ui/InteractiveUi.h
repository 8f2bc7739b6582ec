#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/FileSystem.h"
#include "platform/Shell.h"
#include "platform/Terminal.h"
#include "ui/Toolkit.h"
#include "ui/terminal/TableCount.h"

namespace mv {

/// What an interactive start works with.
struct InteractiveUi {
  std::unique_ptr<platform::Terminal> terminal;  ///< null under a window
  std::unique_ptr<Toolkit> toolkit;              ///< null when there is nothing to show a window on
  std::unique_ptr<platform::Shell> shell;        ///< null: the system's own
  /// Empty when there is a window, or none was asked for.
  std::string whyNoWindow;
};

/// The system's window; or the terminal, on systems where the program can use it, when `terminalWanted` or when there
/// is no window. `files` must outlive the result. `tables`: how far a run is.
InteractiveUi ChooseInteractiveUi(bool terminalWanted, platform::FileSystem& files,
                                  std::function<terminal::TableCount()> tables);

}  // namespace mv
