#pragma once

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

// Replaces the global operator new of the test program that includes this. To be included by one source file of a
// program only.

namespace mv::testing {

/// While one lives, a single allocation of more bytes raises std::bad_alloc: what a count in a file asks for must not
/// be given before it has been compared with the bytes there are.
class AllocationLimit {
 public:
  explicit AllocationLimit(std::size_t bytes) { limit_ = bytes; }
  ~AllocationLimit() { limit_ = kNone; }
  AllocationLimit(const AllocationLimit&) = delete;
  AllocationLimit& operator=(const AllocationLimit&) = delete;

  static std::size_t Current() { return limit_; }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  static inline std::atomic<std::size_t> limit_ = kNone;
};

}  // namespace mv::testing

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return size > mv::testing::AllocationLimit::Current() ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void* operator new(std::size_t size) {
  void* const memory = operator new(size, std::nothrow);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
