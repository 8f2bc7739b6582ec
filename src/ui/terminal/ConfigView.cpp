#include "ui/terminal/ConfigView.h"

#include <algorithm>
#include <string_view>

#include "ui/MainWindowLayout.h"

namespace mv::terminal {
namespace {

using layout::ControlKind;
using Kind = Key::Kind;

/// The keys of the rows, in their order; not those of OK and Cancel.
constexpr std::string_view kRowKeys = "123456789abdefgh";

bool IsSetting(ControlKind kind) {
  return kind == ControlKind::Path || kind == ControlKind::Box || kind == ControlKind::Mode;
}

}  // namespace

bool ConfigView::ShowModal() {
  open_ = true;
  form_.Form_Load(*this);
  ShowAll();
  const Choices choices({{texts::kOk}, {texts::kCancel}});
  while (open_) {
    screen_.Ask(
        {{std::string(texts::kLineToChange) + ", " + choices.Text(0) + ", " + choices.Text(1) + ": ", Style::Strong}});
    const Key key = session_.Wait();
    if (key.kind == Kind::Close || !Handle(key)) return false;
  }
  return true;
}

bool ConfigView::Handle(const Key& key) {
  const Choices choices({{texts::kOk}, {texts::kCancel}});
  const std::optional<std::size_t> button =
      key.kind == Kind::Character ? choices.Chosen(key.character) : std::optional<std::size_t>();
  if (key.kind == Kind::Enter || button == std::size_t{0}) {
    screen_.Answered(texts::kOk);
    form_.cmdOK_Click(*this);
  } else if (key.kind == Kind::Escape || key.kind == Kind::Eof || button == std::size_t{1}) {
    screen_.Answered(texts::kCancel);
    form_.cmdCancel_Click(*this);
  } else if (key.kind == Kind::Character && key.character < 0x80) {
    const std::size_t row = kRowKeys.find(static_cast<char>(key.character));
    if (row < rows_.size() && IsEnabled(rows_[row])) return Change(row);
  }
  return true;
}

void ConfigView::ShowAll() {
  screen_.ClearFoot();
  screen_.Line(texts::kConfigCaption, Style::Strong);
  std::string label;
  for (const layout::ConfigSection& section : layout::kConfigSectionsWithHandheld) {
    if (section.frame) screen_.Line(section.frame, Style::Strong);
    for (const layout::ConfigControl& control : section.controls) {
      if (control.id.kind == ControlKind::Label) label = control.caption.text;
      if (control.id.kind == ControlKind::Help) screen_.Line(control.caption.text);
      if (!IsSetting(control.id.kind)) continue;
      rows_.push_back({control.id, control.id.kind == ControlKind::Path ? label : control.caption.text});
      screen_.Line(LineOf(rows_.size() - 1));
    }
  }
}

Spans ConfigView::LineOf(std::size_t number) const {
  const Row& row = rows_[number];
  const std::string key = IsEnabled(row) ? std::string(1, kRowKeys[number]) : "-";
  const std::string start = "  " + key + "  ";
  if (row.id.kind == ControlKind::Path) return {{start + row.label + ": " + paths_.at(row.id.index)}};
  if (row.id.kind == ControlKind::Box) return {{start + (ticks_.at(row.id.index) ? "[x] " : "[ ] ") + row.label}};
  const bool selected = mode_ == row.id.index;
  const bool warns = selected && layout::OverwritesOneSide(static_cast<std::int16_t>(row.id.index));
  return {{start + (selected ? "(*) " : "( ) ")}, {row.label, warns ? Style::Warning : Style::Plain}};
}

bool ConfigView::IsEnabled(const Row& row) const {
  return std::find(disabled_.begin(), disabled_.end(), row.id) == disabled_.end();
}

void ConfigView::Enable(LogControl control, bool enabled) {
  Enable(layout::IdOf(control), enabled);
}

void ConfigView::Enable(const layout::ControlId& control, bool enabled) {
  std::erase(disabled_, control);
  if (!enabled) disabled_.push_back(control);
}

/// Shows the lines that are others by then.
bool ConfigView::Change(std::size_t number) {
  std::vector<Spans> before;
  for (std::size_t row = 0; row < rows_.size(); ++row) before.push_back(LineOf(row));
  const layout::ControlId id = rows_[number].id;
  screen_.Answered(std::string(1, kRowKeys[number]));
  if (id.kind == ControlKind::Path) {
    const Session::Edited edited = session_.Edit(rows_[number].label, paths_.at(id.index));
    if (edited.close) return false;
    paths_.at(id.index) = edited.text;
  } else if (id.kind == ControlKind::Box) {
    ticks_.at(id.index) = !ticks_.at(id.index);
    if (id == layout::IdOf(CheckBox::WriteLog)) form_.chkWriteLog_Click(*this);
    if (id == layout::kNetworkBox) form_.chkNetwork_Click(*this);
  } else {
    SelectMode(id.index);
    form_.optSync_Click(*this, id.index);
  }
  for (std::size_t row = 0; row < rows_.size(); ++row) {
    if (LineOf(row) != before[row]) screen_.Line(LineOf(row));
  }
  return true;
}

}  // namespace mv::terminal
