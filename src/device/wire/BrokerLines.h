#pragma once

#include <memory>
#include <optional>

#include "device/wire/BrokerPlace.h"
#include "device/wire/LineSource.h"
#include "platform/Socket.h"

namespace mv::wire {

/// Connections for remote calls through another program of the same user, which the handheld has called
/// (BrokerServer.h has what the two say to each other). The other program knows the password.
class BrokerLines : public LineSource {
 public:
  explicit BrokerLines(BrokerTicket ticket) : ticket_(std::move(ticket)) {}

  void Ask() override;
  void Withdraw() override;
  std::optional<AttemptResult> Wait(platform::SteadyTime until, const Rendezvous::AskPassword& askPassword) override;
  WireStatus Status() const override;

 private:
  /// Receives what is still missing of `wanted` bytes of the answer; nothing to be done is Done.
  platform::SocketStatus Receive(std::size_t wanted, platform::SteadyTime until);
  AttemptResult Settle();

  BrokerTicket ticket_;
  platform::TcpStream stream_;
  Bytes answer_;  ///< as far as it has come
};

/// The lines of the program that listens for this user; null when there is none.
std::unique_ptr<LineSource> FindBrokerLines();

}  // namespace mv::wire
