#include "ui/qt/MainView.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QSocketNotifier>
#include <QStatusBar>
#include <QVBoxLayout>
#include <functional>
#include <utility>

#include "ui/MainWindowLayout.h"
#include "ui/Texts.h"
#include "ui/qt/AboutView.h"
#include "ui/qt/Colours.h"
#include "ui/qt/ConfigView.h"
#include "ui/qt/Pictures.h"
#include "ui/qt/Text.h"
#include "ui/qt/ToolBar.h"

namespace mv::qt {
namespace {

// Sizes in units of 1/96 inch.
constexpr QSize kWindowSize(600, 440);
constexpr QSize kSmallestSize(420, 300);
constexpr int kMargin = 8;
constexpr int kModeSize = 48;
constexpr int kPanelSize = 60;
constexpr int kSpinnerSize = 32;

constexpr double kTitleFactor = 1.45;

QMessageBox::Icon IconOf(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::Information:
      return QMessageBox::Information;
    case MessageIcon::Exclamation:
      return QMessageBox::Warning;
    case MessageIcon::Critical:
      return QMessageBox::Critical;
    default:
      return QMessageBox::NoIcon;
  }
}

/// Closes what stands over the main window, as its close box would. The innermost comes first.
void CloseModals() {
  while (QWidget* const modal = QApplication::activeModalWidget()) {
    if (auto* const dialog = qobject_cast<QDialog*>(modal)) dialog->reject();
    if (QApplication::activeModalWidget() == modal) return;
  }
}

}  // namespace

/// Tells the view what happens to the window.
class MainView::Window : public QMainWindow {
 public:
  std::function<void()> activated;
  std::function<void()> closing;
  std::function<void()> coloursChanged;

 protected:
  bool event(QEvent* event) override {
    // The handler shall not run within the activation.
    if (event->type() == QEvent::WindowActivate) QMetaObject::invokeMethod(this, activated, Qt::QueuedConnection);
    if (event->type() == QEvent::PaletteChange) coloursChanged();
    return QMainWindow::event(event);
  }

  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    closing();
  }
};

MainView::MainView(frmMain& form, int ending) : form_(form), window_(std::make_unique<Window>()) {
  window_->activated = [this] { Activated(); };
  window_->closing = [this] { form_.Unload(); };
  window_->coloursChanged = [this] { MarkMode(); };
  window_->setWindowTitle(Text(texts::kMainCaption));
  window_->setMinimumSize(kSmallestSize);
  window_->setContextMenuPolicy(Qt::PreventContextMenu);
  MakeToolBar();
  MakeBand();
  MakeMenus();
  MakeStatusBar();
  QWidget::setTabOrder(list_, toolBar_);
  window_->resize(kWindowSize.boundedTo(window_->screen()->availableSize()));
  WatchSession(ending);
}

MainView::~MainView() = default;

void MainView::SetUpProgressColumn() {
  list_->setUniformItemSizes(true);
  list_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
}

void MainView::Show() {
  window_->show();
  window_->activateWindow();
  list_->setFocus(Qt::OtherFocusReason);
}

void MainView::Unload() {
  gone_ = true;
  window_->hide();
  loop_.quit();
}

void MainView::RunUntilClosed() {
  if (!gone_ && !form_.Closed()) loop_.exec();
}

void MainView::ProcessMessages() {
  if (!gone_) QCoreApplication::processEvents();
}

void MainView::SetPanel(Panel panel, const std::string& text) {
  panels_.at(panel)->setText(Text(text));
}

void MainView::ShowMode(std::int16_t mode, const std::string& tip) {
  modePicture_->Show(ModePicture(mode));
  modePicture_->setToolTip(Text(tip));
  modePicture_->setAccessibleName(Text(tip));
  overwrites_ = layout::OverwritesOneSide(mode);
  MarkMode();
}

/// A mode that replaces one side stands out, in colours that can be read on the desktop's own.
void MainView::MarkMode() {
  const auto found = panels_.find(Panel::Mode);
  if (found == panels_.end()) return;
  QLabel* const panel = found->second;
  QFont font = panel->parentWidget()->font();
  font.setBold(overwrites_);
  panel->setFont(font);
  QPalette colours = panel->parentWidget()->palette();
  if (overwrites_) colours.setColor(QPalette::WindowText, WarningOn(colours.color(QPalette::Window)));
  panel->setPalette(colours);
}

void MainView::AddProgressItem(const std::string& text) {
  auto* const item = new QListWidgetItem(Text(text), list_);
  list_->scrollToItem(item);
}

void MainView::ShowSpinnerFrame(int frame) {
  spinner_->Show(spinnerFrames_.at(static_cast<std::size_t>(frame)));
}

void MainView::EnableButton(int index, bool enabled) {
  toolBar_->EnableButton(index, enabled);
}

void MainView::EnableMenu(Menu menu, bool enabled) {
  menus_.at(menu)->menuAction()->setEnabled(enabled);
}

void MainView::EnableMenuItem(Command command, bool enabled) {
  menuActions_.at(command)->setEnabled(enabled);
}

void MainView::SetHourglass(bool on) {
  // Modal windows are windows of their own and keep the arrow.
  if (on) window_->setCursor(Qt::WaitCursor);
  if (!on) window_->unsetCursor();
}

MessageAnswer MainView::ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                                    MessageIcon icon) {
  const bool asks = buttons == MessageButtons::RetryCancel;
  QMessageBox box(IconOf(icon), Text(title), Lines(text),
                  asks ? QMessageBox::Retry | QMessageBox::Cancel : QMessageBox::StandardButtons(QMessageBox::Ok),
                  Uppermost());
  box.setTextFormat(Qt::PlainText);
  box.setDefaultButton(asks ? QMessageBox::Retry : QMessageBox::Ok);
  box.setEscapeButton(asks ? QMessageBox::Cancel : QMessageBox::Ok);
  switch (box.exec()) {
    case QMessageBox::Retry:
      return MessageAnswer::Retry;
    case QMessageBox::Ok:
      return MessageAnswer::Ok;
    default:
      // Also when the box went away with the session.
      return RefusingAnswer(buttons);
  }
}

void MainView::ShowModal(frmConfig& form) {
  ConfigView(form, window_.get()).exec();
}

void MainView::ShowAbout(frmAbout& form) {
  if (Uppermost() == window_.get()) {
    about_ = new AboutView(form, window_.get());
    about_->setAttribute(Qt::WA_DeleteOnClose);
    about_->open();
  }
  about_->raise();
  about_->activateWindow();
}

QWidget* MainView::Uppermost() const {
  // A closed box lives until the message loop comes round.
  if (about_ && about_->isVisible()) return about_;
  return window_.get();
}

void MainView::MakeToolBar() {
  toolBar_ = new ToolBar(window_.get(), [this](int index) {
    if (!gone_ && !QApplication::activeModalWidget()) form_.tb_ButtonClick(index);
  });
  window_->addToolBar(toolBar_);
}

void MainView::MakeBand() {
  auto* const centre = new QWidget(window_.get());
  modePicture_ = new PictureLabel(kModeSize, centre);
  modePicture_->setFixedSize(kPanelSize, kPanelSize);
  modePicture_->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  modePicture_->setBackgroundRole(QPalette::Base);
  modePicture_->setAutoFillBackground(true);
  auto* const title = new QLabel(Text(texts::kMainTitle), centre);
  QFont font = title->font();
  font.setPointSizeF(font.pointSizeF() * kTitleFactor);
  font.setWeight(QFont::DemiBold);
  title->setFont(font);
  title->setMinimumWidth(1);
  spinner_ = new PictureLabel(kSpinnerSize, centre);
  for (std::size_t frame = 0; frame < spinnerFrames_.size(); ++frame) {
    spinnerFrames_[frame] = Picture(QStringLiteral("spinner%1").arg(frame));
  }
  ShowSpinnerFrame(0);
  list_ = new QListWidget(centre);
  list_->setAccessibleName(Text(texts::kProgress));

  auto* const band = new QHBoxLayout;
  band->setSpacing(kMargin);
  band->addWidget(modePicture_);
  band->addSpacing(kMargin);
  band->addWidget(title, 1);
  band->addWidget(spinner_);
  auto* const all = new QVBoxLayout(centre);
  all->setContentsMargins(kMargin, kMargin, kMargin, kMargin / 2);
  all->setSpacing(kMargin);
  all->addLayout(band);
  all->addWidget(list_, 1);
  window_->setCentralWidget(centre);
}

QAction* MainView::MakeAction(Command command, const Caption& caption) {
  auto* const action = new QAction(MarkedText(caption), window_.get());
  // No role by which a desktop would move it into a menu of its own.
  action->setMenuRole(QAction::NoRole);
  QObject::connect(
      action, &QAction::triggered, window_.get(), [this, command] { Perform(command); }, Qt::QueuedConnection);
  menuActions_[command] = action;
  return action;
}

void MainView::MakeMenus() {
  QMenuBar* const bar = window_->menuBar();
  // A desktop that shows menus elsewhere knows no commands in the bar itself.
  bar->setNativeMenuBar(false);
  for (const layout::MenuBarEntry& entry : layout::kMenuBar) {
    if (entry.command) {
      bar->addAction(MakeAction(*entry.command, entry.caption));
      continue;
    }
    QMenu* const menu = bar->addMenu(MarkedText(entry.caption));
    menus_[*entry.menu] = menu;
    // A separator at the end of a menu belongs to its design.
    menu->setSeparatorsCollapsible(false);
    for (const layout::MenuItem& item : entry.items) {
      QAction* const action = item.command ? MakeAction(*item.command, item.caption) : menu->addSeparator();
      action->setEnabled(item.enabled);
      menu->addAction(action);
    }
  }
  auto* const key = new QShortcut(Qt::Key_F10, window_.get());
  QObject::connect(key, &QShortcut::activated, bar, [bar] {
    for (QAction* const action : bar->actions()) {
      if (action->isEnabled()) return bar->setActiveAction(action);
    }
  });
}

void MainView::MakeStatusBar() {
  QStatusBar* const bar = window_->statusBar();
  for (const layout::StatusPanel& panel : layout::kStatusBar) {
    auto* const label = new QLabel(bar);
    label->setTextFormat(Qt::PlainText);
    label->setToolTip(Text(panel.tip));
    label->setAccessibleDescription(Text(panel.tip));
    label->setContentsMargins(kMargin / 2, 0, kMargin / 2, 0);
    if (panel.panel == Panel::Status) {
      // A long text does not widen the window.
      label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
      bar->addWidget(label, 1);
    } else {
      bar->addPermanentWidget(label);
    }
    panels_[panel.panel] = label;
  }
}

void MainView::Perform(Command command) {
  if (!gone_ && !QApplication::activeModalWidget()) form_.Perform(command);
}

void MainView::Activated() {
  if (!gone_) form_.Form_Activate();
}

/// A session manager asks, or the system ends the session's processes.
void MainView::WatchSession(int ending) {
  QObject::connect(qApp, &QGuiApplication::commitDataRequest, window_.get(), [this] { EndWithSession(); });
  if (ending < 0) return;
  auto* const asked = new QSocketNotifier(ending, QSocketNotifier::Read, window_.get());
  QObject::connect(asked, &QSocketNotifier::activated, window_.get(), [this, asked] {
    asked->setEnabled(false);
    EndWithSession();
  });
}

void MainView::EndWithSession() {
  form_.Form_Unload();
  QMetaObject::invokeMethod(
      window_.get(),
      [this] {
        CloseModals();
        loop_.quit();
      },
      Qt::QueuedConnection);
}

}  // namespace mv::qt
