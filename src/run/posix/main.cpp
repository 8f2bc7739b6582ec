#include <malloc.h>

#include <iostream>

#include "platform/System.h"
#include "run/StartAnswer.h"
#include "run/Wiring.h"

namespace {

/// Freed blocks from this size on go back to the system at once. The C library would raise the limit with the first
/// large block and keep what a table leaves, which the next one, of other sizes, mostly cannot use.
constexpr int kLargeBlock = 128 * 1024;

}  // namespace

int main(int argc, char** argv) {
  ::mallopt(M_MMAP_THRESHOLD, kLargeBlock);
  const mv::Invocation invocation = mv::ParseInvocation(mv::platform::CommandLine(argc, argv));
  if (const auto status = mv::AnswerStart(invocation, std::cout, std::cerr)) return *status;
  return mv::RunProgram(invocation, std::cerr);
}
