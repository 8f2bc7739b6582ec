#include "mvtool/doctor/Diagnosis.h"

#include <gtest/gtest.h>

namespace mv::tool {
namespace {

TEST(DiagnosisTest, ALineSaysHowBadItIsWhatAndWhatToDo) {
  EXPECT_EQ(LineOf(Well("log", "it is there")), "ok       log: it is there");
  EXPECT_EQ(LineOf(Doubtful("log", "it is full", "empty it")), "warning  log: it is full; empty it");
  EXPECT_EQ(LineOf(Broken("log", "it is gone", "make one")), "failure  log: it is gone; make one");
}

TEST(DiagnosisTest, PathsAreShownWithOneSeparatorInQuotes) {
  EXPECT_EQ(Shown("/home/kim/cars\\_20"), "\"/home/kim/cars/_20\"");
}

TEST(DiagnosisTest, LevelsAreCounted) {
  const Diagnoses diagnoses = {Well("a", "b"), Broken("c", "d", "e"), Broken("f", "g", "h")};
  EXPECT_EQ(CountOf(diagnoses, Level::Ok), 1u);
  EXPECT_EQ(CountOf(diagnoses, Level::Warning), 0u);
  EXPECT_EQ(CountOf(diagnoses, Level::Failure), 2u);
}

}  // namespace
}  // namespace mv::tool
