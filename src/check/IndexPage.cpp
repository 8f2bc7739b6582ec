#include "check/IndexPage.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace mv::check {
namespace {

constexpr std::size_t kFreeSpaceAt = 0x02;
constexpr std::size_t kOwnerAt = 0x04;
constexpr std::size_t kReservedAt = 0x08;
constexpr std::size_t kPreviousAt = 0x0C;
constexpr std::size_t kNextAt = 0x10;
constexpr std::size_t kTailAt = 0x14;
constexpr std::size_t kPrefixAt = 0x18;
constexpr std::size_t kLevelAt = 0x1A;
constexpr std::size_t kMarksAt = 0x1B;
constexpr std::size_t kEntriesAt = 0x1E0;

}  // namespace

const std::uint8_t IndexPage::kNoPage[kPageSize] = {};

Entry Entry::Without(std::size_t count) const {
  if (count <= rest.size()) return {shared, rest.first(rest.size() - count)};
  return {shared.first(Size() - count), {}};
}

std::uint32_t Entry::Word(std::size_t behind) const {
  const std::size_t from = Size() - behind - sizeof(std::uint32_t);
  if (from >= shared.size()) return LoadBig<std::uint32_t>(rest.data() + (from - shared.size()));
  std::uint32_t word = 0;
  for (std::size_t i = 0; i < sizeof word; ++i) word = word << 8 | At(from + i);
  return word;
}

bool Entry::Equals(ByteView bytes) const {
  return bytes.size() == Size() && std::equal(shared.begin(), shared.end(), bytes.begin()) &&
         std::equal(rest.begin(), rest.end(), bytes.begin() + static_cast<std::ptrdiff_t>(shared.size()));
}

Bytes Entry::Copy() const {
  Bytes bytes(shared.begin(), shared.end());
  bytes.insert(bytes.end(), rest.begin(), rest.end());
  return bytes;
}

int Compare(Entry left, Entry right) {
  const auto next = [](Entry& entry) {
    if (entry.shared.empty()) std::swap(entry.shared, entry.rest);
    return entry.shared;
  };
  while (true) {
    const ByteView a = next(left);
    const ByteView b = next(right);
    const std::size_t size = std::min(a.size(), b.size());
    if (size == 0) return a.empty() ? (b.empty() ? 0 : -1) : 1;
    if (a.data() != b.data()) {
      if (const int order = std::memcmp(a.data(), b.data(), size); order != 0) return order;
    }
    left.shared = a.subspan(size);
    right.shared = b.subspan(size);
  }
}

std::string_view IndexPage::Read(PageView page) {
  page_ = page;
  ends_.clear();
  for (std::size_t i = kMarksAt; i < kEntriesAt; ++i) {
    for (unsigned marks = page[i]; marks != 0; marks &= marks - 1) {
      const std::size_t end = 8 * (i - kMarksAt) + static_cast<unsigned>(std::countr_zero(marks));
      if (end > kPageSize - kEntriesAt) return "an entry would end behind the page";
      ends_.push_back(static_cast<std::uint16_t>(end));
    }
  }
  if (!ends_.empty() && PrefixLength() > ends_.front()) return "the prefix is longer than the first entry";
  const std::size_t least = kAddressSize + 1 + (IsLeaf() ? 0 : kChildSize);
  for (std::size_t i = 0; i < ends_.size(); ++i) {
    if (At(i).Size() < least) return "an entry is too short for a key and an address";
  }
  return {};
}

std::uint16_t IndexPage::FreeSpace() const {
  return Word16(page_, kFreeSpaceAt);
}
std::uint32_t IndexPage::Owner() const {
  return Word32(page_, kOwnerAt);
}
std::uint32_t IndexPage::ReservedWord() const {
  return Word32(page_, kReservedAt);
}
PageNumber IndexPage::Previous() const {
  return Word32(page_, kPreviousAt);
}
PageNumber IndexPage::Next() const {
  return Word32(page_, kNextAt);
}
PageNumber IndexPage::Tail() const {
  return Word32(page_, kTailAt);
}
std::size_t IndexPage::PrefixLength() const {
  return Word16(page_, kPrefixAt);
}
std::uint8_t IndexPage::Level() const {
  return page_[kLevelAt];
}

Entry IndexPage::At(std::size_t i) const {
  const ByteView entries = page_.subspan(kEntriesAt);
  if (i == 0) return {{}, entries.first(ends_[0])};
  const std::size_t start = ends_[i - 1];
  return {entries.first(PrefixLength()), entries.subspan(start, ends_[i] - start)};
}

std::size_t IndexPage::Room() const {
  return kPageSize - kEntriesAt - (ends_.empty() ? 0 : ends_.back());
}

}  // namespace mv::check
