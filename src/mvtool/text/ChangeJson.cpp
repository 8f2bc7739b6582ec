#include "mvtool/text/ChangeJson.h"

#include "base/Text.h"
#include "mvtool/files/ColumnTypes.h"
#include "mvtool/text/ValueText.h"

namespace mv::tool {

ChangeReader::ChangeReader(const jet::TableDefinition& table) : table_(table) {
  for (std::size_t i = 0; i < table.columns.size(); ++i) columns_.emplace(table.columns[i].name, i);
  for (std::size_t i = 0; i < table.columns.size(); ++i) columns_.emplace(FoldCase(table.columns[i].name), i);
}

/// `expected` is where the name is looked for first: rows name their columns in the order of the table.
std::size_t ChangeReader::ColumnOf(const Json::Member& member, std::size_t expected) const {
  if (expected < table_.columns.size() && table_.columns[expected].name == member.name) return expected;
  auto found = columns_.find(member.name);
  if (found == columns_.end()) found = columns_.find(FoldCase(member.name));
  if (found == columns_.end()) member.value.Fail("the table has no column \"" + member.name + "\"");
  return found->second;
}

/// Reads the value of each member into what `place` answers to its number and the position of its column.
template <typename Place>
void ChangeReader::ReadValues(const Json& json, Place place) const {
  std::vector<bool> seen(table_.columns.size());
  std::size_t number = 0;
  std::size_t next = 0;
  for (const Json::Member& member : json.Members()) {
    const std::size_t column = ColumnOf(member, next);
    if (seen[column]) member.value.Fail("a second value for column \"" + member.name + "\"");
    seen[column] = true;
    next = column + 1;
    const jet::Column& target = table_.columns[column];
    ReadValue({DataTypeOf(target.type), table_.name, target.name, target.precision, target.scale}, member.value,
              place(number++, column));
  }
}

void ChangeReader::ReadConditions(const Json& json, std::vector<IndexedTable::Condition>& conditions) const {
  conditions.resize(json.Members().size());
  ReadValues(json, [&](std::size_t number, std::size_t column) -> Value& {
    conditions[number].column = column;
    return conditions[number].value;
  });
}

std::vector<IndexedTable::Condition> ChangeReader::ValuesFromJson(const Json& json) const {
  std::vector<IndexedTable::Condition> conditions;
  ReadConditions(json, conditions);
  return conditions;
}

void ChangeReader::Read(const Json& json, Change& change) const {
  const Json& op = json.At("op");
  const Json* values = nullptr;
  if (op.Text() == "insert") {
    json.AllowOnly({"op", "row"});
    change.kind = Change::Kind::Insert;
    values = &json.At("row");
  } else if (op.Text() == "update") {
    json.AllowOnly({"op", "where", "set"});
    change.kind = Change::Kind::Update;
    values = &json.At("set");
  } else if (op.Text() == "delete") {
    json.AllowOnly({"op", "where"});
    change.kind = Change::Kind::Delete;
  } else {
    op.Fail("unknown op \"" + op.Text() + "\"; there are \"insert\", \"update\" and \"delete\"");
  }
  if (change.kind != Change::Kind::Insert) {
    const Json& where = json.At("where");
    ReadConditions(where, change.where);
    if (change.where.empty()) where.Fail("a column that tells the row is missing");
  }
  if (values == nullptr) return;
  change.columns.resize(values->Members().size());
  change.values.resize(values->Members().size());
  ReadValues(*values, [&](std::size_t number, std::size_t column) -> Value& {
    change.columns[number] = column;
    return change.values[number];
  });
}

}  // namespace mv::tool
