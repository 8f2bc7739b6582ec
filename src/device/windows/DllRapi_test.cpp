#include "device/windows/DllRapi.h"

#include <gtest/gtest.h>
// The library under test is a Windows library; the test looks at what is loaded and holds handles of its own.
#include <windows.h>

#include <chrono>

#include "base/Error.h"
#include "device/SystemRapi.h"
#include "device/modWinCEFileManagement.h"
#include "rapi/TestHandheld.h"
#include "support/ExpectError.h"
#include "support/RapiContract.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;
using testing::TestHandheld;
using Calls = std::vector<std::string>;

constexpr const char* kDeviceFile = "\\Motorva\\a.pdb";
constexpr std::int32_t kFail = static_cast<std::int32_t>(0x80004005);
constexpr std::uint32_t kTimedOut = 258;
constexpr std::uint32_t kWaitFailed = 0xFFFFFFFF;

constexpr const char* kInit = "CeRapiInitEx 12 -> 0";
constexpr const char* kConnected = "connection -> 0";
constexpr const char* kOpenForRead = "CeCreateFile \\Motorva\\a.pdb 80000000 1 1 3 80 0 -> ";
constexpr const char* kOpenForUpload = "CeCreateFile \\Motorva\\a.pdb 40000000 1 1 2 80 0 -> ";
constexpr const char* kRefused = "failed, error 5";
constexpr const char* kTransport = "failed, transport 80004005";
constexpr const char* kNoRapiError = "CeRapiGetError -> 0";
constexpr const char* kRapiError = "CeRapiGetError -> 80004005";
/// With and without a file that the connection's end closes.
constexpr const char* kUninit = "CeRapiUninit -> 0, files left open: 0, finds left open: 0";
constexpr const char* kUninitWithFile = "CeRapiUninit -> 0, files left open: 1, finds left open: 0";

Bytes Pattern(std::size_t length) {
  Bytes bytes(length);
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
  return bytes;
}

Calls operator+(Calls calls, const Calls& more) {
  calls.insert(calls.end(), more.begin(), more.end());
  return calls;
}

class DllRapiTest : public ::testing::Test {
 protected:
  explicit DllRapiTest(std::string library = TestHandheld::LibraryFolder()) : handheld_(std::move(library)) {}

  std::string DesktopFile() const { return handheld_.Temp().File("desktop.pdb"); }
  void PutOnDesktop(std::size_t length) { handheld_.Files().WriteWhole(DesktopFile(), Pattern(length)); }

  /// Uploads `length` bytes after a start with `script`.
  std::int32_t Upload(const std::string& script, std::size_t length, Overwrite overwrite = Overwrite::Yes) {
    handheld_.Script(script);
    PutOnDesktop(length);
    return UploadAgain(overwrite);
  }
  std::int32_t UploadAgain(Overwrite overwrite = Overwrite::Yes) {
    return static_cast<std::int32_t>(copies_.CopyFileToDevice(DesktopFile(), kDeviceFile, overwrite));
  }
  /// Connects and downloads after a start with `script`.
  std::int32_t Download(const std::string& script, Overwrite overwrite = Overwrite::Yes) {
    handheld_.Script(script);
    connection_.ConnectDevice();
    return static_cast<std::int32_t>(copies_.CopyFileFromDevice(kDeviceFile, DesktopFile(), overwrite));
  }
  /// Sizes of the writes that upload `length` bytes, "2 2 1 ".
  std::string ChunksOf(std::size_t length) {
    EXPECT_EQ(Upload("", length), 0);
    std::string chunks;
    for (const std::string& call : handheld_.Calls()) {
      if (call.starts_with("CeWriteFile #1 ")) chunks += call.substr(15, call.find(' ', 15) - 14);
    }
    EXPECT_EQ(handheld_.Content(kDeviceFile), Pattern(length));
    return chunks;
  }

  TestHandheld handheld_;
  DllRapi rapi_{{handheld_.Library()}};
  DeviceHooks hooks_;
  modWinCERAPIConnectionHandler connection_{rapi_, hooks_};
  modWinCEFileManagement copies_{rapi_, connection_, handheld_.Files(), hooks_};
};

// ---- Loading

TEST_F(DllRapiTest, LibraryIsLoadedByTheFirstConnection) {
  EXPECT_EQ(TestHandheld::LoadedFrom(handheld_.Library()), nullptr);
  connection_.ConnectDevice();
  EXPECT_NE(TestHandheld::LoadedFrom(handheld_.Library()), nullptr);
}

TEST_F(DllRapiTest, LibraryOnceUsedStaysLoadedWhenItsUserIsGone) {
  {
    DllRapi rapi({handheld_.Library()});
    RAPIINIT init{12, 0, 0};
    rapi.CeRapiInitEx(init);
  }
  EXPECT_NE(TestHandheld::LoadedFrom(handheld_.Library()), nullptr);
}

class BadLibrary : public DllRapiTest {
 protected:
  /// Connects through the library in `folder`, which must fail with `error`, and so must every other call.
  void ExpectFailure(const std::string& folder, std::int32_t error) {
    DllRapi rapi({folder});
    RAPIINIT init{12, 0, 0};
    EXPECT_EQ(rapi.CeRapiInitEx(init), error);
    Bytes buffer(1);
    std::uint32_t count = 1;
    EXPECT_EQ(rapi.CeRapiGetError(), error);
    EXPECT_EQ(rapi.CeRapiUninit(), error);
    EXPECT_EQ(rapi.CeFindFirstFile(kDeviceFile), kInvalidRapiHandle);
    EXPECT_EQ(rapi.CeFindClose(1), 0);
    EXPECT_EQ(rapi.CeCreateFile(kDeviceFile, 0x80000000, 1, 1, 3, 0x80), kInvalidRapiHandle);
    EXPECT_EQ(rapi.CeGetFileSize(1), 0xFFFFFFFFU);
    EXPECT_EQ(rapi.CeReadFile(1, buffer, count), 0);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(rapi.CeWriteFile(1, buffer, count), 0);
    EXPECT_EQ(rapi.CeCloseHandle(1), 0);
    EXPECT_EQ(TestHandheld::LoadedFrom(folder), nullptr);
  }
  static std::int32_t Hresult(std::uint32_t systemError) { return static_cast<std::int32_t>(0x80070000 | systemError); }
};

TEST_F(BadLibrary, MissingLibraryIsAFailedConnection) {
  ExpectFailure(handheld_.Temp().Path(), Hresult(ERROR_MOD_NOT_FOUND));
}

TEST_F(BadLibrary, FileThatIsNoLibraryIsAFailedConnection) {
  handheld_.Temp().Write("rapi.dll", "no library");
  ExpectFailure(handheld_.Temp().Path(), Hresult(ERROR_BAD_EXE_FORMAT));
}

TEST_F(BadLibrary, LibraryThatLacksAFunctionIsAFailedConnectionAndIsUnloaded) {
  ExpectFailure(handheld_.Library() + "\\incomplete", Hresult(ERROR_PROC_NOT_FOUND));
}

TEST_F(BadLibrary, FailedConnectionWithoutALibraryIsSixForACopy) {
  DllRapi rapi({handheld_.Temp().Path()});
  modWinCERAPIConnectionHandler connection(rapi, hooks_);
  modWinCEFileManagement copies(rapi, connection, handheld_.Files(), hooks_);
  PutOnDesktop(10);
  EXPECT_EQ(copies.CopyFileToDevice(DesktopFile(), kDeviceFile, Overwrite::Yes), DeviceCopyResult::NoConnection);
}

TEST_F(BadLibrary, NextFolderIsSearchedAfterAMissingOrUnusableLibrary) {
  DllRapi rapi({handheld_.Temp().Path(), handheld_.Library() + "\\incomplete", handheld_.Library()});
  RAPIINIT init{12, 0, 0};
  EXPECT_EQ(rapi.CeRapiInitEx(init), 0);
}

TEST_F(BadLibrary, LibraryThatTurnsUpLaterIsFoundByTheNextAttempt) {
  const std::string folder = handheld_.Temp().Path();
  {
    DllRapi rapi({folder});
    RAPIINIT init{12, 0, 0};
    EXPECT_NE(rapi.CeRapiInitEx(init), 0);
    handheld_.Files().CopyWhole(handheld_.Library() + "\\rapi.dll", folder + "\\rapi.dll");
    EXPECT_EQ(rapi.CeRapiInitEx(init), 0);
  }
  TestHandheld::Unload(folder);
}

TEST_F(BadLibrary, CurrentFolderIsNotSearched) {
  std::wstring before(::GetCurrentDirectoryW(0, nullptr), L'\0');
  before.resize(::GetCurrentDirectoryW(static_cast<DWORD>(before.size()), before.data()));
  ASSERT_TRUE(::SetCurrentDirectoryW(platform::NativePath(handheld_.Library()).c_str()));
  const std::unique_ptr<Rapi> rapi = MakeSystemRapi(handheld_.Temp().Path());
  RAPIINIT init{12, 0, 0};
  EXPECT_LT(rapi->CeRapiInitEx(init), 0);
  ::SetCurrentDirectoryW(before.c_str());
}

TEST_F(DllRapiTest, SystemsRemoteApiIsTheLibraryInTheProgramsFolder) {
  const std::unique_ptr<Rapi> rapi = MakeSystemRapi(handheld_.Library());
  RAPIINIT init{12, 0, 0};
  EXPECT_EQ(rapi->CeRapiInitEx(init), 0);
  EXPECT_EQ(handheld_.Calls().front(), kInit);
}

// ---- Connection

TEST_F(DllRapiTest, ConnectionIsOneStartThatStatesTwelveBytes) {
  EXPECT_TRUE(connection_.ConnectDevice());
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected}));
}

TEST_F(DllRapiTest, LibraryThatInsistsOnItsOwnRecordSizeIsStartedOnceMoreWithIt) {
  handheld_.Script("size native");
  EXPECT_TRUE(connection_.ConnectDevice());
  EXPECT_EQ(handheld_.Calls(), (Calls{"CeRapiInitEx 12 -> 80070057", "CeRapiInitEx 24 -> 0", kConnected}));
}

TEST_F(DllRapiTest, LibraryThatInsistsOnTwelveBytesIsStartedOnce) {
  handheld_.Script("size 12");
  EXPECT_TRUE(connection_.ConnectDevice());
  EXPECT_EQ(handheld_.Count("CeRapiInitEx"), 1U);
}

TEST_F(DllRapiTest, LibraryThatAcceptsNoSizeIsAFailedConnection) {
  handheld_.Script("fail CeRapiInitEx 1+ 80070057");
  EXPECT_FALSE(connection_.ConnectDevice());
  EXPECT_EQ(handheld_.Calls(), (Calls{"CeRapiInitEx 12 -> 80070057", "CeRapiInitEx 24 -> 80070057", kUninit}));
}

TEST_F(DllRapiTest, StartThatFailsOtherwiseIsNotRepeated) {
  handheld_.Script("fail CeRapiInitEx 1 80004005");
  EXPECT_FALSE(connection_.ConnectDevice());
  EXPECT_EQ(handheld_.Calls(), (Calls{"CeRapiInitEx 12 -> 80004005", kUninit}));
}

TEST_F(DllRapiTest, FailureInTheRecordAtOnceIsUndoneWithoutWaiting) {
  handheld_.Script("result-at-once 80004005; signal never");
  EXPECT_FALSE(connection_.ConnectDevice());
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kUninit}));
}

TEST_F(DllRapiTest, FailureThatTheLibraryReportsLateIsSeenAfterTheWait) {
  handheld_.Script("result-late 80004005; signal 50");
  RAPIINIT init{12, 0, 0};
  EXPECT_EQ(rapi_.CeRapiInitEx(init), 0);
  EXPECT_EQ(init.hrRapiInit, 0);
  EXPECT_EQ(rapi_.WaitForSingleObject(init.heRapiInit, 5000), 0U);
  EXPECT_EQ(init.hrRapiInit, kFail);
}

TEST_F(DllRapiTest, FailureThatTheLibraryReportsLateIsUndone) {
  handheld_.Script("result-late 80004005; signal 50");
  EXPECT_FALSE(connection_.ConnectDevice());
  EXPECT_FALSE(connection_.IsDeviceConnected());
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, "connection -> 80004005", kUninit}));
}

TEST_F(DllRapiTest, HandheldThatNeverAnswersIsGivenUpAfterFiveSeconds) {
  handheld_.Script("signal never");
  const auto before = std::chrono::steady_clock::now();
  EXPECT_FALSE(connection_.ConnectDevice());
  const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - before;
  EXPECT_GE(waited.count(), 4.9);
  EXPECT_LT(waited.count(), 10.0);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kUninit}));
}

TEST_F(DllRapiTest, HandheldThatAnswersAfterAWhileIsWaitedFor) {
  handheld_.Script("signal 200; slow 5");
  EXPECT_EQ(Upload("signal 200; slow 5", 30), 0);
  EXPECT_EQ(handheld_.Content(kDeviceFile), Pattern(30));
}

TEST_F(DllRapiTest, WaitThatFailsCountsAsSignalled) {
  handheld_.Script("bad-event");
  RAPIINIT init{12, 0, 0};
  rapi_.CeRapiInitEx(init);
  EXPECT_EQ(rapi_.WaitForSingleObject(init.heRapiInit, 5000), kWaitFailed);
  rapi_.CeRapiUninit();
  EXPECT_TRUE(connection_.ConnectDevice());
}

TEST_F(DllRapiTest, DisconnectEndsTheConnectionOnce) {
  connection_.ConnectDevice();
  connection_.DisconnectDevice();
  connection_.DisconnectDevice();
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, kUninit}));
}

TEST_F(DllRapiTest, ConnectionAfterADisconnectIsANewOne) {
  connection_.ConnectDevice();
  connection_.DisconnectDevice();
  EXPECT_TRUE(connection_.ConnectDevice());
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, kUninit, kInit, kConnected}));
}

TEST_F(DllRapiTest, ConnectionLeftUpIsEndedWithItsObject) {
  {
    DllRapi rapi({handheld_.Library()});
    modWinCERAPIConnectionHandler connection(rapi, hooks_);
    EXPECT_TRUE(connection.ConnectDevice());
  }
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, kUninit}));
}

TEST_F(DllRapiTest, ConnectionThatWasEndedIsNotEndedAgainWithItsObject) {
  {
    DllRapi rapi({handheld_.Library()});
    modWinCERAPIConnectionHandler connection(rapi, hooks_);
    connection.ConnectDevice();
    connection.DisconnectDevice();
  }
  EXPECT_EQ(handheld_.Count("CeRapiUninit"), 1U);
}

/// The library goes on with an attempt that was given up, and writes its result when nobody waits any more.
class StubbornLibrary : public ::testing::Test {
 protected:
  /// Cannot be unloaded, so it is not the one of the other tests.
  TestHandheld handheld_{TestHandheld::LibraryFolder() + "\\second", TestHandheld::AfterTest::KeepLoaded};
};

TEST_F(StubbornLibrary, ResultAfterATimeOutIsWrittenIntoNobodysMemory) {
  handheld_.Script("result-late 80004005; signal 150; stubborn");
  RAPIINIT init{12, 0, 0};
  {
    DllRapi rapi({handheld_.Library()});
    EXPECT_EQ(rapi.CeRapiInitEx(init), 0);
    EXPECT_EQ(rapi.WaitForSingleObject(init.heRapiInit, 1), kTimedOut);
    rapi.CeRapiUninit();
  }
  // Were the record's memory free, one of these would lie there.
  std::vector<Bytes> others(2000, Bytes(3 * sizeof(void*), 0xAA));
  while (handheld_.Count("connection") == 0) ::Sleep(5);
  for (const Bytes& other : others) ASSERT_EQ(other, Bytes(3 * sizeof(void*), 0xAA));
  EXPECT_EQ(init.hrRapiInit, 0);
}

// ---- Upload: every code, with the calls that lead to it

TEST_F(DllRapiTest, UploadIsZero) {
  EXPECT_EQ(Upload("", 10), 0);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, std::string(kOpenForUpload) + "#1", "CeWriteFile #1 10 -> 10",
                                      "CeCloseHandle #1 -> 1"}));
  EXPECT_EQ(handheld_.Content(kDeviceFile), Pattern(10));
}

TEST_F(DllRapiTest, UploadOfANewFileWithoutOverwriteIsZeroAfterLookingForIt) {
  EXPECT_EQ(Upload("", 10, Overwrite::No), 0);
  EXPECT_EQ(handheld_.Calls(),
            (Calls{kInit, kConnected, "CeFindFirstFile \\Motorva\\a.pdb -> failed, error 2", kNoRapiError,
                   std::string(kOpenForUpload) + "#1", "CeWriteFile #1 10 -> 10", "CeCloseHandle #1 -> 1"}));
}

TEST_F(DllRapiTest, UploadOverALongerFileReplacesIt) {
  handheld_.Put(kDeviceFile, Pattern(5000));
  EXPECT_EQ(Upload("", 10), 0);
  EXPECT_EQ(handheld_.Content(kDeviceFile), Pattern(10));
}

TEST_F(DllRapiTest, UploadOfAMissingDesktopFileIsOne) {
  EXPECT_EQ(UploadAgain(), 1);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, kUninit}));
}

TEST_F(DllRapiTest, UploadOfAnEmptyDesktopFileIsTwo) {
  EXPECT_EQ(Upload("", 0), 2);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, std::string(kOpenForUpload) + "#1", kUninitWithFile}));
}

TEST_F(DllRapiTest, UploadOverAFileWithoutOverwriteIsFour) {
  handheld_.Put(kDeviceFile, {1});
  EXPECT_EQ(Upload("", 10, Overwrite::No), 4);
  EXPECT_EQ(handheld_.Calls(),
            (Calls{kInit, kConnected, "CeFindFirstFile \\Motorva\\a.pdb -> #1", "CeFindClose #1 -> 1", kUninit}));
  EXPECT_EQ(handheld_.Content(kDeviceFile), Bytes{1});
}

TEST_F(DllRapiTest, UploadWhoseThirdWriteIsRefusedIsFive) {
  EXPECT_EQ(Upload("fail CeWriteFile 3", 1000), 5);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, std::string(kOpenForUpload) + "#1", "CeWriteFile #1 50 -> 50",
                                      "CeWriteFile #1 50 -> 50", std::string("CeWriteFile #1 50 -> ") + kRefused,
                                      kNoRapiError, kUninitWithFile}));
}

TEST_F(DllRapiTest, UploadWhoseCloseIsRefusedIsFive) {
  EXPECT_EQ(Upload("fail CeCloseHandle 1", 10), 5);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, std::string(kOpenForUpload) + "#1", "CeWriteFile #1 10 -> 10",
                                      std::string("CeCloseHandle #1 -> ") + kRefused, kNoRapiError, kUninitWithFile}));
}

TEST_F(DllRapiTest, UploadWithoutAConnectionIsSix) {
  EXPECT_EQ(Upload("result-late 80004005", 10), 6);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, "connection -> 80004005", kUninit}));
}

TEST_F(DllRapiTest, UploadThatLosesTheTransportIsSixAndEndsTheConnection) {
  const std::string open = std::string(kOpenForUpload) + "#1";
  struct Case {
    const char* call;
    Calls calls;
  };
  const std::vector<Case> cases = {
      {"CeFindFirstFile", {std::string("CeFindFirstFile \\Motorva\\a.pdb -> ") + kTransport, kRapiError, kUninit}},
      {"CeCreateFile",
       {"CeFindFirstFile \\Motorva\\a.pdb -> failed, error 2", kNoRapiError, std::string(kOpenForUpload) + kTransport,
        kRapiError, kUninit}},
      {"CeWriteFile",
       {"CeFindFirstFile \\Motorva\\a.pdb -> failed, error 2", kNoRapiError, open,
        std::string("CeWriteFile #1 10 -> ") + kTransport, kRapiError, kUninitWithFile}},
  };
  for (const Case& one : cases) {
    TestHandheld handheld;
    handheld.Script(std::string("fail ") + one.call + " 1 80004005");
    handheld.Files().WriteWhole(handheld.Temp().File("desktop.pdb"), Pattern(10));
    DllRapi rapi({handheld.Library()});
    modWinCERAPIConnectionHandler connection(rapi, hooks_);
    modWinCEFileManagement copies(rapi, connection, handheld.Files(), hooks_);
    EXPECT_EQ(copies.CopyFileToDevice(handheld.Temp().File("desktop.pdb"), kDeviceFile, Overwrite::No),
              DeviceCopyResult::NoConnection);
    EXPECT_EQ(handheld.Calls(), (Calls{kInit, kConnected} + one.calls));
    EXPECT_FALSE(connection.IsDeviceConnected());
  }
}

TEST_F(DllRapiTest, UploadThatMayNotBeCreatedIsSeven) {
  EXPECT_EQ(Upload("fail CeCreateFile 1", 10), 7);
  EXPECT_EQ(handheld_.Calls(),
            (Calls{kInit, kConnected, std::string(kOpenForUpload) + kRefused, kNoRapiError, kUninit}));
}

TEST_F(DllRapiTest, UploadOverAFileThatTheHandheldHoldsOpenIsSeven) {
  handheld_.Put(kDeviceFile, {1});
  const auto held = handheld_.Files().Open(handheld_.LocalPath(kDeviceFile), platform::Access::ReadWrite,
                                           platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_EQ(Upload("", 10), 7);
  EXPECT_EQ(handheld_.Calls()[2], std::string(kOpenForUpload) + "failed, error 32");
}

/// A library with the functions that copying takes and no other.
class CopyingLibrary : public DllRapiTest {
 protected:
  CopyingLibrary() : DllRapiTest(TestHandheld::LibraryFolder() + "\\copying") {}
};

TEST_F(CopyingLibrary, IsEnoughForBothCopies) {
  EXPECT_EQ(Upload("", 30, Overwrite::No), 0);
  EXPECT_EQ(Download(""), 0);
  EXPECT_EQ(ReadWhole(handheld_.Files(), DesktopFile()), Pattern(30));
}

TEST_F(CopyingLibrary, FindHandleOfAnExistingFileIsClosedByTheEndOfTheConnection) {
  handheld_.Put(kDeviceFile, {1});
  EXPECT_EQ(Upload("", 10, Overwrite::No), 4);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, "CeFindFirstFile \\Motorva\\a.pdb -> #1",
                                      "CeRapiUninit -> 0, files left open: 0, finds left open: 1"}));
}

TEST_F(CopyingLibrary, ListsNothingAndDescribesNoSystem) {
  connection_.ConnectDevice();
  std::vector<DeviceEntry> entries(1);
  HandheldFacts facts{SystemVersion{}, "left over", "", "", ""};
  EXPECT_EQ(rapi_.CeFindAllFiles("\\Motorva\\*", entries), 0);
  EXPECT_TRUE(entries.empty());
  EXPECT_NE(rapi_.DescribeHandheld(facts), 0);
  EXPECT_EQ(facts, HandheldFacts());
}

// ---- Listing and describing

TEST_F(DllRapiTest, ListingAsksForWhatItTellsAndGivesTheBufferBack) {
  handheld_.Put(kDeviceFile, Pattern(70000));
  connection_.ConnectDevice();
  std::vector<DeviceEntry> entries;
  EXPECT_NE(rapi_.CeFindAllFiles("\\Motorva\\*", entries), 0);
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].name, "a.pdb");
  EXPECT_EQ(entries[0].size, 70000U);
  EXPECT_EQ(entries[0].lastWriteTime, handheld_.Files().LastWriteTime(handheld_.LocalPath(kDeviceFile)));
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, "CeFindAllFiles \\Motorva\\* b9 -> 1", "CeRapiFreeBuffer"}));
}

TEST_F(DllRapiTest, ListingTellsFoldersApart) {
  connection_.ConnectDevice();
  std::vector<DeviceEntry> entries;
  EXPECT_NE(rapi_.CeFindAllFiles("\\Motorva", entries), 0);
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_TRUE(entries[0].IsFolder());
}

TEST_F(DllRapiTest, ListingThatTheDeviceRefusesFails) {
  handheld_.Script("fail CeFindAllFiles 1");
  connection_.ConnectDevice();
  std::vector<DeviceEntry> entries;
  EXPECT_EQ(rapi_.CeFindAllFiles("\\Motorva\\*", entries), 0) << "error 5 is not that nothing fits";
}

TEST_F(DllRapiTest, SystemIsTheOneThatTheHandheldTells) {
  connection_.ConnectDevice();
  HandheldFacts facts;
  EXPECT_NE(rapi_.DescribeHandheld(facts), 0);
  EXPECT_EQ(facts, (HandheldFacts{SystemVersion{4, 20, 1081}, "", "", "", ""}));
  EXPECT_EQ(handheld_.Calls().back(), "CeGetVersionEx 276 -> 4.20.1081");
}

// ---- Upload: chunks

TEST_F(DllRapiTest, TenBytesAreOneChunk) {
  EXPECT_EQ(ChunksOf(10), "10 ");
}

TEST_F(DllRapiTest, ThirtyBytesAreFifteenChunksOfTwo) {
  EXPECT_EQ(ChunksOf(30), "2 2 2 2 2 2 2 2 2 2 2 2 2 2 2 ");
}

TEST_F(DllRapiTest, OneThousandAndTenBytesAreTwentyChunksOfFiftyAndOneOfTen) {
  EXPECT_EQ(ChunksOf(1010), "50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 50 10 ");
}

TEST_F(DllRapiTest, CountOfBytesWrittenIsNotLookedAt) {
  EXPECT_EQ(Upload("short-writes", 10), 0);
  EXPECT_EQ(handheld_.Calls()[3], "CeWriteFile #1 10 -> 5");
}

// ---- Download: every code, with the calls that lead to it

TEST_F(DllRapiTest, DownloadIsZero) {
  handheld_.Put(kDeviceFile, Pattern(3000));
  EXPECT_EQ(Download(""), 0);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, std::string(kOpenForRead) + "#1", "CeGetFileSize #1 -> 3000",
                                      "CeReadFile #1 3000 -> 3000", "CeCloseHandle #1 -> 1"}));
  EXPECT_EQ(ReadWhole(handheld_.Files(), DesktopFile()), Pattern(3000));
}

TEST_F(DllRapiTest, DownloadOfAMissingFileIsOne) {
  EXPECT_EQ(Download(""), 1);
  EXPECT_EQ(handheld_.Calls(),
            (Calls{kInit, kConnected, std::string(kOpenForRead) + "failed, error 2", kNoRapiError, kUninit}));
}

TEST_F(DllRapiTest, DownloadOfAFileThatTheHandheldHoldsOpenIsOne) {
  handheld_.Put(kDeviceFile, {1});
  const auto held = handheld_.Files().Open(handheld_.LocalPath(kDeviceFile), platform::Access::ReadWrite,
                                           platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_EQ(Download(""), 1);
  EXPECT_EQ(handheld_.Calls()[2], std::string(kOpenForRead) + "failed, error 32");
}

TEST_F(DllRapiTest, DownloadWhoseSizeOrReadIsRefusedIsOne) {
  handheld_.Put(kDeviceFile, Pattern(10));
  EXPECT_EQ(Download("fail CeGetFileSize 1; fail CeReadFile 1"), 1);
  EXPECT_EQ(Download(""), 1);
  const Calls open = {kInit, kConnected};
  const Calls unsized = {std::string(kOpenForRead) + "#1", std::string("CeGetFileSize #1 -> ") + kRefused, kNoRapiError,
                         kUninitWithFile};
  const Calls unread = {std::string(kOpenForRead) + "#2", "CeGetFileSize #2 -> 10",
                        std::string("CeReadFile #2 10 -> ") + kRefused, kNoRapiError, kUninitWithFile};
  EXPECT_EQ(handheld_.Calls(), open + unsized + open + unread);
}

TEST_F(DllRapiTest, DownloadOverADesktopFileWithoutOverwriteIsFour) {
  PutOnDesktop(1);
  EXPECT_EQ(Download("", Overwrite::No), 4);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, kUninit}));
}

TEST_F(DllRapiTest, DownloadThatCannotBeWrittenHereIsFive) {
  handheld_.Put(kDeviceFile, Pattern(10));
  handheld_.Files().CreateFolders(DesktopFile());
  EXPECT_EQ(Download(""), 5);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, std::string(kOpenForRead) + "#1", "CeGetFileSize #1 -> 10",
                                      "CeReadFile #1 10 -> 10", kUninitWithFile}));
}

TEST_F(DllRapiTest, DownloadWithoutAConnectionIsSixWithoutACall) {
  const DeviceCopyResult result = copies_.CopyFileFromDevice(kDeviceFile, DesktopFile(), Overwrite::Yes);
  EXPECT_EQ(result, DeviceCopyResult::NoConnection);
  EXPECT_TRUE(handheld_.Calls().empty());
}

TEST_F(DllRapiTest, DownloadThatLosesTheTransportIsSixAndEndsTheConnection) {
  handheld_.Put(kDeviceFile, Pattern(10));
  EXPECT_EQ(Download("fail CeCreateFile 1 80004005; fail CeGetFileSize 1 80004005; fail CeReadFile 1 80004005"), 6);
  EXPECT_EQ(Download(""), 6);
  EXPECT_EQ(Download(""), 6);
  const Calls open = {kInit, kConnected};
  const Calls unopened = {std::string(kOpenForRead) + kTransport, kRapiError, kUninit};
  const Calls unsized = {std::string(kOpenForRead) + "#1", std::string("CeGetFileSize #1 -> ") + kTransport, kRapiError,
                         kUninitWithFile};
  const Calls unread = {std::string(kOpenForRead) + "#2", "CeGetFileSize #2 -> 10",
                        std::string("CeReadFile #2 10 -> ") + kTransport, kRapiError, kUninitWithFile};
  EXPECT_EQ(handheld_.Calls(), open + unopened + open + unsized + open + unread);
}

TEST_F(DllRapiTest, EmptyDeviceFileRaisesAndLeavesNoHandleOpen) {
  handheld_.Put(kDeviceFile, {});
  EXPECT_EQ(ErrorNumberOf([&] { Download(""); }), errors::kSubscriptOutOfRange);
  EXPECT_TRUE(connection_.IsDeviceConnected());
  connection_.DisconnectDevice();
  EXPECT_EQ(handheld_.Calls().back(), kUninit);
}

TEST_F(DllRapiTest, HandheldThatVanishesIsSixFromThenOn) {
  handheld_.Put(kDeviceFile, Pattern(10));
  EXPECT_EQ(Download("vanish CeReadFile 1"), 6);
  EXPECT_EQ(Download(""), 6);
  EXPECT_EQ(handheld_.Calls(), (Calls{kInit, kConnected, std::string(kOpenForRead) + "#1", "CeGetFileSize #1 -> 10",
                                      std::string("CeReadFile #1 10 -> ") + kTransport, kRapiError, kUninitWithFile,
                                      kInit, "connection -> 80004005", kUninit}));
}

// ---- Both ways

TEST_F(DllRapiTest, CopiesBothWaysLeaveNoHandleOpen) {
  EXPECT_EQ(Upload("", 1010), 0);
  EXPECT_EQ(Download(""), 0);
  connection_.DisconnectDevice();
  EXPECT_EQ(handheld_.Calls().back(), kUninit);
}

TEST_F(DllRapiTest, FiveMegabytesComeBackAsTheyWent) {
  EXPECT_EQ(Upload("", 5'000'000), 0);
  EXPECT_EQ(handheld_.Count("CeWriteFile"), 20U);
  EXPECT_EQ(handheld_.Content(kDeviceFile), Pattern(5'000'000));
  handheld_.Files().RemoveFile(DesktopFile());
  EXPECT_EQ(Download(""), 0);
  EXPECT_EQ(ReadWhole(handheld_.Files(), DesktopFile()), Pattern(5'000'000));
}

TEST_F(DllRapiTest, NamesOutsideAsciiAreWideOnTheDevice) {
  const std::string folder = "\\M\u00F6bel \u4E2D\u2122";
  const std::string path = folder + "\\\U0001F697.pdb";
  handheld_.Files().CreateFolders(handheld_.LocalPath(folder));
  PutOnDesktop(10);
  EXPECT_EQ(copies_.CopyFileToDevice(DesktopFile(), path, Overwrite::No), DeviceCopyResult::Copied);
  EXPECT_EQ(handheld_.Content(path), Pattern(10));
  EXPECT_EQ(handheld_.Calls()[2], "CeFindFirstFile " + path + " -> failed, error 2");
  EXPECT_EQ(copies_.CopyFileFromDevice(path, DesktopFile(), Overwrite::Yes), DeviceCopyResult::Copied);
}

}  // namespace
}  // namespace mv

// ---- What every implementation does

namespace mv::testing {
namespace {

class LibraryHandheld : public Handheld {
 public:
  Rapi& Api() override { return rapi_; }

 private:
  TestHandheld handheld_;
  DllRapi rapi_{{handheld_.Library()}};
};

INSTANTIATE_TYPED_TEST_SUITE_P(Library, RapiContract, LibraryHandheld);

}  // namespace
}  // namespace mv::testing
