#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "jet/file/Page.h"
#include "jet/file/PageFile.h"

namespace mv::jet {

/// Index pages: the leaves and nodes of a B-tree. Numbers little-endian, but big-endian within entries.
///
/// | offset | size | content                                                                                   |
/// |--------|------|-------------------------------------------------------------------------------------------|
/// | 0      | 2    | 04 01 leaf, 03 01 node                                                                    |
/// | 2      | 2    | free space = 3616 - bytes of all entries                                                  |
/// | 4      | 4    | owner: the table's definition page                                                        |
/// | 8      | 4    | 0                                                                                         |
/// | 0x0C   | 4    | previous page: of all leaves; of the nodes with the same parent; 0 none                   |
/// | 0x10   | 4    | next page                                                                                 |
/// | 0x14   | 4    | nodes: tail child, which stands right of all entries; leaves: 0                           |
/// | 0x18   | 2    | prefix length p: every entry but the first lacks the first p bytes of the first           |
/// | 0x1A   | 1    | level: 0 leaf, 1 node above leaves, 2 above that                                          |
/// | 0x1B   | 453  | end marks: bit k, lowest bit of the first byte first, is set when an entry ends before    |
/// |        |      | offset 0x1E0 + k                                                                          |
/// | 0x1E0  | 3616 | entries, ascending as byte strings                                                        |
///
/// Leaf entry: key, then the row's address (page 3 bytes, slot 1). Node entry: key and address of the last entry below
/// a child, then the child's page (4 bytes). The prefix may reach into the row's address. Nodes and leaves of fewer
/// than two entries have none when they are made here.
///
/// Other writers give nodes a prefix, which they keep, level bytes that are not counted, and no tail: the child of the
/// last entry is then the last one. What a page is its kind tells, never its level.
inline constexpr std::size_t kIndexFreeSpaceOffset = 0x02;
inline constexpr std::size_t kIndexOwnerOffset = 0x04;
inline constexpr std::size_t kIndexPreviousOffset = 0x0C;
inline constexpr std::size_t kIndexNextOffset = 0x10;
inline constexpr std::size_t kIndexTailOffset = 0x14;
inline constexpr std::size_t kIndexPrefixOffset = 0x18;
inline constexpr std::size_t kIndexLevelOffset = 0x1A;
inline constexpr std::size_t kEndMarksOffset = 0x1B;
inline constexpr std::size_t kEndMarksSize = 453;
inline constexpr std::size_t kEntriesOffset = 0x1E0;
inline constexpr std::size_t kEntryAreaSize = 3616;
inline constexpr std::size_t kRowAddressSize = 4;
inline constexpr std::size_t kChildSize = 4;
/// No page can hold an entry with a longer key.
inline constexpr std::size_t kLongestPageKey = kEntryAreaSize - kRowAddressSize;

/// The highest level that is believed; a tree that fills a file has fewer levels by far.
inline constexpr std::uint8_t kHighestIndexLevel = 31;
/// What the prefix of a node's entries leaves out: the child, and a byte for there to be an entry.
inline constexpr std::size_t kKeptOfNodeEntry = kChildSize + 1;

/// The bytes of one entry in full, without a heap allocation. Room for any leaf entry and a child's page behind it.
class EntryBytes {
 public:
  EntryBytes() {}
  /// A leaf entry. Needs that it fits a page (kLongestPageKey).
  EntryBytes(ByteView key, RowId row);

  void Clear() { size_ = 0; }
  /// Needs that the whole fits a page; the page's checks see to it.
  void Append(ByteView bytes);
  void AppendChild(PageNumber child);

  ByteView View() const { return {bytes_.data(), size_}; }
  std::size_t Size() const { return size_; }
  /// The parts of a leaf entry.
  ByteView Key() const { return View().first(size_ - kRowAddressSize); }
  RowId Row() const;
  bool StartsWith(ByteView beginning) const;
  /// The parts of a node entry.
  ByteView KeyAndRow() const { return View().first(size_ - kChildSize); }

 private:
  std::array<std::uint8_t, kEntryAreaSize + kChildSize> bytes_;
  std::size_t size_ = 0;
};

/// Entries of a page taken apart, for the rare work that concerns a whole page: other prefixes and splits.
class EntryList {
 public:
  std::size_t Count() const { return ends_.size(); }
  ByteView operator[](std::size_t index) const;
  /// Bytes of the entries from `first` up to `last` (not included), in full.
  std::size_t Size(std::size_t first, std::size_t last) const { return StartOf(last) - StartOf(first); }
  void Append(ByteView entry);
  void Insert(std::size_t index, ByteView entry);

 private:
  std::size_t StartOf(std::size_t index) const { return index == 0 ? 0 : ends_[index - 1]; }

  Bytes bytes_;
  std::vector<std::size_t> ends_;
};

/// Some of a list's entries: from `first` up to `last`, not included.
struct EntryRange {
  const EntryList& list;
  std::size_t first = 0;
  std::size_t last = 0;

  std::size_t Count() const { return last - first; }
  /// Length of the longest prefix that all entries share; 0 for fewer than two. The last `kept` bytes of each entry
  /// stay out of it, of the first one less.
  std::size_t SharedPrefix(std::size_t kept = 1) const;
  /// Bytes on a page with the given prefix length.
  std::size_t StoredSize(std::size_t prefix) const;
};

/// An index page to look at. An entry is named by the offset in the entry area at which its stored bytes begin: 0, then
/// EndOf(at) of the one before, up to Used(), which stands for "behind the last". Every access is checked: a page that
/// contradicts itself raises DamagedFileError. Copies nothing, but counts the bytes in use once: not to be used any
/// more when another object has changed the page's entries.
class IndexPageView {
 public:
  /// Throws DamagedFileError for another kind of page, another owner, or a header that cannot be right. `file` must
  /// outlive the view.
  IndexPageView(const PageFile& file, PageNumber number, PageNumber owner);

  PageNumber Number() const { return number_; }
  bool IsLeaf() const { return KindOf(page_) == PageKind::IndexLeaf; }
  /// As the page says; of a leaf checked to be 0, of a node not to be relied on.
  std::uint8_t Level() const { return page_[kIndexLevelOffset]; }
  PageNumber Previous() const { return Word(kIndexPreviousOffset); }
  PageNumber Next() const { return Word(kIndexNextOffset); }
  /// False for some nodes of other writers.
  bool HasTail() const { return Word(kIndexTailOffset) != 0; }
  /// The tail child of a node, checked to be there.
  PageNumber Tail() const;
  /// 0 for a page without entries, whatever its header says.
  std::size_t PrefixLength() const {
    return IsEmpty() ? 0 : LoadLittle<std::uint16_t>(page_.data() + kIndexPrefixOffset);
  }

  /// Bytes of the entry area in use: up to the last end mark, whatever the free-space word says.
  std::size_t Used() const { return used_; }
  bool IsEmpty() const { return used_ == 0; }
  std::size_t EndOf(std::size_t at) const;
  /// Where the last entry begins. Needs !IsEmpty().
  std::size_t LastStart() const { return StartBefore(Used()); }
  /// Where the entry in front of `at` begins. Needs at > 0.
  std::size_t StartBefore(std::size_t at) const { return MarkUpTo(at - 1); }
  /// How many entries begin before `at`.
  std::size_t IndexOf(std::size_t at) const;

  /// The leftmost child of a node.
  PageNumber FirstChild() const { return IsEmpty() ? Tail() : ChildAt(0); }
  /// The rightmost child of a node: its tail, or that of its last entry when it has none.
  PageNumber LastChild() const { return HasTail() || IsEmpty() ? Tail() : ChildAt(LastStart()); }
  /// The child of the node entry at `at`.
  PageNumber ChildAt(std::size_t at) const;
  /// The entry in full; `out` is overwritten.
  void ReadEntry(std::size_t at, EntryBytes& out) const;
  EntryList AllEntries() const;
  /// The first entry that is not below `sought` (key and row address), or Used(). Costs a binary search.
  std::size_t LowerBound(ByteView sought) const;
  /// True when the leaf entry at `at`, which may be Used(), is `entry`.
  bool Holds(std::size_t at, ByteView entry) const;

 protected:
  std::uint32_t Word(std::size_t offset) const { return LoadLittle<std::uint32_t>(page_.data() + offset); }
  std::uint64_t MarkWord(std::size_t index) const;
  std::size_t LastMark() const;
  std::size_t MarkUpTo(std::size_t position) const;
  std::size_t MarkBehind(std::size_t position) const;
  ByteView Area() const { return ByteView(page_).subspan(kEntriesOffset); }
  int CompareStored(std::size_t start, std::size_t end, std::size_t skip, ByteView sought) const;
  [[noreturn]] void Damaged(const std::string& what) const;

  const Page& page_;
  PageNumber number_;
  std::size_t used_;
};

/// An index page to change. Keeps end marks, prefix and free space right and clears bytes that become unused.
class IndexPage : public IndexPageView {
 public:
  /// Makes an empty index page of `page`, whatever it holds. Level 0 makes a leaf.
  static void Format(Page& page, PageNumber owner, std::uint8_t level);

  IndexPage(PageFile& file, PageNumber number, PageNumber owner);

  void SetPrevious(PageNumber page) { SetWord(kIndexPreviousOffset, page); }
  void SetNext(PageNumber page) { SetWord(kIndexNextOffset, page); }
  void SetTail(PageNumber page) { SetWord(kIndexTailOffset, page); }

  /// Adds an entry in front of the one at `at`. Returns false, and changes nothing, when there is no room or the entry
  /// does not share the page's prefix.
  bool TryInsert(std::size_t at, ByteView entry);
  void Remove(std::size_t at);

  /// Replaces all entries: without a prefix when they fit so, else with the longest one (in leaves, and in nodes that
  /// have one already). Returns false, and changes nothing, when they do not fit at all.
  bool TryStore(EntryRange entries);
  /// Replaces all entries, in a leaf with the longest prefix, in a node with one only where they do not fit without.
  /// Throws DamagedFileError when they do not fit.
  void StoreCompact(EntryRange entries);

 private:
  void SetWord(std::size_t offset, std::uint32_t value) { StoreLittle(bytes_.data() + offset, value); }
  void InsertBytes(std::size_t at, ByteView bytes);
  void EraseBytes(std::size_t start, std::size_t end);
  std::size_t LongestPrefix(EntryRange entries) const;
  void Store(EntryRange entries, std::size_t prefix);
  void StoreUsed(std::size_t used);
  void SetPrefixLength(std::size_t length);

  template <typename Change>
  void ChangeMarks(Change change);

  Page& bytes_;  ///< the page of the base class, to change
};

}  // namespace mv::jet
