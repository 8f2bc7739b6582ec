#include "device/wire/ControlProtocol.h"

#include <utility>

#include "base/ByteOrder.h"
#include "device/message/MessageWriter.h"
#include "device/wire/Password.h"

namespace mv::wire {
namespace {

constexpr std::size_t kWord = 4;

std::uint32_t WordAt(ByteView input, std::size_t at) {
  return LoadLittle<std::uint32_t>(input.data() + at);
}

class FamilyA : public ControlProtocol {
 public:
  using ControlProtocol::ControlProtocol;
  Family OwnFamily() const override { return Family::A; }

 protected:
  std::size_t TakeMessage(ByteView input) override;
  std::uint32_t PingWord() const override { return family_a::kPing; }

 private:
  void TakeRecord(ByteView record);
  void TakeChallenge(std::uint32_t word);

  bool isAnnounced_ = false;
  bool isLocked_ = false;
};

std::size_t FamilyA::TakeMessage(ByteView input) {
  if (input.size() < kWord) return 0;
  const std::uint32_t word = WordAt(input, 0);
  if (word == family_a::kHello) return kWord;
  if (word == family_a::kPing) {
    PingAnswered();
    return kWord;
  }
  if (word < family_a::kSmallestRecord) {
    Break("a record of " + std::to_string(word) + " bytes");
    return kWord;
  }
  if (word > family_a::kLargestRecord) {
    TakeChallenge(word);
    return kWord;
  }
  if (input.size() < kWord + word) return 0;
  TakeRecord(input.subspan(kWord, word));
  return kWord + word;
}

void FamilyA::TakeRecord(ByteView record) {
  Announce(ParseRecordA(record).value());
  isAnnounced_ = true;
  Enter(isLocked_ ? ControlState::NeedsPassword : ControlState::Ready);
}

void FamilyA::TakeChallenge(std::uint32_t word) {
  Challenge(static_cast<std::uint8_t>(word));
  isLocked_ = true;
  if (isAnnounced_) Enter(ControlState::NeedsPassword);
}

class FamilyB : public ControlProtocol {
 public:
  using ControlProtocol::ControlProtocol;
  Family OwnFamily() const override { return Family::B; }

 protected:
  std::size_t TakeMessage(ByteView input) override;
  std::uint32_t PingWord() const override { return family_b::kPing; }

 private:
  /// A real record has less than 700 bytes, and a block of unknown length may follow.
  static constexpr std::size_t kLongestRecord = 4096;

  void TakeHello();
  std::size_t TakeRecord(ByteView input);
};

std::size_t FamilyB::TakeMessage(ByteView input) {
  if (input.size() < kWord) return 0;
  const std::uint32_t word = WordAt(input, 0);
  switch (word) {
    case family_b::kHello:
      TakeHello();
      return kWord;
    case family_b::kPingAnswer:
      PingAnswered();
      return kWord;
    case family_b::kCapabilities:
      Send({family_b::kCapabilitiesAnswer, 8, 4, 5});
      return kWord;
    case family_b::kRecord:
      return TakeRecord(input);
    default:
      Break("the control word " + std::to_string(word));
      return kWord;
  }
}

void FamilyB::TakeHello() {
  if (State() != ControlState::LockedOnScreen) return Send({family_b::kHelloAnswer});
  Send({family_b::kHello, family_b::kUnlockConfirmed});
  Enter(ControlState::Ready);
}

std::size_t FamilyB::TakeRecord(ByteView input) {
  if (input.size() < 2 * kWord) return 0;
  const std::uint32_t length = WordAt(input, kWord);
  if (length > kLongestRecord) {
    Break("a record of " + std::to_string(length) + " bytes");
    return 2 * kWord;
  }
  if (input.size() < 2 * kWord + length) return 0;
  const std::optional<Announcement> handheld = ParseRecordB(input.subspan(2 * kWord, length));
  if (!handheld) {
    Break("a record with impossible counts");
  } else {
    Announce(*handheld);
    if (handheld->lockKey == family_b::kLockedOnScreen) {
      Send({family_b::kShowUnlockScreen});
      Enter(ControlState::LockedOnScreen);
    } else if (handheld->lockKey != family_b::kNotLocked) {
      Challenge(static_cast<std::uint8_t>(handheld->lockKey));
      Enter(ControlState::NeedsPassword);
    } else {
      Enter(ControlState::Ready);
    }
  }
  return 2 * kWord + length;
}

}  // namespace

void ControlProtocol::Receive(ByteView bytes) {
  input_.insert(input_.end(), bytes.begin(), bytes.end());
  std::size_t taken = 0;
  while (state_ != ControlState::Broken && state_ != ControlState::Refused) {
    const ByteView rest = ByteView(input_).subspan(taken);
    const std::size_t length = state_ == ControlState::AwaitsAnswer ? TakePasswordAnswer(rest) : TakeMessage(rest);
    if (length == 0) break;
    taken += length;
  }
  input_.erase(input_.begin(), input_.begin() + static_cast<std::ptrdiff_t>(taken));
}

std::size_t ControlProtocol::TakePasswordAnswer(ByteView input) {
  constexpr std::size_t kLength = 2;
  if (input.size() < kLength) return 0;
  const bool isRefused = LoadLittle<std::uint16_t>(input.data()) == 0;
  state_ = isRefused ? ControlState::Refused : ControlState::Ready;
  return kLength;
}

Bytes ControlProtocol::TakeOutput() {
  return std::exchange(output_, {});
}

void ControlProtocol::Send(std::initializer_list<std::uint32_t> words) {
  MessageWriter message;
  for (const std::uint32_t word : words) message.Word(word);
  output_.insert(output_.end(), message.Content().begin(), message.Content().end());
}

void ControlProtocol::Announce(Announcement handheld) {
  handheld_ = std::move(handheld);
}

void ControlProtocol::Break(std::string problem) {
  state_ = ControlState::Broken;
  problem_ = std::move(problem);
}

void ControlProtocol::SendPassword(std::string_view password) {
  const Bytes encoded = EncodedPassword(password, key_.value(), passwordEnd_);
  output_.insert(output_.end(), encoded.begin(), encoded.end());
  state_ = ControlState::AwaitsAnswer;
}

void ControlProtocol::Ping() {
  Send({PingWord()});
  ++unansweredPings_;
}

std::unique_ptr<ControlProtocol> MakeControlProtocol(Family family, std::optional<PasswordEnd> passwordEnd) {
  if (family == Family::A) return std::make_unique<FamilyA>(passwordEnd.value_or(PasswordEnd::Nul));
  return std::make_unique<FamilyB>(passwordEnd.value_or(PasswordEnd::None));
}

Bytes ConnectionRequest(std::uint32_t id) {
  MessageWriter message;
  for (const std::uint32_t word : {family_b::kOpenConnection, std::uint32_t{4}, id}) message.Word(word);
  return message.Content();
}

}  // namespace mv::wire
