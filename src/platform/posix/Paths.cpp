#include "platform/posix/Paths.h"

#include <algorithm>

namespace mv::platform {

std::string NativePath(const std::string& path) {
  std::string native = path;
  std::replace(native.begin(), native.end(), '\\', '/');
  return native;
}

}  // namespace mv::platform
