#pragma once

#include <chrono>

namespace mv::platform {

/// The user's wish that the program end: Ctrl-C, or the system's request to go. While an object lives the wish ends
/// nothing by itself. To be made before other threads are, and by one place only.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// Returns when the program is to end.
  void Wait();
  /// The same, true; or false when the time is up first.
  bool WaitFor(std::chrono::milliseconds duration);

 private:
  bool wasWished_ = false;
};

}  // namespace mv::platform
