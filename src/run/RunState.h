#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "base/Error.h"
#include "config/Settings.h"
#include "sync/RunMode.h"

namespace mv {

/// What every part of a run knows of it: one object, made at start, handed on by reference, living as long as the
/// process.
struct RunState {
  /// SyncMode in it is the mode of this process: the stored one, or that of the command line.
  Settings settings;
  HistoryLimits history;
  SafetySettings safety;
  /// True when the main window is shown.
  bool InteractiveRun = false;
  /// Tables of the current run that succeeded.
  std::int16_t TablesSynchronized = 0;
  /// By mode: its name, and the end of a table's success line.
  std::array<std::string, 3> ModeNames;
  std::array<std::string, 3> ModeResultTexts;
  /// The table now being merged.
  std::string CurrentTableName;
  /// The local folder that table files are read from or written to at this moment.
  std::string CurrentPdbFolder;
  /// What stopped the silent run; nothing when nothing did.
  std::optional<Error> stop;
};

/// What RunState is filled with at start.
inline std::array<std::string, 3> ModeNames() {
  return {"Synchronize", "Overwrite PDA", "Overwrite PC"};
}
inline std::array<std::string, 3> ModeResultTexts() {
  return {"Table Synchronized", "PC Table Replaced PDA Table", "PDA Table Replaced PC Table"};
}

/// The mode of the run; none of the enumerators when the stored number is none.
inline RunMode ModeOf(const RunState& state) {
  return static_cast<RunMode>(state.settings.SyncMode);
}
/// "Synchronize", "Overwrite PDA" or "Overwrite PC"; empty for a stored number that is none of theirs.
std::string NameOfMode(const RunState& state);
inline void SetMode(RunState& state, RunMode mode) {
  state.settings.SyncMode = static_cast<std::int16_t>(mode);
}

/// Result of the process: of a silent run, or of a start that led to none.
enum class ExitStatus {
  Success = 0,       ///< the run wrote its end lines and every table it was asked for succeeded
  TablesFailed = 1,  ///< the run wrote its end lines, some table failed
  Stopped = 2,       ///< stopped by an error
  NoHandheld = 3,
};

}  // namespace mv
