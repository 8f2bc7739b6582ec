#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "device/simulator/DeviceCalls.h"
#include "device/simulator/SimulatorLink.h"

namespace mv::simulator {

/// Messages so far, over all connections of a handheld.
struct MessageCounters {
  std::atomic<std::size_t> requests = 0;
  std::atomic<std::size_t> replies = 0;
};

/// The handheld's side of a remote-call connection: requests come in, replies go out, as faulty as the options say.
class CallConnection {
 public:
  using Log = std::function<void(const std::string& line)>;

  /// All must outlive this object.
  CallConnection(SimulatorLink& link, DeviceStore& store, const SimulatorOptions& options, MessageCounters& counters,
                 const Log& log)
      : link_(link), options_(options), counters_(counters), log_(log), calls_(store, options) {}

  /// Returns when the connection has ended.
  void Run();

 private:
  /// Nothing when the connection ended, or is to end. `number` is the request's.
  std::optional<Bytes> ReceiveRequest(std::size_t& number);
  bool Answer(ByteView request, std::size_t number);
  bool SendReply(const Bytes& reply);
  bool SendInPieces(ByteView message);
  const MessageFault* FaultOf(Direction direction, std::size_t number) const;
  /// What is left of a connection after a message that passed in part.
  void EndAfter(const MessageFault& fault);

  SimulatorLink& link_;
  const SimulatorOptions& options_;
  MessageCounters& counters_;
  const Log& log_;
  DeviceCalls calls_;
};

}  // namespace mv::simulator
