#pragma once

#include <cstdint>
#include <vector>

#include "base/Bytes.h"
#include "check/Findings.h"
#include "check/PageReader.h"

namespace mv::check {

/// Owner words of data pages that are no definition page.
inline constexpr std::uint32_t kMapOwner = 0;
inline constexpr std::uint32_t kGlobalMapOwner = 1;
inline constexpr std::uint32_t kLongValueOwner = 0x4C41564C;  // "LVAL"

/// The high bits of a slot.
enum class SlotState : std::uint8_t { Live, Moved, Landing, Dead };

/// What the check has found out about a slot.
enum class Mark : std::uint8_t {
  None,
  Used,     ///< a map that is named, a piece of a long value, a landing row with a home
  Row,      ///< a row whose columns can be read
  Damaged,  ///< a row whose columns cannot all be read
};

/// The slots of data pages.
///
/// | offset | size | content                                                                             |
/// |--------|------|-------------------------------------------------------------------------------------|
/// | 0      | 2    | 01 01                                                                               |
/// | 2      | 2    | free space = 4096 - 14 - 2 N - bytes of all rows                                    |
/// | 4      | 4    | owner                                                                               |
/// | 8      | 4    | 0; on the first page of a long value chain its stamp                                |
/// | 12     | 2    | number of slots N, at most 255                                                      |
/// | 14     | 2 N  | slots: low 13 bits where the row begins, then 0, then the state                     |
///
/// Row 0 ends at 4096, each other one where the row before it begins.
///
/// A page is checked when it is added, once. From then on its rows can be read without a further check: slots that are
/// impossible, and all behind them, count as not there.
class DataPages {
 public:
  DataPages(const PageReader& pages, Findings& findings);

  /// Checks the head, the slots and the free-space word of a page of the file. False when it is no data page.
  bool Add(PageNumber page, std::uint32_t owner, const Place& place);

  /// Slots of a page that can be read; 0 for a page that was not added.
  unsigned SlotCount(PageNumber page) const;
  bool Has(RowId row) const { return row.slot < SlotCount(row.page); }
  /// These need Has(row).
  SlotState StateOf(RowId row) const;
  ByteView Bytes(RowId row) const;
  Mark MarkOf(RowId row) const { return marks_[NumberOf(row)]; }
  void SetMark(RowId row, Mark mark) { marks_[NumberOf(row)] = mark; }
  /// Slots of pages added one after the other have numbers one after the other.
  std::size_t NumberOf(RowId row) const { return firstNumber_[row.page] + row.slot; }
  /// The number that the next page's first slot will get.
  std::size_t NextNumber() const { return marks_.size(); }

  /// Word 8 of a page of the file.
  std::uint32_t StampOf(PageNumber page) const;
  /// The free-space word.
  std::uint16_t FreeSpaceOf(PageNumber page) const;

 private:
  std::size_t CheckSlots(PageView page, const Place& place);

  const PageReader& pages_;
  Findings& findings_;
  std::vector<std::uint32_t> firstNumber_;  ///< by page
  std::vector<std::uint8_t> slots_;         ///< readable slots by page
  std::vector<Mark> marks_;                 ///< by number
};

}  // namespace mv::check
