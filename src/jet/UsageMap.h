#pragma once

#include <optional>
#include <vector>

#include "jet/Page.h"
#include "jet/PageFile.h"

namespace mv::jet {

class FreePages;

/// A set of pages, kept as one row of a data page (its address names the map).
///
/// Kind 0, inline: u8 0, u32 first page S (a multiple of 8), then bits: bit k stands for page S + k.
/// Kind 1, by reference: u8 1, then u32 page numbers of bit pages (0 = none); entry i covers pages 32736 i to 32736 i +
/// 32735. A bit page is 05 01 00 00 and 4092 bytes of bits.
///
/// Keeps no state of its own: every call works on the pages, so a statement's Rollback needs no help.
class UsageMap {
 public:
  UsageMap(PageFile& file, RowId where);

  bool Contains(PageNumber page) const;
  /// All pages of the set, ascending. Throws DamagedFileError for a malformed map.
  std::vector<PageNumber> Pages() const;
  std::optional<PageNumber> Lowest() const;
  std::optional<PageNumber> Highest() const;
  /// The highest page of the set below `limit`.
  std::optional<PageNumber> HighestBelow(PageNumber limit) const;

  /// Adds a page; an inline map is moved or turned into kind 1 when it cannot hold it (bit pages come from
  /// `freePages`).
  void Add(PageNumber page, FreePages& freePages);
  /// Takes a page out; one that is not in the set is no error.
  void Remove(PageNumber page);
};

/// The file's free pages (map 1/0, set = free) and their allocation: lowest free page first, else the file grows by one
/// page.
class FreePages {
 public:
  explicit FreePages(PageFile& file);

  /// A page of zeros that belongs to the caller. Never a page of the released-pages map (1/1). Throws UnsupportedError
  /// at the format's 2 GiB.
  PageNumber Allocate();
  /// Gives a page back: marks it free; a data page's kind becomes FreedData. The caller has taken it out of its owner's
  /// maps.
  void Free(PageNumber page);
};

}  // namespace mv::jet
