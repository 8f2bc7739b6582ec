#include "ui/terminal/MainView.h"

#include <algorithm>

#include "base/NumberText.h"
#include "ui/Texts.h"
#include "ui/terminal/ConfigView.h"
#include "ui/terminal/Glyphs.h"

namespace mv::terminal {
namespace {

using layout::Command;
using layout::Menu;

constexpr char kSpinner[frmMainView::kSpinnerFrames + 1] = "|/-\\";

/// The about box is two lines and asks nothing.
class AboutLines : public frmAboutView {
 public:
  explicit AboutLines(Screen& screen) : screen_(screen) {}
  void SetVersion(const std::string& text) override { screen_.Line(text); }
  void Unload() override {}

 private:
  Screen& screen_;
};

std::vector<Caption> CaptionsOf(MessageButtons buttons) {
  if (buttons == MessageButtons::RetryCancel) return {{texts::kRetry, 'R'}, {texts::kCancel, 'C'}};
  return {{texts::kOk, 'O'}};
}

Style StyleOf(MessageIcon icon) {
  return icon == MessageIcon::Critical || icon == MessageIcon::Exclamation ? Style::Warning : Style::Strong;
}

}  // namespace

std::vector<MainView::Entry> MainView::EntriesOfLayout() {
  std::vector<Entry> entries;
  for (const layout::MenuBarEntry& bar : layout::kMenuBar) {
    if (bar.command) entries.push_back({*bar.command, std::nullopt});
    for (const layout::MenuItem& item : bar.items) {
      if (item.command) entries.push_back({*item.command, bar.menu, item.enabled});
    }
  }
  return entries;
}

std::vector<Caption> MainView::CaptionsOfLayout() {
  std::vector<Caption> captions;
  for (const layout::MenuBarEntry& bar : layout::kMenuBar) {
    if (bar.command) captions.push_back(bar.caption);
    for (const layout::MenuItem& item : bar.items) {
      if (item.command) captions.push_back(item.caption);
    }
  }
  return captions;
}

MainView::MainView(frmMain& form, platform::Terminal& terminal, const std::function<TableCount()>& tables)
    : form_(form),
      session_(terminal),
      screen_(session_.GetScreen()),
      tables_(tables),
      entries_(EntriesOfLayout()),
      choices_(CaptionsOfLayout()) {}

void MainView::Show() {
  open_ = true;
  screen_.Line(texts::kMainCaption, Style::Strong);
  ShowWork();
}

void MainView::Unload() {
  if (!open_) return;
  screen_.ClearFoot();
  if (!IsEnabled(Menu::Sync)) screen_.Line(texts::kStopping);
  open_ = false;
}

void MainView::RunUntilClosed() {
  while (open_) {
    Activate();
    if (!open_) return;
    ShowCommands();
    Handle(session_.Wait());
  }
}

void MainView::ProcessMessages() {
  if (!open_) return;
  Activate();
  while (open_) {
    const std::optional<Key> key = session_.Poll();
    if (!key) return;
    Handle(*key);
  }
}

void MainView::Activate() {
  if (activated_) return;
  activated_ = true;
  form_.Form_Activate();
}

void MainView::Handle(const Key& key) {
  if (key.kind == Key::Kind::Close) return form_.Unload();
  if (key.kind == Key::Kind::Eof && IsEnabled(Menu::Sync)) return form_.Unload();
  if (key.kind != Key::Kind::Character) return;
  const std::optional<std::size_t> chosen = choices_.Chosen(key.character);
  if (!chosen || !Offered(entries_[*chosen])) return;
  if (screen_.CanDraw()) screen_.ClearFoot();
  screen_.Answered(choices_.Text(*chosen));
  commandRows_.clear();
  form_.Perform(entries_[*chosen].command);
}

bool MainView::Offered(const Entry& entry) const {
  if (entry.enabled && (!entry.menu || IsEnabled(*entry.menu))) return true;
  // Start has a toolbar button as well, which is enabled after a run.
  return std::any_of(std::begin(layout::kToolBar), std::end(layout::kToolBar), [&](const layout::ToolButton& button) {
    const bool disabled =
        std::find(disabledButtons_.begin(), disabledButtons_.end(), button.index) != disabledButtons_.end();
    return button.command == entry.command && !disabled;
  });
}

void MainView::SetPanel(Panel panel, const std::string& text) {
  if (panel == Panel::Mode) mode_ = text;
  if (panel == Panel::Status) {
    status_ = text;
    statusSaid_ = false;
  }
  ShowWork();
}

void MainView::ShowMode(std::int16_t mode, const std::string&) {
  overwrites_ = layout::OverwritesOneSide(mode);
  ShowWork();
}

void MainView::AddProgressItem(const std::string& text) {
  if (open_) screen_.Line(text);
}

void MainView::ShowSpinnerFrame(int frame) {
  frame_ = frame;
  ShowWork();
}

void MainView::EnableButton(int index, bool enabled) {
  std::erase(disabledButtons_, index);
  if (!enabled) disabledButtons_.push_back(index);
}

void MainView::EnableMenu(Menu menu, bool enabled) {
  menus_[layout::PositionOf(menu)] = enabled;
}

void MainView::EnableMenuItem(Command command, bool enabled) {
  for (Entry& entry : entries_) {
    if (entry.command == command) entry.enabled = enabled;
  }
}

void MainView::SetHourglass(bool on) {
  hourglass_ = on;
  if (on) ShowWork();
}

MessageAnswer MainView::ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                                    MessageIcon icon) {
  if (!open_) return RefusingAnswer(buttons);
  screen_.ClearFoot();
  screen_.Line(title, StyleOf(icon));
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find('\r', at), text.size());
    screen_.Line(text.substr(at, end - at));
    at = end + 1;
  }
  const std::optional<std::size_t> chosen = session_.Choose(CaptionsOf(buttons));
  if (!chosen) form_.Unload();
  if (buttons == MessageButtons::RetryCancel && chosen == std::size_t{0}) return MessageAnswer::Retry;
  return RefusingAnswer(buttons);
}

void MainView::ShowModal(frmConfig& form) {
  if (!open_) return;
  if (!ConfigView(form, session_).ShowModal()) return form_.Unload();
  activated_ = false;
}

void MainView::ShowAbout(frmAbout& form) {
  if (!open_) return;
  screen_.Line(texts::kAboutCaption, Style::Strong);
  AboutLines view(screen_);
  form.Form_Load(view);
}

/// The mode; one that overwrites a side has a sign as well, as not every terminal has colours.
Span MainView::ModeSpan() const {
  return overwrites_ ? Span{"! " + mode_, Style::Warning} : Span{mode_, Style::Plain};
}

void MainView::ShowWork() {
  if (!open_ || !hourglass_ || !screen_.CanDraw()) return;
  std::string work = std::string(1, kSpinner[frame_]) + " ";
  if (!IsEnabled(Menu::Sync)) {
    const TableCount tables = tables_();
    work += texts::TablesDone(tables.done, tables.of) + "  ";
  }
  screen_.Foot(work + status_, ModeSpan());
}

/// The last row is the question; those before it are lines, and stand there already when they have not changed.
void MainView::ShowCommands() {
  if (!statusSaid_) screen_.Line(status_);
  statusSaid_ = true;
  const std::vector<Spans> rows = CommandRows();
  if (rows != commandRows_) std::for_each(rows.begin(), rows.end() - 1, [&](const Spans& row) { screen_.Line(row); });
  commandRows_ = rows;
  screen_.Ask(rows.back());
}

std::vector<Spans> MainView::CommandRows() const {
  std::vector<Spans> rows = {{ModeSpan(), {": "}}};
  std::size_t used = Width(rows.back()[0].text) + 2;
  for (std::size_t number = 0; number < entries_.size(); ++number) {
    if (!Offered(entries_[number])) continue;
    const std::string text = choices_.Text(number);
    if (used + Width(text) > screen_.Columns()) {
      rows.emplace_back();
      used = 0;
    }
    rows.back().push_back({text + "  "});
    used += Width(text) + 2;
  }
  return rows;
}

}  // namespace mv::terminal
