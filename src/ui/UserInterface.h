#pragma once

#include <string>

namespace mv {

enum class MessageButtons { Ok, RetryCancel };
enum class MessageIcon { None, Information, Exclamation, Critical };
enum class MessageAnswer { Ok, Retry, Cancel };

/// What a question is answered with when nobody can be asked.
inline MessageAnswer RefusingAnswer(MessageButtons buttons) {
  return buttons == MessageButtons::RetryCancel ? MessageAnswer::Cancel : MessageAnswer::Ok;
}

/// What the run shows and asks. A silent run gets SilentUserInterface, which shows nothing; the main window is the
/// other implementation. Named ShowMessage because MessageBox is a macro of the platform's headers.
class UserInterface {
 public:
  virtual ~UserInterface() = default;

  /// Text of the first panel of the status bar.
  virtual void SetStatus(const std::string& text) = 0;
  /// A new last line of the progress list.
  virtual void AddProgressLine(const std::string& text) = 0;
  /// Next spinner frame, or the first one when `reset`.
  virtual void AdvanceSpinner(bool reset) = 0;
  /// Shows a message box and returns the user's answer. `text`: its lines are separated by carriage returns. `title`:
  /// empty for the program's name.
  virtual MessageAnswer ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                                    MessageIcon icon) = 0;
  /// Shows the hourglass pointer, or the usual one again.
  virtual void SetHourglass(bool on) = 0;
  /// Lets pending window messages run once.
  virtual void ProcessMessages() = 0;
  /// True once the user has closed the window. Nothing more is shown then, questions get the refusing answer, and a run
  /// stops at its next safe point.
  virtual bool Closed() const = 0;
};

/// Shows nothing and answers every question with the refusing choice.
class SilentUserInterface : public UserInterface {
 public:
  void SetStatus(const std::string&) override {}
  void AddProgressLine(const std::string&) override {}
  void AdvanceSpinner(bool) override {}
  MessageAnswer ShowMessage(const std::string&, const std::string&, MessageButtons buttons, MessageIcon) override {
    return RefusingAnswer(buttons);
  }
  void SetHourglass(bool) override {}
  void ProcessMessages() override {}
  bool Closed() const override { return false; }
};

}  // namespace mv
