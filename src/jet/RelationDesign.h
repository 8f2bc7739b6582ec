#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jet/definition/TableDefinition.h"

namespace mv::jet {

/// Bits of MSysRelationships.grbit.
namespace relation_bits {
inline constexpr std::int32_t kOneToOne = 0x1;
inline constexpr std::int32_t kNotEnforced = 0x2;
inline constexpr std::int32_t kCascadeUpdate = 0x100;
inline constexpr std::int32_t kCascadeDelete = 0x1000;
inline constexpr std::int32_t kSetNull = 0x2000;
}  // namespace relation_bits

/// A new enforced relation: `columns` of `table` refer to `referencedColumns` of `references`, pair by pair.
struct RelationSpec {
  /// What becomes of rows whose referenced row is deleted.
  enum class OnDelete : std::uint8_t { Refuse = 0, Cascade = 1, SetNull = 2 };

  std::string name;
  std::string table;
  std::vector<std::string> columns;
  std::string references;
  std::vector<std::string> referencedColumns;
  bool cascadeUpdate = false;
  OnDelete onDelete = OnDelete::Refuse;
};

/// What a new relation adds to the definitions of its two tables and to the list of relations.
struct RelationDesign {
  LogicalIndex foreignIndex;  ///< named after the relation, over a new tree
  IndexData foreignTree;      ///< without map and root
  LogicalIndex primaryIndex;  ///< ".r" and letters, over an existing unique tree
  /// Pairs in the order of the two trees, by position in TableDefinition::columns.
  std::vector<std::size_t> foreignColumns;
  std::vector<std::size_t> primaryColumns;
  std::int32_t options = 0;  ///< grbit of MSysRelationships
};

/// Throws ConstraintError, naming the relation, for what Jet would refuse: a name that is none, columns that are not
/// there or of other types, no unique index over the referenced ones, more than 32 indexes.
RelationDesign DesignRelation(const RelationSpec& relation, const TableDefinition& foreign,
                              const TableDefinition& primary);

/// True when a column may refer to the other: their values are of one kind.
bool CanBeRelated(const Column& left, const Column& right);

}  // namespace mv::jet
