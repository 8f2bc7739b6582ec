#pragma once

#include <atomic>
#include <list>
#include <thread>

#include "device/wire/BrokerPlace.h"
#include "device/wire/LineSource.h"
#include "platform/Socket.h"

namespace mv::wire {

/// Lets other programs of this user reach the handheld that has called this one. It listens on the loopback address;
/// a program says the secret first, and gets, as soon as a connection for remote calls is there for it,
///
///   word   bytes that follow
///   word   result of the attempt (0 connected); the rest only when it is 0
///   word   version of the messages, 1 or 2
///   word, word            the system's version
///   text, text, text      name, platform, model: word with the bytes, UTF-16 with its NUL
///   4 bytes, half         the handheld's address and port
///
/// From then on everything goes through unchanged, in both directions, until either side ends. Programs are served one
/// after the other up to their connection, and side by side after that.
class BrokerServer {
 public:
  /// Begins to listen. Both must outlive this object; nobody else may ask `lines` for connections. Failure when there
  /// is no port to be had.
  BrokerServer(LineSource& lines, const Rendezvous::AskPassword& askPassword);
  /// Ends all connections.
  ~BrokerServer();
  BrokerServer(const BrokerServer&) = delete;
  BrokerServer& operator=(const BrokerServer&) = delete;

  /// What a program must know to be served.
  const BrokerTicket& Ticket() const { return ticket_; }

 private:
  struct Passage {
    platform::TcpStream client;
    CallLine line;
    std::atomic<bool> isOver = false;
    std::thread thread;
  };

  void Run();
  void Serve(platform::TcpStream client);
  bool KnowsSecret(platform::TcpStream& client) const;
  /// Nothing when the client has gone, or all is to end.
  std::optional<AttemptResult> GetLine(const platform::TcpStream& client);
  void Begin(platform::TcpStream client, CallLine line);
  void Pass(Passage& passage) const;
  void ForgetFinished();

  LineSource& lines_;
  const Rendezvous::AskPassword& askPassword_;
  BrokerTicket ticket_;
  platform::TcpListener listener_;
  platform::WakeUp stopped_;
  std::atomic<bool> isStopping_ = false;
  std::list<Passage> passages_;  ///< of the thread, and of the destructor after it
  std::thread thread_;
};

}  // namespace mv::wire
