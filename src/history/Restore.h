#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "history/HandheldTables.h"
#include "history/HistoryFolder.h"
#include "history/RunRecord.h"
#include "history/Snapshot.h"
#include "platform/FileSystem.h"
#include "platform/System.h"

namespace mv::history {

/// Which sides a restore is for.
enum class Sides { Both, Desktop, Handheld };

/// What a restore works with. All of it must outlive the restore.
struct RestoreContext {
  platform::FileSystem& files;
  const platform::Clock& clock;
  HandheldTables& handheld;
  std::string database;  ///< path of the live one
  std::string version;   ///< of the program
};

/// What becomes of the desktop database.
enum class DesktopStep {
  None,     ///< it is not asked for, or the run kept none
  AsItIs,   ///< it was never replaced since, so it is what the run found
  Replace,  ///< the kept one takes its place
};

/// What a restore is to bring back.
struct RestorePlan {
  std::string of;  ///< the run
  Sides sides = Sides::Both;
  DesktopStep desktop = DesktopStep::None;
  bool writtenSince = false;          ///< AsItIs, but another program has written into it since
  std::vector<std::string> unfilled;  ///< see RunRecord
  std::vector<std::string> damaged;   ///< tables whose file was damaged when the run fetched it, so it left them alone
  Snapshot state;                     ///< what comes, verified; the database with DesktopStep::Replace only
};

/// Reads what the run's entry keeps and verifies all of it; changes nothing, does not ask the handheld. The sides that
/// the entry does not keep are left out, and so are tables that the run found damaged. Failure when it keeps nothing of
/// what is asked for, or something that cannot be used any more.
RestorePlan PlanRestore(const RestoreContext& context, const std::string& run, Sides sides);

/// A table that the handheld did not take.
struct Refusal {
  std::string table;
  DeviceCopyResult code = DeviceCopyResult::Copied;
};

/// What a restore did.
struct RestoreResult {
  std::string entry;  ///< its own; empty when there was nothing to do
  bool desktop = false;
  std::vector<std::string> tables;
  std::vector<Refusal> refusals;
};

/// Brings both sides back to what they were before a run. It has an entry of the history of its own, which keeps the
/// state that it replaces, so a restore can be undone like a run. That entry's record says at every instant what is
/// done: each step is noted when it is complete, and repeating one changes nothing.
///
/// Order: database (one rename), list of unfilled tables, tables one by one.
class Restore {
 public:
  /// All checks: takes hold of the live database (which may be missing) until the database is done, and fetches what
  /// the handheld has. Finds out whether the newest entry is the same restore, cut off; that one is then carried on,
  /// unless somebody has changed since what it has not yet put back. Changes nothing.
  Restore(const RestoreContext& context, RestorePlan plan);

  /// The entry of the restore that is carried on; empty for a new one.
  const std::string& Continues() const { return continues_; }
  /// What is to be done now: all of the plan, or what a restore that was cut off has left.
  bool DesktopLeft() const { return record_.restore->desktop && !record_.restore->desktopDone; }
  std::vector<std::string> TablesLeft() const;

  /// Does it. Tables that the handheld refuses are in the result; the others are tried all the same. Any error ends it
  /// and leaves an entry to be carried on, or none when nothing was changed yet. Once.
  RestoreResult Run();

 private:
  bool IsNothing() const { return !record_.restore->desktop && record_.restore->tables.empty(); }
  void HoldDatabase();
  RunRecord NewRecord() const;
  void LookForLeftOver();
  bool MayContinue(const std::string& entry, const RunRecord& record) const;
  bool IsAccountedFor(const std::string& entry, const RestoreRecord& restore) const;
  bool DatabaseIsKept(const std::string& entry) const;
  bool TableIsKept(const std::string& entry, const std::string& table) const;
  bool IsAllInPlace() const;

  void Begin();
  void MakeEntry();
  void RemoveEntry();
  void KeepToday();
  void NoteTodaysFacts();
  void RestoreDatabase();
  void PutDatabaseInPlace();
  void RestoreTables(RestoreResult& result);
  void End(const RestoreResult& result);
  void WriteRecord() { folder_.Write(entry_, record_); }
  std::string NowText() const;

  const RestoreContext& context_;
  RestorePlan plan_;
  HistoryFolder folder_;
  std::unique_ptr<platform::File> held_;  ///< the live database; null when it is missing or not concerned
  Snapshot today_;                        ///< what the handheld has
  std::string continues_;
  std::string entry_;
  RunRecord record_;
};

}  // namespace mv::history
