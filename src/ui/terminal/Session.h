#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "platform/Terminal.h"
#include "ui/terminal/Choices.h"
#include "ui/terminal/Keyboard.h"
#include "ui/terminal/LineEditor.h"
#include "ui/terminal/Screen.h"

namespace mv::terminal {

/// The user at the terminal: what is shown, and what is asked.
class Session {
 public:
  /// `terminal` must outlive the session.
  explicit Session(platform::Terminal& terminal);

  Screen& GetScreen() { return screen_; }
  /// The next key if there is one already.
  std::optional<Key> Poll() { return Next(std::chrono::milliseconds(0)); }
  /// The next key.
  Key Wait();

  /// Asks until one of the captions is chosen: by its letter, the first one by Enter too, the last one by Escape and at
  /// the input's end. Nothing when the program shall end.
  std::optional<std::size_t> Choose(const std::vector<Caption>& captions);
  struct Edited {
    std::string text;
    bool close = false;  ///< the program shall end; `text` is the old one
  };
  /// Lets the user change a line; Escape leaves it.
  Edited Edit(const std::string& label, const std::string& text);

 private:
  std::optional<Key> Next(std::chrono::milliseconds limit);
  Edited EditInPlace(const std::string& label, const std::string& text);
  Edited EditAsLine(const std::string& label, const std::string& text);
  void ShowLine(const std::string& label, const LineEditor& editor);

  platform::Terminal& terminal_;
  Screen screen_;
  Keyboard keyboard_;
};

}  // namespace mv::terminal
