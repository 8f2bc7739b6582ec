#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/PageFile.h"
#include "jet/TableDefinition.h"
#include "jet/UsageMap.h"
#include "recordset/Value.h"

namespace mv::jet {

/// Rules that columns have beside their blocks (from the catalog's property blob), by position in
/// TableDefinition::columns.
struct ColumnRules {
  bool required = false;
  bool allowZeroLength = true;
};

/// The rows of one table. Reads and changes rows with every index, the maps, the free-space words and the row count
/// kept right. Values are by position in TableDefinition::columns. Checks come before the first change; a change that
/// fails is rolled back whole.
class Table {
 public:
  Table(PageFile& file, TableDefinition definition, std::vector<ColumnRules> rules);

  const TableDefinition& Definition() const;

  /// Live rows in physical order: data pages by number, rows by slot; a moved row stands at its home address.
  std::optional<RowId> First() const;
  std::optional<RowId> Last() const;
  /// The first live row after `row`, which need not be live itself.
  std::optional<RowId> Next(RowId row) const;
  /// True when the address names a live row.
  bool IsLive(RowId row) const;
  /// Live rows, counted on first use and kept up.
  std::int64_t Count() const;

  std::vector<Value> ReadRow(RowId row) const;
  Value ReadValue(RowId row, std::size_t column) const;

  /// Adds a row; null in an autonumber column draws the next number. Returns its address.
  RowId Insert(std::vector<Value> values);
  /// Replaces the values at `columns` (positions) of a row; the address stays. Values of other columns keep their
  /// bytes.
  void Update(RowId row, std::span<const std::size_t> columns, std::span<const Value> values);
  void Delete(RowId row);
};

}  // namespace mv::jet
