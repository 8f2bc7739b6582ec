#include "platform/Terminal.h"

namespace mv::platform {

std::unique_ptr<Terminal> MakeTerminal() {
  return nullptr;
}

}  // namespace mv::platform
