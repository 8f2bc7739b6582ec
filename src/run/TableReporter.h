#pragma once

#include <cstdint>
#include <string>

#include "run/RunContext.h"

namespace mv {

/// Tells what happens to the tables of a run: the log in every run, in an interactive one the window's status bar, list
/// and boxes too. The table driver does, this tells.
class TableReporter {
 public:
  /// `run` must outlive the reporter.
  explicit TableReporter(const RunContext& run);

  void Connecting();
  void Retrieving(const std::string& table);
  /// `code` is what the failed copy returned. The status bar learns it even when its window is not shown.
  void NotRetrieved(const std::string& table, std::int32_t code);
  void Retrieved(const std::string& table);
  void Converting(const std::string& table);
  void SourceCreated(const std::string& table);
  void ResultCreated(const std::string& table);
  void NotSupported(const std::string& table);
  void Synchronizing(const std::string& table);
  void Transferring(const std::string& table);
  /// Error 9 for a mode outside 0 to 2, which has no text.
  void Returned(const std::string& table);
  void NotReturned(const std::string& table, std::int32_t code);
  void TableEnded();

  /// A sign of life.
  void AdvanceSpinner() { window_.AdvanceSpinner(false); }

 private:
  void Log(const std::string& line) { run_.log.WriteLogLine(line, false); }

  const RunContext& run_;
  SilentUserInterface noWindow_;
  UserInterface& window_;  ///< the run's own, or noWindow_ in a silent run
};

/// The text that ends a table's success line in the mode of `state`; error 9 for a mode outside 0 to 2.
const std::string& ModeResultText(const RunState& state);

}  // namespace mv
