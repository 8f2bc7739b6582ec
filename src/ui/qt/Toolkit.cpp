#include "ui/Toolkit.h"

#include <QApplication>
#include <string_view>

#include "ui/WindowPart.h"
#include "ui/WindowPartBuild.h"
#include "ui/qt/ColourScheme.h"
#include "ui/qt/MainView.h"
#include "ui/qt/Pictures.h"

namespace mv::qt {
namespace {

/// What Qt asks of a program's start; it takes the name for its windows' class.
struct Arguments {
  char name[10] = "MVPPCSync";
  char* list[2] = {name, nullptr};
  int count = 1;
};

class QtToolkit : public Toolkit {
 public:
  explicit QtToolkit(int ending) : ending_(ending), application_(arguments_.count, arguments_.list) {
    QApplication::setApplicationName(QStringLiteral("MVPPCSync"));
    QApplication::setWindowIcon(Picture(QStringLiteral("MVPPCSync")));
    QGuiApplication::setDesktopFileName(QStringLiteral("mvppcsync"));
    // The program's own loop ends with its main window, not with the last one that is to be seen.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    FollowColourScheme(application_);
  }

  std::unique_ptr<frmMainView> MakeMainView(frmMain& form) override {
    return std::make_unique<MainView>(form, ending_);
  }

 private:
  int ending_;
  Arguments arguments_;
  QApplication application_;
};

class QtPart : public WindowPart {
 public:
  void TryDisplay() override {
    Arguments arguments;
    // Stays: the process ends with it.
    new QGuiApplication(arguments.count, arguments.list);
  }
  std::unique_ptr<Toolkit> MakeToolkit(int ending) override { return std::make_unique<QtToolkit>(ending); }
};

}  // namespace
}  // namespace mv::qt

extern "C" Q_DECL_EXPORT mv::WindowPartEntry MVPPCSyncWindowPart;

void MVPPCSyncWindowPart(const char* version, std::unique_ptr<mv::WindowPart>& part) {
  if (std::string_view(version) == mv::kWindowPartVersion) part = std::make_unique<mv::qt::QtPart>();
}
