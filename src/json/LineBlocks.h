#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

namespace mv {

/// The lines of a stream, many at a time, for a caller that has other work while there is no text to be read. Keeps a
/// block, or a line that is longer, so that an input may be of any length.
class LineBlocks {
 public:
  /// A block has as many bytes at most, a longer line aside.
  static constexpr std::size_t kMostBytes = std::size_t{1} << 16;

  /// The stream must outlive this object.
  explicit LineBlocks(std::istream& in) : in_(in) {}

  /// Takes the next lines, each with its end, as far as the stream has them at hand. Never waits for more; false when
  /// there is not one whole line.
  bool TakeReady(std::string& block);
  /// The same, but waits for one line; the last line of all may have no end. False at the end of the stream. Failure
  /// when it cannot be read, which may lose what came in the same piece before the place that cannot.
  bool Take(std::string& block);

 private:
  bool ReadReady();
  void NoteLineEnds(std::size_t from);

  std::istream& in_;
  std::string text_;            ///< read and not taken yet
  std::size_t wholeLines_ = 0;  ///< bytes of `text_` up to the end of its last whole line
};

}  // namespace mv
