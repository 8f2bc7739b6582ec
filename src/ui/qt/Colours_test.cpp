#include "ui/qt/Colours.h"

#include <gtest/gtest.h>

namespace mv::qt {
namespace {

TEST(QtColoursTest, ContrastIsThatOfTheGuidelines) {
  EXPECT_NEAR(Contrast(Qt::black, Qt::white), 21, 0.01);
  EXPECT_NEAR(Contrast(Qt::white, Qt::black), 21, 0.01);
  EXPECT_NEAR(Contrast(Qt::red, Qt::red), 1, 0.01);
  EXPECT_NEAR(Contrast(QColor(0x76, 0x76, 0x76), Qt::white), 4.54, 0.01);
}

TEST(QtColoursTest, AWarningCanBeReadOnEveryGrey) {
  for (int grey = 0; grey < 256; ++grey) {
    const QColor background(grey, grey, grey);
    EXPECT_GT(Contrast(WarningOn(background), background), 4.5) << grey;
  }
}

TEST(QtColoursTest, AWarningHasAColourOnTheBackgroundsOfDesktops) {
  for (const QColor& background :
       {QColor(Qt::white), QColor(0xEF, 0xEF, 0xEF), QColor(42, 46, 50), QColor(Qt::black)}) {
    EXPECT_GT(WarningOn(background).saturation(), 100) << background.name().toStdString();
  }
}

}  // namespace
}  // namespace mv::qt
