#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "config/Settings.h"
#include "platform/FileSystem.h"
#include "run/ProtectedFiles.h"

namespace mv {

/// The sync log: a text file, one line a call, Windows-1252 with CR LF. It is held open between lines, so that nobody
/// writes between them, and closed after a run's last line; each line is in the file at once, so that a killed run has
/// told what it did. Written in place, because a log grows.
class SyncLog {
 public:
  /// Looks at SyncLog, SyncLogHistory and SyncLogPath of `settings` whenever a line comes. All arguments must outlive
  /// the log.
  SyncLog(platform::FileSystem& files, const Settings& settings, const ProtectedFiles& protectedFiles)
      : files_(files), settings_(settings), protectedFiles_(protectedFiles) {}

  /// Appends one line; does nothing when the setting SyncLog is 0. A closed log is opened first: with SyncLogHistory at
  /// its end, else emptied - so `closeAfter` may be true for a run's very last line only. Raises the file system's
  /// error with the log's path as its source, error 70 also while another run holds the log. A path that leads to a
  /// protected file is error 75, and that file is not opened.
  void WriteLogLine(const std::string& text, bool closeAfter);

 private:
  void Append(const std::string& line);
  void Open();

  platform::FileSystem& files_;
  const Settings& settings_;
  const ProtectedFiles& protectedFiles_;
  std::unique_ptr<platform::File> file_;  ///< null while the log is closed
  std::uint64_t end_ = 0;                 ///< where the next line goes
};

}  // namespace mv
