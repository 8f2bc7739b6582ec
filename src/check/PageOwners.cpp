#include "check/PageOwners.h"

namespace mv::check {
namespace {

constexpr std::size_t kShownPages = 10;

std::string Quoted(std::string_view before, std::string_view name) {
  std::string text(before);
  text += name;
  return text;
}

}  // namespace

PageOwners::PageOwners(PageNumber pages, Findings& findings) : findings_(findings), owners_(1), ownerOf_(pages) {}

PageOwners::Id PageOwners::Add(const Owner& owner) {
  owners_.push_back(owner);
  return static_cast<Id>(owners_.size() - 1);
}

bool PageOwners::Claim(PageNumber page, Id owner, const Place& place) {
  if (page >= ownerOf_.size()) {
    findings_.Damage(Kind::Page, place, "names page ", page, ", but the file has ", ownerOf_.size(), " pages");
    return false;
  }
  if (ownerOf_[page] != 0) {
    findings_.Damage(Kind::PageOwner, place.OnPage(page), "the page already belongs to ", Title(ownerOf_[page]));
    return false;
  }
  ownerOf_[page] = owner;
  return true;
}

std::string PageOwners::Title(Id id) const {
  const Owner& owner = owners_[id];
  const std::string ofTable = owner.table.empty() ? "" : Quoted(" of table ", owner.table);
  switch (owner.use) {
    case Owner::Use::Nobody:
      return "nobody";
    case Owner::Use::Header:
      return "the header";
    case Owner::Use::MapRows:
      return "usage maps";
    case Owner::Use::MapBits:
      return "the bits of a usage map" + ofTable;
    case Owner::Use::Definition:
      return "the definition" + ofTable;
    case Owner::Use::Rows:
      return "the rows" + ofTable;
    case Owner::Use::LongValues:
      return Quoted("the long values of column ", owner.name) + ofTable;
    case Owner::Use::Index:
      return Quoted("index ", owner.name) + ofTable;
  }
  return "somebody";
}

void PageOwners::CheckFreePages(const std::vector<bool>& free) const {
  std::vector<PageNumber> lost;
  std::size_t lostCount = 0;
  for (PageNumber page = 0; page < ownerOf_.size(); ++page) {
    const bool owned = ownerOf_[page] != 0;
    if (owned && free[page]) {
      findings_.Damage(Kind::FreePage, Place().OnPage(page), "the page is free, but belongs to ",
                       Title(ownerOf_[page]));
    }
    if (owned || free[page]) continue;
    ++lostCount;
    if (lost.size() < kShownPages) lost.push_back(page);
  }
  if (lostCount != 0) NoteLostPages(lost, lostCount);
}

void PageOwners::NoteLostPages(const std::vector<PageNumber>& first, std::size_t count) const {
  std::string list;
  for (const PageNumber page : first) list += (list.empty() ? "" : ", ") + std::to_string(page);
  if (count > first.size()) list += " and " + std::to_string(count - first.size()) + " more";
  findings_.Note(Kind::FreePage, {}, "pages that are neither free nor in use: ", list);
}

}  // namespace mv::check
