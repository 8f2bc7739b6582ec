#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Date.h"

namespace mv::platform {

/// Folder of this program's executable, without a separator at its end.
std::string ProgramFolder();
/// The arguments after the program name, joined by single blanks.
std::string CommandLine(int argc, char** argv);
/// Value of an environment variable; nothing when it is not set.
std::optional<std::string> EnvironmentVariable(const std::string& name);
/// A point in time in the user's locale form, short date and time.
std::string LocalDateTimeText(const CivilTime& time);

/// The wall clock. A seam, because the log, the backup's name and the table files carry the time.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Local time, to the second.
  virtual CivilTime Now() const = 0;
};

/// The clock of this machine.
class SystemClock : public Clock {
 public:
  CivilTime Now() const override;
};

}  // namespace mv::platform
