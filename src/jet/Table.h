#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/RelationKeeper.h"
#include "jet/definition/TableDefinition.h"
#include "jet/definition/TableRules.h"
#include "jet/file/PageFile.h"
#include "jet/index/IndexKey.h"
#include "jet/index/IndexTree.h"
#include "jet/pages/UsageMap.h"
#include "jet/rows/LongValues.h"
#include "jet/rows/Row.h"
#include "jet/rows/RowStore.h"
#include "jet/rules/RuleCheck.h"
#include "recordset/Value.h"

namespace mv::jet {

/// The rows of one table. Reads and changes rows with every index, the maps, the free-space words and the row count
/// kept right. Values are by position in TableDefinition::columns and of the types of DataTypeOf; values to store are
/// converted as ConvertedTo does.
///
/// Checks come before the first change, those of relations before its end, and a change that fails is rolled back
/// whole. They raise ConstraintError, with the platform's text and the names of table and column or index, for a value
/// that does not fit its column, a null where one is not allowed, a duplicate key and what a relation forbids;
/// UnsupportedError for an index that the engine could not keep right; DamagedFileError for a table whose maps are not
/// its own.
///
/// A change of a row that others refer to may change rows of other tables with it, as their relations say.
///
/// The work for one row does not grow with the table (but with the depth of its indexes). One object for each table at
/// a time; it may stay open while others change other tables.
class Table {
 public:
  /// Without a keeper, which must outlive the table, changing a table that takes part in an enforced relation is an
  /// UnsupportedError. `sources` are for the expressions among the rules.
  Table(PageFile& file, TableDefinition definition, TableRules rules, RelationKeeper* relations = nullptr,
        ExpressionSources sources = {});
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  const TableDefinition& Definition() const { return definition_; }

  /// Live rows in physical order: data pages by number, rows by slot; a moved row stands at its home address. An
  /// address is all that a scan needs to go on, whatever is changed in between.
  std::optional<RowId> First() const { return rows_.First(); }
  std::optional<RowId> Last() const { return rows_.Last(); }
  /// The first live row after `row`, which need not be live itself.
  std::optional<RowId> Next(RowId row) const { return rows_.Next(row); }
  /// True when the address names a live row.
  bool IsLive(RowId row) const { return rows_.IsLive(row); }
  /// Live rows, counted on first use and kept up.
  std::int64_t Count() const;

  /// A number that is another one whenever a row may have changed: what was read before is then to be read again.
  std::uint64_t Changes() const { return changes_ + file_.Undone(); }

  /// To be called now and then by who walks through the rows: keeps the memory for pages that were read small, whatever
  /// the size of the table.
  void ForgetOldPages() const { file_.ShrinkTo(kMostPages); }

  /// Error 3021 for a row that is not live.
  std::vector<Value> ReadRow(RowId row) const;
  /// The same into `values`; the memory of what they held is used again.
  void ReadRow(RowId row, std::vector<Value>& values) const;
  /// Fills `values`, one for each column, with those of the columns that hold no long values; the memory of what they
  /// held is used again. Error 3021 for a row that is not live.
  void ReadShortValues(RowId row, std::vector<Value>& values) const;
  /// Decodes only the column asked for. Error 3021 for a row that is not live.
  Value ReadValue(RowId row, std::size_t column) const;

  /// The rows whose entry in an index (number of the data block) has this key, in physical order; at most the first
  /// `most`. Entries that other writers made by another count of places are known by their rows.
  std::vector<RowId> RowsWithKey(std::size_t index, const IndexKey& key, std::size_t most = IndexTree::kAll) const;

  /// What a new row should hold in a column that nobody gives a value: the column's default value, null when it has
  /// none. Not for autonumbers, which Insert draws. UnsupportedError for a default value that is not understood.
  Value DefaultOf(std::size_t column) const;
  /// Adds a row, taking nulls as they are; but null in an autonumber column draws the next number. Returns its address.
  /// Error 3001 when the number of values is not that of the columns.
  RowId Insert(std::vector<Value> values) { return Insert(std::span(values)); }
  /// The same; `values` become those that the row reads as, and keep their memory. After an error they are anything.
  RowId Insert(std::span<Value> values);
  /// Replaces the values at `columns` (positions) of a row; the address stays. Values of other columns keep their
  /// bytes, and a row whose values are equal already is not written at all. Error 3021 for a row that is not live.
  void Update(RowId row, std::span<const std::size_t> columns, std::span<const Value> values);
  /// Error 3021 for a row that is not live.
  void Delete(RowId row);

  /// True when an index has an entry with this key, leaving out that of the row `except`.
  bool HasKey(std::size_t index, const IndexKey& key, std::optional<RowId> except = std::nullopt) const;

  /// Why the engine could not keep an index (number of the data block) right; empty when it can. See
  /// jet::WhyNotWritable.
  const std::string& WhyNotWritable(std::size_t index) const { return whyNotWritable_.at(index); }
  /// The columns of an index (number of the data block), by position.
  const std::vector<std::size_t>& KeyPositions(std::size_t index) const { return keyPositions_.at(index); }

  /// Takes over a definition that was given other indexes; the columns are the same.
  void Redefine(TableDefinition definition);

 private:
  /// Pages kept while walking through a table: 16 MiB.
  static constexpr std::size_t kMostPages = 4096;

  /// A row on its way to a page. One is used for all statements, for its memory.
  struct Draft {
    std::vector<Bytes> bytes;                            ///< cells made anew, by position
    std::vector<std::optional<ByteView>> cells;          ///< all cells, viewing `bytes` or the old row
    std::vector<std::optional<LongValues::Plan>> plans;  ///< long values made anew
    std::size_t fixedArea = 0;
    Bytes row;  ///< the finished row
  };
  /// Memory for comparisons.
  struct Scratch {
    Value value;
    Bytes bytes;
  };
  struct KeyChange {
    std::size_t index = 0;
    IndexKey oldKey;
    IndexKey newKey;
  };

  void BindIndexes();
  Value CellValue(const RowLayout::Row& row, std::size_t column) const;
  void ReadCell(const RowLayout::Row& row, std::size_t column, Value& value) const;
  IndexKey KeyOfRow(std::size_t index, RowId row) const;
  bool IsOfKey(std::size_t index, const IndexTree::Entry& entry, const IndexKey& key) const;
  std::vector<RowId> RowsOfUncertainKey(std::size_t index, const IndexKey& key) const;
  bool HoldsAlready(const RowLayout::Row& row, std::size_t column, const Value& value, Scratch& scratch) const;
  bool HoldsValue(const RowLayout::Row& row, std::size_t column, const Draft& draft, const Value& value) const;

  void RequireOwnMaps() const;
  void RequireRelationsKept() const;
  void RequireWritable(std::size_t index) const;
  void RequireAllWritable() const;
  void CheckValue(std::size_t column, Value& value) const;
  void SetCell(Draft& draft, std::size_t column, Value& value) const;
  Draft& EmptyDraft();
  Draft& DraftOf(const RowLayout::Row& row);
  void MoveOutLongValues(Draft& draft) const;
  void CheckSize(const Draft& draft) const;
  void CheckRules(const RowLayout::Row& oldRow, const std::vector<std::optional<Value>>& changed) const;
  ByteView FinishRow(Draft& draft);
  void RemoveLongValue(const RowLayout::Row& row, std::size_t column);
  std::size_t FixedAreaOfNewRows();

  void DrawAutonumbers(std::span<Value> values) const;
  void NoteAutonumber(std::size_t column, const Value& value);

  bool IsPrimaryKey(std::size_t index) const;
  bool HasEntry(std::size_t index, const IndexKey& key) const;
  void CheckKey(std::size_t index, const IndexKey& key, std::optional<RowId> except) const;
  IndexKey StoredKey(std::size_t index, const std::vector<Value>& values) const;
  std::vector<KeyChange> KeyChanges(const RowLayout::Row& oldRow, RowId address,
                                    const std::vector<std::optional<Value>>& changed) const;
  void AddEntry(std::size_t index, const IndexKey& key, RowId row);
  void RemoveEntry(std::size_t index, const IndexKey& key, RowId row);
  void AddToCount(std::int32_t difference);

  std::optional<RowChange> RelatedChange(RowId row, const RowLayout::Row& oldRow,
                                         const std::vector<std::optional<Value>>& changed) const;
  std::vector<Value> RelatedValues(std::span<const Value> values) const;
  std::vector<Value> RelatedValues(const RowLayout::Row& row) const;
  void FollowRelations(RowChange change);

  PageFile& file_;
  FreePages freePages_;
  TableDefinition definition_;
  TableRules rules_;
  RuleCheck ruleCheck_;
  RelationKeeper* relations_;
  RowLayout layout_;
  RowStore rows_;
  std::vector<std::optional<LongValues>> longValues_;   ///< by position of the column
  std::vector<IndexTree> trees_;                        ///< by number of the index data block
  std::vector<std::vector<std::size_t>> keyPositions_;  ///< columns of each index, by position
  std::vector<std::string> whyNotWritable_;             ///< by number of the index data block
  std::vector<std::size_t> relatedColumns_;             ///< positions of the columns that relations connect, ascending
  std::optional<std::size_t> fixedAreaOfNewRows_;
  Draft draft_;              ///< of the statement under way, until its row is on a page
  bool sharesMaps_ = false;  ///< the definition names one map twice, or one of the file's own maps

  std::uint64_t changes_ = 0;
  mutable std::optional<std::int64_t> count_;
  mutable std::uint64_t countedAt_ = 0;  ///< PageFile::Undone when the rows were counted
};

}  // namespace mv::jet
