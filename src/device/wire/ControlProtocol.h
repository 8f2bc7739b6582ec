#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "device/wire/Announcement.h"
#include "device/wire/WireOptions.h"

namespace mv::wire {

/// The two ways in which handhelds announce themselves: A up to Windows CE 4.x, B in 5.x.
enum class Family { A, B };

/// How far a handheld has come.
enum class ControlState {
  Announcing,      ///< its record is still to come
  NeedsPassword,   ///< announced, and locked with a password
  AwaitsAnswer,    ///< the password is on its way
  LockedOnScreen,  ///< announced, and to be unlocked by hand
  Ready,           ///< takes remote calls
  Refused,         ///< did not like the password; the connection is over
  Broken,          ///< sent what cannot be understood; the connection is over
};

/// The desktop's end of a control connection, without the connection: takes the bytes that arrive, in pieces of any
/// size, and gives the bytes to send. What it is given is not to be trusted; it keeps no more of it than the longest
/// message.
class ControlProtocol {
 public:
  explicit ControlProtocol(PasswordEnd passwordEnd) : passwordEnd_(passwordEnd) {}
  virtual ~ControlProtocol() = default;

  void Receive(ByteView bytes);
  /// What is to be sent now.
  Bytes TakeOutput();

  ControlState State() const { return state_; }
  /// Valid from NeedsPassword, LockedOnScreen or Ready on.
  const Announcement& Handheld() const { return handheld_; }
  /// Why the state is Broken.
  const std::string& Problem() const { return problem_; }

  /// When the state is NeedsPassword.
  void SendPassword(std::string_view password);
  void Ping();
  /// Pings in a row that were not answered.
  int UnansweredPings() const { return unansweredPings_; }
  /// Key of the last challenge; nothing when there was none.
  std::optional<std::uint8_t> PasswordKey() const { return key_; }
  PasswordEnd EndOfPassword() const { return passwordEnd_; }

  virtual Family OwnFamily() const = 0;

 protected:
  /// Takes the message at the front of `input`, which is longer than none. Its length; 0 when it is not whole.
  virtual std::size_t TakeMessage(ByteView input) = 0;
  virtual std::uint32_t PingWord() const = 0;

  void Send(std::initializer_list<std::uint32_t> words);
  void Enter(ControlState state) { state_ = state; }
  void Break(std::string problem);
  void Announce(Announcement handheld);
  void Challenge(std::uint8_t key) { key_ = key; }
  void PingAnswered() { unansweredPings_ = 0; }

 private:
  /// The handheld's word on the password.
  std::size_t TakePasswordAnswer(ByteView input);

  PasswordEnd passwordEnd_;
  ControlState state_ = ControlState::Announcing;
  Announcement handheld_;
  std::optional<std::uint8_t> key_;
  int unansweredPings_ = 0;
  Bytes input_;
  Bytes output_;
  std::string problem_;
};

/// `passwordEnd`: nothing for the family's usual form.
std::unique_ptr<ControlProtocol> MakeControlProtocol(Family family, std::optional<PasswordEnd> passwordEnd);

/// In family B: asks the handheld for a connection for remote calls, which is to begin with `id`.
Bytes ConnectionRequest(std::uint32_t id);

}  // namespace mv::wire
