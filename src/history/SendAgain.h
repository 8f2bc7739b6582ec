#pragma once

#include <string>
#include <vector>

#include "base/Bytes.h"
#include "history/HandheldTables.h"
#include "platform/FileSystem.h"

namespace mv::history {

/// Where results of runs lie.
struct ResultSources {
  platform::FileSystem& files;
  std::string database;      ///< whose history it is
  std::string sourceFolder;  ///< of the last run, where there is no history
  std::string resultFolder;  ///< likewise
};

/// A table file that a run was to send to the handheld.
struct ResultFile {
  std::string table;
  std::string entry;  ///< the run; empty where there is no history
  Bytes content;
};

/// What is asked for.
struct SendOrder {
  std::vector<std::string> tables;
  std::string run;        ///< empty for the newest run that has the table's result
  bool isForced = false;  ///< sends what looks like a loss too
};

/// The results to send, all of them checked against what the same run fetched and what the handheld has now; changes
/// nothing. Failure, unless it is forced, for a result that is damaged, for one without records where the run had
/// fetched some, and for a table with records flagged on the handheld since. Failure always for a table that is none of
/// a run's, twice the same, or without a result, and when the handheld does not answer.
std::vector<ResultFile> FindResults(const ResultSources& sources, HandheldTables& handheld, const SendOrder& order);

}  // namespace mv::history
