#include "ui/qt/FileDialog.h"

#include <QFileDialog>
#include <QFileInfo>

#include "ui/qt/Text.h"

namespace mv::qt {

QStringList NameFilters(const std::string& filter) {
  const QStringList parts = Text(filter).split(QLatin1Char('|'));
  QStringList filters;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    QStringList patterns = parts[i + 1].split(QLatin1Char(';'));
    patterns.replaceInStrings(QStringLiteral("*.*"), QStringLiteral("*"));
    filters.append(parts[i] + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) + QLatin1Char(')'));
  }
  return filters;
}

namespace {

/// Takes no file in a folder that does not exist: Qt's own dialog for saving would.
class Dialog : public QFileDialog {
 public:
  using QFileDialog::QFileDialog;

 protected:
  void accept() override {
    const QStringList chosen = selectedFiles();
    if (!chosen.isEmpty() && !QFileInfo(chosen.front()).dir().exists()) return;
    QFileDialog::accept();
  }
};

}  // namespace

std::optional<std::string> AskFile(QWidget* owner, const FileQuestion& question) {
  const QFileInfo start(ShownPath(question.startingFile));
  Dialog dialog(owner, Text(question.title), start.path());
  dialog.setNameFilters(NameFilters(question.filter));
  dialog.setOption(QFileDialog::HideNameFilterDetails);
  const bool opens = question.kind == FileQuestion::Kind::Open;
  dialog.setAcceptMode(opens ? QFileDialog::AcceptOpen : QFileDialog::AcceptSave);
  dialog.setFileMode(opens ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
  if (!question.defaultExtension.empty()) dialog.setDefaultSuffix(Text(question.defaultExtension));
  dialog.selectFile(start.fileName());
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return KeptPath(dialog.selectedFiles().value(0));
}

std::optional<std::string> AskFolder(QWidget* owner, const std::string& title, const std::string& startingFolder) {
  const QString chosen = QFileDialog::getExistingDirectory(owner, Text(title), ShownPath(startingFolder));
  if (chosen.isEmpty()) return std::nullopt;
  return FromText(chosen);
}

}  // namespace mv::qt
