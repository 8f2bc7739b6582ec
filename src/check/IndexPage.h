#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "check/PageReader.h"

namespace mv::check {

/// An index entry in the two pieces in which pages keep it: what it shares with the page's first entry, and the rest.
struct Entry {
  ByteView shared;
  ByteView rest;

  std::size_t Size() const { return shared.size() + rest.size(); }
  std::uint8_t At(std::size_t i) const { return i < shared.size() ? shared[i] : rest[i - shared.size()]; }
  /// Without its last bytes. Needs count <= Size().
  Entry Without(std::size_t count) const;
  /// The four bytes before the last `behind`, big-endian. Needs behind + 4 <= Size().
  std::uint32_t Word(std::size_t behind) const;
  bool Equals(ByteView bytes) const;
  Bytes Copy() const;
};

/// As byte strings: negative, 0 or positive. Costs nothing for what both share with the same page.
int Compare(Entry left, Entry right);

/// A leaf or node of an index.
///
/// | offset | size | content                                                                   |
/// |--------|------|---------------------------------------------------------------------------|
/// | 0      | 2    | 04 01 leaf, 03 01 node                                                    |
/// | 2      | 2    | free space = 3616 - bytes of the entries                                  |
/// | 4      | 4    | owner: definition page                                                    |
/// | 8      | 4    | 0                                                                         |
/// | 0x0C   | 4    | previous page, 0 none                                                     |
/// | 0x10   | 4    | next page                                                                 |
/// | 0x14   | 4    | nodes: tail child                                                         |
/// | 0x18   | 2    | length of the prefix that all entries but the first leave out             |
/// | 0x1A   | 1    | level, 0 leaf                                                             |
/// | 0x1B   | 453  | end marks: bit k set: an entry ends before 0x1E0 + k                      |
/// | 0x1E0  | 3616 | entries: key, row address (page 3 bytes, slot 1); nodes: child (4), all big-endian |
class IndexPage {
 public:
  /// Finds the entries of a page. Returns what is wrong, nothing when all is well.
  std::string_view Read(PageView page);

  bool IsLeaf() const { return Word16(page_, 0) == kIndexLeaf; }
  std::uint16_t FreeSpace() const;
  std::uint32_t Owner() const;
  std::uint32_t ReservedWord() const;
  PageNumber Previous() const;
  PageNumber Next() const;
  PageNumber Tail() const;
  std::size_t PrefixLength() const;
  std::uint8_t Level() const;

  std::size_t Count() const { return ends_.size(); }
  /// Needs i < Count().
  Entry At(std::size_t i) const;
  /// What the free-space word should be.
  std::size_t Room() const;

 private:
  PageView page_{kNoPage};
  std::vector<std::uint16_t> ends_;
  static const std::uint8_t kNoPage[kPageSize];
};

/// Bytes of a row address and of a child's number at the end of entries.
inline constexpr std::size_t kAddressSize = 4;
inline constexpr std::size_t kChildSize = 4;

/// The row address at the end of a leaf entry.
inline RowId AddressOf(const Entry& entry) {
  const std::uint32_t word = entry.Word(0);
  return {word >> 8, static_cast<std::uint8_t>(word)};
}

}  // namespace mv::check
