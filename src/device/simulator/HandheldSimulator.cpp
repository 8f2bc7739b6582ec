#include "device/simulator/HandheldSimulator.h"

#include <array>
#include <utility>

#include "base/Error.h"

namespace mv::simulator {
namespace {

using platform::SocketAddress;
using platform::SocketResult;
using platform::SocketStatus;
using platform::TcpStream;
using platform::WaitLimit;

constexpr std::chrono::seconds kToConnect(2);
constexpr std::chrono::hours kLong(24);

void Require(const SocketResult& result, const SocketAddress& address) {
  if (result.IsDone()) return;
  throw Failure("the simulated handheld cannot have " + address.Text() + (result.error.empty() ? "" : ": ") +
                result.error);
}

}  // namespace

HandheldSimulator::HandheldSimulator(platform::FileSystem& files, const std::string& root, SimulatorOptions options)
    : options_(std::move(options)), store_(files, root), log_([this](const std::string& line) { Log(line); }) {
  Bind();
}

HandheldSimulator::~HandheldSimulator() {
  Stop();
}

void HandheldSimulator::Bind() {
  const bool listens = options_.family == Family::A && !options_.faults.noCallConnection;
  const SocketAddress calls{options_.address, options_.callsPort};
  if (listens) Require(callsListener_.Listen(calls), calls);
  if (options_.family != Family::B || !options_.wakeUpPort) return;
  const SocketAddress wakeUp{options_.address, *options_.wakeUpPort};
  Require(wakeUpSocket_.Bind(wakeUp), wakeUp);
}

void HandheldSimulator::Log(const std::string& line) {
  const std::lock_guard lock(logMutex_);
  if (options_.log) options_.log(line);
}

void HandheldSimulator::Start() {
  if (!options_.faults.neverAnnounces) announcer_ = std::thread([this] { Announce(); });
  if (callsListener_.IsOpen()) acceptor_ = std::thread([this] { AcceptCalls(); });
}

void HandheldSimulator::Stop() {
  isStopping_ = true;
  stopped_.Signal();
  DropConnections();
  if (announcer_.joinable()) announcer_.join();
  if (acceptor_.joinable()) acceptor_.join();
  DropCalls();
  for (Connection& connection : connections_) connection.thread.join();
  connections_.clear();
}

void HandheldSimulator::DropConnections() {
  {
    const std::lock_guard lock(mutex_);
    if (control_) control_->End();
  }
  DropCalls();
}

void HandheldSimulator::DropCalls() {
  const std::lock_guard lock(mutex_);
  for (Connection& connection : connections_) connection.link.End();
}

bool HandheldSimulator::Pause() {
  return platform::WaitForSockets({}, WaitLimit::After(options_.retry, &stopped_)).status != SocketStatus::Woken;
}

// ---- Control connection

void HandheldSimulator::Announce() {
  do {
    AnnounceOnce();
  } while (!isStopping_ && (options_.comesBack || announcements_ == 0) && Pause());
}

bool HandheldSimulator::WaitForDatagram() {
  std::array<std::uint8_t, 2> datagram = {};
  std::size_t count = 0;
  SocketAddress from;
  while (!isStopping_) {
    const auto status = wakeUpSocket_.Receive(datagram, count, from, WaitLimit::After(kLong, &stopped_)).status;
    if (status == SocketStatus::Done && count == 1 && datagram[0] == wire::family_b::kWakeUp) return true;
  }
  return false;
}

void HandheldSimulator::AnnounceOnce() {
  if (wakeUpSocket_.IsOpen() && !WaitForDatagram()) return;
  TcpStream stream;
  const WaitLimit limit = WaitLimit::After(kToConnect, &stopped_);
  if (!stream.Connect(options_.desktop, limit, SocketAddress{options_.address, 0}).IsDone()) return;
  const auto link = std::make_shared<SimulatorLink>(std::move(stream));
  {
    const std::lock_guard lock(mutex_);
    control_ = link;
  }
  // Who stops looks for the connection after setting the mark.
  if (isStopping_) return;
  ++announcements_;
  Log("connected to the desktop at " + options_.desktop.Text());
  const ControlContext context{options_, [this](std::uint32_t id) { OpenCalls(id); }, log_};
  options_.family == Family::A ? ConverseA(*link, context) : ConverseB(*link, context);
  Log("disconnected");
  const std::lock_guard lock(mutex_);
  control_.reset();
}

// ---- Remote-call connections

void HandheldSimulator::AcceptCalls() {
  while (!isStopping_) {
    TcpStream stream;
    const auto accepted = callsListener_.Accept(stream, WaitLimit::After(kLong, &stopped_));
    if (!accepted.IsDone()) continue;
    Serve(std::move(stream), [this](SimulatorLink& link) { return PassPasswordForCalls(link); });
  }
}

bool HandheldSimulator::PassPasswordForCalls(SimulatorLink& link) {
  if (options_.lock != Lock::Password) return true;
  const std::optional<bool> taken = ReceivePassword(link, options_);
  if (!taken) return false;
  const std::array<std::uint8_t, 1> answer = {static_cast<std::uint8_t>(*taken ? 1 : 0)};
  return link.Send(answer) && *taken;
}

void HandheldSimulator::OpenCalls(std::uint32_t id) {
  TcpStream stream;
  const WaitLimit limit = WaitLimit::After(kToConnect, &stopped_);
  if (!stream.Connect(options_.desktop, limit, SocketAddress{options_.address, 0}).IsDone()) return;
  Serve(std::move(stream), [id](SimulatorLink& link) { return link.SendWords({id}); });
}

void HandheldSimulator::Serve(TcpStream stream, std::function<bool(SimulatorLink& link)> begin) {
  ForgetFinished();
  const std::lock_guard lock(mutex_);
  Connection& connection = connections_.emplace_back(std::move(stream));
  connection.thread = std::thread([this, &connection, begin = std::move(begin)] {
    Log("remote-call connection opened");
    if (begin(connection.link)) CallConnection(connection.link, store_, options_, counters_, log_).Run();
    connection.link.Stream().Close();
    Log("remote-call connection closed");
    connection.isOver = true;
  });
}

void HandheldSimulator::ForgetFinished() {
  const std::lock_guard lock(mutex_);
  connections_.remove_if([](Connection& connection) {
    if (!connection.isOver) return false;
    connection.thread.join();  // it has nothing left to do
    return true;
  });
}

}  // namespace mv::simulator
