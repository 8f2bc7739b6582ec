#include "platform/BackgroundCopy.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <system_error>

namespace mv::platform {
namespace {

constexpr std::size_t kCopyPiece = std::size_t{256} << 10;

}  // namespace

std::unique_ptr<ContentCopy> BackgroundCopy::Begin(File& from, File& to) {
  try {
    return std::make_unique<BackgroundCopy>(from, to);
  } catch (const std::system_error&) {
    return nullptr;
  }
}

BackgroundCopy::BackgroundCopy(File& from, File& to)
    : from_(from), to_(to), size_(from.Size()), thread_([this] { CopyPieces(); }) {}

BackgroundCopy::~BackgroundCopy() {
  if (!thread_.joinable()) return;
  ended_ = true;
  thread_.join();
}

bool BackgroundCopy::Finish() {
  CopyPieces();
  thread_.join();
  return !ended_;
}

void BackgroundCopy::CopyPieces() {
  try {
    const auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>(kCopyPiece);
    CopyPieces(ByteSpan(buffer.get(), kCopyPiece));
  } catch (const std::exception&) {
    ended_ = true;  // told by Finish
  }
}

void BackgroundCopy::CopyPieces(ByteSpan buffer) {
  while (!ended_) {
    const std::uint64_t at = next_.fetch_add(buffer.size());
    if (at >= size_) return;
    const ByteSpan piece = buffer.first(static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), size_ - at)));
    if (from_.ReadAt(at, piece) != piece.size()) {
      ended_ = true;  // it was cut
      return;
    }
    to_.WriteAt(at, piece);
  }
}

}  // namespace mv::platform
