#include "jet/index/IndexTree.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "base/ByteOrder.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

constexpr std::size_t kMaxDepth = kHighestIndexLevel + std::size_t{1};

[[noreturn]] void DamagedTree(PageNumber root, const std::string& what) {
  throw DamagedFileError("the index tree of page " + std::to_string(root) + " " + what);
}

/// The place from `first` to `last` (not included) whose larger part, as `largerPart` tells it, is smallest.
template <typename LargerPart>
std::size_t Balanced(std::size_t first, std::size_t last, LargerPart largerPart) {
  std::size_t best = first;
  std::size_t smallest = largerPart(first);
  for (std::size_t place = first + 1; place < last; ++place) {
    const std::size_t size = largerPart(place);
    if (size >= smallest) continue;
    best = place;
    smallest = size;
  }
  return best;
}

/// Bytes of a part of a page's entries on a page of its own, with a prefix that leaves at least `kept` bytes of each
/// entry out. The entries ascend, so what the first and the last share all share.
std::size_t SizeOfPart(EntryRange part, std::size_t kept = 1) {
  if (part.Count() < 2) return part.StoredSize(0);
  const ByteView first = part.list[part.first];
  const ByteView last = part.list[part.last - 1];
  const auto end = std::mismatch(first.begin(), first.end(), last.begin(), last.end()).first;
  // Something of every entry but the first must be left to store.
  const auto shared = std::min(static_cast<std::size_t>(end - first.begin()), last.size() - kept);
  return part.StoredSize(std::min(shared, first.size() - (kept - 1)));
}

/// Where to cut a leaf's entries: the first one of the upper part. One entry that shares nothing with the others may
/// need a page of its own, because the others fit on theirs only by what they share.
std::size_t MiddleCut(const EntryList& entries) {
  const std::size_t count = entries.Count();
  return Balanced(1, count, [&](std::size_t cut) {
    return std::max(SizeOfPart({entries, 0, cut}), SizeOfPart({entries, cut, count}));
  });
}

/// The node entry that goes up. Three entries are enough for both parts to keep one, and all that fit a page are. The
/// parts have a prefix only where they need it, which is in trees of writers that give one to nodes.
std::size_t MiddleEntry(const EntryList& entries) {
  const std::size_t count = entries.Count();
  const auto largerPart = [&](std::size_t middle) {
    return std::max(entries.Size(0, middle), entries.Size(middle + 1, count));
  };
  const std::size_t middle = Balanced(1, count - 1, largerPart);
  if (largerPart(middle) <= kEntryAreaSize) return middle;
  return Balanced(1, count - 1, [&](std::size_t place) {
    return std::max(SizeOfPart({entries, 0, place}, kKeptOfNodeEntry),
                    SizeOfPart({entries, place + 1, count}, kKeptOfNodeEntry));
  });
}

/// Whether both parts fit a page each when the entry at `middle` goes up.
bool CanBeSpread(const EntryList& entries, std::size_t middle) {
  return SizeOfPart({entries, 0, middle}, kKeptOfNodeEntry) <= kEntryAreaSize &&
         SizeOfPart({entries, middle + 1, entries.Count()}, kKeptOfNodeEntry) <= kEntryAreaSize;
}

void FormatLeaf(Page& page, PageNumber tablePage) {
  IndexPage::Format(page, tablePage, 0);
}

void CheckCanBeSpread(const EntryList& nodeEntries) {
  if (nodeEntries.Count() < 3) throw DamagedFileError("the entries of an index node are too long");
}

/// The parts of a node entry.
ByteView KeyAndRowOf(ByteView nodeEntry) {
  return nodeEntry.first(nodeEntry.size() - kChildSize);
}

PageNumber ChildOf(ByteView nodeEntry) {
  return LoadBig<std::uint32_t>(nodeEntry.last(kChildSize).data());
}

}  // namespace

/// The pages from the root to a leaf, each with the way taken from it.
class IndexTree::Path {
 public:
  /// Instead of an entry: the tail was taken.
  static constexpr std::size_t kTail = std::numeric_limits<std::size_t>::max();

  struct Step {
    PageNumber page = 0;
    /// Where the entry begins whose child comes next; in the leaf, where the entry that was sought stands or would.
    std::size_t at = kTail;
  };

  /// The leaf's place in the path; 0 when the root is a leaf.
  std::size_t LeafDepth() const { return size_ - 1; }
  PageNumber Leaf() const { return steps_[size_ - 1].page; }
  std::size_t PlaceInLeaf() const { return steps_[size_ - 1].at; }
  const Step& operator[](std::size_t depth) const { return steps_[depth]; }

  void Append(Step step) {
    if (size_ == kMaxDepth) DamagedTree(steps_[0].page, "has no end");
    steps_[size_++] = step;
  }
  /// The root's content has moved to the page `moved`, its tail.
  void RootMovedTo(PageNumber moved) {
    if (size_ == kMaxDepth) DamagedTree(steps_[0].page, "is too deep");
    std::move_backward(steps_.begin(), steps_.begin() + static_cast<std::ptrdiff_t>(size_),
                       steps_.begin() + static_cast<std::ptrdiff_t>(size_) + 1);
    ++size_;
    steps_[0] = {steps_[1].page, kTail};
    steps_[1].page = moved;
  }
  /// The place of a page in the path, which must be there.
  std::size_t DepthOf(PageNumber page) const {
    const auto end = steps_.begin() + static_cast<std::ptrdiff_t>(size_);
    const auto step = std::find_if(steps_.begin(), end, [&](const Step& one) { return one.page == page; });
    if (step == end) DamagedTree(steps_[0].page, "has entries out of order");
    return static_cast<std::size_t>(step - steps_.begin());
  }
  /// One of the nodes has no tail.
  bool LacksTail() const { return lacksTail_; }
  void NoteMissingTail() { lacksTail_ = true; }
  /// How many levels there are below that of the page at `depth`.
  std::uint8_t LevelAt(std::size_t depth) const { return static_cast<std::uint8_t>(LeafDepth() - depth); }
  /// True when the page at `depth` is its parent's tail. Needs depth > 0.
  bool IsTail(std::size_t depth) const { return steps_[depth - 1].at == kTail; }
  /// True when nothing of its level stands right of the page at `depth`.
  bool IsRightmost(std::size_t depth) const {
    return std::all_of(steps_.begin(), steps_.begin() + static_cast<std::ptrdiff_t>(depth),
                       [](const Step& step) { return step.at == kTail; });
  }

 private:
  std::array<Step, kMaxDepth> steps_;
  std::size_t size_ = 0;
  bool lacksTail_ = false;
};

/// What the split of a page means for its parent.
struct IndexTree::Split {
  PageNumber lower = 0;    ///< gets an entry with lastOfLower
  PageNumber upper = 0;    ///< takes the place of the page that was split
  EntryBytes lastOfLower;  ///< key and row address
};

/// The entries of a page together with one that the page could not take.
struct IndexTree::Overfull {
  EntryList entries;
  std::size_t added = 0;  ///< index of the one

  bool EndsWithAdded() const { return added + 1 == entries.Count(); }

  /// Adds an entry to a page; the result has the page's entries when it must be split for it.
  static std::optional<Overfull> Insert(IndexPage& page, std::size_t at, ByteView entry) {
    if (page.TryInsert(at, entry)) return std::nullopt;
    Overfull result{page.AllEntries(), page.IndexOf(at)};
    result.entries.Insert(result.added, entry);
    if (page.TryStore({result.entries, 0, result.entries.Count()})) return std::nullopt;
    return result;
  }
};

IndexTree::IndexTree(PageFile& file, FreePages& freePages, PageNumber tablePage, const IndexData& index)
    : file_(file), freePages_(freePages), tablePage_(tablePage), root_(index.root), map_(index.map) {}

IndexTree IndexTree::Create(PageFile& file, FreePages& freePages, PageNumber tablePage, const IndexData& index) {
  FormatLeaf(file.Write(index.root), tablePage);
  UsageMap(file, index.map).Add(index.root, freePages);
  return IndexTree(file, freePages, tablePage, index);
}

IndexTree::Path IndexTree::PathTo(ByteView entry) const {
  Path path;
  PageNumber page = root_;
  while (true) {
    const IndexPageView view = View(page);
    const std::size_t at = view.LowerBound(entry);
    if (view.IsLeaf()) {
      path.Append({page, at});
      return path;
    }
    const bool isBehind = at == view.Used();
    path.Append({page, isBehind ? Path::kTail : at});
    if (!view.HasTail()) path.NoteMissingTail();
    page = isBehind ? view.LastChild() : view.ChildAt(at);
  }
}

/// Readies the nodes of the path to `entry` for changes: each gets a tail.
void IndexTree::PrepareChange(Path& path, ByteView entry) {
  if (!path.LacksTail()) return;
  for (std::size_t depth = 0; depth < path.LeafDepth(); ++depth) GiveTail(path[depth].page);
  path = PathTo(entry);
}

/// Some writers leave nodes without a tail: makes the child of the last entry the tail, which changes nothing for
/// whoever searches.
void IndexTree::GiveTail(PageNumber number) {
  const IndexPageView view = View(number);
  if (view.HasTail() || view.IsEmpty()) return;
  IndexPage node = Edit(number);
  const std::size_t last = node.LastStart();
  node.SetTail(node.ChildAt(last));
  node.Remove(last);
}

PageNumber IndexTree::FirstLeaf() const {
  PageNumber page = root_;
  for (std::size_t depth = 0; depth < kMaxDepth; ++depth) {
    const IndexPageView view = View(page);
    if (view.IsLeaf()) return page;
    page = view.FirstChild();
  }
  DamagedTree(root_, "has no end");
}

/// Hands the entries from `at` of a leaf on to `visit`, following the leaf links, until that returns false.
template <typename Visitor>
void IndexTree::VisitEntries(PageNumber leaf, std::size_t at, Visitor visit) const {
  EntryBytes entry;
  for (PageNumber visited = 0; leaf != 0; ++visited) {
    if (visited == file_.PageCount()) DamagedTree(root_, "has leaves linked in a circle");
    const IndexPageView view = View(leaf);
    if (!view.IsLeaf()) DamagedTree(root_, "has a node among its leaves");
    for (const std::size_t used = view.Used(); at < used; at = view.EndOf(at)) {
      view.ReadEntry(at, entry);
      if (!visit(entry)) return;
    }
    leaf = view.Next();
    at = 0;
  }
}

std::vector<IndexTree::Entry> IndexTree::Entries() const {
  std::vector<Entry> entries;
  VisitEntries(FirstLeaf(), 0, [&](const EntryBytes& entry) {
    entries.push_back({Bytes(entry.Key().begin(), entry.Key().end()), entry.Row()});
    return true;
  });
  return entries;
}

/// Hands the rows with exactly this key on to `visit`, ascending, until that returns false.
template <typename Visitor>
void IndexTree::VisitKey(ByteView key, Visitor visit) const {
  if (key.size() > kLongestPageKey) return;
  const EntryBytes lowest(key, RowId{});
  const Path path = PathTo(lowest.View());
  VisitEntries(path.Leaf(), path.PlaceInLeaf(), [&](const EntryBytes& entry) {
    // Longer keys that begin with this one may stand among its entries.
    if (!entry.StartsWith(key)) return false;
    return entry.Key().size() != key.size() || visit(entry.Row());
  });
}

std::optional<RowId> IndexTree::Find(ByteView key, std::optional<RowId> except) const {
  std::optional<RowId> found;
  VisitKey(key, [&](RowId row) {
    if (row != except) found = row;
    return !found.has_value();
  });
  return found;
}

std::vector<RowId> IndexTree::FindAll(ByteView key, std::size_t most) const {
  std::vector<RowId> rows;
  VisitKey(key, [&](RowId row) {
    if (rows.size() < most) rows.push_back(row);
    return rows.size() < most;
  });
  return rows;
}

std::vector<IndexTree::Entry> IndexTree::FindBeginning(ByteView beginning) const {
  std::vector<Entry> entries;
  const Path path = PathTo(beginning);
  VisitEntries(path.Leaf(), path.PlaceInLeaf(), [&](const EntryBytes& entry) {
    const ByteView key = entry.Key();
    const bool beginsSo = key.size() >= beginning.size() && std::equal(beginning.begin(), beginning.end(), key.begin());
    if (beginsSo) entries.push_back({Bytes(key.begin(), key.end()), entry.Row()});
    return beginsSo;
  });
  return entries;
}

bool IndexTree::FindByRow(RowId row, EntryBytes& found) const {
  bool isFound = false;
  VisitEntries(FirstLeaf(), 0, [&](const EntryBytes& entry) {
    isFound = entry.Row() == row;
    if (isFound) found = entry;
    return !isFound;
  });
  return isFound;
}

void IndexTree::Insert(ByteView key, RowId row) {
  const EntryBytes entry = EntryToInsert(key, row);
  Path path = PathToChange(entry.View());
  InsertAt(path, entry.View());
}

bool IndexTree::InsertAndTell(ByteView key, RowId row) {
  const EntryBytes entry = EntryToInsert(key, row);
  Path path = PathToChange(entry.View());
  const std::optional<bool> hasKey = HasKeyBeside(path, key);
  const bool isNewKey = hasKey ? !*hasKey : !Find(key);
  InsertAt(path, entry.View());
  return isNewKey;
}

EntryBytes IndexTree::EntryToInsert(ByteView key, RowId row) {
  if (key.size() > kLongestKey) {
    throw UnsupportedError("an index key of more than " + std::to_string(kLongestKey) + " bytes");
  }
  return EntryBytes(key, row);
}

/// The path to an entry's place in a leaf, its nodes ready for changes.
IndexTree::Path IndexTree::PathToChange(ByteView entry) {
  Path path = PathTo(entry);
  PrepareChange(path, entry);
  return path;
}

/// Whether an entry beside the place that the path leads to, where one with this key is to go, has the same key;
/// nothing when the leaf alone does not tell.
std::optional<bool> IndexTree::HasKeyBeside(const Path& path, ByteView key) const {
  const IndexPageView leaf = View(path.Leaf());
  const std::size_t at = path.PlaceInLeaf();
  const bool isLast = at == leaf.Used();
  if (at == 0 || (isLast && !path.IsRightmost(path.LeafDepth()))) return std::nullopt;
  EntryBytes entry;
  for (const std::size_t beside : {leaf.StartBefore(at), at}) {
    if (beside == leaf.Used()) continue;
    leaf.ReadEntry(beside, entry);
    if (!entry.StartsWith(key)) continue;
    // A longer key that begins with this one: the entries of this one may lie behind it.
    if (entry.Key().size() != key.size()) return std::nullopt;
    return true;
  }
  return false;
}

/// Adds an entry where the path leads.
void IndexTree::InsertAt(Path& path, ByteView entry) {
  IndexPage leaf = Edit(path.Leaf());
  const std::size_t at = path.PlaceInLeaf();
  if (leaf.Holds(at, entry)) DamagedTree(root_, "has an entry for a row that is new");
  const std::optional<Overfull> overfull = Overfull::Insert(leaf, at, entry);
  if (!overfull) return;
  const Split split = SplitLeaf(path, *overfull);
  PassUp(path, path.LeafDepth(), split);
}

/// Appending leaves the old leaf full and puts the new entry on a leaf of its own, so that ascending keys fill their
/// pages; else the entries are halved.
IndexTree::Split IndexTree::SplitLeaf(Path& path, const Overfull& leaf) {
  if (path.LeafDepth() == 0) PushRootDown(path);
  const EntryList& entries = leaf.entries;
  const bool appends = leaf.EndsWithAdded() && path.IsRightmost(path.LeafDepth());
  const std::size_t cut = appends ? entries.Count() - 1 : MiddleCut(entries);
  Split split = AddSibling(path, path.LeafDepth());
  if (!appends) Edit(split.lower).StoreCompact({entries, 0, cut});
  Edit(split.upper).StoreCompact({entries, cut, entries.Count()});
  split.lastOfLower.Append(entries[cut - 1]);
  return split;
}

/// The middle entry goes up; when appending, the last but one, so that the new node has an entry. Needs depth > 0.
IndexTree::Split IndexTree::SplitNode(Path& path, std::size_t depth, const Overfull& node) {
  const EntryList& entries = node.entries;
  CheckCanBeSpread(entries);
  const bool appends = node.EndsWithAdded() && path.IsRightmost(depth);
  const std::size_t middle = appends ? entries.Count() - 2 : MiddleEntry(entries);
  const PageNumber tail = View(path[depth].page).Tail();
  Split split = AddSibling(path, depth);
  Edit(split.upper).SetTail(tail);
  StoreNodePair(split.lower, split.upper, entries, middle);
  split.lastOfLower.Append(KeyAndRowOf(entries[middle]));
  return split;
}

/// Spreads entries over two neighbours. The one named goes to neither: its child becomes the tail of the lower node.
void IndexTree::StoreNodePair(PageNumber lower, PageNumber upper, const EntryList& entries, std::size_t middle) {
  IndexPage lowerNode = Edit(lower);
  lowerNode.StoreCompact({entries, 0, middle});
  lowerNode.SetTail(ChildOf(entries[middle]));
  IndexPage upperNode = Edit(upper);
  upperNode.StoreCompact({entries, middle + 1, entries.Count()});
  CutNodeLink(lowerNode.Tail(), upperNode.FirstChild());
}

/// A new page beside the one at `depth`, on the side that changes the parent least: the upper part of a tail, because
/// the tail has no entry that would have to change; the lower part of any other page, because its entry stays right.
IndexTree::Split IndexTree::AddSibling(const Path& path, std::size_t depth) {
  const PageNumber page = path[depth].page;
  const PageNumber added = NewPage(path.LevelAt(depth));
  if (path.IsTail(depth)) {
    LinkBetween(page, added, NextOf(page));
    return {page, added, {}};
  }
  LinkBetween(PreviousOf(page), added, page);
  return {added, page, {}};
}

/// Tells the parent of the page at `depth` of its split, and that page's parent when it must be split in turn.
void IndexTree::PassUp(Path& path, std::size_t depth, Split split) {
  while (true) {
    const bool wasTail = path.IsTail(depth);
    --depth;
    IndexPage node = Edit(path[depth].page);
    if (wasTail) node.SetTail(split.upper);
    EntryBytes entry = split.lastOfLower;
    entry.AppendChild(split.lower);
    const std::size_t at = wasTail ? node.Used() : path[depth].at;
    const std::optional<Overfull> overfull = Overfull::Insert(node, at, entry.View());
    if (!overfull) return;
    if (depth == 0) {
      PushRootDown(path);
      depth = 1;
    }
    split = SplitNode(path, depth, *overfull);
  }
}

/// Gives the tree one more level: the root keeps its number, its content moves to a new page, its tail.
void IndexTree::PushRootDown(Path& path) {
  const std::uint8_t level = path.LevelAt(0);
  const PageNumber moved = NewPage(level);
  path.RootMovedTo(moved);
  file_.Write(moved) = file_.Read(root_);
  IndexPage::Format(file_.Write(root_), tablePage_, static_cast<std::uint8_t>(level + 1));
  Edit(root_).SetTail(moved);
}

bool IndexTree::Remove(ByteView key, RowId row) {
  if (key.size() <= kLongestPageKey) {
    const EntryBytes entry(key, row);
    Path path = PathTo(entry.View());
    if (View(path.Leaf()).Holds(path.PlaceInLeaf(), entry.View())) {
      PrepareChange(path, entry.View());
      RemoveAt(path);
      return true;
    }
  }
  EntryBytes entry;
  if (!FindByRow(row, entry)) return false;
  Path path = PathTo(entry.View());
  PrepareChange(path, entry.View());
  if (!View(path.Leaf()).Holds(path.PlaceInLeaf(), entry.View())) DamagedTree(root_, "has entries out of order");
  RemoveAt(path);
  return true;
}

/// Removes the entry that the path leads to.
void IndexTree::RemoveAt(Path& path) {
  IndexPage leaf = Edit(path.Leaf());
  const std::size_t at = path.PlaceInLeaf();
  const bool wasLast = leaf.EndOf(at) == leaf.Used();
  leaf.Remove(at);
  if (leaf.IsEmpty()) return RemoveEmptyPages(path);
  if (!wasLast) return;
  EntryBytes last;
  leaf.ReadEntry(leaf.LastStart(), last);
  UpdateAncestorEntry(path, path.LeafDepth(), last.View());
}

/// The leaf of the path is empty: takes it out of the tree, and every node that has nothing left without it.
void IndexTree::RemoveEmptyPages(Path& path) {
  for (std::size_t depth = path.LeafDepth(); depth > 0; --depth) {
    Unlink(path[depth].page);
    DropPage(path[depth].page);
    const PageNumber parent = path[depth - 1].page;
    if (DetachChild(path, depth - 1)) return MendNode(parent);
  }
  FormatLeaf(file_.Write(root_), tablePage_);
}

/// Takes the child of the path out of the node at `depth`. Returns false when the node has no other child.
bool IndexTree::DetachChild(Path& path, std::size_t depth) {
  IndexPage node = Edit(path[depth].page);
  if (!path.IsTail(depth + 1)) {
    node.Remove(path[depth].at);
    return true;
  }
  if (node.IsEmpty()) return false;
  const std::size_t lastStart = node.LastStart();
  EntryBytes last;
  node.ReadEntry(lastStart, last);
  node.SetTail(node.ChildAt(lastStart));
  node.Remove(lastStart);
  UpdateAncestorEntry(path, depth, last.KeyAndRow());
  return true;
}

/// `last` (key and row address) is now the last entry below the page at `depth`: writes it into the entry that stands
/// for it, which is in the parent or, when the path goes through tails, further up or nowhere.
void IndexTree::UpdateAncestorEntry(Path& path, std::size_t depth, ByteView last) {
  while (depth > 0 && path.IsTail(depth)) --depth;
  if (depth > 0) ReplaceEntry(path, depth - 1, path[depth - 1].at, last);
}

/// Gives the entry at `at` of the node at `depth` another key and row address, which may be too long for the page.
void IndexTree::ReplaceEntry(Path& path, std::size_t depth, std::size_t at, ByteView keyAndRow) {
  IndexPage node = Edit(path[depth].page);
  EntryBytes entry;
  entry.Append(keyAndRow);
  entry.AppendChild(node.ChildAt(at));
  node.Remove(at);
  const std::optional<Overfull> overfull = Overfull::Insert(node, at, entry.View());
  if (!overfull) return;
  if (depth == 0) {
    PushRootDown(path);
    depth = 1;
  }
  const Split split = SplitNode(path, depth, *overfull);
  PassUp(path, depth, split);
}

/// After a removal: no node is left with its tail only. Jet itself does leave such nodes, but not every reader takes
/// them for sound.
void IndexTree::MendNode(PageNumber node) {
  while (node != root_ && View(node).IsEmpty()) {
    const std::optional<EntryBytes> last = LastBelow(node);
    if (!last) return;
    Path path = PathTo(last->View());
    const std::size_t depth = path.DepthOf(node);
    const PageNumber parent = path[depth - 1].page;
    if (!JoinWithNeighbour(path, depth)) return;
    node = parent;
  }
  CollapseRoot();
}

/// The last entry below a node; nothing when its last leaf is empty, as other writers leave some.
std::optional<EntryBytes> IndexTree::LastBelow(PageNumber page) const {
  for (std::size_t depth = 0; depth < kMaxDepth; ++depth) {
    const IndexPageView view = View(page);
    if (!view.IsLeaf()) {
      page = view.LastChild();
      continue;
    }
    if (view.IsEmpty()) return std::nullopt;
    EntryBytes last;
    view.ReadEntry(view.LastStart(), last);
    return last;
  }
  DamagedTree(root_, "has no end");
}

/// Puts the children of the node at `depth` and of a neighbour under one of the two, or spreads them evenly when they
/// are too many. Returns true when the parent has lost an entry by that. Needs depth > 0.
bool IndexTree::JoinWithNeighbour(Path& path, std::size_t depth) {
  IndexPage parent = Edit(path[depth - 1].page);
  if (parent.IsEmpty()) return false;  // other engines leave such parents; there is no neighbour then
  const std::size_t at = path.IsTail(depth) ? parent.LastStart() : path[depth - 1].at;
  const std::size_t next = parent.EndOf(at);
  const PageNumber lower = parent.ChildAt(at);
  const PageNumber upper = next == parent.Used() ? parent.Tail() : parent.ChildAt(next);
  if (lower == upper || View(lower).IsLeaf() || View(upper).IsLeaf()) DamagedTree(root_, "has a wrong level");
  GiveTail(lower);
  GiveTail(upper);

  const EntryList entries = JoinedEntries(parent, at, lower, upper);
  const EntryRange all = {entries, 0, entries.Count()};
  const bool fitsOne = all.StoredSize(0) <= kEntryAreaSize;
  if (!fitsOne) CheckCanBeSpread(entries);
  const std::size_t middle = fitsOne ? 0 : MiddleEntry(entries);
  // Nodes that share long prefixes may hold more than two others can: then the empty one stays.
  if (!fitsOne && !CanBeSpread(entries, middle)) return false;
  JoinNodeLink(View(lower).Tail(), View(upper).FirstChild());
  if (fitsOne) {
    Edit(upper).StoreCompact(all);
    parent.Remove(at);
    Unlink(lower);
    DropPage(lower);
    return true;
  }
  StoreNodePair(lower, upper, entries, middle);
  ReplaceEntry(path, depth - 1, at, KeyAndRowOf(entries[middle]));
  return false;
}

/// The entries of two neighbours, and between them one for the lower one's tail: its last entry is the one that the
/// parent has for the whole of the lower node.
EntryList IndexTree::JoinedEntries(const IndexPageView& parent, std::size_t at, PageNumber lower,
                                   PageNumber upper) const {
  EntryBytes ofLower;
  parent.ReadEntry(at, ofLower);
  EntryBytes between;
  between.Append(ofLower.KeyAndRow());
  between.AppendChild(View(lower).Tail());
  EntryList entries = View(lower).AllEntries();
  entries.Append(between.View());
  const EntryList rest = View(upper).AllEntries();
  for (std::size_t i = 0; i < rest.Count(); ++i) entries.Append(rest[i]);
  return entries;
}

/// A root that has its tail only takes the tail's content.
void IndexTree::CollapseRoot() {
  while (!View(root_).IsLeaf() && View(root_).IsEmpty()) {
    const PageNumber tail = View(root_).Tail();
    if (tail == root_) DamagedTree(root_, "has a root below itself");
    file_.Write(root_) = file_.Read(tail);
    DropPage(tail);
  }
}

PageNumber IndexTree::NewPage(std::uint8_t level) {
  const PageNumber page = freePages_.Allocate();
  IndexPage::Format(file_.Write(page), tablePage_, level);
  UsageMap(file_, map_).Add(page, freePages_);
  return page;
}

void IndexTree::DropPage(PageNumber page) {
  UsageMap map(file_, map_);
  if (!map.Contains(page)) DamagedTree(root_, "has page " + std::to_string(page) + ", which its map does not list");
  map.Remove(page);
  freePages_.Free(page);
}

/// Puts `added` between two neighbours, either of which may be 0.
void IndexTree::LinkBetween(PageNumber left, PageNumber added, PageNumber right) {
  IndexPage page = Edit(added);
  page.SetPrevious(left);
  page.SetNext(right);
  if (left != 0) Edit(left).SetNext(added);
  if (right != 0) Edit(right).SetPrevious(added);
}

void IndexTree::Unlink(PageNumber page) {
  const PageNumber left = PreviousOf(page);
  const PageNumber right = NextOf(page);
  if (left != 0) Edit(left).SetNext(right);
  if (right != 0) Edit(right).SetPrevious(left);
}

/// The neighbours of a page. Those of a leaf must name it back. Nobody follows the links of nodes, and those of other
/// writers may lead anywhere: one that does not lead to a node which names this one back is none.
PageNumber IndexTree::PreviousOf(PageNumber page) const {
  const PageNumber left = View(page).Previous();
  if (left == 0 || (MayBeNeighbour(page, left) && View(left).Next() == page)) return left;
  if (View(page).IsLeaf()) DamagedTree(root_, "has neighbours that do not agree");
  return 0;
}

PageNumber IndexTree::NextOf(PageNumber page) const {
  const PageNumber right = View(page).Next();
  if (right == 0 || (MayBeNeighbour(page, right) && View(right).Previous() == page)) return right;
  if (View(page).IsLeaf()) DamagedTree(root_, "has neighbours that do not agree");
  return 0;
}

/// Whether the other one is a page of the same kind and table.
bool IndexTree::MayBeNeighbour(PageNumber page, PageNumber other) const {
  if (other >= file_.PageCount() || KindOf(file_.Read(other)) != KindOf(file_.Read(page))) return false;
  return LoadLittle<std::uint32_t>(file_.Read(other).data() + kIndexOwnerOffset) == tablePage_;
}

/// Two children have come under different parents: nodes are linked under one parent only, leaves throughout.
void IndexTree::CutNodeLink(PageNumber left, PageNumber right) {
  if (View(left).IsLeaf()) return;
  if (View(left).Next() == right) Edit(left).SetNext(0);
  if (View(right).Previous() == left) Edit(right).SetPrevious(0);
}

/// Two children have come side by side under one parent.
void IndexTree::JoinNodeLink(PageNumber left, PageNumber right) {
  if (View(left).IsLeaf() || View(left).Next() != 0 || View(right).Previous() != 0) return;
  Edit(left).SetNext(right);
  Edit(right).SetPrevious(left);
}

}  // namespace mv::jet
