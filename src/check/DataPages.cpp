#include "check/DataPages.h"

namespace mv::check {
namespace {

constexpr std::size_t kKindAt = 0;
constexpr std::size_t kFreeSpaceAt = 2;
constexpr std::size_t kOwnerAt = 4;
constexpr std::size_t kStampAt = 8;
constexpr std::size_t kSlotCountAt = 12;
constexpr std::size_t kSlotsAt = 14;
constexpr std::size_t kSlotSize = 2;
constexpr std::size_t kMaxSlots = 255;

constexpr std::uint16_t kOffsetMask = 0x1FFF;
constexpr std::uint16_t kUnknownFlag = 0x2000;
constexpr unsigned kStateShift = 14;

std::uint16_t SlotWord(PageView page, std::size_t slot) {
  return Word16(page, kSlotsAt + kSlotSize * slot);
}
std::size_t RowStart(PageView page, std::size_t slot) {
  return SlotWord(page, slot) & kOffsetMask;
}
std::size_t RowEnd(PageView page, std::size_t slot) {
  return slot == 0 ? kPageSize : RowStart(page, slot - 1);
}

}  // namespace

DataPages::DataPages(const PageReader& pages, Findings& findings)
    : pages_(pages), findings_(findings), firstNumber_(pages.Count()), slots_(pages.Count()) {}

bool DataPages::Add(PageNumber number, std::uint32_t owner, const Place& place) {
  const PageView page = pages_.At(number);
  const Place here = place.OnPage(number);
  const std::uint16_t kind = Word16(page, kKindAt);
  if (kind != kDataPage) {
    findings_.Damage(Kind::Page, here, "the page should be a data page, but begins with ",
                     Hex{page.first(sizeof kind)});
    return false;
  }
  if (Word32(page, kOwnerAt) != owner) {
    findings_.Damage(Kind::PageOwner, here, "the owner field is ", Word32(page, kOwnerAt), ", not ", owner);
  }
  if (owner != kLongValueOwner && StampOf(number) != 0) {
    findings_.Note(Kind::Page, here, "the word at 8 is ", StampOf(number), ", not 0");
  }
  firstNumber_[number] = static_cast<std::uint32_t>(marks_.size());
  slots_[number] = static_cast<std::uint8_t>(CheckSlots(page, here));
  marks_.resize(marks_.size() + slots_[number], Mark::None);
  return true;
}

/// The number of slots that can be read.
std::size_t DataPages::CheckSlots(PageView page, const Place& place) {
  const std::size_t count = Word16(page, kSlotCountAt);
  if (count > kMaxSlots) {
    findings_.Damage(Kind::Slot, place, "the page has ", count, " slots, at most ", kMaxSlots, " can be");
    return 0;
  }
  const std::size_t slotsEnd = kSlotsAt + kSlotSize * count;
  for (std::size_t slot = 0; slot < count; ++slot) {
    const std::size_t start = RowStart(page, slot);
    const std::size_t end = RowEnd(page, slot);
    if (start < slotsEnd || start > end) {
      findings_.Damage(Kind::Slot, place, "the row in slot ", slot, " would begin at ", start, " and end at ", end);
      return slot;
    }
    if ((SlotWord(page, slot) & kUnknownFlag) != 0) {
      findings_.Damage(Kind::Slot, place, "slot ", slot, " has an unknown flag");
    }
  }
  const std::size_t room = RowEnd(page, count) - slotsEnd;
  if (Word16(page, kFreeSpaceAt) != room) {
    findings_.Damage(Kind::FreeSpace, place, "the free-space word is ", Word16(page, kFreeSpaceAt), ", but ", room,
                     " bytes are free");
  }
  return count;
}

unsigned DataPages::SlotCount(PageNumber page) const {
  return page < slots_.size() ? slots_[page] : 0;
}

SlotState DataPages::StateOf(RowId row) const {
  return static_cast<SlotState>(SlotWord(pages_.At(row.page), row.slot) >> kStateShift);
}

ByteView DataPages::Bytes(RowId row) const {
  const PageView page = pages_.At(row.page);
  const std::size_t start = RowStart(page, row.slot);
  return page.subspan(start, RowEnd(page, row.slot) - start);
}

std::uint32_t DataPages::StampOf(PageNumber page) const {
  return Word32(pages_.At(page), kStampAt);
}

std::uint16_t DataPages::FreeSpaceOf(PageNumber page) const {
  return Word16(pages_.At(page), kFreeSpaceAt);
}

}  // namespace mv::check
