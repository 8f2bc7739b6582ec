#include <windows.h>

#include <optional>
#include <sstream>

#include "platform/System.h"
#include "platform/windows/NoSystemBoxes.h"
#include "run/Main.h"
#include "run/Wiring.h"
#include "run/windows/Notice.h"

/// The command line in the arguments went through the ANSI code page; the system has it as it was typed.
int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  const mv::Invocation invocation = mv::ParseInvocation(mv::platform::CommandLine(0, nullptr));
  std::optional<mv::platform::NoSystemBoxes> quiet;
  if (invocation.silentMode) quiet.emplace();
  // There is no standard error yet; what a start has to say comes with its end.
  std::ostringstream words;
  const int status = mv::RunProgram(invocation, words);
  mv::SystemNoticeOutlet outlet;
  mv::TellUser(words.str(), invocation, outlet);
  return status;
}
