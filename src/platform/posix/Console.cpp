#include "platform/Console.h"

namespace mv::platform {

std::vector<std::string> Arguments(int argc, char** argv) {
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) arguments.emplace_back(argv[i]);
  return arguments;
}

void UseUtf8Streams() {
  // Streams carry bytes and terminals speak UTF-8.
}

}  // namespace mv::platform
