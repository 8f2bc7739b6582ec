#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "base/Bytes.h"

namespace mv {

/// Keeps copies of many small pieces of bytes, which stay where they are as long as the pool.
class BytePool {
 public:
  /// Keeps a copy and returns it.
  ByteView Add(ByteView piece) {
    if (chunks_.empty() || chunks_.back().capacity() - chunks_.back().size() < piece.size()) {
      chunks_.emplace_back().reserve(std::max(piece.size(), kChunkSize));
    }
    Bytes& chunk = chunks_.back();
    chunk.insert(chunk.end(), piece.begin(), piece.end());
    return ByteView(chunk).last(piece.size());
  }

 private:
  static constexpr std::size_t kChunkSize = 256 * 1024;

  std::vector<Bytes> chunks_;  ///< none grows beyond its first capacity
};

}  // namespace mv
