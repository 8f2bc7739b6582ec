#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/ByteOrder.h"
#include "base/Utf.h"
#include "jet/Database.h"
#include "jet/definition/DefinitionLayout.h"
#include "jet/index/IndexKey.h"
#include "jet/index/IndexPage.h"
#include "jet/index/IndexTree.h"
#include "jet/index/TextKeys.h"
#include "jet/pages/DataPage.h"
#include "jet/pages/UsageMap.h"
#include "jet/rows/ColumnValue.h"
#include "jet/rows/LongValues.h"
#include "jet/rows/Row.h"
#include "jet/rows/RowStore.h"

namespace mv::testing {

/// Rewrites the long values of tables in the ways of other writers, which keep them in other forms than ours.
class LongValueHabit {
 public:
  virtual ~LongValueHabit() = default;

  void Apply(jet::PageFile& file, const jet::Table& table) {
    const jet::TableDefinition& definition = table.Definition();
    const jet::RowLayout layout(definition);
    jet::RowStore rows(file, definition.page, definition.ownedPages, definition.freeSpacePages);
    for (auto row = rows.First(); row; row = rows.Next(*row)) {
      const ByteView stored = rows.Read(*row);
      const Bytes old(stored.begin(), stored.end());
      const jet::RowLayout::Row parsed = layout.Parse(old);
      std::vector<std::optional<ByteView>> cells;
      std::vector<Bytes> made(definition.columns.size());
      for (std::size_t i = 0; i < made.size(); ++i) {
        cells.push_back(layout.Cell(parsed, i));
        const jet::Column& column = definition.columns[i];
        if (!column.IsLongValue() || !cells[i] || cells[i]->empty() || column.longValuePages.IsNone()) continue;
        jet::LongValues values(file, column);
        const Bytes bytes = BytesOf(values.Load(*cells[i]));
        if (bytes.size() <= kShort) continue;
        values.Remove(*cells[i]);
        made[i] = Store(file, column, bytes);
        cells[i] = made[i];
      }
      Bytes out;
      layout.Write(cells, layout.FixedAreaLike(parsed), out);
      if (out.size() <= jet::kMaxRowSize) rows.Replace(*row, out);
    }
  }

 protected:
  static constexpr std::size_t kShort = 64;  ///< longest value that every writer keeps in the row

  static Bytes Descriptor(jet::LongValues::Form form, std::size_t length, jet::RowId row) {
    Bytes descriptor(12);
    StoreLittle(descriptor.data(), static_cast<std::uint32_t>(length) | static_cast<std::uint32_t>(form) << 30);
    StoreLittle(descriptor.data() + 4, row.Word());
    return descriptor;
  }

  /// Puts a value of more than kShort bytes somewhere and returns its bytes in the row.
  virtual Bytes Store(jet::PageFile& file, const jet::Column& column, const Bytes& value) = 0;

 private:
  static Bytes BytesOf(const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
      return jet::StoredText(Utf16FromUtf8(*text), jet::TextForm::Plain);
    }
    return std::get<Bytes>(value);
  }
};

/// Chains without stamps, their parts of any length and beside each other on pages that are listed as having room.
class SharedChains : public LongValueHabit {
 public:
  explicit SharedChains(std::uint32_t seed) : random_(seed) {}

 protected:
  Bytes Store(jet::PageFile& file, const jet::Column& column, const Bytes& value) override {
    if (column.longValueFreeSpace.IsNone() || value.size() < 200) {
      return Descriptor(jet::LongValues::Form::OneRow, value.size(), AddRow(file, column, value));
    }
    jet::RowId next;
    for (std::size_t end = value.size(); end > 0;) {
      const std::size_t size = std::min<std::size_t>(end, 1 + random_() % kLongestPart);
      Bytes part(4);
      StoreLittle(part.data(), next.Word());
      part.insert(part.end(), value.begin() + static_cast<std::ptrdiff_t>(end - size),
                  value.begin() + static_cast<std::ptrdiff_t>(end));
      next = AddRow(file, column, part);
      end -= size;
    }
    return Descriptor(jet::LongValues::Form::Chain, value.size(), next);
  }

 private:
  static constexpr std::size_t kLongestPart = 1500;

  jet::RowId AddRow(jet::PageFile& file, const jet::Column& column, const Bytes& row) {
    jet::UsageMap owned(file, column.longValuePages);
    jet::UsageMap listed(file, column.longValueFreeSpace);
    jet::FreePages freePages(file);
    std::optional<jet::PageNumber> found;
    for (const jet::PageNumber page : owned.Pages()) {
      if (jet::DataPageView(file, page).HasRoomFor(row.size())) found = page;
    }
    if (!found) {
      found = freePages.Allocate();
      jet::DataPage::Format(file.Write(*found), jet::kOwnerLongValues);
      owned.Add(*found, freePages);
      if (!column.longValueFreeSpace.IsNone()) listed.Add(*found, freePages);
    }
    return {*found, jet::DataPage(file, *found).Append(row, jet::SlotState::Live)};
  }

  std::mt19937 random_;
};

/// Values of up to `most` bytes in the row, where other writers put them as long as there is room.
class LongInline : public LongValueHabit {
 public:
  explicit LongInline(std::size_t most) : most_(most) {}

 protected:
  Bytes Store(jet::PageFile& file, const jet::Column& column, const Bytes& value) override {
    if (value.size() > most_) {
      jet::LongValues values(file, column);
      jet::LongValues::Plan plan;
      plan.form = value.size() > 3816 ? jet::LongValues::Form::Chain : jet::LongValues::Form::OneRow;
      plan.stored = value;
      return values.Store(plan);
    }
    Bytes extent = Descriptor(jet::LongValues::Form::Inline, value.size(), {});
    extent.insert(extent.end(), value.begin(), value.end());
    return extent;
  }

 private:
  std::size_t most_;
};

/// How the pages of an index may look.
struct TreeShape {
  enum class Prefix : std::uint8_t { None, Short, Longest };
  enum class NodeLinks : std::uint8_t { None, SameParent, WholeLevel, Nowhere };

  std::size_t mostEntries = 12;  ///< of a leaf; each gets a number from 1 up
  std::size_t mostChildren = 5;  ///< of a node
  std::size_t extraLevels = 0;   ///< nodes with one child that stand above the rest
  Prefix leafPrefix = Prefix::None;
  Prefix nodePrefix = Prefix::None;
  bool tails = true;         ///< else every child of a node has an entry
  bool raised = false;       ///< entries of nodes stand above what is below them, where they can
  bool emptyLeaves = false;  ///< some leaves have no entry
  NodeLinks nodeLinks = NodeLinks::SameParent;
  std::optional<std::uint8_t> nodeLevel = std::nullopt;  ///< the level byte of all nodes
};

/// Builds an index anew in another shape, from its entries or from other ones.
class TreeShaper {
 public:
  using Entries = std::vector<jet::IndexTree::Entry>;

  TreeShaper(jet::PageFile& file, const jet::TableDefinition& table, const jet::IndexData& index, std::uint32_t seed)
      : file_(file), freePages_(file), table_(table.page), index_(index), random_(seed) {}

  void Reshape(const TreeShape& shape, const std::function<void(Entries&)>& change = nullptr) {
    shape_ = shape;
    Entries entries = jet::IndexTree(file_, freePages_, table_, index_).Entries();
    if (change) change(entries);
    if (entries.empty()) shape_.extraLevels = 0;
    FreeOldPages();
    std::vector<Bytes> all;
    for (const auto& [key, row] : entries) {
      const jet::EntryBytes entry(key, row);
      all.emplace_back(entry.View().begin(), entry.View().end());
    }
    std::sort(all.begin(), all.end());
    std::vector<Child> level = StoreLeaves(all);
    std::size_t extra = shape_.extraLevels;
    for (std::uint8_t number = 1; level.front().page != index_.root; ++number) {
      if (level.size() == 1 && extra > 0) --extra;
      level = StoreNodes(level, number, level.size() <= shape_.mostChildren && extra == 0);
    }
  }

 private:
  struct Child {
    jet::PageNumber page = 0;
    Bytes last;   ///< key and row address for the parent's entry
    Bytes bound;  ///< what follows begins here; empty for the last child
  };
  using Groups = std::vector<std::vector<Bytes>>;

  static constexpr std::size_t kKeptOfNodes = jet::kChildSize + 1;  ///< bytes of each entry that no prefix has

  void FreeOldPages() {
    jet::UsageMap map(file_, index_.map);
    for (const jet::PageNumber page : map.Pages()) {
      if (page == index_.root) continue;
      map.Remove(page);
      freePages_.Free(page);
    }
  }

  jet::PageNumber NewPage() {
    const jet::PageNumber page = freePages_.Allocate();
    jet::UsageMap(file_, index_.map).Add(page, freePages_);
    return page;
  }

  Groups LeafGroups(const std::vector<Bytes>& all) {
    Groups groups;
    for (std::size_t at = 0; at < all.size();) {
      const std::size_t most = 1 + random_() % shape_.mostEntries;
      std::size_t bytes = 0;
      std::vector<Bytes> group;
      for (; at < all.size() && group.size() < most && bytes + all[at].size() < 3000; ++at) {
        bytes += all[at].size();
        group.push_back(all[at]);
      }
      groups.push_back(std::move(group));
      if (shape_.emptyLeaves && at < all.size() && random_() % 4 == 0 && Above(groups.back().back(), all[at])) {
        groups.emplace_back();
      }
    }
    if (groups.empty()) groups.emplace_back();
    return groups;
  }

  /// An entry between two others, nothing when they have no room for one.
  static std::optional<Bytes> Above(const Bytes& entry, const Bytes& bound) {
    Bytes above = entry;
    if (above.back() == 0xFF) return std::nullopt;
    ++above.back();
    if (!bound.empty() && above >= bound) return std::nullopt;
    return above;
  }

  std::vector<Child> StoreLeaves(const std::vector<Bytes>& all) {
    const Groups groups = LeafGroups(all);
    const bool isRoot = groups.size() == 1 && shape_.extraLevels == 0;
    std::vector<Child> leaves;
    for (const auto& group : groups) {
      leaves.push_back({isRoot ? index_.root : NewPage(), group.empty() ? Bytes() : group.back(), {}});
    }
    for (std::size_t i = 0; i < leaves.size(); ++i) {
      // An empty leaf stands behind the entries of the one before it.
      if (groups[i].empty() && i > 0) leaves[i].last = *Above(leaves[i - 1].last, {});
      for (std::size_t next = i + 1; next < groups.size() && leaves[i].bound.empty(); ++next) {
        if (!groups[next].empty())
          leaves[i].bound = groups[next].front();
        else
          break;
      }
      if (shape_.raised && !groups[i].empty() && !leaves[i].bound.empty()) {
        leaves[i].last = Above(leaves[i].last, leaves[i].bound).value_or(leaves[i].last);
      }
      jet::Page& page = Write(leaves[i].page, jet::PageKind::IndexLeaf, groups[i], shape_.leafPrefix, 1);
      SetWord(page, jet::kIndexPreviousOffset, i == 0 ? 0 : leaves[i - 1].page);
      SetWord(page, jet::kIndexNextOffset, i + 1 == leaves.size() ? 0 : leaves[i + 1].page);
    }
    return leaves;
  }

  std::vector<Child> StoreNodes(const std::vector<Child>& children, std::uint8_t level, bool mayBeRoot) {
    const bool isRoot = mayBeRoot && Fits(NodeEntries(children, 0, children.size()));
    std::vector<Child> nodes;
    for (std::size_t at = 0; at < children.size();) {
      std::size_t count = std::min(children.size() - at, 1 + random_() % shape_.mostChildren);
      if (isRoot) count = children.size();
      while (!Fits(NodeEntries(children, at, count))) --count;
      const Child& last = children[at + count - 1];
      nodes.push_back({isRoot ? index_.root : NewPage(), last.last, last.bound});
      const std::vector<Bytes> entries = NodeEntries(children, at, count);
      jet::Page& page = Write(nodes.back().page, jet::PageKind::IndexNode, entries, shape_.nodePrefix, kKeptOfNodes);
      page[jet::kIndexLevelOffset] = shape_.nodeLevel.value_or(level);
      if (shape_.tails) SetWord(page, jet::kIndexTailOffset, last.page);
      if (level > 1) LinkChildren(children, at, count);
      at += count;
    }
    return nodes;
  }

  std::vector<Bytes> NodeEntries(const std::vector<Child>& children, std::size_t at, std::size_t count) const {
    std::vector<Bytes> entries;
    for (std::size_t i = at; i < at + count - (shape_.tails ? 1 : 0); ++i) {
      Bytes entry = children[i].last;
      entry.resize(entry.size() + jet::kChildSize);
      StoreBig(entry.data() + entry.size() - jet::kChildSize, static_cast<std::uint32_t>(children[i].page));
      entries.push_back(std::move(entry));
    }
    return entries;
  }

  bool Fits(const std::vector<Bytes>& entries) const {
    std::size_t size = 0;
    for (const Bytes& entry : entries) size += entry.size();
    if (entries.size() < 2) return true;
    return size - PrefixOf(entries, shape_.nodePrefix, kKeptOfNodes) * (entries.size() - 1) <= jet::kEntryAreaSize;
  }

  /// Nodes that became children of one parent.
  void LinkChildren(const std::vector<Child>& level, std::size_t first, std::size_t count) {
    using Links = TreeShape::NodeLinks;
    for (std::size_t i = first; i < first + count; ++i) {
      jet::Page& page = file_.Write(level[i].page);
      const bool isWhole = shape_.nodeLinks == Links::WholeLevel;
      const bool hasPrevious = i > (isWhole ? 0 : first);
      const bool hasNext = i + 1 < (isWhole ? level.size() : first + count);
      if (shape_.nodeLinks == Links::Nowhere) {
        SetWord(page, jet::kIndexPreviousOffset, level.back().page);
        SetWord(page, jet::kIndexNextOffset, level.front().page);
      } else if (shape_.nodeLinks != Links::None) {
        SetWord(page, jet::kIndexPreviousOffset, hasPrevious ? level[i - 1].page : 0);
        SetWord(page, jet::kIndexNextOffset, hasNext ? level[i + 1].page : 0);
      }
    }
  }

  static std::size_t Shared(const std::vector<Bytes>& entries, std::size_t kept) {
    if (entries.size() < 2) return 0;
    std::size_t shared = entries[0].size() - (kept - 1);
    for (const Bytes& entry : entries) {
      const auto end = std::mismatch(entries[0].begin(), entries[0].end(), entry.begin(), entry.end()).first;
      shared = std::min({shared, static_cast<std::size_t>(end - entries[0].begin()), entry.size() - kept});
    }
    return shared;
  }

  static std::size_t PrefixOf(const std::vector<Bytes>& entries, TreeShape::Prefix prefix, std::size_t kept) {
    if (prefix == TreeShape::Prefix::None) return 0;
    return prefix == TreeShape::Prefix::Short ? Shared(entries, kept) / 2 : Shared(entries, kept);
  }

  jet::Page& Write(jet::PageNumber number, jet::PageKind kind, const std::vector<Bytes>& entries,
                   TreeShape::Prefix prefixes, std::size_t kept) {
    const std::size_t prefix = PrefixOf(entries, prefixes, kept);
    jet::Page& page = file_.Write(number);
    page.fill(0);
    jet::SetKind(page, kind);
    SetWord(page, jet::kIndexOwnerOffset, table_);
    StoreLittle(page.data() + jet::kIndexPrefixOffset, static_cast<std::uint16_t>(prefix));
    std::size_t used = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      const std::size_t from = i == 0 ? 0 : prefix;
      std::copy(entries[i].begin() + static_cast<std::ptrdiff_t>(from), entries[i].end(),
                page.begin() + static_cast<std::ptrdiff_t>(jet::kEntriesOffset + used));
      used += entries[i].size() - from;
      std::uint8_t& mark = page[jet::kEndMarksOffset + used / 8];
      mark = static_cast<std::uint8_t>(mark | 1U << used % 8);
    }
    StoreLittle(page.data() + jet::kIndexFreeSpaceOffset, static_cast<std::uint16_t>(jet::kEntryAreaSize - used));
    return page;
  }

  static void SetWord(jet::Page& page, std::size_t at, std::uint32_t value) { StoreLittle(page.data() + at, value); }

  jet::PageFile& file_;
  jet::FreePages freePages_;
  jet::PageNumber table_;
  jet::IndexData index_;
  std::mt19937 random_;
  TreeShape shape_;
};

/// Gives all indexes of a table another shape.
inline void ReshapeIndexes(jet::PageFile& file, const jet::Table& table, const TreeShape& shape, std::uint32_t seed) {
  for (const jet::IndexData& index : table.Definition().indexData) {
    TreeShaper(file, table.Definition(), index, seed).Reshape(shape);
  }
}

/// Rewrites the definition of a table, block by block.
inline void ChangeDefinition(jet::PageFile& file, const jet::Table& table, const std::function<void(Bytes&)>& change) {
  Bytes bytes = jet::ReadDefinitionBytes(file, table.Definition());
  change(bytes);
  jet::WriteDefinition(file, bytes, table.Definition().pages);
}

/// Where the blocks of a definition begin.
struct DefinitionBlocks {
  std::size_t columns = 0;
  std::size_t trees = 0;
  std::size_t indexes = 0;

  DefinitionBlocks(const Bytes& bytes, const jet::TableDefinition& table) {
    columns = jet::layout::kHeadSize + jet::layout::kStatisticsSize * table.indexData.size();
    trees = columns + jet::layout::kColumnSize * table.columns.size();
    for (std::size_t i = 0; i < table.columns.size(); ++i) trees += 2 + LoadLittle<std::uint16_t>(&bytes[trees]);
    indexes = trees + jet::layout::kIndexDataSize * table.indexData.size();
  }
};

/// Lets the indexes without relation have a relation's actions, and another side like one of a relation.
inline void NameRelationsInPlainIndexes(jet::PageFile& file, const jet::Table& table) {
  namespace logical = jet::layout::logical;
  const jet::TableDefinition& definition = table.Definition();
  ChangeDefinition(file, table, [&](Bytes& bytes) {
    std::size_t at = DefinitionBlocks(bytes, definition).indexes;
    for (const jet::LogicalIndex& index : definition.indexes) {
      if (index.kind != jet::LogicalIndex::Kind::Relation) {
        bytes[at + logical::kRelationAt] = jet::LogicalIndex::kForeignSide;
        StoreLittle<std::uint32_t>(&bytes[at + logical::kOtherIndexAt], 0);
        StoreLittle<std::uint32_t>(&bytes[at + logical::kOtherTableAt], definition.page);
        bytes[at + logical::kOnUpdateAt] = 0;
        bytes[at + logical::kOnDeleteAt] = 1;
      }
      at += jet::layout::kLogicalSize;
    }
  });
}

/// Leaves the marks of all blocks of a definition 0.
inline void ClearTags(jet::PageFile& file, const jet::Table& table) {
  const jet::TableDefinition& definition = table.Definition();
  ChangeDefinition(file, table, [&](Bytes& bytes) {
    const auto clear = [&](std::size_t at) { StoreLittle<std::uint32_t>(&bytes[at], 0); };
    const DefinitionBlocks blocks(bytes, definition);
    clear(jet::layout::kTagAt);
    for (std::size_t i = 0; i < definition.columns.size(); ++i) {
      clear(blocks.columns + jet::layout::kColumnSize * i + jet::layout::column::kTagAt);
    }
    for (std::size_t i = 0; i < definition.indexData.size(); ++i) {
      clear(blocks.trees + jet::layout::kIndexDataSize * i + jet::layout::index::kTagAt);
    }
    for (std::size_t i = 0; i < definition.indexes.size(); ++i) {
      clear(blocks.indexes + jet::layout::kLogicalSize * i + jet::layout::logical::kTagAt);
    }
  });
}

/// Where a writer counts a character that stands for two letters as one place.
enum class LettersAsOne : std::uint8_t { InAccents, Everywhere };

/// The key of an ascending text by such a writer.
inline Bytes KeyWithLettersAsOne(const std::string& text, LettersAsOne where) {
  std::u16string units = Utf16FromUtf8(text);
  const auto keyOf = [&] {
    Bytes key;
    jet::AppendTextKey(key, units);
    return key;
  };
  const auto endOfWeights = [](const Bytes& key) { return std::find(key.begin(), key.end(), 0x01) + 1; };
  // Accents end where the late part begins with two 01, or with the key.
  const auto endOfAccents = [&](const Bytes& key) {
    return std::find_if(endOfWeights(key), key.end(), [](std::uint8_t byte) { return byte <= 0x01; });
  };
  const Bytes usual = keyOf();
  for (char16_t& unit : units) {
    if (unit == u'\u00DF') unit = u's';
    if (unit == u'\u00C6' || unit == u'\u00E6') unit = u'a';
  }
  const Bytes counted = keyOf();
  Bytes key(usual.begin(), endOfWeights(usual));
  key.insert(key.end(), endOfWeights(counted), endOfAccents(counted));
  const Bytes& late = where == LettersAsOne::Everywhere ? counted : usual;
  key.insert(key.end(), endOfAccents(late), late.end());
  return key;
}

/// Gives each entry the key of such a writer. Texts ascend in the indexes. Returns how many keys were changed.
inline std::size_t CountLettersAsOne(jet::PageFile& file, const jet::Table& table, LettersAsOne where) {
  std::size_t changed = 0;
  const jet::TableDefinition& definition = table.Definition();
  for (const jet::IndexData& index : definition.indexData) {
    TreeShaper(file, definition, index, 1).Reshape({}, [&](TreeShaper::Entries& entries) {
      for (auto& [bytes, row] : entries) {
        Bytes key;
        for (const std::size_t position : definition.PositionsOf(index)) {
          const Value value = table.ReadValue(row, position);
          const bool isText = definition.columns[position].type == jet::ColumnType::Text && !IsNull(value);
          if (!isText) jet::AppendKey(key, definition.columns[position], value, true);
          if (!isText) continue;
          const Bytes text = KeyWithLettersAsOne(std::get<std::string>(value), where);
          key.push_back(0x7F);
          key.insert(key.end(), text.begin(), text.end());
        }
        if (key != bytes) ++changed;
        bytes = key;
      }
    });
  }
  return changed;
}

}  // namespace mv::testing
