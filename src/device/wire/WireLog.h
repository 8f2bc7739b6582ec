#pragma once

#include <functional>
#include <mutex>
#include <string>

namespace mv::wire {

/// The log of messages, for two threads.
class WireLog {
 public:
  using Sink = std::function<void(const std::string& line)>;

  explicit WireLog(Sink sink) : sink_(std::move(sink)) {}
  WireLog(const WireLog&) = delete;
  WireLog& operator=(const WireLog&) = delete;

  /// True when somebody gets the lines: whoever has many to make asks before.
  bool IsOn() const { return sink_ != nullptr; }
  void Line(const std::string& line) {
    if (!sink_) return;
    const std::lock_guard lock(mutex_);
    sink_(line);
  }

 private:
  std::mutex mutex_;
  Sink sink_;
};

}  // namespace mv::wire
