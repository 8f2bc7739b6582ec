#include "platform/System.h"

#include "base/Utf.h"

namespace mv::platform {

std::string CommandLine(int argc, char** argv) {
  std::string line;
  for (int i = 1; i < argc; ++i) {
    if (i > 1) line += ' ';
    line += ValidUtf8(argv[i]);
  }
  return line;
}

}  // namespace mv::platform
