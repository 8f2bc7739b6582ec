#include "platform/Interruption.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <thread>

namespace mv::platform {
namespace {

TEST(InterruptionTest, WishIsTakenInsteadOfEndingTheProgram) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Interruption interruption;
    EXPECT_FALSE(interruption.WaitFor(std::chrono::milliseconds(1)));
    ::raise(signal);
    EXPECT_TRUE(interruption.WaitFor(std::chrono::seconds(5)));
    EXPECT_TRUE(interruption.WaitFor(std::chrono::milliseconds(0))) << "it stays";
  }
}

TEST(InterruptionTest, WishBeforeTheWaitCounts) {
  Interruption interruption;
  ::kill(::getpid(), SIGINT);
  interruption.Wait();
}

}  // namespace
}  // namespace mv::platform
