#pragma once

#include <algorithm>
#include <memory>
#include <string>

#include "base/Bytes.h"
#include "jet/file/PageFile.h"
#include "jet/pages/DataPage.h"
#include "jet/pages/UsageMap.h"
#include "support/MemoryFileSystem.h"

namespace mv::testing {

/// A database file in memory that holds nothing but page 0 (zeros) and page 1 with the maps of free and of released
/// pages. `pages` counts both; the rest are zeros and count as used.
class JetStorage {
 public:
  explicit JetStorage(jet::PageNumber pages = 2) : file_(jet::PageFile::Create(files_, "storage.mdb")) {
    while (file_->PageCount() < pages) file_->Append();
    jet::DataPage::Format(file_->Write(1), jet::kOwnerGlobalMaps);
    jet::DataPage maps(*file_, 1);
    Bytes freeMap(69, 0);
    for (jet::PageNumber page = pages; page < 512; ++page) {
      freeMap[5 + page / 8] = static_cast<std::uint8_t>(freeMap[5 + page / 8] | 1U << page % 8);
    }
    maps.Append(freeMap, jet::SlotState::Live);
    maps.Append(Bytes(69, 0), jet::SlotState::Live);
  }

  jet::PageFile& File() { return *file_; }

  /// A new page of map rows with one empty inline map, for tests that need a map.
  jet::RowId AddMap() {
    jet::FreePages freePages(*file_);
    const jet::PageNumber page = freePages.Allocate();
    jet::DataPage::Format(file_->Write(page), jet::kOwnerMaps);
    return {page, jet::DataPage(*file_, page).Append(Bytes(69, 0), jet::SlotState::Live)};
  }

 private:
  MemoryFileSystem files_;
  std::unique_ptr<jet::PageFile> file_;
};

}  // namespace mv::testing
