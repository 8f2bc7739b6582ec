#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/Bytes.h"

namespace mv::wire {

/// Builds a message or record part by part; the inverse of MessageReader. Text is given in UTF-8.
class MessageWriter {
 public:
  void Byte(std::uint8_t value);
  void Half(std::uint16_t value);
  void Word(std::uint32_t value);
  void Long(std::uint64_t value);
  void Raw(ByteView bytes);
  /// A word with the count, and the bytes.
  void Counted(ByteView bytes);
  /// UTF-16 with its NUL.
  void Text(std::string_view text);

  // The kinds of arguments of the messages of version 1; std::nullopt is a null pointer.

  void String(std::optional<std::string_view> text);
  void OptionalString(std::optional<std::string_view> text);
  void InBuffer(std::optional<ByteView> bytes);
  /// An InBuffer up to its bytes, so many, which are sent from where they are.
  void InBufferOf(std::size_t bytes);
  void OutBuffer(std::optional<std::uint32_t> wanted);
  void Returned(std::optional<ByteView> bytes);

  // The same of version 2.

  void ShortString(std::optional<std::string_view> text);

  std::size_t Size() const { return bytes_.size(); }
  /// What was written.
  const Bytes& Content() const { return bytes_; }
  /// A message: its length as a word, and what was written; or, when so many bytes `follow` by other means, a message
  /// up to these.
  Bytes Framed(std::size_t follow = 0) const;

 private:
  Bytes bytes_;
};

}  // namespace mv::wire
