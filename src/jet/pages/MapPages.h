#pragma once

#include <cstddef>
#include <vector>

#include "jet/file/Page.h"
#include "jet/file/PageFile.h"
#include "jet/pages/UsageMap.h"

namespace mv::jet {

/// A new map: kind 0 with bits for 512 pages.
inline constexpr std::size_t kMapRowSize = 69;
inline constexpr std::size_t kMapBitsOffset = 5;
/// That many new maps fill a page.
inline constexpr std::size_t kMapsPerPage = 57;

/// Makes `page` a page of `count` empty maps, rows 0 to count - 1. Needs count <= kMapsPerPage.
void FormatMapPage(PageFile& file, PageNumber page, std::size_t count);

/// Adds `count` empty maps on new pages of their own: maps of one table share no page with another table's.
std::vector<RowId> AddMaps(PageFile& file, FreePages& freePages, std::size_t count);

/// Adds an empty map for a table that has maps on `page` already: there when it has room, else on a page of its own.
RowId AddMapBeside(PageFile& file, FreePages& freePages, PageNumber page);

}  // namespace mv::jet
