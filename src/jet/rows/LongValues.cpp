#include "jet/rows/LongValues.h"

#include <algorithm>
#include <string>

#include "base/ByteOrder.h"
#include "base/Utf.h"
#include "jet/file/JetErrors.h"
#include "jet/pages/DataPage.h"
#include "jet/rows/ColumnValue.h"

namespace mv::jet {
namespace {

constexpr std::size_t kDescriptorSize = 12;
constexpr std::size_t kAddressOffset = 4;
constexpr std::size_t kStampWordOffset = 8;
constexpr std::uint32_t kLengthMask = 0x3FFFFFFF;
constexpr unsigned kFormShift = 30;

constexpr std::size_t kLongestInline = 64;
constexpr std::size_t kLongestOneRow = 3816;
constexpr std::size_t kNextRowSize = 4;
constexpr std::size_t kChunk = 4072;
/// A page with this many free bytes or fewer is not listed as having room.
constexpr std::size_t kFullBelow = 257;
/// Pages looked at for room before a new one is taken: keeps the work for one value independent of the column's size.
constexpr int kPagesTried = 8;
constexpr PageNumber kAbovePages = PageFile::kMaxPages;

Bytes Descriptor(LongValues::Form form, std::size_t length, RowId row, std::uint32_t stamp) {
  Bytes extent(kDescriptorSize);
  StoreLittle(extent.data(), static_cast<std::uint32_t>(length) | static_cast<std::uint32_t>(form) << kFormShift);
  StoreLittle(extent.data() + kAddressOffset, row.Word());
  StoreLittle(extent.data() + kStampWordOffset, stamp);
  return extent;
}

/// Any number will do that differs from that of another chain on the same pages, and 0 will not. Made of the content,
/// so that the same work gives the same file; two chains with one stamp would have to hold the same bytes.
std::uint32_t StampOf(ByteView stored) {
  constexpr std::uint32_t kPrime = 16777619;
  std::uint32_t hash = 2166136261;
  for (const std::uint8_t byte : stored) hash = (hash ^ byte) * kPrime;
  return hash == 0 ? 1 : hash;
}

bool HasRoomToList(const DataPageView& page) {
  return page.FreeSpace() > kFullBelow && page.SlotCount() < kMaxSlots;
}

}  // namespace

std::size_t LongValues::Plan::SizeInRow() const {
  return kDescriptorSize + (form == Form::Inline ? stored.size() : 0);
}

LongValues::LongValues(PageFile& file, const Column& column)
    : file_(file),
      freePages_(file),
      column_(column),
      owned_(file, column.longValuePages),
      freeSpace_(file, column.longValueFreeSpace),
      searchBelow_(kAbovePages) {}

void LongValues::Damaged(const char* what) const {
  throw DamagedFileError("a value of column '" + column_.name + "' " + what);
}

LongValues::Plan LongValues::PlanFor(const Value& value) const {
  const auto* text = std::get_if<std::string>(&value);
  const std::u16string units = text != nullptr ? Utf16FromUtf8(*text) : std::u16string();
  const std::size_t length = text != nullptr ? 2 * units.size() : std::get<Bytes>(value).size();
  if (length > kLengthMask) throw ConstraintError("The value is too long.");

  Plan plan;
  if (length > kLongestInline) {
    if (column_.longValuePages.IsNone()) {
      throw UnsupportedError("column '" + column_.name + "' has no pages for long values");
    }
    plan.form = length > kLongestOneRow || column_.longValueFreeSpace.IsNone() ? Form::Chain : Form::OneRow;
  }
  if (text == nullptr) {
    plan.stored = std::get<Bytes>(value);
    return plan;
  }
  const bool compresses = plan.form == Form::Inline || (plan.form == Form::OneRow && column_.IsCompressed());
  plan.stored = StoredText(units, compresses ? TextForm::CompressedIfShorter : TextForm::Plain);
  return plan;
}

Bytes LongValues::Store(const Plan& plan) {
  const std::size_t length = plan.stored.size();
  if (plan.form == Form::OneRow) return Descriptor(plan.form, length, StoreRow(plan.stored), 0);
  if (plan.form == Form::Chain) {
    const std::uint32_t stamp = StampOf(plan.stored);
    return Descriptor(plan.form, length, StoreChain(plan.stored, stamp), stamp);
  }
  Bytes extent = Descriptor(plan.form, length, {}, 0);
  extent.insert(extent.end(), plan.stored.begin(), plan.stored.end());
  return extent;
}

RowId LongValues::StoreRow(ByteView stored) {
  std::optional<PageNumber> number = PageWithRoom(stored.size());
  if (!number) {
    number = freePages_.Allocate();
    DataPage::Format(file_.Write(*number), kOwnerLongValues);
    owned_.Add(*number, freePages_);
    freeSpace_.Add(*number, freePages_);
    searchBelow_ = *number + 1;
    begun_ = *number;
  }
  DataPage page(file_, *number);
  const std::uint8_t slot = page.Append(stored, SlotState::Live);
  if (!HasRoomToList(page)) freeSpace_.Remove(*number);
  return {*number, slot};
}

/// Goes on downwards from the page that took the last value, and from the highest again when all are passed.
std::optional<PageNumber> LongValues::PageWithRoom(std::size_t length) {
  for (int tried = 0; tried < kPagesTried; ++tried) {
    const std::optional<PageNumber> number = freeSpace_.HighestBelow(searchBelow_);
    if (!number && searchBelow_ == kAbovePages) return std::nullopt;
    searchBelow_ = number ? *number : kAbovePages;
    if (!number) continue;
    const DataPageView page(file_, *number);
    const bool isOwn = page.Owner() == kOwnerLongValues && owned_.Contains(*number);
    if (!isOwn) Damaged("would go to a page that holds something else");
    if (!page.HasRoomFor(length) || (*number != begun_ && MayHoldChainPart(page))) continue;
    searchBelow_ = *number + 1;
    return number;
  }
  return std::nullopt;
}

/// Some writers let the parts of chains share pages with other rows. An engine that frees the pages of a chain whole
/// would take a value beside a part along, so no value is put there. A value whose first bytes happen to read like a
/// link costs no more than the rest of its page.
bool LongValues::MayHoldChainPart(const DataPageView& page) const {
  if (page.Stamp() != 0) return true;
  for (std::size_t slot = 0; slot < page.SlotCount(); ++slot) {
    if (page.State(slot) != SlotState::Live) continue;
    const ByteView row = page.Row(slot);
    if (row.size() < kNextRowSize) continue;
    const RowId next = RowId::FromWord(LoadLittle<std::uint32_t>(row.data()));
    if (next.IsNone() || owned_.Contains(next.page)) return true;
  }
  return false;
}

RowId LongValues::StoreChain(ByteView stored, std::uint32_t stamp) {
  std::vector<PageNumber> pages((stored.size() + kChunk - 1) / kChunk);
  for (PageNumber& page : pages) page = freePages_.Allocate();
  Bytes row;
  for (std::size_t i = 0; i < pages.size(); ++i) {
    const ByteView chunk = stored.subspan(kChunk * i, std::min(kChunk, stored.size() - kChunk * i));
    const RowId next = i + 1 < pages.size() ? RowId{pages[i + 1], 0} : RowId{};
    row.resize(kNextRowSize);
    StoreLittle(row.data(), next.Word());
    row.insert(row.end(), chunk.begin(), chunk.end());
    DataPage::Format(file_.Write(pages[i]), kOwnerLongValues);
    DataPage page(file_, pages[i]);
    page.Append(row, SlotState::Live);
    if (i == 0) page.SetStamp(stamp);
    owned_.Add(pages[i], freePages_);
  }
  return {pages.front(), 0};
}

/// A row on one of the column's pages.
ByteView LongValues::ValueRow(RowId row) const {
  const DataPageView page(file_, row.page);
  if (page.Owner() != kOwnerLongValues) Damaged("lies on a page that holds something else");
  if (page.State(row.slot) != SlotState::Live) Damaged("was deleted");
  return page.Row(row.slot);
}

/// The rows that hold a value's bytes, in order; none for an inline value.
std::vector<LongValues::Piece> LongValues::PiecesOf(ByteView extent) const {
  if (extent.size() < kDescriptorSize) Damaged("has no whole descriptor");
  const auto word = LoadLittle<std::uint32_t>(extent.data());
  const std::size_t length = word & kLengthMask;
  const RowId row = RowId::FromWord(LoadLittle<std::uint32_t>(extent.data() + kAddressOffset));
  switch (word >> kFormShift) {
    case static_cast<std::uint32_t>(Form::Inline):
      return {};
    case static_cast<std::uint32_t>(Form::OneRow): {
      const ByteView bytes = ValueRow(row);
      if (bytes.size() < length) Damaged("is shorter than its length says");
      return {{row, bytes.first(length)}};
    }
    case static_cast<std::uint32_t>(Form::Chain):
      return ChainOf(row, length, LoadLittle<std::uint32_t>(extent.data() + kStampWordOffset));
    default:
      Damaged("has a form that is not known");
  }
}

std::vector<LongValues::Piece> LongValues::ChainOf(RowId first, std::size_t length, std::uint32_t stamp) const {
  const std::size_t pages = file_.PageCount();
  if (length > pages * kPageSize) Damaged("is longer than the file");
  std::vector<Piece> pieces;
  std::size_t total = 0;
  for (RowId row = first; !row.IsNone();) {
    // Parts may share a page; more of them than the pages can have means that the chain leads back into itself.
    if (pieces.size() >= pages * kMaxSlots) Damaged("leads back into itself");
    const ByteView bytes = ValueRow(row);
    if (bytes.size() < kNextRowSize) Damaged("has a part without a link");
    if (pieces.empty() && DataPageView(file_, row.page).Stamp() != stamp) Damaged("was changed by somebody else");
    pieces.push_back({row, bytes.subspan(kNextRowSize)});
    total += pieces.back().bytes.size();
    if (total > length) Damaged("is longer than its length says");
    row = RowId::FromWord(LoadLittle<std::uint32_t>(bytes.data()));
  }
  if (total != length) Damaged("is shorter than its length says");
  return pieces;
}

bool LongValues::IsInline(ByteView extent) {
  if (extent.size() < kDescriptorSize) return false;
  return LoadLittle<std::uint32_t>(extent.data()) >> kFormShift == static_cast<std::uint32_t>(Form::Inline);
}

Value LongValues::Load(ByteView extent) const {
  Bytes joined;
  ByteView stored;
  const std::vector<Piece> pieces = PiecesOf(extent);
  if (pieces.empty()) {
    const std::size_t length = LoadLittle<std::uint32_t>(extent.data()) & kLengthMask;
    if (extent.size() - kDescriptorSize < length) Damaged("is shorter than its length says");
    stored = extent.subspan(kDescriptorSize, length);
  } else if (pieces.size() == 1) {
    stored = pieces.front().bytes;
  } else {
    for (const Piece& piece : pieces) joined.insert(joined.end(), piece.bytes.begin(), piece.bytes.end());
    stored = joined;
  }
  if (column_.type == ColumnType::Memo) return DecodeText(stored);
  return Bytes(stored.begin(), stored.end());
}

void LongValues::Remove(ByteView extent) {
  for (const Piece& piece : PiecesOf(extent)) RemoveRow(piece.row);
}

void LongValues::RemoveRow(RowId row) {
  if (!owned_.Contains(row.page)) Damaged("lies on a page that its column does not own");
  DataPage page(file_, row.page);
  page.Remove(row.slot);
  if (page.IsEmpty()) {
    page.SetStamp(0);
    owned_.Remove(row.page);
    if (!column_.longValueFreeSpace.IsNone()) freeSpace_.Remove(row.page);
    freePages_.Free(row.page);
  } else if (HasRoomToList(page) && !column_.longValueFreeSpace.IsNone() && !MayHoldChainPart(page)) {
    freeSpace_.Add(row.page, freePages_);
  }
}

}  // namespace mv::jet
