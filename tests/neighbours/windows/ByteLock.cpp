#include "neighbours/ByteLock.h"

#include <windows.h>

#include <stdexcept>

namespace mv::testing {

ByteLock::ByteLock(const std::string& path, std::uint64_t first, std::uint64_t count) {
  const HANDLE handle = ::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) throw std::runtime_error("refused");
  file_ = reinterpret_cast<std::intptr_t>(handle);
  OVERLAPPED range = {};
  range.Offset = static_cast<DWORD>(first);
  range.OffsetHigh = static_cast<DWORD>(first >> 32);
  if (!::LockFileEx(handle, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, static_cast<DWORD>(count),
                    static_cast<DWORD>(count >> 32), &range)) {
    ::CloseHandle(handle);
    throw std::runtime_error("refused");
  }
}

ByteLock::~ByteLock() {
  ::CloseHandle(reinterpret_cast<HANDLE>(file_));
}

}  // namespace mv::testing
