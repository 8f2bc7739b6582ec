#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ui/Caption.h"
#include "ui/terminal/Screen.h"

namespace mv::terminal {

/// Captions in one line, each chosen by a letter of its own.
class Choices {
 public:
  /// A caption has its mark as its letter, or, when an earlier one has that, the first of its letters that is free. No
  /// two captions are so alike that none is.
  explicit Choices(const std::vector<Caption>& captions);

  /// The caption's number, from 0, whose letter that is, in either case.
  std::optional<std::size_t> Chosen(char32_t letter) const;
  /// The caption with its letter in brackets: "E[x]it Program".
  std::string Text(std::size_t number) const;

 private:
  struct Choice {
    std::string text;
    std::size_t mark = 0;  ///< where in the text the letter is
    char letter = 0;       ///< lower case
  };
  bool IsFree(char letter) const;
  std::size_t PlaceOfLetter(const Caption& caption) const;

  std::vector<Choice> choices_;
};

}  // namespace mv::terminal
