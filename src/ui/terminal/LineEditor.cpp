#include "ui/terminal/LineEditor.h"

#include "base/Utf.h"
#include "ui/terminal/Glyphs.h"

namespace mv::terminal {

LineEditor::LineEditor(const std::string& text) : text_(CodePointsFromUtf8(text)), cursor_(text_.size()) {}

void LineEditor::Press(const Key& key) {
  switch (key.kind) {
    case Key::Kind::Character:
      text_.insert(cursor_++, 1, key.character);
      return;
    case Key::Kind::Backspace:
      if (cursor_ > 0) text_.erase(--cursor_, 1);
      return;
    case Key::Kind::Delete:
      if (cursor_ < text_.size()) text_.erase(cursor_, 1);
      return;
    case Key::Kind::Left:
      if (cursor_ > 0) --cursor_;
      return;
    case Key::Kind::Right:
      if (cursor_ < text_.size()) ++cursor_;
      return;
    case Key::Kind::Home:
      cursor_ = 0;
      return;
    case Key::Kind::End:
      cursor_ = text_.size();
      return;
    case Key::Kind::Clear:
      text_.clear();
      cursor_ = 0;
      return;
    default:
      return;
  }
}

std::string LineEditor::Text() const {
  return Utf8FromCodePoints(text_);
}

LineEditor::Shown LineEditor::In(std::size_t columns) const {
  const std::string before = Utf8FromCodePoints(text_.substr(0, cursor_));
  const std::string after = Utf8FromCodePoints(text_.substr(cursor_));
  const std::string_view left = Tail(before, columns);
  const std::string_view right = Start(after, columns - Width(left));
  return {std::string(left) + std::string(right), Width(right)};
}

}  // namespace mv::terminal
