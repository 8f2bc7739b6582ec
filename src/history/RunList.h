#pragma once

#include <optional>
#include <string>
#include <vector>

#include "history/HistoryFolder.h"
#include "history/RunRecord.h"
#include "platform/FileSystem.h"

namespace mv::history {

/// What became of the database that an entry keeps.
enum class KeptState {
  Nothing,        ///< the entry keeps none
  Whole,          ///< it is as it was kept
  Live,           ///< it is the live database itself: nothing has replaced that one since
  Changed,        ///< another program has written into it, so it is no longer what was kept
  Missing,        ///< the file is gone
  OtherDatabase,  ///< of another name than the one asked about
};

/// `database`: path of the live one, as `folder` got it.
KeptState StateOfKept(const platform::FileSystem& files, const HistoryFolder& folder, const std::string& entry,
                      const RunRecord& record, const std::string& database);

/// The tables whose files of the handheld an entry keeps, in the order of a run.
std::vector<std::string> TablesKept(const platform::FileSystem& files, const HistoryFolder& folder,
                                    const std::string& entry);

/// What the entry of a run can bring back.
struct Undo {
  bool desktop = false;             ///< the database, or it was never replaced
  std::vector<std::string> tables;  ///< of the handheld
};

/// One entry of the history.
struct RunEntry {
  std::string name;
  std::optional<RunRecord> record;  ///< nothing when there is none that can be read; then nothing can be undone
  Undo undo;
};

/// All entries, newest first.
std::vector<RunEntry> ListRuns(const platform::FileSystem& files, const HistoryFolder& folder,
                               const std::string& database);

/// True when all that a restore was to do is done.
bool IsComplete(const RestoreRecord& restore);
/// True for the record of a restore that was cut off, or could not do all: it can be carried on.
bool IsLeftOver(const RunRecord& record);

/// The entry that `word` means: its name, or "last" for the newest that has a record. Where that one is a restore that
/// is left over, "last" is the run that it was to bring back. Failure, which lists what there is, when there is no
/// such entry.
std::string FindRun(const HistoryFolder& folder, const std::string& word);

}  // namespace mv::history
