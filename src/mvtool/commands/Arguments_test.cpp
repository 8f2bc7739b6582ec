#include "mvtool/commands/Arguments.h"

#include <gtest/gtest.h>

#include "mvtool/files/ToolErrors.h"
#include "support/ExpectError.h"

namespace mv::tool {
namespace {

const ArgumentRules kRules{
    .synopsis = "tool FILE [TABLE] [--csv] [--rows N]",
    .leastOperands = 1,
    .mostOperands = 2,
    .switches = {"--csv", "-c"},
    .settings = {"--rows"},
};

Arguments Parse(std::vector<std::string> words) {
  return Arguments(kRules, words);
}

std::string ComplaintAbout(std::vector<std::string> words) {
  const Error error = testing::ErrorOf([&] { Parse(words); });
  EXPECT_EQ(error.Number(), kWrongUsage);
  return error.Description();
}

TEST(ArgumentsTest, OptionsMayStandAnywhere) {
  const Arguments arguments = Parse({"--csv", "a.db", "--rows", "5", "T"});
  EXPECT_EQ(arguments.Count(), 2u);
  EXPECT_EQ(arguments.Operand(0), "a.db");
  EXPECT_EQ(arguments.Operand(1), "T");
  EXPECT_TRUE(arguments.Has("--csv"));
  EXPECT_EQ(arguments.ValueOf("--rows"), "5");
}

TEST(ArgumentsTest, OptionsNotGivenAreAbsent) {
  const Arguments arguments = Parse({"a.db"});
  EXPECT_EQ(arguments.Count(), 1u);
  EXPECT_FALSE(arguments.Has("--csv"));
  EXPECT_EQ(arguments.ValueOf("--rows"), std::nullopt);
}

TEST(ArgumentsTest, ValueMayFollowAnEqualsSign) {
  EXPECT_EQ(Parse({"a", "--rows=a=b"}).ValueOf("--rows"), "a=b");
}

TEST(ArgumentsTest, TwoHyphensEndTheOptions) {
  const Arguments arguments = Parse({"--", "--csv", "-x"});
  EXPECT_EQ(arguments.Operand(0), "--csv");
  EXPECT_EQ(arguments.Operand(1), "-x");
}

TEST(ArgumentsTest, OneHyphenAloneIsAnOperand) {
  EXPECT_EQ(Parse({"-"}).Operand(0), "-");
}

TEST(ArgumentsTest, WhatDoesNotFitIsNamedWithTheSynopsis) {
  const std::string usage = "\nusage: tool FILE [TABLE] [--csv] [--rows N]";
  EXPECT_EQ(ComplaintAbout({}), "an argument is missing" + usage);
  EXPECT_EQ(ComplaintAbout({"a", "b", "c"}), "unexpected argument \"c\"" + usage);
  EXPECT_EQ(ComplaintAbout({"a", "--tsv"}), "unknown option \"--tsv\"" + usage);
  EXPECT_EQ(ComplaintAbout({"a", "--csv=1"}), "option \"--csv\" takes no value" + usage);
  EXPECT_EQ(ComplaintAbout({"a", "--rows"}), "option \"--rows\" needs a value" + usage);
  EXPECT_EQ(ComplaintAbout({"a", "--csv", "--csv"}), "option \"--csv\" is given twice" + usage);
}

}  // namespace
}  // namespace mv::tool
