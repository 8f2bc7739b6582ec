#include "device/simulator/CallConnection.h"

#include <algorithm>
#include <array>

#include "base/ByteOrder.h"

namespace mv::simulator {
namespace {

constexpr std::size_t kLengthWord = 4;
/// Largest request that is taken; a desktop sends blocks of 64 KiB.
constexpr std::uint32_t kLargestRequest = 16 * 1024 * 1024;

bool PassesInPart(const MessageFault* fault) {
  return fault != nullptr && (fault->kind == MessageFault::Kind::Cut || fault->kind == MessageFault::Kind::Stall);
}

Bytes Refused(wire::MessageVersion version, std::uint32_t result) {
  wire::MessageWriter reply;
  if (version == wire::MessageVersion::V1) reply.Word(1);
  reply.Word(result);
  return reply.Content();
}

}  // namespace

const MessageFault* CallConnection::FaultOf(Direction direction, std::size_t number) const {
  const auto& fault = options_.faults.message;
  return fault && fault->direction == direction && fault->message == number ? &*fault : nullptr;
}

void CallConnection::EndAfter(const MessageFault& fault) {
  if (fault.kind == MessageFault::Kind::Stall) link_.FallSilent();
}

void CallConnection::Run() {
  std::size_t number = 0;
  while (const auto request = ReceiveRequest(number)) {
    const MessageFault* fault = FaultOf(Direction::ToHandheld, number);
    const bool twice = fault != nullptr && fault->kind == MessageFault::Kind::Twice;
    if (!Answer(*request, number) || (twice && !Answer(*request, number))) return;
  }
}

std::optional<Bytes> CallConnection::ReceiveRequest(std::size_t& number) {
  std::array<std::uint8_t, kLengthWord> length = {};
  // Its first byte makes it a message that counts.
  if (!link_.Receive(std::span(length).first(1))) return std::nullopt;
  number = ++counters_.requests;
  const MessageFault* fault = FaultOf(Direction::ToHandheld, number);
  if (!PassesInPart(fault)) fault = nullptr;
  if (fault != nullptr && fault->bytes <= kLengthWord) {
    EndAfter(*fault);
    return std::nullopt;
  }
  if (!link_.Receive(std::span(length).subspan(1))) return std::nullopt;
  const auto size = LoadLittle<std::uint32_t>(length.data());
  if (size > kLargestRequest) return std::nullopt;
  const std::size_t passing = fault == nullptr ? size : std::min<std::size_t>(size, fault->bytes - kLengthWord);
  Bytes request(passing);
  if (!request.empty() && !link_.Receive(request)) return std::nullopt;
  if (fault == nullptr) return request;
  EndAfter(*fault);
  return std::nullopt;
}

bool CallConnection::Answer(ByteView request, std::size_t number) {
  const auto& refusal = options_.faults.refusal;
  const bool refuses = refusal && (refusal->message == number || (refusal->andAllAfter && number > refusal->message));
  const Bytes reply = refuses ? Refused(VersionOf(options_), refusal->result) : calls_.Answer(request);
  log_(std::string(DeviceCalls::NameOf(request, VersionOf(options_))) + ": " + std::to_string(request.size()) +
       " bytes in, " + std::to_string(reply.size()) + " out");
  const auto delay = options_.faults.delayPerReply;
  if (delay > std::chrono::milliseconds(0) && !link_.Pause(delay)) return false;
  return SendReply(reply);
}

bool CallConnection::SendReply(const Bytes& reply) {
  wire::MessageWriter writer;
  writer.Raw(reply);
  Bytes message = writer.Framed();
  const MessageFault* fault = FaultOf(Direction::ToDesktop, ++counters_.replies);
  if (fault == nullptr) return SendInPieces(message);
  if (PassesInPart(fault)) {
    message.resize(std::min(message.size(), fault->bytes));
    if (SendInPieces(message)) EndAfter(*fault);
    return false;
  }
  if (fault->kind == MessageFault::Kind::BadLength)
    StoreLittle(message.data(), static_cast<std::uint32_t>(fault->bytes));
  const bool twice = fault->kind == MessageFault::Kind::Twice;
  return SendInPieces(message) && (!twice || SendInPieces(message));
}

bool CallConnection::SendInPieces(ByteView message) {
  const std::size_t pieceSize = options_.faults.pieceSize == 0 ? message.size() : options_.faults.pieceSize;
  for (std::size_t at = 0; at < message.size(); at += pieceSize) {
    if (!link_.Send(message.subspan(at, std::min(pieceSize, message.size() - at)))) return false;
  }
  return true;
}

}  // namespace mv::simulator
