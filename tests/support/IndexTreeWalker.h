#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/ByteOrder.h"
#include "base/Bytes.h"
#include "jet/file/PageFile.h"
#include "jet/pages/UsageMap.h"

namespace mv::testing {

/// Walks an index tree page by page, reading the bytes by itself, and adds a test failure for each rule that is broken:
/// owners, kinds and levels, ascending entries, free space, prefixes, tails, parent entries equal to the last entry of
/// their child, links of leaves and of nodes, and a page map that is exactly the tree.
class IndexTreeWalker {
 public:
  IndexTreeWalker(jet::PageFile& file, jet::PageNumber owner, jet::PageNumber root, jet::RowId map)
      : file_(file), owner_(owner) {
    std::vector<jet::PageNumber> level = {root};
    CheckSiblings(level);
    Visit(root, true);
    CheckLeafLinks();
    CheckOrder();
    const std::vector<jet::PageNumber> mapped = jet::UsageMap(file, map).Pages();
    EXPECT_EQ(std::set<jet::PageNumber>(mapped.begin(), mapped.end()), pages_) << "the map is not the tree";
    const jet::UsageMap freePages(file, {1, 0});
    for (const jet::PageNumber page : pages_) EXPECT_FALSE(freePages.Contains(page)) << "page " << page << " is free";
  }

  /// Leaf entries (key and row address) from left to right.
  const std::vector<Bytes>& Entries() const { return entries_; }
  const std::set<jet::PageNumber>& Pages() const { return pages_; }
  std::size_t LeafCount() const { return leaves_.size(); }
  /// Number of levels: 1 for a tree that is a leaf.
  std::size_t Levels() const { return levels_; }
  std::size_t PagesWithPrefix() const { return withPrefix_; }

 private:
  struct Parsed {
    bool isLeaf = false;
    std::uint8_t level = 0;
    std::vector<Bytes> entries;
    jet::PageNumber previous = 0, next = 0, tail = 0;
  };
  struct Subtree {
    std::size_t levels = 0;
    std::optional<Bytes> last;
  };

  Parsed Parse(jet::PageNumber number) {
    const jet::Page& page = file_.Read(number);
    Parsed parsed;
    const std::string where = "page " + std::to_string(number);
    EXPECT_TRUE(page[0] == 3 || page[0] == 4) << where;
    EXPECT_EQ(page[1], 1) << where;
    EXPECT_EQ(LoadLittle<std::uint32_t>(&page[4]), owner_) << where;
    EXPECT_EQ(LoadLittle<std::uint32_t>(&page[8]), 0U) << where;
    parsed.isLeaf = page[0] == 4;
    parsed.previous = LoadLittle<std::uint32_t>(&page[0x0C]);
    parsed.next = LoadLittle<std::uint32_t>(&page[0x10]);
    parsed.tail = LoadLittle<std::uint32_t>(&page[0x14]);
    parsed.level = page[0x1A];
    const std::size_t prefix = LoadLittle<std::uint16_t>(&page[0x18]);
    std::size_t start = 0;
    for (std::size_t bit = 0; bit < 453 * 8; ++bit) {
      if ((page[0x1B + bit / 8] >> bit % 8 & 1) == 0) continue;
      EXPECT_LE(bit, 3616U) << where;
      Bytes entry;
      if (!parsed.entries.empty()) entry.assign(parsed.entries[0].begin(), parsed.entries[0].begin() + prefix);
      entry.insert(entry.end(), page.begin() + 0x1E0 + start, page.begin() + 0x1E0 + bit);
      parsed.entries.push_back(entry);
      start = bit;
    }
    EXPECT_EQ(LoadLittle<std::uint16_t>(&page[2]), 3616 - start) << where;
    const auto isZero = [](std::uint8_t byte) { return byte == 0; };
    EXPECT_TRUE(std::all_of(page.begin() + 0x1E0 + start, page.end(), isZero)) << where << " has unused bytes";
    if (prefix != 0) {
      EXPECT_TRUE(parsed.isLeaf) << where << " is a node with a prefix";
      EXPECT_GE(parsed.entries.size(), 2U) << where << " has a prefix";
      ++withPrefix_;
    }
    return parsed;
  }

  /// Children of one parent: nodes are linked among themselves, leaves are checked as a whole later.
  void CheckSiblings(const std::vector<jet::PageNumber>& siblings) {
    for (std::size_t i = 0; i < siblings.size(); ++i) {
      const Parsed page = Parse(siblings[i]);
      if (page.isLeaf && siblings.size() > 1) return;
      if (page.isLeaf) continue;
      EXPECT_EQ(page.previous, i == 0 ? 0 : siblings[i - 1]) << "node " << siblings[i];
      EXPECT_EQ(page.next, i + 1 == siblings.size() ? 0 : siblings[i + 1]) << "node " << siblings[i];
    }
  }

  Subtree Visit(jet::PageNumber number, bool isRoot) {
    EXPECT_TRUE(pages_.insert(number).second) << "page " << number << " is met twice";
    const Parsed page = Parse(number);
    if (page.isLeaf) {
      EXPECT_EQ(page.level, 0);
      EXPECT_EQ(page.tail, 0U);
      EXPECT_TRUE(isRoot || !page.entries.empty()) << "leaf " << number << " is empty";
      leaves_.push_back(number);
      entries_.insert(entries_.end(), page.entries.begin(), page.entries.end());
      levels_ = std::max<std::size_t>(levels_, 1);
      return {1, page.entries.empty() ? std::nullopt : std::optional<Bytes>(page.entries.back())};
    }
    EXPECT_NE(page.tail, 0U) << "node " << number << " has no tail";
    EXPECT_FALSE(page.entries.empty()) << "node " << number << " has its tail only";
    return VisitChildren(number, page);
  }

  Subtree VisitChildren(jet::PageNumber number, const Parsed& page) {
    std::vector<jet::PageNumber> children;
    for (const Bytes& entry : page.entries) {
      children.push_back(LoadBig<std::uint32_t>(entry.data() + entry.size() - 4));
    }
    children.push_back(page.tail);
    CheckSiblings(children);
    Subtree last;
    for (std::size_t i = 0; i < children.size(); ++i) {
      last = Visit(children[i], false);
      EXPECT_EQ(last.levels, page.level) << "node " << number << ", child " << children[i];
      if (i == page.entries.size()) break;
      const Bytes& entry = page.entries[i];
      EXPECT_EQ(last.last, Bytes(entry.begin(), entry.end() - 4)) << "node " << number << ", entry " << i;
    }
    levels_ = std::max(levels_, last.levels + 1);
    return {last.levels + 1, last.last};
  }

  void CheckLeafLinks() {
    for (std::size_t i = 0; i < leaves_.size(); ++i) {
      const Parsed leaf = Parse(leaves_[i]);
      EXPECT_EQ(leaf.previous, i == 0 ? 0 : leaves_[i - 1]) << "leaf " << leaves_[i];
      EXPECT_EQ(leaf.next, i + 1 == leaves_.size() ? 0 : leaves_[i + 1]) << "leaf " << leaves_[i];
    }
  }

  void CheckOrder() {
    for (std::size_t i = 1; i < entries_.size(); ++i) EXPECT_LT(entries_[i - 1], entries_[i]) << "entry " << i;
  }

  jet::PageFile& file_;
  jet::PageNumber owner_;
  std::set<jet::PageNumber> pages_;
  std::vector<jet::PageNumber> leaves_;
  std::vector<Bytes> entries_;
  std::size_t levels_ = 0;
  std::size_t withPrefix_ = 0;
};

}  // namespace mv::testing
