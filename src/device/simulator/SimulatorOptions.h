#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "device/message/Commands.h"
#include "platform/Socket.h"

namespace mv::simulator {

/// How a handheld announces itself: family A up to Windows CE 4.x, family B from 5.0.
enum class Family { A, B };

/// What a handheld tells of itself.
struct SimulatedDevice {
  std::uint32_t major = 4;
  std::uint32_t minor = 20;
  std::uint32_t build = 1081;
  std::string name = "PocketPC";
  std::string platform = "PocketPC";
  std::string model = "SimDevice 100";
  std::uint32_t partnership = 0x11223344;
  std::uint32_t identifier = 0x0BADF00D;  ///< family B only

  /// Windows CE 4.20, which is family A with version 1.
  static SimulatedDevice OfFamilyA() { return {}; }
  /// Windows CE 5.1, which is family B with version 2.
  static SimulatedDevice OfFamilyB() {
    SimulatedDevice device;
    device.major = 5;
    device.minor = 1;
    device.build = 195;
    return device;
  }
};

/// What keeps the handheld from answering at once.
enum class Lock {
  None,
  Password,
  OnScreen,  ///< family B only: its user unlocks it on its own screen
};

/// The words that a handheld of family B begins with, before its record.
enum class Greeting { Hello, Capabilities, Both };

/// How the record of a found file is sent.
enum class FindRecord {
  AsShort,        ///< cut after the name's NUL; a count of 0 when nothing was found
  LeftOutIfNone,  ///< not even the count when nothing was found
  FullSize,       ///< all 560 bytes
};

enum class Direction { ToDesktop, ToHandheld };

/// What becomes of one message of the remote-call connections.
struct MessageFault {
  enum class Kind {
    Cut,        ///< `bytes` of it pass, then the connection is closed
    Stall,      ///< `bytes` of it pass, and nothing more on this connection
    Twice,      ///< ToHandheld: it is carried out twice, and answered twice. ToDesktop: it is sent twice
    BadLength,  ///< ToDesktop only: its length word is `bytes`, the rest as it was
  };

  Kind kind = Kind::Cut;
  Direction direction = Direction::ToDesktop;
  std::size_t message = 1;  ///< which one: counted from 1 over all connections, in that direction
  std::size_t bytes = 0;    ///< the message's length word included
};

/// A call that is not run: in place of its result comes status 1 and an HRESULT in version 1, an error code alone in
/// version 2.
struct Refusal {
  std::size_t message = 1;  ///< which call: counted from 1 over all connections
  bool andAllAfter = false;
  std::uint32_t result = 0x80004005;
};

/// What the handheld does wrong. As it stands: nothing.
struct SimulatorFaults {
  bool refusesPassword = false;
  /// The handheld never connects.
  bool neverAnnounces = false;
  /// It connects and says nothing at all.
  bool connectsSilently = false;
  /// It answers so many pings, and no more.
  std::optional<std::size_t> pingsAnswered = {};
  /// It closes the control connection after so many pings.
  std::optional<std::size_t> closesControlAfterPings = {};
  /// Sent in place of the information record, its length word included.
  std::optional<Bytes> announcement = {};
  /// Family A: nobody accepts remote-call connections. Family B: the connection that the desktop asks for never comes.
  bool noCallConnection = false;
  /// Family B: the connection comes with an id that nobody asked for.
  bool wrongConnectionId = false;

  std::optional<MessageFault> message = {};
  std::optional<Refusal> refusal = {};
  /// Before every reply.
  std::chrono::milliseconds delayPerReply{0};
  /// Replies are sent in pieces of so many bytes; 0: whole.
  std::size_t pieceSize = 0;
  /// A read gives no more than so many bytes; 0: what there is.
  std::uint32_t longestRead = 0;
  FindRecord findRecord = FindRecord::AsShort;
  /// Added to the size that an open file is said to have.
  std::uint32_t addedSize = 0;
  /// Each file takes so many bytes, then the store is full (112): a write may end short.
  std::optional<std::uint64_t> fullAfter = {};
};

struct SimulatorOptions {
  Family family = Family::A;
  /// Layout of the remote calls; nothing: that of the system told.
  std::optional<wire::MessageVersion> version = {};
  SimulatedDevice device;
  Lock lock = Lock::None;
  std::string password;  ///< for Lock::Password
  /// For Lock::OnScreen: how long the user takes.
  std::chrono::milliseconds unlocksAfter{50};
  Greeting greeting = Greeting::Hello;

  /// The handheld's own address. The desktop takes a handheld for the one at the address that it connects from.
  std::array<std::uint8_t, 4> address = {127, 0, 0, 2};
  /// The desktop's control port of the family; also where family B opens remote-call connections.
  platform::SocketAddress desktop = {platform::kLoopbackHost, 0};
  /// Family A: where the handheld listens for remote-call connections; 0: any free port.
  std::uint16_t callsPort = 0;
  /// Family B: the UDP port at which the handheld waits for the datagram that calls it, and connects only then; 0: any
  /// free port. Nothing: it connects by itself.
  std::optional<std::uint16_t> wakeUpPort = {};

  /// How long it waits before it tries again to reach the desktop, and after it was disconnected.
  std::chrono::milliseconds retry{50};
  /// It connects anew after it was disconnected.
  bool comesBack = true;
  /// It gives up a desktop that says nothing for so long. Family A does; 0: never.
  std::chrono::milliseconds patience{15000};

  SimulatorFaults faults;
  /// Gets a line for each thing that happens, on any thread, one at a time. Never a password or a file's content.
  std::function<void(const std::string& line)> log = {};
};

/// V2 from Windows CE 5.1 on, V1 before it and, with a minor version of 0, after it.
inline wire::MessageVersion VersionOf(const SimulatorOptions& options) {
  if (options.version) return *options.version;
  return options.device.major > 4 && options.device.minor > 0 ? wire::MessageVersion::V2 : wire::MessageVersion::V1;
}

}  // namespace mv::simulator
