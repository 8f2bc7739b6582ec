#include "device/simulator/DeviceCalls.h"

#include <gtest/gtest.h>

#include <random>

#include "support/Hex.h"
#include "support/MemoryFileSystem.h"

namespace mv::simulator {
namespace {

using testing::FromHex;
using testing::ToHex;

/// Every file was written on 2003-09-01 12:00 UTC.
class DatedFiles : public testing::MemoryFileSystem {
 public:
  DatedFiles() { CreateFolders("D:\\root\\T"); }
  std::uint64_t LastWriteTime(const std::string&) const override { return 0x01C3708091C16000; }
};

/// A connection whose messages are compared with those of handhelds, byte by byte. Messages are given with their length
/// words. Handles are given out from 0x1A2C0 in steps of 0x10.
class DeviceCallsTest : public ::testing::Test {
 protected:
  void Begin(wire::MessageVersion version) {
    options_.version = version;
    if (version == wire::MessageVersion::V2) options_.device = SimulatedDevice::OfFamilyB();
    calls_.emplace(store_, options_);
  }
  void BeginV1() { Begin(wire::MessageVersion::V1); }
  void BeginV2() { Begin(wire::MessageVersion::V2); }

  /// The reply to a request, both with length words, as hex.
  std::string Reply(const std::string& request) {
    const Bytes message = FromHex(request);
    wire::MessageReader reader(message);
    const std::uint32_t length = reader.Word();
    EXPECT_EQ(length, reader.Remaining()) << "the request's own length is wrong";
    wire::MessageWriter reply;
    reply.Raw(calls_->Answer(reader.Raw(reader.Remaining())));
    return ToHex(reply.Framed());
  }
  void Expect(const std::string& request, const std::string& reply) {
    EXPECT_EQ(Reply(request), ToHex(FromHex(reply))) << request;
  }
  void PutHello() { files_.Put("D:\\root\\T\\a.pdb", {'H', 'E', 'L', 'L', 'O'}); }
  /// Gives the next so many handles to nobody.
  void SkipHandles(int count) {
    for (int i = 0; i < count; ++i) store_.NextHandle();
  }
  std::string Content() {
    const Bytes content = files_.Content("D:\\root\\T\\a.pdb");
    return {content.begin(), content.end()};
  }

  DatedFiles files_;
  DeviceStore store_{files_, "D:\\root"};
  SimulatorOptions options_;
  std::optional<DeviceCalls> calls_;
};

constexpr const char* kCreateV1 =
    "32000000 05000000 00000040 01000000 02000000 80000000 00000000 01000000 09000000"
    "5c005400 5c006100 2e007000 64006200 0000";
constexpr const char* kOpenV1 =
    "32000000 05000000 00000080 01000000 03000000 80000000 00000000 01000000 09000000"
    "5c005400 5c006100 2e007000 64006200 0000";
constexpr const char* kCreateV2 =
    "2e000000 16000000 12000000 5c005400 5c006100 2e007000 64006200 0000"
    "00000040 01000000 02000000 80000000 00000000";
constexpr const char* kOpenV2 =
    "2e000000 16000000 12000000 5c005400 5c006100 2e007000 64006200 0000"
    "00000080 01000000 03000000 80000000 00000000";

// ---- Version 1

TEST_F(DeviceCallsTest, CreateFileV1) {
  BeginV1();
  Expect(kOpenV1, "0c000000 00000000 02000000 ffffffff");
  Expect(kCreateV1, "0c000000 00000000 00000000 c0a20100");
  EXPECT_EQ(Content(), "");
}

TEST_F(DeviceCallsTest, WriteAndCloseFileV1) {
  BeginV1();
  Reply(kCreateV1);
  Expect("19000000 07000000 c0a20100 01000000 05000000 48454c4c4f 00000000",
         "10000000 00000000 00000000 01000000 05000000");
  Expect("08000000 08000000 c0a20100", "0c000000 00000000 00000000 01000000");
  Expect("08000000 08000000 c0a20100", "0c000000 00000000 06000000 00000000");
  EXPECT_EQ(Content(), "HELLO");
}

TEST_F(DeviceCallsTest, ReadFileV1) {
  BeginV1();
  PutHello();
  SkipHandles(2);
  Reply(kOpenV1);
  const std::string read = "18000000 06000000 e0a20100 01000000 10000000 00000000 00000000";
  Expect(read, "15000000 00000000 00000000 01000000 05000000 48454c4c4f");
  Expect(read, "10000000 00000000 00000000 01000000 00000000");
}

TEST_F(DeviceCallsTest, GetFileSizeV1) {
  BeginV1();
  PutHello();
  SkipHandles(2);
  Reply(kOpenV1);
  Expect("0c000000 1d000000 e0a20100 00000000", "10000000 00000000 00000000 05000000 00000000");
  Expect("14000000 1d000000 e0a20100 01000000 04000000 00000000",
         "1c000000 00000000 00000000 05000000 01000000 04000000 01000000 00000000");
}

TEST_F(DeviceCallsTest, FindFirstFileAndFindCloseV1) {
  BeginV1();
  const std::string find = "1e000000 00000000 01000000 09000000 5c005400 5c006100 2e007000 64006200 0000";
  Expect(find, "10000000 00000000 12000000 ffffffff 00000000");
  PutHello();
  SkipHandles(1);
  Expect(find,
         "44000000 00000000 00000000 d0a20100 34000000"
         "20000000 0060c191 8070c301 0060c191 8070c301 0060c191 8070c301 00000000 05000000 42000001"
         "61002e00 70006400 62000000");
  Expect("08000000 02000000 d0a20100", "0c000000 00000000 00000000 01000000");
  Expect("08000000 02000000 d0a20100", "0c000000 00000000 06000000 00000000");
}

TEST_F(DeviceCallsTest, FindNextFileV1) {
  BeginV1();
  PutHello();
  files_.Put("D:\\root\\T\\b.pdb", {1});
  Reply("1a000000 00000000 01000000 07000000 \"\\T\\*.*\" 0000");
  Expect("08000000 01000000 c0a20100",
         "44000000 00000000 00000000 01000000 34000000"
         "20000000 0060c191 8070c301 0060c191 8070c301 0060c191 8070c301 00000000 01000000 42000001"
         "62002e00 70006400 62000000");
  Expect("08000000 01000000 c0a20100", "10000000 00000000 12000000 00000000 00000000");
  Expect("08000000 01000000 d0a20100", "10000000 00000000 06000000 00000000 00000000");
}

TEST_F(DeviceCallsTest, DeleteFileV1) {
  BeginV1();
  PutHello();
  const std::string request = "22000000 1c000000 01000000 12000000 01000000 5c005400 5c006100 2e007000 64006200 0000";
  Expect(request, "0c000000 00000000 00000000 01000000");
  Expect(request, "0c000000 00000000 02000000 00000000");
}

TEST_F(DeviceCallsTest, CreateDirectoryV1) {
  files_.RemoveFolder("D:\\root\\T");
  BeginV1();
  const std::string request = "1a000000 17000000 01000000 06000000 01000000 5c005400 0000 00000000";
  Expect(request, "0c000000 00000000 00000000 01000000");
  Expect(request, "0c000000 00000000 b7000000 00000000");
}

TEST_F(DeviceCallsTest, SetFilePointerV1) {
  BeginV1();
  PutHello();
  SkipHandles(2);
  Reply(kOpenV1);
  Expect("14000000 15000000 e0a20100 00000000 00000000 02000000", "0c000000 00000000 00000000 05000000");
  Expect("14000000 15000000 e0a20100 fdffffff 00000000 01000000", "0c000000 00000000 00000000 02000000");
  Expect("14000000 15000000 e0a20100 fdffffff 00000000 01000000", "0c000000 00000000 83000000 ffffffff");
}

TEST_F(DeviceCallsTest, GetVersionExV1) {
  BeginV1();
  const Bytes noText(256);
  Expect("04000000 3b000000",
         "24010000 00000000 00000000 01000000 14010000 14010000 04000000 14000000 39040000 03000000" + ToHex(noText));
}

TEST_F(DeviceCallsTest, FindAllFilesV1) {
  BeginV1();
  PutHello();
  Expect("1a000000 09000000 01000000 05000000 5c005400 5c002a00 0000 a1000000",
         "20000000 00000000 01000000 06000000 20000000 05000000 61002e00 70006400 62000000");
}

TEST_F(DeviceCallsTest, GetSpecialFolderPathV1) {
  BeginV1();
  Expect("0c000000 44000000 00000000 04010000", "28000000 00000000 00000000 0d000000 \"\\My Documents\" 0000");
}

/// No bytes of these were seen on a line: length words and places of the parts are what the test is about.
TEST_F(DeviceCallsTest, CallsThatOnlyOtherProgramsMakeV1) {
  BeginV1();
  Expect("10000000 29000000 01000000 08000000 00000000",
         "20000000 00000000 00000000 01000000 01000000 08000000 01000000 00000002 00000001");
  EXPECT_TRUE(Reply("10000000 2f000000 01000000 24000000 00000000")
                  .starts_with(ToHex(FromHex("38000000 00000000 00000000 01000000 24000000 01000000"))));
  EXPECT_TRUE(Reply("14000000 41000000 01000000 18000000 00000000 01000000")
                  .starts_with(ToHex(FromHex("30000000 00000000 00000000 01000000 01000000 18000000 01000000"))));
  const std::string word = "01000000 04000000 01000000 00100000";
  Expect("28000000 28000000 01000000 04000000 00000000 01000000 04000000 00000000 01000000 04000000 00000000",
         "3c000000 00000000 00000000 01000000" + word + word + word);
}

TEST_F(DeviceCallsTest, CallsThatOnlyOtherProgramsMakeV2) {
  BeginV2();
  Expect("04000000 39000000", "10000000 00000000 01000000 00000002 00000001");
  EXPECT_TRUE(Reply("04000000 3d000000").starts_with(ToHex(FromHex("28000000 00000000"))));
  EXPECT_TRUE(Reply("08000000 49000000 01000000").starts_with(ToHex(FromHex("1c000000 01000000"))));
}

TEST_F(DeviceCallsTest, AttributesMovingCopyingAndRemovingFollowTheirKindsOfText) {
  BeginV1();
  PutHello();
  const std::string a = "12000000 01000000 \"\\T\\a.pdb\" 0000";
  const std::string b = "12000000 01000000 \"\\T\\b.pdb\" 0000";
  const std::string done = "0c000000 00000000 00000000 01000000";
  Expect("1e000000 03000000 01000000 09000000 \"\\T\\a.pdb\" 0000", "0c000000 00000000 00000000 20000000");
  Expect("22000000 04000000 02000000 01000000 09000000 \"\\T\\a.pdb\" 0000", done);
  Expect("1e000000 03000000 01000000 09000000 \"\\T\\a.pdb\" 0000", "0c000000 00000000 00000000 22000000");
  Expect("44000000 1b000000 01000000" + a + "01000000" + b + "01000000", done);
  Expect("44000000 1b000000 01000000" + a + "01000000" + b + "01000000", "0c000000 00000000 50000000 00000000");
  Expect("40000000 1a000000 01000000" + a + "01000000" + b, "0c000000 00000000 b7000000 00000000");
  Expect("16000000 18000000 01000000 06000000 01000000 \"\\T\" 0000", "0c000000 00000000 91000000 00000000");
}

TEST_F(DeviceCallsTest, FileIsCutWhereItsPositionIs) {
  BeginV1();
  Reply(kCreateV1);
  Reply("19000000 07000000 c0a20100 01000000 05000000 48454c4c4f 00000000");
  Reply("14000000 15000000 c0a20100 02000000 00000000 00000000");
  Expect("08000000 16000000 c0a20100", "0c000000 00000000 00000000 01000000");
  EXPECT_EQ(Content(), "HE");
}

TEST_F(DeviceCallsTest, UnknownCommandV1) {
  BeginV1();
  Expect("04000000 ff000000", "08000000 01000000 01400080");
}

TEST_F(DeviceCallsTest, ArgumentsThatMakeNoSenseAreRefusedV1) {
  BeginV1();
  PutHello();
  const std::string refused = "08000000 01000000 57000780";
  Expect("08000000 05000000 00000040", refused);
  Expect("14000000 00000000 01000000 ffffffff 5c005400 5c006100", refused);
  Expect("10000000 1c000000 01000000 12000000 05000000", refused);
  EXPECT_EQ(calls_->Answer({}), FromHex("01000000 01400080"));
  EXPECT_EQ(calls_->Answer(FromHex("0500")), FromHex("01000000 01400080"));
  EXPECT_EQ(Content(), "HELLO");
}

// ---- Version 2

TEST_F(DeviceCallsTest, CreateFileV2) {
  BeginV2();
  Expect(kOpenV2, "08000000 02000000 ffffffff");
  Expect(kCreateV2, "08000000 00000000 c0a20100");
}

TEST_F(DeviceCallsTest, WriteAndCloseFileV2) {
  BeginV2();
  Reply(kCreateV2);
  Expect("11000000 18000000 c0a20100 05000000 48454c4c4f", "0c000000 00000000 01000000 05000000");
  Expect("08000000 19000000 c0a20100", "08000000 00000000 01000000");
  EXPECT_EQ(Content(), "HELLO");
}

TEST_F(DeviceCallsTest, ReadFileV2) {
  BeginV2();
  PutHello();
  SkipHandles(2);
  Reply(kOpenV2);
  Expect("0c000000 17000000 e0a20100 10000000", "11000000 00000000 01000000 05000000 48454c4c4f");
}

TEST_F(DeviceCallsTest, GetFileSizeV2) {
  BeginV2();
  PutHello();
  SkipHandles(2);
  Reply(kOpenV2);
  Expect("0c000000 2e000000 e0a20100 00000000", "0c000000 00000000 05000000 00000000");
}

TEST_F(DeviceCallsTest, FindFirstFileAndFindCloseV2) {
  BeginV2();
  const std::string find = "1a000000 11000000 12000000 5c005400 5c006100 2e007000 64006200 0000";
  Expect(find, "0c000000 12000000 ffffffff 00000000");
  PutHello();
  SkipHandles(1);
  Expect(find,
         "40000000 00000000 d0a20100 34000000"
         "20000000 0060c191 8070c301 0060c191 8070c301 0060c191 8070c301 00000000 05000000 42000001"
         "61002e00 70006400 62000000");
  Expect("08000000 13000000 d0a20100", "08000000 00000000 01000000");
}

TEST_F(DeviceCallsTest, DeleteFileV2) {
  BeginV2();
  PutHello();
  Expect("1a000000 2d000000 12000000 5c005400 5c006100 2e007000 64006200 0000", "08000000 00000000 01000000");
}

TEST_F(DeviceCallsTest, CreateDirectoryV2) {
  files_.RemoveFolder("D:\\root\\T");
  BeginV2();
  Expect("0e000000 28000000 06000000 5c005400 0000", "08000000 00000000 01000000");
}

TEST_F(DeviceCallsTest, SetFilePointerV2) {
  BeginV2();
  PutHello();
  SkipHandles(2);
  Reply(kOpenV2);
  Expect("14000000 26000000 e0a20100 00000000 00000000 02000000", "08000000 00000000 05000000");
  Expect("18000000 26000000 e0a20100 00000000 01000000 00000000 02000000", "0c000000 00000000 05000000 00000000");
}

TEST_F(DeviceCallsTest, GetVersionExV2) {
  BeginV2();
  Expect("04000000 43000000",
         "20010000 00000000 01000000 14010000 14010000 05000000 01000000 c3000000 03000000" + ToHex(Bytes(256)));
}

TEST_F(DeviceCallsTest, FindAllFilesV2) {
  BeginV2();
  PutHello();
  Expect("16000000 1a000000 0a000000 5c005400 5c002a00 0000 a1000000",
         "24000000 00000000 01000000 01000000 0c000000 20000000 05000000 61002e00 70006400 62000000");
}

TEST_F(DeviceCallsTest, GetSpecialFolderPathV2) {
  BeginV2();
  Expect("0c000000 4b000000 00000000 04010000", "24000000 00000000 0d000000 \"\\My Documents\" 0000");
}

TEST_F(DeviceCallsTest, UnknownCommandV2) {
  BeginV2();
  Expect("04000000 ff000000", "08000000 78000000 00000000");
}

TEST_F(DeviceCallsTest, HandlesOfAnotherConnectionAreNotTaken) {
  BeginV2();
  PutHello();
  Reply(kOpenV2);
  DeviceCalls other(store_, options_);
  EXPECT_EQ(other.Answer(FromHex("17000000 c0a20100 10000000")), FromHex("06000000 00000000 00000000"));
  EXPECT_EQ(other.Answer(FromHex("19000000 c0a20100")), FromHex("06000000 00000000"));
  EXPECT_EQ(other.Answer(FromHex("2e000000 c0a20100 00000000")), FromHex("06000000 ffffffff 00000000"));
}

TEST_F(DeviceCallsTest, FilesAreClosedWithTheirConnection) {
  BeginV2();
  Reply(kCreateV2);
  EXPECT_EQ(store_.Delete("\\T\\a.pdb"), 32U);
  calls_.reset();
  EXPECT_EQ(store_.Delete("\\T\\a.pdb"), 0U);
}

TEST_F(DeviceCallsTest, CreatingAFileThatIsThereSucceedsWithError183) {
  BeginV2();
  PutHello();
  Expect(kCreateV2, "08000000 b7000000 c0a20100");
  EXPECT_EQ(Content(), "");
}

// ---- Faults

TEST_F(DeviceCallsTest, ReadsMayBeShort) {
  options_.faults.longestRead = 2;
  BeginV2();
  PutHello();
  Reply(kOpenV2);
  Expect("0c000000 17000000 c0a20100 10000000", "0e000000 00000000 01000000 02000000 4845");
}

TEST_F(DeviceCallsTest, RecordOfNothingMayBeMissingOrWhole) {
  const std::string find = "1a000000 11000000 12000000 \"\\T\\a.pdb\" 0000";
  options_.faults.findRecord = FindRecord::LeftOutIfNone;
  BeginV2();
  Expect(find, "08000000 12000000 ffffffff");
  options_.faults.findRecord = FindRecord::FullSize;
  EXPECT_TRUE(Reply(find).starts_with(ToHex(FromHex("3c020000 12000000 ffffffff 30020000"))));
  PutHello();
  EXPECT_TRUE(Reply(find).starts_with(ToHex(FromHex("3c020000 00000000 c0a20100 30020000 20000000"))));
}

TEST_F(DeviceCallsTest, FileMayBeSaidToBeLongerThanItIs) {
  options_.faults.addedSize = 3;
  BeginV2();
  PutHello();
  Reply(kOpenV2);
  Expect("0c000000 2e000000 c0a20100 00000000", "0c000000 00000000 08000000 00000000");
}

TEST_F(DeviceCallsTest, StoreMayBeFullInTheMiddleOfAWrite) {
  options_.faults.fullAfter = 7;
  BeginV2();
  Reply(kCreateV2);
  const std::string write = "11000000 18000000 c0a20100 05000000 48454c4c4f";
  Expect(write, "0c000000 00000000 01000000 05000000");
  Expect(write, "0c000000 70000000 00000000 02000000");
  EXPECT_EQ(Content(), "HELLOHE");
}

// ---- Both

TEST_F(DeviceCallsTest, RequestsOfAnyBytesAreAnsweredAndReachNothingElse) {
  std::mt19937 random(20240517);
  const auto below = [&](std::size_t limit) { return random() % limit; };
  const std::vector<Bytes> requests = {FromHex(kCreateV1),
                                       FromHex(kOpenV1),
                                       FromHex(kCreateV2),
                                       FromHex(kOpenV2),
                                       FromHex("00000000 01000000 01000000 09000000 \"\\..\\..\\x\" 0000"),
                                       Bytes(40)};
  files_.Put("D:\\x", {7});
  for (const auto version : {wire::MessageVersion::V1, wire::MessageVersion::V2}) {
    Begin(version);
    for (int i = 0; i < 4000; ++i) {
      Bytes request = requests[below(requests.size())];
      request.erase(request.begin(), request.begin() + 4);  // the length word
      request[0] = static_cast<std::uint8_t>(below(0x50));
      for (std::size_t changes = below(4); changes > 0; --changes)
        request[below(request.size())] = static_cast<std::uint8_t>(below(256));
      request.resize(below(request.size() + 1));
      EXPECT_GE(calls_->Answer(request).size(), 8U);
    }
  }
  EXPECT_EQ(files_.Content("D:\\x"), Bytes{7});
  EXPECT_EQ(files_.List("D:").size(), 2U);
}

TEST_F(DeviceCallsTest, NamesOfCallsAreThePublishedOnes) {
  EXPECT_EQ(DeviceCalls::NameOf(FromHex("06000000"), wire::MessageVersion::V1), "CeReadFile");
  EXPECT_EQ(DeviceCalls::NameOf(FromHex("17000000"), wire::MessageVersion::V2), "CeReadFile");
  EXPECT_EQ(DeviceCalls::NameOf(FromHex("ff000000"), wire::MessageVersion::V2), "?");
}

TEST_F(DeviceCallsTest, CallThatVersion2LacksIsUnknownThere) {
  BeginV2();
  Expect("04000000 ffffffff", "08000000 78000000 00000000");
}

}  // namespace
}  // namespace mv::simulator
