#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/Table.h"
#include "mvtool/files/IndexedTable.h"
#include "mvtool/text/ChangeJson.h"

namespace mv::tool {

/// Changes the rows of one table, and counts the changes. They reach the file when the database is committed.
class RowChanges {
 public:
  /// The table must outlive this object. Failure for a table of the system.
  explicit RowChanges(jet::Table& table);

  const jet::TableDefinition& Definition() const { return table_.Definition(); }

  /// Failure when no row fits the change; the errors of jet::Table. The change is used up: its values are others then,
  /// which only lend their memory to the next ones.
  void Make(Change& change);
  /// Gives the row that has these values in the columns `key` (positions, each among `values`) the others too; without
  /// such a row adds one. The errors of jet::Table.
  void Put(std::vector<IndexedTable::Condition> values, std::span<const std::size_t> key);

  /// "3 inserted, 2 updated, 1 deleted".
  std::string Counts() const;

 private:
  std::span<Value> NewRow(Change& change);
  jet::RowId WantedRow(const Change& change);

  IndexedTable table_;
  std::vector<Value> row_;      ///< a new row, by position; one is used for all, for its memory
  std::vector<bool> isGiven_;   ///< which of its values the change has
  std::size_t counts_[3] = {};  ///< by Change::Kind
};

}  // namespace mv::tool
