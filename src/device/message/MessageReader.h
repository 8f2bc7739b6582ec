#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/Bytes.h"

namespace mv::wire {

/// Reads the parts of a message or record in their order; integers are little-endian, nothing is aligned. What the peer
/// sends is not to be trusted: a part that reaches beyond the end, or that contradicts itself, is 0 or empty, and from
/// then on IsGood is false and every further part is 0 or empty too. Nothing is allocated beyond the bytes there are.
class MessageReader {
 public:
  /// `bytes` must outlive the reader.
  explicit MessageReader(ByteView bytes) : rest_(bytes) {}

  bool IsGood() const { return isGood_; }
  /// Bytes not read yet; 0 when not good.
  std::size_t Remaining() const { return rest_.size(); }

  std::uint8_t Byte();
  std::uint16_t Half();
  std::uint32_t Word();
  std::uint64_t Long();
  /// The next `count` bytes, which belong to the message.
  ByteView Raw(std::size_t count);
  /// A word with a count, and that many bytes.
  ByteView Counted();
  /// The text in the next `bytes` bytes, which are UTF-16 and even in number; it ends at its first NUL.
  std::string Text(std::size_t bytes);

  /// Text as above, and a NUL behind it that `bytes` does not count, if there is one: handhelds differ.
  std::string TextAndNul(std::size_t bytes);

  // The kinds of arguments of the messages of version 1. Each begins with a word: 0 for a null pointer, 1 for one that
  // is there; a null pointer gives nothing.

  /// S: a count of characters with the NUL, the text.
  std::optional<std::string> String();
  /// OS: a count of bytes with the NUL, the word 1, the text.
  std::optional<std::string> OptionalString();
  /// IB: a count, the bytes.
  std::optional<ByteView> InBuffer();
  /// OB: the count of bytes wanted, and the word 0.
  std::optional<std::uint32_t> OutBuffer();
  /// RO: a count, the word 1 and the bytes, or the word 0 and none, which is an empty view.
  std::optional<ByteView> Returned();

  // The same of version 2.

  /// S and OS: a count of bytes with the NUL, the text; a count of 0 is a null pointer.
  std::optional<std::string> ShortString();

 private:
  /// The word in front of a pointer; true for one that is there.
  bool IsPresent();
  void Fail();

  ByteView rest_;
  bool isGood_ = true;
};

}  // namespace mv::wire
