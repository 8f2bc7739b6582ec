#include "history/RowSet.h"

#include <unordered_set>
#include <utility>

#include "base/Text.h"
#include "jet/rows/ColumnValue.h"
#include "pdb/HandheldType.h"
#include "pdb/TableFile.h"
#include "recordset/Conversions.h"

namespace mv::history {
namespace {

std::string KeyOf(const std::vector<Value>& values, std::size_t key) {
  return key < values.size() ? TextOf(values[key]) : std::string();
}

}  // namespace

std::size_t PlaceOfKey(const std::vector<FieldDefinition>& fields, std::string_view name) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (EqualsIgnoreAsciiCase(fields[i].name, name)) return i;
  }
  return 0;
}

std::vector<std::string> UniqueNames(const std::vector<FieldDefinition>& fields) {
  std::vector<std::string> names;
  std::unordered_set<std::string> taken;
  for (const FieldDefinition& field : fields) {
    std::string name = field.name;
    for (std::size_t number = names.size() + 1; !taken.insert(name).second; ++number) {
      name = field.name + '#' + std::to_string(number);
    }
    names.push_back(std::move(name));
  }
  return names;
}

RowSet RowSet::OfTableFile(platform::FileSystem& files, const std::string& path, std::string_view keyField) {
  TableFileReader reader(files, path);
  RowSet rows;
  for (const TableFileField& field : reader.Header().fields) {
    const auto type = HandheldTypeNumbered(field.type);
    rows.fields_.push_back({field.name, type ? DataTypeOf(*type) : DataType::BStr, 0});
  }
  const std::size_t key = PlaceOfKey(rows.fields_, keyField);
  while (auto record = reader.Next()) {
    std::string keyText = KeyOf(record->values, key);
    rows.Add({std::move(keyText), std::move(record->values), record->attributes});
  }
  return rows;
}

RowSet RowSet::OfTable(jet::Database& database, const std::string& table, std::string_view keyField) {
  const jet::Table& source = database.OpenTable(table);
  RowSet rows;
  for (const jet::Column& column : source.Definition().columns) {
    rows.fields_.push_back({column.name, jet::DataTypeOf(column.type), 0});
  }
  const std::size_t key = PlaceOfKey(rows.fields_, keyField);
  for (auto row = source.First(); row; row = source.Next(*row)) {
    std::vector<Value> values = source.ReadRow(*row);
    std::string keyText = KeyOf(values, key);
    rows.Add({std::move(keyText), std::move(values), 0});
  }
  return rows;
}

std::vector<std::string> RowSet::FieldNames() const {
  return UniqueNames(fields_);
}

const KeyedRow* RowSet::Take(std::string_view key) {
  const auto found = byKey_.find(FoldCase(key));
  if (found == byKey_.end()) return nullptr;
  for (const std::size_t row : found->second) {
    if (taken_[row]) continue;
    taken_[row] = true;
    return &rows_[row];
  }
  return nullptr;
}

const KeyedRow* RowSet::Find(std::string_view key) const {
  const auto found = byKey_.find(FoldCase(key));
  return found == byKey_.end() ? nullptr : &rows_[found->second.front()];
}

void RowSet::ForEachLeft(const std::function<void(const KeyedRow&)>& visit) const {
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    if (!taken_[i]) visit(rows_[i]);
  }
}

void RowSet::Add(KeyedRow row) {
  byKey_[FoldCase(row.key)].push_back(rows_.size());
  taken_.push_back(false);
  rows_.push_back(std::move(row));
}

}  // namespace mv::history
