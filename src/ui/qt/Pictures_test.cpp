#include "ui/qt/Pictures.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QPixmap>
#include <array>
#include <string>

namespace mv::qt {
namespace {

/// Qt without a screen.
class PictureLabelTest : public ::testing::Test {
 protected:
  std::string program_ = "test", option_ = "-platform", value_ = "offscreen";
  std::array<char*, 3> words_ = {program_.data(), option_.data(), value_.data()};
  int count_ = static_cast<int>(words_.size());
  QApplication application_{count_, words_.data()};
};

TEST_F(PictureLabelTest, EachOfManyPicturesIsThereAtOnce) {
  constexpr int kSize = 32;
  PictureLabel label(kSize, nullptr);
  for (const QColor& colour : {QColor(Qt::red), QColor(Qt::green), QColor(Qt::blue), QColor(Qt::white)}) {
    QPixmap drawing(kSize, kSize);
    drawing.fill(colour);
    label.Show(QIcon(drawing));
    EXPECT_EQ(label.pixmap(Qt::ReturnByValue).toImage().pixelColor(0, 0), colour) << colour.name().toStdString();
  }
}

}  // namespace
}  // namespace mv::qt
