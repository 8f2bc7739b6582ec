#include "mvtool/files/RelationList.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "mvtool/files/OtherObjects.h"
#include "recordset/Conversions.h"

namespace mv::tool {
namespace {

/// Reads columns of MSysRelationships by their names; one row is one pair of columns of a relation.
class RelationRows {
 public:
  explicit RelationRows(jet::Database& database) : table_(database.OpenTable("MSysRelationships")) {}

  std::optional<jet::RowId> First() const { return table_.First(); }
  std::optional<jet::RowId> Next(jet::RowId row) const { return table_.Next(row); }
  std::string Text(jet::RowId row, const char* column) const { return TextOf(ValueAt(row, column)); }
  std::int32_t Number(jet::RowId row, const char* column) const {
    const Value value = ConvertedTo(DataType::Integer, ValueAt(row, column));
    const auto* const number = std::get_if<std::int32_t>(&value);
    return number == nullptr ? 0 : *number;
  }

 private:
  Value ValueAt(jet::RowId row, const char* column) const {
    const std::optional<std::size_t> position = table_.Definition().PositionOf(std::string_view(column));
    return position ? table_.ReadValue(row, *position) : Value(Null{});
  }

  jet::Table& table_;
};

/// A relation with its pairs of columns by their number.
struct Draft {
  ListedRelation relation;
  std::map<std::int32_t, std::pair<std::string, std::string>> pairs;
};

ListedRelation StartOf(const RelationRows& rows, jet::RowId row) {
  using OnDelete = jet::RelationSpec::OnDelete;
  const std::int32_t bits = rows.Number(row, "grbit");
  ListedRelation relation;
  relation.design.name = rows.Text(row, "szRelationship");
  relation.design.table = rows.Text(row, "szObject");
  relation.design.references = rows.Text(row, "szReferencedObject");
  relation.design.cascadeUpdate = (bits & jet::relation_bits::kCascadeUpdate) != 0;
  if ((bits & jet::relation_bits::kSetNull) != 0) relation.design.onDelete = OnDelete::SetNull;
  if ((bits & jet::relation_bits::kCascadeDelete) != 0) relation.design.onDelete = OnDelete::Cascade;
  relation.enforced = (bits & jet::relation_bits::kNotEnforced) == 0;
  return relation;
}

ListedRelation Finished(Draft& draft) {
  for (auto& [number, pair] : draft.pairs) {
    draft.relation.design.columns.push_back(pair.first);
    draft.relation.design.referencedColumns.push_back(pair.second);
  }
  return draft.relation;
}

}  // namespace

std::vector<ListedRelation> RelationsOf(jet::Database& database) {
  const std::vector<jet::CatalogObject> tables = UserTables(database);
  const auto isUserTable = [&](const std::string& name) {
    return std::any_of(tables.begin(), tables.end(),
                       [&](const jet::CatalogObject& table) { return table.name == name; });
  };
  const RelationRows rows(database);
  std::vector<Draft> drafts;
  std::map<std::string, std::size_t> places;
  for (std::optional<jet::RowId> row = rows.First(); row; row = rows.Next(*row)) {
    const auto [place, isNew] = places.emplace(rows.Text(*row, "szRelationship"), drafts.size());
    if (isNew) drafts.push_back({StartOf(rows, *row), {}});
    drafts[place->second].pairs[rows.Number(*row, "icolumn")] = {rows.Text(*row, "szColumn"),
                                                                 rows.Text(*row, "szReferencedColumn")};
  }
  std::vector<ListedRelation> relations;
  for (Draft& draft : drafts) {
    const jet::RelationSpec& design = draft.relation.design;
    if (isUserTable(design.table) && isUserTable(design.references)) relations.push_back(Finished(draft));
  }
  return relations;
}

}  // namespace mv::tool
