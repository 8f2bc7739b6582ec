#pragma once

#include <cstddef>
#include <functional>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace mv::testing {

/// Input that comes piece by piece, as through a pipe: what is left of a piece is at hand, and for the next piece the
/// reader waits.
class ScriptedInput : public std::streambuf {
 public:
  /// `onWait` is called whenever the reader waits, for the end of the input too.
  explicit ScriptedInput(
      std::vector<std::string> pieces, std::function<void()> onWait = [] {})
      : pieces_(std::move(pieces)), onWait_(std::move(onWait)) {}

  /// How often the reader waited.
  std::size_t Waits() const { return waits_; }

 private:
  int_type underflow() override {
    if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
    ++waits_;
    onWait_();
    if (next_ == pieces_.size()) return traits_type::eof();
    std::string& piece = pieces_[next_++];
    setg(piece.data(), piece.data(), piece.data() + piece.size());
    return traits_type::to_int_type(piece.front());
  }

  std::vector<std::string> pieces_;
  std::function<void()> onWait_;
  std::size_t next_ = 0;
  std::size_t waits_ = 0;
};

}  // namespace mv::testing
