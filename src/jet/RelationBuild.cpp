#include "jet/RelationBuild.h"

#include <utility>

#include "jet/Catalog.h"
#include "jet/file/JetErrors.h"
#include "jet/index/IndexTree.h"
#include "jet/pages/MapPages.h"

namespace mv::jet {
namespace {

struct Statistics {
  std::uint32_t entries = 0;
  std::uint32_t distinctKeys = 0;
};

/// Adds the entries of the table's rows to an empty tree and looks each key up on the primary side.
Statistics FillTree(IndexTree& tree, const RelationDesign& design, const Table& foreign, const Table& primary) {
  const TableDefinition& foreignTable = foreign.Definition();
  const TableDefinition& primaryTable = primary.Definition();
  const std::size_t primaryTree = design.primaryIndex.dataNumber;
  Statistics statistics;
  std::vector<Value> own(foreignTable.columns.size());
  std::vector<Value> other(primaryTable.columns.size());
  for (auto row = foreign.First(); row; row = foreign.Next(*row)) {
    for (std::size_t part = 0; part < design.foreignColumns.size(); ++part) {
      own[design.foreignColumns[part]] = foreign.ReadValue(*row, design.foreignColumns[part]);
      other[design.primaryColumns[part]] = own[design.foreignColumns[part]];
    }
    const IndexKey wanted = KeyOf(primaryTable, primaryTable.indexData[primaryTree], other);
    if (!wanted.anyNull && !primary.HasKey(primaryTree, wanted)) {
      throw ConstraintError("Relation '" + design.foreignIndex.name + "': table '" + foreignTable.name +
                            "' has a record for which a related record is required in table '" + primaryTable.name +
                            "'.");
    }
    const IndexKey key = KeyOf(foreignTable, design.foreignTree, own);
    if (!tree.Find(key.bytes)) ++statistics.distinctKeys;
    tree.Insert(key.bytes, *row);
    ++statistics.entries;
  }
  return statistics;
}

void Rewrite(PageFile& file, FreePages& freePages, const TableDefinition& table, const Bytes& definition) {
  std::vector<PageNumber> pages = table.pages;
  while (pages.size() < DefinitionPages(definition.size())) pages.push_back(freePages.Allocate());
  WriteDefinition(file, definition, pages);
}

}  // namespace

void BuildRelation(PageFile& file, const RelationDesign& design, const Table& foreign, const Table& primary) {
  const TableDefinition& foreignTable = foreign.Definition();
  const TableDefinition& primaryTable = primary.Definition();
  FreePages freePages(file);
  IndexData treeData = design.foreignTree;
  treeData.map = AddMapBeside(file, freePages, foreignTable.ownedPages.page);
  treeData.root = freePages.Allocate();
  IndexTree tree = IndexTree::Create(file, freePages, foreignTable.page, treeData);
  const Statistics statistics = FillTree(tree, design, foreign, primary);

  Bytes definition = ReadDefinitionBytes(file, foreignTable);
  definition = WithTree(definition, treeData, statistics.entries, statistics.distinctKeys);
  definition = WithLogicalIndex(definition, design.foreignIndex);
  if (foreignTable.page == primaryTable.page) {
    definition = WithLogicalIndex(definition, design.primaryIndex);
  } else {
    Rewrite(file, freePages, primaryTable,
            WithLogicalIndex(ReadDefinitionBytes(file, primaryTable), design.primaryIndex));
  }
  Rewrite(file, freePages, foreignTable, definition);
}

void ListRelation(Table& relationships, const RelationSpec& relation, const RelationDesign& design,
                  const TableDefinition& foreign, const TableDefinition& primary) {
  const TableDefinition& list = relationships.Definition();
  const auto at = [&](const char* column, ColumnType type) { return SystemColumnAt(list, column, type); };
  const auto count = static_cast<std::int32_t>(design.foreignColumns.size());
  for (std::int32_t i = 0; i < count; ++i) {
    const auto part = static_cast<std::size_t>(i);
    std::vector<Value> values(list.columns.size());
    values[at("szRelationship", ColumnType::Text)] = relation.name;
    values[at("grbit", ColumnType::Long)] = design.options;
    values[at("ccolumn", ColumnType::Long)] = count;
    values[at("icolumn", ColumnType::Long)] = i;
    values[at("szObject", ColumnType::Text)] = foreign.name;
    values[at("szColumn", ColumnType::Text)] = foreign.columns[design.foreignColumns[part]].name;
    values[at("szReferencedObject", ColumnType::Text)] = primary.name;
    values[at("szReferencedColumn", ColumnType::Text)] = primary.columns[design.primaryColumns[part]].name;
    relationships.Insert(std::move(values));
  }
}

}  // namespace mv::jet
