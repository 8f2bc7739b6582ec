#pragma once

#include <string>
#include <vector>

#include "base/Bytes.h"
#include "jet/definition/TableDefinition.h"

namespace mv::jet {

/// What a new table looks like.
struct ColumnSpec {
  std::string name;
  ColumnType type = ColumnType::Text;
  std::uint16_t characters = 0;  ///< Text: 1 to 255 characters; Binary: 1 to 510 bytes
  bool compressed = true;        ///< Text and Memo
  bool autonumber = false;       ///< Long
  std::uint8_t precision = 18;   ///< Decimal
  std::uint8_t scale = 0;        ///< Decimal
  bool hyperlink = false;        ///< Memo: shown as a link
  bool guidAutonumber = false;  ///< Guid: to be filled by the default value "GenGUID()", which is the caller's business
};
struct IndexSpec {
  struct KeyColumn {
    std::string column;
    bool ascending = true;
  };
  std::string name;
  std::vector<KeyColumn> columns;
  bool primaryKey = false;
  bool unique = false;
  bool ignoreNulls = false;
  bool required = false;
};
struct TableSpec {
  std::string name;
  std::vector<ColumnSpec> columns;
  std::vector<IndexSpec> indexes;
  Bytes properties = {};  ///< the table's property list as the catalog keeps it (see Properties.h), empty for none
};

/// The definition of a new table: ids, places in a row and flags as Jet gives them, each index a tree of its own,
/// logical indexes sorted by name. Pages, maps and roots are left to the caller. Throws ConstraintError, naming table,
/// column or index, for what Jet would refuse.
TableDefinition DesignTable(const TableSpec& table);

/// ConstraintError for a name that Jet would refuse; `what` ("a table") is for the message.
void RequireValidName(const std::string& what, const std::string& name);

}  // namespace mv::jet
