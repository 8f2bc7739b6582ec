#include "ui/Caption.h"

#include <gtest/gtest.h>

namespace mv {
namespace {

TEST(CaptionTest, TheMarkStandsBeforeTheFirstSuchLetter) {
  EXPECT_EQ(Marked({"Sync Log", 'L'}), "Sync &Log");
  EXPECT_EQ(Marked({"Settings", 't'}), "Se&ttings");
}

TEST(CaptionTest, TheMarkTellsCapitalsFromSmallLetters) {
  EXPECT_EQ(Marked({"Exit Program", 'x'}), "E&xit Program");
  EXPECT_EQ(Marked({"Exit Program", 'P'}), "Exit &Program");
}

TEST(CaptionTest, WithoutAMarkTheTextIsAsItWas) {
  EXPECT_EQ(Marked({"Motorva™ Mobile Edition"}), "Motorva™ Mobile Edition");
  EXPECT_EQ(Marked({}), "");
}

TEST(CaptionTest, AnAmpersandOfTheTextIsDoubled) {
  EXPECT_EQ(Marked({"Cars & Trips", 'T'}), "Cars && &Trips");
}

}  // namespace
}  // namespace mv
