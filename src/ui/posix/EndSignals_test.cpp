#include "ui/posix/EndSignals.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace mv {
namespace {

bool IsReadable(const EndSignals& signals) {
  pollfd waiting = {signals.Number(), POLLIN, 0};
  return ::poll(&waiting, 1, 0) == 1;
}

TEST(EndSignalsTest, ARequestToEndIsSomethingToRead) {
  for (const int request : {SIGTERM, SIGINT, SIGHUP}) {
    const EndSignals signals;
    EXPECT_FALSE(IsReadable(signals));
    ::kill(::getpid(), request);
    EXPECT_TRUE(IsReadable(signals)) << request;
  }
}

TEST(EndSignalsTest, ARequestThatWasNoticedDoesNotEndTheProcessLater) {
  {
    const EndSignals signals;
    ::kill(::getpid(), SIGTERM);
  }
  SUCCEED() << "the process is there";
}

}  // namespace
}  // namespace mv
