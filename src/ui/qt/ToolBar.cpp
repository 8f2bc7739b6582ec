#include "ui/qt/ToolBar.h"

#include <QAction>
#include <QKeyEvent>
#include <QToolButton>
#include <utility>
#include <vector>

#include "ui/MainWindowLayout.h"
#include "ui/qt/Pictures.h"
#include "ui/qt/Text.h"

namespace mv::qt {
namespace {

constexpr int kPictureSize = 24;

QIcon PictureOf(layout::Command command) {
  switch (command) {
    case layout::Command::Start:
      return Picture(QStringLiteral("sync"));
    case layout::Command::Settings:
      return Picture(QStringLiteral("settings"));
    case layout::Command::Log:
      return Picture(QStringLiteral("log"));
    default:
      return {};
  }
}

}  // namespace

ToolBar::ToolBar(QWidget* parent, std::function<void(int)> clicked) : QToolBar(parent) {
  setMovable(false);
  setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  setIconSize(QSize(kPictureSize, kPictureSize));
  for (const layout::ToolButton& button : layout::kToolBar) {
    if (!button.command) {
      addSeparator();
      continue;
    }
    auto* const action = addAction(PictureOf(*button.command), Text(button.text));
    // Qt would take the blanks off it.
    action->setIconText(Text(button.text));
    action->setToolTip(Text(button.tip));
    connect(
        action, &QAction::triggered, this, [clicked, index = button.index] { clicked(index); }, Qt::QueuedConnection);
    auto* const shown = qobject_cast<QToolButton*>(widgetForAction(action));
    shown->setAccessibleDescription(Text(button.tip));
    shown->installEventFilter(this);
    buttons_.emplace(button.index, shown);
  }
  LetTabLeadToFirst();
}

void ToolBar::EnableButton(int index, bool enabled) {
  const auto found = buttons_.find(index);
  if (found == buttons_.end()) return;
  found->second->defaultAction()->setEnabled(enabled);
  LetTabLeadToFirst();
}

QWidget* ToolBar::FirstButton() const {
  for (const auto& [index, button] : buttons_) {
    if (button->defaultAction()->isEnabled()) return button;
  }
  return nullptr;
}

void ToolBar::LetTabLeadToFirst() {
  const QWidget* const first = FirstButton();
  for (const auto& [index, button] : buttons_) button->setFocusPolicy(button == first ? Qt::TabFocus : Qt::NoFocus);
}

bool ToolBar::eventFilter(QObject* watched, QEvent* event) {
  auto* const button = qobject_cast<QToolButton*>(watched);
  if (button && event->type() == QEvent::KeyPress && HandleKey(button, static_cast<QKeyEvent*>(event)->key())) {
    return true;
  }
  return QToolBar::eventFilter(watched, event);
}

bool ToolBar::HandleKey(QToolButton* button, int key) {
  std::vector<QToolButton*> enabled;
  std::size_t at = 0;
  for (const auto& [index, each] : buttons_) {
    if (each == button) at = enabled.size();
    if (each->isEnabled()) enabled.push_back(each);
  }
  if (enabled.empty()) return false;
  switch (key) {
    case Qt::Key_Right:
      at = std::min(at + 1, enabled.size() - 1);
      break;
    case Qt::Key_Left:
      at = at == 0 ? 0 : at - 1;
      break;
    case Qt::Key_Home:
      at = 0;
      break;
    case Qt::Key_End:
      at = enabled.size() - 1;
      break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      button->click();
      return true;
    default:
      return false;
  }
  enabled[at]->setFocus(Qt::OtherFocusReason);
  return true;
}

}  // namespace mv::qt
