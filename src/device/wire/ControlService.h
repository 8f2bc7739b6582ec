#pragma once

#include <thread>

#include "device/wire/ControlLoop.h"
#include "device/wire/LineSource.h"
#include "device/wire/Rendezvous.h"
#include "device/wire/WireLog.h"
#include "device/wire/WireOptions.h"

namespace mv::wire {

/// The helper thread, from its start to its end. It touches its sockets and the rendezvous, and of the options the log.
class ControlService : public LineSource {
 public:
  /// Listens from here on. Both must outlive this object.
  ControlService(const WireOptions& options, WireLog& log)
      : loop_(options, rendezvous_, log), thread_([this] { loop_.Run(); }) {}
  ~ControlService() override {
    rendezvous_.Stop();
    thread_.join();
  }
  ControlService(const ControlService&) = delete;
  ControlService& operator=(const ControlService&) = delete;

  void Ask() override { rendezvous_.Ask(); }
  void Withdraw() override { rendezvous_.Withdraw(); }
  std::optional<AttemptResult> Wait(platform::SteadyTime until, const Rendezvous::AskPassword& askPassword) override {
    return rendezvous_.Wait(until, askPassword);
  }
  WireStatus Status() const override { return rendezvous_.Status(); }

 private:
  Rendezvous rendezvous_;
  ControlLoop loop_;
  std::thread thread_;
};

}  // namespace mv::wire
