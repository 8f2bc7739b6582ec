#pragma once

#include <QDialog>
#include <map>
#include <vector>

#include "ui/ConfigLayout.h"
#include "ui/frmConfig.h"

class QAbstractButton;
class QBoxLayout;
class QGridLayout;
class QLabel;
class QLineEdit;

namespace mv::qt {

class PictureLabel;

/// The settings dialog.
class ConfigView : public frmConfigView, public HandheldSectionView, public QDialog {
 public:
  /// `form` must outlive the dialog.
  ConfigView(frmConfig& form, QWidget* parent);

  void SelectMode(std::size_t index) override;
  bool ModeSelected(std::size_t index) const override;
  void ShowModePicture(std::size_t index) override;
  void SetPath(std::size_t index, const std::string& text) override;
  std::string Path(std::size_t index) const override;
  void Tick(CheckBox box, bool ticked) override;
  bool Ticked(CheckBox box) const override;
  void Enable(LogControl control, bool enabled) override;
  void ShowBrowsePicture(std::size_t index, BrowsePicture picture) override;
  std::optional<std::string> AskFile(const FileQuestion& question) override;
  HandheldSectionView* HandheldSection() override { return this; }
  void Unload() override { done(QDialog::Accepted); }

  void SetFolder(const std::string& text) override;
  std::string Folder() const override;
  void TickNetwork(bool ticked) override;
  bool NetworkTicked() const override;
  void EnableFolder(bool enabled) override;
  std::optional<std::string> AskFolder(const std::string& title, const std::string& startingFolder) override;

 protected:
  /// Esc and the close box.
  void reject() override { form_.cmdCancel_Click(*this); }

 private:
  /// Where the controls of a section go.
  struct Places;

  void Browse(std::size_t button);
  void Toggled(layout::ControlId box);
  QAbstractButton* Box(layout::ControlId id) const { return boxes_.at(id.index); }

  void AlignPaths();
  void MakeSection(const layout::ConfigSection& section, QBoxLayout& all);
  void MakeControl(const layout::ConfigControl& control, Places& places);
  void MakePath(Places& places);
  void MakeBrowseButton(const layout::ConfigControl& control, Places& places);
  void MakeBox(const layout::ConfigControl& control, Places& places);
  void MakeModePicture(Places& places);
  void MakeMode(const layout::ConfigControl& control, Places& places);
  void MakeHelp(const Caption& caption, Places& places);
  void MakeEndButton(const layout::ConfigControl& control, Places& places);

  frmConfig& form_;
  std::vector<QLabel*> labels_;
  std::vector<QLineEdit*> paths_;
  std::vector<QAbstractButton*> modes_;
  std::vector<QAbstractButton*> browse_;
  std::map<std::size_t, QAbstractButton*> boxes_;  ///< by the index of their ControlId
  PictureLabel* modePicture_ = nullptr;
};

}  // namespace mv::qt
