#pragma once

#include <chrono>
#include <functional>
#include <utility>
#include <vector>

#include "platform/System.h"

namespace mv::testing {

/// A clock that stands still, or gives one reading after the other and then repeats the last.
class FakeClock : public platform::Clock {
 public:
  /// 2026-11-21 14:05:09.
  FakeClock() : FakeClock({CivilTime{2026, 11, 21, 14, 5, 9}}) {}
  explicit FakeClock(std::vector<CivilTime> readings) : readings_(std::move(readings)) {}

  CivilTime Now() const override {
    const std::size_t reading = taken_ < readings_.size() ? taken_ : readings_.size() - 1;
    ++taken_;
    return readings_[reading];
  }

  /// Takes no time; runs `whileAsleep`, where a test lets the world go on.
  void Sleep(std::chrono::milliseconds duration) const override {
    slept_ += duration;
    if (whileAsleep) whileAsleep();
  }
  std::chrono::milliseconds Slept() const { return slept_; }
  std::function<void()> whileAsleep;

  /// How often the time was asked for.
  std::size_t Taken() const { return taken_; }

 private:
  std::vector<CivilTime> readings_;
  mutable std::size_t taken_ = 0;
  mutable std::chrono::milliseconds slept_{0};
};

}  // namespace mv::testing
