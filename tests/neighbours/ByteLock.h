#pragma once

#include <cstdint>
#include <string>

namespace mv::testing {

/// An exclusive lock on some bytes of a file that is open for reading and writing and shared with everybody, as the
/// platform's database engine takes its locks; held while the object lives. Of the system's own kind: share modes and
/// LockFileEx on Windows, record locks that belong to the process on POSIX systems.
class ByteLock {
 public:
  /// Throws std::runtime_error when the file cannot be opened or somebody else has it locked.
  ByteLock(const std::string& path, std::uint64_t first, std::uint64_t count);
  ~ByteLock();
  ByteLock(const ByteLock&) = delete;
  ByteLock& operator=(const ByteLock&) = delete;

 private:
  std::intptr_t file_ = -1;
};

}  // namespace mv::testing
