#include "mvtool/text/ChangeJson.h"

#include <set>
#include <utility>

#include "base/Text.h"
#include "mvtool/files/ColumnTypes.h"
#include "mvtool/text/ValueText.h"

namespace mv::tool {

ChangeReader::ChangeReader(const jet::TableDefinition& table) : table_(table) {
  for (std::size_t i = 0; i < table.columns.size(); ++i) columns_.emplace(table.columns[i].name, i);
  for (std::size_t i = 0; i < table.columns.size(); ++i) columns_.emplace(FoldCase(table.columns[i].name), i);
}

std::size_t ChangeReader::ColumnOf(const Json::Member& member) const {
  auto found = columns_.find(member.name);
  if (found == columns_.end()) found = columns_.find(FoldCase(member.name));
  if (found == columns_.end()) member.value.Fail("the table has no column \"" + member.name + "\"");
  return found->second;
}

std::vector<IndexedTable::Condition> ChangeReader::ValuesFromJson(const Json& json) const {
  std::vector<IndexedTable::Condition> conditions;
  std::set<std::size_t> seen;
  for (const Json::Member& member : json.Members()) {
    const std::size_t column = ColumnOf(member);
    if (!seen.insert(column).second) member.value.Fail("a second value for column \"" + member.name + "\"");
    const jet::Column& target = table_.columns[column];
    conditions.push_back(
        {column, ValueFromJson({DataTypeOf(target.type), table_.name, target.name, target.precision, target.scale},
                               member.value)});
  }
  return conditions;
}

Change ChangeReader::FromJson(const Json& json) const {
  const Json& op = json.At("op");
  Change change;
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
    change.where = ValuesFromJson(where);
    if (change.where.empty()) where.Fail("a column that tells the row is missing");
  }
  if (values == nullptr) return change;
  for (IndexedTable::Condition& assigned : ValuesFromJson(*values)) {
    change.columns.push_back(assigned.column);
    change.values.push_back(std::move(assigned.value));
  }
  return change;
}

}  // namespace mv::tool
