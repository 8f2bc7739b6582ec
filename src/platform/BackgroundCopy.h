#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

#include "platform/FileSystem.h"

namespace mv::platform {

/// A copy for files that another thread may read meanwhile. Takes 256 KiB of memory.
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
  void Copy();
  void GiveRoomBack();
  bool CopyAll();

  File& from_;
  File& to_;
  const std::uint64_t size_;
  std::atomic<bool> isWanted_ = true;
  bool succeeded_ = false;  ///< known when the thread has ended
  std::thread thread_;
};

}  // namespace mv::platform
