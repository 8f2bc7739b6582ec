#include "device/wire/ControlLoop.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "device/wire/Password.h"

namespace mv::wire {
namespace {

using platform::SocketAddress;
using platform::SocketResult;
using platform::SocketStatus;
using platform::TcpStream;
using platform::WaitItem;
using platform::WaitLimit;

constexpr std::size_t kMostArrivals = 8;
constexpr std::size_t kIdLength = 4;

/// What can be done at once.
constexpr WaitLimit kNow = {};

platform::SteadyTime TimeNow() {
  return std::chrono::steady_clock::now();
}

const char* NameOf(Family family) {
  return family == Family::A ? "A" : "B";
}

std::string SystemText(const Announcement& handheld) {
  return "Windows CE " + std::to_string(handheld.major) + "." + std::to_string(handheld.minor);
}

const char* TextOf(ControlState state) {
  switch (state) {
    case ControlState::NeedsPassword:
      return "locked with a password";
    case ControlState::AwaitsAnswer:
      return "is checking the password";
    case ControlState::LockedOnScreen:
      return "locked, to be unlocked on its own screen";
    case ControlState::Ready:
      return "connected";
    default:
      return "announcing itself";
  }
}

}  // namespace

ControlLoop::ControlLoop(const WireOptions& options, Rendezvous& rendezvous, WireLog& log)
    : options_(options), rendezvous_(rendezvous), log_(log), listeners_(options), now_(TimeNow()) {
  lastEnd_ = "no handheld has called";
  OpenListeners();
  TellStatus();
}

void ControlLoop::Run() {
  while (!rendezvous_.IsStopping()) {
    std::vector<WaitItem> items = WaitItems();
    WaitForSockets(items, {NextEvent(), &rendezvous_.Wake()});
    rendezvous_.Wake().Reset();
    now_ = TimeNow();
    OpenListeners();
    CallHandhelds();
    ServeControl();
    AcceptArrivals();
    ServeArrivals();
    ServeOpening();
    ServeAttempt();
  }
  if (control_) control_->lost->Signal();
}

// ---- Listening

void ControlLoop::OpenListeners() {
  if (listeners_.AreAllOpen() || now_ < nextListen_) return;
  nextListen_ = now_ + options_.times.listen;
  if (!listeners_.OpenMissing()) return;
  for (const std::string& problem : listeners_.Problems()) log_.Line(problem);
  TellStatus();
}

/// Family B handhelds wait for a datagram before they call.
void ControlLoop::CallHandhelds() {
  if (control_ || now_ < nextCall_) return;
  nextCall_ = now_ + options_.times.wakeUpB;
  for (const Listeners::Place& place : listeners_.Places()) {
    if (place.family != Family::B || !place.listener.IsOpen()) continue;
    for (const auto& host : options_.handhelds) {
      const SocketAddress handheld{host, options_.ports.wakeUpB};
      if (!IsOnLink(place.link, handheld)) continue;
      platform::UdpSocket socket;
      if (socket.Bind({place.link.desktop, 0}).IsDone()) socket.Send(Bytes{family_b::kWakeUp}, handheld);
    }
  }
}

void ControlLoop::AcceptArrivals() {
  for (Listeners::Place& place : listeners_.Places()) {
    if (!place.listener.IsOpen()) continue;
    TcpStream stream;
    while (place.listener.Accept(stream, kNow).IsDone()) Accept(place, std::exchange(stream, TcpStream()));
  }
}

void ControlLoop::Accept(const Listeners::Place& place, TcpStream stream) {
  const SocketAddress address = stream.PeerAddress();
  if (!IsOnLink(place.link, address)) return log_.Line("turned away " + address.Text() + ": not on this link");
  if (arrivals_.size() >= kMostArrivals) return log_.Line("turned away " + address.Text() + ": too many at once");
  if (control_) return AdmitBesideControl(place, std::move(stream));
  AddArrival(std::move(stream), MakeControlProtocol(place.family, options_.passwordEnd));
}

void ControlLoop::AdmitBesideControl(const Listeners::Place& place, TcpStream stream) {
  const SocketAddress address = stream.PeerAddress();
  const bool isSameHost = address.host == control_->address.host;
  const bool isReady = control_->protocol->State() == ControlState::Ready;
  const bool isFamilyB = place.family == Family::B && control_->protocol->OwnFamily() == Family::B;
  if (isSameHost && isReady && isFamilyB && opening_) return AddArrival(std::move(stream), nullptr);
  if (isSameHost && !isReady) {
    return AddArrival(std::move(stream), MakeControlProtocol(place.family, options_.passwordEnd));
  }
  log_.Line("turned away " + address.Text() + ": a handheld is connected");
  // A handheld that was switched off and on calls anew; it refuses the ping of its old connection. One such ping at a
  // time, or a crowd of callers would make the handheld look dead.
  if (isReady && control_->protocol->UnansweredPings() == 0) control_->nextPing = now_;
}

void ControlLoop::AddArrival(TcpStream stream, std::unique_ptr<ControlProtocol> protocol) {
  const SocketAddress address = stream.PeerAddress();
  const std::string purpose =
      protocol ? "control, family " + std::string(NameOf(protocol->OwnFamily())) : "remote calls";
  log_.Line("connection from " + address.Text() + ": " + purpose);
  arrivals_.push_back({std::move(stream), address, std::move(protocol), {}, now_ + options_.times.step});
}

// ---- Arrivals

void ControlLoop::ServeArrivals() {
  std::vector<Arrival> arrivals = std::move(arrivals_);
  arrivals_.clear();
  for (Arrival& arrival : arrivals) {
    const bool isLate = now_ >= arrival.until;
    if (Serve(arrival) != Alive::Yes) continue;
    if (isLate) {
      log_.Line("gave up " + arrival.address.Text() + ": nothing came in time");
    } else {
      arrivals_.push_back(std::move(arrival));
    }
  }
}

ControlLoop::Alive ControlLoop::Serve(Arrival& arrival) {
  if (!arrival.protocol) return ServeCallArrival(arrival);
  const Alive alive = Exchange(arrival.stream, *arrival.protocol);
  switch (arrival.protocol->State()) {
    case ControlState::Announcing:
      return alive;
    case ControlState::Broken:
      log_.Line("gave up " + arrival.address.Text() + ": it sent " + arrival.protocol->Problem());
      return Alive::No;
    default:
      return alive == Alive::Yes ? Promote(arrival) : Alive::No;
  }
}

ControlLoop::Alive ControlLoop::ServeCallArrival(Arrival& arrival) {
  std::array<std::uint8_t, kIdLength> buffer = {};
  const ByteSpan missing = ByteSpan(buffer).first(kIdLength - arrival.id.size());
  std::size_t count = 0;
  const SocketResult received = arrival.stream.ReceiveSome(missing, count, kNow);
  arrival.id.insert(arrival.id.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
  if (!received.IsDone()) return received.status == SocketStatus::TimedOut ? Alive::Yes : Alive::No;
  if (arrival.id.size() < kIdLength) return Alive::Yes;
  const bool isAwaited = opening_ && LoadLittle<std::uint32_t>(arrival.id.data()) == opening_->id;
  const bool isFromHandheld = control_ && arrival.address.host == control_->address.host;
  if (isAwaited && isFromHandheld) {
    HandOver(std::move(arrival.stream));
  } else {
    log_.Line("gave up " + arrival.address.Text() + ": nobody waits for its id");
  }
  return Alive::No;
}

ControlLoop::Alive ControlLoop::Promote(Arrival& arrival) {
  if (control_ && control_->protocol->State() == ControlState::Ready) return Alive::No;
  if (control_) Lose("it has called anew");
  try {
    auto lost = std::make_shared<platform::WakeUp>();
    control_.emplace(Control{std::move(arrival.stream), arrival.address, std::move(arrival.protocol), std::move(lost),
                             now_, now_, now_, 0, ""});
  } catch (const Error& error) {
    log_.Line("gave up " + arrival.address.Text() + ": " + error.Description());
    return Alive::No;
  }
  ++callers_;
  log_.Line("handheld at " + control_->address.Text() + ": " + SystemText(control_->protocol->Handheld()));
  WatchWhileLocked();
  TellStatus();
  if (control_->protocol->State() == ControlState::Ready) KeepAlive();
  return Alive::No;  // it is no arrival any more
}

// ---- The handheld

void ControlLoop::ServeControl() {
  if (!control_) return;
  ControlProtocol& protocol = *control_->protocol;
  const ControlState before = protocol.State();
  const Alive alive = Exchange(control_->stream, protocol);
  const ControlState state = protocol.State();
  if (state == ControlState::Refused) return RefusedPassword();
  if (state == ControlState::Broken) return Lose("it sent " + protocol.Problem());
  if (alive == Alive::No) return Lose("it closed the connection");
  if (alive == Alive::OutOfReach) return Lose("it is out of reach");
  if (state == ControlState::AwaitsAnswer && now_ >= control_->answerBy) return Lose("it did not answer the password");
  if (before == ControlState::AwaitsAnswer && state == ControlState::Ready) {
    control_->readyAt = now_ + options_.times.settle;
    control_->nextPing = now_;
  }
  if (before != state) {
    WatchWhileLocked();
    TellStatus();
  }
  if (state == ControlState::Ready) KeepAlive();
}

/// A locked handheld takes no pings, so one that has vanished without a word would keep its place.
void ControlLoop::WatchWhileLocked() {
  control_->stream.WatchPeer(control_->protocol->State() != ControlState::Ready);
}

void ControlLoop::KeepAlive() {
  if (now_ < control_->nextPing) return;
  ControlProtocol& protocol = *control_->protocol;
  if (protocol.UnansweredPings() >= options_.times.missedPings) return Lose("it answers no more pings");
  protocol.Ping();
  const bool isFamilyA = protocol.OwnFamily() == Family::A;
  control_->nextPing = now_ + (isFamilyA ? options_.times.pingA : options_.times.pingB);
  if (SendOutput(control_->stream, protocol) == Alive::No) Lose("it takes no more pings");
}

void ControlLoop::Lose(const std::string& why) {
  lastEnd_ = "the handheld at " + control_->address.HostText() + " has gone: " + why;
  log_.Line(lastEnd_);
  control_->lost->Signal();
  control_.reset();
  nextCall_ = now_;
  TellStatus();
  if (opening_) Fail(results::kFailed, "the handheld has gone");
}

void ControlLoop::RefusedPassword() {
  refusedPassword_ = control_->password;
  Lose("it refused the password");
  Fail(results::kWrongPassword, "the password was refused");
}

// ---- Connections for remote calls

void ControlLoop::ServeAttempt() {
  const std::optional<std::uint64_t> attempt = rendezvous_.OpenAttempt();
  if (opening_ && opening_->attempt != attempt) opening_.reset();
  if (!attempt || !control_) return;
  const ControlState state = control_->protocol->State();
  if (state == ControlState::NeedsPassword) Unlock(*attempt);
  if (state == ControlState::Ready && !opening_ && now_ >= control_->readyAt) StartOpening(*attempt);
}

void ControlLoop::Unlock(std::uint64_t attempt) {
  std::optional<std::string> password = rendezvous_.TakePassword();
  if (!password) {
    if (std::exchange(control_->askedAttempt, attempt) != attempt) rendezvous_.WantPassword();
    return;
  }
  // Some handhelds erase themselves after too many wrong passwords.
  if (!refusedPassword_.empty() && *password == refusedPassword_) {
    return Fail(results::kWrongPassword, "the password was refused before");
  }
  control_->password = std::move(*password);
  control_->answerBy = now_ + options_.times.step;
  control_->protocol->SendPassword(control_->password);
  log_.Line("> password");
  if (SendOutput(control_->stream, *control_->protocol) == Alive::No) Lose("it does not take the password");
}

void ControlLoop::StartOpening(std::uint64_t attempt) {
  opening_.emplace(attempt, now_ + options_.times.connect);
  if (control_->protocol->OwnFamily() == Family::A) return StartOpeningA();
  opening_->id = nextId_++;
  log_.Line("> open a connection, id " + std::to_string(opening_->id));
  const SocketResult sent = control_->stream.Send(ConnectionRequest(opening_->id), kNow);
  if (!sent.IsDone()) Lose("it takes no more requests");
}

void ControlLoop::StartOpeningA() {
  const SocketAddress handheld{control_->address.host, options_.ports.callsA};
  log_.Line("connecting to " + handheld.Text());
  const SocketResult started =
      opening_->stream.StartConnect(handheld, SocketAddress{control_->stream.LocalAddress().host, 0});
  const bool isUnderWay = started.IsDone() || started.status == SocketStatus::TimedOut;
  if (!isUnderWay) Fail(results::kFailed, "no connection to " + handheld.Text() + ": " + started.error);
}

void ControlLoop::ServeOpening() {
  if (!opening_ || !control_) return;
  if (opening_->stream.IsOpen()) {
    if (opening_->isConnected) {
      TakeOpeningAnswer();
    } else {
      FinishConnecting();
    }
  }
  if (opening_ && now_ >= opening_->until) Fail(results::kFailed, "no connection for remote calls came about in time");
}

void ControlLoop::FinishConnecting() {
  WaitItem item{&opening_->stream.Handle(), true};
  if (!WaitForSockets({&item, 1}, kNow).IsDone()) return;
  const SocketResult connected = opening_->stream.FinishConnect();
  if (!connected.IsDone()) return Fail(results::kFailed, "no connection for remote calls: " + connected.error);
  const std::optional<std::uint8_t> key = control_->protocol->PasswordKey();
  if (!key) return HandOver(std::move(opening_->stream));
  opening_->isConnected = true;
  const Bytes password = EncodedPassword(control_->password, *key, control_->protocol->EndOfPassword());
  const SocketResult sent = opening_->stream.Send(password, kNow);
  if (!sent.IsDone()) Fail(results::kFailed, "the connection for remote calls takes no password: " + sent.error);
}

/// One byte: 0 refuses the password.
void ControlLoop::TakeOpeningAnswer() {
  std::uint8_t answer = 0;
  std::size_t count = 0;
  const SocketResult received = opening_->stream.ReceiveSome({&answer, 1}, count, kNow);
  if (received.status == SocketStatus::TimedOut) return;
  if (!received.IsDone()) return Fail(results::kFailed, "the connection for remote calls was closed");
  if (answer == 0) return Fail(results::kWrongPassword, "the connection for remote calls refused the password");
  HandOver(std::move(opening_->stream));
}

void ControlLoop::HandOver(TcpStream stream) {
  const Announcement& handheld = control_->protocol->Handheld();
  CallLine line{std::move(stream), options_.messages.value_or(handheld.Messages()), control_->lost, handheld,
                control_->address};
  opening_.reset();
  log_.Line("connection for remote calls is open");
  rendezvous_.Settle({results::kConnected, std::move(line)});
}

void ControlLoop::Fail(std::int32_t code, const std::string& why) {
  log_.Line("no connection: " + why);
  opening_.reset();
  rendezvous_.Settle({code, {}});
}

// ---- Helpers

ControlLoop::Alive ControlLoop::Exchange(TcpStream& stream, ControlProtocol& protocol) {
  std::array<std::uint8_t, 4096> buffer;
  std::size_t count = 0;
  const SocketResult received = stream.ReceiveSome(buffer, count, kNow);
  if (received.status == SocketStatus::TimedOut) return Alive::Yes;
  if (received.status == SocketStatus::Closed) return Alive::No;
  if (!received.IsDone()) return Alive::OutOfReach;
  protocol.Receive(ByteView(buffer).first(count));
  log_.Line("< control, " + std::to_string(count) + " bytes");
  return SendOutput(stream, protocol);
}

ControlLoop::Alive ControlLoop::SendOutput(TcpStream& stream, ControlProtocol& protocol) {
  const Bytes output = protocol.TakeOutput();
  if (output.empty()) return Alive::Yes;
  log_.Line("> control, " + std::to_string(output.size()) + " bytes");
  // A few bytes always fit, unless the handheld has long ceased to read.
  return stream.Send(output, kNow).IsDone() ? Alive::Yes : Alive::No;
}

platform::SteadyTime ControlLoop::NextEvent() const {
  SteadyTime next = now_ + std::chrono::minutes(1);
  const auto consider = [&next](SteadyTime time) { next = std::min(next, time); };
  if (!listeners_.AreAllOpen()) consider(nextListen_);
  if (!control_ && !options_.handhelds.empty()) consider(nextCall_);
  for (const Arrival& arrival : arrivals_) consider(arrival.until);
  if (opening_) consider(opening_->until);
  if (!control_) return next;
  const ControlState state = control_->protocol->State();
  if (state == ControlState::AwaitsAnswer) consider(control_->answerBy);
  if (state == ControlState::Ready) consider(control_->nextPing);
  if (state == ControlState::Ready && control_->readyAt > now_) consider(control_->readyAt);
  return next;
}

std::vector<WaitItem> ControlLoop::WaitItems() const {
  std::vector<WaitItem> items;
  for (const Listeners::Place& place : listeners_.Places()) {
    if (place.listener.IsOpen()) items.push_back({&place.listener.Handle()});
  }
  for (const Arrival& arrival : arrivals_) items.push_back({&arrival.stream.Handle()});
  if (control_) items.push_back({&control_->stream.Handle()});
  if (opening_ && opening_->stream.IsOpen()) items.push_back({&opening_->stream.Handle(), !opening_->isConnected});
  return items;
}

void ControlLoop::TellStatus() {
  rendezvous_.SetStatus({listeners_.Open(Family::A), listeners_.Open(Family::B), listeners_.Problems(), HandheldText(),
                         control_ ? callers_ : 0});
}

std::string ControlLoop::HandheldText() const {
  if (!control_) return lastEnd_;
  const Announcement& handheld = control_->protocol->Handheld();
  const std::string name = handheld.name.empty() ? std::string("handheld") : handheld.name;
  return name + " (" + SystemText(handheld) + ") at " + control_->address.HostText() + ": " +
         TextOf(control_->protocol->State());
}

}  // namespace mv::wire
