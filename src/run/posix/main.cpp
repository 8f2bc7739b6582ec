#include <iostream>

#include "platform/System.h"
#include "run/StartAnswer.h"
#include "run/Wiring.h"

int main(int argc, char** argv) {
  const mv::Invocation invocation = mv::ParseInvocation(mv::platform::CommandLine(argc, argv));
  if (const auto status = mv::AnswerStart(invocation, std::cout, std::cerr)) return *status;
  return mv::RunProgram(invocation, std::cerr);
}
