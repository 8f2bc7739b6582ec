#include "jet/JetRecordset.h"

#include <algorithm>
#include <string>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "jet/file/JetErrors.h"
#include "jet/rows/ColumnValue.h"
#include "recordset/Conversions.h"
#include "recordset/FindCriterion.h"

namespace mv::jet {
namespace {

std::int32_t DefinedSizeOf(const Column& column) {
  switch (column.type) {
    case ColumnType::Text:
      return column.length / 2;
    case ColumnType::Binary:
    case ColumnType::RawBlock:
      return column.length;
    default:
      return 0;
  }
}

std::vector<FieldDefinition> FieldsOf(const TableDefinition& table) {
  std::vector<FieldDefinition> fields;
  for (const Column& column : table.columns) {
    fields.push_back({column.name, DataTypeOf(column.type), DefinedSizeOf(column)});
  }
  return fields;
}

/// " 'abc'"; nothing for a text too long to be read in a message.
std::string Quoted(const Value& value) {
  constexpr std::size_t kMostShown = 60;
  const std::string text = TextOf(value);
  return text.size() <= kMostShown ? " '" + text + "'" : std::string();
}

/// The reason why a value cannot stand in a column, from the error that converting it raised.
std::string ReasonOf(const Error& error, const Value& value) {
  if (error.Number() == errors::kTypeMismatch) {
    return "The value" + Quoted(value) + " does not have the type of the field.";
  }
  if (error.Number() == errors::kOverflow) return "The value" + Quoted(value) + " is too large for the field.";
  return error.Description();
}

/// What stands in a field after `value` was assigned to it; throws as SetFieldValue does.
Value AssignedValue(const TableDefinition& table, const Column& column, Value value) {
  if (CertainlyFits(column, value)) return value;
  if (IsNull(value)) return column.type == ColumnType::Boolean ? Value(false) : value;
  try {
    Value assigned = ConvertedTo(DataTypeOf(column.type), value);
    if (column.type == ColumnType::Boolean || column.IsLongValue()) return assigned;
    Bytes scratch;
    BytesFromValue(column, assigned, scratch);
    return assigned;
  } catch (const Error& error) {
    throw ConstraintError(ReasonOf(error, value) + " Table '" + table.name + "', column '" + column.name + "'.");
  }
}

}  // namespace

JetRecordset::JetRecordset(Table& table) : table_(table), fields_(FieldsOf(table.Definition())), read_(fields_.size()) {
  MoveTo(table_.First());
}

void JetRecordset::RequireField(std::size_t index) const {
  if (index >= fields_.size()) throw StandardError(errors::kItemNotFound);
}

void JetRecordset::RequireLiveRow() const {
  if (!current_ || currentDeleted_ || !table_.IsLive(*current_)) throw StandardError(errors::kNoCurrentRecord);
}

void JetRecordset::MoveTo(std::optional<RowId> row) {
  current_ = row;
  currentDeleted_ = false;
  ForgetRead();
}

void JetRecordset::ForgetRead() const {
  readLongFields_.clear();
  readAtChange_ = table_.Changes();
  hasReadShort_ = false;
}

/// What was read is good as long as no row changes, and so long the row is there.
const Value& JetRecordset::StoredValue(std::size_t index) const {
  if (!current_ || currentDeleted_) throw StandardError(errors::kNoCurrentRecord);
  if (readAtChange_ != table_.Changes()) ForgetRead();
  Value& value = read_[index];
  if (table_.Definition().columns[index].IsLongValue()) {
    if (std::find(readLongFields_.begin(), readLongFields_.end(), index) != readLongFields_.end()) return value;
    value = table_.ReadValue(*current_, index);
    readLongFields_.push_back(index);
  } else if (!hasReadShort_) {
    table_.ReadShortValues(*current_, read_);
    hasReadShort_ = true;
  }
  return value;
}

const Value& JetRecordset::PeekField(std::size_t index, Value& room) const {
  RequireField(index);
  if (pending_ != Pending::Nothing && assigned_[index]) return *assigned_[index];
  if (pending_ == Pending::NewRow) return room = UnassignedValue(index);
  return StoredValue(index);
}

Value JetRecordset::FieldValue(std::size_t index) const {
  Value room;
  return PeekField(index, room);
}

Value JetRecordset::UnassignedValue(std::size_t index) const {
  return fields_[index].type == DataType::Boolean ? Value(false) : Value(Null());
}

void JetRecordset::SetFieldValue(std::size_t index, Value value) {
  RequireField(index);
  if (pending_ == Pending::Nothing) RequireLiveRow();
  const TableDefinition& table = table_.Definition();
  Value assigned = AssignedValue(table, table.columns[index], std::move(value));
  if (pending_ == Pending::Nothing) {
    assigned_.assign(fields_.size(), std::nullopt);
    pending_ = Pending::Edit;
  }
  assigned_[index] = std::move(assigned);
}

void JetRecordset::AddNew() {
  Update();
  assigned_.assign(fields_.size(), std::nullopt);
  pending_ = Pending::NewRow;
}

void JetRecordset::Update() {
  const Pending pending = std::exchange(pending_, Pending::Nothing);
  if (pending == Pending::Edit) SaveEdit();
  if (pending == Pending::NewRow) SaveNewRow();
}

void JetRecordset::SaveEdit() {
  RequireLiveRow();
  std::vector<std::size_t> columns;
  std::vector<Value> values;
  for (std::size_t i = 0; i < assigned_.size(); ++i) {
    if (!assigned_[i]) continue;
    columns.push_back(i);
    values.push_back(std::move(*assigned_[i]));
  }
  table_.Update(*current_, columns, values);
  MoveTo(current_);
}

void JetRecordset::SaveNewRow() {
  std::vector<Value> values;
  for (std::size_t i = 0; i < assigned_.size(); ++i) {
    values.push_back(assigned_[i] ? std::move(*assigned_[i]) : table_.DefaultOf(i));
  }
  MoveTo(table_.Insert(std::move(values)));
}

void JetRecordset::CancelUpdate() {
  pending_ = Pending::Nothing;
}

void JetRecordset::Delete() {
  if (pending_ == Pending::NewRow) throw StandardError(errors::kNoCurrentRecord);
  RequireLiveRow();
  CancelUpdate();
  table_.Delete(*current_);
  currentDeleted_ = true;
}

void JetRecordset::MoveFirst() {
  Update();
  const auto row = table_.First();
  if (!row) throw StandardError(errors::kNoCurrentRecord);
  MoveTo(row);
}

void JetRecordset::MoveLast() {
  Update();
  const auto row = table_.Last();
  if (!row) throw StandardError(errors::kNoCurrentRecord);
  MoveTo(row);
}

void JetRecordset::MoveNext() {
  Update();
  if (!current_) throw StandardError(errors::kNoCurrentRecord);
  MoveTo(table_.Next(*current_));
  table_.ForgetOldPages();
}

bool JetRecordset::Bof() const {
  return pending_ != Pending::NewRow && !table_.First();
}

bool JetRecordset::Eof() const {
  if (pending_ == Pending::NewRow) return false;
  return !current_ || (currentDeleted_ && !table_.First());
}

void JetRecordset::Find(std::string_view criterion) {
  const FindCriterion wanted = ParseFindCriterion(criterion);
  const std::size_t field = FieldIndex(wanted.fieldName);
  Update();
  if (Eof()) throw StandardError(errors::kNoCurrentRecord);
  const std::string text = FoldCase(wanted.text);
  const bool startsHere = !currentDeleted_ && table_.IsLive(*current_);
  std::optional<RowId> row = startsHere ? current_ : table_.Next(*current_);
  while (row && FoldCase(TextOf(table_.ReadValue(*row, field))) != text) row = table_.Next(*row);
  MoveTo(row);
}

}  // namespace mv::jet
