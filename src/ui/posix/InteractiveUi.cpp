#include "ui/InteractiveUi.h"

#include <utility>

#include "ui/SystemUi.h"
#include "ui/terminal/LogReader.h"
#include "ui/terminal/TerminalToolkit.h"

namespace mv {

InteractiveUi ChooseInteractiveUi(bool terminalWanted, platform::FileSystem& files,
                                  std::function<terminal::TableCount()> tables) {
  InteractiveUi ui;
  if (!terminalWanted) {
    FoundToolkit found = FindToolkit();
    ui.toolkit = std::move(found.toolkit);
    if (ui.toolkit) return ui;
    ui.whyNoWindow = std::move(found.reason);
  }
  ui.terminal = platform::MakeTerminal();
  if (!ui.terminal) return ui;
  ui.toolkit = std::make_unique<terminal::TerminalToolkit>(*ui.terminal, std::move(tables));
  ui.shell = std::make_unique<terminal::LogReader>(files, *ui.terminal);
  return ui;
}

}  // namespace mv
