#include "device/simulator/ControlSide.h"

#include "device/message/MessageWriter.h"
#include "device/simulator/Announcement.h"

namespace mv::simulator {
namespace {

namespace family_a = wire::family_a;
namespace family_b = wire::family_b;

/// More than any password takes.
constexpr std::uint16_t kLongestPassword = 512;

/// Pings as the faults would have them answered.
class Pings {
 public:
  explicit Pings(const SimulatorFaults& faults) : faults_(faults) {}

  /// False when the connection is to be closed instead.
  bool Answer(SimulatorLink& link, std::uint32_t answer) {
    ++count_;
    if (faults_.closesControlAfterPings && count_ >= *faults_.closesControlAfterPings) return false;
    if (faults_.pingsAnswered && count_ > *faults_.pingsAnswered) return true;
    return link.SendWords({answer});
  }

 private:
  const SimulatorFaults& faults_;
  std::size_t count_ = 0;
};

/// Receives the password and answers with a u16. False when it was refused, or the connection ended.
bool PassPassword(SimulatorLink& link, const ControlContext& context) {
  const std::optional<bool> taken = ReceivePassword(link, context.options);
  if (!taken) return false;
  context.log(*taken ? "password accepted" : "password refused");
  wire::MessageWriter answer;
  answer.Half(*taken ? 1 : 0);
  return link.Send(answer.Content()) && *taken;
}

bool SendAnnouncement(SimulatorLink& link, const SimulatorOptions& options, const Bytes& usual) {
  return link.Send(options.faults.announcement.value_or(usual));
}

void CloseFor(const ControlContext& context, std::uint32_t word) {
  context.log("the desktop sent the unknown word " + std::to_string(word));
}

/// A control connection of family B.
class ConversationB {
 public:
  ConversationB(SimulatorLink& link, const ControlContext& context)
      : link_(link), context_(context), options_(context.options), pings_(options_.faults), lock_(options_.lock) {}

  void Run() {
    if (!Greet() || !SendAnnouncement(link_, options_, AnnouncementB(options_.device, lock_))) return;
    context_.log("announced");
    if (lock_ == Lock::Password) {
      if (!PassPassword(link_, context_)) return;
      lock_ = Lock::None;
    }
    while (const auto word = link_.ReceiveWord()) {
      if (!Take(*word)) return;
    }
  }

 private:
  /// Receives the words of an answer. Their values count only as far as they are known.
  bool Expect(std::uint32_t first, int more) {
    if (link_.ReceiveWord() != first) return false;
    for (int i = 0; i < more; ++i) {
      if (!link_.ReceiveWord()) return false;
    }
    return true;
  }

  bool Greet() {
    const bool says0 = options_.greeting != Greeting::Capabilities;
    const bool says6 = options_.greeting != Greeting::Hello;
    if (says0 && (!link_.SendWords({family_b::kHello}) || !Expect(family_b::kHelloAnswer, 0))) return false;
    return !says6 || (link_.SendWords({family_b::kCapabilities}) && Expect(family_b::kCapabilitiesAnswer, 3));
  }

  /// False when the connection is to be closed.
  bool Take(std::uint32_t word) {
    switch (word) {
      case family_b::kPing:
        return pings_.Answer(link_, family_b::kPingAnswer);
      case family_b::kOpenConnection:
        return OpenCalls();
      case family_b::kShowUnlockScreen:
        return Unlock();
      case family_b::kHello:
        return Confirm();
      default:
        CloseFor(context_, word);
        return false;
    }
  }

  bool OpenCalls() {
    const auto length = link_.ReceiveWord();
    const auto id = length == sizeof(std::uint32_t) ? link_.ReceiveWord() : std::nullopt;
    if (!id) return false;
    if (lock_ != Lock::None) {
      context_.log("a remote-call connection was asked for while the handheld is locked");
    } else if (!options_.faults.noCallConnection) {
      context_.openCalls(options_.faults.wrongConnectionId ? *id + 0x1000 : *id);
    }
    return true;
  }

  bool Unlock() {
    if (lock_ != Lock::OnScreen) return true;
    context_.log("the unlock screen is shown");
    if (!link_.Pause(options_.unlocksAfter)) return false;
    wasUnlocked_ = true;
    return link_.SendWords({family_b::kHello});
  }

  bool Confirm() {
    if (!wasUnlocked_ || link_.ReceiveWord() != family_b::kUnlockConfirmed) return false;
    context_.log("unlocked");
    lock_ = Lock::None;
    return true;
  }

  SimulatorLink& link_;
  const ControlContext& context_;
  const SimulatorOptions& options_;
  Pings pings_;
  Lock lock_;
  bool wasUnlocked_ = false;
};

}  // namespace

std::optional<bool> ReceivePassword(SimulatorLink& link, const SimulatorOptions& options) {
  const auto count = link.ReceiveHalf();
  if (!count || *count > kLongestPassword) return std::nullopt;
  Bytes encoded(*count);
  if (!encoded.empty() && !link.Receive(encoded)) return std::nullopt;
  return !options.faults.refusesPassword && IsPassword(encoded, options.password);
}

void ConverseA(SimulatorLink& link, const ControlContext& context) {
  const SimulatorOptions& options = context.options;
  if (options.faults.connectsSilently) return link.FallSilent();
  const bool isLocked = options.lock == Lock::Password;
  if (!link.SendWords({isLocked ? kLockKey : family_a::kHello})) return;
  if (!SendAnnouncement(link, options, AnnouncementA(options.device))) return;
  context.log("announced");
  if (isLocked && !PassPassword(link, context)) return;
  Pings pings(options.faults);
  while (const auto word = link.ReceiveWord(options.patience)) {
    if (*word != family_a::kPing) return CloseFor(context, *word);
    if (!pings.Answer(link, family_a::kPing)) return;
  }
}

void ConverseB(SimulatorLink& link, const ControlContext& context) {
  if (context.options.faults.connectsSilently) return link.FallSilent();
  ConversationB(link, context).Run();
}

}  // namespace mv::simulator
