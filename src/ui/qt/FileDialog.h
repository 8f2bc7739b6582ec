#pragma once

#include <QStringList>
#include <optional>
#include <string>

#include "ui/frmConfigView.h"

class QWidget;

namespace mv::qt {

/// Shows the desktop's dialog for opening or saving a file over `owner`, or Qt's own where the desktop has none;
/// nothing when the user cancels it.
std::optional<std::string> AskFile(QWidget* owner, const FileQuestion& question);

/// Likewise for an existing folder.
std::optional<std::string> AskFolder(QWidget* owner, const std::string& title, const std::string& startingFolder);

/// "name|pattern;pattern|name|pattern" as Qt's dialogs take it: "name (pattern pattern)" each. The pattern for every
/// file is "*" here: a name needs no dot.
QStringList NameFilters(const std::string& filter);

}  // namespace mv::qt
