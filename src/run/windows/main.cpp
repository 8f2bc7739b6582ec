#include <windows.h>

#include <optional>
#include <sstream>

#include "platform/System.h"
#include "platform/windows/NoSystemBoxes.h"
#include "run/StartAnswer.h"
#include "run/Wiring.h"
#include "run/windows/Notice.h"

namespace {

/// Says what a start without a run has to say, and nothing in a window: whoever typed it looks at a console.
std::optional<int> Answer(const mv::Invocation& invocation) {
  std::ostringstream out;
  std::ostringstream errors;
  const std::optional<int> status = mv::AnswerStart(invocation, out, errors);
  if (!status) return status;
  mv::SystemNoticeOutlet outlet;
  if (!out.str().empty()) outlet.WriteToStandardOutput(out.str());
  if (!errors.str().empty()) outlet.WriteToStandardError(errors.str());
  return status;
}

}  // namespace

/// The command line in the arguments went through the ANSI code page; the system has it as it was typed.
int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  const mv::Invocation invocation = mv::ParseInvocation(mv::platform::CommandLine(0, nullptr));
  if (const auto status = Answer(invocation)) return *status;
  std::optional<mv::platform::NoSystemBoxes> quiet;
  if (invocation.silentMode) quiet.emplace();
  // There is no standard error yet; what a start has to say comes with its end.
  std::ostringstream words;
  const int status = mv::RunProgram(invocation, words);
  mv::SystemNoticeOutlet outlet;
  mv::TellUser(words.str(), invocation, outlet);
  return status;
}
