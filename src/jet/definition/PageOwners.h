#pragma once

#include <string>
#include <vector>

#include "jet/definition/TableDefinition.h"
#include "jet/file/PageFile.h"

namespace mv::jet {

/// A table as the catalog names it.
struct NamedTable {
  std::string name;
  PageNumber page = 0;  ///< its definition page
};

/// Checks, before a database is changed, that it is clear whose each page is: every page that is in use has one use in
/// one table, none of them is free, each map serves one purpose, and no map row reaches into another. A file where that
/// is not so can be read, but a change to one table could damage another one, or take pages that are in use.
///
/// `tables`: every table that has a definition. One whose definition cannot be read claims nothing: it cannot be used.
/// Costs a look at the definitions and the maps, not at the pages they list. Throws DamagedFileError that names the
/// page and who claims it.
void CheckPageOwners(PageFile& file, const std::vector<NamedTable>& tables);

}  // namespace mv::jet
