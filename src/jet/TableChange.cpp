#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "base/Error.h"
#include "jet/Table.h"
#include "jet/file/JetErrors.h"
#include "jet/rows/ColumnValue.h"
#include "recordset/Conversions.h"

// Inserting, updating and deleting rows: all checks, then one statement that changes the pages.

namespace mv::jet {
namespace {

const char* const kDuplicateKey =
    "The changes you requested to the table were not successful because they would create duplicate values in the "
    "index, primary key, or relationship. Change the data in the field or fields that contain duplicate data, remove "
    "the index, or redefine the index to permit duplicate entries and try again.";
const char* const kNullKey = "Index or primary key cannot contain a Null value.";
const char* const kRecordTooLarge = "Record is too large.";
const char* const kNoMoreNumbers = "There are no more numbers for new records.";

Error RequiredError(const TableDefinition& table, const Column& column) {
  return ConstraintError("The field '" + table.name + "." + column.name +
                         "' cannot contain a Null value because the Required property for this field is set to True. "
                         "Enter a value in this field.");
}

Error ZeroLengthError(const TableDefinition& table, const Column& column) {
  return ConstraintError("Field '" + table.name + "." + column.name + "' cannot be a zero-length string.");
}

std::string TableAnd(const TableDefinition& table, const std::string& what, const std::string& name) {
  return " Table '" + table.name + "', " + what + " '" + name + "'.";
}

/// Runs `action`; an error about a value becomes a ConstraintError that names the column.
template <typename Action>
auto Naming(const TableDefinition& table, const Column& column, Action action) {
  try {
    return action();
  } catch (const Error& error) {
    if (error.Number() == errors::kJetGeneral) throw;  // about the file, not the value
    const std::string end = error.Description().ends_with('.') ? "" : ".";
    throw ConstraintError(error.Description() + end + TableAnd(table, "column", column.name));
  }
}

/// True for types whose stored form may differ from the value given: cut, filled or written in another way.
bool IsNormalised(const Column& column) {
  const bool padded = column.IsFixed() && (column.type == ColumnType::Text || column.type == ColumnType::Binary);
  return padded || column.type == ColumnType::Decimal || column.type == ColumnType::Guid;
}

bool IsAutonumber(const Column& column) {
  return column.type == ColumnType::Long && column.IsAutonumber();
}

}  // namespace

RowId Table::Insert(std::span<Value> values) {
  if (values.size() != definition_.columns.size()) throw StandardError(errors::kRecordsetArgument);
  RequireAllWritable();
  DrawAutonumbers(values);
  Draft& draft = EmptyDraft();
  for (std::size_t column = 0; column < values.size(); ++column) {
    CheckValue(column, values[column]);
    SetCell(draft, column, values[column]);
  }
  CheckSize(draft);
  ruleCheck_.Check([&](std::size_t column) { return values[column]; }, [](std::size_t) { return true; });
  std::vector<IndexKey> keys;
  keys.reserve(trees_.size());
  for (std::size_t index = 0; index < trees_.size(); ++index) {
    keys.push_back(KeyOf(definition_, definition_.indexData[index], values));
    CheckKey(index, keys[index], std::nullopt);
  }

  Statement statement(file_);
  const RowId row = rows_.Insert(FinishRow(draft));
  for (std::size_t index = 0; index < trees_.size(); ++index) AddEntry(index, keys[index], row);
  for (std::size_t column = 0; column < values.size(); ++column) NoteAutonumber(column, values[column]);
  AddToCount(1);
  FollowRelations({row, {}, RelatedValues(values)});
  statement.Complete();
  ++changes_;
  if (count_) ++*count_;
  return row;
}

void Table::Update(RowId row, std::span<const std::size_t> columns, std::span<const Value> values) {
  if (columns.size() != values.size()) throw StandardError(errors::kRecordsetArgument);
  RequireOwnMaps();
  const ByteView stored = rows_.Read(row);
  const Bytes oldBytes(stored.begin(), stored.end());
  const RowLayout::Row oldRow = layout_.Parse(oldBytes);
  Draft& draft = DraftOf(oldRow);
  std::vector<std::optional<Value>> changed(definition_.columns.size());
  Scratch scratch;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::size_t column = columns[i];
    if (column >= changed.size()) throw StandardError(errors::kItemNotFound);
    if (!HoldsAlready(oldRow, column, values[i], scratch)) {
      Value value = values[i];
      CheckValue(column, value);
      SetCell(draft, column, value);
      if (!HoldsValue(oldRow, column, draft, value)) {
        changed[column] = std::move(value);
        continue;
      }
    }
    changed[column].reset();
    draft.cells[column] = layout_.Cell(oldRow, column);
    draft.plans[column].reset();
  }
  if (std::none_of(changed.begin(), changed.end(), [](const auto& value) { return value.has_value(); })) return;
  MoveOutLongValues(draft);
  CheckSize(draft);
  CheckRules(oldRow, changed);
  const std::vector<KeyChange> keyChanges = KeyChanges(oldRow, row, changed);
  std::optional<RowChange> related = RelatedChange(row, oldRow, changed);

  Statement statement(file_);
  for (std::size_t column = 0; column < changed.size(); ++column) {
    if (changed[column]) RemoveLongValue(oldRow, column);
  }
  rows_.Replace(row, FinishRow(draft));
  for (const KeyChange& change : keyChanges) {
    RemoveEntry(change.index, change.oldKey, row);
    AddEntry(change.index, change.newKey, row);
  }
  for (std::size_t column = 0; column < changed.size(); ++column) {
    if (changed[column]) NoteAutonumber(column, *changed[column]);
  }
  if (related) FollowRelations(std::move(*related));
  statement.Complete();
  ++changes_;
}

void Table::Delete(RowId row) {
  RequireAllWritable();
  const ByteView stored = rows_.Read(row);
  const Bytes oldBytes(stored.begin(), stored.end());
  const RowLayout::Row oldRow = layout_.Parse(oldBytes);
  std::vector<Value> values(definition_.columns.size());
  std::vector<IndexKey> keys;
  for (std::size_t index = 0; index < trees_.size(); ++index) {
    for (const std::size_t column : keyPositions_[index]) values[column] = CellValue(oldRow, column);
    keys.push_back(StoredKey(index, values));
  }
  RowChange change = {row, RelatedValues(oldRow), {}};

  Statement statement(file_);
  for (std::size_t index = 0; index < trees_.size(); ++index) RemoveEntry(index, keys[index], row);
  for (std::size_t column = 0; column < values.size(); ++column) RemoveLongValue(oldRow, column);
  rows_.Remove(row);
  AddToCount(-1);
  FollowRelations(std::move(change));
  statement.Complete();
  ++changes_;
  if (count_) --*count_;
}

// Checks.

void Table::RequireOwnMaps() const {
  if (sharesMaps_) throw DamagedFileError("table '" + definition_.name + "' shares a page map");
}

void Table::RequireRelationsKept() const {
  if (relatedColumns_.empty()) return;
  if (relations_ == nullptr) {
    throw UnsupportedError("table '" + definition_.name + "' takes part in an enforced relation");
  }
  relations_->RequireKept(*this);
}

void Table::RequireWritable(std::size_t index) const {
  const std::string& reason = whyNotWritable_[index];
  if (reason.empty()) return;
  throw UnsupportedError("table '" + definition_.name + "', index '" + definition_.IndexName(index) + "': " + reason);
}

void Table::RequireAllWritable() const {
  RequireOwnMaps();
  RequireRelationsKept();
  for (std::size_t index = 0; index < trees_.size(); ++index) RequireWritable(index);
}

/// The value becomes what its column holds, or the error says why it cannot.
void Table::CheckValue(std::size_t position, Value& value) const {
  const Column& column = definition_.columns[position];
  if (IsNull(value)) {
    if (column.type == ColumnType::Boolean) {
      value = false;
    } else if (rules_.columns[position].required) {
      throw RequiredError(definition_, column);
    }
    return;
  }
  if (!CertainlyFits(column, value)) {
    value = Naming(definition_, column, [&] { return ConvertedTo(DataTypeOf(column.type), std::move(value)); });
  }
  const bool isText = column.type == ColumnType::Text || column.type == ColumnType::Memo;
  const bool isEmptyText = isText && std::get<std::string>(value).empty();
  if (isEmptyText && !rules_.columns[position].allowZeroLength) throw ZeroLengthError(definition_, column);
}

/// Makes the cell of a checked value; the value becomes what the cell will read as.
void Table::SetCell(Draft& draft, std::size_t position, Value& value) const {
  const Column& column = definition_.columns[position];
  draft.cells[position].reset();
  draft.plans[position].reset();
  if (IsNull(value)) return;
  Bytes& bytes = draft.bytes[position];
  if (column.type == ColumnType::Boolean) {
    if (std::get<bool>(value)) draft.cells[position] = ByteView();
    return;
  }
  Naming(definition_, column, [&] {
    if (longValues_[position]) {
      draft.plans[position] = longValues_[position]->PlanFor(value);
      bytes.resize(draft.plans[position]->SizeInRow());
    } else {
      BytesFromValue(column, value, bytes);
    }
  });
  if (IsNormalised(column)) value = ValueFromBytes(column, bytes);
  draft.cells[position] = bytes;
}

Table::Draft& Table::EmptyDraft() {
  const std::size_t columns = definition_.columns.size();
  draft_.bytes.resize(columns);
  draft_.cells.assign(columns, std::nullopt);
  draft_.plans.assign(columns, std::nullopt);
  draft_.fixedArea = FixedAreaOfNewRows();
  return draft_;
}

Table::Draft& Table::DraftOf(const RowLayout::Row& row) {
  Draft& draft = EmptyDraft();
  draft.fixedArea = std::max(draft.fixedArea, layout_.FixedAreaLike(row));
  for (std::size_t column = 0; column < draft.cells.size(); ++column) draft.cells[column] = layout_.Cell(row, column);
  return draft;
}

/// Other writers keep values of any length in the row. Where the row would become too large for that, such values go to
/// pages of their own, the longest first.
void Table::MoveOutLongValues(Draft& draft) const {
  while (layout_.RowSize(draft.cells, draft.fixedArea) > kMaxRowSize) {
    std::optional<std::size_t> longest;
    for (std::size_t column = 0; column < draft.cells.size(); ++column) {
      const std::optional<ByteView>& cell = draft.cells[column];
      if (!longValues_[column] || draft.plans[column] || !cell || !LongValues::IsInline(*cell)) continue;
      if (!longest || cell->size() > draft.cells[*longest]->size()) longest = column;
    }
    if (!longest) return;
    const ByteView stored = *draft.cells[*longest];
    LongValues::Plan plan = longValues_[*longest]->PlanFor(longValues_[*longest]->Load(stored));
    if (plan.SizeInRow() >= stored.size()) return;
    draft.bytes[*longest].resize(plan.SizeInRow());
    draft.cells[*longest] = draft.bytes[*longest];
    draft.plans[*longest] = std::move(plan);
  }
}

void Table::CheckSize(const Draft& draft) const {
  if (layout_.RowSize(draft.cells, draft.fixedArea) <= kMaxRowSize) return;
  throw ConstraintError(std::string(kRecordTooLarge) + " Table '" + definition_.name + "'.");
}

/// The rules of the columns that change, and of the table, on the row as it will be.
void Table::CheckRules(const RowLayout::Row& oldRow, const std::vector<std::optional<Value>>& changed) const {
  if (ruleCheck_.IsEmpty()) return;
  ruleCheck_.Check([&](std::size_t column) { return changed[column] ? *changed[column] : CellValue(oldRow, column); },
                   [&](std::size_t column) { return changed[column].has_value(); });
}

/// True when a row certainly holds this value already, and the value is one that could be stored: told without making a
/// cell, for who saves a row assigns most of its values as they were.
bool Table::HoldsAlready(const RowLayout::Row& row, std::size_t position, const Value& value, Scratch& scratch) const {
  const Column& column = definition_.columns[position];
  if (!CertainlyFits(column, value)) return false;
  const std::optional<ByteView> cell = layout_.Cell(row, position);
  if (const bool* flag = std::get_if<bool>(&value)) return cell.has_value() == *flag;
  if (!cell) return false;
  if (const auto* text = std::get_if<std::string>(&value)) {
    if (text->empty()) return false;  // whether that may be stored the rules tell
    ReadColumnValue(column, *cell, scratch.value);
    return scratch.value == value;
  }
  BytesFromValue(column, value, scratch.bytes);
  return std::equal(cell->begin(), cell->end(), scratch.bytes.begin(), scratch.bytes.end());
}

/// True when a row holds this value already, the draft's cell having been made from it.
bool Table::HoldsValue(const RowLayout::Row& row, std::size_t position, const Draft& draft, const Value& value) const {
  const ColumnType type = definition_.columns[position].type;
  // The same text may be stored in two ways, and a long value in two places.
  if (type == ColumnType::Text || longValues_[position]) return CellValue(row, position) == value;
  const std::optional<ByteView> oldCell = layout_.Cell(row, position);
  const std::optional<ByteView>& newCell = draft.cells[position];
  if (!oldCell || !newCell) return oldCell.has_value() == newCell.has_value();
  return std::equal(oldCell->begin(), oldCell->end(), newCell->begin(), newCell->end());
}

/// Tables whose last rows have a longer fixed area than the columns ask for have had columns deleted.
std::size_t Table::FixedAreaOfNewRows() {
  if (!fixedAreaOfNewRows_) {
    const std::optional<RowId> last = rows_.Last();
    fixedAreaOfNewRows_ = last ? layout_.FixedAreaLike(layout_.Parse(rows_.Read(*last))) : layout_.FixedArea();
  }
  return *fixedAreaOfNewRows_;
}

Value Table::DefaultOf(std::size_t column) const {
  if (column >= definition_.columns.size()) throw StandardError(errors::kItemNotFound);
  return IsAutonumber(definition_.columns[column]) ? Value() : ruleCheck_.DefaultOf(column);
}

// Autonumbers.

void Table::DrawAutonumbers(std::span<Value> values) const {
  for (std::size_t column = 0; column < values.size(); ++column) {
    if (!IsAutonumber(definition_.columns[column]) || !IsNull(values[column])) continue;
    const std::int64_t next = std::int64_t{LastAutonumber(file_, definition_)} + AutonumberStep(file_, definition_);
    if (!std::in_range<std::int32_t>(next)) {
      throw ConstraintError(kNoMoreNumbers + TableAnd(definition_, "column", definition_.columns[column].name));
    }
    values[column] = static_cast<std::int32_t>(next);
  }
}

/// Numbers are not given twice, so one that is farther than the last one given becomes the last.
void Table::NoteAutonumber(std::size_t column, const Value& value) {
  if (!IsAutonumber(definition_.columns[column]) || IsNull(value)) return;
  const std::int32_t number = std::get<std::int32_t>(value);
  const std::int32_t last = LastAutonumber(file_, definition_);
  const bool farther = AutonumberStep(file_, definition_) < 0 ? number < last : number > last;
  if (farther) SetLastAutonumber(file_, definition_, number);
}

// Indexes.

bool Table::IsPrimaryKey(std::size_t index) const {
  return std::any_of(definition_.indexes.begin(), definition_.indexes.end(), [index](const LogicalIndex& logical) {
    return logical.dataNumber == index && logical.kind == LogicalIndex::Kind::PrimaryKey;
  });
}

bool Table::HasEntry(std::size_t index, const IndexKey& key) const {
  return !(key.allNull && definition_.indexData[index].IgnoresNulls());
}

/// `except`: the row that the key is for, when it is in the table already.
void Table::CheckKey(std::size_t index, const IndexKey& key, std::optional<RowId> except) const {
  const IndexData& data = definition_.indexData[index];
  if (key.anyNull && (data.IsRequired() || IsPrimaryKey(index))) {
    throw ConstraintError(kNullKey + TableAnd(definition_, "index", definition_.IndexName(index)));
  }
  // Wholly null keys are never duplicates of each other.
  if (data.IsUnique() && !key.allNull && HasKey(index, key, except)) {
    throw ConstraintError(kDuplicateKey + TableAnd(definition_, "index", definition_.IndexName(index)));
  }
}

/// The key under which a stored row should be in an index. A row whose key cannot be built (a character without a known
/// place in the sort order, written by another engine) gets an empty one: the tree then finds the entry by the row.
IndexKey Table::StoredKey(std::size_t index, const std::vector<Value>& values) const {
  try {
    return KeyOf(definition_, definition_.indexData[index], values);
  } catch (const Error&) {
    return {{}, false, false, 0};
  }
}

std::vector<Table::KeyChange> Table::KeyChanges(const RowLayout::Row& oldRow, RowId address,
                                                const std::vector<std::optional<Value>>& changed) const {
  std::vector<KeyChange> changes;
  for (std::size_t index = 0; index < trees_.size(); ++index) {
    const std::vector<std::size_t>& positions = keyPositions_[index];
    if (std::none_of(positions.begin(), positions.end(), [&](std::size_t at) { return changed[at].has_value(); })) {
      continue;
    }
    RequireWritable(index);
    std::vector<Value> oldValues(changed.size());
    std::vector<Value> newValues(changed.size());
    for (const std::size_t column : positions) {
      oldValues[column] = CellValue(oldRow, column);
      newValues[column] = changed[column] ? *changed[column] : oldValues[column];
    }
    KeyChange change = {index, StoredKey(index, oldValues),
                        KeyOf(definition_, definition_.indexData[index], newValues)};
    if (change.oldKey.bytes == change.newKey.bytes) continue;
    CheckKey(index, change.newKey, address);
    changes.push_back(std::move(change));
  }
  return changes;
}

void Table::AddEntry(std::size_t index, const IndexKey& key, RowId row) {
  if (!HasEntry(index, key)) return;
  const bool isUnique = definition_.indexData[index].IsUnique() && !key.allNull;
  if (isUnique) trees_[index].Insert(key.bytes, row);
  const bool isNewKey = isUnique || trees_[index].InsertAndTell(key.bytes, row);
  if (isNewKey) AddToDistinctKeys(file_, definition_, index, 1);
}

void Table::RemoveEntry(std::size_t index, const IndexKey& key, RowId row) {
  // A row without an entry was not found through this index before and is not afterwards: nothing to mend here.
  if (HasEntry(index, key)) trees_[index].Remove(key.bytes, row);
}

// Relations.

/// Nothing when the change leaves the columns that relations connect as they are.
std::optional<RowChange> Table::RelatedChange(RowId row, const RowLayout::Row& oldRow,
                                              const std::vector<std::optional<Value>>& changed) const {
  if (std::none_of(relatedColumns_.begin(), relatedColumns_.end(),
                   [&](std::size_t column) { return changed[column].has_value(); })) {
    return std::nullopt;
  }
  RequireRelationsKept();
  RowChange change = {row, RelatedValues(oldRow), {}};
  change.after = change.before;
  for (const std::size_t column : relatedColumns_) {
    if (changed[column]) change.after[column] = *changed[column];
  }
  return change;
}

/// The values of the columns that relations connect; nothing at all when there are none.
std::vector<Value> Table::RelatedValues(std::span<const Value> values) const {
  if (relatedColumns_.empty()) return {};
  std::vector<Value> related(values.size());
  for (const std::size_t column : relatedColumns_) related[column] = values[column];
  return related;
}

std::vector<Value> Table::RelatedValues(const RowLayout::Row& row) const {
  if (relatedColumns_.empty()) return {};
  std::vector<Value> related(definition_.columns.size());
  for (const std::size_t column : relatedColumns_) related[column] = CellValue(row, column);
  return related;
}

void Table::FollowRelations(RowChange change) {
  if (!relatedColumns_.empty()) relations_->Follow(*this, std::move(change));
}

// Storing.

/// Puts the long values on their pages and builds the row's bytes, which lie in the draft.
ByteView Table::FinishRow(Draft& draft) {
  for (std::size_t column = 0; column < draft.plans.size(); ++column) {
    if (!draft.plans[column]) continue;
    draft.bytes[column] = longValues_[column]->Store(*draft.plans[column]);
    draft.cells[column] = draft.bytes[column];
  }
  layout_.Write(draft.cells, draft.fixedArea, draft.row);
  return draft.row;
}

void Table::RemoveLongValue(const RowLayout::Row& row, std::size_t column) {
  if (!longValues_[column]) return;
  const std::optional<ByteView> cell = layout_.Cell(row, column);
  if (cell && !cell->empty()) longValues_[column]->Remove(*cell);
}

/// The row count of a file that another engine has written may be wrong; it must not become absurd as well.
void Table::AddToCount(std::int32_t difference) {
  const std::int64_t count = std::int64_t{RowCount(file_, definition_)} + difference;
  SetRowCount(file_, definition_, static_cast<std::uint32_t>(std::max<std::int64_t>(count, 0)));
}

}  // namespace mv::jet
