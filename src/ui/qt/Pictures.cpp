#include "ui/qt/Pictures.h"

namespace mv::qt {
namespace {

/// As cmake/WindowPart.cmake renders them.
constexpr int kSizes[] = {16, 24, 32, 48, 64, 96, 144, 192};

}  // namespace

QIcon Picture(const QString& name) {
  QIcon icon;
  for (const int size : kSizes) {
    icon.addFile(QStringLiteral(":/pictures/%1-%2.png").arg(name).arg(size), QSize(size, size));
  }
  return icon;
}

QIcon ModePicture(int mode) {
  const bool known = mode >= 0 && mode <= 2;
  return known ? Picture(QStringLiteral("mode%1").arg(mode)) : QIcon();
}

PictureLabel::PictureLabel(int size, QWidget* parent) : QLabel(parent), size_(size) {
  setAlignment(Qt::AlignCenter);
}

void PictureLabel::Show(const QIcon& picture) {
  picture_ = picture;
  Render();
}

void PictureLabel::Render() {
  renderedAt_ = devicePixelRatioF();
  setPixmap(picture_.pixmap(QSize(size_, size_), renderedAt_));
}

void PictureLabel::paintEvent(QPaintEvent* event) {
  // The window may have come to another screen.
  if (renderedAt_ != devicePixelRatioF()) Render();
  QLabel::paintEvent(event);
}

}  // namespace mv::qt
