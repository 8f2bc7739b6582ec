#include <iostream>

#include "base/Error.h"
#include "base/Text.h"
#include "mvtool/manual/Completion.h"
#include "mvtool/manual/ManPage.h"
#include "platform/Console.h"
#include "platform/FileSystem.h"
#include "run/StartAnswer.h"
#include "run/Version.h"

namespace {

void Write(mv::platform::FileSystem& files, const std::string& path, const std::string& text) {
  files.WriteWhole(path, mv::Bytes(text.begin(), text.end()));
}

void WriteManual(mv::platform::FileSystem& files, const std::string& folder, const std::string& date) {
  const std::vector<mv::tool::Command> commands = mv::tool::Commands();
  files.CreateFolders(folder);
  Write(files, mv::JoinPath(folder, "mvtool.1"),
        mv::tool::ManPageOf({"mvtool", "files and runs of MVPPCSync", mv::kProgramVersion, date}, commands));
  Write(
      files, mv::JoinPath(folder, "MVPPCSync.1"),
      mv::tool::ManPageOf({"MVPPCSync", "keeps a vehicle database and its handheld in step", mv::kProgramVersion, date},
                          mv::kStartSynopsis, mv::kStartHelp));
  Write(files, mv::JoinPath(folder, "mvtool.bash"), mv::tool::BashCompletionOf(commands));
  Write(files, mv::JoinPath(folder, "_mvtool"), mv::tool::ZshCompletionOf(commands));
  Write(files, mv::JoinPath(folder, "mvtool.fish"), mv::tool::FishCompletionOf(commands));
}

}  // namespace

/// Part of the build, not of the product: writes the manual pages and the completions of shells into the folder given,
/// from what the programs print as their help. The date (year-month-day) is that of the pages.
int main(int argc, char** argv) {
  mv::platform::UseUtf8Streams();
  const std::vector<std::string> words = mv::platform::Arguments(argc, argv);
  if (words.size() != 2) {
    std::cerr << "usage: make_manual FOLDER DATE\n";
    return 2;
  }
  try {
    WriteManual(*mv::platform::MakeFileSystem(), words[0], words[1]);
    return 0;
  } catch (const mv::Error& error) {
    std::cerr << "make_manual: " << error.Description() << '\n';
    return 1;
  }
}
