#include "jet/index/IndexPage.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

#include "base/ByteOrder.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

constexpr std::size_t kBitsPerWord = 64;
constexpr std::size_t kMarkWords = kEntryAreaSize / kBitsPerWord + 1;
/// The last word of marks has bits up to kEntryAreaSize, the end of an entry that fills the area to its last byte.
constexpr std::uint64_t kLastWordMask = (std::uint64_t{2} << (kEntryAreaSize % kBitsPerWord)) - 1;

using Marks = std::array<std::uint64_t, kMarkWords>;

/// Bits 0 to `position` of the word that has `position`.
std::uint64_t MaskUpTo(std::size_t position) {
  return ~std::uint64_t{0} >> (kBitsPerWord - 1 - position % kBitsPerWord);
}

std::uint64_t Bit(std::size_t position) {
  return std::uint64_t{1} << (position % kBitsPerWord);
}

Marks LoadMarks(const Page& page) {
  std::array<std::uint8_t, kMarkWords * sizeof(std::uint64_t)> bytes{};
  std::memcpy(bytes.data(), page.data() + kEndMarksOffset, kEndMarksSize);
  Marks marks;
  for (std::size_t i = 0; i < kMarkWords; ++i) {
    marks[i] = LoadLittle<std::uint64_t>(bytes.data() + i * sizeof(std::uint64_t));
  }
  marks.back() &= kLastWordMask;
  return marks;
}

void StoreMarks(Page& page, const Marks& marks) {
  std::array<std::uint8_t, kMarkWords * sizeof(std::uint64_t)> bytes;
  for (std::size_t i = 0; i < kMarkWords; ++i) StoreLittle(bytes.data() + i * sizeof(std::uint64_t), marks[i]);
  std::memcpy(page.data() + kEndMarksOffset, bytes.data(), kEndMarksSize);
}

/// Bits `distance` (below 64) up: those of `low` that come over, and those of `high` that stay.
std::uint64_t Joined(std::uint64_t low, std::uint64_t high, std::size_t distance) {
  return distance == 0 ? high : high << distance | low >> (kBitsPerWord - distance);
}

/// Moves the bits behind `position` up, those up to it stay. The last one comes to stand at `end`.
void ShiftUp(Marks& marks, std::size_t position, std::size_t distance, std::size_t end) {
  const std::size_t words = distance / kBitsPerWord;
  const std::size_t bits = distance % kBitsPerWord;
  const std::size_t first = position / kBitsPerWord;
  const std::uint64_t kept = marks[first] & MaskUpTo(position);
  marks[first] &= ~MaskUpTo(position);
  for (std::size_t i = end / kBitsPerWord; i > first + words; --i) {
    marks[i] = Joined(marks[i - words - 1], marks[i - words], bits);
  }
  marks[first + words] = marks[first] << bits;
  for (std::size_t i = first; i < first + words; ++i) marks[i] = 0;
  marks[first] |= kept;
}

/// Moves the bits behind `position` + `distance` down; those behind `position` that they come upon are gone.
void ShiftDown(Marks& marks, std::size_t position, std::size_t distance) {
  const std::size_t words = distance / kBitsPerWord;
  const std::size_t bits = distance % kBitsPerWord;
  const std::size_t first = position / kBitsPerWord;
  const std::uint64_t kept = marks[first] & MaskUpTo(position);
  const auto wordAt = [&](std::size_t i) { return i < kMarkWords ? marks[i] : 0; };
  for (std::size_t i = first; i < kMarkWords; ++i) {
    const std::uint64_t low = wordAt(i + words);
    marks[i] = bits == 0 ? low : low >> bits | wordAt(i + words + 1) << (kBitsPerWord - bits);
  }
  marks[first] = (marks[first] & ~MaskUpTo(position)) | kept;
}

/// Negative, zero or positive as `left` is below, equal to or above `right`; a beginning is below the whole.
int Compare(ByteView left, ByteView right) {
  const std::size_t shared = std::min(left.size(), right.size());
  std::size_t at = 0;
  for (; shared - at >= sizeof(std::uint64_t); at += sizeof(std::uint64_t)) {
    const auto leftWord = LoadBig<std::uint64_t>(left.data() + at);
    const auto rightWord = LoadBig<std::uint64_t>(right.data() + at);
    if (leftWord != rightWord) return leftWord < rightWord ? -1 : 1;
  }
  for (; at < shared; ++at) {
    if (left[at] != right[at]) return static_cast<int>(left[at]) - static_cast<int>(right[at]);
  }
  return static_cast<int>(left.size()) - static_cast<int>(right.size());
}

bool StartsWith(ByteView bytes, ByteView beginning) {
  return bytes.size() >= beginning.size() && std::equal(beginning.begin(), beginning.end(), bytes.begin());
}

}  // namespace

EntryBytes::EntryBytes(ByteView key, RowId row) {
  Append(key);
  std::array<std::uint8_t, kRowAddressSize> address;
  StoreBig(address.data(), row.Word());
  Append(address);
}

void EntryBytes::Append(ByteView bytes) {
  std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(size_));
  size_ += bytes.size();
}

void EntryBytes::AppendChild(PageNumber child) {
  std::array<std::uint8_t, kChildSize> bytes;
  StoreBig(bytes.data(), child);
  Append(bytes);
}

RowId EntryBytes::Row() const {
  return RowId::FromWord(LoadBig<std::uint32_t>(bytes_.data() + size_ - kRowAddressSize));
}

bool EntryBytes::StartsWith(ByteView beginning) const {
  return jet::StartsWith(View(), beginning);
}

ByteView EntryList::operator[](std::size_t index) const {
  return ByteView(bytes_).subspan(StartOf(index), Size(index, index + 1));
}

void EntryList::Append(ByteView entry) {
  bytes_.insert(bytes_.end(), entry.begin(), entry.end());
  ends_.push_back(bytes_.size());
}

void EntryList::Insert(std::size_t index, ByteView entry) {
  const std::size_t start = StartOf(index);
  bytes_.insert(bytes_.begin() + static_cast<std::ptrdiff_t>(start), entry.begin(), entry.end());
  ends_.insert(ends_.begin() + static_cast<std::ptrdiff_t>(index), start);
  for (std::size_t i = index; i < ends_.size(); ++i) ends_[i] += entry.size();
}

std::size_t EntryRange::SharedPrefix(std::size_t kept) const {
  if (Count() < 2) return 0;
  ByteView shared = list[first].first(list[first].size() - (kept - 1));
  for (std::size_t i = first + 1; i < last; ++i) {
    // Something of every entry but the first must be left to store.
    const ByteView other = list[i].first(list[i].size() - kept);
    const auto end = std::mismatch(shared.begin(), shared.end(), other.begin(), other.end()).first;
    shared = shared.first(static_cast<std::size_t>(end - shared.begin()));
  }
  return shared.size();
}

std::size_t EntryRange::StoredSize(std::size_t prefix) const {
  const std::size_t shortened = Count() > 1 ? Count() - 1 : 0;
  return list.Size(first, last) - prefix * shortened;
}

IndexPageView::IndexPageView(const PageFile& file, PageNumber number, PageNumber owner)
    : page_(file.Read(number)), number_(number), used_(LastMark()) {
  const PageKind kind = KindOf(page_);
  if (kind != PageKind::IndexLeaf && kind != PageKind::IndexNode) Damaged("is no index page");
  if (Word(kIndexOwnerOffset) != owner) Damaged("belongs to another table");
  if (kind == PageKind::IndexLeaf && Level() != 0) Damaged("has a wrong level");
  const std::uint8_t lastMarks = page_[kEndMarksOffset + kEndMarksSize - 1];
  if (lastMarks > 1 || (MarkWord(0) & 1) != 0) Damaged("has end marks outside its entries");
  const std::size_t prefix = PrefixLength();
  if (prefix != 0 && prefix > EndOf(0)) Damaged("has a prefix longer than its first entry");
}

void IndexPageView::Damaged(const std::string& what) const {
  throw DamagedFileError("index page " + std::to_string(number_) + " " + what);
}

PageNumber IndexPageView::Tail() const {
  const PageNumber tail = Word(kIndexTailOffset);
  if (tail == 0) Damaged("is a node without a tail");
  return tail;
}

std::uint64_t IndexPageView::MarkWord(std::size_t index) const {
  const auto word = LoadLittle<std::uint64_t>(page_.data() + kEndMarksOffset + index * sizeof(std::uint64_t));
  return index + 1 == kMarkWords ? word & kLastWordMask : word;
}

/// The last end mark of all; 0 when there is none. Half of a page's marks may have to be looked through for it.
std::size_t IndexPageView::LastMark() const {
  constexpr std::size_t kStep = 4;
  static_assert((kMarkWords - 1) % kStep == 0);
  if (MarkWord(kMarkWords - 1) != 0) return MarkUpTo(kEntryAreaSize);
  const auto wordAt = [marks = page_.data() + kEndMarksOffset](std::size_t i) {
    return LoadLittle<std::uint64_t>(marks + i * sizeof(std::uint64_t));
  };
  std::size_t words = kMarkWords - 1;
  while (words > 0 && (wordAt(words - 1) | wordAt(words - 2) | wordAt(words - 3) | wordAt(words - 4)) == 0) {
    words -= kStep;
  }
  return words == 0 ? 0 : MarkUpTo(words * kBitsPerWord - 1);
}

/// The last end mark that is not behind `position`; 0 when there is none, which is where the first entry begins.
std::size_t IndexPageView::MarkUpTo(std::size_t position) const {
  std::size_t index = position / kBitsPerWord;
  std::uint64_t word = MarkWord(index) & MaskUpTo(position);
  while (word == 0 && index > 0) word = MarkWord(--index);
  if (word == 0) return 0;
  return index * kBitsPerWord + kBitsPerWord - 1 - static_cast<std::size_t>(std::countl_zero(word));
}

/// The first end mark behind `position`; 0 when there is none.
std::size_t IndexPageView::MarkBehind(std::size_t position) const {
  std::size_t index = position / kBitsPerWord;
  std::uint64_t word = MarkWord(index) & ~MaskUpTo(position);
  while (word == 0 && index + 1 < kMarkWords) word = MarkWord(++index);
  return word == 0 ? 0 : index * kBitsPerWord + static_cast<std::size_t>(std::countr_zero(word));
}

std::size_t IndexPageView::EndOf(std::size_t at) const {
  const std::size_t end = MarkBehind(at);
  if (end == 0) Damaged("has an entry without an end");
  return end;
}

std::size_t IndexPageView::IndexOf(std::size_t at) const {
  std::size_t count = 0;
  for (std::size_t i = 0; i < at / kBitsPerWord; ++i) count += static_cast<std::size_t>(std::popcount(MarkWord(i)));
  return count + static_cast<std::size_t>(std::popcount(MarkWord(at / kBitsPerWord) & MaskUpTo(at)));
}

PageNumber IndexPageView::ChildAt(std::size_t at) const {
  const std::size_t end = EndOf(at);
  const std::size_t size = end - at + (at == 0 ? 0 : PrefixLength());
  if (end - at < kChildSize || size <= kRowAddressSize + kChildSize) Damaged("has an entry that is too short");
  return LoadBig<std::uint32_t>(Area().data() + end - kChildSize);
}

void IndexPageView::ReadEntry(std::size_t at, EntryBytes& out) const {
  const std::size_t end = EndOf(at);
  out.Clear();
  if (at != 0) out.Append(Area().first(PrefixLength()));
  out.Append(Area().subspan(at, end - at));
  const std::size_t shortest = 1 + kRowAddressSize + (IsLeaf() ? 0 : kChildSize);
  if (out.Size() < shortest) Damaged("has an entry of " + std::to_string(out.Size()) + " bytes");
}

EntryList IndexPageView::AllEntries() const {
  EntryList entries;
  EntryBytes entry;
  for (std::size_t at = 0, used = Used(); at < used; at = EndOf(at)) {
    ReadEntry(at, entry);
    entries.Append(entry.View());
  }
  return entries;
}

/// Compares an entry's key and row address, from byte `skip` of its stored bytes on, with the rest of what is sought.
int IndexPageView::CompareStored(std::size_t start, std::size_t end, std::size_t skip, ByteView sought) const {
  const std::size_t child = IsLeaf() ? 0 : kChildSize;
  if (end - start < skip + child) Damaged("has an entry that is too short");
  return Compare(Area().subspan(start + skip, end - start - skip - child), sought);
}

std::size_t IndexPageView::LowerBound(ByteView sought) const {
  std::size_t low = 0;
  std::size_t high = Used();
  const std::size_t prefix = high == 0 ? 0 : PrefixLength();
  if (prefix != 0) {
    const int difference = Compare(Area().first(prefix), sought.first(std::min(prefix, sought.size())));
    if (difference != 0) return difference > 0 ? 0 : high;
    sought = sought.subspan(prefix);
  }
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    const std::size_t start = std::max(MarkUpTo(middle), low);
    const std::size_t end = EndOf(middle);
    if (CompareStored(start, end, start == 0 ? prefix : 0, sought) < 0) {
      low = end;
    } else {
      high = start;
    }
  }
  return low;
}

bool IndexPageView::Holds(std::size_t at, ByteView entry) const {
  if (at == Used()) return false;
  const ByteView stored = Area().subspan(at, EndOf(at) - at);
  const std::size_t prefix = at == 0 ? 0 : PrefixLength();
  return entry.size() == prefix + stored.size() && StartsWith(entry, Area().first(prefix)) &&
         Compare(stored, entry.subspan(prefix)) == 0;
}

void IndexPage::Format(Page& page, PageNumber owner, std::uint8_t level) {
  page.fill(0);
  SetKind(page, level == 0 ? PageKind::IndexLeaf : PageKind::IndexNode);
  StoreLittle(page.data() + kIndexFreeSpaceOffset, static_cast<std::uint16_t>(kEntryAreaSize));
  StoreLittle(page.data() + kIndexOwnerOffset, owner);
  page[kIndexLevelOffset] = level;
}

IndexPage::IndexPage(PageFile& file, PageNumber number, PageNumber owner)
    : IndexPageView(file, number, owner), bytes_(file.Write(number)) {}

void IndexPage::StoreUsed(std::size_t used) {
  used_ = used;
  StoreLittle(bytes_.data() + kIndexFreeSpaceOffset, static_cast<std::uint16_t>(kEntryAreaSize - used));
}

void IndexPage::SetPrefixLength(std::size_t length) {
  StoreLittle(bytes_.data() + kIndexPrefixOffset, static_cast<std::uint16_t>(length));
}

template <typename Change>
void IndexPage::ChangeMarks(Change change) {
  Marks marks = LoadMarks(page_);
  change(marks);
  StoreMarks(bytes_, marks);
}

/// Moves the bytes from `at` on up and puts `bytes` there, whose last one ends an entry.
void IndexPage::InsertBytes(std::size_t at, ByteView bytes) {
  const std::size_t used = Used();
  std::uint8_t* const gap = bytes_.data() + kEntriesOffset + at;
  std::memmove(gap + bytes.size(), gap, used - at);
  std::memcpy(gap, bytes.data(), bytes.size());

  const std::size_t end = at + bytes.size();
  ChangeMarks([&](Marks& marks) {
    ShiftUp(marks, at, bytes.size(), used + bytes.size());
    marks[end / kBitsPerWord] |= Bit(end);
  });
  StoreUsed(used + bytes.size());
}

/// Closes the gap from `start` to `end`, where an entry ends. An end mark at `start` stays unless it is the same one.
void IndexPage::EraseBytes(std::size_t start, std::size_t end) {
  const std::size_t used = Used();
  const std::size_t left = used - (end - start);
  std::uint8_t* const area = bytes_.data() + kEntriesOffset;
  std::memmove(area + start, area + end, used - end);
  std::memset(area + left, 0, used - left);

  ChangeMarks([&](Marks& marks) {
    marks[end / kBitsPerWord] &= ~Bit(end);
    ShiftDown(marks, start, end - start);
  });
  StoreUsed(left);
}

bool IndexPage::TryInsert(std::size_t at, ByteView entry) {
  const std::size_t used = Used();
  if (at > used) Damaged("has changed while it was in use");
  const std::size_t prefix = PrefixLength();
  if (entry.size() <= prefix || entry.size() - prefix > kEntryAreaSize - used) return false;
  if (prefix != 0 && (!StartsWith(entry, Area().first(prefix)) || EndOf(0) == prefix)) return false;
  if (used == 0) SetPrefixLength(0);
  // In front of the first entry its own prefix bytes become those of the new one.
  InsertBytes(at == 0 ? prefix : at, entry.subspan(prefix));
  return true;
}

void IndexPage::Remove(std::size_t at) {
  const std::size_t end = EndOf(at);
  const bool isOnly = at == 0 && end == Used();
  // The prefix bytes of the first entry stay for the second.
  EraseBytes(at == 0 && !isOnly ? PrefixLength() : at, end);
  if (IsEmpty() || EndOf(0) == Used()) SetPrefixLength(0);
}

void IndexPage::Store(EntryRange entries, std::size_t prefix) {
  Marks marks{};
  std::uint8_t* const area = bytes_.data() + kEntriesOffset;
  std::size_t used = 0;
  for (std::size_t i = entries.first; i < entries.last; ++i) {
    const ByteView stored = entries.list[i].subspan(i == entries.first ? 0 : prefix);
    std::copy(stored.begin(), stored.end(), area + used);
    used += stored.size();
    marks[used / kBitsPerWord] |= Bit(used);
  }
  std::memset(area + used, 0, kEntryAreaSize - used);
  StoreMarks(bytes_, marks);
  SetPrefixLength(prefix);
  StoreUsed(used);
}

std::size_t IndexPage::LongestPrefix(EntryRange entries) const {
  return entries.SharedPrefix(IsLeaf() ? 1 : kKeptOfNodeEntry);
}

bool IndexPage::TryStore(EntryRange entries) {
  const bool mayHavePrefix = IsLeaf() || PrefixLength() != 0;
  std::size_t prefix = 0;
  if (mayHavePrefix && entries.StoredSize(0) > kEntryAreaSize) prefix = LongestPrefix(entries);
  if (entries.StoredSize(prefix) > kEntryAreaSize) return false;
  Store(entries, prefix);
  return true;
}

void IndexPage::StoreCompact(EntryRange entries) {
  const bool isPlain = !IsLeaf() && entries.StoredSize(0) <= kEntryAreaSize;
  const std::size_t prefix = isPlain ? 0 : LongestPrefix(entries);
  if (entries.StoredSize(prefix) > kEntryAreaSize) Damaged("has entries that cannot be split");
  Store(entries, prefix);
}

}  // namespace mv::jet
