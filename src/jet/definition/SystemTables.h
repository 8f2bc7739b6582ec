#pragma once

#include <vector>

#include "jet/definition/TableDefinition.h"
#include "jet/file/Page.h"

namespace mv::jet {

/// The four tables that every database has, at the same definition pages in every file.
inline constexpr PageNumber kObjectsPage = 2;        ///< MSysObjects
inline constexpr PageNumber kPermissionsPage = 3;    ///< MSysACEs
inline constexpr PageNumber kQueriesPage = 4;        ///< MSysQueries
inline constexpr PageNumber kRelationshipsPage = 5;  ///< MSysRelationships

/// The page of a new database that holds the maps of the four tables.
inline constexpr PageNumber kSystemMapsPage = 6;

/// Definitions of the four tables in a new database, ascending by page: columns sorted by name, maps on
/// kSystemMapsPage, index roots from page 7 on.
std::vector<TableDefinition> NewSystemTables();

}  // namespace mv::jet
