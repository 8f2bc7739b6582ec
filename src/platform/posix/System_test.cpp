#include "platform/System.h"

#include <gtest/gtest.h>

#include <string>

namespace mv::platform {
namespace {

TEST(SystemTest, CommandLineJoinsTheArgumentsWithoutTheProgramName) {
  std::string words[] = {"MVPPCSync", "-Mode1", "x y"};
  char* arguments[] = {words[0].data(), words[1].data(), words[2].data()};
  EXPECT_EQ(CommandLine(3, arguments), "-Mode1 x y");
  EXPECT_EQ(CommandLine(1, arguments), "");
}

}  // namespace
}  // namespace mv::platform
