#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "jet/Database.h"
#include "pdb/TableFile.h"
#include "recordset/Value.h"

namespace mv::tool {

/// One table as either side holds it before a run.
struct DemoTable {
  jet::TableSpec design;
  std::vector<std::vector<Value>> desktopRows;
  std::vector<HandheldRecord> handheldRecords;
};

/// What has happened to a row on the two sides since they last agreed; each is a case of its own for a run.
enum class RowHistory {
  Same,               ///< nothing
  EditedOnDesktop,    ///< the handheld's record is not flagged
  EditedOnHandheld,   ///< flagged modified
  DeletedOnHandheld,  ///< flagged deleted
  EditedThenDeletedOnHandheld,
  AddedOnDesktop,
  AddedOnHandheld,
  DeletedOnDesktop,            ///< the handheld still has its record, not flagged
  AddedThenDeletedOnHandheld,  ///< a flagged record whose key the desktop never saw
  KeyCaseEditedOnHandheld,     ///< flagged modified; the key differs in case only
  DeletedThenEnteredAgain,     ///< a deleted record, then a modified one with the same key
  DuplicateDeleted,            ///< an unflagged record, then a deleted one with the same key
};

/// How many rows, and what happened to them.
class DemoPlan {
 public:
  /// Some dozens of rows a table, with every history in every table.
  static DemoPlan Varied();
  /// `rows` rows a table on the desktop, for measuring: every tenth edited and every hundredth deleted on the handheld,
  /// which has a hundredth of new ones besides.
  static DemoPlan Uniform(std::size_t rows);

  /// Rows of the table at `table` in SampleTables(), on either side or both.
  std::size_t RowCount(std::size_t table) const;
  RowHistory HistoryOf(std::size_t number) const;

 private:
  explicit DemoPlan(std::optional<std::size_t> rows) : rows_(rows) {}
  std::optional<std::size_t> rows_;
};

/// The most rows that DemoPlan::Uniform takes: with the new ones the table file has nearly as many records as it can.
inline constexpr std::size_t kMostDemoRows = 32'000;

/// The table at position `table` of SampleTables(). The same plan gives the same data every time, on every machine.
DemoTable MakeDemoTable(std::size_t table, const DemoPlan& plan);

}  // namespace mv::tool
