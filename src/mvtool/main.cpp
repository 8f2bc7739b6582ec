#include <iostream>
#include <string>
#include <vector>

#include "mvtool/commands/Command.h"
#include "platform/Console.h"

int main(int argc, char** argv) {
  mv::platform::UseUtf8Streams();
  const std::vector<std::string> words = mv::platform::Arguments(argc, argv);
  const auto files = mv::platform::MakeFileSystem();
  const mv::platform::SystemClock clock;
  mv::tool::ToolContext context{std::cin, std::cout, std::cerr, *files, clock};
  return mv::tool::RunTool(words, context);
}
