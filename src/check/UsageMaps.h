#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "check/Context.h"

namespace mv::check {

/// Usage maps: sets of pages. A map is a row of a data page that belongs to maps only.
///
///   kind 0    u8 0, u32 first page S (a multiple of 8, except from some other writers), bits: bit k, lowest of the
///             first byte first, is page S + k
///   kind 1    69 bytes: u8 1, u32 numbers of bit pages, 0 = none; the i-th has the bits of pages 32736 i and up
///   bit page  05 01 00 00, then 4092 bytes of bits
class UsageMaps {
 public:
  explicit UsageMaps(Context& context);

  /// Checks the two maps of page 1 and returns the free pages, by page number. All free when the map cannot be read.
  std::vector<bool> CheckGlobalMaps();

  /// Reads the map at `where`, takes its row and its bit pages for `place`; `what` names it in findings ("the map of
  /// owned pages"). The pages ascend and are pages of the file. Nothing, with a finding, when it cannot be read.
  std::optional<std::vector<PageNumber>> Read(RowId where, const Place& place, std::string_view what);

 private:
  struct BitPage {
    std::size_t number = 0;  ///< the pages from number x 32736 on
    PageNumber page = 0;
  };
  struct Map {
    bool isInline = true;
    std::uint64_t firstPage = 0;  ///< inline
    ByteView bits;                ///< inline
    std::vector<BitPage> bitPages;
    std::uint64_t end = 0;  ///< the first page that it does not cover
  };

  bool TakeRow(RowId where, const Place& place, std::string_view what);
  std::optional<Map> Open(RowId where, const Place& place, std::string_view what);
  std::optional<Map> OpenInline(ByteView row, const Place& place, std::string_view what);
  std::optional<Map> OpenByReference(ByteView row, const Place& place, std::string_view what);
  bool TakeBitPage(PageNumber page, const Place& place, std::string_view what);
  template <typename Action>
  void ForEachPage(const Map& map, Action action) const;

  Context& context_;
  PageOwners::Id mapRows_;
};

/// Reports pages of `part` that are not in `whole`; both ascend. `what` names the part.
void CheckSubset(const std::vector<PageNumber>& part, const std::vector<PageNumber>& whole, const Place& place,
                 std::string_view what, Findings& findings);

}  // namespace mv::check
