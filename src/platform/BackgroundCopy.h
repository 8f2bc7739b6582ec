#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

#include "platform/FileSystem.h"

namespace mv::platform {

/// A copy for files that may be read and written, each at its own place, by two threads at once. Takes 256 KiB of
/// memory a thread.
class BackgroundCopy : public ContentCopy {
 public:
  /// Null when the system grants no thread.
  static std::unique_ptr<ContentCopy> Begin(File& from, File& to);

  BackgroundCopy(File& from, File& to);
  ~BackgroundCopy() override;
  BackgroundCopy(const BackgroundCopy&) = delete;
  BackgroundCopy& operator=(const BackgroundCopy&) = delete;

  bool Finish() override;

 private:
  void CopyPieces();
  void CopyPieces(ByteSpan buffer);

  File& from_;
  File& to_;
  const std::uint64_t size_;
  std::atomic<std::uint64_t> next_ = 0;  ///< where the first piece begins that nobody has taken
  std::atomic<bool> ended_ = false;      ///< failed, or not wanted any more
  std::thread thread_;
};

}  // namespace mv::platform
