#include "mvtool/files/TableDiff.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "base/Text.h"
#include "json/ValueJson.h"
#include "recordset/Conversions.h"
#include "sync/HandheldForm.h"

namespace mv::tool {
namespace {

using history::What;

/// A column of both states.
struct SharedColumn {
  std::size_t before = 0;
  std::size_t after = 0;
  std::string name;
  /// The handheld's type, where values are compared as it would hold them.
  std::optional<DataType> handheldType = std::nullopt;
};

std::optional<std::size_t> PositionOf(const std::vector<FieldDefinition>& fields, const std::string& name) {
  const std::string wanted = FoldCase(name);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (FoldCase(fields[i].name) == wanted) return i;
  }
  return std::nullopt;
}

bool IsSameValue(const Value& left, const Value& right) {
  if (left == right) return true;
  const ShownValue leftShown = ShownForm(left);
  const ShownValue rightShown = ShownForm(right);
  return leftShown.text == rightShown.text && leftShown.quoted == rightShown.quoted;
}

class Comparison {
 public:
  Comparison(RowSource& before, RowSource& after, const std::function<void(const history::Change&)>& visit)
      : before_(before), after_(after), visit_(visit) {
    PairColumns();
    FindKey();
  }

  TableDiff Run() {
    while (const auto values = before_.Next()) KeepRow(Shared(*values, &SharedColumn::before));
    while (const auto values = after_.Next()) CompareRow(Shared(*values, &SharedColumn::after));
    for (const Row& row : rows_) {
      if (row.taken) continue;
      ++diff_.deleted;
      Visit(What::Deleted, &row.values, nullptr);
    }
    return diff_;
  }

 private:
  using Values = std::vector<Value>;
  struct Row {
    Values values;
    bool taken = false;
  };
  /// Rows of one key, and how many of them were taken.
  struct Queue {
    std::vector<std::size_t> rows;
    std::size_t taken = 0;
  };

  void PairColumns() {
    const std::vector<FieldDefinition>& before = before_.Fields();
    const std::vector<FieldDefinition>& after = after_.Fields();
    const bool oneIsOnHandheld = before_.IsOnHandheld() != after_.IsOnHandheld();
    std::vector<bool> paired(after.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
      const std::optional<std::size_t> other = PositionOf(after, before[i].name);
      if (!other || paired[*other]) {
        diff_.onlyBefore.push_back(before[i].name);
        continue;
      }
      paired[*other] = true;
      columns_.push_back({i, *other, before[i].name});
      names_.push_back(before[i].name);
      if (oneIsOnHandheld) columns_.back().handheldType = before_.IsOnHandheld() ? before[i].type : after[*other].type;
    }
    for (std::size_t i = 0; i < after.size(); ++i) {
      if (!paired[i]) diff_.onlyAfter.push_back(after[i].name);
    }
  }

  /// The key of the first state, else that of the second, when both have its columns.
  void FindKey() {
    if (!TakeKey(before_.Key(), &SharedColumn::before)) TakeKey(after_.Key(), &SharedColumn::after);
  }

  bool TakeKey(const std::vector<std::size_t>& key, std::size_t SharedColumn::*side) {
    key_.clear();
    for (const std::size_t position : key) {
      const auto column = std::find_if(columns_.begin(), columns_.end(),
                                       [&](const SharedColumn& shared) { return shared.*side == position; });
      if (column == columns_.end()) {
        key_.clear();
        return false;
      }
      key_.push_back(static_cast<std::size_t>(column - columns_.begin()));
    }
    return !key_.empty();
  }

  Values Shared(const Values& row, std::size_t SharedColumn::*side) const {
    Values values;
    values.reserve(columns_.size());
    for (const SharedColumn& column : columns_) {
      const Value& value = row.at(column.*side);
      std::optional<Value> held = column.handheldType ? HandheldForm(*column.handheldType, value) : std::nullopt;
      values.push_back(held ? std::move(*held) : value);
    }
    return values;
  }

  /// What rows are matched by.
  std::string KeyOf(const Values& row) const {
    if (key_.empty()) return history::ObjectOf(names_, row);
    std::string key;
    for (const std::size_t column : key_) {
      key += IsNull(row[column]) ? '\x02' : '\x01';
      key += FoldCase(TextOf(row[column]));
    }
    return key;
  }

  void KeepRow(Values values) {
    byKey_[KeyOf(values)].rows.push_back(rows_.size());
    rows_.push_back({std::move(values)});
  }

  void CompareRow(const Values& values) {
    const auto found = byKey_.find(KeyOf(values));
    if (found == byKey_.end() || found->second.taken == found->second.rows.size()) {
      ++diff_.added;
      return Visit(What::Added, nullptr, &values);
    }
    Row& old = rows_[found->second.rows[found->second.taken++]];
    old.taken = true;
    if (std::equal(values.begin(), values.end(), old.values.begin(), &IsSameValue)) return;
    ++diff_.changed;
    Visit(What::Changed, &old.values, &values);
  }

  void Visit(What what, const Values* before, const Values* after) const {
    const Values& row = before != nullptr ? *before : *after;
    std::string key;
    for (const std::size_t column : key_) key += (key.empty() ? "" : ", ") + TextOf(row[column]);
    visit_({before_.Name(), key, Side::Desktop, what,
            before != nullptr ? history::ObjectOf(names_, *before) : std::string(),
            after != nullptr ? history::ObjectOf(names_, *after) : std::string()});
  }

  RowSource& before_;
  RowSource& after_;
  const std::function<void(const history::Change&)>& visit_;
  TableDiff diff_;
  std::vector<SharedColumn> columns_;
  std::vector<std::string> names_;  ///< of the shared columns
  std::vector<std::size_t> key_;    ///< positions in columns_
  std::vector<Row> rows_;           ///< of the first state
  std::unordered_map<std::string, Queue> byKey_;
};

}  // namespace

TableDiff Compare(RowSource& before, RowSource& after, const std::function<void(const history::Change&)>& visit) {
  return Comparison(before, after, visit).Run();
}

}  // namespace mv::tool
