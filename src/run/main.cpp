#include <iostream>

#include "run/CurrentError.h"
#include "run/Wiring.h"

int main(int argc, char** argv) {
  try {
    return mv::Wiring(mv::platform::CommandLine(argc, argv)).Run(std::cerr);
  } catch (...) {
    mv::ReportUnloggedError(mv::CurrentError(), std::cerr);
    return static_cast<int>(mv::ExitStatus::Stopped);
  }
}
