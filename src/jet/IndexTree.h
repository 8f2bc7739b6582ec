#pragma once

#include <optional>
#include <vector>

#include "jet/PageFile.h"
#include "jet/TableDefinition.h"
#include "jet/UsageMap.h"

namespace mv::jet {

/// One index as a B-tree on pages. Entries are key bytes and row address, ascending as byte strings; keeps leaf links,
/// parents, prefix, end marks and the tree's page map right. The root page keeps its number. Works on the pages only,
/// so a statement's Rollback needs no help.
class IndexTree {
 public:
  /// `tablePage`: definition page of the table, the owner field of new pages.
  IndexTree(PageFile& file, FreePages& freePages, PageNumber tablePage, const IndexData& index);

  struct Entry {
    Bytes key;
    RowId row;
  };

  /// Adds an entry. Needs that it is not there. Throws DamagedFileError when the tree is malformed.
  void Insert(ByteView key, RowId row);
  /// Removes an entry. When the key is not there under this row, looks through the leaves for the row's address and
  /// removes that entry. Returns false when the row has no entry at all.
  bool Remove(ByteView key, RowId row);
  /// The first entry's row with exactly this key, leaving out `except`.
  std::optional<RowId> Find(ByteView key, std::optional<RowId> except = std::nullopt) const;
  /// All entries in order, following the leaf links; for checks and tests.
  std::vector<Entry> Entries() const;
};

/// An empty root leaf for a new index.
void FormatEmptyLeaf(Page& page, PageNumber tablePage);

}  // namespace mv::jet
