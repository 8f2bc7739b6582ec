#pragma once

#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "support/RecordingUi.h"
#include "ui/Toolkit.h"
#include "ui/frmAbout.h"
#include "ui/frmConfig.h"

namespace mv::testing {

/// A settings dialog that holds its controls' states.
class FakeConfigView : public frmConfigView {
 public:
  /// What the file dialog was asked, and what it answers; once used up, Cancel.
  std::vector<FileQuestion> questions;
  std::deque<std::optional<std::string>> chosenFiles;
  std::array<bool, kModes> modes = {};
  std::array<std::string, 3> paths;
  std::array<bool, 3> ticks = {};
  std::array<bool, 4> enabled = {};
  std::vector<std::size_t> modePictures;
  std::vector<std::string> browsePictures;
  int unloaded = 0;

  void SelectMode(std::size_t index) override {
    modes = {};
    modes.at(index) = true;
  }
  bool ModeSelected(std::size_t index) const override { return modes.at(index); }
  void ShowModePicture(std::size_t index) override { modePictures.push_back(index); }
  void SetPath(std::size_t index, const std::string& text) override { paths.at(index) = text; }
  std::string Path(std::size_t index) const override { return paths.at(index); }
  void Tick(CheckBox box, bool ticked) override { ticks.at(static_cast<std::size_t>(box)) = ticked; }
  bool Ticked(CheckBox box) const override { return ticks.at(static_cast<std::size_t>(box)); }
  void Enable(LogControl control, bool on) override { enabled.at(static_cast<std::size_t>(control)) = on; }
  void ShowBrowsePicture(std::size_t index, BrowsePicture picture) override {
    browsePictures.push_back(std::to_string(index) + (picture == BrowsePicture::Pressed ? " pressed" : " released"));
  }
  std::optional<std::string> AskFile(const FileQuestion& question) override {
    questions.push_back(question);
    if (chosenFiles.empty()) return std::nullopt;
    const auto chosen = chosenFiles.front();
    chosenFiles.pop_front();
    return chosen;
  }
  void Unload() override { ++unloaded; }
};

class FakeAboutView : public frmAboutView {
 public:
  std::string version;
  int unloaded = 0;
  void SetVersion(const std::string& text) override { version = text; }
  void Unload() override { ++unloaded; }
};

/// A main window that writes down what it is told, one text a call, and does what the test says while it handles
/// messages or shows a modal window.
class FakeToolkit : public Toolkit {
 public:
  std::vector<std::string> calls;
  /// Runs before each call is written down.
  std::function<void()> beforeCall = [] {};
  std::vector<RecordingUi::Message> messages;
  std::deque<MessageAnswer> answers;
  /// What the user does at the coming ProcessMessages, one each.
  std::deque<std::function<void()>> actions;
  /// What the user does in the settings dialog and the about box, once they are loaded.
  std::function<void(frmConfig&, FakeConfigView&)> inSettings = [](frmConfig&, FakeConfigView&) {};
  std::function<void(frmAbout&, FakeAboutView&)> inAbout = [](frmAbout&, FakeAboutView&) {};

  std::unique_ptr<frmMainView> MakeMainView(frmMain&) override { return std::make_unique<View>(*this); }

  /// The calls whose text starts with `start`, in order.
  std::vector<std::string> CallsThatStart(const std::string& start) const {
    std::vector<std::string> found;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(found),
                 [&](const std::string& call) { return call.starts_with(start); });
    return found;
  }

 private:
  class View : public frmMainView {
   public:
    explicit View(FakeToolkit& toolkit) : toolkit_(toolkit) {}
    void SetUpProgressColumn() override { Note("column"); }
    void Show() override { Note("show"); }
    void Unload() override { Note("unload"); }
    void RunUntilClosed() override { Note("run"); }
    void ProcessMessages() override {
      Note("messages");
      if (toolkit_.actions.empty()) return;
      const auto action = toolkit_.actions.front();
      toolkit_.actions.pop_front();
      action();
    }
    void SetPanel(Panel panel, const std::string& text) override {
      Note((panel == Panel::Status ? "status: " : "mode: ") + text);
    }
    void ShowMode(std::int16_t mode, const std::string& tip) override {
      Note("picture " + std::to_string(mode) + ":" + tip);
    }
    void AddProgressItem(const std::string& text) override { Note("progress: " + text); }
    void ShowSpinnerFrame(int frame) override { Note("spinner " + std::to_string(frame)); }
    void EnableButton(int index, bool enabled) override { Note(Verb(enabled) + "button " + std::to_string(index)); }
    void EnableMenu(Menu menu, bool enabled) override {
      Note(Verb(enabled) + (menu == Menu::Sync ? "mnuSync" : "mnuView"));
    }
    void EnableMenuItem(Command command, bool enabled) override {
      const char* names[] = {"mnuSyncStart", "mnuSyncExit", "mnuViewSettings", "mnuViewLog", "mnuAbout"};
      Note(Verb(enabled) + names[static_cast<std::size_t>(command)]);
    }
    void SetHourglass(bool on) override { Note(on ? "hourglass" : "pointer"); }
    MessageAnswer ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                              MessageIcon icon) override {
      Note("message: " + text);
      toolkit_.messages.push_back({text, title, buttons, icon});
      if (toolkit_.answers.empty()) return RefusingAnswer(buttons);
      const MessageAnswer answer = toolkit_.answers.front();
      toolkit_.answers.pop_front();
      return answer;
    }
    void ShowModal(frmConfig& form) override {
      Note("settings");
      FakeConfigView view;
      form.Form_Load(view);
      toolkit_.inSettings(form, view);
    }
    void ShowAbout(frmAbout& form) override {
      Note("about");
      FakeAboutView view;
      form.Form_Load(view);
      toolkit_.inAbout(form, view);
    }

   private:
    void Note(const std::string& call) {
      toolkit_.beforeCall();
      toolkit_.calls.push_back(call);
    }
    static std::string Verb(bool enabled) { return enabled ? "enable " : "disable "; }
    FakeToolkit& toolkit_;
  };
};

}  // namespace mv::testing
