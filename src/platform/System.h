#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/Date.h"

namespace mv::platform {

/// Folder of this program's executable, without a separator at its end.
std::string ProgramFolder();
/// Where an installation keeps files that are the same on every machine when its programs are in `programFolder`; no
/// separator at its end. On Windows that is the same folder, on POSIX systems "share/mvppcsync" beside it.
std::string InstalledDataFolder(const std::string& programFolder);
/// What follows the program name on the command line. Windows: the text as it was typed, quotes included; POSIX
/// systems, which hand out words: the words joined by single blanks.
std::string CommandLine(int argc, char** argv);
/// Value of an environment variable; nothing when it is not set.
std::optional<std::string> EnvironmentVariable(const std::string& name);
/// The folder for files that are soon gone, without a separator at its end.
std::string TemporaryFolder();
/// A point in time in the user's locale form, as the platform turns a date into text: short date and time; the date
/// alone at midnight, the time alone on day zero, 1899-12-30. Error 13 for a time that the platform cannot show.
std::string LocalDateTimeText(const CivilTime& time);

/// The wall clock. A seam, because the log, the backup's name and the table files carry the time, and because tests
/// shall not wait.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Local time, to the second.
  virtual CivilTime Now() const = 0;
  /// Returns after at least that time.
  virtual void Sleep(std::chrono::milliseconds duration) const = 0;
};

/// The clock of this machine.
class SystemClock : public Clock {
 public:
  CivilTime Now() const override;
  void Sleep(std::chrono::milliseconds duration) const override;
};

}  // namespace mv::platform
