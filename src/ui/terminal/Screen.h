#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/Terminal.h"

namespace mv::terminal {

enum class Style { Plain, Strong, Warning };

struct Span {
  std::string text;
  Style style = Style::Plain;
  friend bool operator==(const Span&, const Span&) = default;
};
using Spans = std::vector<Span>;

/// What the user sees: lines that stay, and below them one line, the foot, that changes in place. A terminal that
/// cannot draw, or a pipe, gets the lines, each once, and of the foot only what asks something.
class Screen {
 public:
  /// `terminal` must outlive the screen.
  explicit Screen(platform::Terminal& terminal) : terminal_(terminal) {}

  bool CanDraw() const { return terminal_.CanDraw(); }
  /// Places in a line that can be used.
  std::size_t Columns() const;

  void Line(const std::string& text, Style style = Style::Plain) { Line(Spans{{text, style}}); }
  void Line(const Spans& spans);
  /// What goes on now. What is longer than a line is cut off. `behind`: how many places the cursor stands before its
  /// end.
  void Foot(const Spans& spans, std::size_t behind = 0);
  /// The same with something at the right end of the line, which is cut off last.
  void Foot(const std::string& left, const Span& right);
  /// A question, which becomes the foot.
  void Ask(const Spans& spans);
  /// The question is answered: it stays as a line, with the answer behind it.
  void Answered(const std::string& answer);
  /// The foot goes.
  void ClearFoot();
  /// Draws the foot again, where something else may stand now, or in a line of another length.
  void Redraw();
  /// The system has shown what the user typed, and the end of the line.
  void TypedByUser() { asking_ = false; }

 private:
  void Set(const Spans& spans, const Span& right, std::size_t behind);
  void Draw();
  Spans FittingFoot() const;
  std::string Bytes(const Spans& spans) const;
  void Erase();

  platform::Terminal& terminal_;
  Spans foot_;
  Span right_;  ///< at its right end
  std::size_t behind_ = 0;
  bool drawn_ = false;   ///< the foot stands there
  bool asking_ = false;  ///< the foot is a question
};

}  // namespace mv::terminal
