#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "base/ByteOrder.h"
#include "base/Bytes.h"
#include "jet/definition/DefinitionLayout.h"
#include "jet/file/Page.h"
#include "jet/index/IndexPage.h"
#include "jet/pages/DataPage.h"

namespace mv::testing {

/// One piece of damage to a database file. Whatever the numbers are, they mean something in every file: pages and
/// offsets count modulo the file's, so that a list of mutations may be random bytes.
struct JetMutation {
  enum class Kind : std::uint8_t {
    Byte,         ///< the byte at `offset` becomes `value`
    Bit,          ///< bit `value` of the byte at `offset` changes
    Word,         ///< the 16-bit number at `offset` becomes `value`
    DoubleWord,   ///< the 32-bit number at `offset` becomes `value`
    PageNumber,   ///< the 32-bit number at `offset` becomes the number of some page, perhaps of the page itself
    RowAddress,   ///< the same for a row address
    Field,        ///< one of the fields of the page's kind becomes a small or a hostile number
    FieldToPage,  ///< one of the fields that name pages names another one, or the page itself
    Slot,         ///< a slot of a data page becomes `value`
    MapBit,       ///< one of the first bits of a map row, or of a bit page, changes
    SwapPages,    ///< two pages change places
    CopyPage,     ///< a page becomes a copy of another one
    Cut,          ///< the file ends here, now and then in the midst of a page
  };
  static constexpr std::size_t kKinds = static_cast<std::size_t>(Kind::Cut) + 1;
  /// Bytes of an encoded mutation: kind, page (2), offset (2), value (4).
  static constexpr std::size_t kEncodedSize = 9;

  Kind kind = Kind::Byte;
  std::uint16_t page = 0;
  std::uint16_t offset = 0;
  std::uint32_t value = 0;

  /// Any bytes are a list; a rest that is too short for one more counts for nothing.
  static std::vector<JetMutation> Decode(ByteView bytes) {
    std::vector<JetMutation> mutations;
    for (; bytes.size() >= kEncodedSize; bytes = bytes.subspan(kEncodedSize)) {
      mutations.push_back({static_cast<Kind>(bytes[0] % kKinds), LoadLittle<std::uint16_t>(bytes.data() + 1),
                           LoadLittle<std::uint16_t>(bytes.data() + 3), LoadLittle<std::uint32_t>(bytes.data() + 5)});
    }
    return mutations;
  }

  static JetMutation Random(std::mt19937& random) {
    const auto word = [&] { return static_cast<std::uint16_t>(random()); };
    JetMutation mutation{static_cast<Kind>(random() % kKinds), word(), word(), static_cast<std::uint32_t>(random())};
    // Cutting leaves little to look at, so it is to be rare.
    if (mutation.kind == Kind::Cut && random() % 4 != 0) mutation.kind = Kind::Field;
    // Heads of pages lead to other places: half of the hits go there.
    if (random() % 2 == 0) mutation.offset %= 64;
    if (random() % 2 == 0) mutation.value &= 0xFF;
    return mutation;
  }

  friend std::ostream& operator<<(std::ostream& out, const JetMutation& mutation) {
    return out << "{kind " << static_cast<int>(mutation.kind) << ", page " << mutation.page << ", offset "
               << mutation.offset << ", value " << mutation.value << "}";
  }
};

inline std::string ToText(std::span<const JetMutation> mutations) {
  std::ostringstream out;
  for (const JetMutation& mutation : mutations) out << mutation << ' ';
  return out.str();
}

/// Applies mutations to a file's content.
class JetDamage {
 public:
  explicit JetDamage(Bytes& image) : image_(image) {}

  void Apply(std::span<const JetMutation> mutations) {
    for (const JetMutation& mutation : mutations) Apply(mutation);
  }

 private:
  using Kind = JetMutation::Kind;

  /// Numbers that are often just wrong: nothing, one, limits and what lies behind them.
  static constexpr std::array<std::uint32_t, 12> kHostile = {
      0, 1, 2, 0xFF, 0x100, 0xFFF, 0x1000, 0x7FFF, 0xFFFF, 0x00FFFFFF, 0x7FFFFFFF, 0xFFFFFFFF};

  struct Field {
    std::size_t offset = 0;
    std::size_t size = 0;
  };

  void Apply(const JetMutation& mutation) {
    if (image_.size() < jet::kPageSize) return;
    const std::size_t page = mutation.page % PageCount();
    const std::size_t offset = mutation.offset % jet::kPageSize;
    switch (mutation.kind) {
      case Kind::Byte:
        return Store(page, {offset, 1}, mutation.value);
      case Kind::Bit:
        return FlipBit(page, offset, mutation.value % 8);
      case Kind::Word:
        return Store(page, {offset, 2}, mutation.value);
      case Kind::DoubleWord:
        return Store(page, {offset, 4}, mutation.value);
      case Kind::PageNumber:
        return Store(page, {offset, 4}, SomePage(page, mutation.value));
      case Kind::RowAddress:
        return Store(page, {offset, 4}, SomePage(page, mutation.value >> 8) << 8 | (mutation.value & 0x1F));
      case Kind::Field:
        return Store(page, FieldOf(page, mutation.offset), HostileNumber(mutation.value));
      case Kind::FieldToPage:
        return Store(page, PageFieldOf(page, mutation.offset), SomePage(page, mutation.value));
      case Kind::Slot:
        return Store(page, {jet::kSlotsOffset + jet::kSlotSize * (mutation.offset % 64), 2}, mutation.value);
      case Kind::MapBit:
        return FlipMapBit(SomeMapPage(mutation.page), mutation);
      case Kind::SwapPages:
        std::swap_ranges(At(page), At(page) + jet::kPageSize, At(mutation.value % PageCount()));
        return;
      case Kind::CopyPage:
        std::copy_n(At(mutation.value % PageCount()), jet::kPageSize, At(page));
        return;
      case Kind::Cut: {
        const std::size_t length = std::max<std::size_t>(page, 1) * jet::kPageSize;
        image_.resize(mutation.value % 8 == 0 ? length + offset : length);
        return;
      }
    }
  }

  std::size_t PageCount() const { return image_.size() / jet::kPageSize; }
  Bytes::iterator At(std::size_t page) { return image_.begin() + static_cast<std::ptrdiff_t>(page * jet::kPageSize); }
  std::uint16_t KindOf(std::size_t page) const {
    return LoadLittle<std::uint16_t>(image_.data() + page * jet::kPageSize);
  }

  /// The page itself, page 0, the first page behind the end, or any other.
  std::uint32_t SomePage(std::size_t self, std::uint32_t value) const {
    if (value % 8 == 0) return static_cast<std::uint32_t>(self);
    return static_cast<std::uint32_t>(value % (PageCount() + 1));
  }

  static std::uint32_t HostileNumber(std::uint32_t value) {
    return value % 2 == 0 ? value / 2 % 64 : kHostile[value / 2 % kHostile.size()];
  }

  void Store(std::size_t page, Field field, std::uint32_t value) {
    for (std::size_t i = 0; i < field.size && field.offset + i < jet::kPageSize; ++i) {
      image_[page * jet::kPageSize + field.offset + i] = static_cast<std::uint8_t>(value >> 8 * i);
    }
  }

  void FlipBit(std::size_t page, std::size_t offset, unsigned bit) {
    std::uint8_t& byte = image_[page * jet::kPageSize + offset % jet::kPageSize];
    byte = static_cast<std::uint8_t>(byte ^ 1U << bit);
  }

  /// A page with rows or bits of maps; page 1 has some.
  std::size_t SomeMapPage(std::size_t choice) const {
    std::vector<std::size_t> pages = {1};
    for (std::size_t page = 2; page < PageCount(); ++page) {
      const bool isData = KindOf(page) == static_cast<std::uint16_t>(jet::PageKind::Data);
      const auto owner = LoadLittle<std::uint32_t>(image_.data() + page * jet::kPageSize + jet::kOwnerOffset);
      const bool isBits = KindOf(page) == static_cast<std::uint16_t>(jet::PageKind::MapBits);
      if (isBits || (isData && owner == jet::kOwnerMaps)) pages.push_back(page);
    }
    return pages[choice % pages.size()] % PageCount();
  }

  /// Map rows of the usual length lie from the end of their page downwards; each bit counts, so one of the low ones is
  /// enough to hand a page to somebody else.
  void FlipMapBit(std::size_t page, const JetMutation& mutation) {
    constexpr std::size_t kMapRow = 69;
    constexpr std::size_t kMapBits = 5;
    const std::size_t bit = mutation.value % (PageCount() + 8);
    const bool isBitPage = KindOf(page) == static_cast<std::uint16_t>(jet::PageKind::MapBits);
    const std::size_t row = mutation.offset % 32 + 1;
    FlipBit(page, (isBitPage ? 4 : jet::kPageSize - kMapRow * row + kMapBits) + bit / 8, bit % 8);
  }

  Field FieldOf(std::size_t page, std::size_t choice) const {
    static constexpr std::array<Field, 4> kData = {
        {{jet::kFreeSpaceOffset, 2}, {jet::kOwnerOffset, 4}, {jet::kStampOffset, 4}, {jet::kSlotCountOffset, 2}}};
    static constexpr std::array<Field, 6> kIndex = {{{jet::kIndexFreeSpaceOffset, 2},
                                                     {jet::kIndexOwnerOffset, 4},
                                                     {jet::kIndexPrefixOffset, 2},
                                                     {jet::kIndexLevelOffset, 1},
                                                     {jet::kEndMarksOffset, 1},
                                                     {jet::kEntriesOffset, 4}}};
    static constexpr std::array<Field, 8> kDefinition = {{{jet::layout::kLengthAt, 4},
                                                          {jet::layout::kRowCountAt, 4},
                                                          {jet::layout::kLastAutonumberAt, 4},
                                                          {jet::layout::kNextColumnIdAt, 2},
                                                          {jet::layout::kNextVariableIndexAt, 2},
                                                          {jet::layout::kColumnCountAt, 2},
                                                          {jet::layout::kLogicalCountAt, 4},
                                                          {jet::layout::kIndexDataCountAt, 4}}};
    switch (static_cast<jet::PageKind>(KindOf(page))) {
      case jet::PageKind::Data:
        return kData[choice % kData.size()];
      case jet::PageKind::IndexLeaf:
      case jet::PageKind::IndexNode:
        return kIndex[choice % kIndex.size()];
      case jet::PageKind::Definition:
        // Behind the head come numbers of two bytes nearly everywhere.
        if (choice % 2 == 0) return {jet::layout::kHeadSize + choice / 2 % 600, 2};
        return kDefinition[choice / 2 % kDefinition.size()];
      default:
        return {choice % jet::kPageSize, 4};
    }
  }

  Field PageFieldOf(std::size_t page, std::size_t choice) const {
    static constexpr std::array<Field, 3> kIndex = {
        {{jet::kIndexPreviousOffset, 4}, {jet::kIndexNextOffset, 4}, {jet::kIndexTailOffset, 4}}};
    // Row addresses have their page behind the slot.
    static constexpr std::array<Field, 3> kDefinition = {
        {{jet::layout::kNextPageAt, 4}, {jet::layout::kOwnedPagesAt + 1, 3}, {jet::layout::kFreeSpaceAt + 1, 3}}};
    switch (static_cast<jet::PageKind>(KindOf(page))) {
      case jet::PageKind::IndexLeaf:
      case jet::PageKind::IndexNode:
        return kIndex[choice % kIndex.size()];
      case jet::PageKind::Definition:
        if (choice % 2 == 0) return {jet::layout::kHeadSize + choice / 2 % 600, 3};
        return kDefinition[choice / 2 % kDefinition.size()];
      default:
        return {choice % jet::kPageSize, 4};
    }
  }

  Bytes& image_;
};

}  // namespace mv::testing
