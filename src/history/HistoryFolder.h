#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "base/Date.h"
#include "config/Settings.h"
#include "history/Change.h"
#include "history/RunRecord.h"
#include "platform/FileSystem.h"

namespace mv::history {

/// The history of a desktop database: beside it the folder "sync\history", in that a folder for every run, called by
/// the time at which it began, "yyyymmdd-hhmmss". An entry's files:
///
///   Motorva.db              the database as it was before the run, under its own name
///   handheld\brnd_Fuel.pdb  the handheld's table files as they were fetched
///   result\brnd_Fuel.pdb    the table files that were to go back
///   run.json                RunRecord
///   changes.jsonl           what happened to each row (see Change.h)
///
/// An entry may be read by nobody who may not read the database.
class HistoryFolder {
 public:
  /// `database`: path of the desktop database, which need not exist. `files` must outlive this object.
  HistoryFolder(platform::FileSystem& files, const std::string& database);

  const std::string& Path() const { return path_; }
  std::string PathOf(const std::string& entry) const;
  std::string DatabaseOf(const std::string& entry) const;
  std::string HandheldFileOf(const std::string& entry, const std::string& table) const;
  std::string ResultFileOf(const std::string& entry, const std::string& table) const;
  std::string RecordOf(const std::string& entry) const;
  std::string ChangesOf(const std::string& entry) const;

  /// Names of the entries, newest first; none where there is no history.
  std::vector<std::string> Entries() const;
  /// Makes the folders of a new entry and returns its name: the time, or as many seconds later as it takes to come
  /// behind all others.
  std::string Create(CivilTime now);

  /// Nothing when the entry has no record, or none that can be read.
  std::optional<RunRecord> Read(const std::string& entry) const;
  /// On disk on return, in one step.
  void Write(const std::string& entry, const RunRecord& record);

  /// The lines of changes.jsonl; none where there is no such file. Failure with line and column for one that is
  /// damaged.
  std::vector<Change> ReadChanges(const std::string& entry) const;

  /// Second name, in an entry, for a file that is only ever replaced as a whole; a copy where the system has no second
  /// names. On disk on return.
  void Keep(const std::string& file, const std::string& kept);
  /// The same for whoever has the file open and lets nobody else read it: `held` is what is copied.
  void Keep(const std::string& file, const std::string& kept, platform::File& held);
  /// Copy of a file in an entry, as private as the database.
  void KeepCopy(const std::string& file, const std::string& kept);
  /// A file of an entry from memory, likewise.
  void KeepContent(const Bytes& content, const std::string& kept);

  /// Bytes of all files of an entry.
  std::uint64_t BytesOf(const std::string& entry) const;
  /// Removes an entry with all that is in it.
  void Remove(const std::string& entry);
  /// Removes the oldest entry but `own`; false when there was none that could be removed.
  bool RemoveOldest(const std::string& own);
  /// Removes the oldest entries until no more are left than the limits allow; `own` counts and always stays. Returns
  /// the names of those removed. What cannot be removed stays.
  std::vector<std::string> Prune(const HistoryLimits& limits, const std::string& own = {});

 private:
  void CopyInto(const std::string& kept, platform::File& source);

  platform::FileSystem& files_;
  std::string database_;
  std::string path_;
};

}  // namespace mv::history
