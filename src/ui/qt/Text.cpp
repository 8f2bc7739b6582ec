#include "ui/qt/Text.h"

#include "base/Text.h"

namespace mv::qt {

QString Lines(const std::string& text) {
  return Text(text).replace(QLatin1Char('\r'), QLatin1Char('\n'));
}

QString ShownPath(const std::string& path) {
  return Text(mv::ShownPath(path));
}

std::string KeptPath(const QString& shown) {
  QString kept = shown;
  const qsizetype last = kept.lastIndexOf(QLatin1Char('/'));
  if (last >= 0) kept[last] = QLatin1Char('\\');
  return FromText(kept);
}

}  // namespace mv::qt
