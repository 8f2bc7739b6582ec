#pragma once

#include "platform/FileSystem.h"
#include "platform/Shell.h"
#include "platform/Terminal.h"

namespace mv::terminal {

/// The shell of a run on a terminal: the one kind of document that the window opens is the sync log, and a terminal
/// shows it itself, with the user's pager.
class LogReader : public platform::Shell {
 public:
  /// Both must outlive the reader.
  LogReader(platform::FileSystem& files, platform::Terminal& terminal) : files_(files), terminal_(terminal) {}

  /// Nothing is thrown away from a terminal.
  bool Recycle(const std::string&) override { return false; }
  /// A text in code page 1252. Without a pager it becomes part of the output.
  bool OpenDocument(const std::string& path) override;

 private:
  platform::FileSystem& files_;
  platform::Terminal& terminal_;
};

}  // namespace mv::terminal
