#pragma once

#include <QColor>

namespace mv::qt {

/// How well a text can be read: 1 for none at all to 21, by the formula of the accessibility guidelines for the web.
double Contrast(const QColor& text, const QColor& background);

/// A colour that warns and can be read on `background`, whatever that is: dark red on light ones, amber on dark ones.
QColor WarningOn(const QColor& background);

}  // namespace mv::qt
