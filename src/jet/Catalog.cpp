#include "jet/Catalog.h"

#include <limits>
#include <utility>

#include "base/Text.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

/// The value of a column that no row of the catalog may leave empty.
template <typename T>
T Required(const Table& table, RowId row, std::size_t column) {
  const Value value = table.ReadValue(row, column);
  if (const T* present = std::get_if<T>(&value)) return *present;
  const TableDefinition& definition = table.Definition();
  throw DamagedFileError("a row of table '" + definition.name + "' lacks its " + definition.columns[column].name);
}

bool SharesTableNames(ObjectType type) {
  switch (type) {
    case ObjectType::Table:
    case ObjectType::LinkedOdbc:
    case ObjectType::Query:
    case ObjectType::Linked:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::size_t SystemColumnAt(const TableDefinition& table, const std::string& column, ColumnType type) {
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (table.columns[i].name == column && table.columns[i].type == type) return i;
  }
  throw DamagedFileError("table '" + table.name + "' lacks its column '" + column + "'");
}

bool CatalogObject::IsSystem() const {
  return (flags & kSystemObject) != 0 || name.starts_with("MSys") || name.starts_with("~");
}

bool CatalogObject::IsUserTable() const {
  return type == ObjectType::Table && !IsSystem() && (flags & (kHiddenObject | kAccessObject)) == 0;
}

Catalog::Catalog(Table& objects, Table& permissions) : objects_(objects), permissions_(permissions) {
  const TableDefinition& object = objects.Definition();
  objectAt_ = {.id = SystemColumnAt(object, "Id", ColumnType::Long),
               .parent = SystemColumnAt(object, "ParentId", ColumnType::Long),
               .name = SystemColumnAt(object, "Name", ColumnType::Text),
               .type = SystemColumnAt(object, "Type", ColumnType::Integer),
               .created = SystemColumnAt(object, "DateCreate", ColumnType::DateTime),
               .updated = SystemColumnAt(object, "DateUpdate", ColumnType::DateTime),
               .owner = SystemColumnAt(object, "Owner", ColumnType::Binary),
               .flags = SystemColumnAt(object, "Flags", ColumnType::Long),
               .properties = SystemColumnAt(object, "LvProp", ColumnType::Ole)};
  const TableDefinition& permission = permissions.Definition();
  permissionAt_ = {.object = SystemColumnAt(permission, "ObjectId", ColumnType::Long),
                   .account = SystemColumnAt(permission, "SID", ColumnType::Binary),
                   .rights = SystemColumnAt(permission, "ACM", ColumnType::Long),
                   .inheritable = SystemColumnAt(permission, "FInheritable", ColumnType::Boolean)};
}

CatalogObject Catalog::ReadObject(RowId row) const {
  CatalogObject object;
  object.id = Required<std::int32_t>(objects_, row, objectAt_.id);
  object.parent = Required<std::int32_t>(objects_, row, objectAt_.parent);
  object.name = Required<std::string>(objects_, row, objectAt_.name);
  object.type = static_cast<ObjectType>(Required<std::int16_t>(objects_, row, objectAt_.type));
  object.flags = static_cast<std::uint32_t>(Required<std::int32_t>(objects_, row, objectAt_.flags));
  return object;
}

std::vector<CatalogObject> Catalog::Objects() const {
  std::vector<CatalogObject> objects;
  for (auto row = objects_.First(); row; row = objects_.Next(*row)) objects.push_back(ReadObject(*row));
  return objects;
}

std::optional<CatalogObject> Catalog::FindRowSource(const std::string& name) const {
  const std::string wanted = FoldCase(name);
  std::optional<CatalogObject> found;
  for (CatalogObject& object : Objects()) {
    if (!SharesTableNames(object.type) || FoldCase(object.name) != wanted) continue;
    if (object.name == name) return std::move(object);
    if (!found) found = std::move(object);
  }
  return found;
}

std::optional<CatalogObject> Catalog::FindTable(PageNumber page) const {
  for (CatalogObject& object : Objects()) {
    if (object.type == ObjectType::Table && static_cast<PageNumber>(object.id) == page) return std::move(object);
  }
  return std::nullopt;
}

std::optional<CatalogObject> Catalog::FindRelation(const std::string& name) const {
  const std::string wanted = FoldCase(name);
  for (CatalogObject& object : Objects()) {
    if (object.type == ObjectType::Relation && FoldCase(object.name) == wanted) return std::move(object);
  }
  return std::nullopt;
}

std::int32_t Catalog::NextObjectId() const {
  std::optional<std::int32_t> highest;
  for (const CatalogObject& object : Objects()) {
    if (object.id < 0 && (!highest || object.id > *highest)) highest = object.id;
  }
  if (highest == -1) throw UnsupportedError("another object: the ids of the catalog are used up");
  return highest ? *highest + 1 : std::numeric_limits<std::int32_t>::min();
}

Bytes Catalog::PropertyList(const CatalogObject& object) const {
  for (auto row = objects_.First(); row; row = objects_.Next(*row)) {
    if (Required<std::int32_t>(objects_, *row, objectAt_.id) != object.id) continue;
    const Value list = objects_.ReadValue(*row, objectAt_.properties);
    return IsNull(list) ? Bytes() : std::get<Bytes>(list);
  }
  return {};
}

void Catalog::AddObject(const CatalogObject& object, const Bytes& owner, Date created, const Bytes& properties) {
  std::vector<Value> values(objects_.Definition().columns.size());
  values[objectAt_.id] = object.id;
  values[objectAt_.parent] = object.parent;
  values[objectAt_.name] = object.name;
  values[objectAt_.type] = static_cast<std::int16_t>(object.type);
  values[objectAt_.created] = created;
  values[objectAt_.updated] = created;
  values[objectAt_.owner] = owner;
  values[objectAt_.flags] = static_cast<std::int32_t>(object.flags);
  if (!properties.empty()) values[objectAt_.properties] = properties;
  objects_.Insert(std::move(values));
}

void Catalog::AddPermission(const Permission& permission) {
  std::vector<Value> values(permissions_.Definition().columns.size());
  values[permissionAt_.object] = permission.object;
  values[permissionAt_.account] = permission.account;
  values[permissionAt_.rights] = permission.rights;
  values[permissionAt_.inheritable] = permission.inheritable;
  permissions_.Insert(std::move(values));
}

void Catalog::InheritPermissions(std::int32_t object, std::int32_t container, const Header& header) {
  std::vector<Permission> inherited;
  for (auto row = permissions_.First(); row; row = permissions_.Next(*row)) {
    const bool isModel = Required<bool>(permissions_, *row, permissionAt_.inheritable);
    if (!isModel || Required<std::int32_t>(permissions_, *row, permissionAt_.object) != container) continue;
    Permission permission;
    permission.object = object;
    permission.account = Required<Bytes>(permissions_, *row, permissionAt_.account);
    permission.rights = Required<std::int32_t>(permissions_, *row, permissionAt_.rights);
    if (permission.account == header.Identifier(Account::Creator))
      permission.account = header.Identifier(Account::Admin);
    inherited.push_back(permission);
  }
  for (const Permission& permission : inherited) AddPermission(permission);
}

}  // namespace mv::jet
