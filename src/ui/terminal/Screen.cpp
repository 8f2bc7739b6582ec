#include "ui/terminal/Screen.h"

#include <algorithm>

#include "base/NumberText.h"
#include "ui/terminal/Glyphs.h"

namespace mv::terminal {
namespace {

constexpr std::size_t kUsualColumns = 80;
constexpr std::size_t kGap = 2;  // between the two ends of the foot
constexpr const char* kEraseLine = "\r\x1b[K";
constexpr const char* kUsualStyle = "\x1b[0m";

const char* SequenceOf(Style style, bool colours) {
  switch (style) {
    case Style::Strong:
      return "\x1b[1m";
    case Style::Warning:
      return colours ? "\x1b[1;31m" : "\x1b[1;7m";
    default:
      return "";
  }
}

Spans Fitting(const Spans& spans, std::size_t columns) {
  Spans result;
  for (const Span& span : spans) {
    const std::string_view text = Start(span.text, columns);
    result.push_back({std::string(text), span.style});
    columns -= Width(text);
  }
  return result;
}

}  // namespace

std::size_t Screen::Columns() const {
  const std::size_t columns = terminal_.Columns();
  // The last place stays free: after a character in it terminals differ in where the cursor is.
  return (columns == 0 ? kUsualColumns : columns) - 1;
}

void Screen::Line(const Spans& spans) {
  Erase();
  terminal_.Write(Bytes(spans) + "\n");
  Draw();
}

void Screen::Foot(const Spans& spans, std::size_t behind) {
  Set(spans, {}, behind);
}

void Screen::Foot(const std::string& left, const Span& right) {
  Set({{left}}, right, 0);
}

void Screen::Set(const Spans& spans, const Span& right, std::size_t behind) {
  if (spans == foot_ && right == right_ && behind == behind_ && drawn_) return;
  foot_ = spans;
  right_ = right;
  behind_ = behind;
  if (!CanDraw()) return;
  Erase();
  Draw();
}

void Screen::Ask(const Spans& spans) {
  if (asking_ && spans == foot_) return;
  Foot(spans);
  if (!CanDraw()) {
    if (asking_) terminal_.Write("\n");
    terminal_.Write(Bytes(spans));
  }
  asking_ = true;
}

void Screen::Answered(const std::string& answer) {
  if (!asking_) return;
  Spans said = foot_;
  said.push_back({answer});
  asking_ = false;
  if (!CanDraw()) {
    terminal_.Write(Bytes({{answer}}) + "\n");
    foot_.clear();
    return;
  }
  ClearFoot();
  Line(said);
}

void Screen::ClearFoot() {
  Erase();
  asking_ = false;
  foot_.clear();
  right_ = {};
  behind_ = 0;
}

void Screen::Redraw() {
  if (!CanDraw()) return;
  Erase();
  Draw();
}

void Screen::Draw() {
  if (foot_.empty()) return;
  if (CanDraw()) {
    terminal_.Write(Bytes(FittingFoot()));
    if (behind_ > 0) terminal_.Write("\x1b[" + TextOfInteger(static_cast<std::int64_t>(behind_)) + "D");
    drawn_ = true;
  } else if (asking_) {
    terminal_.Write(Bytes(foot_));
  }
}

Spans Screen::FittingFoot() const {
  if (right_.text.empty()) return Fitting(foot_, Columns());
  const Spans right = Fitting({right_}, Columns());
  const std::size_t room = Columns() - Width(right[0].text);
  Spans spans = Fitting(foot_, room - std::min(room, kGap));
  std::size_t used = 0;
  for (const Span& span : spans) used += Width(span.text);
  spans.push_back({std::string(room - used, ' ')});
  spans.push_back(right[0]);
  return spans;
}

std::string Screen::Bytes(const Spans& spans) const {
  std::string bytes;
  for (const Span& span : spans) {
    const std::string start = CanDraw() ? SequenceOf(span.style, terminal_.HasColours()) : "";
    bytes += start + Encoded(Harmless(span.text), terminal_.OutputCharset()) + (start.empty() ? "" : kUsualStyle);
  }
  return bytes;
}

/// What stands in the last line goes, or is ended.
void Screen::Erase() {
  if (CanDraw() && drawn_) terminal_.Write(kEraseLine);
  if (!CanDraw() && asking_) terminal_.Write("\n");
  drawn_ = false;
}

}  // namespace mv::terminal
