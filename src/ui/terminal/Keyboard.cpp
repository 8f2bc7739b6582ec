#include "ui/terminal/Keyboard.h"

#include <algorithm>

#include "base/Utf.h"

namespace mv::terminal {
namespace {

using Kind = Key::Kind;

constexpr char kEscape = '\x1b';

std::optional<Kind> KindOfControl(char byte) {
  switch (byte) {
    case '\r':
    case '\n':
      return Kind::Enter;
    case '\b':
    case '\x7f':
      return Kind::Backspace;
    case '\x01':
      return Kind::Home;
    case '\x04':
      return Kind::Eof;
    case '\x05':
      return Kind::End;
    case '\x15':
      return Kind::Clear;
    default:
      return std::nullopt;
  }
}

/// Of a sequence without its escape and introducer: "D", "1~", "1;2D".
std::optional<Kind> KindOfSequence(std::string_view text) {
  switch (text.back()) {
    case 'C':
      return Kind::Right;
    case 'D':
      return Kind::Left;
    case 'H':
      return Kind::Home;
    case 'F':
      return Kind::End;
    default:
      break;
  }
  if (text == "1~" || text == "7~") return Kind::Home;
  if (text == "4~" || text == "8~") return Kind::End;
  if (text == "3~") return Kind::Delete;
  return std::nullopt;
}

/// By the first byte of a character in UTF-8; 1 for one that begins none.
std::size_t LengthInUtf8(unsigned char first) {
  if (first >= 0xF0) return 4;
  if (first >= 0xE0) return 3;
  return first >= 0xC0 ? 2 : 1;
}

}  // namespace

void Keyboard::Feed(std::string_view bytes) {
  bytes_ += bytes;
  Decode(false);
}

void Keyboard::EndPending() {
  Decode(true);
}

std::optional<Key> Keyboard::Take() {
  if (keys_.empty()) return std::nullopt;
  const Key key = keys_.front();
  keys_.pop_front();
  return key;
}

void Keyboard::Decode(bool complete) {
  while (!bytes_.empty()) {
    const auto first = static_cast<unsigned char>(bytes_.front());
    const bool control = first < 0x20 || first == 0x7F;
    const std::size_t taken = first == static_cast<unsigned char>(kEscape) ? DecodeSequence(complete)
                              : control                                    ? DecodeControl()
                                                                           : DecodeCharacter(complete);
    if (taken == 0) return;
    bytes_.erase(0, taken);
  }
}

std::size_t Keyboard::DecodeSequence(bool complete) {
  const bool introduced = bytes_.size() > 1 && (bytes_[1] == '[' || bytes_[1] == 'O');
  if (bytes_.size() == 1 && !complete) return 0;
  if (!introduced) {
    Add(Kind::Escape);
    return 1;
  }
  const auto isFinal = [](char c) { return c >= '@' && c <= '~'; };
  const auto end = std::find_if(bytes_.begin() + 2, bytes_.end(), isFinal);
  if (end == bytes_.end()) return complete ? bytes_.size() : 0;
  const std::string_view text(bytes_.begin() + 2, end + 1);
  if (const auto kind = KindOfSequence(text)) Add(*kind);
  return text.size() + 2;
}

std::size_t Keyboard::DecodeControl() {
  if (const auto kind = KindOfControl(bytes_.front())) Add(*kind);
  return 1;
}

std::size_t Keyboard::DecodeCharacter(bool complete) {
  const auto first = static_cast<unsigned char>(bytes_.front());
  if (first < 0x80 || charset_ == platform::Terminal::Charset::Latin1) {
    if (first < 0x80 || first >= 0xA0) keys_.push_back({Kind::Character, first});
    return 1;
  }
  const std::size_t length = LengthInUtf8(first);
  if (bytes_.size() < length && !complete) return 0;
  const std::string_view bytes = std::string_view(bytes_).substr(0, length);
  if (!IsValidUtf8(bytes)) return 1;
  std::size_t position = 0;
  keys_.push_back({Kind::Character, NextCodePoint(bytes, position)});
  return length;
}

}  // namespace mv::terminal
