#include "mvtool/files/StagedOutput.h"

#include <gtest/gtest.h>

#include <string>

#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"

namespace mv::tool {
namespace {

class StagedOutputTest : public ::testing::Test {
 protected:
  StagedOutputTest() { files_.Put("d/out.csv", {'o', 'l', 'd'}); }

  std::string Content() const {
    const Bytes content = files_.Content("d/out.csv");
    return std::string(content.begin(), content.end());
  }

  testing::MemoryFileSystem files_;
};

TEST_F(StagedOutputTest, TakesItsPlaceWhenFinished) {
  std::string written;
  StagedOutput output(files_, "d/out.csv");
  for (int i = 0; i < 30000; ++i) {
    output.Stream() << i << ',';
    written += std::to_string(i) + ',';
  }
  EXPECT_EQ(Content(), "old");
  output.Finish();
  EXPECT_EQ(Content(), written);
  EXPECT_EQ(files_.List("d").size(), 1U);
}

TEST_F(StagedOutputTest, LeavesTheOldFileWhenNotFinished) {
  StagedOutput(files_, "d/out.csv").Stream() << "new";
  EXPECT_EQ(Content(), "old");
  EXPECT_EQ(files_.List("d").size(), 1U);
}

TEST_F(StagedOutputTest, FullDiskIsReportedAndLeavesTheOldFile) {
  EXPECT_EQ(testing::ErrorNumberOf([&] {
              StagedOutput output(files_, "d/out.csv");
              files_.FailWrite(1);
              output.Stream() << std::string(100000, 'x');
            }),
            errors::kDiskFull);
  EXPECT_EQ(testing::ErrorNumberOf([&] {
              StagedOutput output(files_, "d/out.csv");
              output.Stream() << "x";
              files_.FailWrite(1);
              output.Finish();
            }),
            errors::kDiskFull);
  EXPECT_EQ(Content(), "old");
  EXPECT_EQ(files_.List("d").size(), 1U);
}

}  // namespace
}  // namespace mv::tool
