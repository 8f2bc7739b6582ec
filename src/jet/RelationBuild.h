#pragma once

#include "jet/RelationDesign.h"
#include "jet/Table.h"
#include "jet/file/PageFile.h"

namespace mv::jet {

/// Both within a statement of the caller.

/// Writes what a new relation adds to the definitions of its tables: the foreign side's tree with an entry for each of
/// its rows, and both logical indexes. The tables are then to be given their definitions anew. ConstraintError when a
/// row refers to none of the primary side.
void BuildRelation(PageFile& file, const RelationDesign& design, const Table& foreign, const Table& primary);

/// Adds the rows of MSysRelationships, one for each pair of columns.
void ListRelation(Table& relationships, const RelationSpec& relation, const RelationDesign& design,
                  const TableDefinition& foreign, const TableDefinition& primary);

}  // namespace mv::jet
