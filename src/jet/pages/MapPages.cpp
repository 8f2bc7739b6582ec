#include "jet/pages/MapPages.h"

#include <algorithm>

#include "jet/pages/DataPage.h"

namespace mv::jet {

void FormatMapPage(PageFile& file, PageNumber page, std::size_t count) {
  DataPage::Format(file.Write(page), kOwnerMaps);
  DataPage maps(file, page);
  for (std::size_t i = 0; i < count; ++i) maps.Append(Bytes(kMapRowSize, 0), SlotState::Live);
}

std::vector<RowId> AddMaps(PageFile& file, FreePages& freePages, std::size_t count) {
  std::vector<RowId> maps;
  while (maps.size() < count) {
    const PageNumber page = freePages.Allocate();
    const std::size_t rows = std::min(kMapsPerPage, count - maps.size());
    FormatMapPage(file, page, rows);
    for (std::size_t row = 0; row < rows; ++row) maps.push_back({page, static_cast<std::uint8_t>(row)});
  }
  return maps;
}

RowId AddMapBeside(PageFile& file, FreePages& freePages, PageNumber page) {
  const DataPageView present(file, page);
  if (present.Owner() != kOwnerMaps || !present.HasRoomFor(kMapRowSize)) return AddMaps(file, freePages, 1).front();
  DataPage maps(file, page);
  return {page, maps.Append(Bytes(kMapRowSize, 0), SlotState::Live)};
}

}  // namespace mv::jet
