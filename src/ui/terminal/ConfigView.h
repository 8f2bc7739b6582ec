#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "ui/ConfigLayout.h"
#include "ui/frmConfig.h"
#include "ui/terminal/Session.h"

namespace mv::terminal {

/// The settings dialog on a terminal: a numbered line for each setting, of which the user changes one at a time. Files
/// are typed, so there is no browsing; pictures are left out.
class ConfigView : public frmConfigView {
 public:
  /// Both must outlive the view.
  ConfigView(frmConfig& form, Session& session) : form_(form), session_(session), screen_(session.GetScreen()) {}

  /// Returns when the dialog is closed; false when the program shall end.
  bool ShowModal();

  void SelectMode(std::size_t index) override { mode_ = index; }
  bool ModeSelected(std::size_t index) const override { return mode_ == index; }
  void ShowModePicture(std::size_t) override {}
  void SetPath(std::size_t index, const std::string& text) override { paths_.at(index) = text; }
  std::string Path(std::size_t index) const override { return paths_.at(index); }
  void Tick(CheckBox box, bool ticked) override { ticks_.at(static_cast<std::size_t>(box)) = ticked; }
  bool Ticked(CheckBox box) const override { return ticks_.at(static_cast<std::size_t>(box)); }
  void Enable(LogControl control, bool enabled) override;
  void ShowBrowsePicture(std::size_t, BrowsePicture) override {}
  std::optional<std::string> AskFile(const FileQuestion&) override { return std::nullopt; }
  void Unload() override { open_ = false; }

 private:
  struct Row {
    layout::ControlId id;
    std::string label;
  };
  void ShowAll();
  Spans LineOf(std::size_t row) const;
  bool IsEnabled(const Row& row) const;
  /// False when the program shall end.
  bool Change(std::size_t row);
  bool Handle(const Key& key);

  frmConfig& form_;
  Session& session_;
  Screen& screen_;
  std::vector<Row> rows_;  ///< the settings in the order of their numbers, from 1
  std::optional<std::size_t> mode_;
  std::array<std::string, layout::kPathRows> paths_;
  std::array<bool, 3> ticks_ = {};
  std::vector<layout::ControlId> disabled_;
  bool open_ = false;
};

}  // namespace mv::terminal
