#include "device/simulator/HandheldSimulator.h"

#include <gtest/gtest.h>

#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/Hex.h"
#include "support/MemoryFileSystem.h"

namespace mv::simulator {
namespace {

using platform::SocketAddress;
using platform::SocketStatus;
using platform::TcpListener;
using platform::TcpStream;
using platform::WaitLimit;
using testing::FromHex;
using testing::ToHex;

constexpr std::chrono::seconds kSoon(5);
/// Long enough for what is not to come.
constexpr std::chrono::milliseconds kNever(60);

constexpr const char* kRecordA =
    "64000000 24000000 04143904 110a0000 00000000 44332211 00000000 24000000 36000000 48000000"
    "50006f00 63006b00 65007400 50004300 00005000 6f006300 6b006500 74005000 43000000 53006900"
    "6d004400 65007600 69006300 65002000 31003000 30000000";
constexpr const char* kRecordB =
    "04000000 7a000000 00112233 44556677 8899aabb ccddeeff 05000000 01000000 08000000 50006f00"
    "63006b00 65007400 50004300 00000100 0500110a 00000000 00004433 22110df0 ad0b0a00 0000506f"
    "636b6574 50430000 0d000000 53696d44 65766963 65203130 30000200 00001000 00000c00 00000b00"
    "00000000 00000000 0000";
constexpr const char* kPing = "78563412";
constexpr const char* kVersionRequest = "04000000 3b000000";

class FilesWithRoot : public testing::MemoryFileSystem {
 public:
  FilesWithRoot() { CreateFolders("D:\\root"); }
};

/// The desktop's end of a connection, byte by byte.
class Peer {
 public:
  void Send(const std::string& hex) { EXPECT_TRUE(stream.Send(FromHex(hex), WaitLimit::After(kSoon)).IsDone()) << hex; }
  /// So many bytes, as hex; fewer when the connection ends first.
  std::string Receive(std::size_t count) {
    Bytes bytes(count);
    std::size_t received = 0;
    stream.ReceiveExactly(bytes, received, WaitLimit::After(kSoon));
    bytes.resize(received);
    return ToHex(bytes);
  }
  void Expect(const std::string& hex) {
    const Bytes wanted = FromHex(hex);
    EXPECT_EQ(Receive(wanted.size()), ToHex(wanted));
  }
  /// How a wait for one byte more ends.
  SocketStatus Ending(std::chrono::milliseconds patience = kSoon) {
    Bytes byte(1);
    std::size_t count = 0;
    return stream.ReceiveSome(byte, count, WaitLimit::After(patience)).status;
  }
  void ExpectEnd() {
    const SocketStatus status = Ending();
    EXPECT_TRUE(status == SocketStatus::Closed || status == SocketStatus::Failed);
  }
  void ExpectSilence() { EXPECT_EQ(Ending(kNever), SocketStatus::TimedOut); }

  TcpStream stream;
};

/// A handheld that looks for the test. Its files are looked at only when it has ended.
class HandheldSimulatorTest : public ::testing::Test {
 protected:
  HandheldSimulatorTest() {
    EXPECT_TRUE(desktop_.Listen({platform::kLoopbackHost, 0}).IsDone());
    options_.desktop = desktop_.LocalAddress();
    options_.retry = std::chrono::milliseconds(5);
  }

  /// Ends the handheld before, and drops the connections that it left waiting: it may have called again meanwhile.
  void Start() {
    simulator_.reset();
    TcpStream left;
    while (desktop_.Accept(left, {}).IsDone()) {
    }
    simulator_.emplace(files_, "D:\\root", options_);
    simulator_->Start();
  }
  void StartB() {
    options_.family = Family::B;
    options_.device = SimulatedDevice::OfFamilyB();
    Start();
  }
  Peer Accept() {
    Peer peer;
    EXPECT_TRUE(desktop_.Accept(peer.stream, WaitLimit::After(kSoon)).IsDone());
    return peer;
  }
  /// Family A, up to and with the record.
  Peer AnnouncedA() {
    Peer control = Accept();
    control.Expect("00000000");
    control.Expect(kRecordA);
    return control;
  }
  Peer ConnectForCalls() {
    Peer calls;
    EXPECT_TRUE(calls.stream.Connect({options_.address, simulator_->CallsPort()}, WaitLimit::After(kSoon)).IsDone());
    return calls;
  }
  /// Family B, up to and with the record.
  Peer AnnouncedB(const std::string& lockKey = "00000000") {
    Peer control = Accept();
    control.Expect("00000000");
    control.Send("03000000");
    const std::string record = kRecordB;
    control.Expect(record.substr(0, record.size() - 9) + lockKey);
    return control;
  }

  FilesWithRoot files_;
  TcpListener desktop_;
  SimulatorOptions options_;
  std::optional<HandheldSimulator> simulator_;
};

// ---- Family A

TEST_F(HandheldSimulatorTest, FamilyAAnnouncesItselfFromItsOwnAddressAndAnswersPings) {
  Start();
  Peer control = AnnouncedA();
  EXPECT_EQ(control.stream.PeerAddress().host, options_.address);
  for (int i = 0; i < 3; ++i) {
    control.Send(kPing);
    control.Expect(kPing);
  }
}

TEST_F(HandheldSimulatorTest, FamilyATakesRemoteCallsOnSeveralConnectionsAtOnce) {
  Start();
  const Peer control = AnnouncedA();
  Peer first = ConnectForCalls();
  Peer second = ConnectForCalls();
  first.Send(kVersionRequest);
  second.Send(kVersionRequest);
  const std::string reply = "24010000 00000000 00000000 01000000 14010000 14010000 04000000 14000000";
  first.Expect(reply);
  second.Expect(reply);
  EXPECT_EQ(simulator_->Requests(), 2U);
}

TEST_F(HandheldSimulatorTest, FamilyAAsksForItsPasswordOnBothConnections) {
  options_.lock = Lock::Password;
  options_.password = "1234";
  Start();
  Peer control = Accept();
  control.Expect("5a7e0000");
  control.Expect(kRecordA);
  control.Send("0a00 6b5a685a695a6e5a5a5a");
  control.Expect("0100");
  control.Send(kPing);
  control.Expect(kPing);
  Peer calls = ConnectForCalls();
  calls.Send("0800 6b5a685a695a6e5a");  // without its NUL
  calls.Expect("01");
  calls.Send(kVersionRequest);
  calls.Expect("24010000");
}

TEST_F(HandheldSimulatorTest, WrongPasswordIsRefusedAndEndsTheConnection) {
  options_.lock = Lock::Password;
  options_.password = "1234";
  Start();
  Peer control = Accept();
  control.Receive(4 + 0x68);
  control.Send("0a00 6b5a685a695a6f5a5a5a");
  control.Expect("0000");
  control.ExpectEnd();
  Peer calls = ConnectForCalls();
  calls.Send("0000");
  calls.Expect("00");
  calls.ExpectEnd();
}

TEST_F(HandheldSimulatorTest, FamilyALeavesADesktopThatSaysNothing) {
  options_.patience = std::chrono::milliseconds(20);
  Start();
  AnnouncedA().ExpectEnd();
}

// ---- Family B

TEST_F(HandheldSimulatorTest, FamilyBAnnouncesItselfAndAnswersPings) {
  StartB();
  Peer control = AnnouncedB();
  control.Send("01000000");
  control.Expect("02000000");
}

TEST_F(HandheldSimulatorTest, FamilyBGreetsInThreeWays) {
  options_.greeting = Greeting::Both;
  StartB();
  Peer control = Accept();
  control.Expect("00000000");
  control.Send("03000000");
  control.Expect("06000000");
  control.Send("07000000 08000000 04000000 05000000");
  control.Expect("04000000 7a000000");
  simulator_.reset();
  options_.greeting = Greeting::Capabilities;
  StartB();
  control = Accept();
  control.Expect("06000000");
  control.Send("07000000 08000000 04000000 01000000");
  control.Expect("04000000 7a000000");
}

TEST_F(HandheldSimulatorTest, FamilyBComesWithTheIdThatWasAskedFor) {
  StartB();
  Peer control = AnnouncedB();
  control.Send("05000000 04000000 07000000");
  Peer calls = Accept();
  calls.Expect("07000000");
  calls.Send("04000000 43000000");
  calls.Expect("20010000 00000000 01000000 14010000 14010000 05000000 01000000 c3000000");
}

TEST_F(HandheldSimulatorTest, FamilyBAsksForItsPassword) {
  options_.lock = Lock::Password;
  options_.password = "1234";
  StartB();
  Peer control = AnnouncedB("5a7e0000");
  control.Send("0800 6b5a685a695a6e5a");
  control.Expect("0100");
  control.Send("05000000 04000000 01000000");
  Accept().Expect("01000000");
}

TEST_F(HandheldSimulatorTest, FamilyBIsUnlockedOnItsScreenBeforeItTakesCalls) {
  options_.lock = Lock::OnScreen;
  options_.unlocksAfter = std::chrono::milliseconds(5);
  StartB();
  Peer control = AnnouncedB("ffffffff");
  control.Send("05000000 04000000 01000000");  // not while it is locked
  control.Send("08000000");
  control.Expect("00000000");
  control.Send("00000000 0c000000");
  control.Send("05000000 04000000 02000000");
  Accept().Expect("02000000");
}

TEST_F(HandheldSimulatorTest, FamilyBMayWaitForTheDatagram) {
  options_.wakeUpPort = 0;
  StartB();
  platform::UdpSocket caller;
  ASSERT_TRUE(caller.Bind({platform::kLoopbackHost, 0}).IsDone());
  const SocketAddress handheld{options_.address, simulator_->WakeUpPort()};
  caller.Send(FromHex("7e"), handheld);
  TcpStream none;
  EXPECT_EQ(desktop_.Accept(none, WaitLimit::After(kNever)).status, SocketStatus::TimedOut);
  caller.Send(FromHex("7f"), handheld);
  AnnouncedB();
}

TEST_F(HandheldSimulatorTest, UnknownControlWordEndsTheConnection) {
  StartB();
  Peer control = AnnouncedB();
  control.Send("99000000");
  control.ExpectEnd();
}

// ---- Coming and going

TEST_F(HandheldSimulatorTest, HandheldComesBackAfterItWasDropped) {
  Start();
  Peer control = AnnouncedA();
  simulator_->DropConnections();
  control.ExpectEnd();
  AnnouncedA();
  EXPECT_EQ(simulator_->Announcements(), 2U);
}

TEST_F(HandheldSimulatorTest, HandheldThatDoesNotComeBackAnnouncesItselfOnce) {
  options_.comesBack = false;
  Start();
  AnnouncedA().stream.Close();
  TcpStream none;
  EXPECT_EQ(desktop_.Accept(none, WaitLimit::After(kNever)).status, SocketStatus::TimedOut);
}

TEST_F(HandheldSimulatorTest, PortOfSomebodyElseIsNamed) {
  options_.address = platform::kLoopbackHost;
  options_.callsPort = desktop_.LocalAddress().port;
  try {
    Start();
    FAIL() << "the port is taken";
  } catch (const Error& error) {
    EXPECT_NE(error.Description().find(desktop_.LocalAddress().Text()), std::string::npos) << error.Description();
  }
}

TEST_F(HandheldSimulatorTest, NothingThatADesktopSendsHarmsIt) {
  Start();
  const Peer control = AnnouncedA();
  for (const char* message : {"ffffffff", "00000000", "01000000 00", "04000000 ffffffff", "ffffff7f 00000000"}) {
    Peer calls = ConnectForCalls();
    calls.Send(message);
    calls.stream.ShutDown();
    while (calls.Ending() == SocketStatus::Done) {
    }
  }
  Peer calls = ConnectForCalls();
  calls.Send(kVersionRequest);
  calls.Expect("24010000");
}

// ---- Faults

TEST_F(HandheldSimulatorTest, FaultsOfTheControlConnection) {
  options_.faults.pingsAnswered = 1;
  Start();
  Peer control = AnnouncedA();
  control.Send(kPing);
  control.Expect(kPing);
  control.Send(kPing);
  control.ExpectSilence();

  options_.faults = {};
  options_.faults.closesControlAfterPings = 1;
  Start();
  control = AnnouncedA();
  control.Send(kPing);
  control.ExpectEnd();

  options_.faults = {};
  options_.faults.connectsSilently = true;
  Start();
  Accept().ExpectSilence();

  options_.faults = {};
  options_.faults.announcement = FromHex("24000000 ff");
  Start();
  Accept().Expect("00000000 24000000 ff");

  options_.faults = {};
  options_.faults.neverAnnounces = true;
  Start();
  TcpStream none;
  EXPECT_EQ(desktop_.Accept(none, WaitLimit::After(kNever)).status, SocketStatus::TimedOut);
}

TEST_F(HandheldSimulatorTest, FaultsOfOpeningARemoteCallConnection) {
  options_.faults.wrongConnectionId = true;
  StartB();
  Peer control = AnnouncedB();
  control.Send("05000000 04000000 01000000");
  Accept().Expect("01100000");
  simulator_.reset();

  options_.faults = {};
  options_.faults.noCallConnection = true;
  StartB();
  control = AnnouncedB();
  control.Send("05000000 04000000 01000000");
  TcpStream none;
  EXPECT_EQ(desktop_.Accept(none, WaitLimit::After(kNever)).status, SocketStatus::TimedOut);

  options_.family = Family::A;
  Start();
  EXPECT_EQ(simulator_->CallsPort(), 0);
}

class SimulatorMessageFaults : public HandheldSimulatorTest {
 protected:
  /// A remote-call connection of family A with version 2, whose second message goes wrong.
  Peer Begin(MessageFault::Kind kind, Direction direction, std::size_t bytes) {
    options_.faults.message = MessageFault{kind, direction, 2, bytes};
    return Begin();
  }
  Peer Begin() {
    options_.version = wire::MessageVersion::V2;
    Start();
    control_ = AnnouncedA();
    Peer calls = ConnectForCalls();
    calls.Send(kClose);
    calls.Expect(kClosed);
    return calls;
  }

  static constexpr const char* kClose = "08000000 19000000 00000000";
  static constexpr const char* kClosed = "08000000 06000000 00000000";
  static constexpr const char* kCreateFolder = "0e000000 28000000 06000000 5c005400 0000";
  Peer control_;
};

TEST_F(SimulatorMessageFaults, ReplyIsCutAtAnyByteAndTheCallWasCarriedOut) {
  for (const std::size_t bytes : {0, 3, 4, 7, 11}) {
    Peer calls = Begin(MessageFault::Kind::Cut, Direction::ToDesktop, bytes);
    calls.Send(kCreateFolder);
    EXPECT_EQ(FromHex(calls.Receive(12)).size(), bytes);
    calls.ExpectEnd();
    simulator_.reset();
    EXPECT_TRUE(files_.FolderExists("D:\\root\\T"));
    files_.RemoveFolder("D:\\root\\T");
  }
}

TEST_F(SimulatorMessageFaults, RequestIsCutAndNotCarriedOut) {
  for (const std::size_t bytes : {0, 2, 4, 9, 17}) {
    Peer calls = Begin(MessageFault::Kind::Cut, Direction::ToHandheld, bytes);
    calls.Send(kCreateFolder);
    calls.ExpectEnd();
    simulator_.reset();
    EXPECT_FALSE(files_.FolderExists("D:\\root\\T"));
  }
}

TEST_F(SimulatorMessageFaults, MessagesStallInBothDirections) {
  Peer calls = Begin(MessageFault::Kind::Stall, Direction::ToDesktop, 5);
  calls.Send(kCreateFolder);
  EXPECT_EQ(FromHex(calls.Receive(5)).size(), 5U);
  calls.ExpectSilence();
  simulator_.reset();
  calls = Begin(MessageFault::Kind::Stall, Direction::ToHandheld, 5);
  calls.Send(kCreateFolder);
  calls.ExpectSilence();
}

TEST_F(SimulatorMessageFaults, MessagesComeTwice) {
  Peer calls = Begin(MessageFault::Kind::Twice, Direction::ToDesktop, 0);
  calls.Send(kCreateFolder);
  calls.Expect("08000000 00000000 01000000 08000000 00000000 01000000");
  simulator_.reset();
  files_.RemoveFolder("D:\\root\\T");
  calls = Begin(MessageFault::Kind::Twice, Direction::ToHandheld, 0);
  calls.Send(kCreateFolder);
  calls.Expect("08000000 00000000 01000000 08000000 b7000000 00000000");
}

TEST_F(SimulatorMessageFaults, LengthWordIsWrong) {
  for (const std::size_t length : {0, 3, 0x7FFFFFFF}) {
    Peer calls = Begin(MessageFault::Kind::BadLength, Direction::ToDesktop, length);
    calls.Send(kClose);
    wire::MessageWriter word;
    word.Word(static_cast<std::uint32_t>(length));
    EXPECT_EQ(calls.Receive(4), ToHex(word.Content()));
    calls.Expect("06000000 00000000");
    simulator_.reset();
  }
}

TEST_F(SimulatorMessageFaults, RepliesComeLateAndInPieces) {
  options_.faults.delayPerReply = std::chrono::milliseconds(30);
  options_.faults.pieceSize = 3;
  const auto before = std::chrono::steady_clock::now();
  Peer calls = Begin();
  EXPECT_GE(std::chrono::steady_clock::now() - before, options_.faults.delayPerReply);
}

TEST_F(SimulatorMessageFaults, CallIsRefusedWithAnHresult) {
  options_.faults.refusal = Refusal{1, false, 0x80070005};
  Start();
  control_ = AnnouncedA();
  Peer calls = ConnectForCalls();
  calls.Send("08000000 08000000 00000000");
  calls.Expect("08000000 01000000 05000780");
  calls.Send("08000000 08000000 00000000");
  calls.Expect("0c000000 00000000 06000000 00000000");
}

TEST_F(SimulatorMessageFaults, Version2RefusesACallWithAnErrorCodeAlone) {
  options_.faults.refusal = Refusal{2, false, 5};
  Peer calls = Begin();
  calls.Send(kCreateFolder);
  calls.Expect("04000000 05000000");
  calls.Send(kClose);
  calls.Expect(kClosed);
}

TEST_F(HandheldSimulatorTest, PasswordIsRefusedWhateverItIs) {
  options_.lock = Lock::Password;
  options_.password = "1234";
  options_.faults.refusesPassword = true;
  Start();
  Peer control = Accept();
  control.Receive(4 + 0x68);
  control.Send("0a00 6b5a685a695a6e5a5a5a");
  control.Expect("0000");
}

}  // namespace
}  // namespace mv::simulator
