#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

#include "base/Error.h"
#include "run/Invocation.h"
#include "run/RunContext.h"
#include "ui/MainWindow.h"

namespace mv {

/// What the entry needs beside the run.
struct EntryContext {
  RunContext& run;
  Invocation invocation;
  /// Null where there is neither a window nor a terminal to show it on.
  MainWindow* window = nullptr;
  /// Registers the window classes of the common controls; whether that worked does not matter.
  std::function<bool()> initCommonControls;
  /// Where a user sees what no log and no window can tell.
  std::ostream& errors;
  /// Why there is no window, where there is none but one was asked for: to follow "no window: ".
  std::string whyNoWindow = {};
};

/// The program from its start until it ends or waits for its user. Loads the settings into the run state, runs silently
/// or shows the main window, and tests that the handheld answers; only then the window's Start commands are enabled.
/// Returns the status to end the process with, or nothing when the window is open and the user has the word.
/// Never raises: an error that no log could tell goes to `errors`.
std::optional<ExitStatus> Main(const EntryContext& entry);

/// Tells the user on `errors` of an error that no log could tell.
void ReportUnloggedError(const Error& error, std::ostream& errors);

}  // namespace mv
