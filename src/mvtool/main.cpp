#include <iostream>
#include <string>
#include <vector>

#include "config/UserSettings.h"
#include "device/SystemRapi.h"
#include "mvtool/commands/Command.h"
#include "platform/Console.h"
#include "platform/PatientFileSystem.h"
#include "run/Wiring.h"

int main(int argc, char** argv) {
  mv::platform::UseUtf8Streams();
  const std::vector<std::string> words = mv::platform::Arguments(argc, argv);
  const auto systemFiles = mv::platform::MakeFileSystem();
  const mv::platform::SystemClock clock;
  mv::platform::PatientFileSystem files(*systemFiles, clock);
  const std::string programFolder = mv::platform::ProgramFolder();
  mv::tool::ToolContext context{
      std::cin,
      std::cout,
      std::cerr,
      files,
      clock,
      [&] { return mv::MakeSettingsStore(files, programFolder); },
      programFolder,
      [&] { return mv::MakeSystemRapi(programFolder); },
      mv::SystemHasRapi(),
      [](mv::RunMode mode, std::ostream& errors) { return mv::RunProgram(mv::Invocation{mode}, errors); },
      [&] { return mv::RegisteredAutoStart(files); }};
  return mv::tool::RunTool(words, context);
}
