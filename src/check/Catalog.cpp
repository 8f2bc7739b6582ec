#include "check/Catalog.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>

#include "check/PropertyCheck.h"
#include "check/SystemTable.h"

namespace mv::check {
namespace {

constexpr std::int32_t kRootId = 0x0F000000;
constexpr std::uint32_t kSystemOrHidden = 0x8000000A;
constexpr std::size_t kAccountSize = 2;

struct FixedObject {
  PageNumber page;
  std::string_view name;
};
constexpr FixedObject kSystemTables[] = {{kObjectsPage, "MSysObjects"},
                                         {kPermissionsPage, "MSysACEs"},
                                         {kQueriesPage, "MSysQueries"},
                                         {kRelationshipsPage, "MSysRelationships"}};
constexpr std::string_view kContainers[] = {"Tables", "Databases", "Relationships", "MSysDb"};

/// Tables and queries share one set of names.
bool IsRowSource(CatalogObject::Type type) {
  return type == CatalogObject::Type::Table || type == CatalogObject::Type::LinkedOdbc ||
         type == CatalogObject::Type::Query || type == CatalogObject::Type::Linked;
}

Place PlaceOf(RowId row) {
  return Place{.table = "MSysObjects"}.AtRow(row);
}

}  // namespace

bool CatalogObject::IsUserTable() const {
  return type == Type::Table && (flags & kSystemOrHidden) == 0 && !name.starts_with("MSys") && !name.starts_with("~");
}

std::vector<CatalogObject> ReadCatalog(Context& context, const Definition& objects) {
  SystemTable table(context, objects);
  const std::size_t id = table.Column("Id", ColumnType::Long);
  const std::size_t parent = table.Column("ParentId", ColumnType::Long);
  const std::size_t name = table.Column("Name", ColumnType::Text);
  const std::size_t type = table.Column("Type", ColumnType::Integer);
  const std::size_t owner = table.Column("Owner", ColumnType::Binary);
  const std::size_t flags = table.Column("Flags", ColumnType::Long);
  const std::size_t properties = table.Column("LvProp", ColumnType::Ole);
  std::vector<CatalogObject> result;
  if (!table.IsComplete()) return result;

  ForEachRow(context.rows, objects, [&](RowId at, const Row& row) {
    const auto idValue = table.Number(row, id);
    const auto parentValue = table.Number(row, parent);
    const auto nameValue = table.Text(row, name);
    const auto typeValue = table.Number(row, type);
    const auto flagsValue = table.Number(row, flags);
    if (!idValue || !parentValue || !nameValue || !typeValue || !flagsValue) {
      context.findings.Damage(Kind::Catalog, PlaceOf(at), "an object lacks its id, parent, name, type or flags");
      return;
    }
    CatalogObject object{at,
                         *idValue,
                         *parentValue,
                         *nameValue,
                         static_cast<CatalogObject::Type>(*typeValue),
                         static_cast<std::uint32_t>(*flagsValue),
                         {}};
    const auto ownerValue = table.Binary(row, owner);
    if (ownerValue && ownerValue->size() == kAccountSize && !context.header.AccountOf(*ownerValue)) {
      context.findings.Damage(Kind::Account, PlaceOf(at), "the owner of ", object.name, " is no known account");
    }
    if (const auto list = table.LongValue(row, properties)) {
      object.requiredColumns = CheckProperties(*list, PlaceOf(at), context.findings);
    }
    result.push_back(std::move(object));
  });
  return result;
}

void CheckCatalog(const std::vector<CatalogObject>& objects, Findings& findings) {
  std::map<std::int32_t, const CatalogObject*> byId;
  std::set<std::string_view> names;
  std::set<std::string> rowSources;
  for (const CatalogObject& object : objects) {
    if (!byId.emplace(object.id, &object).second) {
      findings.Damage(Kind::Catalog, PlaceOf(object.row), "the id ", object.id, " of ", object.name, " occurs twice");
    }
    names.insert(object.name);
    std::string folded = object.name;
    std::transform(folded.begin(), folded.end(), folded.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    if (IsRowSource(object.type) && !rowSources.insert(folded).second) {
      findings.Note(Kind::Catalog, PlaceOf(object.row), "there are two tables or queries named ", object.name);
    }
  }
  for (const FixedObject& table : kSystemTables) {
    const auto found = byId.find(static_cast<std::int32_t>(table.page));
    if (found == byId.end() || found->second->name != table.name) {
      findings.Damage(Kind::Catalog, {.table = "MSysObjects"}, "page ", table.page,
                      " is not listed as the definition of ", table.name);
    }
  }
  for (const std::string_view container : kContainers) {
    if (names.contains(container)) continue;
    findings.Damage(Kind::Catalog, {.table = "MSysObjects"}, "the object ", container, " is missing");
  }
  for (const CatalogObject& object : objects) {
    if (object.parent == kRootId || byId.contains(object.parent)) continue;
    findings.Note(Kind::Catalog, PlaceOf(object.row), "the parent of ", object.name, " does not exist");
  }
}

void CheckPermissions(Context& context, const Definition& permissions, const std::vector<CatalogObject>& objects) {
  SystemTable table(context, permissions);
  const std::size_t objectId = table.Column("ObjectId", ColumnType::Long);
  const std::size_t account = table.Column("SID", ColumnType::Binary);
  if (!table.IsComplete()) return;
  std::set<std::int32_t> ids;
  for (const CatalogObject& object : objects) ids.insert(object.id);

  std::set<std::int32_t> ofAdmin;
  std::set<std::int32_t> ofUsers;
  ForEachRow(context.rows, permissions, [&](RowId at, const Row& row) {
    const Place place = permissions.Where().AtRow(at);
    const auto id = table.Number(row, objectId);
    const auto identifier = table.Binary(row, account);
    const std::optional<Account> known = context.header.AccountOf(identifier.value_or(Bytes()));
    if (identifier && identifier->size() == kAccountSize && !known) {
      context.findings.Damage(Kind::Account, place, "the permission is of no known account");
    }
    if (!id || !ids.contains(*id)) {
      context.findings.Note(Kind::Permission, place, "the permission is for an object that does not exist");
      return;
    }
    if (!known) return;
    if (*known == Account::Admin) ofAdmin.insert(*id);
    if (*known == Account::Users) ofUsers.insert(*id);
  });
  for (const CatalogObject& object : objects) {
    if (object.type != CatalogObject::Type::Table || object.id == static_cast<std::int32_t>(kPermissionsPage)) continue;
    if (ofAdmin.contains(object.id) && ofUsers.contains(object.id)) continue;
    context.findings.Note(Kind::Permission, {.table = object.name}, "Admin and Users do not both have permissions");
  }
}

}  // namespace mv::check
