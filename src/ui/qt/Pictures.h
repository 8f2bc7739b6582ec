#pragma once

#include <QIcon>
#include <QLabel>

#include "ui/frmMainView.h"

namespace mv::qt {

/// A drawing of ui/artwork, by its file's name, or the program's own icon "MVPPCSync", in all sizes that the build
/// renders.
QIcon Picture(const QString& name);

/// The picture of a mode; one that shows nothing for a mode outside 0 to 2.
QIcon ModePicture(int mode);

/// Shows a picture in its middle, sharp on a screen of any scaling.
class PictureLabel : public QLabel {
 public:
  /// `size`: of the picture, in units of 1/96 inch.
  PictureLabel(int size, QWidget* parent);
  void Show(const QIcon& picture);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void Render();

  int size_;
  QIcon picture_;
  qreal renderedAt_ = 0;  ///< the screen's scaling
};

}  // namespace mv::qt
