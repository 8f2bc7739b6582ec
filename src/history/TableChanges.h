#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "history/Change.h"
#include "history/RowSet.h"
#include "history/RunRecord.h"
#include "recordset/Recordset.h"
#include "sync/MergeObserver.h"
#include "sync/RunMode.h"
#include "sync/Tables.h"

namespace mv::history {

/// Counts and writes down what a run does to the rows of one table. What the merge tells is against what it was given;
/// where that is not what a side held before the run, this compares with what it did hold:
///
/// - Overwrite PDA gives the merge none of the handheld's rows: `handheldBefore` is the fetched table;
/// - Overwrite PC gives it the template's rows for the desktop's: `desktopBefore` is the table of the old database.
class TableChanges : public MergeObserver {
 public:
  struct Setting {
    SyncTable table;
    RunMode mode = RunMode::Synchronize;
    std::vector<FieldDefinition> desktopFields;
    std::vector<FieldDefinition> handheldFields;  ///< without the flags
    std::int64_t handheldRows = 0;                ///< as the merge is given them
    std::optional<RowSet> handheldBefore = {};
    std::optional<RowSet> desktopBefore = {};
    /// The table on which both sides agreed last; asked once, and only when the handheld's flag wins over a row that
    /// differs. Without it nobody can tell what was edited on the desktop since, and every such row counts as edited.
    std::function<std::optional<RowSet>()> agreed = {};
    /// Takes each line of changes.jsonl, its line feed included; null when nobody wants them.
    std::function<void(const std::string&)> lines = {};
  };

  explicit TableChanges(Setting setting);

  void Walked(std::int64_t desktopRows) override;
  void Added(Side side, const Row& row) override;
  void Changed(Side side, const Row& before, const Row& after) override;
  void Deleted(Side side, const Row& row) override;
  void Dropped(const Row& row) override;

  /// To be called once, after the merge; `desktop` is the merged table.
  void Finish(Recordset& desktop);

  /// The counts, without state and code; whole after Finish.
  const TableRecord& Record() const { return record_; }
  /// Rows of the handheld that its user had not deleted, before the run, and how many of them are gone.
  std::int64_t HandheldRowsInUse() const { return record_.handheld.before - flaggedDeleted_; }
  std::int64_t HandheldRowsLost() const { return record_.dropped + handheldOverwritten_; }
  /// Rows sent to the handheld for the first time, or anew, with a text or a date that it gives back as another one;
  /// and the key of the first.
  std::int64_t RowsThatChange() const { return rowsThatChange_; }
  const std::string& FirstThatChanges() const { return firstThatChanges_; }

 private:
  bool ComparesDesktop() const { return setting_.desktopBefore.has_value(); }
  bool ComparesHandheld() const { return setting_.handheldBefore.has_value(); }
  void AddedToHandheld(const Row& row);
  void FinishHandheld();
  void FinishDesktop(Recordset& desktop);
  /// True for a desktop row that lost and had been edited there.
  bool IsOverruled(const Row& row);
  void CheckValues(const Row& row);
  std::string KeyOf(Side side, const Row& row) const;
  const std::string& LineOf(What what, Side side, const Row* before, const Row* after);
  void Write(What what, Side side, const Row* before, const Row* after);
  /// Of a desktop row that lost against the handheld's flag: what became of it, and, if so, that it had been edited.
  void WriteLost(bool overruled, What what, const Row& before, const Row* after);

  Setting setting_;
  TableRecord record_;
  std::int64_t desktopRows_ = 0;  ///< of the table that is merged, at this moment
  std::int64_t flaggedDeleted_ = 0;
  std::int64_t handheldOverwritten_ = 0;  ///< flagged rows that an Overwrite PDA took away
  std::optional<std::optional<RowSet>> agreed_;
  std::int64_t rowsThatChange_ = 0;
  std::string firstThatChanges_;
  std::vector<JsonName> desktopNames_;
  std::vector<JsonName> handheldNames_;
  ChangeLines changeLines_;
  std::size_t desktopKey_ = 0;
  std::size_t handheldKey_ = 0;
};

}  // namespace mv::history
