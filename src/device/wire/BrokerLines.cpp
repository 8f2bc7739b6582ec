#include "device/wire/BrokerLines.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "device/message/MessageReader.h"
#include "device/wire/BrokerServer.h"
#include "platform/PrivateFiles.h"

namespace mv::wire {
namespace {

using platform::SocketStatus;
using platform::WaitLimit;

/// On this machine nothing takes longer.
constexpr std::chrono::seconds kAtOnce(2);
constexpr std::size_t kLengthWord = 4;
constexpr std::uint32_t kLongestAnswer = 8192;

AttemptResult Failed() {
  return {results::kFailed, {}};
}

}  // namespace

void BrokerLines::Ask() {
  Withdraw();
  if (!stream_.Connect({platform::kLoopbackHost, ticket_.port}, WaitLimit::After(kAtOnce)).IsDone()) return Withdraw();
  if (!stream_.Send(ticket_.secret, WaitLimit::After(kAtOnce)).IsDone()) Withdraw();
}

void BrokerLines::Withdraw() {
  stream_ = {};
  answer_.clear();
}

SocketStatus BrokerLines::Receive(std::size_t wanted, platform::SteadyTime until) {
  while (answer_.size() < wanted) {
    Bytes some(wanted - answer_.size());
    std::size_t count = 0;
    const SocketStatus status = stream_.ReceiveSome(some, count, {until}).status;
    answer_.insert(answer_.end(), some.begin(), some.begin() + static_cast<std::ptrdiff_t>(count));
    if (status != SocketStatus::Done) return status;
  }
  return SocketStatus::Done;
}

std::optional<AttemptResult> BrokerLines::Wait(platform::SteadyTime until, const Rendezvous::AskPassword&) {
  if (!stream_.IsOpen()) return Failed();
  SocketStatus status = Receive(kLengthWord, until);
  if (status == SocketStatus::Done) {
    const auto length = LoadLittle<std::uint32_t>(answer_.data());
    if (length > kLongestAnswer) return Failed();
    status = Receive(kLengthWord + length, until);
  }
  if (status == SocketStatus::TimedOut) return std::nullopt;
  return status == SocketStatus::Done ? Settle() : Failed();
}

AttemptResult BrokerLines::Settle() {
  MessageReader reader(ByteView(answer_).subspan(kLengthWord));
  AttemptResult result;
  result.code = static_cast<std::int32_t>(reader.Word());
  if (!reader.IsGood()) return Failed();
  if (result.code != results::kConnected) return result;
  CallLine line;
  line.version = reader.Word() == 2 ? MessageVersion::V2 : MessageVersion::V1;
  line.handheld.major = reader.Word();
  line.handheld.minor = reader.Word();
  line.handheld.name = reader.ShortString().value_or("");
  line.handheld.platform = reader.ShortString().value_or("");
  line.handheld.model = reader.ShortString().value_or("");
  for (std::uint8_t& part : line.address.host) part = reader.Byte();
  line.address.port = reader.Half();
  if (!reader.IsGood()) return Failed();
  line.lost = std::make_shared<platform::WakeUp>();
  line.stream = std::exchange(stream_, {});
  answer_.clear();
  result.line = std::move(line);
  return result;
}

WireStatus BrokerLines::Status() const {
  WireStatus status;
  status.handheld = "handhelds call the program that listens for them (mvtool listen); it tells more";
  return status;
}

std::unique_ptr<LineSource> FindBrokerLines() {
  try {
    const auto files = platform::MakeFileSystem();
    const std::optional<BrokerTicket> ticket = BrokerPlace(*files, platform::PrivateRuntimeFolder()).Find();
    return ticket ? std::make_unique<BrokerLines>(*ticket) : nullptr;
  } catch (const Error&) {
    return nullptr;  // without a place of its own for this user there is no such program
  }
}

}  // namespace mv::wire
