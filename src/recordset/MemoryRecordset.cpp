#include "recordset/MemoryRecordset.h"

#include <optional>
#include <unordered_set>
#include <utility>

#include "base/Checked.h"
#include "base/Error.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "recordset/Conversions.h"
#include "recordset/FindCriterion.h"

namespace mv {
namespace {

/// What stands in `field` after `value` was assigned to it.
Value StoredValue(const FieldDefinition& field, Value value) {
  Value stored = ConvertedTo(field.type, std::move(value));
  if (field.definedSize <= 0) return stored;
  const auto limit = static_cast<std::size_t>(field.definedSize);
  const auto* text = std::get_if<std::string>(&stored);
  const auto* bytes = std::get_if<Bytes>(&stored);
  const bool fits = text ? CharacterCount(*text) <= limit : !bytes || bytes->size() <= limit;
  if (!fits) throw Error(errors::kJetConstraint, {}, "The value is too long for the field '" + field.name + "'.");
  return stored;
}

}  // namespace

MemoryRecordset::MemoryRecordset(std::vector<FieldDefinition> fields) : fields_(std::move(fields)) {
  std::unordered_set<std::string> names;
  for (const FieldDefinition& field : fields_) {
    if (!names.insert(AsciiLower(field.name)).second) throw StandardError(errors::kObjectInCollection);
  }
}

MemoryRecordset::MemoryRecordset(std::vector<FieldDefinition> fields, std::unique_ptr<const StoredRows> rows)
    : MemoryRecordset(std::move(fields)) {
  stored_ = std::move(rows);
  const std::size_t count = stored_->Count();
  rows_.reserve(count);
  for (std::size_t row = 0; row < count; ++row) {
    Row stored;
    stored.isStored = true;
    Append(std::move(stored));
  }
}

void MemoryRecordset::RequireField(std::size_t index) const {
  if (index >= fields_.size()) throw StandardError(errors::kItemNotFound);
}

void MemoryRecordset::RequireLiveRow() const {
  if (current_ == kNoRow || !rows_[current_].live) throw StandardError(errors::kNoCurrentRecord);
}

const Value& MemoryRecordset::HeldValue(std::size_t index) const {
  RequireField(index);
  if (pending_ != Pending::Nothing) return pendingValues_[index];
  RequireLiveRow();
  return ValuesOf(current_)[index];
}

const std::vector<Value>& MemoryRecordset::ValuesOf(RowNumber row) const {
  if (!rows_[row].isStored) return rows_[row].values;
  if (readRow_ != row) {
    stored_->ReadRow(row, readValues_);
    readRow_ = row;
  }
  return readValues_;
}

std::optional<std::size_t> MemoryRecordset::CurrentStoredRow() const {
  if (pending_ != Pending::Nothing || current_ == kNoRow) return std::nullopt;
  const Row& row = rows_[current_];
  if (!row.live || !row.isStored) return std::nullopt;
  return current_;
}

Value MemoryRecordset::FieldValue(std::size_t index) const {
  return HeldValue(index);
}

const Value& MemoryRecordset::PeekField(std::size_t index, Value&) const {
  return HeldValue(index);
}

void MemoryRecordset::SetFieldValue(std::size_t index, Value value) {
  RequireField(index);
  if (pending_ == Pending::Nothing) RequireLiveRow();
  Value stored = StoredValue(fields_[index], std::move(value));
  if (pending_ == Pending::Nothing) {
    pendingValues_ = ValuesOf(current_);
    pending_ = Pending::Edit;
  }
  pendingValues_[index] = std::move(stored);
}

void MemoryRecordset::AddNew() {
  Update();
  pendingValues_.assign(fields_.size(), Null{});
  pending_ = Pending::NewRow;
}

void MemoryRecordset::AddRow(std::vector<Value> values) {
  Update();
  values.resize(fields_.size());
  pendingValues_ = std::move(values);
  SaveNewRow();
  CancelUpdate();
}

void MemoryRecordset::Update() {
  if (pending_ == Pending::Edit) SaveEdit();
  if (pending_ == Pending::NewRow) SaveNewRow();
  CancelUpdate();
}

void MemoryRecordset::SaveEdit() {
  const std::vector<Value>& values = ValuesOf(current_);
  for (auto& [field, index] : indexes_) {
    if (values[field] == pendingValues_[field]) continue;
    index.Remove(values[field], current_);
    index.Add(pendingValues_[field], current_);
  }
  rows_[current_].values = std::move(pendingValues_);
  rows_[current_].isStored = false;
}

void MemoryRecordset::SaveNewRow() {
  const auto number = CheckedCast<RowNumber>(rows_.size());
  for (auto& [field, index] : indexes_) index.Add(pendingValues_[field], number);
  Row row;
  row.values = std::move(pendingValues_);
  Append(std::move(row));
}

void MemoryRecordset::Append(Row row) {
  const auto number = CheckedCast<RowNumber>(rows_.size());
  row.previous = last_;
  rows_.push_back(std::move(row));
  (last_ == kNoRow ? first_ : rows_[last_].next) = number;
  last_ = number;
  current_ = number;
  ++liveRows_;
}

void MemoryRecordset::CancelUpdate() {
  pending_ = Pending::Nothing;
  pendingValues_.clear();
}

void MemoryRecordset::Delete() {
  if (pending_ == Pending::NewRow) throw StandardError(errors::kNoCurrentRecord);
  RequireLiveRow();
  CancelUpdate();
  Row& row = rows_[current_];
  Unlink(row);
  row.live = false;
  row.values = std::vector<Value>();  // its memory too, which "= {}" would keep
  --liveRows_;
}

void MemoryRecordset::Unlink(const Row& row) {
  (row.previous == kNoRow ? first_ : rows_[row.previous].next) = row.next;
  (row.next == kNoRow ? last_ : rows_[row.next].previous) = row.previous;
}

void MemoryRecordset::MoveFirst() {
  Update();
  if (liveRows_ == 0) throw StandardError(errors::kNoCurrentRecord);
  current_ = first_;
}

void MemoryRecordset::MoveLast() {
  Update();
  if (liveRows_ == 0) throw StandardError(errors::kNoCurrentRecord);
  current_ = last_;
}

void MemoryRecordset::MoveNext() {
  Update();
  if (current_ == kNoRow) throw StandardError(errors::kNoCurrentRecord);
  current_ = rows_[current_].next;
}

bool MemoryRecordset::Bof() const {
  return pending_ != Pending::NewRow && liveRows_ == 0;
}

bool MemoryRecordset::Eof() const {
  return pending_ != Pending::NewRow && (liveRows_ == 0 || current_ == kNoRow);
}

void MemoryRecordset::Find(std::string_view criterion) {
  const FindCriterion wanted = ParseFindCriterion(criterion);
  const std::size_t field = FieldIndex(wanted.fieldName);
  Update();
  if (Eof()) throw StandardError(errors::kNoCurrentRecord);
  TextIndex& index = IndexOf(field);
  std::optional<RowNumber> row = index.FirstFrom(wanted.text, current_);
  // Deleted rows leave an index when they are met, each once: most never are.
  for (; row && !rows_[*row].live; row = index.FirstFrom(wanted.text, current_)) index.Remove(wanted.text, *row);
  current_ = row.value_or(kNoRow);
}

TextIndex& MemoryRecordset::IndexOf(std::size_t index) {
  const auto [entry, isNew] = indexes_.try_emplace(index);
  if (!isNew) return entry->second;
  entry->second.Reserve(static_cast<std::size_t>(liveRows_));
  Value room;
  for (RowNumber row = first_; row != kNoRow; row = rows_[row].next) {
    if (rows_[row].isStored) stored_->ReadField(row, index, room);
    entry->second.Add(rows_[row].isStored ? room : rows_[row].values[index], row);
  }
  return entry->second;
}

}  // namespace mv
