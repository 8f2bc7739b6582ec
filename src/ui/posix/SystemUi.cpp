#include "ui/SystemUi.h"

#include "platform/System.h"
#include "ui/posix/WindowLoader.h"

namespace mv {

bool InitCommonControls() {
  return true;
}

std::unique_ptr<UserInterface> MakeSilentUserInterface() {
  return std::make_unique<SilentUserInterface>();
}

FoundToolkit FindToolkit() {
  return FindToolkit(WindowPartPlaces(platform::ProgramFolder()));
}

}  // namespace mv
