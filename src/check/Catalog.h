#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "check/Context.h"
#include "check/Definition.h"

namespace mv::check {

/// Pages of the definitions that every database has.
inline constexpr PageNumber kObjectsPage = 2;
inline constexpr PageNumber kPermissionsPage = 3;
inline constexpr PageNumber kQueriesPage = 4;
inline constexpr PageNumber kRelationshipsPage = 5;

/// A row of MSysObjects.
struct CatalogObject {
  enum class Type : std::int16_t { Table = 1, LinkedOdbc = 4, Query = 5, Linked = 6, Relation = 8 };
  RowId row;
  std::int32_t id = 0;  ///< of a table: its definition page
  std::int32_t parent = 0;
  std::string name;
  Type type = Type::Table;  ///< any number may be here
  std::uint32_t flags = 0;
  std::vector<std::string> requiredColumns;  ///< from its property list

  /// A table that users see: no system object, not hidden.
  bool IsUserTable() const;
};

/// The tables that could be read, by definition page.
using Definitions = std::map<PageNumber, std::unique_ptr<Definition>>;

/// Reads MSysObjects, whose rows have been checked, and checks each row: Owner, property list, and that nothing is
/// missing. Rows that cannot be used are left out.
std::vector<CatalogObject> ReadCatalog(Context& context, const Definition& objects);

/// What the objects say together: ids, names, parents, the objects that every database has.
void CheckCatalog(const std::vector<CatalogObject>& objects, Findings& findings);

/// The rows of MSysACEs: identifiers, existing objects, and for every table one row of Admin and one of Users.
void CheckPermissions(Context& context, const Definition& permissions, const std::vector<CatalogObject>& objects);

}  // namespace mv::check
