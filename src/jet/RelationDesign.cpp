#include "jet/RelationDesign.h"

#include <algorithm>

#include "base/Text.h"
#include "jet/definition/TableDesign.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

[[noreturn]] void Refuse(const RelationSpec& relation, const std::string& why) {
  throw ConstraintError("Relation '" + relation.name + "': " + why);
}

std::size_t PositionOf(const RelationSpec& relation, const TableDefinition& table, const std::string& column) {
  if (const std::optional<std::size_t> position = table.PositionOf(column)) return *position;
  Refuse(relation, "table '" + table.name + "' has no field '" + column + "'.");
}

std::vector<std::size_t> PositionsOf(const RelationSpec& relation, const TableDefinition& table,
                                     const std::vector<std::string>& columns) {
  std::vector<std::size_t> positions;
  for (const std::string& column : columns) {
    const std::size_t position = PositionOf(relation, table, column);
    if (std::find(positions.begin(), positions.end(), position) != positions.end()) {
      Refuse(relation, "it has the field '" + column + "' of table '" + table.name + "' twice.");
    }
    positions.push_back(position);
  }
  return positions;
}

bool IsPrimaryKey(const TableDefinition& table, std::size_t tree) {
  return std::any_of(table.indexes.begin(), table.indexes.end(), [tree](const LogicalIndex& index) {
    return index.dataNumber == tree && index.kind == LogicalIndex::Kind::PrimaryKey;
  });
}

/// Number of a unique tree over exactly these columns in any order, the primary key's before others; indexData.size()
/// when there is none.
std::size_t UniqueTree(const TableDefinition& table, const std::vector<std::size_t>& columns) {
  std::size_t found = table.indexData.size();
  for (std::size_t tree = 0; tree < table.indexData.size(); ++tree) {
    const std::vector<std::size_t> positions = table.PositionsOf(table.indexData[tree]);
    const bool fits = table.indexData[tree].IsUnique() &&
                      std::is_permutation(positions.begin(), positions.end(), columns.begin(), columns.end());
    if (fits && (found == table.indexData.size() || IsPrimaryKey(table, tree))) found = tree;
  }
  return found;
}

std::uint32_t NextNumber(const TableDefinition& table) {
  std::uint32_t next = 0;
  for (const LogicalIndex& index : table.indexes) next = std::max(next, index.number + 1);
  return next;
}

bool HasIndexNamed(const TableDefinition& table, const std::string& name) {
  const std::string wanted = FoldCase(name);
  return std::any_of(table.indexes.begin(), table.indexes.end(),
                     [&](const LogicalIndex& index) { return FoldCase(index.name) == wanted; });
}

/// Jet calls the primary side of index number 0 ".rA", of 1 ".rB" and so on.
std::string PrimarySideName(const TableDefinition& table, std::uint32_t number) {
  constexpr std::uint32_t kLetters = 26;
  while (true) {
    std::string letters;
    for (std::uint32_t rest = number + 1; rest != 0; rest = (rest - 1) / kLetters) {
      letters.insert(letters.begin(), static_cast<char>('A' + (rest - 1) % kLetters));
    }
    if (!HasIndexNamed(table, ".r" + letters)) return ".r" + letters;
    ++number;
  }
}

void RequireRoom(const RelationSpec& relation, const TableDefinition& table, std::size_t added) {
  if (table.indexes.size() + added <= kMaxIndexes) return;
  Refuse(relation, "table '" + table.name + "' would have more than 32 indexes.");
}

void MatchColumns(const RelationSpec& relation, const TableDefinition& foreign, const TableDefinition& primary,
                  RelationDesign& design) {
  const std::vector<std::size_t> own = PositionsOf(relation, foreign, relation.columns);
  const std::vector<std::size_t> others = PositionsOf(relation, primary, relation.referencedColumns);
  if (own.size() != others.size() || own.empty() || own.size() > kMaxIndexColumns) {
    Refuse(relation, "it must connect 1 to 10 fields with as many others.");
  }
  for (std::size_t i = 0; i < own.size(); ++i) {
    if (CanBeRelated(foreign.columns[own[i]], primary.columns[others[i]])) continue;
    Refuse(relation, "the fields '" + relation.columns[i] + "' and '" + relation.referencedColumns[i] +
                         "' have not the same data type.");
  }
  const std::size_t tree = UniqueTree(primary, others);
  if (tree == primary.indexData.size()) {
    Refuse(relation, "No unique index found for the referenced field of the primary table '" + primary.name + "'.");
  }
  design.primaryIndex.dataNumber = static_cast<std::uint32_t>(tree);
  design.primaryColumns = primary.PositionsOf(primary.indexData[tree]);
  for (const std::size_t column : design.primaryColumns) {
    const auto at = std::find(others.begin(), others.end(), column) - others.begin();
    design.foreignColumns.push_back(own[static_cast<std::size_t>(at)]);
  }
}

std::int32_t OptionsOf(const RelationSpec& relation, const TableDefinition& foreign,
                       const std::vector<std::size_t>& foreignColumns) {
  std::int32_t options = UniqueTree(foreign, foreignColumns) < foreign.indexData.size() ? relation_bits::kOneToOne : 0;
  if (relation.cascadeUpdate) options |= relation_bits::kCascadeUpdate;
  if (relation.onDelete == RelationSpec::OnDelete::Cascade) options |= relation_bits::kCascadeDelete;
  if (relation.onDelete == RelationSpec::OnDelete::SetNull) options |= relation_bits::kSetNull;
  return options;
}

}  // namespace

bool CanBeRelated(const Column& left, const Column& right) {
  if (left.type != right.type) return false;
  return left.type != ColumnType::Decimal || (left.precision == right.precision && left.scale == right.scale);
}

RelationDesign DesignRelation(const RelationSpec& relation, const TableDefinition& foreign,
                              const TableDefinition& primary) {
  RequireValidName("a relation", relation.name);
  const bool isWithItself = foreign.page == primary.page;
  RequireRoom(relation, foreign, isWithItself ? 2 : 1);
  RequireRoom(relation, primary, 1);
  if (HasIndexNamed(foreign, relation.name)) {
    Refuse(relation, "this is already the name of an index of table '" + foreign.name + "'.");
  }
  RelationDesign design;
  MatchColumns(relation, foreign, primary, design);
  design.options = OptionsOf(relation, foreign, design.foreignColumns);
  for (const std::size_t column : design.foreignColumns) {
    design.foreignTree.columns.push_back({foreign.columns[column].id, true});
  }

  LogicalIndex& own = design.foreignIndex;
  LogicalIndex& other = design.primaryIndex;
  own.kind = other.kind = LogicalIndex::Kind::Relation;
  own.onUpdate = other.onUpdate = relation.cascadeUpdate ? 1 : 0;
  own.onDelete = other.onDelete = static_cast<std::uint8_t>(relation.onDelete);
  own.name = relation.name;
  own.number = NextNumber(foreign);
  own.dataNumber = static_cast<std::uint32_t>(foreign.indexData.size());
  own.relation = LogicalIndex::kForeignSide;
  own.otherTable = primary.page;
  other.number = isWithItself ? own.number + 1 : NextNumber(primary);
  other.name = PrimarySideName(primary, other.number);
  other.relation = LogicalIndex::kPrimarySide;
  other.otherTable = foreign.page;
  own.otherIndex = static_cast<std::int32_t>(other.number);
  other.otherIndex = static_cast<std::int32_t>(own.number);
  return design;
}

}  // namespace mv::jet
