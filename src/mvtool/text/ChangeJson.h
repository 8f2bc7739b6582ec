#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "jet/definition/TableDefinition.h"
#include "json/Json.h"
#include "mvtool/files/IndexedTable.h"

namespace mv::tool {

/// One change of a table.
struct Change {
  enum class Kind { Insert, Update, Delete };
  Kind kind = Kind::Insert;
  std::vector<IndexedTable::Condition> where;  ///< Update and Delete: which row; at least one. Else anything
  std::vector<std::size_t> columns;            ///< Insert and Update: positions of the columns that get a value
  std::vector<Value> values;                   ///< these values
};

/// Reads changes of one table:
///
///   {"op":"insert","row":{"KY_ID":"a1","CU_COST":"12.5000"}}
///   {"op":"update","where":{"KY_ID":"a1"},"set":{"CU_COST":null}}
///   {"op":"delete","where":{"KY_ID":"a1"}}
///
/// Values as ValueText.h has them; names of columns without regard to case.
class ChangeReader {
 public:
  /// `table` must outlive the reader.
  explicit ChangeReader(const jet::TableDefinition& table);

  /// Reads one into `change`, whose memory is used again. Failure with line and column for anything that is not of the
  /// form above, unknown columns and values of another type than their column's among it.
  void Read(const Json& json, Change& change) const;
  /// An object of columns and their values; each column once.
  std::vector<IndexedTable::Condition> ValuesFromJson(const Json& json) const;

 private:
  std::size_t ColumnOf(const Json::Member& member, std::size_t expected) const;
  template <typename Place>
  void ReadValues(const Json& json, Place place) const;
  void ReadConditions(const Json& json, std::vector<IndexedTable::Condition>& conditions) const;

  const jet::TableDefinition& table_;
  std::map<std::string, std::size_t> columns_;  ///< positions by name, as written and in one case
};

}  // namespace mv::tool
