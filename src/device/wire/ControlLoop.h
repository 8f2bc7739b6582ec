#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "device/wire/ControlProtocol.h"
#include "device/wire/Listeners.h"
#include "device/wire/Rendezvous.h"
#include "device/wire/WireLog.h"
#include "device/wire/WireOptions.h"
#include "platform/Socket.h"

namespace mv::wire {

/// What the helper thread does: lets handhelds call, keeps the control connection of one of them alive with pings, gets
/// it unlocked, and opens a connection for remote calls when the callers ask for one. It owns every socket but those
/// that it hands over, never blocks but in its one wait, and knows the callers only through the rendezvous.
///
/// One handheld at a time. Until a caller has announced itself it is one of at most eight, and has a time limit for
/// each step; addresses outside the links are turned away.
class ControlLoop {
 public:
  /// All three must outlive the loop. Opens the listeners.
  ControlLoop(const WireOptions& options, Rendezvous& rendezvous, WireLog& log);
  /// Runs until the rendezvous is told to stop.
  void Run();

 private:
  using SteadyTime = platform::SteadyTime;

  /// A connection that came in and has not yet said enough.
  struct Arrival {
    platform::TcpStream stream;
    platform::SocketAddress address;
    std::unique_ptr<ControlProtocol> protocol;  ///< null: for remote calls in family B, its id is still to come
    Bytes id;
    SteadyTime until;
  };
  /// The handheld that has announced itself.
  struct Control {
    platform::TcpStream stream;
    platform::SocketAddress address;
    std::unique_ptr<ControlProtocol> protocol;
    std::shared_ptr<platform::WakeUp> lost;  ///< signalled at the end
    SteadyTime nextPing;
    SteadyTime readyAt;          ///< no remote call before
    SteadyTime answerBy;         ///< for the password
    std::uint64_t askedAttempt;  ///< the last attempt whose caller was asked for the password; 0: none
    std::string password;
  };
  /// A connection for remote calls that is being opened.
  struct Opening {
    Opening(std::uint64_t number, SteadyTime limit) : attempt(number), until(limit) {}

    std::uint64_t attempt;
    SteadyTime until;
    std::uint32_t id = 0;        ///< family B
    platform::TcpStream stream;  ///< family A
    bool isConnected = false;    ///< and waits for the answer to the password
  };
  enum class Alive { Yes, No, OutOfReach };

  // Listening
  void OpenListeners();
  void CallHandhelds();
  void AcceptArrivals();
  void Accept(const Listeners::Place& place, platform::TcpStream stream);
  void AdmitBesideControl(const Listeners::Place& place, platform::TcpStream stream);
  void AddArrival(platform::TcpStream stream, std::unique_ptr<ControlProtocol> protocol);

  // Arrivals
  void ServeArrivals();
  Alive Serve(Arrival& arrival);
  Alive ServeCallArrival(Arrival& arrival);
  Alive Promote(Arrival& arrival);

  // The handheld
  void ServeControl();
  void WatchWhileLocked();
  void KeepAlive();
  void Lose(const std::string& why);
  void RefusedPassword();

  // Connections for remote calls
  void ServeAttempt();
  void Unlock(std::uint64_t attempt);
  void StartOpening(std::uint64_t attempt);
  void StartOpeningA();
  void ServeOpening();
  void FinishConnecting();
  void TakeOpeningAnswer();
  void HandOver(platform::TcpStream stream);
  void Fail(std::int32_t code, const std::string& why);

  /// Moves what has arrived into the protocol and its answers out.
  Alive Exchange(platform::TcpStream& stream, ControlProtocol& protocol);
  Alive SendOutput(platform::TcpStream& stream, ControlProtocol& protocol);
  SteadyTime NextEvent() const;
  std::vector<platform::WaitItem> WaitItems() const;
  void TellStatus();
  std::string HandheldText() const;

  const WireOptions& options_;
  Rendezvous& rendezvous_;
  WireLog& log_;
  Listeners listeners_;
  std::vector<Arrival> arrivals_;
  std::optional<Control> control_;
  std::optional<Opening> opening_;
  std::string refusedPassword_;  ///< not to be sent again; empty: none was refused
  std::string lastEnd_;          ///< why the last handheld is no longer here
  std::uint32_t nextId_ = 1;
  std::uint64_t callers_ = 0;  ///< handhelds that have announced themselves
  SteadyTime now_;
  SteadyTime nextListen_;
  SteadyTime nextCall_;
};

}  // namespace mv::wire
