#pragma once

#include <cstdint>
#include <optional>

#include "base/Bytes.h"
#include "jet/file/Page.h"
#include "jet/file/PageFile.h"
#include "jet/pages/UsageMap.h"

namespace mv::jet {

class DataPageView;

/// The rows of one table as bytes: finds and keeps them on the table's data pages. Knows nothing of columns and
/// indexes. Keeps nothing that a statement's Rollback would have to take back. The work for one row does not grow with
/// the table.
///
/// A row's address is its identity and never changes. A row that has outgrown its page becomes a moved row: its home
/// slot keeps the address and holds that of the landing row, which may lie on any of the table's pages.
class RowStore {
 public:
  /// `tablePage`: definition page of the table, the owner field of its data pages. `owned`, `freeSpace`: its two maps.
  RowStore(PageFile& file, PageNumber tablePage, RowId owned, RowId freeSpace);

  /// Live rows in physical order: pages by number, rows by slot; moved rows at their home address.
  std::optional<RowId> First() const;
  std::optional<RowId> Last() const;
  /// The first live row behind `row`, which need not be live itself.
  std::optional<RowId> Next(RowId row) const;
  bool IsLive(RowId row) const;
  /// Counts the live rows: a look at every page.
  std::int64_t Count() const;

  /// The bytes of a live row, a moved one's from where it landed; good until the next change. Error 3021 for a row that
  /// is not live.
  ByteView Read(RowId row) const;

  /// Adds a row on a page with room, else on a new one. `row` must not lie on a page of this file.
  RowId Insert(ByteView row);
  /// Gives a live row other bytes: at home when there is room, else where it landed before, else somewhere new.
  void Replace(RowId home, ByteView row);
  /// Removes a live row. A page left without rows is freed, except the table's first.
  void Remove(RowId home);

 private:
  enum class Where { Home, Landing };

  [[noreturn]] static void DamagedList(PageNumber number);
  bool IsOwned(PageNumber number) const;
  std::optional<PageNumber> LowestOwnedFrom(PageNumber number) const;
  DataPageView OwnPage(PageNumber number) const;
  std::optional<RowId> NextFrom(PageNumber page, std::size_t slot) const;
  void RequireLive(RowId row) const;
  std::optional<RowId> LandingOf(RowId home) const;
  RowId Place(ByteView row, Where where);
  std::optional<PageNumber> PageWithRoom(std::size_t length);
  PageNumber NewPage();
  void FreePage(PageNumber number);
  void RemoveSlot(RowId row);
  void NoteSpace(PageNumber number);

  PageFile& file_;
  FreePages freePages_;
  PageNumber tablePage_;
  UsageMap owned_;
  UsageMap freeSpace_;
  /// The page that the map was asked about last and had, and how many changes had been undone by then: rows are met
  /// page by page.
  mutable PageNumber lastOwned_ = 0;
  mutable std::uint64_t undoneThen_ = 0;
};

}  // namespace mv::jet
