#pragma once

#include <cstddef>
#include <string>

#include "ui/terminal/Keyboard.h"

namespace mv::terminal {

/// A line that the user changes, with a cursor in it.
class LineEditor {
 public:
  explicit LineEditor(const std::string& text);

  /// Changes the line or moves the cursor. Keys that do neither are ignored.
  void Press(const Key& key);
  std::string Text() const;

  /// What of it is shown in that many places, the cursor in sight.
  struct Shown {
    std::string text;
    std::size_t behind = 0;  ///< places between the cursor and the end of `text`
  };
  Shown In(std::size_t columns) const;

 private:
  std::u32string text_;
  std::size_t cursor_;  ///< the character that it stands before
};

}  // namespace mv::terminal
