#include "jet/definition/SystemTables.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <span>
#include <string>

namespace mv::jet {
namespace {

constexpr std::uint8_t kFixed = 0x13;       // fixed, updatable, system
constexpr std::uint8_t kVariable = 0x12;    // updatable, system
constexpr std::uint8_t kIdentifier = 0x32;  // as above, an account identifier
constexpr std::uint8_t kUnique = 0x81;
constexpr std::uint8_t kIgnoreNulls = 0x82;
constexpr std::uint8_t kRequired = 0x88;

/// `place` is the offset in the fixed area or the variable index. The columns' ids are their positions in the lists.
struct SystemColumn {
  const char* name;
  ColumnType type;
  std::uint16_t place;
  std::uint16_t length;
  std::uint8_t flags;
};

constexpr std::array kObjects = {
    SystemColumn{"Id", ColumnType::Long, 0, 4, kFixed},
    SystemColumn{"ParentId", ColumnType::Long, 4, 4, kFixed},
    SystemColumn{"Name", ColumnType::Text, 0, 510, kVariable},
    SystemColumn{"Type", ColumnType::Integer, 8, 2, kFixed},
    SystemColumn{"DateCreate", ColumnType::DateTime, 10, 8, kFixed},
    SystemColumn{"DateUpdate", ColumnType::DateTime, 18, 8, kFixed},
    SystemColumn{"Owner", ColumnType::Binary, 1, 510, kIdentifier},
    SystemColumn{"Flags", ColumnType::Long, 26, 4, kFixed},
    SystemColumn{"Database", ColumnType::Memo, 2, 0, kVariable},
    SystemColumn{"Connect", ColumnType::Memo, 3, 0, kVariable},
    SystemColumn{"ForeignName", ColumnType::Text, 4, 510, kVariable},
    SystemColumn{"RmtInfoShort", ColumnType::Binary, 5, 510, kVariable},
    SystemColumn{"RmtInfoLong", ColumnType::Ole, 6, 0, kVariable},
    SystemColumn{"Lv", ColumnType::Ole, 7, 0, kVariable},
    SystemColumn{"LvProp", ColumnType::Ole, 8, 0, kVariable},
    SystemColumn{"LvModule", ColumnType::Ole, 9, 0, kVariable},
    SystemColumn{"LvExtra", ColumnType::Ole, 10, 0, kVariable},
};

constexpr std::array kPermissions = {
    SystemColumn{"ObjectId", ColumnType::Long, 0, 4, kFixed},
    SystemColumn{"SID", ColumnType::Binary, 0, 510, kIdentifier},
    SystemColumn{"ACM", ColumnType::Long, 4, 4, kFixed},
    SystemColumn{"FInheritable", ColumnType::Boolean, 0, 1, kFixed},
};

constexpr std::array kQueries = {
    SystemColumn{"ObjectId", ColumnType::Long, 0, 4, kFixed},
    SystemColumn{"Attribute", ColumnType::Byte, 4, 1, kFixed},
    SystemColumn{"Order", ColumnType::Binary, 0, 510, kVariable},
    SystemColumn{"Name1", ColumnType::Text, 1, 510, kVariable},
    SystemColumn{"Name2", ColumnType::Text, 2, 510, kVariable},
    SystemColumn{"Expression", ColumnType::Memo, 3, 0, kVariable},
    SystemColumn{"Flag", ColumnType::Integer, 5, 2, kFixed},
    SystemColumn{"LvExtra", ColumnType::Long, 7, 4, kFixed},
};

constexpr std::array kRelationships = {
    SystemColumn{"szRelationship", ColumnType::Text, 0, 510, kVariable},
    SystemColumn{"grbit", ColumnType::Long, 0, 4, kFixed},
    SystemColumn{"ccolumn", ColumnType::Long, 4, 4, kFixed},
    SystemColumn{"icolumn", ColumnType::Long, 8, 4, kFixed},
    SystemColumn{"szObject", ColumnType::Text, 1, 510, kVariable},
    SystemColumn{"szColumn", ColumnType::Text, 2, 510, kVariable},
    SystemColumn{"szReferencedObject", ColumnType::Text, 3, 510, kVariable},
    SystemColumn{"szReferencedColumn", ColumnType::Text, 4, 510, kVariable},
};

/// Gives out map rows and index pages in the order in which the tables stand in the file.
class SystemTableBuilder {
 public:
  TableDefinition Begin(const char* name, PageNumber page, std::span<const SystemColumn> columns) {
    TableDefinition table;
    table.page = page;
    table.pages = {page};
    table.name = name;
    table.tableType = TableDefinition::kSystemTable;
    table.nextColumnId = static_cast<std::uint16_t>(columns.size());
    table.ownedPages = NextMap();
    table.freeSpacePages = NextMap();
    for (const SystemColumn& column : columns) AddColumn(table, column);
    return table;
  }

  /// `columns` are ids. The tree and the logical index get the same number.
  void AddIndex(TableDefinition& table, const char* name, std::initializer_list<std::uint16_t> columns,
                std::uint8_t flags, LogicalIndex::Kind kind = LogicalIndex::Kind::Plain) {
    IndexData data;
    for (const std::uint16_t id : columns) data.columns.push_back({id, true});
    data.map = NextMap();
    data.root = nextRoot_++;
    data.flags = flags;
    LogicalIndex logical;
    logical.name = name;
    logical.number = logical.dataNumber = static_cast<std::uint32_t>(table.indexData.size());
    logical.kind = kind;
    table.indexData.push_back(data);
    table.indexes.push_back(logical);
  }

  /// Sorts columns and indexes by name, as Jet's own tables have them.
  static TableDefinition Finish(TableDefinition table) {
    const auto byName = [](const auto& left, const auto& right) { return left.name < right.name; };
    std::sort(table.columns.begin(), table.columns.end(), byName);
    std::sort(table.indexes.begin(), table.indexes.end(), byName);
    return table;
  }

 private:
  static constexpr PageNumber kFirstRoot = kSystemMapsPage + 1;

  RowId NextMap() { return {kSystemMapsPage, nextMap_++}; }

  void AddColumn(TableDefinition& table, const SystemColumn& system) {
    Column column;
    column.name = system.name;
    column.type = system.type;
    column.id = static_cast<std::uint16_t>(table.columns.size());
    column.length = system.length;
    column.flags = system.flags;
    if (column.IsFixed()) {
      column.fixedOffset = system.place;
    } else {
      column.variableIndex = system.place;
      ++table.nextVariableIndex;
    }
    if (column.IsLongValue()) {
      column.longValuePages = NextMap();
      column.longValueFreeSpace = NextMap();
    }
    table.columns.push_back(column);
  }

  std::uint8_t nextMap_ = 0;
  PageNumber nextRoot_ = kFirstRoot;
};

}  // namespace

std::vector<TableDefinition> NewSystemTables() {
  SystemTableBuilder builder;
  std::vector<TableDefinition> tables;

  TableDefinition objects = builder.Begin("MSysObjects", kObjectsPage, kObjects);
  builder.AddIndex(objects, "ParentIdName", {1, 2}, kUnique);
  builder.AddIndex(objects, "Id", {0}, kUnique, LogicalIndex::Kind::PrimaryKey);
  tables.push_back(builder.Finish(std::move(objects)));

  TableDefinition permissions = builder.Begin("MSysACEs", kPermissionsPage, kPermissions);
  builder.AddIndex(permissions, "ObjectId", {0}, kRequired);
  tables.push_back(builder.Finish(std::move(permissions)));

  TableDefinition queries = builder.Begin("MSysQueries", kQueriesPage, kQueries);
  builder.AddIndex(queries, "ObjectIdAttribute", {0, 1, 2}, kUnique, LogicalIndex::Kind::PrimaryKey);
  tables.push_back(builder.Finish(std::move(queries)));

  TableDefinition relationships = builder.Begin("MSysRelationships", kRelationshipsPage, kRelationships);
  builder.AddIndex(relationships, "szRelationship", {0}, kIgnoreNulls);
  builder.AddIndex(relationships, "szObject", {4}, kIgnoreNulls);
  builder.AddIndex(relationships, "szReferencedObject", {6}, kIgnoreNulls);
  tables.push_back(builder.Finish(std::move(relationships)));
  return tables;
}

}  // namespace mv::jet
