#include "jet/Table.h"

#include <algorithm>
#include <set>
#include <utility>

#include "base/Error.h"
#include "jet/rows/ColumnValue.h"

namespace mv::jet {
namespace {

constexpr PageNumber kFilesOwnMaps = 1;

/// Changing a table through a map that serves something else as well would damage that.
bool SharesMaps(const TableDefinition& table) {
  std::vector<RowId> maps = {table.ownedPages, table.freeSpacePages};
  for (const IndexData& index : table.indexData) maps.push_back(index.map);
  for (const Column& column : table.columns) {
    if (!column.longValuePages.IsNone()) maps.push_back(column.longValuePages);
    if (!column.longValueFreeSpace.IsNone()) maps.push_back(column.longValueFreeSpace);
  }
  std::sort(maps.begin(), maps.end());
  return maps.front().page <= kFilesOwnMaps || std::adjacent_find(maps.begin(), maps.end()) != maps.end();
}

/// Positions of the columns whose values other tables depend on or that depend on those of other tables.
std::vector<std::size_t> RelatedColumns(const TableDefinition& table,
                                        const std::vector<std::vector<std::size_t>>& keyPositions) {
  std::set<std::size_t> columns;
  for (const LogicalIndex& index : table.indexes) {
    if (index.kind != LogicalIndex::Kind::Relation) continue;
    columns.insert(keyPositions[index.dataNumber].begin(), keyPositions[index.dataNumber].end());
  }
  return {columns.begin(), columns.end()};
}

/// Rules for each column, those of the list first.
TableRules Complete(TableRules rules, const TableDefinition& table) {
  rules.columns.resize(table.columns.size());
  return rules;
}

}  // namespace

Table::Table(PageFile& file, TableDefinition definition, TableRules rules, RelationKeeper* relations,
             ExpressionSources sources)
    : file_(file),
      freePages_(file),
      definition_(std::move(definition)),
      rules_(Complete(std::move(rules), definition_)),
      ruleCheck_(definition_, rules_, std::move(sources)),
      relations_(relations),
      layout_(definition_),
      rows_(file, definition_.page, definition_.ownedPages, definition_.freeSpacePages) {
  for (const Column& column : definition_.columns) {
    longValues_.emplace_back();
    if (column.IsLongValue()) longValues_.back().emplace(file_, column);
  }
  BindIndexes();
}

void Table::Redefine(TableDefinition definition) {
  definition_ = std::move(definition);
  BindIndexes();
}

void Table::BindIndexes() {
  sharesMaps_ = SharesMaps(definition_);
  trees_.clear();
  keyPositions_.clear();
  whyNotWritable_.clear();
  for (const IndexData& index : definition_.indexData) {
    trees_.emplace_back(file_, freePages_, definition_.page, index);
    keyPositions_.push_back(definition_.PositionsOf(index));
    whyNotWritable_.push_back(jet::WhyNotWritable(definition_, index));
  }
  relatedColumns_ = RelatedColumns(definition_, keyPositions_);
}

std::int64_t Table::Count() const {
  if (!count_ || countedAt_ != file_.Undone()) {
    count_ = rows_.Count();
    countedAt_ = file_.Undone();
  }
  return *count_;
}

std::vector<Value> Table::ReadRow(RowId row) const {
  std::vector<Value> values;
  ReadRow(row, values);
  return values;
}

void Table::ReadRow(RowId row, std::vector<Value>& values) const {
  const RowLayout::Row parsed = layout_.Parse(rows_.Read(row));
  values.resize(definition_.columns.size());
  for (std::size_t column = 0; column < values.size(); ++column) ReadCell(parsed, column, values[column]);
}

void Table::ReadShortValues(RowId row, std::vector<Value>& values) const {
  const RowLayout::Row parsed = layout_.Parse(rows_.Read(row));
  for (std::size_t column = 0; column < values.size(); ++column) {
    if (!longValues_[column]) ReadCell(parsed, column, values[column]);
  }
}

Value Table::ReadValue(RowId row, std::size_t column) const {
  if (column >= definition_.columns.size()) throw StandardError(errors::kItemNotFound);
  return CellValue(layout_.Parse(rows_.Read(row)), column);
}

/// The key that a row's values make; an empty one when it has none.
IndexKey Table::KeyOfRow(std::size_t index, RowId row) const {
  std::vector<Value> values(definition_.columns.size());
  for (const std::size_t column : keyPositions_[index]) values[column] = ReadValue(row, column);
  return StoredKey(index, values);
}

/// Whether an entry is of this key: its row tells, or its own bytes where the row's key is not known.
bool Table::IsOfKey(std::size_t index, const IndexTree::Entry& entry, const IndexKey& key) const {
  if (!rows_.IsLive(entry.row)) return entry.key == key.bytes;
  const IndexKey own = KeyOfRow(index, entry.row);
  return (own.bytes.empty() ? entry.key : own.bytes) == key.bytes;
}

/// The rows of a key that other writers may have built in another way.
std::vector<RowId> Table::RowsOfUncertainKey(std::size_t index, const IndexKey& key) const {
  std::vector<RowId> rows;
  for (const IndexTree::Entry& entry : trees_[index].FindBeginning(ByteView(key.bytes).first(key.certain))) {
    if (IsOfKey(index, entry, key)) rows.push_back(entry.row);
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

std::vector<RowId> Table::RowsWithKey(std::size_t index, const IndexKey& key, std::size_t most) const {
  if (key.certain == 0) return trees_[index].FindAll(key.bytes, most);
  std::vector<RowId> rows = RowsOfUncertainKey(index, key);
  if (rows.size() > most) rows.resize(most);
  return rows;
}

bool Table::HasKey(std::size_t index, const IndexKey& key, std::optional<RowId> except) const {
  if (key.certain == 0) return trees_[index].Find(key.bytes, except).has_value();
  const std::vector<RowId> rows = RowsOfUncertainKey(index, key);
  return std::any_of(rows.begin(), rows.end(), [&](RowId row) { return row != except; });
}

Value Table::CellValue(const RowLayout::Row& row, std::size_t column) const {
  Value value;
  ReadCell(row, column, value);
  return value;
}

void Table::ReadCell(const RowLayout::Row& row, std::size_t column, Value& value) const {
  const std::optional<ByteView> cell = layout_.Cell(row, column);
  if (definition_.columns[column].type == ColumnType::Boolean) {
    value = cell.has_value();
  } else if (!cell) {
    value = Null();
  } else if (!longValues_[column]) {
    ReadColumnValue(definition_.columns[column], *cell, value);
  } else if (cell->empty()) {
    // A descriptor of no bytes at all is what some writers leave for a null.
    value = Null();
  } else {
    value = longValues_[column]->Load(*cell);
  }
}

}  // namespace mv::jet
