#include "ui/InteractiveUi.h"

#include "ui/SystemUi.h"

namespace mv {

/// The program has no console; its window is the only one.
InteractiveUi ChooseInteractiveUi(bool, platform::FileSystem&, std::function<terminal::TableCount()>) {
  InteractiveUi ui;
  ui.toolkit = FindToolkit().toolkit;
  return ui;
}

}  // namespace mv
