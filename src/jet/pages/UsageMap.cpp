#include "jet/pages/UsageMap.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string>

#include "base/ByteOrder.h"
#include "jet/file/JetErrors.h"
#include "jet/pages/DataPage.h"

namespace mv::jet {
namespace {

constexpr std::uint8_t kInline = 0;
constexpr std::uint8_t kByReference = 1;
constexpr std::size_t kFirstPageOffset = 1;
constexpr std::size_t kInlineBitsOffset = 5;
constexpr std::size_t kReferencesOffset = 1;
constexpr std::size_t kReferenceSize = 4;
/// Length of a map with references: 17 of them reach the format's 2 GiB.
constexpr std::size_t kReferencesLength = 69;
constexpr std::size_t kBitPageBitsOffset = 4;
constexpr PageNumber kPagesPerBitPage = (kPageSize - kBitPageBitsOffset) * 8;  // 32736
/// The inline map of free pages grows by steps of this many bytes, up to the length that leaves room for its neighbour
/// on page 1 (32000 pages).
constexpr std::size_t kGrowthStep = 4;
constexpr std::size_t kLongestInline = 4005;
/// Page numbers have 24 bits in row addresses.
constexpr PageNumber kPageNumberEnd = 1 << 24;

constexpr std::size_t kBitsPerWord = 64;

bool TestBit(ByteView bits, std::size_t bit) {
  return (bits[bit / 8] >> bit % 8 & 1) != 0;
}

void StoreBit(ByteSpan bits, std::size_t bit, bool value) {
  const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
  std::uint8_t& byte = bits[bit / 8];
  byte = static_cast<std::uint8_t>(value ? byte | mask : byte & ~mask);
}

/// Eight bytes of bits as a number, missing ones at the end as zeros.
std::uint64_t WordAt(ByteView bits, std::size_t word) {
  const std::size_t offset = word * sizeof(std::uint64_t);
  if (offset + sizeof(std::uint64_t) <= bits.size()) return LoadLittle<std::uint64_t>(bits.data() + offset);
  std::array<std::uint8_t, sizeof(std::uint64_t)> last = {};
  std::memcpy(last.data(), bits.data() + offset, bits.size() - offset);
  return LoadLittle<std::uint64_t>(last.data());
}

std::optional<std::size_t> LowestBitFrom(ByteView bits, std::size_t first) {
  const std::size_t words = (bits.size() * 8 + kBitsPerWord - 1) / kBitsPerWord;
  std::size_t word = first / kBitsPerWord;
  if (word >= words) return std::nullopt;
  std::uint64_t value = WordAt(bits, word) & ~std::uint64_t{0} << first % kBitsPerWord;
  while (value == 0) {
    if (++word == words) return std::nullopt;
    value = WordAt(bits, word);
  }
  return word * kBitsPerWord + static_cast<std::size_t>(std::countr_zero(value));
}

std::optional<std::size_t> HighestBitBelow(ByteView bits, std::size_t limit) {
  limit = std::min(limit, bits.size() * 8);
  if (limit == 0) return std::nullopt;
  std::size_t word = (limit - 1) / kBitsPerWord;
  const std::size_t kept = limit - word * kBitsPerWord;  // 1 to 64 bits of the highest word
  std::uint64_t value = WordAt(bits, word) & ~std::uint64_t{0} >> (kBitsPerWord - kept);
  while (value == 0) {
    if (word-- == 0) return std::nullopt;
    value = WordAt(bits, word);
  }
  return word * kBitsPerWord + kBitsPerWord - 1 - static_cast<std::size_t>(std::countl_zero(value));
}

[[noreturn]] void Malformed(RowId where, const char* what) {
  throw DamagedFileError("page map " + std::to_string(where.page) + "/" + std::to_string(where.slot) + " " + what);
}

/// A stretch of bits: bit k stands for page first + k. No bits: none of the stretch is in the set.
struct Stretch {
  PageNumber first = 0;
  ByteView bits;
};

/// The row of a map, checked, as a list of stretches in ascending order.
class MapRow {
 public:
  MapRow(const PageFile& file, RowId where) : file_(file), where_(where) {
    const DataPageView page(file, where.page);
    if (page.State(where.slot) != SlotState::Live) Malformed(where, "is not a live row");
    bytes_ = page.Row(where.slot);
    if (bytes_.size() < kInlineBitsOffset || bytes_[0] > kByReference) Malformed(where, "is of no known kind");
    if (IsInline() && FirstPage() >= kPageNumberEnd) Malformed(where, "has a bad start");
  }

  bool IsInline() const { return bytes_[0] == kInline; }
  PageNumber FirstPage() const { return LoadLittle<std::uint32_t>(bytes_.data() + kFirstPageOffset); }
  ByteView InlineBits() const { return bytes_.subspan(kInlineBitsOffset); }
  PageNumber InlineCapacity() const { return static_cast<PageNumber>(InlineBits().size() * 8); }
  std::size_t References() const { return (bytes_.size() - kReferencesOffset) / kReferenceSize; }
  PageNumber Reference(std::size_t range) const {
    return LoadLittle<std::uint32_t>(bytes_.data() + kReferencesOffset + kReferenceSize * range);
  }

  std::size_t StretchCount() const { return IsInline() ? 1 : References(); }
  /// The number of the stretch that `page` belongs to; may lie behind the last one.
  std::size_t StretchOf(PageNumber page) const { return IsInline() ? 0 : page / kPagesPerBitPage; }

  Stretch StretchAt(std::size_t number) const {
    if (IsInline()) return {FirstPage(), InlineBits()};
    const auto first = static_cast<PageNumber>(number * kPagesPerBitPage);
    const PageNumber bitPage = Reference(number);
    if (bitPage == 0) return {first, {}};
    const Page& page = file_.Read(bitPage);
    if (KindOf(page) != PageKind::MapBits) Malformed(where_, "names a page that holds no bits");
    return {first, ByteView(page).subspan(kBitPageBitsOffset)};
  }

  bool Covers(PageNumber page) const {
    const std::size_t number = StretchOf(page);
    if (number >= StretchCount()) return false;
    const Stretch stretch = StretchAt(number);
    return page >= stretch.first && page - stretch.first < stretch.bits.size() * 8;
  }

 private:
  const PageFile& file_;
  RowId where_;
  ByteView bytes_;
};

void FormatBitPage(Page& page, std::uint8_t bits) {
  page.fill(bits);
  StoreLittle<std::uint32_t>(page.data(), static_cast<std::uint32_t>(PageKind::MapBits));
}

void StoreReference(PageFile& file, RowId where, std::size_t range, PageNumber bitPage) {
  const ByteSpan row = DataPage(file, where.page).MutableRow(where.slot);
  StoreLittle(row.data() + kReferencesOffset + kReferenceSize * range, bitPage);
}

/// Makes the row a map with references and none set.
void ClearToReferences(PageFile& file, RowId where) {
  DataPage page(file, where.page);
  const std::size_t length = page.Row(where.slot).size();
  if (kReferencesLength > length + page.FreeSpace()) {
    throw UnsupportedError("page map " + std::to_string(where.page) + "/" + std::to_string(where.slot) +
                           " has no room to grow");
  }
  const ByteSpan row = page.Resize(where.slot, kReferencesLength);
  std::fill(row.begin(), row.end(), std::uint8_t{0});
  row[0] = kByReference;
}

}  // namespace

bool UsageMap::Covers(PageNumber page) const {
  return MapRow(file_, where_).Covers(page);
}

std::vector<PageNumber> UsageMap::BitPages() const {
  const MapRow row(file_, where_);
  std::vector<PageNumber> pages;
  if (row.IsInline()) return pages;
  for (std::size_t range = 0; range < row.References(); ++range) {
    if (row.Reference(range) != 0) pages.push_back(row.Reference(range));
  }
  return pages;
}

bool UsageMap::Contains(PageNumber page) const {
  const MapRow row(file_, where_);
  if (!row.Covers(page)) return false;
  const Stretch stretch = row.StretchAt(row.StretchOf(page));
  return TestBit(stretch.bits, page - stretch.first);
}

std::vector<PageNumber> UsageMap::Pages() const {
  std::vector<PageNumber> pages;
  const MapRow row(file_, where_);
  for (std::size_t number = 0; number < row.StretchCount(); ++number) {
    const Stretch stretch = row.StretchAt(number);
    auto bit = LowestBitFrom(stretch.bits, 0);
    for (; bit; bit = LowestBitFrom(stretch.bits, *bit + 1)) {
      pages.push_back(stretch.first + static_cast<PageNumber>(*bit));
    }
  }
  return pages;
}

std::optional<PageNumber> UsageMap::LowestFrom(PageNumber first) const {
  const MapRow row(file_, where_);
  for (std::size_t number = row.StretchOf(first); number < row.StretchCount(); ++number) {
    const Stretch stretch = row.StretchAt(number);
    const auto bit = LowestBitFrom(stretch.bits, first > stretch.first ? first - stretch.first : 0);
    if (bit) return stretch.first + static_cast<PageNumber>(*bit);
  }
  return std::nullopt;
}

std::optional<PageNumber> UsageMap::Highest() const {
  return HighestBelow(kPageNumberEnd * 2);
}

std::optional<PageNumber> UsageMap::HighestBelow(PageNumber limit) const {
  const MapRow row(file_, where_);
  if (limit == 0) return std::nullopt;
  std::size_t number = std::min(row.StretchOf(limit - 1) + 1, row.StretchCount());
  while (number-- > 0) {
    const Stretch stretch = row.StretchAt(number);
    if (limit <= stretch.first) continue;
    const auto bit = HighestBitBelow(stretch.bits, limit - stretch.first);
    if (bit) return stretch.first + static_cast<PageNumber>(*bit);
  }
  return std::nullopt;
}

/// Needs that the map covers `page`.
void UsageMap::SetBit(PageNumber page, bool value) {
  const MapRow row(file_, where_);
  const std::size_t number = row.StretchOf(page);
  const PageNumber bit = page - row.StretchAt(number).first;
  if (row.IsInline()) {
    StoreBit(DataPage(file_, where_.page).MutableRow(where_.slot).subspan(kInlineBitsOffset), bit, value);
  } else {
    StoreBit(ByteSpan(file_.Write(row.Reference(number))).subspan(kBitPageBitsOffset), bit, value);
  }
}

void UsageMap::Remove(PageNumber page) {
  if (Contains(page)) SetBit(page, false);
}

void UsageMap::Add(PageNumber page, FreePages& freePages) {
  if (Contains(page)) return;
  if (Covers(page)) {
    SetBit(page, true);
    return;
  }
  if (MapRow(file_, where_).IsInline()) {
    if (MoveStart(page)) return;
    TurnIntoReferences(freePages);
  }
  AddByReference(page, freePages);
}

/// Gives an inline map another first page, so that it holds its pages and `page`; false when they are too far apart.
bool UsageMap::MoveStart(PageNumber page) {
  const std::vector<PageNumber> pages = Pages();
  const PageNumber lowest = pages.empty() ? page : std::min(page, pages.front());
  const PageNumber highest = pages.empty() ? page : std::max(page, pages.back());
  const PageNumber start = lowest / 8 * 8;
  if (highest - start >= MapRow(file_, where_).InlineCapacity()) return false;
  const ByteSpan row = DataPage(file_, where_.page).MutableRow(where_.slot);
  StoreLittle(row.data() + kFirstPageOffset, start);
  const ByteSpan bits = row.subspan(kInlineBitsOffset);
  std::fill(bits.begin(), bits.end(), std::uint8_t{0});
  for (const PageNumber member : pages) StoreBit(bits, member - start, true);
  StoreBit(bits, page - start, true);
  return true;
}

void UsageMap::TurnIntoReferences(FreePages& freePages) {
  const std::vector<PageNumber> pages = Pages();
  ClearToReferences(file_, where_);
  for (const PageNumber member : pages) AddByReference(member, freePages);
}

void UsageMap::AddByReference(PageNumber page, FreePages& freePages) {
  const std::size_t range = page / kPagesPerBitPage;
  if (range >= MapRow(file_, where_).References()) Malformed(where_, "cannot reach the end of the file");
  if (MapRow(file_, where_).Reference(range) == 0) {
    const PageNumber bitPage = freePages.Allocate();
    FormatBitPage(file_.Write(bitPage), 0);
    StoreReference(file_, where_, range, bitPage);
  }
  SetBit(page, true);
}

FreePages::FreePages(PageFile& file) : file_(file), free_(file, kFreePagesMap), released_(file, kReleasedPagesMap) {}

PageNumber FreePages::Allocate() {
  const std::optional<PageNumber> inside = TakeInside();
  return inside ? *inside : Grow();
}

std::optional<PageNumber> FreePages::TakeInside() {
  auto page = free_.Lowest();
  while (page && *page < file_.PageCount() && released_.Contains(*page)) page = free_.LowestFrom(*page + 1);
  if (!page || *page >= file_.PageCount()) return std::nullopt;
  if (*page <= kFreePagesMap.page) throw DamagedFileError("the map of free pages lists page " + std::to_string(*page));
  free_.SetBit(*page, false);
  file_.Write(*page).fill(0);
  return page;
}

/// The file grows page by page and without holes: the new page is always the next one, whatever bits are set behind it.
PageNumber FreePages::Grow() {
  // Covering a page may append bit pages.
  while (!free_.Covers(file_.PageCount())) Cover(file_.PageCount());
  if (file_.PageCount() >= PageFile::kMaxPages) throw UnsupportedError("a database of more than 2 GiB");
  const PageNumber page = file_.Append();
  free_.SetBit(page, false);
  return page;
}

/// Goes a step towards a map that covers `page`.
void FreePages::Cover(PageNumber page) {
  if (!MapRow(file_, kFreePagesMap).IsInline()) {
    AppendBitPage(page / kPagesPerBitPage);
  } else if (!Lengthen(page)) {
    TurnIntoReferences();
  }
}

/// Lengthens the inline map on its page until it covers `page`; false when the page has no room for that.
bool FreePages::Lengthen(PageNumber page) {
  const MapRow row(file_, kFreePagesMap);
  if (page < row.FirstPage()) return false;
  const std::size_t bytes = (page - row.FirstPage()) / 8 + 1;
  const std::size_t length = kInlineBitsOffset + (bytes + kGrowthStep - 1) / kGrowthStep * kGrowthStep;
  const std::size_t oldLength = kInlineBitsOffset + row.InlineBits().size();
  const PageNumber start = row.FirstPage();
  const PageNumber firstNew = start + row.InlineCapacity();
  DataPage mapPage(file_, kFreePagesMap.page);
  if (length > kLongestInline || length - oldLength > mapPage.FreeSpace()) return false;
  const ByteSpan bits = mapPage.Resize(kFreePagesMap.slot, length).subspan(kInlineBitsOffset);
  std::fill(bits.begin() + static_cast<std::ptrdiff_t>(oldLength - kInlineBitsOffset), bits.end(), std::uint8_t{0xFF});
  // Pages of the file that the map did not cover are in use for all anybody knows.
  const PageNumber end = std::min(file_.PageCount(), start + static_cast<PageNumber>(bits.size() * 8));
  for (PageNumber known = firstNew; known < end; ++known) StoreBit(bits, known - start, false);
  return true;
}

void FreePages::TurnIntoReferences() {
  const std::vector<PageNumber> pages = free_.Pages();
  if (!pages.empty() && pages.back() >= kPagesPerBitPage) {
    throw UnsupportedError("a map of free pages that does not begin at page 0");
  }
  ClearToReferences(file_, kFreePagesMap);
  AppendBitPage(0);
  for (const PageNumber member : pages) free_.SetBit(member, true);
}

/// Appends the bit page of a range of pages, and those of the ranges that the appended pages themselves belong to.
void FreePages::AppendBitPage(PageNumber range) {
  const std::size_t references = MapRow(file_, kFreePagesMap).References();
  std::vector<PageNumber> made;
  bool ownRangeKnown = false;
  while (!ownRangeKnown) {
    if (range >= references || file_.PageCount() >= PageFile::kMaxPages) {
      throw UnsupportedError("a database of more than 2 GiB");
    }
    const PageNumber bitPage = file_.Append();
    FormatBitPage(file_.Write(bitPage), 0xFF);
    StoreReference(file_, kFreePagesMap, range, bitPage);
    made.push_back(range);
    ownRangeKnown = free_.Covers(bitPage);
    range = bitPage / kPagesPerBitPage;
  }
  for (const PageNumber done : made) ClearBitsOfFile(done);
}

/// In a new bit page only pages behind the end of the file are free; the others are in use for all anybody knows.
void FreePages::ClearBitsOfFile(PageNumber range) {
  const PageNumber first = range * kPagesPerBitPage;
  const PageNumber end = std::min(first + kPagesPerBitPage, file_.PageCount());
  for (PageNumber page = first; page < end; ++page) free_.SetBit(page, false);
}

void FreePages::Free(PageNumber page) {
  if (page >= file_.PageCount()) throw DamagedFileError("page " + std::to_string(page) + " lies behind the end");
  // Other engines leave files that are longer than the map.
  while (!free_.Covers(page)) Cover(page);
  if (free_.Contains(page)) throw DamagedFileError("page " + std::to_string(page) + " is free already");
  free_.SetBit(page, true);
  Page& bytes = file_.Write(page);
  if (KindOf(bytes) == PageKind::Data) SetKind(bytes, PageKind::FreedData);
}

}  // namespace mv::jet
