#pragma once

#include <windows.h>

#include <utility>

namespace mv::platform {

/// A handle of the system that is closed with its owner. A value; moving leaves none behind.
class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&&) = delete;
  ~Handle() {
    if (IsOpen()) ::CloseHandle(handle_);
  }

  /// False for either value by which the system's calls say that they failed.
  bool IsOpen() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return handle_; }

 private:
  HANDLE handle_;
};

}  // namespace mv::platform
