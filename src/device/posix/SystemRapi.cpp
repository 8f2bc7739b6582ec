#include "device/SystemRapi.h"

#include "device/NoRapi.h"

namespace mv {

bool SystemHasRapi() {
  return false;
}

std::unique_ptr<Rapi> MakeSystemRapi(const std::string&) {
  return std::make_unique<NoRapi>();
}

}  // namespace mv
