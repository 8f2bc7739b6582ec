#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/ByteOrder.h"
#include "base/Bytes.h"
#include "jet/file/Page.h"

namespace mv::check {

using jet::kPageSize;
using jet::PageNumber;
using jet::RowId;

using PageView = std::span<const std::uint8_t, kPageSize>;

/// First two bytes of a page that is in use.
inline constexpr std::uint16_t kDataPage = 0x0101;
inline constexpr std::uint16_t kDefinitionPage = 0x0102;
inline constexpr std::uint16_t kIndexNode = 0x0103;
inline constexpr std::uint16_t kIndexLeaf = 0x0104;
inline constexpr std::uint16_t kMapBitsPage = 0x0105;

/// Little-endian words at an offset. The caller knows that they are there.
inline std::uint16_t Word16(ByteView bytes, std::size_t at) {
  return LoadLittle<std::uint16_t>(bytes.data() + at);
}
inline std::uint32_t Word32(ByteView bytes, std::size_t at) {
  return LoadLittle<std::uint32_t>(bytes.data() + at);
}
inline RowId RowAt(ByteView bytes, std::size_t at) {
  return RowId::FromWord(Word32(bytes, at));
}

/// The whole pages of a file that somebody else keeps in memory. Bytes behind the last whole page are left out.
class PageReader {
 public:
  /// `pageKey`: what page 0 says that the pages are encoded with. Page n is XORed with the RC4 stream of the key XOR n,
  /// 4 bytes little-endian. 0: they are plain; no copy is made of such a file.
  PageReader(ByteView file, std::uint32_t pageKey);
  PageReader(const PageReader&) = delete;
  PageReader& operator=(const PageReader&) = delete;

  PageNumber Count() const { return count_; }
  /// True for a page that something may point to: 0 stands for "none" everywhere.
  bool Has(PageNumber number) const { return number != 0 && number < count_; }
  /// Needs number < Count().
  PageView At(PageNumber number) const { return PageView(file_.data() + std::size_t{number} * kPageSize, kPageSize); }

 private:
  Bytes decoded_;  ///< the pages of an encoded file
  ByteView file_;
  PageNumber count_;
};

}  // namespace mv::check
