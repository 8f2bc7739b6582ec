#include "mvtool/files/IndexedTable.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "jet/index/TextKeys.h"
#include "jet/rows/ColumnValue.h"
#include "json/ValueJson.h"
#include "recordset/Conversions.h"

namespace mv::tool {
namespace {

using jet::ColumnType;
using jet::RowId;

/// Rows of one key that are looked at in an index of the table before an index of our own is preferred.
constexpr std::size_t kMostRowsOfAKey = 32;

/// Longer keys of own indexes are replaced by a number made of them, so that memos need not be kept.
constexpr std::size_t kLongestKey = 64;

/// Stand between the parts of a key of an own index. Texts may hold them too: two rows of one key are no harm.
constexpr char kPartEnd = '\x01';
constexpr char kNullPart = '\x02';

std::optional<std::string> ComparedText(const Value& value) {
  if (IsNull(value)) return std::nullopt;
  return FoldCase(TextOf(value));
}

bool IsText(ColumnType type) {
  return type == ColumnType::Text || type == ColumnType::Memo;
}

/// Texts go to the second: rows of one text fit a date of whole seconds, any other date those that hold the same.
bool FitsDate(const Value& stored, const Value& wanted) {
  if (!std::holds_alternative<Date>(wanted) || TextOf(wanted) == ShownForm(wanted).text) return true;
  return stored == wanted;
}

/// True for types whose stored form may differ from the value given.
bool IsNormalised(const jet::Column& column) {
  const bool isPadded = column.IsFixed() && (column.type == ColumnType::Text || column.type == ColumnType::Binary);
  return isPadded || column.type == ColumnType::Decimal || column.type == ColumnType::Guid;
}

Value AsStored(const jet::Column& column, const Value& value) {
  if (IsNull(value) || !IsNormalised(column)) return value;
  Bytes bytes;
  jet::BytesFromValue(column, value, bytes);
  return jet::ValueFromBytes(column, bytes);
}

/// True when values that count as equal have one key. Dates that differ by less than a second have several, and so
/// have decimals that other engines have written.
bool HasOneKey(const jet::Column& column, const std::optional<std::string>& text) {
  if (column.type == ColumnType::DateTime || column.type == ColumnType::Decimal) return false;
  return !IsText(column.type) || !text || !jet::MayHaveOtherKeys(*text);
}

void AppendPart(std::string& key, const std::optional<std::string>& text) {
  key += text ? *text : std::string(1, kNullPart);
  key += kPartEnd;
}

Value FinishedKey(const std::string& key) {
  if (key.size() <= kLongestKey) return key;
  return std::to_string(std::hash<std::string>()(key));
}

}  // namespace

std::optional<RowId> IndexedTable::Find(std::span<const Condition> where) {
  const Criteria criteria = CriteriaOf(where);
  DropStaleIndexes();
  const auto hasColumns = [&](const OwnIndex& index) {
    return std::equal(index.columns.begin(), index.columns.end(), criteria.begin(), criteria.end(),
                      [](std::size_t column, const Criterion& criterion) { return column == criterion.column; });
  };
  const auto own = std::find_if(ownIndexes_.begin(), ownIndexes_.end(), hasColumns);
  if (own != ownIndexes_.end()) return FindIn(*own, criteria);
  const Answer answer = AskIndex(criteria);
  if (answer.decided) return answer.row;
  if (ownIndexes_.size() == kMostOwnIndexes) return Walk(criteria);
  return FindIn(AddOwnIndex(criteria), criteria);
}

IndexedTable::Criteria IndexedTable::CriteriaOf(std::span<const Condition> where) const {
  Criteria criteria;
  for (const Condition& condition : where) {
    Value value = AsStored(Definition().columns.at(condition.column), condition.value);
    std::optional<std::string> text = ComparedText(value);
    criteria.push_back({condition.column, std::move(value), std::move(text)});
  }
  std::sort(criteria.begin(), criteria.end(),
            [](const Criterion& left, const Criterion& right) { return left.column < right.column; });
  return criteria;
}

bool IndexedTable::Meets(RowId row, const Criteria& criteria) const {
  return std::all_of(criteria.begin(), criteria.end(), [&](const Criterion& criterion) {
    const Value stored = table_.ReadValue(row, criterion.column);
    return ComparedText(stored) == criterion.text && FitsDate(stored, criterion.value);
  });
}

std::optional<RowId> IndexedTable::Walk(const Criteria& criteria) const {
  std::optional<RowId> row = table_.First();
  while (row && !Meets(*row, criteria)) row = table_.Next(*row);
  return row;
}

// Indexes of the table.

bool IndexedTable::CanAnswer(std::size_t index, const Criteria& criteria) const {
  if (!table_.WhyNotWritable(index).empty()) return false;
  bool allNull = true;
  for (const std::size_t position : table_.KeyPositions(index)) {
    const auto criterion = std::find_if(criteria.begin(), criteria.end(),
                                        [position](const Criterion& one) { return one.column == position; });
    if (criterion == criteria.end() || !HasOneKey(Definition().columns[position], criterion->text)) return false;
    allNull = allNull && !criterion->text;
  }
  return !(allNull && Definition().indexData[index].IgnoresNulls());
}

/// A unique one, else the one of the most columns.
std::optional<std::size_t> IndexedTable::BestIndex(const Criteria& criteria) const {
  const std::vector<jet::IndexData>& indexes = Definition().indexData;
  std::optional<std::size_t> best;
  for (std::size_t i = 0; i < indexes.size(); ++i) {
    if (!CanAnswer(i, criteria)) continue;
    const auto rank = [&](std::size_t at) { return std::pair(indexes[at].IsUnique(), indexes[at].columns.size()); };
    if (!best || rank(i) > rank(*best)) best = i;
  }
  return best;
}

/// Undecided when there is no such index, when the key cannot be built and when too many rows share it.
IndexedTable::Answer IndexedTable::AskIndex(const Criteria& criteria) const {
  const std::optional<std::size_t> index = BestIndex(criteria);
  if (!index) return {};
  std::vector<Value> values(Definition().columns.size());
  for (const Criterion& criterion : criteria) values[criterion.column] = criterion.value;
  jet::IndexKey key;
  try {
    key = KeyOf(Definition(), Definition().indexData[*index], values);
  } catch (const Error&) {
    return {};
  }
  const std::vector<RowId> rows = table_.RowsWithKey(*index, key, kMostRowsOfAKey);
  const auto found = std::find_if(rows.begin(), rows.end(), [&](RowId row) { return Meets(row, criteria); });
  if (found != rows.end()) return {true, *found};
  return {rows.size() < kMostRowsOfAKey, std::nullopt};
}

// Own indexes.

Value IndexedTable::KeyOfRow(const OwnIndex& index, RowId row) const {
  std::string key;
  for (const std::size_t column : index.columns) AppendPart(key, ComparedText(table_.ReadValue(row, column)));
  return FinishedKey(key);
}

IndexedTable::OwnIndex& IndexedTable::AddOwnIndex(const Criteria& criteria) {
  OwnIndex index;
  for (const Criterion& criterion : criteria) index.columns.push_back(criterion.column);
  for (auto row = table_.First(); row; row = table_.Next(*row)) index.rows.Add(KeyOfRow(index, *row), row->Word());
  return ownIndexes_.emplace_back(std::move(index));
}

std::optional<RowId> IndexedTable::FindIn(const OwnIndex& index, const Criteria& criteria) const {
  std::string parts;
  for (const Criterion& criterion : criteria) AppendPart(parts, criterion.text);
  const std::string key = TextOf(FinishedKey(parts));
  std::optional<TextIndex::RowNumber> row = index.rows.FirstFrom(key, 0);
  while (row && !Meets(RowId::FromWord(*row), criteria)) row = index.rows.FirstFrom(key, *row + 1);
  if (!row) return std::nullopt;
  return RowId::FromWord(*row);
}

/// A relation of the table with itself changes rows that nobody here named.
void IndexedTable::DropStaleIndexes() {
  if (changesSeen_ != table_.Changes()) ownIndexes_.clear();
  changesSeen_ = table_.Changes();
}

void IndexedTable::NoteOwnChange() {
  ++changesSeen_;
}

void IndexedTable::Insert(std::span<Value> values) {
  DropStaleIndexes();
  const RowId row = table_.Insert(values);
  NoteOwnChange();
  for (OwnIndex& index : ownIndexes_) index.rows.Add(KeyOfRow(index, row), row.Word());
}

void IndexedTable::Update(RowId row, std::span<const std::size_t> columns, std::span<const Value> values) {
  DropStaleIndexes();
  std::vector<std::pair<OwnIndex*, Value>> oldKeys;
  for (OwnIndex& index : ownIndexes_) {
    const bool isTouched = std::any_of(columns.begin(), columns.end(), [&](std::size_t column) {
      return std::binary_search(index.columns.begin(), index.columns.end(), column);
    });
    if (isTouched) oldKeys.emplace_back(&index, KeyOfRow(index, row));
  }
  table_.Update(row, columns, values);
  // A row that held the values already counts as no change.
  if (table_.Changes() != changesSeen_) NoteOwnChange();
  for (const auto& [index, oldKey] : oldKeys) {
    index->rows.Remove(oldKey, row.Word());
    index->rows.Add(KeyOfRow(*index, row), row.Word());
  }
}

void IndexedTable::Delete(RowId row) {
  DropStaleIndexes();
  std::vector<Value> oldKeys;
  for (const OwnIndex& index : ownIndexes_) oldKeys.push_back(KeyOfRow(index, row));
  table_.Delete(row);
  NoteOwnChange();
  std::size_t i = 0;
  for (OwnIndex& index : ownIndexes_) index.rows.Remove(oldKeys[i++], row.Word());
}

}  // namespace mv::tool
