#include "ui/qt/ColourScheme.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QLibraryInfo>
#include <QStyle>
#include <QVersionNumber>

namespace mv::qt {
namespace {

constexpr uint kPrefersDark = 1;

/// The portal packs its answer twice.
uint SchemeOf(QVariant answer) {
  while (answer.canConvert<QDBusVariant>()) answer = answer.value<QDBusVariant>().variant();
  return answer.toUInt();
}

/// Colours that a plug-in or the user has chosen are left alone.
bool ColoursAreQtsOwn() {
  return QLibraryInfo::version() < QVersionNumber(6, 5) &&
         QApplication::palette() == QApplication::style()->standardPalette();
}

}  // namespace

QPalette DarkPalette() {
  const QColor window(0x2B, 0x2E, 0x31);
  const QColor base(0x1D, 0x1F, 0x21);
  const QColor text(0xF2, 0xF2, 0xF2);
  const QColor faint(0x8F, 0x94, 0x99);
  const QColor marked(0x2A, 0x6F, 0xC9);
  QPalette palette(text, window, window.lighter(150), window.darker(160), window.darker(120), text, Qt::white, base,
                   window);
  palette.setColor(QPalette::Button, QColor(0x3A, 0x3E, 0x42));
  palette.setColor(QPalette::AlternateBase, window);
  palette.setColor(QPalette::ToolTipBase, base);
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::PlaceholderText, faint);
  palette.setColor(QPalette::Highlight, marked);
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, marked.lighter(150));
  for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, faint);
  }
  return palette;
}

void FollowColourScheme(QObject& application) {
  if (!ColoursAreQtsOwn()) return;
  QDBusMessage question = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
      QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("Read"));
  question << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme");
  auto* const answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), &application);
  QObject::connect(answer, &QDBusPendingCallWatcher::finished, &application, [](QDBusPendingCallWatcher* finished) {
    const QDBusPendingReply<QVariant> reply = *finished;
    if (!reply.isError() && SchemeOf(reply.argumentAt(0)) == kPrefersDark) QApplication::setPalette(DarkPalette());
    finished->deleteLater();
  });
}

}  // namespace mv::qt
