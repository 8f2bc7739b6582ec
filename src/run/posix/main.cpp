#include <iostream>

#include "platform/System.h"
#include "run/Wiring.h"

int main(int argc, char** argv) {
  return mv::RunProgram(mv::ParseInvocation(mv::platform::CommandLine(argc, argv)), std::cerr);
}
