#include "platform/Console.h"

#include <iostream>

namespace mv::platform {

std::vector<std::string> Arguments(int argc, char** argv) {
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) arguments.emplace_back(argv[i]);
  return arguments;
}

void UseUtf8Streams() {
  // Streams carry bytes and terminals speak UTF-8 already. Unshared with the C library's streams they have buffers.
  std::ios::sync_with_stdio(false);
}

}  // namespace mv::platform
