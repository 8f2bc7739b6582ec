#include "json/LineBlocks.h"

#include <algorithm>
#include <istream>
#include <string_view>

#include "base/Error.h"

namespace mv {

bool LineBlocks::TakeReady(std::string& block) {
  while ((wholeLines_ == 0 || text_.size() < kMostBytes) && ReadReady()) {
  }
  if (wholeLines_ == 0) return false;
  block.assign(text_, 0, wholeLines_);
  text_.erase(0, wholeLines_);
  wholeLines_ = 0;
  return true;
}

bool LineBlocks::Take(std::string& block) {
  while (!TakeReady(block)) {
    const int character = in_.get();
    if (in_.bad()) throw Failure("standard input could not be read");
    if (character == std::istream::traits_type::eof()) {
      block.swap(text_);
      text_.clear();
      return !block.empty();
    }
    text_ += static_cast<char>(character);
    NoteLineEnds(text_.size() - 1);
  }
  return true;
}

/// Reads what the stream has at hand, up to a full block. False when it has nothing.
bool LineBlocks::ReadReady() {
  const std::streamsize ready = in_.rdbuf()->in_avail();
  if (ready <= 0) return false;
  const std::size_t start = text_.size();
  const std::size_t wanted = start < kMostBytes ? kMostBytes - start : kMostBytes;
  text_.resize(start + std::min(static_cast<std::size_t>(ready), wanted));
  const std::streamsize got = in_.readsome(text_.data() + start, static_cast<std::streamsize>(text_.size() - start));
  text_.resize(start + static_cast<std::size_t>(got));
  NoteLineEnds(start);
  return got > 0;
}

void LineBlocks::NoteLineEnds(std::size_t from) {
  const std::size_t last = std::string_view(text_).substr(from).rfind('\n');
  if (last != std::string_view::npos) wholeLines_ = from + last + 1;
}

}  // namespace mv
