#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/RelationKeeper.h"
#include "jet/definition/TableDefinition.h"

namespace mv::jet {

/// Keeps the enforced relations of a database. A relation is what two logical indexes say that name each other: that of
/// the primary side, over a unique tree, and that of the foreign side, whose columns refer to it in the tree's order.
///
/// Keys. Two texts are the same key when the sort order calls them equal, so case and trailing blanks never matter, and
/// a change of case alone is none: the related rows keep their spelling. A key with a null in it refers to nothing and
/// is not checked.
///
/// A statement. When a key of the primary side goes (its row is deleted, or changed) the rows that refer to it are
/// deleted, given the new key in the new spelling, or given nulls, as the relation says; rows that refer to those
/// follow, level by level, each through an index, and every rule of their tables is checked. What is forbidden is
/// judged by what the statement leaves behind: each key written must have its row, and no row may refer to a key that
/// went. So rows may refer to themselves or in circles, and to one row in two ways. When anything fails all is undone.
///
/// ConstraintErrors: "You cannot add or change a record because a related record is required in table '...'." and "The
/// record cannot be deleted or changed because table '...' includes related records."
class Relations : public RelationKeeper {
 public:
  /// `tableAt` gives the table of a definition page, the same object each time; or throws.
  explicit Relations(std::function<Table&(PageNumber)> tableAt);
  ~Relations() override;
  Relations(const Relations&) = delete;
  Relations& operator=(const Relations&) = delete;

  /// DamagedFileError when the two sides of a relation contradict each other, UnsupportedError for one that the engine
  /// does not know how to keep.
  void RequireKept(const Table& table) override;
  void Follow(Table& table, RowChange change) override;

  /// To be called when a table was given another definition.
  void Forget();

 private:
  struct Relation;
  struct RelationsOfTable;
  class Cascade;

  const RelationsOfTable& Of(const Table& table);
  Table& OtherTable(PageNumber page, const std::string& relation);
  Relation Resolved(Table& table, const LogicalIndex& index);

  std::function<Table&(PageNumber)> tableAt_;
  std::unordered_map<PageNumber, RelationsOfTable> known_;  ///< by definition page, filled when first needed
  Cascade* running_ = nullptr;                              ///< of the statement under way
};

}  // namespace mv::jet
