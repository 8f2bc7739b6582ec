#include "config/AutoStartService.h"

namespace mv {

std::unique_ptr<AutoStartService> MakeAutoStartService() {
  return nullptr;
}

}  // namespace mv
