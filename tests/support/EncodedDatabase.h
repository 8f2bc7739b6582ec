#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "base/Bytes.h"

namespace mv::testing {

/// The RC4 key stream of 4 bytes, little-endian: code of the tests' own, by the textbook.
inline std::vector<unsigned> PageStream(std::uint32_t key, std::size_t length) {
  std::vector<unsigned> state(256);
  for (unsigned i = 0; i < 256; ++i) state[i] = i;
  unsigned j = 0;
  for (unsigned i = 0; i < 256; ++i) {
    j = (j + state[i] + (key >> 8 * (i % 4) & 0xFF)) % 256;
    std::swap(state[i], state[j]);
  }
  std::vector<unsigned> stream;
  j = 0;
  for (unsigned i = 1; stream.size() < length; i = (i + 1) % 256) {
    j = (j + state[i]) % 256;
    std::swap(state[i], state[j]);
    stream.push_back(state[(state[i] + state[j]) % 256]);
  }
  return stream;
}

/// Pages with a page key, all but the first of the file; with the same key once more they are plain again.
inline Bytes WithKeyedPages(Bytes file, std::uint32_t key) {
  constexpr std::size_t kPage = 4096;
  for (std::size_t page = 1; (page + 1) * kPage <= file.size(); ++page) {
    const std::vector<unsigned> stream = PageStream(key ^ static_cast<std::uint32_t>(page), kPage);
    for (std::size_t i = 0; i < kPage; ++i) file[page * kPage + i] ^= static_cast<std::uint8_t>(stream[i]);
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
