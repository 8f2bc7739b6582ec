#include "run/StartAnswer.h"

#include <gtest/gtest.h>

#include <sstream>

#include "run/Version.h"

namespace mv {
namespace {

struct Answer {
  std::optional<int> status;
  std::string out;
  std::string errors;
};

Answer AnswerTo(const std::string& commandLine) {
  std::ostringstream out;
  std::ostringstream errors;
  const std::optional<int> status = AnswerStart(ParseInvocation(commandLine), out, errors);
  return {status, out.str(), errors.str()};
}

TEST(StartAnswerTest, HelpNamesEachModeAndFitsATerminal) {
  const Answer answer = AnswerTo("--help");
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.errors, "");
  for (const char* word : {"-Mode0", "-Mode1", "-Mode2", "--version", "mvtool setup"}) {
    EXPECT_NE(answer.out.find(word), std::string::npos) << word;
  }
  std::istringstream lines(answer.out);
  std::size_t count = 0;
  for (std::string line; std::getline(lines, line); ++count) EXPECT_LE(line.size(), 80u) << line;
  EXPECT_LE(count, 24u);
}

TEST(StartAnswerTest, VersionIsThatOfTheProgram) {
  const Answer answer = AnswerTo("--version");
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.out, "MVPPCSync " + std::string(kProgramVersion) + "\n");
}

TEST(StartAnswerTest, AnUnknownOptionIsNamedAndStartsNothing) {
  const Answer answer = AnswerTo("-Mode0 --frob");
  EXPECT_EQ(answer.status, 2);
  EXPECT_EQ(answer.out, "");
  EXPECT_EQ(answer.errors, "MVPPCSync: unknown option \"--frob\"; \"MVPPCSync --help\" lists them\n");
}

TEST(StartAnswerTest, AnyOtherStartHasToRun) {
  for (const char* line : {"", "-Mode0", "-MODE3", "/MODE1", "-MODE1 x"}) {
    EXPECT_EQ(AnswerTo(line).status, std::nullopt) << line;
  }
}

}  // namespace
}  // namespace mv
