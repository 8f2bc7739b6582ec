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
    ui.toolkit = MakeToolkit();
    if (ui.toolkit) return ui;
    ui.whyNoWindow = WhyNoWindow();
  }
  ui.terminal = platform::MakeTerminal();
  if (!ui.terminal) return ui;
  ui.toolkit = std::make_unique<terminal::TerminalToolkit>(*ui.terminal, std::move(tables));
  ui.shell = std::make_unique<terminal::LogReader>(files, *ui.terminal);
  return ui;
}

}  // namespace mv
