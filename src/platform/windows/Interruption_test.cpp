#include "platform/Interruption.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>

namespace mv::platform {
namespace {

/// A console of this process alone, so that its events reach nobody else.
class OwnConsole : public ::testing::Test {
 protected:
  OwnConsole() {
    ::FreeConsole();
    EXPECT_TRUE(::AllocConsole());
    // Who started the tests may have asked that Ctrl-C be ignored, which is inherited.
    ::SetConsoleCtrlHandler(nullptr, FALSE);
  }
  ~OwnConsole() override { ::FreeConsole(); }
};

TEST_F(OwnConsole, WishIsTakenInsteadOfEndingTheProgram) {
  for (int round = 0; round < 2; ++round) {
    Interruption interruption;
    EXPECT_FALSE(interruption.WaitFor(std::chrono::milliseconds(1))) << round;
    ASSERT_TRUE(::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0));
    EXPECT_TRUE(interruption.WaitFor(std::chrono::seconds(10))) << round;
    EXPECT_TRUE(interruption.WaitFor(std::chrono::milliseconds(0))) << "it stays";
  }
}

}  // namespace
}  // namespace mv::platform
