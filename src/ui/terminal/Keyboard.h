#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Terminal.h"

namespace mv::terminal {

/// What the user pressed.
struct Key {
  enum class Kind {
    Character,
    Enter,
    Escape,
    Backspace,
    Delete,
    Left,
    Right,
    Home,
    End,
    Clear,  ///< Ctrl-U
    Eof,    ///< Ctrl-D
    Close,  ///< the program shall end
  };
  Kind kind = Kind::Character;
  char32_t character = 0;  ///< of a Character

  friend bool operator==(const Key&, const Key&) = default;
};

/// Makes keys of the bytes that a terminal sends. Sequences of keys that mean nothing here are dropped.
class Keyboard {
 public:
  /// Bytes other than ASCII are of that charset; what a terminal without one sends is tried as UTF-8.
  explicit Keyboard(platform::Terminal::Charset charset) : charset_(charset) {}

  /// Takes bytes as the terminal sent them; a key's may come in several calls.
  void Feed(std::string_view bytes);
  /// The next key; nothing when there is none, or when more bytes must come first.
  std::optional<Key> Take();
  /// True when a key has begun. The Escape key looks like the beginning of others: wait a moment, then call EndPending.
  bool Pending() const { return !bytes_.empty(); }
  /// No more bytes of the key that has begun will come; it becomes a key as it is, or nothing.
  void EndPending();

 private:
  void Decode(bool complete);
  /// These take what they know from the front; 0: nothing, or not all of it is there.
  std::size_t DecodeSequence(bool complete);
  std::size_t DecodeControl();
  std::size_t DecodeCharacter(bool complete);
  void Add(Key::Kind kind) { keys_.push_back({kind, 0}); }

  platform::Terminal::Charset charset_;
  std::string bytes_;  ///< of a key that is not complete
  std::deque<Key> keys_;
};

}  // namespace mv::terminal
