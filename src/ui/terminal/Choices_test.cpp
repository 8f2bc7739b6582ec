#include "ui/terminal/Choices.h"

#include <gtest/gtest.h>

namespace mv::terminal {
namespace {

TEST(ChoicesTest, ACaptionIsChosenByItsMarkInEitherCase) {
  const Choices choices({{"Start", 'S'}, {"Exit Program", 'x'}});
  EXPECT_EQ(choices.Chosen(U's'), 0u);
  EXPECT_EQ(choices.Chosen(U'X'), 1u);
  EXPECT_EQ(choices.Chosen(U'q'), std::nullopt);
  EXPECT_EQ(choices.Chosen(U'\u017F'), std::nullopt) << "a letter that looks like none of these";
  EXPECT_EQ(choices.Text(0), "[S]tart");
  EXPECT_EQ(choices.Text(1), "E[x]it Program");
}

TEST(ChoicesTest, AMarkThatIsTakenGivesWayToTheNextFreeLetter) {
  const Choices choices({{"Start", 'S'}, {"Settings...", 'S'}, {" &est", 'e'}});
  EXPECT_EQ(choices.Text(1), "S[e]ttings...");
  EXPECT_EQ(choices.Text(2), " &es[t]");
}

TEST(ChoicesTest, ACaptionWithoutAMarkHasItsFirstFreeLetter) {
  const Choices choices({{"OK"}, {"Cancel"}});
  EXPECT_EQ(choices.Text(0), "[O]K");
  EXPECT_EQ(choices.Chosen(U'c'), 1u);
}

}  // namespace
}  // namespace mv::terminal
