#include "ui/qt/Text.h"

#include <gtest/gtest.h>

namespace mv::qt {
namespace {

TEST(QtTextTest, TextsSurviveWhateverTheirLetters) {
  for (const char* text : {"", "plain", "Motorva\u2122", "S\u00e9jour", "\U0001F697"}) {
    EXPECT_EQ(FromText(Text(text)), text);
  }
}

TEST(QtTextTest, CarriageReturnsSeparateLines) {
  EXPECT_EQ(FromText(Lines("one\rtwo\r\rthree")), "one\ntwo\n\nthree");
}

TEST(QtTextTest, MarksStandBeforeTheirLetters) {
  EXPECT_EQ(FromText(MarkedText({"Retain History", 'H'})), "Retain &History");
}

TEST(QtTextTest, PathsAreShownAsPeopleWriteThem) {
  EXPECT_EQ(FromText(ShownPath("/home/kim/cars\\Motorva.db")), "/home/kim/cars/Motorva.db");
  EXPECT_EQ(FromText(ShownPath("/home/kim/Motorva.db")), "/home/kim/Motorva.db");
}

TEST(QtTextTest, AKeptPathHasTheSeparatorThatTheWorkFoldersAreFoundBy) {
  EXPECT_EQ(KeptPath(QStringLiteral("/home/kim/cars/Motorva.db")), "/home/kim/cars\\Motorva.db");
  EXPECT_EQ(KeptPath(QStringLiteral("Motorva.db")), "Motorva.db");
  EXPECT_EQ(KeptPath(ShownPath("/home/kim/cars\\Motorva.db")), "/home/kim/cars\\Motorva.db");
  EXPECT_EQ(KeptPath(QStringLiteral(" /cars/Motorva.db ")), " /cars\\Motorva.db ");
}

}  // namespace
}  // namespace mv::qt
