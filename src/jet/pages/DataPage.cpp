#include "jet/pages/DataPage.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "base/ByteOrder.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

constexpr std::uint16_t kSlotOffsetMask = 0x1FFF;
constexpr std::uint16_t kSlotStateMask = 0xC000;

bool IsDataKind(PageKind kind) {
  return kind == PageKind::Data || kind == PageKind::FreedData;
}

}  // namespace

DataPageView::DataPageView(const Page& page, PageNumber number) : page_(page), number_(number) {
  if (!IsDataKind(KindOf(page))) Damaged("is no data page");
  if (SlotCount() > kMaxSlots) Damaged("has more than 255 rows");
  const std::size_t lowest = LowestRow();
  if (lowest > kPageSize || lowest < kSlotsOffset + kSlotSize * SlotCount()) Damaged("has rows outside its bounds");
}

void DataPageView::Damaged(const char* what) const {
  throw DamagedFileError("page " + std::to_string(number_) + " " + what);
}

std::uint32_t DataPageView::Owner() const {
  return LoadLittle<std::uint32_t>(page_.data() + kOwnerOffset);
}

std::uint32_t DataPageView::Stamp() const {
  return LoadLittle<std::uint32_t>(page_.data() + kStampOffset);
}

std::size_t DataPageView::SlotCount() const {
  return LoadLittle<std::uint16_t>(page_.data() + kSlotCountOffset);
}

std::size_t DataPageView::FreeSpace() const {
  return LowestRow() - kSlotsOffset - kSlotSize * SlotCount();
}

bool DataPageView::HasRoomFor(std::size_t length) const {
  return SlotCount() < kMaxSlots && FreeSpace() >= length + kSlotSize;
}

std::uint16_t DataPageView::SlotWord(std::size_t slot) const {
  return LoadLittle<std::uint16_t>(page_.data() + kSlotsOffset + kSlotSize * slot);
}

std::size_t DataPageView::RowStart(std::size_t slot) const {
  return SlotWord(slot) & kSlotOffsetMask;
}

std::size_t DataPageView::LowestRow() const {
  const std::size_t count = SlotCount();
  return count == 0 ? kPageSize : RowStart(count - 1);
}

SlotState DataPageView::State(std::size_t slot) const {
  if (slot >= SlotCount()) Damaged("has fewer rows than an address says");
  return static_cast<SlotState>(SlotWord(slot) & kSlotStateMask);
}

bool DataPageView::IsHome(std::size_t slot) const {
  const SlotState state = State(slot);
  return state == SlotState::Live || state == SlotState::Moved;
}

DataPageView::Extent DataPageView::ExtentOf(std::size_t slot) const {
  if (slot >= SlotCount()) Damaged("has fewer rows than an address says");
  const Extent extent = {RowStart(slot), slot == 0 ? kPageSize : RowStart(slot - 1)};
  if (extent.start > extent.end || extent.end > kPageSize || extent.start < LowestRow()) {
    Damaged("has rows that overlap");
  }
  return extent;
}

ByteView DataPageView::Row(std::size_t slot) const {
  const Extent extent = ExtentOf(slot);
  return ByteView(page_).subspan(extent.start, extent.end - extent.start);
}

bool DataPageView::IsEmpty() const {
  for (std::size_t slot = 0; slot < SlotCount(); ++slot) {
    if (State(slot) != SlotState::Dead) return false;
  }
  return true;
}

void DataPage::Format(Page& page, std::uint32_t owner) {
  page.fill(0);
  SetKind(page, PageKind::Data);
  StoreLittle<std::uint32_t>(page.data() + kOwnerOffset, owner);
  StoreLittle<std::uint16_t>(page.data() + kFreeSpaceOffset, kPageSize - kSlotsOffset);
}

DataPage::DataPage(Page& page, PageNumber number) : DataPageView(page, number), bytes_(page) {
  if (KindOf(page) != PageKind::Data) Damaged("is a freed page");
}

std::uint8_t DataPage::Append(ByteView row, SlotState state) {
  const std::size_t slot = SlotCount();
  if (!HasRoomFor(row.size())) Damaged("has no room for a row");
  const std::size_t start = LowestRow() - row.size();
  std::copy(row.begin(), row.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(start));
  StoreLittle(bytes_.data() + kSlotCountOffset, static_cast<std::uint16_t>(slot + 1));
  SetSlot(slot, start, state);
  StoreFreeSpace();
  return static_cast<std::uint8_t>(slot);
}

void DataPage::Replace(std::size_t slot, ByteView row, SlotState state) {
  const ByteSpan target = Resize(slot, row.size());
  std::copy(row.begin(), row.end(), target.begin());
  SetSlot(slot, RowStart(slot), state);
}

ByteSpan DataPage::Resize(std::size_t slot, std::size_t length) {
  const Extent old = ExtentOf(slot);
  const std::size_t oldLength = old.end - old.start;
  if (length == oldLength) return MutableRow(slot);
  if (length > oldLength + FreeSpace()) Damaged("has no room for a longer row");
  const std::size_t lowest = LowestRow();
  const std::size_t kept = std::min(length, oldLength);
  const std::size_t start = old.end - length;
  const auto distance = static_cast<std::ptrdiff_t>(start) - static_cast<std::ptrdiff_t>(old.start);
  ShiftSlots(slot, distance);
  // The rows below move together with the first bytes of this one.
  std::uint8_t* const moved = bytes_.data() + lowest + distance;
  std::memmove(moved, bytes_.data() + lowest, old.start - lowest + kept);
  if (distance > 0) std::memset(bytes_.data() + lowest, 0, static_cast<std::size_t>(distance));
  std::memset(bytes_.data() + start + kept, 0, length - kept);
  StoreFreeSpace();
  return ByteSpan(bytes_).subspan(start, length);
}

void DataPage::Remove(std::size_t slot) {
  Resize(slot, 0);
  SetSlot(slot, RowStart(slot), SlotState::Dead);
}

ByteSpan DataPage::MutableRow(std::size_t slot) {
  const Extent extent = ExtentOf(slot);
  return ByteSpan(bytes_).subspan(extent.start, extent.end - extent.start);
}

void DataPage::SetStamp(std::uint32_t stamp) {
  StoreLittle(bytes_.data() + kStampOffset, stamp);
}

void DataPage::SetSlot(std::size_t slot, std::size_t offset, SlotState state) {
  StoreLittle(bytes_.data() + kSlotsOffset + kSlotSize * slot,
              static_cast<std::uint16_t>(offset | static_cast<std::uint16_t>(state)));
}

/// Adds `distance` to the offsets of the slots from `from` on. Checks all of them before the first changes.
void DataPage::ShiftSlots(std::size_t from, std::ptrdiff_t distance) {
  for (std::size_t slot = from; slot < SlotCount(); ++slot) ExtentOf(slot);
  for (std::size_t slot = from; slot < SlotCount(); ++slot) {
    const auto offset = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(RowStart(slot)) + distance);
    SetSlot(slot, offset, State(slot));
  }
}

void DataPage::StoreFreeSpace() {
  StoreLittle(bytes_.data() + kFreeSpaceOffset, static_cast<std::uint16_t>(FreeSpace()));
}

}  // namespace mv::jet
