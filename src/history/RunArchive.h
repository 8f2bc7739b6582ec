#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "history/HistoryFolder.h"

namespace mv::history {

/// The entry of the run that is going on: keeps what the run is about to replace, and writes down what it did. Every
/// member raises the file system's errors; the run decides what they mean to it.
class RunArchive {
 public:
  /// `files` must outlive this object.
  RunArchive(platform::FileSystem& files, const std::string& database)
      : files_(files), folder_(files, database), database_(database) {}

  /// How the desktop database is changed.
  enum class Changes {
    ByRename,  ///< a new file takes its place: a second name keeps the old one
    InPlace,   ///< only a copy does
  };

  /// Makes room for one more entry, then the entry, keeps the desktop database (if there is one) and writes `record`,
  /// whose `kept` is filled in.
  void Begin(const CivilTime& now, const HistoryLimits& limits, Changes changes, RunRecord& record);
  /// True from Begin on.
  bool HasBegun() const { return !entry_.empty(); }
  /// Name of the entry.
  const std::string& Entry() const { return entry_; }
  HistoryFolder& Folder() { return folder_; }

  /// Keep a table file that the run will not write into any more.
  void KeepHandheldFile(const std::string& file, const std::string& table);
  void KeepResultFile(const std::string& file, const std::string& table);

  /// Adds whole lines to changes.jsonl.
  void Append(std::string_view lines);
  /// On return all lines are on disk; costs nothing when none came.
  void SyncChanges();

  /// Writes the finished record. When the run has left the database as it was, the second name becomes a copy: other
  /// programs may write into the database from now on. Then older entries give way to what this one has become.
  void End(RunRecord& record);

  /// Newest file that went back to the handheld for `table`, which both sides agreed on then; nothing when none is
  /// kept.
  std::optional<std::string> LastReturned(const std::string& table) const;

 private:
  void CopySecondName(RunRecord& record);

  platform::FileSystem& files_;
  HistoryFolder folder_;
  std::string database_;
  std::string entry_;
  HistoryLimits limits_;
  bool keptDatabase_ = false;
  std::unique_ptr<platform::File> changes_;
  std::uint64_t changesSize_ = 0;
  bool changesSynced_ = true;
};

}  // namespace mv::history
