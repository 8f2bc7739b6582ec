#pragma once

#include <QObject>
#include <QPalette>

namespace mv::qt {

/// The dark colours that the style of Qt's own goes well with.
QPalette DarkPalette();

/// Follows the desktop's choice of light or dark colours, which desktops tell through their settings portal, where Qt
/// itself does not: before version 6.5, without a plug-in for the desktop. The answer does not hold up the start.
/// `application` is what lives as long as the windows.
void FollowColourScheme(QObject& application);

}  // namespace mv::qt
