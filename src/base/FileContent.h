#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "base/Bytes.h"

namespace mv {

/// A whole file in memory. The memory is not cleared before the file is read into it, which would cost a copy a tenth.
class FileContent {
 public:
  FileContent() = default;
  explicit FileContent(std::size_t size) : bytes_(std::make_unique_for_overwrite<std::uint8_t[]>(size)), size_(size) {}

  std::size_t Size() const { return size_; }
  ByteView View() const { return {bytes_.get(), size_}; }
  ByteSpan Span() { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<std::uint8_t[]> bytes_;
  std::size_t size_ = 0;
};

}  // namespace mv
