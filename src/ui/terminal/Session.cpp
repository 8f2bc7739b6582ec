#include "ui/terminal/Session.h"

#include <algorithm>

#include "ui/terminal/Glyphs.h"

namespace mv::terminal {
namespace {

using platform::Terminal;
using Kind = Key::Kind;

constexpr std::chrono::milliseconds kLong{60'000};
/// The bytes of one key come together; a slow line may part them.
constexpr std::chrono::milliseconds kWithinKey{50};

/// While the user types lines, the system shows them.
class LineInput {
 public:
  explicit LineInput(Terminal& terminal) : terminal_(terminal) { terminal_.SetInput(Terminal::Input::Lines); }
  ~LineInput() { terminal_.SetInput(Terminal::Input::Keys); }
  LineInput(const LineInput&) = delete;
  LineInput& operator=(const LineInput&) = delete;

 private:
  Terminal& terminal_;
};

}  // namespace

Session::Session(Terminal& terminal) : terminal_(terminal), screen_(terminal), keyboard_(terminal.OutputCharset()) {}

Key Session::Wait() {
  while (true) {
    if (const auto key = Next(kLong)) return *key;
  }
}

std::optional<Key> Session::Next(std::chrono::milliseconds limit) {
  if (const auto key = keyboard_.Take()) return key;
  const Terminal::Told told = terminal_.Next(keyboard_.Pending() ? kWithinKey : limit);
  switch (told.event) {
    case Terminal::Event::Typed:
      keyboard_.Feed(told.bytes);
      break;
    case Terminal::Event::Resized:
    case Terminal::Event::Resumed:
      screen_.Redraw();
      break;
    case Terminal::Event::Closed:
      return Key{Kind::Close, 0};
    case Terminal::Event::None:
      keyboard_.EndPending();
      break;
  }
  return keyboard_.Take();
}

std::optional<std::size_t> Session::Choose(const std::vector<Caption>& captions) {
  const Choices choices(captions);
  std::string question = choices.Text(0);
  for (std::size_t number = 1; number < captions.size(); ++number) question += "  " + choices.Text(number);
  while (true) {
    screen_.Ask({{question + ": ", Style::Strong}});
    const Key key = Wait();
    if (key.kind == Kind::Close) return std::nullopt;
    std::optional<std::size_t> chosen;
    if (key.kind == Kind::Character) chosen = choices.Chosen(key.character);
    if (key.kind == Kind::Enter) chosen = 0;
    if (key.kind == Kind::Escape || key.kind == Kind::Eof) chosen = captions.size() - 1;
    if (!chosen) continue;
    screen_.Answered(captions[*chosen].text);
    return chosen;
  }
}

Session::Edited Session::Edit(const std::string& label, const std::string& text) {
  return screen_.CanDraw() ? EditInPlace(label, text) : EditAsLine(label, text);
}

Session::Edited Session::EditInPlace(const std::string& label, const std::string& text) {
  LineEditor editor(text);
  while (true) {
    ShowLine(label, editor);
    const Key key = Wait();
    const bool ends = key.kind == Kind::Enter || key.kind == Kind::Escape || key.kind == Kind::Eof;
    if (!ends && key.kind != Kind::Close) {
      editor.Press(key);
      continue;
    }
    screen_.ClearFoot();
    return {key.kind == Kind::Enter ? editor.Text() : text, key.kind == Kind::Close};
  }
}

void Session::ShowLine(const std::string& label, const LineEditor& editor) {
  const std::size_t columns = screen_.Columns();
  const std::string name(Start(label + ": ", columns / 2));
  const LineEditor::Shown shown = editor.In(columns - Width(name));
  screen_.Foot({{name, Style::Strong}, {shown.text}}, shown.behind);
}

/// An empty line leaves the old text.
Session::Edited Session::EditAsLine(const std::string& label, const std::string& text) {
  const LineInput lines(terminal_);
  screen_.Ask({{label + " [" + text + "]: "}});
  LineEditor typed("");
  for (Key key = Wait(); key.kind != Kind::Enter; key = Wait()) {
    if (key.kind == Kind::Close) return {text, true};
    if (key.kind == Kind::Eof) return {text, false};
    typed.Press(key);
  }
  screen_.TypedByUser();
  return {typed.Text().empty() ? text : typed.Text(), false};
}

}  // namespace mv::terminal
