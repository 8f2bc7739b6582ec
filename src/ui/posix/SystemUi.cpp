#include "ui/SystemUi.h"

#include "platform/System.h"
#include "ui/posix/WindowLoader.h"

namespace mv {
namespace {

FoundToolkit Find() {
  return FindToolkit(WindowPartPlaces(platform::ProgramFolder()));
}

}  // namespace

bool InitCommonControls() {
  return true;
}

std::unique_ptr<UserInterface> MakeSilentUserInterface() {
  return std::make_unique<SilentUserInterface>();
}

std::unique_ptr<Toolkit> MakeToolkit() {
  return Find().toolkit;
}

std::string WhyNoWindow() {
  return Find().reason;
}

}  // namespace mv
