#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "platform/System.h"
#include "support/TempFolder.h"

namespace mv::testing {

/// What a program that is not ours said. Tests with such programs skip where they are not there.
struct ToolResult {
  int status = 0;
  std::string output;  ///< both streams

  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }
};

/// Runs a command line of the system's shell.
inline ToolResult RunTool(const std::string& command) {
  const TempFolder folder;
  const std::string file = (std::filesystem::path(folder.Path()) / "output.txt").string();
  ToolResult result;
  result.status = std::system((command + " > \"" + file + "\" 2>&1").c_str());
  std::ifstream in(file, std::ios::binary);
  result.output.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return result;
}

/// True when a program of that name lies in one of the folders of PATH.
inline bool IsOnPath(const std::string& program) {
  std::istringstream folders(platform::EnvironmentVariable("PATH").value_or(""));
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (!folder.empty() && std::filesystem::exists(std::filesystem::path(folder) / program)) return true;
  }
  return false;
}

/// The independent checker of Jet files named by the environment variable JETCHECK, a Python program.
class JetCheck {
 public:
  /// Nothing when the variable is not set or there is no Python to run it.
  static std::optional<JetCheck> Find() {
    const auto program = platform::EnvironmentVariable("JETCHECK");
    if (!program || RunTool("python3 --version").status != 0) return std::nullopt;
    return JetCheck(*program);
  }

  /// Checks every structure of a file, or lists parts of it: see its options.
  ToolResult Run(const std::string& options, const std::string& path) const {
    return RunTool("python3 \"" + program_ + "\" " + options + " \"" + path + "\"");
  }

 private:
  explicit JetCheck(std::string program) : program_(std::move(program)) {}

  std::string program_;
};

}  // namespace mv::testing
