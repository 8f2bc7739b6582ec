#include "check/UsageMaps.h"

#include <algorithm>
#include <bit>

namespace mv::check {
namespace {

constexpr PageNumber kGlobalMapsPage = 1;
constexpr RowId kFreePagesMap = {kGlobalMapsPage, 0};
constexpr RowId kReleasedPagesMap = {kGlobalMapsPage, 1};
constexpr std::string_view kFreePages = "the map of free pages";
constexpr std::string_view kReleasedPages = "the map of released pages";

constexpr std::uint8_t kInline = 0;
constexpr std::uint8_t kByReference = 1;
constexpr std::size_t kFirstPageAt = 1;
constexpr std::size_t kBitsAt = 5;
constexpr std::size_t kReferencesAt = 1;
constexpr std::size_t kReferenceSize = 4;
constexpr std::size_t kByReferenceSize = 69;
constexpr std::uint64_t kFirstPageStep = 8;

constexpr std::size_t kBitPageHeader = 4;
constexpr std::uint64_t kBitPageBits = 8 * (kPageSize - kBitPageHeader);

template <typename Action>
void ForEachBit(ByteView bits, std::uint64_t first, Action action) {
  for (std::size_t i = 0; i < bits.size(); ++i) {
    for (unsigned byte = bits[i]; byte != 0; byte &= byte - 1) {
      action(first + 8 * i + static_cast<unsigned>(std::countr_zero(byte)));
    }
  }
}

}  // namespace

UsageMaps::UsageMaps(Context& context)
    : context_(context), mapRows_(context.owners.Add({PageOwners::Owner::Use::MapRows})) {}

/// A row is one map, and the page it lies on belongs to maps.
bool UsageMaps::TakeRow(RowId where, const Place& place, std::string_view what) {
  Findings& findings = context_.findings;
  DataPages& rows = context_.rows;
  if (!context_.pages.Has(where.page)) {
    findings.Damage(Kind::Map, place, what, " should be at ", where, ", outside the file");
    return false;
  }
  if (context_.owners.OwnerOf(where.page) != mapRows_) {
    if (!context_.owners.Claim(where.page, mapRows_, place)) return false;
    const std::uint32_t owner = where.page == kGlobalMapsPage ? kGlobalMapOwner : kMapOwner;
    if (!rows.Add(where.page, owner, place)) return false;
  }
  if (!rows.Has(where) || rows.StateOf(where) != SlotState::Live) {
    findings.Damage(Kind::Map, place, what, " should be at ", where, ", where no live row is");
    return false;
  }
  if (rows.MarkOf(where) != Mark::None) {
    findings.Damage(Kind::Map, place, what, " is at ", where, ", which is another map as well");
    return false;
  }
  rows.SetMark(where, Mark::Used);
  return true;
}

std::optional<UsageMaps::Map> UsageMaps::Open(RowId where, const Place& place, std::string_view what) {
  if (!TakeRow(where, place, what)) return std::nullopt;
  const ByteView row = context_.rows.Bytes(where);
  const Place here = place.AtRow(where);
  if (row.size() < kBitsAt) {
    context_.findings.Damage(Kind::Map, here, what, " has only ", row.size(), " bytes");
    return std::nullopt;
  }
  if (row[0] == kInline) return OpenInline(row, here, what);
  if (row[0] == kByReference) return OpenByReference(row, here, what);
  context_.findings.Damage(Kind::Map, here, what, " is of the unknown kind ", row[0]);
  return std::nullopt;
}

std::optional<UsageMaps::Map> UsageMaps::OpenInline(ByteView row, const Place& place, std::string_view what) {
  Map map;
  map.firstPage = Word32(row, kFirstPageAt);
  map.bits = row.subspan(kBitsAt);
  map.end = map.firstPage + 8 * map.bits.size();
  if (map.firstPage % kFirstPageStep != 0) {
    // Some writers let a map begin at its lowest page; its bits mean the same.
    context_.findings.Note(Kind::Map, place, what, " starts at page ", map.firstPage, ", which is no multiple of 8");
  }
  return map;
}

std::optional<UsageMaps::Map> UsageMaps::OpenByReference(ByteView row, const Place& place, std::string_view what) {
  Map map;
  map.isInline = false;
  if (row.size() != kByReferenceSize) {
    context_.findings.Note(Kind::Map, place, what, " has ", row.size(), " bytes, not ", kByReferenceSize);
  }
  const std::size_t count = (row.size() - kReferencesAt) / kReferenceSize;
  map.end = count * kBitPageBits;
  for (std::size_t i = 0; i < count; ++i) {
    const PageNumber page = Word32(row, kReferencesAt + kReferenceSize * i);
    if (page != 0 && TakeBitPage(page, place, what)) map.bitPages.push_back({i, page});
  }
  return map;
}

bool UsageMaps::TakeBitPage(PageNumber page, const Place& place, std::string_view what) {
  const PageOwners::Id owner = context_.owners.Add({PageOwners::Owner::Use::MapBits, place.table});
  if (!context_.owners.Claim(page, owner, place)) return false;
  const PageView bytes = context_.pages.At(page);
  if (Word32(bytes, 0) == kMapBitsPage) return true;
  context_.findings.Damage(Kind::Page, place.OnPage(page), what,
                           " should have its bits on this page, but it begins with ", Hex{bytes.first(kBitPageHeader)});
  return false;
}

template <typename Action>
void UsageMaps::ForEachPage(const Map& map, Action action) const {
  if (map.isInline) return ForEachBit(map.bits, map.firstPage, action);
  for (const BitPage& part : map.bitPages) {
    ForEachBit(context_.pages.At(part.page).subspan(kBitPageHeader), part.number * kBitPageBits, action);
  }
}

std::optional<std::vector<PageNumber>> UsageMaps::Read(RowId where, const Place& place, std::string_view what) {
  const std::optional<Map> map = Open(where, place, what);
  if (!map) return std::nullopt;
  std::vector<PageNumber> pages;
  std::size_t outside = 0;
  std::uint64_t firstOutside = 0;
  ForEachPage(*map, [&](std::uint64_t page) {
    if (page != 0 && page < context_.pages.Count()) {
      pages.push_back(static_cast<PageNumber>(page));
    } else if (outside++ == 0) {
      firstOutside = page;
    }
  });
  if (outside != 0) {
    context_.findings.Damage(Kind::Map, place.AtRow(where), what, " names ", outside,
                             " pages that are not in the file, ", firstOutside, " first");
  }
  return pages;
}

std::vector<bool> UsageMaps::CheckGlobalMaps() {
  const PageNumber count = context_.pages.Count();
  std::vector<bool> free(count, false);
  const Place place = Place().OnPage(kGlobalMapsPage);
  if (const std::optional<Map> map = Open(kFreePagesMap, {}, kFreePages)) {
    std::uint64_t behind = 0;
    ForEachPage(*map, [&](std::uint64_t page) {
      if (page < count) {
        free[static_cast<std::size_t>(page)] = true;
      } else {
        ++behind;
      }
    });
    if (map->end < count) {
      context_.findings.Note(Kind::Map, place, kFreePages, " covers ", map->end, " of ", count, " pages");
    } else if (map->isInline && map->end - std::max<std::uint64_t>(count, map->firstPage) != behind) {
      context_.findings.Note(Kind::Map, place, kFreePages,
                             " lacks pages behind the end of the file, where it could grow");
    }
  }
  if (const std::optional<Map> map = Open(kReleasedPagesMap, {}, kReleasedPages)) {
    std::size_t released = 0;
    ForEachPage(*map, [&](std::uint64_t) { ++released; });
    if (released != 0) {
      context_.findings.Note(Kind::Map, place, kReleasedPages, " holds ", released, " pages that nobody freed");
    }
  }
  return free;
}

void CheckSubset(const std::vector<PageNumber>& part, const std::vector<PageNumber>& whole, const Place& place,
                 std::string_view what, Findings& findings) {
  std::size_t outside = 0;
  PageNumber first = 0;
  auto next = whole.begin();
  for (const PageNumber page : part) {
    while (next != whole.end() && *next < page) ++next;
    if (next != whole.end() && *next == page) continue;
    if (outside++ == 0) first = page;
  }
  if (outside != 0) {
    findings.Damage(Kind::Map, place.OnPage(first), what, " (this page first of ", outside, ")");
  }
}

}  // namespace mv::check
