#include "ui/qt/Pictures.h"

#include <chrono>

namespace mv::qt {
namespace {

constexpr std::chrono::milliseconds kShortestView(50);

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
  later_.setSingleShot(true);
  connect(&later_, &QTimer::timeout, this, [this] { Render(); });
}

void PictureLabel::Show(const QIcon& picture) {
  picture_ = picture;
  if (later_.isActive()) return;
  if (shown_.isValid() && shown_.elapsed() < kShortestView.count()) return later_.start(kShortestView);
  Render();
}

void PictureLabel::Render() {
  shown_.start();
  renderedAt_ = devicePixelRatioF();
  setPixmap(picture_.pixmap(QSize(size_, size_), renderedAt_));
}

void PictureLabel::paintEvent(QPaintEvent* event) {
  // The window may have come to another screen.
  if (renderedAt_ != devicePixelRatioF()) Render();
  QLabel::paintEvent(event);
}

}  // namespace mv::qt
