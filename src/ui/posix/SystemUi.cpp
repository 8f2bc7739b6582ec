#include "ui/SystemUi.h"

namespace mv {

bool InitCommonControls() {
  return true;
}

std::unique_ptr<UserInterface> MakeSilentUserInterface() {
  return std::make_unique<SilentUserInterface>();
}

std::unique_ptr<Toolkit> MakeToolkit() {
  return nullptr;
}

std::string WhyNoWindow() {
  return "the part of the program that shows it is not installed (package mvppcsync-window)";
}

}  // namespace mv
