#include "jet/definition/TableDesign.h"

#include <algorithm>
#include <set>

#include "base/Text.h"
#include "base/Utf.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

constexpr std::uint8_t kFixed = 0x01;
constexpr std::uint8_t kUpdatable = 0x02;
constexpr std::uint8_t kAutonumber = 0x04;
constexpr std::uint8_t kGuidAutonumber = 0x40;
constexpr std::uint8_t kHyperlink = 0x80;
constexpr std::uint8_t kCompressed = 0x01;

constexpr std::uint8_t kPlainIndex = 0x80;
constexpr std::uint8_t kUniqueIndex = 0x01;
constexpr std::uint8_t kIgnoreNullsIndex = 0x02;
constexpr std::uint8_t kRequiredIndex = 0x08;

constexpr std::uint16_t kMaxTextCharacters = kMaxTextBytes / 2;
constexpr std::uint8_t kMaxPrecision = 28;

/// Adds `name` to the names in use; `what` ("a field in table 'T'") is for the message.
void CheckUnused(std::set<std::string>& names, const std::string& what, const std::string& name) {
  if (!names.insert(FoldCase(name)).second)
    throw ConstraintError("'" + name + "' is already the name of " + what + ".");
}

bool HasFixedSize(ColumnType type) {
  switch (type) {
    case ColumnType::Text:
    case ColumnType::Binary:
    case ColumnType::Memo:
    case ColumnType::Ole:
      return false;
    default:
      return true;
  }
}

/// Length in bytes as the column block has it.
std::uint16_t LengthOf(const ColumnSpec& design) {
  switch (design.type) {
    case ColumnType::Text:
      return static_cast<std::uint16_t>(2 * design.characters);
    case ColumnType::Binary:
      return design.characters;
    case ColumnType::Boolean:
      return 1;
    case ColumnType::Memo:
    case ColumnType::Ole:
      return 0;
    default: {
      Column column;
      column.type = design.type;
      return static_cast<std::uint16_t>(FixedSize(column));
    }
  }
}

void CheckColumn(const std::string& table, const ColumnSpec& design) {
  const auto refuse = [&](const std::string& why) {
    throw ConstraintError("Field '" + design.name + "' of table '" + table + "' " + why + ".");
  };
  if (design.type == ColumnType::Text && (design.characters < 1 || design.characters > kMaxTextCharacters)) {
    refuse("must hold 1 to 255 characters");
  }
  if (design.type == ColumnType::Binary && (design.characters < 1 || design.characters > kMaxTextBytes)) {
    refuse("must hold 1 to 510 bytes");
  }
  if (design.type == ColumnType::Decimal &&
      (design.precision < 1 || design.precision > kMaxPrecision || design.scale > design.precision)) {
    refuse("must have a precision of 1 to 28 and no larger scale");
  }
  if (design.autonumber && design.type != ColumnType::Long) refuse("must be of type Long to number its rows");
  if (design.type == ColumnType::RawBlock) refuse("is of a type that only Jet itself uses");
}

Column DesignColumn(const ColumnSpec& design) {
  Column column;
  column.name = design.name;
  column.type = design.type;
  column.length = LengthOf(design);
  column.flags = kUpdatable;
  if (HasFixedSize(design.type)) column.flags |= kFixed;
  if (design.autonumber) column.flags |= kAutonumber;
  if (design.guidAutonumber && design.type == ColumnType::Guid) column.flags |= kGuidAutonumber;
  if (design.hyperlink && design.type == ColumnType::Memo) column.flags |= kHyperlink;
  const bool isText = design.type == ColumnType::Text || design.type == ColumnType::Memo;
  if (isText && design.compressed) column.moreFlags |= kCompressed;
  if (design.type == ColumnType::Decimal) {
    column.precision = design.precision;
    column.scale = design.scale;
  }
  return column;
}

void AddColumns(TableDefinition& table, const std::vector<ColumnSpec>& specs) {
  std::set<std::string> names;
  std::size_t fixedEnd = 0;
  for (const ColumnSpec& design : specs) {
    RequireValidName("a field", design.name);
    CheckUnused(names, "a field in table '" + table.name + "'", design.name);
    CheckColumn(table.name, design);
    Column column = DesignColumn(design);
    column.id = table.nextColumnId++;
    if (!column.IsFixed()) column.variableIndex = table.nextVariableIndex++;
    if (column.IsFixed() && column.type != ColumnType::Boolean) {
      column.fixedOffset = static_cast<std::uint16_t>(fixedEnd);
      fixedEnd += FixedSize(column);
    }
    table.columns.push_back(column);
  }
  const auto autonumbers = std::count_if(table.columns.begin(), table.columns.end(),
                                         [](const Column& column) { return column.IsAutonumber(); });
  if (autonumbers > 1) throw ConstraintError("Table '" + table.name + "' can have only one autonumber field.");
}

const Column& KeyColumnOf(const TableDefinition& table, const IndexSpec& index, const std::string& name) {
  const std::optional<std::size_t> position = table.PositionOf(name);
  const std::string where = "Index '" + index.name + "' of table '" + table.name + "'";
  if (!position) throw ConstraintError(where + " names the field '" + name + "', which is not there.");
  const Column& column = table.columns[*position];
  if (column.type == ColumnType::Ole) throw ConstraintError(where + " cannot have the OLE field '" + name + "'.");
  return column;
}

IndexData DesignTree(const TableDefinition& table, const IndexSpec& design) {
  const std::string where = "Index '" + design.name + "' of table '" + table.name + "'";
  if (design.columns.empty() || design.columns.size() > kMaxIndexColumns) {
    throw ConstraintError(where + " must have 1 to 10 fields.");
  }
  IndexData tree;
  std::set<std::uint16_t> ids;
  for (const IndexSpec::KeyColumn& key : design.columns) {
    const Column& column = KeyColumnOf(table, design, key.column);
    if (!ids.insert(column.id).second) throw ConstraintError(where + " has the field '" + key.column + "' twice.");
    tree.columns.push_back({column.id, key.ascending});
  }
  tree.flags = kPlainIndex;
  if (design.unique || design.primaryKey) tree.flags |= kUniqueIndex;
  if (design.ignoreNulls) tree.flags |= kIgnoreNullsIndex;
  if (design.required || design.primaryKey) tree.flags |= kRequiredIndex;
  return tree;
}

void AddIndexes(TableDefinition& table, const std::vector<IndexSpec>& specs) {
  if (specs.size() > kMaxIndexes) throw ConstraintError("Table '" + table.name + "' can have at most 32 indexes.");
  std::set<std::string> names;
  bool hasPrimaryKey = false;
  for (const IndexSpec& design : specs) {
    RequireValidName("an index", design.name);
    CheckUnused(names, "an index of table '" + table.name + "'", design.name);
    if (design.primaryKey && hasPrimaryKey)
      throw ConstraintError("Table '" + table.name + "' already has a primary key.");
    hasPrimaryKey = hasPrimaryKey || design.primaryKey;
    LogicalIndex logical;
    logical.name = design.name;
    logical.number = logical.dataNumber = static_cast<std::uint32_t>(table.indexData.size());
    if (design.primaryKey) logical.kind = LogicalIndex::Kind::PrimaryKey;
    table.indexData.push_back(DesignTree(table, design));
    table.indexes.push_back(logical);
  }
  std::sort(table.indexes.begin(), table.indexes.end(), [](const LogicalIndex& left, const LogicalIndex& right) {
    return FoldCase(left.name) < FoldCase(right.name);
  });
}

}  // namespace

void RequireValidName(const std::string& what, const std::string& name) {
  const std::u16string units = Utf16FromUtf8(name);
  const bool hasForbidden = std::any_of(units.begin(), units.end(), [](char16_t unit) {
    return unit < u' ' || std::u16string_view(u".![]`").find(unit) != std::u16string_view::npos;
  });
  if (units.empty() || units.size() > kMaxNameUnits || hasForbidden || units[0] == u' ') {
    throw ConstraintError("'" + name + "' is not a valid name for " + what + ".");
  }
}

TableDefinition DesignTable(const TableSpec& design) {
  RequireValidName("a table", design.name);
  if (design.columns.empty() || design.columns.size() > kMaxColumns) {
    throw ConstraintError("Table '" + design.name + "' must have 1 to 255 fields.");
  }
  TableDefinition table;
  table.name = design.name;
  AddColumns(table, design.columns);
  if (ShortestRow(table) > kMaxRowSize)
    throw ConstraintError("The rows of table '" + design.name + "' would be too large.");
  AddIndexes(table, design.indexes);
  return table;
}

}  // namespace mv::jet
