#include "ui/qt/ConfigView.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QShortcutEvent>
#include <QSignalBlocker>
#include <algorithm>

#include "ui/qt/FileDialog.h"
#include "ui/qt/Pictures.h"
#include "ui/qt/Text.h"

namespace mv::qt {
namespace {

using layout::ControlKind;

// Sizes in units of 1/96 inch.
constexpr int kMargin = 12;
constexpr int kModeSize = 48;
constexpr int kPanelSize = 60;
constexpr int kBrowseSize = 20;
constexpr int kShortestPath = 320;

enum Column { kLabels, kPaths, kBrowseButtons, kColumns };

/// The handheld's folder is a path of the handheld, which is shown as it is.
bool IsOfThisMachine(std::size_t row) {
  return row != 1;
}

/// A box or an option that follows its keyboard mark at once. Qt's own does 100 ms later, and undoes what was typed
/// next.
template <typename Button>
class Prompt : public Button {
 public:
  using Button::Button;

 protected:
  bool event(QEvent* event) override {
    const bool marked = event->type() == QEvent::Shortcut && !static_cast<QShortcutEvent*>(event)->isAmbiguous();
    if (!marked) return Button::event(event);
    this->setFocus(Qt::ShortcutFocusReason);
    this->click();
    return true;
  }
};

}  // namespace

/// Places the controls of a section one after another: labels, paths and browse buttons make rows of three columns; the
/// picture stands before the modes; what else there is takes a line of its own.
struct ConfigView::Places {
  QWidget* parent;
  QGridLayout* grid;
  int row = 0;                       ///< of the coming control
  QLabel* label = nullptr;           ///< waits for its path
  QHBoxLayout* boxes = nullptr;      ///< below the paths, in one line
  QDialogButtonBox* ends = nullptr;  ///< the buttons that close the dialog

  void AddLine(QWidget* control) { grid->addWidget(control, row++, kLabels, 1, kColumns); }
};

ConfigView::ConfigView(frmConfig& form, QWidget* parent) : QDialog(parent), form_(form) {
  setWindowTitle(Text(texts::kConfigCaption));
  auto* const all = new QVBoxLayout(this);
  all->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  all->setSpacing(kMargin);
  for (const layout::ConfigSection& section : layout::kConfigSectionsWithHandheld) MakeSection(section, *all);
  AlignPaths();
  for (std::size_t i = 0; i < browse_.size(); ++i) ShowBrowsePicture(i, BrowsePicture::Released);
  form_.Form_Load(*this);
}

/// The paths of all sections begin in one line.
void ConfigView::AlignPaths() {
  int widest = 0;
  for (const QLabel* const label : labels_) widest = std::max(widest, label->sizeHint().width());
  for (QLabel* const label : labels_) label->setMinimumWidth(widest);
}

void ConfigView::SelectMode(std::size_t index) {
  const QSignalBlocker quiet(modes_.at(index));
  modes_.at(index)->setChecked(true);
}

bool ConfigView::ModeSelected(std::size_t index) const {
  return modes_.at(index)->isChecked();
}

void ConfigView::ShowModePicture(std::size_t index) {
  modePicture_->Show(ModePicture(static_cast<int>(index)));
}

void ConfigView::SetPath(std::size_t index, const std::string& text) {
  paths_.at(index)->setText(IsOfThisMachine(index) ? ShownPath(text) : Text(text));
}

std::string ConfigView::Path(std::size_t index) const {
  const QString text = paths_.at(index)->text();
  return IsOfThisMachine(index) ? KeptPath(text) : FromText(text);
}

void ConfigView::Tick(CheckBox box, bool ticked) {
  const QSignalBlocker quiet(Box(layout::IdOf(box)));
  Box(layout::IdOf(box))->setChecked(ticked);
}

bool ConfigView::Ticked(CheckBox box) const {
  return Box(layout::IdOf(box))->isChecked();
}

void ConfigView::Enable(LogControl control, bool enabled) {
  const layout::ControlId id = layout::IdOf(control);
  switch (id.kind) {
    case ControlKind::Label:
      return labels_.at(id.index)->setEnabled(enabled);
    case ControlKind::Path:
      return paths_.at(id.index)->setEnabled(enabled);
    case ControlKind::Browse:
      return browse_.at(id.index)->setEnabled(enabled);
    default:
      return Box(id)->setEnabled(enabled);
  }
}

void ConfigView::ShowBrowsePicture(std::size_t index, BrowsePicture picture) {
  browse_.at(index)->setIcon(Picture(picture == BrowsePicture::Pressed ? QStringLiteral("browse-pressed")
                                                                       : QStringLiteral("browse-released")));
}

std::optional<std::string> ConfigView::AskFile(const FileQuestion& question) {
  return qt::AskFile(this, question);
}

void ConfigView::Browse(std::size_t button) {
  if (button == layout::kHandheldBrowse) return form_.cmdBrowseHandheld_Click(*this);
  form_.cmdBrowse_Click(*this, button);
}

void ConfigView::Toggled(layout::ControlId box) {
  if (box == layout::IdOf(CheckBox::WriteLog)) form_.chkWriteLog_Click(*this);
  if (box == layout::kNetworkBox) form_.chkNetwork_Click(*this);
}

void ConfigView::SetFolder(const std::string& text) {
  paths_.at(layout::kHandheldRow)->setText(ShownPath(text));
}

std::string ConfigView::Folder() const {
  return FromText(paths_.at(layout::kHandheldRow)->text());
}

void ConfigView::TickNetwork(bool ticked) {
  const QSignalBlocker quiet(Box(layout::kNetworkBox));
  Box(layout::kNetworkBox)->setChecked(ticked);
}

bool ConfigView::NetworkTicked() const {
  return Box(layout::kNetworkBox)->isChecked();
}

void ConfigView::EnableFolder(bool enabled) {
  labels_.at(layout::kHandheldRow)->setEnabled(enabled);
  paths_.at(layout::kHandheldRow)->setEnabled(enabled);
  browse_.at(layout::kHandheldBrowse)->setEnabled(enabled);
}

std::optional<std::string> ConfigView::AskFolder(const std::string& title, const std::string& startingFolder) {
  return qt::AskFolder(this, title, startingFolder);
}

/// Controls are made in the order of the table, which makes it the order of the Tab key.
void ConfigView::MakeSection(const layout::ConfigSection& section, QBoxLayout& all) {
  auto* const area = section.frame ? new QGroupBox(MarkedText({section.frame}), this) : new QWidget(this);
  auto* const grid = new QGridLayout(area);
  if (!section.frame) grid->setContentsMargins(0, 0, 0, 0);
  grid->setColumnStretch(kPaths, 1);
  Places places = {area, grid};
  for (const layout::ConfigControl& control : section.controls) MakeControl(control, places);
  all.addWidget(area);
}

void ConfigView::MakeControl(const layout::ConfigControl& control, Places& places) {
  switch (control.id.kind) {
    case ControlKind::Label:
      places.label = new QLabel(MarkedText(control.caption), places.parent);
      places.grid->addWidget(places.label, places.row, kLabels);
      labels_.push_back(places.label);
      return;
    case ControlKind::Path:
      return MakePath(places);
    case ControlKind::Browse:
      return MakeBrowseButton(control, places);
    case ControlKind::Box:
      return MakeBox(control, places);
    case ControlKind::ModePicture:
      return MakeModePicture(places);
    case ControlKind::Mode:
      return MakeMode(control, places);
    case ControlKind::Help:
      return MakeHelp(control.caption, places);
    case ControlKind::Ok:
    case ControlKind::Cancel:
      return MakeEndButton(control, places);
  }
}

void ConfigView::MakePath(Places& places) {
  auto* const path = new QLineEdit(places.parent);
  path->setMinimumWidth(kShortestPath);
  places.label->setBuddy(path);
  places.grid->addWidget(path, places.row++, kPaths);
  paths_.push_back(path);
}

void ConfigView::MakeBrowseButton(const layout::ConfigControl& control, Places& places) {
  auto* const button = new QPushButton(places.parent);
  const std::size_t index = control.id.index;
  button->setIconSize(QSize(kBrowseSize, kBrowseSize));
  button->setToolTip(Text(control.caption.text));
  button->setAccessibleName(Text(control.caption.text));
  connect(button, &QPushButton::pressed, this, [this, index] { form_.cmdBrowse_Pressed(*this, index); });
  connect(button, &QPushButton::released, this, [this, index] { form_.cmdBrowse_Released(*this, index); });
  connect(
      button, &QPushButton::clicked, this, [this, index] { Browse(index); }, Qt::QueuedConnection);
  places.grid->addWidget(button, places.row - 1, kBrowseButtons);
  browse_.push_back(button);
}

void ConfigView::MakeBox(const layout::ConfigControl& control, Places& places) {
  auto* const box = new Prompt<QCheckBox>(MarkedText(control.caption), places.parent);
  boxes_[control.id.index] = box;
  // Assistive programs toggle without a click.
  connect(box, &QCheckBox::toggled, this, [this, id = control.id] { Toggled(id); });
  if (!places.label) return places.AddLine(box);
  if (!places.boxes) {
    places.boxes = new QHBoxLayout;
    places.boxes->setSpacing(2 * kMargin);
    places.boxes->addStretch();
    places.grid->addLayout(places.boxes, places.row++, kPaths);
  }
  places.boxes->insertWidget(places.boxes->count() - 1, box);
}

void ConfigView::MakeModePicture(Places& places) {
  modePicture_ = new PictureLabel(kModeSize, places.parent);
  modePicture_->setFixedSize(kPanelSize, kPanelSize);
  modePicture_->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  modePicture_->setBackgroundRole(QPalette::Base);
  modePicture_->setAutoFillBackground(true);
  places.grid->addWidget(modePicture_, 0, kLabels, static_cast<int>(kModes), 1);
  places.grid->setHorizontalSpacing(kMargin);
}

void ConfigView::MakeMode(const layout::ConfigControl& control, Places& places) {
  auto* const mode = new Prompt<QRadioButton>(MarkedText(control.caption), places.parent);
  const std::size_t index = control.id.index;
  connect(mode, &QRadioButton::toggled, this, [this, index](bool selected) {
    if (selected) form_.optSync_Click(*this, index);
  });
  places.grid->addWidget(mode, places.row++, kPaths);
  modes_.push_back(mode);
}

void ConfigView::MakeHelp(const Caption& caption, Places& places) {
  auto* const help = new QLabel(Text(caption.text), places.parent);
  help->setTextFormat(Qt::PlainText);
  help->setWordWrap(true);
  places.AddLine(help);
}

void ConfigView::MakeEndButton(const layout::ConfigControl& control, Places& places) {
  if (!places.ends) {
    places.ends = new QDialogButtonBox(places.parent);
    places.AddLine(places.ends);
  }
  auto* const button = new QPushButton(MarkedText(control.caption), places.parent);
  const bool ok = control.id.kind == ControlKind::Ok;
  places.ends->addButton(button, ok ? QDialogButtonBox::AcceptRole : QDialogButtonBox::RejectRole);
  if (ok) button->setDefault(true);
  connect(
      button, &QPushButton::clicked, this, [this, ok] { ok ? form_.cmdOK_Click(*this) : form_.cmdCancel_Click(*this); },
      Qt::QueuedConnection);
}

}  // namespace mv::qt
