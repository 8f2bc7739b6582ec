#include "ui/posix/EndSignals.h"

#include <pthread.h>
#include <sys/signalfd.h>

#include <initializer_list>

namespace mv {
namespace {

sigset_t Requests() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::sigaddset(&signals, signal);
  return signals;
}

/// A request that comes before anybody waits is kept.
int Block(sigset_t& before) {
  const sigset_t requests = Requests();
  ::pthread_sigmask(SIG_BLOCK, &requests, &before);
  return ::signalfd(-1, &requests, SFD_CLOEXEC | SFD_NONBLOCK);
}

}  // namespace

EndSignals::EndSignals() : waiting_(Block(before_)) {}

EndSignals::~EndSignals() {
  // What has been asked for is being done; it shall not end the process on its last steps.
  signalfd_siginfo taken;
  while (::read(waiting_.Number(), &taken, sizeof taken) > 0) {
  }
  ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace mv
