#include "platform/posix/Command.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include "support/TempFolder.h"

namespace mv::platform {
namespace {

using mv::testing::TempFolder;

TEST(CommandTest, GivesTheExitStatus) {
  EXPECT_EQ(RunCommand({"sh", "-c", "exit 0"}), 0);
  EXPECT_EQ(RunCommand({"sh", "-c", "exit 7"}), 7);
  EXPECT_EQ(RunCommand({"sh", "-c", "exit 7"}, std::chrono::minutes(1)), 7);
}

TEST(CommandTest, AProgramThatIsNotThereOrDiesHasNone) {
  EXPECT_EQ(RunCommand({"/no/such/program"}), std::nullopt);
  EXPECT_EQ(RunCommand({"sh", "-c", "kill -9 $$"}), std::nullopt);
}

TEST(CommandTest, NoShellReadsTheWords) {
  const TempFolder folder;
  EXPECT_EQ(RunCommand({"touch", folder.Path() + "/a;b $HOME"}), 0);
  EXPECT_TRUE(folder.Has("a;b $HOME"));
}

TEST(CommandTest, AProgramThatTakesTooLongIsKilled) {
  EXPECT_EQ(RunCommand({"sleep", "1000"}, std::chrono::milliseconds(20)), std::nullopt);
}

TEST(CommandTest, SignalsThatThisProcessKeepsBackReachTheProgram) {
  sigset_t ending;
  sigset_t before;
  ::sigemptyset(&ending);
  ::sigaddset(&ending, SIGTERM);
  ::pthread_sigmask(SIG_BLOCK, &ending, &before);
  const auto status = RunCommand({"sh", "-c", "kill -TERM $$; exit 0"});
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_EQ(status, std::nullopt);
}

}  // namespace
}  // namespace mv::platform
