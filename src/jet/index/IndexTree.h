#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

#include "jet/definition/TableDefinition.h"
#include "jet/file/PageFile.h"
#include "jet/index/IndexPage.h"
#include "jet/pages/UsageMap.h"

namespace mv::jet {

/// One index as a B-tree on pages. Entries are key bytes and row address, ascending as byte strings; keeps leaf links,
/// parents, prefix, end marks and the tree's page map right. The root page keeps its number. Works on the pages only,
/// so a statement's Rollback needs no help. Nothing is allocated for an entry; splits and removals of pages do.
///
/// Every call throws DamagedFileError when it meets a malformed page or a chain of pages without an end, changes then
/// being incomplete: callers change trees within a Statement.
class IndexTree {
 public:
  /// `tablePage`: definition page of the table, the owner field of new pages.
  IndexTree(PageFile& file, FreePages& freePages, PageNumber tablePage, const IndexData& index);
  /// Makes page index.root, whatever it holds, the root of an empty tree and lists it in index.map, which is there
  /// already. The arguments are those of the constructor.
  static IndexTree Create(PageFile& file, FreePages& freePages, PageNumber tablePage, const IndexData& index);

  struct Entry {
    Bytes key;
    RowId row;
  };

  /// Adds an entry. Needs that it is not there; DamagedFileError when it is. UnsupportedError for a key of more than
  /// kLongestKey bytes.
  void Insert(ByteView key, RowId row);
  /// The same; returns true when no other row had an entry with this key.
  bool InsertAndTell(ByteView key, RowId row);
  /// Removes an entry. When the key is not there under this row, looks through the leaves for the row's address and
  /// removes that entry. Returns false when the row has no entry at all.
  bool Remove(ByteView key, RowId row);
  /// The first entry's row with exactly this key, leaving out `except`.
  std::optional<RowId> Find(ByteView key, std::optional<RowId> except = std::nullopt) const;
  /// The rows of all entries with exactly this key, ascending; at most the first `most`.
  std::vector<RowId> FindAll(ByteView key, std::size_t most = kAll) const;
  /// All entries whose key begins so, in order.
  std::vector<Entry> FindBeginning(ByteView beginning) const;
  /// All entries in order, following the leaf links; for checks and tests.
  std::vector<Entry> Entries() const;

  static constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

  /// Two entries of this length, in a node, fit on a page, so that every page can be split.
  static constexpr std::size_t kLongestKey = kEntryAreaSize / 2 - kRowAddressSize - kChildSize;

 private:
  class Path;
  struct Split;
  struct Overfull;

  IndexPageView View(PageNumber page) const { return IndexPageView(file_, page, tablePage_); }
  IndexPage Edit(PageNumber page) { return IndexPage(file_, page, tablePage_); }

  Path PathTo(ByteView entry) const;
  void PrepareChange(Path& path, ByteView entry);
  void GiveTail(PageNumber node);
  PageNumber FirstLeaf() const;
  template <typename Visitor>
  void VisitEntries(PageNumber leaf, std::size_t at, Visitor visit) const;
  template <typename Visitor>
  void VisitKey(ByteView key, Visitor visit) const;
  bool FindByRow(RowId row, EntryBytes& found) const;

  static EntryBytes EntryToInsert(ByteView key, RowId row);
  Path PathToChange(ByteView entry);
  std::optional<bool> HasKeyBeside(const Path& path, ByteView key) const;
  void InsertAt(Path& path, ByteView entry);

  Split SplitLeaf(Path& path, const Overfull& leaf);
  Split SplitNode(Path& path, std::size_t depth, const Overfull& node);
  void StoreNodePair(PageNumber lower, PageNumber upper, const EntryList& entries, std::size_t middle);
  Split AddSibling(const Path& path, std::size_t depth);
  void PassUp(Path& path, std::size_t depth, Split split);
  void PushRootDown(Path& path);

  void RemoveAt(Path& path);
  void RemoveEmptyPages(Path& path);
  bool DetachChild(Path& path, std::size_t depth);
  void UpdateAncestorEntry(Path& path, std::size_t depth, ByteView last);
  void ReplaceEntry(Path& path, std::size_t depth, std::size_t at, ByteView keyAndRow);
  void MendNode(PageNumber node);
  std::optional<EntryBytes> LastBelow(PageNumber page) const;
  bool JoinWithNeighbour(Path& path, std::size_t depth);
  EntryList JoinedEntries(const IndexPageView& parent, std::size_t at, PageNumber lower, PageNumber upper) const;
  void CollapseRoot();

  PageNumber NewPage(std::uint8_t level);
  void DropPage(PageNumber page);
  void LinkBetween(PageNumber left, PageNumber added, PageNumber right);
  void Unlink(PageNumber page);
  PageNumber PreviousOf(PageNumber page) const;
  PageNumber NextOf(PageNumber page) const;
  bool MayBeNeighbour(PageNumber page, PageNumber other) const;
  void CutNodeLink(PageNumber left, PageNumber right);
  void JoinNodeLink(PageNumber left, PageNumber right);

  PageFile& file_;
  FreePages& freePages_;
  PageNumber tablePage_;
  PageNumber root_;
  RowId map_;
};

}  // namespace mv::jet
