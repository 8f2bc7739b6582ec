#include "run/Invocation.h"

#include <sstream>

#include "base/Text.h"

namespace mv {
namespace {

std::optional<RunMode> SilentModeOf(const std::string& commandLine) {
  const std::string wanted = AsciiUpper(Trim(commandLine));
  if (wanted == "-MODE0") return RunMode::Synchronize;
  if (wanted == "-MODE1") return RunMode::OverwritePda;
  if (wanted == "-MODE2") return RunMode::OverwritePc;
  return std::nullopt;
}

void TakeOption(Invocation& invocation, const std::string& word) {
  if (word == "--help") {
    invocation.wantsHelp = true;
  } else if (word == "--version") {
    invocation.wantsVersion = true;
  } else if (invocation.unknownOption.empty()) {
    invocation.unknownOption = word;
  }
}

}  // namespace

Invocation ParseInvocation(const std::string& commandLine) {
  Invocation invocation;
  invocation.silentMode = SilentModeOf(commandLine);
  if (invocation.silentMode) return invocation;
  invocation.terminal = Trim(commandLine) == "--terminal";
  if (invocation.terminal) return invocation;
  std::istringstream words(commandLine);
  for (std::string word; words >> word;) {
    if (word.starts_with("--")) {
      TakeOption(invocation, word);
    } else {
      invocation.unknownWords.push_back(word);
    }
  }
  return invocation;
}

}  // namespace mv
