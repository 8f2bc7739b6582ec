#include "mvtool/commands/RowChanges.h"

#include <algorithm>
#include <utility>

#include "base/Error.h"

namespace mv::tool {

RowChanges::RowChanges(jet::Table& table) : table_(table) {
  if (Definition().IsSystem()) throw Failure("\"" + Definition().name + "\" is a table of the system");
}

void RowChanges::Make(Change& change) {
  const Change::Kind kind = change.kind;
  switch (kind) {
    case Change::Kind::Insert:
      table_.Insert(NewRow(change));
      break;
    case Change::Kind::Update:
      table_.Update(WantedRow(change), change.columns, change.values);
      break;
    case Change::Kind::Delete:
      table_.Delete(WantedRow(change));
      break;
  }
  ++counts_[static_cast<std::size_t>(kind)];
}

void RowChanges::Put(std::vector<IndexedTable::Condition> values, std::span<const std::size_t> key) {
  Change change;
  for (IndexedTable::Condition& value : values) {
    if (std::find(key.begin(), key.end(), value.column) != key.end()) change.where.push_back(value);
    change.columns.push_back(value.column);
    change.values.push_back(std::move(value.value));
  }
  const std::optional<jet::RowId> row = table_.Find(change.where);
  if (!row) return Make(change);
  table_.Update(*row, change.columns, change.values);
  ++counts_[static_cast<std::size_t>(Change::Kind::Update)];
}

std::string RowChanges::Counts() const {
  return std::to_string(counts_[0]) + " inserted, " + std::to_string(counts_[1]) + " updated, " +
         std::to_string(counts_[2]) + " deleted";
}

/// The values of a new row, by position.
std::span<Value> RowChanges::NewRow(Change& change) {
  row_.resize(Definition().columns.size());
  isGiven_.assign(row_.size(), false);
  for (std::size_t i = 0; i < change.columns.size(); ++i) {
    row_[change.columns[i]].swap(change.values[i]);
    isGiven_[change.columns[i]] = true;
  }
  for (std::size_t column = 0; column < row_.size(); ++column) {
    if (!isGiven_[column]) row_[column] = table_.DefaultOf(column);
  }
  return row_;
}

jet::RowId RowChanges::WantedRow(const Change& change) {
  const std::optional<jet::RowId> row = table_.Find(change.where);
  if (!row) throw Failure("no row fits \"where\"");
  return *row;
}

}  // namespace mv::tool
