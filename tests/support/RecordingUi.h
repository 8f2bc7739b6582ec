#pragma once

#include <algorithm>
#include <deque>
#include <iterator>
#include <string>
#include <vector>

#include "ui/UserInterface.h"

namespace mv::testing {

/// A user interface that writes down what it is told, one text a call, and answers questions as told before.
class RecordingUi : public UserInterface {
 public:
  struct Message {
    std::string text;
    std::string title;
    MessageButtons buttons = MessageButtons::Ok;
    MessageIcon icon = MessageIcon::None;
    friend bool operator==(const Message&, const Message&) = default;
  };

  /// Every call in order: "status: ...", "progress: ...", "spinner", "spinner reset", "message: ...", "hourglass",
  /// "pointer", "messages".
  std::vector<std::string> calls;
  /// The message boxes with all they showed.
  std::vector<Message> messages;
  /// Answers to the coming message boxes; once used up Cancel for Retry/Cancel, else Ok.
  std::deque<MessageAnswer> answers;

  void SetStatus(const std::string& text) override { calls.push_back("status: " + text); }
  void AddProgressLine(const std::string& text) override { calls.push_back("progress: " + text); }
  void AdvanceSpinner(bool reset) override { calls.push_back(reset ? "spinner reset" : "spinner"); }
  MessageAnswer ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                            MessageIcon icon) override {
    calls.push_back("message: " + text);
    messages.push_back({text, title, buttons, icon});
    if (answers.empty()) return RefusingAnswer(buttons);
    const MessageAnswer answer = answers.front();
    answers.pop_front();
    return answer;
  }
  void SetHourglass(bool on) override { calls.push_back(on ? "hourglass" : "pointer"); }
  void ProcessMessages() override { calls.push_back("messages"); }
  bool Closed() const override { return closed; }

  /// What Closed answers: the user has closed the window.
  bool closed = false;

  /// The calls whose text starts with `start`, in order.
  std::vector<std::string> CallsThatStart(const std::string& start) const {
    std::vector<std::string> found;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(found),
                 [&](const std::string& call) { return call.starts_with(start); });
    return found;
  }
};

}  // namespace mv::testing
