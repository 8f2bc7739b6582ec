#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sync/RunMode.h"

namespace mv {

/// What a start of the program asks for, read from its command line once.
struct Invocation {
  /// The mode of a silent run; nothing for a start that opens the window.
  std::optional<RunMode> silentMode;
  /// The words of a command line that is no mode switch. They are no error: such a start opens the window.
  std::vector<std::string> unknownWords = {};
  bool wantsHelp = false;     ///< "--help": to be told, and nothing else done
  bool wantsVersion = false;  ///< "--version": likewise
  /// The first word that looks like an option of two hyphens and is none; empty when there is no such word. Whoever
  /// types one means something that is not there, so nothing is done.
  std::string unknownOption = {};
  /// The window shall be shown on the terminal. Only the Linux edition can.
  bool terminal = false;
};

/// `commandLine` is the arguments joined by blanks. A silent run is asked for by "-MODE0", "-MODE1" or "-MODE2" in any
/// case, blanks at the ends aside, and by nothing else; the terminal by "--terminal" likewise.
Invocation ParseInvocation(const std::string& commandLine);

}  // namespace mv
