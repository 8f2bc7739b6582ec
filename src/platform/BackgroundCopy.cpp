#include "platform/BackgroundCopy.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <system_error>

namespace mv::platform {

std::unique_ptr<ContentCopy> BackgroundCopy::Begin(File& from, File& to) {
  try {
    return std::make_unique<BackgroundCopy>(from, to);
  } catch (const std::system_error&) {
    return nullptr;
  }
}

BackgroundCopy::BackgroundCopy(File& from, File& to)
    : from_(from), to_(to), size_(from.Size()), thread_([this] { Copy(); }) {}

BackgroundCopy::~BackgroundCopy() {
  if (!thread_.joinable()) return;
  isWanted_ = false;
  thread_.join();
}

/// To help would save no time: the system lets one thread at a time write into a file.
bool BackgroundCopy::Finish() {
  thread_.join();
  return succeeded_;
}

void BackgroundCopy::Copy() {
  try {
    succeeded_ = CopyAll();
  } catch (const std::exception&) {
    // Finish tells it.
  }
  if (!succeeded_) GiveRoomBack();
}

/// On a full disk the caller may need the room before it asks how the copy ended.
void BackgroundCopy::GiveRoomBack() {
  try {
    to_.Resize(0);
  } catch (const std::exception&) {
    // Whoever removes the file gives the room back, too.
  }
}

/// False when it was given up, or the file was cut.
bool BackgroundCopy::CopyAll() {
  constexpr std::size_t kPiece = std::size_t{256} << 10;
  const auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>(kPiece);
  for (std::uint64_t at = 0; at < size_; at += kPiece) {
    if (!isWanted_) return false;
    const ByteSpan piece(buffer.get(), static_cast<std::size_t>(std::min<std::uint64_t>(kPiece, size_ - at)));
    if (from_.ReadAt(at, piece) != piece.size()) return false;
    to_.WriteAt(at, piece);
  }
  return true;
}

}  // namespace mv::platform
