#include "device/SystemRapi.h"

#include "device/NoRapi.h"

namespace mv {

std::unique_ptr<Rapi> MakeSystemRapi(const std::string&) {
  return std::make_unique<NoRapi>();
}

}  // namespace mv
