#pragma once

#include <QString>
#include <string>

#include "ui/Caption.h"

namespace mv::qt {

/// A text of the program, which is UTF-8, for Qt and back.
inline QString Text(const std::string& text) {
  return QString::fromStdString(text);
}
inline std::string FromText(const QString& text) {
  return text.toStdString();
}

/// A caption with its keyboard mark, for what shows marks.
inline QString MarkedText(const Caption& caption) {
  return Text(Marked(caption));
}

/// A text of several lines, which the program separates by carriage returns.
QString Lines(const std::string& text);

/// A path of this machine as people write it here, and as the program keeps it: its last separator is a "\", by which
/// the work folders find the database's folder.
QString ShownPath(const std::string& path);
std::string KeptPath(const QString& shown);

}  // namespace mv::qt
