#include "jet/pages/MapPages.h"

#include <gtest/gtest.h>

#include "jet/pages/DataPage.h"
#include "support/Hex.h"
#include "support/JetStorage.h"

namespace mv::jet {
namespace {

using testing::ToHex;

TEST(MapPages, NewMapsAreEmptyRowsOf69Bytes) {
  testing::JetStorage storage(3);
  FormatMapPage(storage.File(), 2, 31);
  const Page& page = storage.File().Read(2);
  EXPECT_EQ(ToHex(ByteView(page).first(18)), "01 01 59 07 00 00 00 00 00 00 00 00 1F 00 BB 0F 76 0F");
  for (std::size_t at = 14 + 2 * 31; at < kPageSize; ++at) ASSERT_EQ(page[at], 0) << at;
}

TEST(MapPages, MoreMapsThanFitAPageGoOnOnAnother) {
  testing::JetStorage storage;
  FreePages freePages(storage.File());
  const std::vector<RowId> maps = AddMaps(storage.File(), freePages, 58);
  ASSERT_EQ(maps.size(), 58u);
  EXPECT_EQ(maps[0], (RowId{2, 0}));
  EXPECT_EQ(maps[56], (RowId{2, 56}));
  EXPECT_EQ(maps[57], (RowId{3, 0}));
  EXPECT_EQ(DataPageView(storage.File(), 2).FreeSpace(), 4082u - 57 * 71);
  EXPECT_EQ(DataPageView(storage.File(), 3).SlotCount(), 1u);
}

TEST(MapPages, FullMapPageStillTakesAPageBehindTheFirst512) {
  testing::JetStorage storage(900);
  FreePages freePages(storage.File());
  const std::vector<RowId> maps = AddMaps(storage.File(), freePages, 57);
  UsageMap(storage.File(), maps[56]).Add(maps[0].page, freePages);
  EXPECT_EQ(UsageMap(storage.File(), maps[56]).Pages(), std::vector<PageNumber>{900});
}

}  // namespace
}  // namespace mv::jet
