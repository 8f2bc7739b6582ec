#include "device/wire/BrokerServer.h"

#include <array>
#include <chrono>
#include <utility>

#include "base/Error.h"
#include "device/message/MessageWriter.h"
#include "platform/PrivateFiles.h"

namespace mv::wire {
namespace {

using platform::SocketStatus;
using platform::TcpStream;
using platform::WaitItem;
using platform::WaitLimit;

constexpr std::size_t kSecretLength = 32;
constexpr std::chrono::seconds kForTheSecret(2);
/// Between two looks whether the program that waits is still there.
constexpr std::chrono::milliseconds kBetweenLooks(100);
constexpr std::chrono::hours kLong(24);
constexpr std::chrono::seconds kToPassOn(60);
constexpr std::size_t kBuffer = 64 * 1024;

Bytes AnswerOf(const AttemptResult& result) {
  MessageWriter answer;
  answer.Word(static_cast<std::uint32_t>(result.code));
  if (!result.line) return answer.Framed();
  const CallLine& line = *result.line;
  answer.Word(line.version == MessageVersion::V2 ? 2 : 1);
  answer.Word(line.handheld.major);
  answer.Word(line.handheld.minor);
  answer.ShortString(line.handheld.name);
  answer.ShortString(line.handheld.platform);
  answer.ShortString(line.handheld.model);
  answer.Raw(line.address.host);
  answer.Half(line.address.port);
  return answer.Framed();
}

/// In a time that tells nothing about where they differ.
bool AreEqual(ByteView left, ByteView right) {
  std::uint8_t difference = left.size() == right.size() ? 0 : 1;
  for (std::size_t i = 0; i < left.size() && i < right.size(); ++i) {
    difference = static_cast<std::uint8_t>(difference | (left[i] ^ right[i]));
  }
  return difference == 0;
}

/// False when either end has gone.
bool MoveSome(TcpStream& from, TcpStream& to, Bytes& buffer, const platform::WakeUp& stopped) {
  std::size_t count = 0;
  if (!from.ReceiveSome(buffer, count, {}).IsDone()) return false;
  return to.Send(ByteView(buffer).first(count), WaitLimit::After(kToPassOn, &stopped)).IsDone();
}

}  // namespace

BrokerServer::BrokerServer(LineSource& lines, const Rendezvous::AskPassword& askPassword)
    : lines_(lines), askPassword_(askPassword) {
  const platform::SocketResult listens = listener_.Listen({platform::kLoopbackHost, 0});
  if (!listens.IsDone()) throw Failure("no port for other programs: " + listens.error);
  ticket_ = {listener_.LocalAddress().port, platform::RandomBytes(kSecretLength)};
  thread_ = std::thread([this] { Run(); });
}

BrokerServer::~BrokerServer() {
  isStopping_ = true;
  stopped_.Signal();
  thread_.join();
  for (Passage& passage : passages_) passage.thread.join();
}

void BrokerServer::Run() {
  while (!isStopping_) {
    TcpStream client;
    if (listener_.Accept(client, WaitLimit::After(kLong, &stopped_)).IsDone()) Serve(std::move(client));
    ForgetFinished();
  }
}

bool BrokerServer::KnowsSecret(TcpStream& client) const {
  Bytes said(kSecretLength);
  std::size_t count = 0;
  const auto received = client.ReceiveExactly(said, count, WaitLimit::After(kForTheSecret, &stopped_));
  return received.IsDone() && AreEqual(said, ticket_.secret);
}

void BrokerServer::Serve(TcpStream client) {
  if (!KnowsSecret(client)) return;
  std::optional<AttemptResult> result = GetLine(client);
  if (!result) return;
  const bool sent = client.Send(AnswerOf(*result), WaitLimit::After(kForTheSecret, &stopped_)).IsDone();
  if (sent && result->line) Begin(std::move(client), std::move(*result->line));
}

std::optional<AttemptResult> BrokerServer::GetLine(const TcpStream& client) {
  lines_.Ask();
  while (!isStopping_) {
    if (auto result = lines_.Wait(WaitLimit::After(kBetweenLooks).until, askPassword_)) return result;
    // It has nothing to say before its answer; what comes is its end.
    WaitItem end{&client.Handle()};
    if (platform::WaitForSockets({&end, 1}, {}).IsDone()) break;
  }
  lines_.Withdraw();
  return std::nullopt;
}

void BrokerServer::Begin(TcpStream client, CallLine line) {
  Passage& passage = passages_.emplace_back();
  passage.client = std::move(client);
  passage.line = std::move(line);
  passage.thread = std::thread([this, &passage] { Pass(passage); });
}

void BrokerServer::Pass(Passage& passage) const {
  Bytes buffer(kBuffer);
  TcpStream& handheld = passage.line.stream;
  for (bool goesOn = true; goesOn;) {
    std::array<WaitItem, 3> items = {WaitItem{&passage.client.Handle()}, WaitItem{&handheld.Handle()},
                                     WaitItem{&passage.line.lost->Signalled()}};
    const SocketStatus waited = platform::WaitForSockets(items, WaitLimit::After(kLong, &stopped_)).status;
    if (waited == SocketStatus::TimedOut) continue;
    goesOn = waited == SocketStatus::Done && !items[2].isReady;
    if (goesOn && items[0].isReady) goesOn = MoveSome(passage.client, handheld, buffer, stopped_);
    if (goesOn && items[1].isReady) goesOn = MoveSome(handheld, passage.client, buffer, stopped_);
  }
  passage.client.Close();
  handheld.Close();
  passage.isOver = true;
}

void BrokerServer::ForgetFinished() {
  passages_.remove_if([](Passage& passage) {
    if (!passage.isOver) return false;
    passage.thread.join();  // it has nothing left to do
    return true;
  });
}

}  // namespace mv::wire
