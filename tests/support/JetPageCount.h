#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "jet/Database.h"
#include "jet/definition/SystemTables.h"
#include "jet/definition/TableDefinition.h"
#include "jet/pages/UsageMap.h"

namespace mv::testing {

/// How a database's pages are used. A page that is neither used nor free is lost: nobody will ever take it again.
struct JetPageCount {
  std::size_t total = 0;
  std::size_t used = 0;
  std::size_t free = 0;
  std::size_t mapBits = 0;  ///< of the used ones those that hold bits of maps, which stay when the map is empty

  explicit JetPageCount(jet::Database& database) : total(database.Pages().PageCount()) {
    jet::PageFile& pages = database.Pages();
    const std::vector<jet::PageNumber> listed = jet::UsageMap(pages, jet::kFreePagesMap).Pages();
    free = static_cast<std::size_t>(std::lower_bound(listed.begin(), listed.end(), total) - listed.begin());
    mapBits = BitPages(pages, jet::kFreePagesMap);
    used = 2;
    std::vector<jet::PageNumber> mapPages;
    std::vector<jet::TableDefinition> tables;
    for (const jet::PageNumber page :
         {jet::kObjectsPage, jet::kPermissionsPage, jet::kQueriesPage, jet::kRelationshipsPage}) {
      tables.push_back(jet::ReadDefinition(pages, page, "system"));
    }
    for (const std::string& name : database.TableNames()) tables.push_back(database.OpenTable(name).Definition());
    for (const jet::TableDefinition& table : tables) {
      used += table.pages.size();
      std::vector<jet::RowId> owners = {table.ownedPages};
      std::vector<jet::RowId> others = {table.freeSpacePages};
      for (const jet::IndexData& index : table.indexData) owners.push_back(index.map);
      for (const jet::Column& column : table.columns) {
        if (!column.IsLongValue()) continue;
        owners.push_back(column.longValuePages);
        others.push_back(column.longValueFreeSpace);
      }
      for (const jet::RowId map : owners) used += jet::UsageMap(pages, map).Pages().size();
      others.insert(others.end(), owners.begin(), owners.end());
      for (const jet::RowId map : others) {
        mapBits += BitPages(pages, map);
        mapPages.push_back(map.page);
      }
    }
    std::sort(mapPages.begin(), mapPages.end());
    used += static_cast<std::size_t>(std::unique(mapPages.begin(), mapPages.end()) - mapPages.begin()) + mapBits;
  }

  std::size_t Lost() const { return total - used - free; }

 private:
  static std::size_t BitPages(jet::PageFile& pages, jet::RowId map) {
    return jet::UsageMap(pages, map).BitPages().size();
  }
};

}  // namespace mv::testing
