#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/Table.h"
#include "recordset/TextIndex.h"

namespace mv::tool {

/// A table that rows are looked up in by the values of columns while it is being changed. Changes go through this
/// object.
///
/// A look-up goes through an index of the table when that answers it; else through one made here of the columns that
/// are asked for, built by one walk through the table and kept up from then on. Either way it costs no walk through the
/// table and gives the row that a walk would have met first. Only when columns are asked for in more than
/// kMostOwnIndexes ways are rows walked through for the rest.
class IndexedTable {
 public:
  static constexpr std::size_t kMostOwnIndexes = 16;

  /// The table must outlive this object.
  explicit IndexedTable(jet::Table& table) : table_(table) {}

  const jet::TableDefinition& Definition() const { return table_.Definition(); }
  /// See jet::Table.
  Value DefaultOf(std::size_t column) const { return table_.DefaultOf(column); }

  /// What a column is to hold.
  struct Condition {
    std::size_t column = 0;  ///< position in TableDefinition::columns
    Value value;             ///< of the column's type
  };
  /// The first row, in physical order, that meets all of `where` (each column once). A null is met by nulls only, any
  /// other value by one of the same text (TextOf) without regard to case, so a date of whole seconds by all of that
  /// second; a date with decimals by the same one. The value is taken as the column would store it: errors of
  /// jet::BytesFromValue for a GUID, decimal or value of fixed length that it could not.
  std::optional<jet::RowId> Find(std::span<const Condition> where);

  /// As those of jet::Table.
  void Insert(std::vector<Value> values) { Insert(std::span(values)); }
  void Insert(std::span<Value> values);
  void Update(jet::RowId row, std::span<const std::size_t> columns, std::span<const Value> values);
  void Delete(jet::RowId row);

 private:
  /// A condition made ready to be compared with many rows.
  struct Criterion {
    std::size_t column = 0;
    Value value;                      ///< as stored
    std::optional<std::string> text;  ///< nothing for null
  };
  using Criteria = std::vector<Criterion>;  ///< ascending by column

  struct OwnIndex {
    std::vector<std::size_t> columns;  ///< ascending
    TextIndex rows;                    ///< RowId::Word by KeyOfRow
  };
  /// What an index of the table says.
  struct Answer {
    bool decided = false;
    std::optional<jet::RowId> row;
  };

  Criteria CriteriaOf(std::span<const Condition> where) const;
  bool Meets(jet::RowId row, const Criteria& criteria) const;
  bool CanAnswer(std::size_t index, const Criteria& criteria) const;
  std::optional<std::size_t> BestIndex(const Criteria& criteria) const;
  Answer AskIndex(const Criteria& criteria) const;
  OwnIndex& AddOwnIndex(const Criteria& criteria);
  std::optional<jet::RowId> FindIn(const OwnIndex& index, const Criteria& criteria) const;
  std::optional<jet::RowId> Walk(const Criteria& criteria) const;
  Value KeyOfRow(const OwnIndex& index, jet::RowId row) const;
  void DropStaleIndexes();
  void NoteOwnChange();

  jet::Table& table_;
  std::list<OwnIndex> ownIndexes_;
  std::uint64_t changesSeen_ = 0;  ///< Table::Changes that ownIndexes_ stand for
};

}  // namespace mv::tool
