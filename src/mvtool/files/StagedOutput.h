#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "platform/StagedWrite.h"

namespace mv::tool {

/// A file that is written as a stream beside its place and put there when it is complete, replacing what is there.
/// Until then the old file, if any, stays as it is; a destructor without Finish leaves nothing behind.
class StagedOutput {
 public:
  /// Creates the staged file. The file system's errors.
  StagedOutput(platform::FileSystem& files, const std::string& path);
  ~StagedOutput();
  StagedOutput(const StagedOutput&) = delete;
  StagedOutput& operator=(const StagedOutput&) = delete;

  /// Writing to it throws the file system's errors.
  std::ostream& Stream() { return stream_; }
  /// On return the file is on disk under its name. The last call.
  void Finish();

 private:
  class Buffer;

  platform::StagedWrite file_;
  std::unique_ptr<Buffer> buffer_;
  std::ostream stream_;
};

}  // namespace mv::tool
