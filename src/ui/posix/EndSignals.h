#pragma once

#include <csignal>

#include "platform/posix/Descriptor.h"

namespace mv {

/// The system's requests that the program end (the session ends, Ctrl-C where the window was started), as something to
/// wait for beside other things. While an object lives they end nothing by themselves. To be made before the process
/// has a second thread.
class EndSignals {
 public:
  EndSignals();
  ~EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  /// Readable from the first request on; negative when the system has no more descriptors.
  int Number() const { return waiting_.Number(); }

 private:
  sigset_t before_ = {};
  platform::Descriptor waiting_;
};

}  // namespace mv
