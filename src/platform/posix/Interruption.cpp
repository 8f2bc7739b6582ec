#include "platform/Interruption.h"

#include <pthread.h>
#include <signal.h>

#include <cerrno>

namespace mv::platform {
namespace {

/// They are blocked and wait to be fetched, so there is no handler and nothing is interrupted in its middle.
sigset_t Signals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::sigaddset(&signals, signal);
  return signals;
}

}  // namespace

Interruption::Interruption() {
  const sigset_t signals = Signals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

Interruption::~Interruption() {
  const sigset_t signals = Signals();
  ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void Interruption::Wait() {
  while (!WaitFor(std::chrono::hours(1))) {
  }
}

bool Interruption::WaitFor(std::chrono::milliseconds duration) {
  if (wasWished_) return true;
  const sigset_t signals = Signals();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
  const std::chrono::nanoseconds rest = duration - seconds;
  const timespec limit{static_cast<time_t>(seconds.count()), static_cast<long>(rest.count())};
  // Another signal cuts the wait short; whoever called waits again.
  wasWished_ = ::sigtimedwait(&signals, nullptr, &limit) > 0;
  return wasWished_;
}

}  // namespace mv::platform
