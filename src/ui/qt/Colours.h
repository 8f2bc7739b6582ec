#pragma once

#include <QColor>

namespace mv::qt {

/// How well a text can be read: 1 for none at all to 21, by the formula of the accessibility guidelines for the web.
double Contrast(const QColor& text, const QColor& background);

/// A colour that warns and can be read on `background`: dark red on light ones, amber on dark ones; black or white on
/// those between, on which no warning colour can.
QColor WarningOn(const QColor& background);

}  // namespace mv::qt
