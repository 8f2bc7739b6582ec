#pragma once

#include <string>
#include <vector>

namespace mv::jet {

/// Rules that columns have beside their blocks (from the catalog's property list). Texts are expressions as the list
/// has them (see Expression.h), "" for none.
struct ColumnRules {
  bool required = false;
  bool allowZeroLength = true;
  std::string defaultValue = {};
  std::string validationRule = {};
  std::string validationText = {};  ///< what to say when the rule is broken
};

/// The rules of one table.
struct TableRules {
  std::vector<ColumnRules> columns;  ///< by position in TableDefinition::columns; those it lacks have none
  std::string validationRule = {};   ///< of the table: may compare columns with each other
  std::string validationText = {};
};

}  // namespace mv::jet
