#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>

#include "device/modWinCEFileManagement.h"
#include "support/WiredHandheld.h"

namespace mv::wire {
namespace {

using simulator::Direction;
using simulator::MessageFault;
using simulator::SimulatorOptions;
using testing::WiredHandheld;

/// An upload that may not overwrite, which asks first; and a download.
enum class Copy { Up, Down };

struct LossCase {
  const char* name;
  MessageVersion version;
  Copy copy;
};

void PrintTo(const LossCase& loss, std::ostream* out) {
  *out << loss.name;
}

constexpr const char* kDevicePath = "\\Motorva\\a.pdb";
constexpr const char* kDesktopPath = "C:\\work\\a.pdb";
const Bytes kContent = {1, 2, 3};

/// A desktop and a handheld with a fault, and the copies between them.
class World {
 public:
  World(const LossCase& loss, const simulator::SimulatorFaults& faults, WireOptions desktop)
      : copy_(loss.copy), handheld_(Device(loss.version, faults), std::move(desktop)) {
    desktop_.CreateFolders("C:\\work");
    if (copy_ == Copy::Down) handheld_.Files().Put("D:\\root\\Motorva\\a.pdb", kContent);
    if (copy_ == Copy::Up) desktop_.Put(kDesktopPath, kContent);
  }

  /// The copy's code, over a connection of its own.
  int Run() {
    connection_.ConnectDevice();
    const DeviceCopyResult result = copy_ == Copy::Down
                                        ? copies_.CopyFileFromDevice(kDevicePath, kDesktopPath, Overwrite::Yes)
                                        : copies_.CopyFileToDevice(kDesktopPath, kDevicePath, Overwrite::No);
    return static_cast<int>(result);
  }
  /// Ends the connection on both ends, and removes what an upload has made.
  void Clear() {
    connection_.DisconnectDevice();
    // What the handheld has received it still carries out.
    while (openConnections_ > 0) std::this_thread::yield();
    if (copy_ == Copy::Up) handheld_.Device().Store().Delete(kDevicePath);
  }
  Bytes Result() {
    connection_.DisconnectDevice();
    handheld_.Device().Stop();
    return copy_ == Copy::Down ? desktop_.Content(kDesktopPath) : handheld_.Files().Content("D:\\root\\Motorva\\a.pdb");
  }
  std::size_t Messages() { return handheld_.Device().Requests(); }

 private:
  SimulatorOptions Device(MessageVersion version, const simulator::SimulatorFaults& faults) {
    SimulatorOptions device;
    device.faults = faults;
    device.log = [this](const std::string& line) {
      if (line == "remote-call connection opened") ++openConnections_;
      if (line == "remote-call connection closed") --openConnections_;
    };
    if (version == MessageVersion::V1) return device;
    device.family = simulator::Family::B;
    device.device = simulator::SimulatedDevice::OfFamilyB();
    return device;
  }

  std::atomic<int> openConnections_ = 0;  ///< on the handheld
  Copy copy_;
  WiredHandheld handheld_;
  testing::MemoryFileSystem desktop_;
  DeviceHooks hooks_;
  modWinCERAPIConnectionHandler connection_{handheld_.Api(), hooks_};
  modWinCEFileManagement copies_{handheld_.Api(), connection_, desktop_, hooks_};
};

class WireLoss : public ::testing::TestWithParam<LossCase> {
 protected:
  /// Of an undisturbed copy.
  static constexpr std::size_t kMessages = 4;
  /// Bytes that get through: nothing, a part of the length, the length alone, a part of the body. Replies are cut
  /// before the end of the shortest one, because a copy whose last reply came whole has succeeded.
  static constexpr std::array<std::size_t, 5> kCuts = {0, 3, 4, 8, 11};

  /// The file is there once the last message, which closes a download, is due; its loss changes nothing any more.
  static int CodeAt(std::size_t message) { return GetParam().copy == Copy::Down && message == kMessages ? 0 : 6; }
  static simulator::SimulatorFaults Fault(MessageFault::Kind kind, Direction direction, std::size_t message,
                                          std::size_t bytes) {
    simulator::SimulatorFaults faults;
    faults.message = MessageFault{kind, direction, message, bytes};
    return faults;
  }
  /// Copies with a fault, then without.
  static void Walk(const simulator::SimulatorFaults& faults, int code, const std::string& where) {
    World world(GetParam(), faults, WiredHandheld::QuickOptions());
    EXPECT_EQ(world.Run(), code) << where;
    world.Clear();
    EXPECT_EQ(world.Run(), 0) << "the next time, after " << where;
    EXPECT_EQ(world.Result(), kContent) << where;
  }
  static void CutEverywhere(Direction direction) {
    for (std::size_t message = 1; message <= kMessages; ++message) {
      for (const std::size_t bytes : kCuts) {
        Walk(Fault(MessageFault::Kind::Cut, direction, message, bytes), CodeAt(message),
             "message " + std::to_string(message) + ", byte " + std::to_string(bytes));
      }
    }
  }
  static void StallEverywhere(Direction direction) {
    for (std::size_t message = 1; message <= kMessages; ++message) {
      for (const std::size_t bytes : {0, 7}) StallAt(direction, message, bytes);
    }
  }
  /// On a busy machine an earlier message may be late for the limit, which is the same for all; then the copy ends
  /// before the stall, and is made again with more time.
  static void StallAt(Direction direction, std::size_t message, std::size_t bytes) {
    WireOptions desktop = WiredHandheld::QuickOptions();
    for (desktop.times.reply = std::chrono::milliseconds(25); desktop.times.reply < std::chrono::minutes(1);
         desktop.times.reply *= 2) {
      World world(GetParam(), Fault(MessageFault::Kind::Stall, direction, message, bytes), desktop);
      const int code = world.Run();
      if (world.Messages() < message) continue;
      EXPECT_EQ(code, CodeAt(message)) << message << ", " << bytes;
      return;
    }
    ADD_FAILURE() << "message " << message << " was never sent";
  }
};

TEST_P(WireLoss, UndisturbedCopyTakesTheseMessages) {
  World world(GetParam(), {}, WiredHandheld::QuickOptions());
  EXPECT_EQ(world.Run(), 0);
  EXPECT_EQ(world.Messages(), kMessages);
  EXPECT_EQ(world.Result(), kContent);
}

TEST_P(WireLoss, RequestCutAnywhereIsSixAndTheNextCopyIsWhole) {
  CutEverywhere(Direction::ToHandheld);
}

TEST_P(WireLoss, ReplyCutAnywhereIsSixAndTheNextCopyIsWhole) {
  CutEverywhere(Direction::ToDesktop);
}

TEST_P(WireLoss, RequestThatGetsStuckIsSix) {
  StallEverywhere(Direction::ToHandheld);
}

TEST_P(WireLoss, ReplyThatGetsStuckIsSix) {
  StallEverywhere(Direction::ToDesktop);
}

TEST_P(WireLoss, ReplyThatLiesAboutItsLengthIsSixAndTheNextCopyIsWhole) {
  for (std::size_t message = 1; message <= kMessages; ++message) {
    for (const std::size_t length : {std::size_t{0}, std::size_t{3}, std::size_t{0x7FFFFFFF}}) {
      Walk(Fault(MessageFault::Kind::BadLength, Direction::ToDesktop, message, length), CodeAt(message),
           "message " + std::to_string(message) + ", length " + std::to_string(length));
    }
  }
}

/// A connection never doubles anything by itself; a handheld that does must not bring the desktop to a halt.
TEST_P(WireLoss, MessageThatComesTwiceEndsAndTheNextCopyIsWhole) {
  for (const Direction direction : {Direction::ToDesktop, Direction::ToHandheld}) {
    for (std::size_t message = 1; message <= kMessages; ++message) {
      World world(GetParam(), Fault(MessageFault::Kind::Twice, direction, message, 0), WiredHandheld::QuickOptions());
      world.Run();
      world.Clear();
      EXPECT_EQ(world.Run(), 0) << message;
      EXPECT_EQ(world.Result(), kContent) << message;
    }
  }
}

/// The size of a file, which version 2 may refuse for the form of the question, is told by its find record too.
TEST_P(WireLoss, CallThatIsNotRunIsSixAndTheNextCopyIsWhole) {
  constexpr std::size_t kSizeOfADownload = 2;
  for (std::size_t message = 1; message <= kMessages; ++message) {
    simulator::SimulatorFaults faults;
    faults.refusal = simulator::Refusal{message, false, 0x80070005};
    const bool isSizeOfV2 =
        GetParam().version == MessageVersion::V2 && GetParam().copy == Copy::Down && message == kSizeOfADownload;
    Walk(faults, isSizeOfV2 ? 0 : CodeAt(message), "call " + std::to_string(message));
  }
}

TEST_P(WireLoss, RepliesInPiecesAndLateAreWholeAllTheSame) {
  simulator::SimulatorFaults faults;
  faults.pieceSize = 3;
  faults.delayPerReply = std::chrono::milliseconds(2);
  faults.longestRead = 1;
  World world(GetParam(), faults, WiredHandheld::QuickOptions());
  EXPECT_EQ(world.Run(), 0);
  EXPECT_EQ(world.Result(), kContent);
}

std::string NameOf(const ::testing::TestParamInfo<LossCase>& loss) {
  return loss.param.name;
}

INSTANTIATE_TEST_SUITE_P(Copies, WireLoss,
                         ::testing::Values(LossCase{"UpV1", MessageVersion::V1, Copy::Up},
                                           LossCase{"DownV1", MessageVersion::V1, Copy::Down},
                                           LossCase{"UpV2", MessageVersion::V2, Copy::Up},
                                           LossCase{"DownV2", MessageVersion::V2, Copy::Down}),
                         NameOf);

}  // namespace
}  // namespace mv::wire
