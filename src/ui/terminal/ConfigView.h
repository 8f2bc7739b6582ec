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
class ConfigView : public frmConfigView, public HandheldSectionView {
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
  HandheldSectionView* HandheldSection() override { return this; }
  void Unload() override { open_ = false; }

  // HandheldSectionView
  void SetFolder(const std::string& text) override { paths_.at(layout::kHandheldRow) = text; }
  std::string Folder() const override { return paths_.at(layout::kHandheldRow); }
  void TickNetwork(bool ticked) override { ticks_.at(layout::kNetworkBox.index) = ticked; }
  bool NetworkTicked() const override { return ticks_.at(layout::kNetworkBox.index); }
  void EnableFolder(bool enabled) override { Enable({layout::ControlKind::Path, layout::kHandheldRow}, enabled); }
  std::optional<std::string> AskFolder(const std::string&, const std::string&) override { return std::nullopt; }

 private:
  struct Row {
    layout::ControlId id;
    std::string label;
  };
  void ShowAll();
  Spans LineOf(std::size_t row) const;
  bool IsEnabled(const Row& row) const;
  void Enable(const layout::ControlId& control, bool enabled);
  /// False when the program shall end.
  bool Change(std::size_t row);
  bool Handle(const Key& key);

  frmConfig& form_;
  Session& session_;
  Screen& screen_;
  std::vector<Row> rows_;  ///< the settings in the order of their numbers, from 1
  std::optional<std::size_t> mode_;
  std::array<std::string, layout::kHandheldRow + 1> paths_;
  std::array<bool, layout::kNetworkBox.index + 1> ticks_ = {};
  std::vector<layout::ControlId> disabled_;
  bool open_ = false;
};

}  // namespace mv::terminal
