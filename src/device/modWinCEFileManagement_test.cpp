#include "device/modWinCEFileManagement.h"

#include <gtest/gtest.h>

#include <numeric>

#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/FakeRapi.h"
#include "support/MemoryFileSystem.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;

constexpr const char* kDesktopFile = "C:\\work\\brnd_Fuel.pdb";
constexpr const char* kDeviceFile = "\\Program Files\\Motorva\\brnd_Fuel.pdb";
constexpr std::int32_t kTransportError = -2147467259;

Bytes Pattern(std::size_t length) {
  Bytes bytes(length);
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + 1);
  return bytes;
}

class FileManagement : public ::testing::Test {
 protected:
  FileManagement() { files_.CreateFolders("C:\\work"); }

  std::int32_t Upload(Overwrite overwrite = Overwrite::Yes) {
    return static_cast<std::int32_t>(copies_.CopyFileToDevice(kDesktopFile, kDeviceFile, overwrite));
  }
  std::int32_t Download(Overwrite overwrite = Overwrite::Yes) {
    return static_cast<std::int32_t>(copies_.CopyFileFromDevice(kDeviceFile, kDesktopFile, overwrite));
  }
  /// Sizes of the writes, "2 2 1 ".
  std::string ChunksOf(std::size_t length) {
    files_.Put(kDesktopFile, Pattern(length));
    rapi_.calls.clear();
    Upload();
    std::string chunks;
    for (const std::string& call : rapi_.calls) {
      if (call.starts_with("CeWriteFile ")) chunks += call.substr(12) + " ";
    }
    return chunks;
  }

  testing::FakeRapi rapi_;
  testing::MemoryFileSystem files_;
  std::vector<std::string> log_;
  std::size_t spins_ = 0;
  DeviceHooks hooks_{[this](const std::string& line) { log_.push_back(line); }, [this] { ++spins_; }, {}, {}};
  modWinCERAPIConnectionHandler connection_{rapi_, hooks_};
  modWinCEFileManagement copies_{rapi_, connection_, files_, hooks_};
};

TEST_F(FileManagement, DownloadOfALongFileIsReadInPiecesAndKeepsTheWindowAlive) {
  const Bytes content = Pattern(150000);
  rapi_.Put(kDeviceFile, content);
  connection_.ConnectDevice();
  rapi_.calls.clear();
  EXPECT_EQ(Download(), 0);
  EXPECT_EQ(files_.Content(kDesktopFile), content);
  std::string pieces;
  for (const std::string& call : rapi_.calls) {
    if (call.starts_with("CeReadFile ")) pieces += call.substr(11) + " ";
  }
  EXPECT_EQ(pieces, "65536 65536 18928 ");
  EXPECT_EQ(spins_, 2 + 3 + 150000 / 1024);
  EXPECT_EQ(log_, std::vector<std::string>{std::string("     150000 bytes read from device at: ") + kDeviceFile});
}

TEST_F(FileManagement, DownloadWithOnePieceThatFailsIsAFailedRead) {
  rapi_.Put(kDeviceFile, Pattern(150000));
  connection_.ConnectDevice();
  rapi_.Fail("CeReadFile", 0, 2);
  EXPECT_EQ(Download(), 1);
  EXPECT_FALSE(files_.FileExists(kDesktopFile));
}

// ---- Upload

TEST_F(FileManagement, UploadConnectsWritesClosesAndLogs) {
  files_.Put(kDesktopFile, Pattern(10));
  EXPECT_EQ(Upload(), 0);
  EXPECT_EQ(rapi_.Content(kDeviceFile), Pattern(10));
  EXPECT_EQ(rapi_.calls,
            (std::vector<std::string>{"CeRapiInitEx", "WaitForSingleObject 77 5000",
                                      "CeCreateFile \\Program Files\\Motorva\\brnd_Fuel.pdb 40000000 1 1 2 80",
                                      "CeWriteFile 10", "CeCloseHandle"}));
  EXPECT_EQ(log_,
            std::vector<std::string>{"     10 bytes written to device at: \\Program Files\\Motorva\\brnd_Fuel.pdb"});
}

TEST_F(FileManagement, SuccessfulUploadLeavesTheConnectionUp) {
  files_.Put(kDesktopFile, Pattern(10));
  Upload();
  EXPECT_TRUE(connection_.IsDeviceConnected());
  EXPECT_EQ(rapi_.OpenHandles(), 0U);
}

TEST_F(FileManagement, UploadWithoutAHandheldIsSixAndDoesNotDisconnect) {
  files_.Put(kDesktopFile, Pattern(10));
  rapi_.waitResult = 258;
  EXPECT_EQ(Upload(), 6);
  EXPECT_EQ(rapi_.Count("CeRapiUninit"), 1U);
  EXPECT_EQ(rapi_.Count("CeCreateFile"), 0U);
}

TEST_F(FileManagement, UploadOverAnExistingFileWithoutOverwriteIsFourAndEndsTheConnection) {
  files_.Put(kDesktopFile, Pattern(10));
  rapi_.Put(kDeviceFile, {1});
  EXPECT_EQ(Upload(Overwrite::No), 4);
  EXPECT_FALSE(connection_.IsDeviceConnected());
  EXPECT_EQ(rapi_.Content(kDeviceFile), Bytes{1});
  EXPECT_EQ(rapi_.Count("CeFindClose"), 1U);
}

TEST_F(FileManagement, UploadOverAnExistingFileWithOverwriteReplacesIt) {
  files_.Put(kDesktopFile, Pattern(10));
  rapi_.Put(kDeviceFile, Pattern(50));
  EXPECT_EQ(Upload(Overwrite::Yes), 0);
  EXPECT_EQ(rapi_.Content(kDeviceFile), Pattern(10));
  EXPECT_EQ(rapi_.Count("CeFindFirstFile"), 0U);
}

TEST_F(FileManagement, UploadOfANewFileWithoutOverwriteCopies) {
  files_.Put(kDesktopFile, Pattern(10));
  EXPECT_EQ(Upload(Overwrite::No), 0);
  EXPECT_EQ(rapi_.Content(kDeviceFile), Pattern(10));
}

TEST_F(FileManagement, TransportErrorInTheExistenceTestIsSixAndEndsTheConnection) {
  files_.Put(kDesktopFile, Pattern(10));
  rapi_.Fail("CeFindFirstFile", kTransportError);
  EXPECT_EQ(Upload(Overwrite::No), 6);
  EXPECT_FALSE(connection_.IsDeviceConnected());
  EXPECT_EQ(rapi_.Count("CeCreateFile"), 0U);
}

TEST_F(FileManagement, MissingDesktopFileIsOneAndEndsTheConnection) {
  EXPECT_EQ(Upload(), 1);
  EXPECT_FALSE(connection_.IsDeviceConnected());
  EXPECT_EQ(rapi_.Count("CeCreateFile"), 0U);
}

TEST_F(FileManagement, MissingDesktopFileAndExistingDeviceFileIsFourBecauseTheDeviceIsAskedFirst) {
  rapi_.Put(kDeviceFile, {1});
  EXPECT_EQ(Upload(Overwrite::No), 4);
}

TEST_F(FileManagement, DeviceFileThatCannotBeCreatedIsSevenAndEndsTheConnection) {
  files_.Put(kDesktopFile, Pattern(10));
  rapi_.Fail("CeCreateFile", 0);
  EXPECT_EQ(Upload(), 7);
  EXPECT_FALSE(connection_.IsDeviceConnected());
}

TEST_F(FileManagement, TransportErrorWhileCreatingIsSixAndEndsTheConnection) {
  files_.Put(kDesktopFile, Pattern(10));
  rapi_.Fail("CeCreateFile", kTransportError);
  EXPECT_EQ(Upload(), 6);
  EXPECT_FALSE(connection_.IsDeviceConnected());
}

TEST_F(FileManagement, EmptyDesktopFileIsTwoAfterTheDeviceFileWasOpened) {
  files_.Put(kDesktopFile, {});
  EXPECT_EQ(Upload(), 2);
  EXPECT_FALSE(connection_.IsDeviceConnected());
  EXPECT_EQ(rapi_.Count("CeCreateFile"), 1U);
  EXPECT_EQ(rapi_.Count("CeWriteFile"), 0U);
}

TEST_F(FileManagement, DeviceFileThatCannotBeCreatedAndEmptyDesktopFileIsSevenBecauseTheDeviceIsAskedFirst) {
  files_.Put(kDesktopFile, {});
  rapi_.Fail("CeCreateFile", 0);
  EXPECT_EQ(Upload(), 7);
}

TEST_F(FileManagement, UnreadableDesktopFileIsTwo) {
  files_.Put(kDesktopFile, Pattern(10));
  files_.FailRead(1);
  EXPECT_EQ(Upload(), 2);
}

TEST_F(FileManagement, RefusedWriteIsFiveStopsAndEndsTheConnection) {
  files_.Put(kDesktopFile, Pattern(1000));
  rapi_.Fail("CeWriteFile", 0, 3);
  EXPECT_EQ(Upload(), 5);
  EXPECT_EQ(rapi_.Count("CeWriteFile"), 3U);
  EXPECT_FALSE(connection_.IsDeviceConnected());
  EXPECT_TRUE(log_.empty());
}

TEST_F(FileManagement, RefusedLastWriteIsFive) {
  files_.Put(kDesktopFile, Pattern(1000));
  rapi_.Fail("CeWriteFile", 0, 20);
  EXPECT_EQ(Upload(), 5);
}

TEST_F(FileManagement, WriteAnsweredWithAnythingButOneIsFiveStopsAndEndsTheConnection) {
  for (const std::int32_t answer : {2, -1}) {
    files_.Put(kDesktopFile, Pattern(1000));
    rapi_.calls.clear();
    rapi_.writeResult = answer;
    EXPECT_EQ(Upload(), 5) << answer;
    EXPECT_EQ(rapi_.Count("CeWriteFile"), 1U) << answer;
    EXPECT_FALSE(connection_.IsDeviceConnected()) << answer;
    EXPECT_TRUE(log_.empty()) << answer;
  }
}

TEST_F(FileManagement, CountOfBytesWrittenThatTheHandheldTellsDoesNotMatter) {
  for (const std::uint32_t count : {0U, 49U, 51U, 0xFFFFFFFFU}) {
    rapi_.countToldInstead = count;
    EXPECT_EQ(ChunksOf(160), "8 8 8 8 8 8 8 8 8 8 8 8 8 8 8 8 8 8 8 8 ") << count;
    EXPECT_EQ(rapi_.Content(kDeviceFile), Pattern(160)) << count;
    EXPECT_TRUE(connection_.IsDeviceConnected()) << count;
  }
}

TEST_F(FileManagement, TransportErrorWhileWritingIsSixAndEndsTheConnection) {
  files_.Put(kDesktopFile, Pattern(1000));
  rapi_.Fail("CeWriteFile", kTransportError, 2);
  EXPECT_EQ(Upload(), 6);
  EXPECT_FALSE(connection_.IsDeviceConnected());
}

TEST_F(FileManagement, RefusedCloseIsFiveAndNothingIsLogged) {
  files_.Put(kDesktopFile, Pattern(10));
  rapi_.Fail("CeCloseHandle", 0);
  EXPECT_EQ(Upload(), 5);
  EXPECT_FALSE(connection_.IsDeviceConnected());
  EXPECT_TRUE(log_.empty());
}

TEST_F(FileManagement, TransportErrorWhileClosingIsSix) {
  files_.Put(kDesktopFile, Pattern(10));
  rapi_.Fail("CeCloseHandle", kTransportError);
  EXPECT_EQ(Upload(), 6);
}

TEST_F(FileManagement, UploadUpToTenBytesIsOneChunk) {
  EXPECT_EQ(ChunksOf(1), "1 ");
  EXPECT_EQ(ChunksOf(9), "9 ");
  EXPECT_EQ(ChunksOf(10), "10 ");
}

TEST_F(FileManagement, UploadOfElevenBytesIsCutIntoSingleBytes) {
  EXPECT_EQ(ChunksOf(11), "1 1 1 1 1 1 1 1 1 1 1 ");
}

TEST_F(FileManagement, ChunkSizeHalfwayBetweenRoundsToEven) {
  EXPECT_EQ(ChunksOf(30), "2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 ");
  EXPECT_EQ(ChunksOf(50), "2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 ");
  EXPECT_EQ(ChunksOf(70), "4 4 4 4 4 4 4 4 4 4 4 4 4 4 4 4 4 2 ");
}

TEST_F(FileManagement, UploadOf1010BytesIsTwentyChunksOfFiftyAndOneOfTen) {
  EXPECT_EQ(ChunksOf(1010), "50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 10 ");
  EXPECT_EQ(rapi_.Content(kDeviceFile), Pattern(1010));
}

TEST_F(FileManagement, UploadAdvancesTheSpinnerPerChunkAndPer256BytesRead) {
  files_.Put(kDesktopFile, Pattern(1010));
  Upload();
  EXPECT_EQ(spins_, 21U + 3U);
}

// ---- Download

TEST_F(FileManagement, DownloadReadsTheWholeFileAtOnceAndLogs) {
  rapi_.Put(kDeviceFile, Pattern(3000));
  connection_.ConnectDevice();
  rapi_.calls.clear();
  EXPECT_EQ(Download(), 0);
  EXPECT_EQ(files_.Content(kDesktopFile), Pattern(3000));
  EXPECT_EQ(rapi_.calls,
            (std::vector<std::string>{"CeCreateFile \\Program Files\\Motorva\\brnd_Fuel.pdb 80000000 1 1 3 80",
                                      "CeGetFileSize", "CeReadFile 3000", "CeCloseHandle"}));
  EXPECT_EQ(log_,
            std::vector<std::string>{"     3000 bytes read from device at: \\Program Files\\Motorva\\brnd_Fuel.pdb"});
  EXPECT_TRUE(connection_.IsDeviceConnected());
}

TEST_F(FileManagement, DownloadLogsBeforeItClosesTheDeviceFile) {
  hooks_.writeLogLine = [this](const std::string&) { rapi_.calls.push_back("log line"); };
  rapi_.Put(kDeviceFile, Pattern(10));
  connection_.ConnectDevice();
  Download();
  EXPECT_EQ(std::vector<std::string>(rapi_.calls.end() - 3, rapi_.calls.end()),
            (std::vector<std::string>{"CeReadFile 10", "log line", "CeCloseHandle"}));
}

TEST_F(FileManagement, DownloadWithoutAConnectionIsSixAndDoesNotConnect) {
  rapi_.Put(kDeviceFile, Pattern(10));
  EXPECT_EQ(Download(), 6);
  EXPECT_TRUE(rapi_.calls.empty());
}

TEST_F(FileManagement, DownloadOverAnExistingFileWithoutOverwriteIsFourAndEndsTheConnection) {
  rapi_.Put(kDeviceFile, Pattern(10));
  files_.Put(kDesktopFile, {1});
  connection_.ConnectDevice();
  EXPECT_EQ(Download(Overwrite::No), 4);
  EXPECT_FALSE(connection_.IsDeviceConnected());
  EXPECT_EQ(files_.Content(kDesktopFile), Bytes{1});
}

TEST_F(FileManagement, DownloadOfANewFileWithoutOverwriteCopies) {
  rapi_.Put(kDeviceFile, Pattern(10));
  connection_.ConnectDevice();
  EXPECT_EQ(Download(Overwrite::No), 0);
  EXPECT_EQ(files_.Content(kDesktopFile), Pattern(10));
}

TEST_F(FileManagement, MissingDeviceFileIsOneAndEndsTheConnection) {
  connection_.ConnectDevice();
  EXPECT_EQ(Download(), 1);
  EXPECT_FALSE(connection_.IsDeviceConnected());
  EXPECT_FALSE(files_.FileExists(kDesktopFile));
}

TEST_F(FileManagement, DeviceFileThatCannotBeSizedOrReadIsOneAndEndsTheConnection) {
  for (const char* call : {"CeGetFileSize", "CeReadFile"}) {
    rapi_.Put(kDeviceFile, Pattern(10));
    connection_.ConnectDevice();
    rapi_.Fail(call, 0);
    EXPECT_EQ(Download(), 1) << call;
    EXPECT_FALSE(connection_.IsDeviceConnected()) << call;
    EXPECT_FALSE(files_.FileExists(kDesktopFile)) << call;
  }
}

TEST_F(FileManagement, TransportErrorInAnyCallIsSixAndEndsTheConnection) {
  for (const char* call : {"CeCreateFile", "CeGetFileSize", "CeReadFile"}) {
    rapi_.Put(kDeviceFile, Pattern(10));
    connection_.ConnectDevice();
    rapi_.Fail(call, kTransportError);
    EXPECT_EQ(Download(), 6) << call;
    EXPECT_FALSE(connection_.IsDeviceConnected()) << call;
  }
}

TEST_F(FileManagement, DesktopFileThatCannotBeWrittenIsFiveAndEndsTheConnection) {
  rapi_.Put(kDeviceFile, Pattern(10));
  connection_.ConnectDevice();
  files_.FailWrite(1);
  EXPECT_EQ(Download(), 5);
  EXPECT_FALSE(connection_.IsDeviceConnected());
  EXPECT_TRUE(log_.empty());
}

TEST_F(FileManagement, FailuresOfTheDesktopFileDoNotAskWhetherTheTransportFailed) {
  EXPECT_EQ(Upload(), 1);
  files_.Put(kDesktopFile, {});
  EXPECT_EQ(Upload(), 2);
  rapi_.Put(kDeviceFile, Pattern(10));
  connection_.ConnectDevice();
  files_.FailWrite(1);
  EXPECT_EQ(Download(), 5);
  EXPECT_EQ(rapi_.errorQuestions, 0U);
}

TEST_F(FileManagement, EmptyDeviceFileRaisesToTheCaller) {
  rapi_.Put(kDeviceFile, {});
  connection_.ConnectDevice();
  EXPECT_EQ(ErrorNumberOf([&] { Download(); }), errors::kSubscriptOutOfRange);
  EXPECT_TRUE(connection_.IsDeviceConnected());
  EXPECT_EQ(rapi_.OpenHandles(), 0U);
  EXPECT_FALSE(files_.FileExists(kDesktopFile));
}

TEST_F(FileManagement, DeviceFileOfTwoGigabytesOrMoreRaisesLikeAnEmptyOne) {
  for (const std::uint32_t size : {0x80000000U, 0xFFFFFFFEU}) {
    rapi_.Put(kDeviceFile, Pattern(10));
    rapi_.sizeToldInstead = size;
    connection_.ConnectDevice();
    EXPECT_EQ(ErrorNumberOf([&] { Download(); }), errors::kSubscriptOutOfRange) << size;
    EXPECT_EQ(rapi_.OpenHandles(), 0U) << size;
  }
}

TEST_F(FileManagement, ReadThatFillsLessThanTheFileLeavesZerosForTheRest) {
  rapi_.Put(kDeviceFile, {1, 2, 3});
  rapi_.sizeToldInstead = 5;
  connection_.ConnectDevice();
  EXPECT_EQ(Download(), 0);
  EXPECT_EQ(files_.Content(kDesktopFile), (Bytes{1, 2, 3, 0, 0}));
  EXPECT_EQ(rapi_.Count("CeReadFile"), 1U);
}

TEST_F(FileManagement, DownloadAdvancesTheSpinnerThreeTimesAndPer1024BytesWritten) {
  rapi_.Put(kDeviceFile, Pattern(3000));
  connection_.ConnectDevice();
  Download();
  EXPECT_EQ(spins_, 3U + 2U);
}

// ---- Whole desktop files

TEST_F(FileManagement, ReadFileBytesReturnsTheLengthAndTheBytes) {
  files_.Put(kDesktopFile, Pattern(600));
  FileContent buffer;
  EXPECT_EQ(copies_.ReadFileBytes(kDesktopFile, buffer), 600);
  EXPECT_EQ(Bytes(buffer.View().begin(), buffer.View().end()), Pattern(600));
  EXPECT_EQ(spins_, 2U);
}

TEST_F(FileManagement, ReadFileBytesOfAMissingOrEmptyFileIsZero) {
  FileContent buffer;
  EXPECT_EQ(copies_.ReadFileBytes(kDesktopFile, buffer), 0);
  EXPECT_EQ(copies_.ReadFileBytes("Z:\\nowhere\\x", buffer), 0);
  files_.Put(kDesktopFile, {});
  EXPECT_EQ(copies_.ReadFileBytes(kDesktopFile, buffer), 0);
}

TEST_F(FileManagement, WriteFileBytesCreatesTheFile) {
  EXPECT_TRUE(copies_.WriteFileBytes(kDesktopFile, Pattern(2048)));
  EXPECT_EQ(files_.Content(kDesktopFile), Pattern(2048));
  EXPECT_EQ(spins_, 2U);
}

TEST_F(FileManagement, WriteFileBytesOverALongerFileLeavesItsOldTail) {
  files_.Put(kDesktopFile, {9, 9, 9, 9, 9});
  EXPECT_TRUE(copies_.WriteFileBytes(kDesktopFile, Bytes{1, 2}));
  EXPECT_EQ(files_.Content(kDesktopFile), (Bytes{1, 2, 9, 9, 9}));
}

TEST_F(FileManagement, WriteFileBytesThatFailsIsFalse) {
  EXPECT_FALSE(copies_.WriteFileBytes("Z:\\nowhere\\x", Bytes{1}));
  EXPECT_FALSE(copies_.WriteFileBytes(kDesktopFile, {}));
  EXPECT_FALSE(files_.FileExists(kDesktopFile));
  files_.FailWrite(1);
  EXPECT_FALSE(copies_.WriteFileBytes(kDesktopFile, Bytes{1}));
}

TEST_F(FileManagement, WithoutHooksCopiesAllTheSame) {
  const DeviceHooks none;
  modWinCERAPIConnectionHandler connection(rapi_, none);
  modWinCEFileManagement copies(rapi_, connection, files_, none);
  files_.Put(kDesktopFile, Pattern(3000));
  EXPECT_EQ(copies.CopyFileToDevice(kDesktopFile, kDeviceFile, Overwrite::Yes), DeviceCopyResult::Copied);
  EXPECT_EQ(copies.CopyFileFromDevice(kDeviceFile, kDesktopFile, Overwrite::Yes), DeviceCopyResult::Copied);
}

}  // namespace
}  // namespace mv
