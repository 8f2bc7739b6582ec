#include "device/DevicePattern.h"

#include <gtest/gtest.h>

namespace mv {
namespace {

bool Fits(std::string_view pattern, std::string_view name) {
  return DevicePattern(pattern).Fits(name);
}

TEST(DevicePatternTest, NameWithoutWildcardsFitsItselfInAnyCase) {
  EXPECT_TRUE(Fits("Brnd_Fuel.pdb", "brnd_FUEL.PDB"));
  EXPECT_TRUE(Fits("\u00c4.txt", "\u00e4.TXT"));
  EXPECT_FALSE(Fits("brnd_Fuel.pdb", "brnd_Fuel.pd"));
  EXPECT_FALSE(Fits("brnd_Fuel.pdb", "brnd_Fuel.pdbx"));
  EXPECT_FALSE(Fits("", "a"));
}

TEST(DevicePatternTest, StarFitsAnyCharactersAndNone) {
  EXPECT_TRUE(Fits("*", "a"));
  EXPECT_TRUE(Fits("*.pdb", "a.b.pdb"));
  EXPECT_TRUE(Fits("a*", "a"));
  EXPECT_TRUE(Fits("*a*b*", "xaayb"));
  EXPECT_TRUE(Fits("*aab", "aaaab"));
  EXPECT_FALSE(Fits("*.pdb", "a.pdbx"));
  EXPECT_FALSE(Fits("*a*b*", "xbya"));
}

TEST(DevicePatternTest, QuestionMarkFitsOneCharacter) {
  EXPECT_TRUE(Fits("a?c", "abc"));
  EXPECT_TRUE(Fits("?", "\u00e4"));
  EXPECT_TRUE(Fits("?", "\U0001f697"));
  EXPECT_FALSE(Fits("a?c", "ac"));
  EXPECT_FALSE(Fits("a?", "abc"));
}

TEST(DevicePatternTest, StarDotStarFitsNamesWithoutADotToo) {
  EXPECT_TRUE(Fits("*.*", "Motorva"));
  EXPECT_TRUE(Fits("*.*", "a.pdb"));
  EXPECT_FALSE(Fits("*.p*", "Motorva"));
}

TEST(DevicePatternTest, ManyStarsTakeNoTimeWorthMentioning) {
  std::string pattern;
  for (int i = 0; i < 100; ++i) pattern += "a*";
  EXPECT_FALSE(Fits(pattern + "b", std::string(260, 'a')));
}

}  // namespace
}  // namespace mv
