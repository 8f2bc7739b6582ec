#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "base/Bytes.h"

namespace mv::testing {

/// The RC4 key stream of 4 bytes, little-endian: code of the tests' own, by the textbook.
class PageStream {
 public:
  explicit PageStream(std::uint32_t key) {
    for (unsigned i = 0; i < 256; ++i) state_[i] = i;
    unsigned j = 0;
    for (unsigned i = 0; i < 256; ++i) {
      j = (j + state_[i] + (key >> 8 * (i % 4) & 0xFF)) % 256;
      std::swap(state_[i], state_[j]);
    }
  }

  std::uint8_t Next() {
    i_ = (i_ + 1) % 256;
    j_ = (j_ + state_[i_]) % 256;
    std::swap(state_[i_], state_[j_]);
    return static_cast<std::uint8_t>(state_[(state_[i_] + state_[j_]) % 256]);
  }

 private:
  std::array<unsigned, 256> state_{};
  unsigned i_ = 0;
  unsigned j_ = 0;
};

/// Pages with a page key, all but the first of the file; with the same key once more they are plain again.
inline Bytes WithKeyedPages(Bytes file, std::uint32_t key) {
  constexpr std::size_t kPage = 4096;
  for (std::size_t page = 1; (page + 1) * kPage <= file.size(); ++page) {
    PageStream stream(key ^ static_cast<std::uint32_t>(page));
    for (std::size_t i = 0; i < kPage; ++i) file[page * kPage + i] ^= stream.Next();
  }
  return file;
}

/// The file of a plain database with `key` in its header; of one that has that key, with none. Its pages stay as they
/// are, so that they fit the key no more.
inline Bytes WithKeyInHeader(Bytes file, std::uint32_t key) {
  constexpr std::size_t kPageKeyAt = 0x3E;
  for (std::size_t i = 0; i < 4; ++i) file.at(kPageKeyAt + i) ^= static_cast<std::uint8_t>(key >> 8 * i);
  return file;
}

/// The file of a plain database encoded with `key`; of one encoded with it, plain.
inline Bytes Encoded(const Bytes& file, std::uint32_t key) {
  return WithKeyInHeader(WithKeyedPages(file, key), key);
}

}  // namespace mv::testing
