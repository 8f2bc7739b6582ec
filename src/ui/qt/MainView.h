#pragma once

#include <QEventLoop>
#include <QIcon>
#include <QPointer>
#include <array>
#include <map>
#include <memory>

#include "ui/Caption.h"
#include "ui/frmMain.h"

class QAction;
class QLabel;
class QListWidget;
class QMenu;

namespace mv::qt {

class AboutView;
class PictureLabel;
class ToolBar;

/// The main window in Qt's widgets, drawn in the colours of the user's desktop.
///
/// The keyboard: menus by their marks and F10, Tab between toolbar and list, arrow keys, Space and Enter in the
/// toolbar.
class MainView : public frmMainView {
 public:
  /// `form` must outlive the view. `ending`: a file descriptor that is readable when the user's session ends; negative:
  /// none.
  MainView(frmMain& form, int ending);
  MainView(const MainView&) = delete;
  MainView& operator=(const MainView&) = delete;
  ~MainView() override;

  void SetUpProgressColumn() override;
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
  class Window;

  void MakeMenus();
  void MakeToolBar();
  void MakeBand();
  void MakeStatusBar();
  QAction* MakeAction(Command command, const Caption& caption);
  void Perform(Command command);
  void Activated();
  /// The system may end the process any time after it has told of the session's end. It need not: then the modal
  /// windows are closed as by their close boxes, and the message loop ends.
  void EndWithSession();
  /// What message boxes come up over.
  QWidget* Uppermost() const;
  void WatchSession(int ending);
  void MarkMode();

  frmMain& form_;
  std::unique_ptr<Window> window_;  ///< hidden once it is gone
  bool gone_ = false;
  bool overwrites_ = false;  ///< the mode that is shown replaces one side
  QEventLoop loop_;
  ToolBar* toolBar_ = nullptr;
  QListWidget* list_ = nullptr;
  PictureLabel* modePicture_ = nullptr;
  PictureLabel* spinner_ = nullptr;
  std::array<QIcon, kSpinnerFrames> spinnerFrames_;
  QPointer<AboutView> about_;  ///< null when it is closed
  std::map<Panel, QLabel*> panels_;
  std::map<Menu, QMenu*> menus_;
  std::map<Command, QAction*> menuActions_;
};

}  // namespace mv::qt
