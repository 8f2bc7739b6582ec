#pragma once

#include <ostream>
#include <string_view>
#include <vector>

#include "jet/Database.h"

namespace mv::tool {

/// The user's own tables of a database, in the order of its catalog.
std::vector<jet::CatalogObject> UserTables(const jet::Database& database);

enum class OtherObjects {
  RowSources,  ///< linked tables and queries: what else shows rows
  All,         ///< these, relations, forms, reports, macros, modules and pages
};

/// Says on `err` what a database holds beside its own tables, a line for each: "mvtool: <what> query "Sales"", `what`
/// being "not copied:" or the like. Objects that the platform makes for itself are left out.
void ReportOtherObjects(const jet::Database& database, OtherObjects which, std::string_view what, std::ostream& err);

}  // namespace mv::tool
