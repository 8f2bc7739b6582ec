#include "run/Invocation.h"

#include <gtest/gtest.h>

namespace mv {
namespace {

using Words = std::vector<std::string>;

TEST(InvocationTest, TheSwitchesSelectAModeInAnyCaseAndWithBlanksAround) {
  EXPECT_EQ(ParseInvocation("-MODE0").silentMode, RunMode::Synchronize);
  EXPECT_EQ(ParseInvocation("-mode1").silentMode, RunMode::OverwritePda);
  EXPECT_EQ(ParseInvocation("  -Mode2 ").silentMode, RunMode::OverwritePc);
  EXPECT_EQ(ParseInvocation("-Mode2").unknownWords, Words());
}

TEST(InvocationTest, AnythingElseIsNoSwitchAndItsWordsAreKnown) {
  EXPECT_EQ(ParseInvocation("").unknownWords, Words());
  EXPECT_EQ(ParseInvocation("-Mode3").unknownWords, Words{"-Mode3"});
  EXPECT_EQ(ParseInvocation(" -Mode1  now ").unknownWords, (Words{"-Mode1", "now"}));
  for (const char* text : {"", " ", "-Mode3", "-Mode", "-Mode1 now", "/Mode1", "Mode1", "-Mode11", "-Mode01", "-Mode 1",
                           "\t-Mode1", "-Mode0 -Mode1"}) {
    EXPECT_EQ(ParseInvocation(text).silentMode, std::nullopt) << text;
  }
}

TEST(InvocationTest, HelpAndVersionAreAskedForAnywhereInTheLine) {
  EXPECT_TRUE(ParseInvocation("--help").wantsHelp);
  EXPECT_TRUE(ParseInvocation("-Mode1  --help ").wantsHelp);
  EXPECT_TRUE(ParseInvocation("--version").wantsVersion);
  EXPECT_FALSE(ParseInvocation("--version").silentMode.has_value());
  EXPECT_TRUE(ParseInvocation("--help").unknownOption.empty());
}

TEST(InvocationTest, TheFirstOptionThatIsNoneIsNamed) {
  EXPECT_EQ(ParseInvocation("--mode0 --frob").unknownOption, "--mode0");
  EXPECT_EQ(ParseInvocation("--help --frob").unknownOption, "--frob");
  EXPECT_EQ(ParseInvocation("--").unknownOption, "--");
}

TEST(InvocationTest, WordsOfOneHyphenASlashOrAQuoteAreNoOptions) {
  for (const char* line : {"-MODE3", "/MODE1", "-MODE1 x", "-help", "\"--help\"", "\"-Mode1\""}) {
    const Invocation invocation = ParseInvocation(line);
    EXPECT_TRUE(invocation.unknownOption.empty()) << line;
    EXPECT_FALSE(invocation.wantsHelp) << line;
    EXPECT_FALSE(invocation.unknownWords.empty()) << line;
  }
}

TEST(InvocationTest, TheTerminalIsAskedForByItsWordAlone) {
  EXPECT_TRUE(ParseInvocation(" --terminal ").terminal);
  EXPECT_EQ(ParseInvocation("--terminal").unknownWords, Words());
  EXPECT_EQ(ParseInvocation("--terminal").silentMode, std::nullopt);
  for (const char* text : {"", "-Mode1", "--terminal x", "-Mode1 --terminal", "-terminal", "--terminals"}) {
    EXPECT_FALSE(ParseInvocation(text).terminal) << text;
  }
}

}  // namespace
}  // namespace mv
