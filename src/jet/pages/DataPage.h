#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Bytes.h"
#include "jet/file/Page.h"
#include "jet/file/PageFile.h"

namespace mv::jet {

/// Data pages hold rows: of a table, of usage maps, or pieces of long values. All numbers little-endian.
///
/// | offset | size | content                                                                               |
/// |--------|------|---------------------------------------------------------------------------------------|
/// | 0      | 2    | 01 01                                                                                 |
/// | 2      | 2    | free space = 4096 - 14 - 2 N - bytes of all rows, dead ones included                  |
/// | 4      | 4    | owner: the table's definition page; "LVAL" for long values; 0 for maps; 1 on page 1   |
/// | 8      | 4    | 0; on the first page of a long value chain its stamp                                  |
/// | 12     | 2    | number of slots N, at most 255                                                        |
/// | 14     | 2 N  | slots: low 13 bits offset of the row's first byte, high bits its state                |
///
/// Row 0 ends at 4096 and row r where row r - 1 begins: rows lie from the end of the page downwards in slot order,
/// without gaps. A slot is never reused or moved, because its number is part of the row's address.
inline constexpr std::size_t kFreeSpaceOffset = 2;
inline constexpr std::size_t kOwnerOffset = 4;
inline constexpr std::size_t kStampOffset = 8;
inline constexpr std::size_t kSlotCountOffset = 12;
inline constexpr std::size_t kSlotsOffset = 14;
inline constexpr std::size_t kSlotSize = 2;
inline constexpr std::size_t kMaxSlots = 255;

/// Owner words that are no definition page.
inline constexpr std::uint32_t kOwnerMaps = 0;
inline constexpr std::uint32_t kOwnerGlobalMaps = 1;
inline constexpr std::uint32_t kOwnerLongValues = 0x4C41564C;  // "LVAL"

/// The two highest bits of a slot.
enum class SlotState : std::uint16_t {
  Live = 0x0000,
  Moved = 0x4000,    ///< the first 4 bytes are the address of the row's landing row; the rest, if any, is junk
  Landing = 0x8000,  ///< reached only through the Moved slot that names it
  Dead = 0xC000,     ///< its bytes may still be there (files of other engines) or have been squeezed out
};

/// A data page to look at. Every access is checked: a page that contradicts itself raises DamagedFileError. Sees the
/// page as it is at each call; copies nothing.
class DataPageView {
 public:
  /// `number` is for messages. Accepts freed pages too: maps decide what a page is for, not its kind. Throws
  /// DamagedFileError for another kind of page, for more than 255 slots and for rows that reach into the slots.
  DataPageView(const Page& page, PageNumber number);
  DataPageView(const PageFile& file, PageNumber number) : DataPageView(file.Read(number), number) {}

  std::uint32_t Owner() const;
  /// Word 8: the stamp of the long value chain that begins here, else 0.
  std::uint32_t Stamp() const;
  std::size_t SlotCount() const;
  /// Bytes between the slots and the lowest row, which is what the free-space word should say (files of other engines
  /// are not trusted to).
  std::size_t FreeSpace() const;
  /// True when a row of `length` bytes and its slot can be added.
  bool HasRoomFor(std::size_t length) const;

  /// `slot` counts from 0; DamagedFileError when there is none of that number.
  SlotState State(std::size_t slot) const;
  /// Live or moved: a row whose address is this slot.
  bool IsHome(std::size_t slot) const;
  ByteView Row(std::size_t slot) const;
  /// True when no slot is live, moved or landing.
  bool IsEmpty() const;

 protected:
  struct Extent {
    std::size_t start = 0;
    std::size_t end = 0;
  };
  std::uint16_t SlotWord(std::size_t slot) const;
  std::size_t RowStart(std::size_t slot) const;
  Extent ExtentOf(std::size_t slot) const;
  std::size_t LowestRow() const;
  [[noreturn]] void Damaged(const char* what) const;

  const Page& page_;
  PageNumber number_;
};

/// A data page to change. Keeps the free-space word right and clears bytes that become unused.
class DataPage : public DataPageView {
 public:
  /// Makes an empty data page of `page`, whatever it holds.
  static void Format(Page& page, std::uint32_t owner);

  /// Throws as DataPageView, and for a freed page.
  DataPage(Page& page, PageNumber number);
  DataPage(PageFile& file, PageNumber number) : DataPage(file.Write(number), number) {}

  /// Adds a row in a new slot below all others and returns the slot. Needs HasRoomFor.
  std::uint8_t Append(ByteView row, SlotState state);
  /// Gives a row another content, length and state; the rows below it shift. Needs FreeSpace() + its present length.
  void Replace(std::size_t slot, ByteView row, SlotState state);
  /// Gives a row another length and returns its bytes to fill: the first ones are kept, new ones are 0.
  ByteSpan Resize(std::size_t slot, std::size_t length);
  /// Makes a slot dead and squeezes its bytes out.
  void Remove(std::size_t slot);
  /// The bytes of a row, to change in place.
  ByteSpan MutableRow(std::size_t slot);
  void SetStamp(std::uint32_t stamp);

 private:
  void SetSlot(std::size_t slot, std::size_t offset, SlotState state);
  void ShiftSlots(std::size_t from, std::ptrdiff_t distance);
  void StoreFreeSpace();

  Page& bytes_;  ///< the page of the base class, to change
};

}  // namespace mv::jet
