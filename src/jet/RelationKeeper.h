#pragma once

#include <vector>

#include "jet/file/Page.h"
#include "recordset/Value.h"

namespace mv::jet {

class Table;

/// What a change did to the columns of a row that relations connect. Values are by position in
/// TableDefinition::columns; those of all other columns are null.
struct RowChange {
  RowId row;
  std::vector<Value> before;  ///< empty: the row is new
  std::vector<Value> after;   ///< empty: the row was deleted
};

/// Keeps the relations between tables while their rows change. A Table calls it from each change of its own.
class RelationKeeper {
 public:
  virtual ~RelationKeeper() = default;

  /// Before anything is changed. Throws when the engine cannot keep a relation of the table; the text names both.
  virtual void RequireKept(const Table& table) = 0;

  /// After the change, inside its statement: changes related rows as their relations say and checks that every key that
  /// needs a partner has one. When it throws the statement is undone as a whole. The changes that it makes itself come
  /// back here.
  virtual void Follow(Table& table, RowChange change) = 0;
};

}  // namespace mv::jet
