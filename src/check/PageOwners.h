#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "check/Findings.h"
#include "check/PageReader.h"

namespace mv::check {

/// Whom each page belongs to. Every page has exactly one owner or is free; because a page is taken once only, every
/// walk over pages that claims them first comes to an end, whatever the links say.
class PageOwners {
 public:
  /// An owner's number; 0 is nobody.
  using Id = std::uint32_t;

  /// What a page is used for, and the names that go with it (views that outlive this object).
  struct Owner {
    enum class Use : std::uint8_t { Nobody, Header, MapRows, MapBits, Definition, Rows, LongValues, Index };
    Use use = Use::Nobody;
    std::string_view table = {};
    std::string_view name = {};  ///< of the column or index
  };

  PageOwners(PageNumber pages, Findings& findings);

  Id Add(const Owner& owner);
  /// Gives a page to an owner. False, with a finding, when the page is outside the file or taken.
  bool Claim(PageNumber page, Id owner, const Place& place);
  /// Needs a page of the file.
  Id OwnerOf(PageNumber page) const { return ownerOf_[page]; }

  /// Compares what is taken with what is free, by page number; call when all is claimed.
  void CheckFreePages(const std::vector<bool>& free) const;

 private:
  std::string Title(Id id) const;
  void NoteLostPages(const std::vector<PageNumber>& first, std::size_t count) const;

  Findings& findings_;
  std::vector<Owner> owners_;
  std::vector<Id> ownerOf_;  ///< by page
};

}  // namespace mv::check
