#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "device/simulator/CallConnection.h"
#include "device/simulator/ControlSide.h"
#include "device/simulator/DeviceStore.h"
#include "device/simulator/SimulatorOptions.h"
#include "platform/FileSystem.h"
#include "platform/Socket.h"

namespace mv::simulator {

/// A handheld on the network that is none: it announces itself to a desktop, answers pings and remote calls, and does
/// wrong what its options say. Its files are a local folder. It trusts nothing that the desktop sends.
///
/// Made on the caller's thread, it works on threads of its own from Start to Stop. `files` is used on these.
class HandheldSimulator {
 public:
  /// Takes its ports. Failure that names the port which it cannot have; the errors of DeviceStore.
  HandheldSimulator(platform::FileSystem& files, const std::string& root, SimulatorOptions options);
  /// Stops.
  ~HandheldSimulator();
  HandheldSimulator(const HandheldSimulator&) = delete;
  HandheldSimulator& operator=(const HandheldSimulator&) = delete;

  /// Begins to look for the desktop. Once.
  void Start();
  /// Ends all connections; returns when its threads have ended. Nothing after it.
  void Stop();

  /// Family A: where it listens for remote-call connections.
  std::uint16_t CallsPort() const { return callsListener_.LocalAddress().port; }
  /// Family B: where it waits for the datagram; 0 when it does not.
  std::uint16_t WakeUpPort() const { return wakeUpSocket_.LocalAddress().port; }
  DeviceStore& Store() { return store_; }

  /// As if the cable were pulled and put back: all connections end.
  void DropConnections();
  /// Only those for remote calls.
  void DropCalls();

  /// Control connections so far.
  std::size_t Announcements() const { return announcements_; }
  /// Requests and replies so far.
  std::size_t Requests() const { return counters_.requests; }
  std::size_t Replies() const { return counters_.replies; }

 private:
  struct Connection {
    explicit Connection(platform::TcpStream stream) : link(std::move(stream)) {}
    SimulatorLink link;
    std::atomic<bool> isOver = false;
    std::thread thread;
  };

  void Bind();
  void Announce();
  /// One control connection, from the first attempt to its end.
  void AnnounceOnce();
  bool WaitForDatagram();
  void AcceptCalls();
  /// Family B.
  void OpenCalls(std::uint32_t id);
  /// `begin` says whether the connection may go on to its calls.
  void Serve(platform::TcpStream stream, std::function<bool(SimulatorLink& link)> begin);
  bool PassPasswordForCalls(SimulatorLink& link);
  void ForgetFinished();
  bool Pause();
  void Log(const std::string& line);

  const SimulatorOptions options_;
  DeviceStore store_;
  MessageCounters counters_;
  std::function<void(const std::string&)> log_;
  std::mutex logMutex_;

  platform::TcpListener callsListener_;
  platform::UdpSocket wakeUpSocket_;
  platform::WakeUp stopped_;
  std::atomic<bool> isStopping_ = false;
  std::atomic<std::size_t> announcements_ = 0;

  std::mutex mutex_;  ///< of what follows
  std::shared_ptr<SimulatorLink> control_;
  std::list<Connection> connections_;

  std::thread announcer_;
  std::thread acceptor_;
};

}  // namespace mv::simulator
