#pragma once

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/Error.h"
#include "history/RunArchive.h"
#include "history/TableChanges.h"
#include "history/UnfilledTables.h"
#include "jet/Database.h"
#include "run/RunContext.h"
#include "sync/Tables.h"

namespace mv {

/// Beside the given steps of a run: keeps what the run is about to replace, writes down what it does to every row,
/// warns of what its user should know, and stops it where data would go in a way that the settings do not allow.
///
/// A history that cannot be written is a warning and no reason to stop. Warnings go to the list of an interactive run,
/// else to standard error, and into the run's record.
class RunJournal {
 public:
  /// `tables`: those of the run. Nothing is done yet.
  RunJournal(const RunContext& run, std::span<const SyncTable> tables);

  /// Begins the run's entry in the history, before anything is changed.
  void Begin();
  /// Failure when data would go for certain, and the settings do not let it: a Synchronize or an Overwrite PDA takes a
  /// table that an Overwrite PC has emptied and not filled (a warning where it may), or an Overwrite PC empties a table
  /// that it does not fill.
  void RequireSafeStart();
  /// The database was copied to `backup`, and the template is about to replace it: from now on, across any stop, every
  /// table counts as not filled. The file system's errors.
  void BeforeTemplate(const std::string& backup);

  // The steps of a table, in their order.

  void BeginTable(const std::string& table);
  void NotRetrieved(const std::string& table, std::int32_t code);
  /// `file`: the fetched table; on return it is on disk under a name, the history's or where there is none its own.
  void Retrieved(const std::string& table, const std::string& file);
  /// An earlier run's table `file` is about to give way to the one of this run.
  void BeforeResult(const std::string& table, const std::string& file);
  /// The observer of the table's merge; null for a table that no run knows.
  MergeObserver* BeginMerge(const std::string& table, const Recordset& source, const Recordset& desktop);
  /// The merge is done and not yet committed; its report is on disk on return. Failure when the table loses more than
  /// the settings allow.
  void EndMerge(Recordset& desktop);
  /// Names the row at which the merge stopped.
  void MergeFailed(const Error& error, Recordset& desktop);
  /// The desktop has the merged rows, on disk.
  void Committed(const std::string& table);
  /// `file` is what the handheld is to get; on return it is on disk under a name, the history's or where there is none
  /// its own.
  void ResultWritten(const std::string& table, const std::string& file);
  /// Names the rows that are beyond what the handheld takes.
  void ResultFailed(const std::string& table, Recordset& desktop);
  void Returned(const std::string& table);
  void NotReturned(const std::string& table, std::int32_t code);

  /// Ends the entry. `stop` is what stopped the run, null when nothing did.
  void End(ExitStatus status, const Error* stop);

  void Warn(const std::string& text);
  /// The tables that did not succeed, each with what happened to it; for a run that got to its end.
  std::string FailedTables() const;
  /// The table that was in hand last; empty before the first.
  const std::string& CurrentTable() const { return current_; }

 private:
  /// Does what the history needs; an error of it is told once and turns the history off.
  template <typename Action>
  void InHistory(Action action);
  /// Gives `file` its name in the history by `keep`, and has one name of it on disk.
  template <typename Action>
  void KeepByName(const std::string& file, Action keep);
  history::TableRecord& RecordOf(const std::string& table);
  void TakeCounts(const history::TableRecord& counts);
  std::optional<history::RowSet> HandheldBefore(const SyncTable& table);
  std::optional<history::RowSet> DesktopBefore(const SyncTable& table);
  std::optional<history::RowSet> Agreed(const SyncTable& table);
  void CheckColumns(const std::string& table, const std::vector<FieldDefinition>& handheld,
                    const std::vector<FieldDefinition>& desktop);
  void WarnOfLeftOverRestore();
  void WarnOfLogBesideProgram();
  void RequireFilledTables();
  void RequireEmptyTablesBesides();
  void CheckLosses();
  void TakeLoss(const std::string& text);
  void ReportTablesNotTaken();
  void ReportLostRows(const std::string& table, const history::RowSet& before, history::RowSet after);
  void TakeLine(const std::string& line);
  void Flush();
  std::string LastRunWithAll(const std::vector<std::string>& tables);

  const RunContext& run_;
  std::span<const SyncTable> tables_;
  history::RunArchive archive_;
  history::UnfilledTables unfilledTables_;
  history::RunRecord record_;
  std::vector<std::string> unfilled_;  ///< as they are now
  bool keepsHistory_ = false;
  bool begun_ = false;
  std::string current_;
  std::string fetched_;                           ///< the table's file in the source folder
  std::string backup_;                            ///< Overwrite PC: the database as it was
  std::unique_ptr<jet::Database> before_;         ///< that file, once it was asked for
  bool beforeIsUnreadable_ = false;               ///< told once
  std::optional<history::RowSet> earlierResult_;  ///< of the table in hand, where the history has none
  std::optional<history::TableChanges> changes_;  ///< of the table in hand
  std::string lines_;                             ///< of the report, not yet in the file
};

}  // namespace mv
