#include "ui/Caption.h"

#include <gtest/gtest.h>

namespace mv {
namespace {

TEST(CaptionTest, TheMarkStandsBeforeTheFirstSuchLetter) {
  EXPECT_EQ(Marked({"Sync Log", 'L'}), "Sync &Log");
  EXPECT_EQ(Marked({"Settings", 't'}), "Se&ttings");
}

TEST(CaptionTest, TheMarkTellsCapitalsFromSmallLetters) {
  EXPECT_EQ(Marked({"Stop Process", 'p'}), "Sto&p Process");
  EXPECT_EQ(Marked({"Stop Process", 'P'}), "Stop &Process");
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
