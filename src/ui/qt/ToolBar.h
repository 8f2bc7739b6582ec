#pragma once

#include <QToolBar>
#include <functional>
#include <map>

class QToolButton;

namespace mv::qt {

/// The main window's toolbar: the buttons of MainWindowLayout.h, pictures with texts.
///
/// The keyboard works in it as in a row of push buttons: Tab leads to the first that is enabled, the arrow keys, Home
/// and End to the others, Space and Enter press one.
class ToolBar : public QToolBar {
 public:
  /// `clicked` gets the index of a button that was clicked, from the message loop, when the button is up again.
  ToolBar(QWidget* parent, std::function<void(int)> clicked);

  void EnableButton(int index, bool enabled);
  /// The first button that is enabled; null: none is.
  QWidget* FirstButton() const;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool HandleKey(QToolButton* button, int key);
  void LetTabLeadToFirst();

  std::map<int, QToolButton*> buttons_;
};

}  // namespace mv::qt
