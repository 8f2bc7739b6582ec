#pragma once

#include <optional>
#include <vector>

#include "jet/file/Page.h"
#include "jet/file/PageFile.h"

namespace mv::jet {

class FreePages;

/// The file's own maps, see FreePages.
inline constexpr RowId kFreePagesMap = {1, 0};
inline constexpr RowId kReleasedPagesMap = {1, 1};

/// A set of pages, kept as one row of a data page (its address names the map). All numbers little-endian.
///
/// Kind 0, inline:
/// | offset | size | content                                                                      |
/// |--------|------|------------------------------------------------------------------------------|
/// | 0      | 1    | 0                                                                            |
/// | 1      | 4    | first page S; a multiple of 8, except from some other writers                |
/// | 5      | rest | bits, lowest bit of the first byte first: bit k stands for page S + k        |
///
/// Kind 1, by reference:
/// | offset | size   | content                                                                    |
/// |--------|--------|----------------------------------------------------------------------------|
/// | 0      | 1      | 1                                                                          |
/// | 1      | 4 each | bit pages, 0 = none: entry i covers pages 32736 i to 32736 i + 32735       |
///
/// A bit page is 05 01 00 00 and 4092 bytes of bits in the same order; it is in no map itself, just not free.
///
/// Keeps no state of its own: every call works on the pages, so a statement's Rollback needs no help. A look at one
/// page costs a bit test, a search eight bytes a step. Every call throws DamagedFileError for a malformed map.
class UsageMap {
 public:
  UsageMap(PageFile& file, RowId where) : file_(file), where_(where) {}

  bool Contains(PageNumber page) const;
  /// All pages of the set, ascending.
  std::vector<PageNumber> Pages() const;
  std::optional<PageNumber> Lowest() const { return LowestFrom(0); }
  std::optional<PageNumber> Highest() const;
  /// The lowest page of the set that is not below `first`.
  std::optional<PageNumber> LowestFrom(PageNumber first) const;
  /// The highest page of the set below `limit`.
  std::optional<PageNumber> HighestBelow(PageNumber limit) const;

  /// Adds a page; an inline map that cannot hold it gets another first page or is turned into kind 1 (bit pages come
  /// from `freePages`). UnsupportedError when the map's own page has no room for that.
  void Add(PageNumber page, FreePages& freePages);
  /// Takes a page out; one that is not in the set is no error.
  void Remove(PageNumber page);

  /// True when the map has a bit for `page`, set or not.
  bool Covers(PageNumber page) const;
  /// The bit pages of a map of kind 1; none of another one.
  std::vector<PageNumber> BitPages() const;

 private:
  friend class FreePages;

  void SetBit(PageNumber page, bool value);
  bool MoveStart(PageNumber page);
  void TurnIntoReferences(FreePages& freePages);
  void AddByReference(PageNumber page, FreePages& freePages);

  PageFile& file_;
  RowId where_;
};

/// The file's free pages (map 1/0, set = free) and their allocation: lowest free page first, else the file grows by one
/// page. Bits behind the end of the file are set, because the file may grow there; map 1/1 lists pages that another
/// engine has released and not yet freed. Keeps no state of its own.
class FreePages {
 public:
  explicit FreePages(PageFile& file);

  /// A page of zeros that belongs to the caller. Never a page of the released-pages map. Throws UnsupportedError at the
  /// format's 2 GiB, DamagedFileError when the map calls page 0 or 1 free.
  PageNumber Allocate();
  /// Gives a page back: marks it free; a data page's kind becomes FreedData. The caller has taken it out of its owner's
  /// maps. Throws DamagedFileError for a page that is free already or not in the file. A map that ends before the page
  /// is lengthened.
  void Free(PageNumber page);

 private:
  std::optional<PageNumber> TakeInside();
  PageNumber Grow();
  void Cover(PageNumber page);
  bool Lengthen(PageNumber page);
  void TurnIntoReferences();
  void AppendBitPage(PageNumber range);
  void ClearBitsOfFile(PageNumber range);

  PageFile& file_;
  UsageMap free_;
  UsageMap released_;
};

}  // namespace mv::jet
