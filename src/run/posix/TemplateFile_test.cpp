#include "run/TemplateFile.h"

#include <gtest/gtest.h>

#include "support/MemoryFileSystem.h"

namespace mv {
namespace {

class TemplateFileTest : public ::testing::Test {
 protected:
  std::string Path() const { return TemplatePath(files_, "/opt/sync/bin"); }

  testing::MemoryFileSystem files_;
};

TEST_F(TemplateFileTest, BesideTheProgramItIsTaken) {
  files_.Put("/opt/sync/bin/_20", {1});
  files_.Put("/opt/sync/share/mvppcsync/_20", {2});
  EXPECT_EQ(Path(), "/opt/sync/bin\\_20");
}

TEST_F(TemplateFileTest, AnInstallationHasItAmongItsData) {
  files_.Put("/opt/sync/share/mvppcsync/_20", {2});
  EXPECT_EQ(Path(), "/opt/sync/share/mvppcsync\\_20");
}

TEST_F(TemplateFileTest, OneThatIsNowhereIsMissedBesideTheProgram) {
  EXPECT_EQ(Path(), "/opt/sync/bin\\_20");
}

}  // namespace
}  // namespace mv
