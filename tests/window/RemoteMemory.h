#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace mv::window {

/// Memory in the process that owns a window: controls read and write structures in their own process only.
class RemoteMemory {
 public:
  RemoteMemory(HWND window, std::size_t size) : size_(size) {
    DWORD process = 0;
    ::GetWindowThreadProcessId(window, &process);
    process_ = ::OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, process);
    memory_ = ::VirtualAllocEx(process_, nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
  }
  RemoteMemory(const RemoteMemory&) = delete;
  RemoteMemory& operator=(const RemoteMemory&) = delete;
  ~RemoteMemory() {
    ::VirtualFreeEx(process_, memory_, 0, MEM_RELEASE);
    ::CloseHandle(process_);
  }

  /// Address in the other process.
  char* Address(std::size_t offset = 0) const { return static_cast<char*>(memory_) + offset; }
  template <typename T>
  void Put(const T& value, std::size_t offset = 0) const {
    ::WriteProcessMemory(process_, Address(offset), &value, sizeof value, nullptr);
  }
  template <typename T>
  T Get(std::size_t offset = 0) const {
    T value = {};
    ::ReadProcessMemory(process_, Address(offset), &value, sizeof value, nullptr);
    return value;
  }
  /// A text that ends with a zero.
  std::wstring GetText(std::size_t offset = 0) const {
    std::vector<wchar_t> text((size_ - offset) / sizeof(wchar_t) + 1);
    ::ReadProcessMemory(process_, Address(offset), text.data(), (text.size() - 1) * sizeof(wchar_t), nullptr);
    return text.data();
  }

 private:
  std::size_t size_;
  HANDLE process_ = nullptr;
  void* memory_ = nullptr;
};

}  // namespace mv::window
