#pragma once

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "platform/Terminal.h"

namespace mv::testing {

/// A terminal whose user types what a test has written down before.
class FakeTerminal : public platform::Terminal {
 public:
  bool canDraw = false;
  bool hasColours = false;
  Charset charset = Charset::Utf8;
  std::size_t columns = 80;
  /// What comes next; used up, the user presses Ctrl-C where the program waits.
  std::deque<Told> coming;
  /// Everything written.
  std::string output;
  std::vector<std::string> paged;
  bool hasPager = true;
  Input input = Input::Keys;
  /// How often the user was shown what is typed.
  int linesAsked = 0;

  void Type(const std::string& bytes) { coming.push_back({Event::Typed, bytes}); }
  void Happens(Event event) { coming.push_back({event, {}}); }
  /// The output since the last call.
  std::string Written() { return std::exchange(output, {}); }

  bool CanDraw() const override { return canDraw; }
  bool HasColours() const override { return hasColours; }
  Charset OutputCharset() const override { return charset; }
  std::size_t Columns() const override { return columns; }
  void SetInput(Input asked) override {
    input = asked;
    if (asked == Input::Lines) ++linesAsked;
  }
  Told Next(std::chrono::milliseconds limit) override {
    if (coming.empty()) return {limit.count() > kMoment ? Event::Closed : Event::None, {}};
    const Told told = coming.front();
    coming.pop_front();
    return told;
  }
  void Write(std::string_view bytes) override { output += bytes; }
  bool Page(std::string_view bytes) override {
    if (hasPager) paged.emplace_back(bytes);
    return hasPager;
  }

 private:
  /// Longer waits are for the user.
  static constexpr int kMoment = 100;
};

}  // namespace mv::testing
