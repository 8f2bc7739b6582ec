#include "check/PageReader.h"

#include <array>

#include "jet/file/Rc4.h"

namespace mv::check {
namespace {

Bytes Decoded(ByteView file, std::uint32_t pageKey) {
  if (pageKey == 0) return {};
  Bytes plain(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(file.size() / kPageSize * kPageSize));
  for (std::size_t page = 1; page < plain.size() / kPageSize; ++page) {
    std::array<std::uint8_t, 4> key;
    StoreLittle(key.data(), pageKey ^ static_cast<std::uint32_t>(page));
    jet::ApplyRc4(key, ByteSpan(plain).subspan(page * kPageSize, kPageSize));
  }
  return plain;
}

}  // namespace

PageReader::PageReader(ByteView file, std::uint32_t pageKey)
    : decoded_(Decoded(file, pageKey)),
      file_(pageKey == 0 ? file : ByteView(decoded_)),
      count_(static_cast<PageNumber>(file.size() / kPageSize)) {}

}  // namespace mv::check
