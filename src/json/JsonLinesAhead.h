#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/Json.h"
#include "json/JsonLines.h"
#include "json/LineBlocks.h"
#include "json/Worker.h"

namespace mv {

/// What the JSON values of a stream, one on each line, are made into, item by item; blank lines are skipped. While the
/// caller works with the items it was given, a second thread makes those of the lines behind them.
///
/// The caller notices nothing of that but the time:
/// - A line that cannot be read, or made into an item, counts when its turn comes and not before.
/// - The stream is read by the caller's thread alone, inside Next, and is not waited for while there are lines that
///   were read and not given. So no line waits for another one, and the second thread never for input.
/// - However long the input is, no more than kBatches blocks of it are in memory, and what was made of them.
///
/// An input that is no longer than a block, or does not come faster than it is asked for, starts no thread.
template <typename Item>
class JsonLinesAhead {
 public:
  /// Makes an item of a value in the memory of an earlier item. Called by either thread, by one at a time. What it
  /// throws is thrown by Next.
  using Make = std::function<void(const Json& json, Item& item)>;

  /// The stream must outlive this object, as must all that `make` uses.
  JsonLinesAhead(std::istream& in, Make make) : blocks_(in), make_(std::move(make)) {}

  /// The next item, good until the next call; the caller may take out of it what it likes. Null at the end. Failure
  /// with line and column for a line that is not one JSON value, and when the stream cannot be read; not to be called
  /// again then.
  Item* Next() {
    while (given_ == filled_ || next_ == At(given_).count) {
      if (given_ != filled_ && At(given_).failure) std::rethrow_exception(At(given_).failure);
      if (!GoOn()) return nullptr;
    }
    Line& line = At(given_).lines[next_++];
    number_ = line.number;
    return &line.item;
  }
  /// Number of the line whose item was given last, from 1.
  std::size_t Number() const { return number_; }
  /// Whether a second thread was needed.
  bool HasThread() const { return worker_.HasThread(); }

 private:
  /// One that the caller goes through, one that is being made, one that waits.
  static constexpr std::size_t kBatches = 3;
  /// Items keep the memory of those before them; behind so many bytes of text it is given back, because each of them
  /// may have been a long one once.
  static constexpr std::size_t kMostBytesKept = 16 * LineBlocks::kMostBytes;

  struct Line {
    std::size_t number = 0;
    Item item = {};
  };
  struct Batch {
    std::string text;
    std::vector<Line> lines;     ///< the first `count`; the rest is kept for its memory
    std::size_t count = 0;       ///< lines that items were made of
    std::exception_ptr failure;  ///< why none was made of the line behind them
    std::size_t bytesKept = 0;   ///< of the text that `lines` was made of since it was last given back
  };

  Batch& At(std::size_t number) { return batches_[number % kBatches]; }

  /// To the next batch, once the one before was gone through; false at the end.
  bool GoOn() {
    std::size_t handedOut = filled_;
    if (given_ != filled_) ++given_;
    next_ = 0;
    if (given_ == filled_) {
      if (!blocks_.Take(At(filled_).text)) return false;
      ++filled_;
    }
    while (filled_ - given_ < kBatches && blocks_.TakeReady(At(filled_).text)) ++filled_;
    if (handedOut == given_ && filled_ - given_ == 1) {
      MakeItems(given_);
      return true;
    }
    for (; handedOut < filled_; ++handedOut) worker_.HandOut(handedOut);
    worker_.WaitFor(given_);
    return true;
  }

  void MakeItems(std::size_t number) {
    Batch& batch = At(number);
    if (batch.bytesKept > kMostBytesKept) {
      batch.lines = std::vector<Line>();
      batch.bytesKept = 0;
    }
    batch.bytesKept += batch.text.size();
    batch.count = 0;
    batch.failure = nullptr;
    try {
      for (std::string_view text = batch.text; !text.empty();) MakeItem(TakeLine(text), batch);
    } catch (...) {
      batch.failure = std::current_exception();
    }
  }

  void MakeItem(std::string_view text, Batch& batch) {
    ++linesRead_;
    if (!ReadJsonLine(text, json_, linesRead_)) return;
    if (batch.count == batch.lines.size()) batch.lines.emplace_back();
    Line& line = batch.lines[batch.count];
    line.number = linesRead_;
    make_(json_, line.item);
    ++batch.count;
  }

  /// Takes the first line off `text`.
  static std::string_view TakeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
  }

  LineBlocks blocks_;
  std::array<Batch, kBatches> batches_;
  std::size_t given_ = 0;   ///< number of the batch that the caller goes through; filled_: there is none
  std::size_t filled_ = 0;  ///< the number behind that of the last batch with text
  std::size_t next_ = 0;    ///< line of the batch that the caller goes through
  std::size_t number_ = 0;

  // Of whoever makes items: the second thread while it has a batch, else the caller's.
  const Make make_;
  Json json_;
  std::size_t linesRead_ = 0;

  Worker worker_{[this](std::size_t number) { MakeItems(number); }};
};

}  // namespace mv
