#include "jet/CreateDatabase.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "jet/Catalog.h"
#include "jet/Table.h"
#include "jet/definition/SystemTables.h"
#include "jet/file/Header.h"
#include "jet/index/IndexTree.h"
#include "jet/pages/DataPage.h"
#include "jet/pages/MapPages.h"
#include "jet/pages/UsageMap.h"

namespace mv::jet {
namespace {

constexpr PageNumber kFreeMapsPage = 1;
constexpr PageNumber kFirstFreePage = 14;

struct NewObject {
  CatalogObject object;
  Account owner;
};

struct NewPermission {
  std::int32_t object;
  Account account;
  std::int32_t rights;
  bool inheritable;
};

std::vector<NewObject> NewObjects(std::span<const TableDefinition> tables) {
  std::vector<NewObject> objects = {
      {{kTablesId, kRootId, "Tables", ObjectType::Container, kSystemObject}, Account::Engine},
      {{kDatabasesId, kRootId, "Databases", ObjectType::Container, kSystemObject}, Account::Engine},
      {{kRelationshipsId, kRootId, "Relationships", ObjectType::Container, kSystemObject}, Account::Engine},
      {{kDatabaseId, kDatabasesId, "MSysDb", ObjectType::Database, kSystemObject}, Account::Admin},
  };
  for (const TableDefinition& table : tables) {
    const auto id = static_cast<std::int32_t>(table.page);
    objects.push_back({{id, kTablesId, table.name, ObjectType::Table, kSystemObject}, Account::Engine});
  }
  return objects;
}

constexpr std::array kNewPermissions = {
    NewPermission{kObjectsPage, Account::Admin, 0x60000, false},
    NewPermission{kPermissionsPage, Account::Admin, 0x60000, false},
    NewPermission{kQueriesPage, Account::Admin, 0x60000, false},
    NewPermission{kRelationshipsPage, Account::Admin, 0xE0000, false},
    NewPermission{kTablesId, Account::Creator, 0xF00FE, true},
    NewPermission{kTablesId, Account::Admin, 0x60001, false},
    NewPermission{kRelationshipsId, Account::Creator, 0xF00FE, true},
    NewPermission{kRelationshipsId, Account::Admin, 0x60001, false},
    NewPermission{kDatabasesId, Account::Admin, 0x60000, false},
    NewPermission{kDatabaseId, Account::Admin, 0x6000E, false},
    NewPermission{kDatabaseId, Account::Users, 0x0000E, false},
    NewPermission{kQueriesPage, Account::Users, 0x00014, false},
    NewPermission{kRelationshipsPage, Account::Users, 0x00014, false},
    NewPermission{kObjectsPage, Account::Users, 0x00014, false},
    NewPermission{kTablesId, Account::Users, 0xFFEFF, true},
    NewPermission{kRelationshipsId, Account::Users, 0xFFFFF, true},
};

/// The free pages' map with all pages from `firstFree` on set, those behind the end of the file too: the file can grow
/// there. The released pages' map is empty.
void WriteFreeMaps(PageFile& file, PageNumber firstFree) {
  Bytes freePages(kMapRowSize, 0);
  const ByteSpan bits = ByteSpan(freePages).subspan(kMapBitsOffset);
  for (std::size_t page = firstFree; page < 8 * bits.size(); ++page) {
    bits[page / 8] = static_cast<std::uint8_t>(bits[page / 8] | 1u << page % 8);
  }
  DataPage::Format(file.Write(kFreeMapsPage), kOwnerGlobalMaps);
  DataPage maps(file, kFreeMapsPage);
  maps.Append(freePages, SlotState::Live);
  maps.Append(Bytes(kMapRowSize, 0), SlotState::Live);
}

void WriteSystemTable(PageFile& file, FreePages& freePages, const TableDefinition& table) {
  WriteDefinition(file, BuildDefinition(table), table.pages);
  for (const IndexData& index : table.indexData) IndexTree::Create(file, freePages, table.page, index);
}

/// How many maps the tables name on the page of system maps.
std::size_t MapCount(std::span<const TableDefinition> tables) {
  std::size_t count = 0;
  for (const TableDefinition& table : tables) {
    const auto longValues = std::count_if(table.columns.begin(), table.columns.end(),
                                          [](const Column& column) { return column.IsLongValue(); });
    count += 2 + table.indexData.size() + 2 * static_cast<std::size_t>(longValues);
  }
  return count;
}

void AddCatalogRows(PageFile& file, const Header& header, std::span<const TableDefinition> tables, Date created) {
  Table objects(file, tables[0], TableRules());
  Table permissions(file, tables[1], TableRules());
  Catalog catalog(objects, permissions);
  for (const NewObject& object : NewObjects(tables)) {
    catalog.AddObject(object.object, header.Identifier(object.owner), created);
  }
  for (const NewPermission& row : kNewPermissions) {
    catalog.AddPermission({row.object, header.Identifier(row.account), row.rights, row.inheritable});
  }
}

}  // namespace

void FillNewDatabase(PageFile& file, Date created) {
  const Header header = Header::ForNewDatabase(created);
  const std::vector<TableDefinition> tables = NewSystemTables();
  while (file.PageCount() < kFirstFreePage) file.Append();
  file.Write(0) = header.ToPage();
  WriteFreeMaps(file, kFirstFreePage);
  FreePages freePages(file);
  FormatMapPage(file, kSystemMapsPage, MapCount(tables));
  for (const TableDefinition& table : tables) WriteSystemTable(file, freePages, table);
  AddCatalogRows(file, header, tables, created);
}

}  // namespace mv::jet
