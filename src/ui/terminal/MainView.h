#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ui/MainWindowLayout.h"
#include "ui/frmMain.h"
#include "ui/terminal/Session.h"
#include "ui/terminal/TableCount.h"

namespace mv::terminal {

/// The main window on a terminal. The progress list's lines stay above; below them stands what goes on, with mode and
/// spinner, or between runs the commands that can be chosen, each by a letter. Ctrl-C closes the window.
class MainView : public frmMainView {
 public:
  /// All must outlive the view.
  MainView(frmMain& form, platform::Terminal& terminal, const std::function<TableCount()>& tables);

  void SetUpProgressColumn() override {}
  void Show() override;
  void Unload() override;
  void RunUntilClosed() override;
  void ProcessMessages() override;
  void SetPanel(Panel panel, const std::string& text) override;
  void ShowMode(std::int16_t mode, const std::string& tip) override;
  void AddProgressItem(const std::string& text) override;
  void ShowSpinnerFrame(int frame) override;
  void EnableButton(int index, bool enabled) override;
  void EnableMenu(Menu menu, bool enabled) override;
  void EnableMenuItem(Command command, bool enabled) override;
  void SetHourglass(bool on) override;
  MessageAnswer ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                            MessageIcon icon) override;
  void ShowModal(frmConfig& form) override;
  void ShowAbout(frmAbout& form) override;

 private:
  /// A command of the menus.
  struct Entry {
    Command command;
    std::optional<Menu> menu;
    bool enabled = true;
  };
  static std::vector<Entry> EntriesOfLayout();
  static std::vector<Caption> CaptionsOfLayout();

  bool Offered(const Entry& entry) const;
  bool IsEnabled(Menu menu) const { return menus_[layout::PositionOf(menu)]; }
  void Handle(const Key& key);
  /// The system tells a window that it is the active one; here that is when it opens and when a dialog has gone.
  void Activate();
  Span ModeSpan() const;
  void ShowWork();
  void ShowCommands();
  std::vector<Spans> CommandRows() const;

  frmMain& form_;
  Session session_;
  Screen& screen_;
  const std::function<TableCount()>& tables_;
  std::vector<Entry> entries_;
  Choices choices_;
  bool menus_[std::size(layout::kMenuBar)] = {true, true, true};
  std::vector<int> disabledButtons_;
  std::vector<Spans> commandRows_;  ///< as they were shown last
  std::string status_;
  bool statusSaid_ = true;
  std::string mode_;
  bool overwrites_ = false;
  int frame_ = 0;
  bool hourglass_ = false;
  bool open_ = false;
  bool activated_ = false;
};

}  // namespace mv::terminal
