#include "check/IndexTreeCheck.h"

#include <algorithm>

namespace mv::check {
namespace {

/// A node's entry ends with the child's page.
PageNumber ChildOf(const Entry& entry) {
  return entry.Word(0);
}

}  // namespace

IndexTreeCheck::IndexTreeCheck(Context& context, UsageMaps& maps, const Definition& definition, const Index& index)
    : context_(context),
      maps_(maps),
      definition_(definition),
      index_(index),
      place_(definition.Where().OfIndex(index.title)),
      owner_(context.owners.Add({PageOwners::Owner::Use::Index, definition.name, index.title})) {}

std::optional<std::vector<PageNumber>> IndexTreeCheck::Run() {
  const auto mapped = maps_.Read(index_.map, place_, "the map of the index");
  if (!ReadLevels()) return std::nullopt;
  if (mapped) CheckMap(*mapped);
  CheckLevelBytes();
  CheckLeafLinks();
  CheckNodeLinks();
  CheckSeparators();
  return std::move(levels_.back());
}

bool IndexTreeCheck::ReadLevels() {
  if (!context_.pages.Has(index_.root)) {
    context_.findings.Damage(Kind::IndexPage, place_, "the root should be page ", index_.root, ", outside the file");
    return false;
  }
  if (!context_.owners.Claim(index_.root, owner_, place_)) return false;
  levels_.push_back({index_.root});
  bool sound = true;
  while (true) {
    Level children;
    std::size_t leaves = 0;
    for (const PageNumber number : levels_.back()) {
      sound = CheckPage(number, children) && sound;
      leaves += page_.IsLeaf() ? 1 : 0;
    }
    if (children.empty()) return sound;
    if (leaves != 0) {
      context_.findings.Damage(Kind::IndexPage, place_, "nodes and leaves are on one level of the tree");
      sound = false;
    }
    levels_.push_back(std::move(children));
  }
}

/// False when what is below the page cannot be gone through in order.
bool IndexTreeCheck::CheckPage(PageNumber number, Level& children) {
  if (!ReadPage(number)) return false;
  CheckHead(place_.OnPage(number));
  if (!page_.IsLeaf()) return TakeChildren(number, children);
  CheckLeaf(number);
  return true;
}

bool IndexTreeCheck::ReadPage(PageNumber number) {
  const PageView page = context_.pages.At(number);
  const std::uint16_t kind = Word16(page, 0);
  if (kind != kIndexLeaf && kind != kIndexNode) {
    context_.findings.Damage(Kind::Page, place_.OnPage(number), "the page should be an index page, but begins with ",
                             Hex{page.first(sizeof kind)});
    return false;
  }
  if (const std::string_view wrong = page_.Read(page); !wrong.empty()) {
    context_.findings.Damage(Kind::IndexPage, place_.OnPage(number), wrong);
    return false;
  }
  return true;
}

void IndexTreeCheck::CheckHead(const Place& place) {
  Findings& findings = context_.findings;
  if (page_.Owner() != definition_.page) {
    findings.Damage(Kind::PageOwner, place, "the owner field is ", page_.Owner(), ", not ", definition_.page);
  }
  if (page_.ReservedWord() != 0) findings.Note(Kind::IndexPage, place, "the word at 8 is not 0");
  if (page_.FreeSpace() != page_.Room()) {
    findings.Damage(Kind::FreeSpace, place, "the free-space word is ", page_.FreeSpace(), ", but ", page_.Room(),
                    " bytes are free");
  }
  if (page_.PrefixLength() != 0 && (!page_.IsLeaf() || page_.Count() < 2)) {
    findings.Note(Kind::IndexPage, place, "a node, or a leaf of fewer than two entries, has a prefix");
  }
}

void IndexTreeCheck::CheckLeaf(PageNumber number) {
  Findings& findings = context_.findings;
  const Place place = place_.OnPage(number);
  if (page_.Tail() != 0) findings.Note(Kind::IndexPage, place, "the leaf has a tail child");
  if (page_.Count() == 0 && number != index_.root) {
    findings.Note(Kind::IndexPage, place, "the leaf is empty, but not the root");
  }
}

bool IndexTreeCheck::TakeChildren(PageNumber number, Level& children) {
  const Place place = place_.OnPage(number);
  bool sound = true;
  const auto take = [&](PageNumber child) {
    if (child != 0 && context_.owners.Claim(child, owner_, place)) {
      children.push_back(child);
    } else {
      if (child == 0) context_.findings.Damage(Kind::IndexPage, place, "an entry of the node leads to page 0");
      sound = false;
    }
  };
  for (std::size_t i = 0; i < page_.Count(); ++i) take(ChildOf(page_.At(i)));
  if (page_.Count() == 0) context_.findings.Note(Kind::IndexPage, place, "the node has no entries");
  if (page_.Tail() != 0) {
    take(page_.Tail());
  } else {
    context_.findings.Note(Kind::IndexPage, place, "the node has no tail child");
  }
  if (page_.Count() == 0 && page_.Tail() == 0) {
    context_.findings.Damage(Kind::IndexPage, place, "the node has no child at all");
    return false;
  }
  return sound;
}

void IndexTreeCheck::CheckMap(const std::vector<PageNumber>& mapped) {
  std::vector<PageNumber> pages;
  for (const Level& level : levels_) pages.insert(pages.end(), level.begin(), level.end());
  std::sort(pages.begin(), pages.end());
  CheckSubset(mapped, pages, place_, "the page is in the map of the index, but not in the tree", context_.findings);
  CheckSubset(pages, mapped, place_, "the page is in the tree, but not in the map of the index", context_.findings);
}

void IndexTreeCheck::CheckLevelBytes() {
  for (std::size_t depth = 0; depth < levels_.size(); ++depth) {
    const std::size_t level = levels_.size() - 1 - depth;
    for (const PageNumber number : levels_[depth]) {
      page_.Read(context_.pages.At(number));
      if (page_.Level() == level) continue;
      const Place place = place_.OnPage(number);
      if (page_.IsLeaf()) {
        context_.findings.Damage(Kind::IndexPage, place, "the level byte of the leaf is ", page_.Level());
      } else {
        context_.findings.Note(Kind::IndexPage, place, "the level byte is ", page_.Level(),
                               ", but the page is on level ", level);
      }
    }
  }
}

void IndexTreeCheck::CheckLeafLinks() {
  const Level& leaves = levels_.back();
  for (std::size_t i = 0; i < leaves.size(); ++i) {
    const PageNumber previous = i == 0 ? 0 : leaves[i - 1];
    const PageNumber next = i + 1 == leaves.size() ? 0 : leaves[i + 1];
    page_.Read(context_.pages.At(leaves[i]));
    if (page_.Previous() == previous && page_.Next() == next) continue;
    context_.findings.Damage(Kind::IndexPage, place_.OnPage(leaves[i]), "the leaf's neighbours are ", page_.Previous(),
                             " and ", page_.Next(), ", but should be ", previous, " and ", next);
  }
}

/// Nodes may have neighbours, which then are nodes of the same level and name them back. Nobody follows these links.
void IndexTreeCheck::CheckNodeLinks() {
  for (std::size_t depth = 0; depth + 1 < levels_.size(); ++depth) {
    const Level& nodes = levels_[depth];
    Level sorted = nodes;
    std::sort(sorted.begin(), sorted.end());
    for (const PageNumber number : nodes) {
      page_.Read(context_.pages.At(number));
      const auto namesBack = [&](PageNumber other, bool isNext) {
        if (other == 0) return true;
        if (!std::binary_search(sorted.begin(), sorted.end(), other)) return false;
        leaf_.Read(context_.pages.At(other));
        return (isNext ? leaf_.Previous() : leaf_.Next()) == number;
      };
      if (namesBack(page_.Previous(), false) && namesBack(page_.Next(), true)) continue;
      context_.findings.Note(Kind::IndexPage, place_.OnPage(number), "a neighbour of the node does not name it back");
    }
  }
}

/// An entry of a node is the last one below its child, or higher when that one was deleted.
void IndexTreeCheck::CheckSeparators() {
  Level lastLeaves = levels_.back();
  for (std::size_t depth = levels_.size() - 1; depth-- > 0;) lastLeaves = LastLeaves(levels_[depth], lastLeaves);
}

/// Checks the nodes of one level. Takes for each child, from left to right, the last leaf below it, and returns the
/// same for the nodes.
IndexTreeCheck::Level IndexTreeCheck::LastLeaves(const Level& nodes, const Level& childrensLastLeaves) {
  Level result;
  std::size_t child = 0;
  for (const PageNumber number : nodes) {
    page_.Read(context_.pages.At(number));
    for (std::size_t i = 0; i < page_.Count(); ++i) {
      CheckSeparator(page_.At(i).Without(kChildSize), childrensLastLeaves[child++], place_.OnPage(number));
    }
    if (page_.Tail() != 0) ++child;
    result.push_back(childrensLastLeaves[child - 1]);
  }
  return result;
}

void IndexTreeCheck::CheckSeparator(const Entry& separator, PageNumber lastLeaf, const Place& place) {
  leaf_.Read(context_.pages.At(lastLeaf));
  if (leaf_.Count() == 0) return;
  const int order = Compare(leaf_.At(leaf_.Count() - 1), separator);
  if (order > 0) {
    context_.findings.Damage(Kind::IndexOrder, place, "an entry of the node stands below the last one of leaf ",
                             lastLeaf);
  } else if (order < 0) {
    context_.findings.Note(Kind::IndexOrder, place, "an entry of the node stands above the last one of leaf ",
                           lastLeaf);
  }
}

}  // namespace mv::check
