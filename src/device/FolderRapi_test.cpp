#include "device/FolderRapi.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/Error.h"
#include "device/modWinCEFileManagement.h"
#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv {
namespace {

constexpr const char* kDevicePath = "\\Program Files\\Motorva\\brnd_Fuel.pdb";
constexpr const char* kLocalPath = "D:\\card\\Program Files\\Motorva\\brnd_Fuel.pdb";
constexpr std::uint32_t kRead = 0x80000000;
constexpr std::uint32_t kWrite = 0x40000000;
constexpr std::uint32_t kCreateAlways = 2;
constexpr std::uint32_t kOpenExisting = 3;

class FolderRapiTest : public ::testing::Test {
 protected:
  FolderRapiTest() {
    files_.Put(kLocalPath, {1, 2, 3});
    files_.Put("C:\\work\\new.pdb", {7, 8});
    Connect(rapi_);
  }

  static std::int32_t Connect(FolderRapi& rapi) {
    RAPIINIT init;
    return rapi.CeRapiInitEx(init);
  }
  RapiHandle OpenForRead(const std::string& path) { return rapi_.CeCreateFile(path, kRead, 1, 1, kOpenExisting, 0x80); }
  RapiHandle OpenForUpload(const std::string& path) {
    return rapi_.CeCreateFile(path, kWrite, 1, 1, kCreateAlways, 0x80);
  }
  std::int32_t Write(RapiHandle file, const Bytes& data) {
    std::uint32_t written = 0;
    return rapi_.CeWriteFile(file, data, written);
  }
  bool CanRead(const std::string& path) {
    const RapiHandle file = OpenForRead(path);
    if (file == kInvalidRapiHandle) return false;
    rapi_.CeCloseHandle(file);
    return true;
  }
  /// Copies C:\work\new.pdb over the table, as a run does.
  std::int32_t CopyToDevice() {
    const DeviceHooks hooks;
    modWinCERAPIConnectionHandler connection(rapi_, hooks);
    modWinCEFileManagement copies(rapi_, connection, files_, hooks);
    return static_cast<std::int32_t>(copies.CopyFileToDevice("C:\\work\\new.pdb", kDevicePath, Overwrite::Yes));
  }
  std::string StagedPath() const { return files_.StagedName(files_.RealPath(kLocalPath)); }

  testing::MemoryFileSystem files_;
  FolderRapi rapi_{files_, "D:\\card"};
};

TEST_F(FolderRapiTest, MissingRootIsAFailedConnection) {
  FolderRapi missing(files_, "D:\\nowhere");
  RAPIINIT init;
  EXPECT_NE(missing.CeRapiInitEx(init), 0);
  EXPECT_NE(init.hrRapiInit, 0);
}

TEST_F(FolderRapiTest, RootThatIsAFileIsAFailedConnection) {
  FolderRapi file(files_, kLocalPath);
  EXPECT_NE(Connect(file), 0);
}

TEST_F(FolderRapiTest, DesktopsOwnRootFolderIsAFailedConnection) {
  for (const char* root : {"", "\\", "/"}) {
    FolderRapi desktop(files_, root);
    EXPECT_NE(Connect(desktop), 0) << root;
  }
}

TEST_F(FolderRapiTest, RootWithSeparatorsAtItsEndIsTheSameRoot) {
  for (const char* root : {"D:\\card\\", "D:/card/", "D:\\card\\\\"}) {
    FolderRapi rapi(files_, root);
    EXPECT_EQ(Connect(rapi), 0) << root;
    EXPECT_NE(rapi.CeFindFirstFile(kDevicePath), kInvalidRapiHandle) << root;
  }
}

TEST_F(FolderRapiTest, NamesMatchWithoutRegardToCaseSegmentBySegment) {
  EXPECT_TRUE(CanRead("\\PROGRAM FILES\\motorva\\BRND_FUEL.PDB"));
}

TEST_F(FolderRapiTest, ExactMatchComesBeforeOneThatDiffersInCase) {
  files_.Put("D:\\card\\Program Files\\Motorva\\BRND_FUEL.PDB", {9, 9, 9, 9, 9});
  const RapiHandle lower = OpenForRead(kDevicePath);
  const RapiHandle upper = OpenForRead("\\Program Files\\Motorva\\BRND_FUEL.PDB");
  EXPECT_EQ(rapi_.CeGetFileSize(lower), 3U);
  EXPECT_EQ(rapi_.CeGetFileSize(upper), 5U);
}

/// Lists folders backwards: the order of a listing is the file system's own affair.
class BackwardFileSystem : public testing::MemoryFileSystem {
 public:
  std::vector<std::string> List(const std::string& folder) const override {
    std::vector<std::string> names = MemoryFileSystem::List(folder);
    std::reverse(names.begin(), names.end());
    return names;
  }
};

template <typename AFileSystem>
std::uint32_t SizeOfTheMatch() {
  AFileSystem files;
  files.Put("D:\\card\\T.PDB", {1});
  files.Put("D:\\card\\t.pdb", {1, 2});
  FolderRapi rapi(files, "D:\\card");
  RAPIINIT init;
  rapi.CeRapiInitEx(init);
  return rapi.CeGetFileSize(rapi.CeCreateFile("\\t.PDB", kRead, 1, 1, kOpenExisting, 0x80));
}

TEST(FolderRapiNames, SeveralMatchesOfWhichNoneIsExactGiveTheFirstInByteOrder) {
  EXPECT_EQ(SizeOfTheMatch<testing::MemoryFileSystem>(), 1U);
  EXPECT_EQ(SizeOfTheMatch<BackwardFileSystem>(), 1U);
}

TEST_F(FolderRapiTest, UploadUnderAnotherCaseReplacesTheFileThatIsThere) {
  const RapiHandle file = OpenForUpload("\\program files\\motorva\\BRND_fuel.pdb");
  Write(file, {5});
  EXPECT_NE(rapi_.CeCloseHandle(file), 0);
  EXPECT_EQ(files_.Content(kLocalPath), Bytes{5});
  EXPECT_EQ(files_.List("D:\\card\\Program Files\\Motorva").size(), 1U);
}

TEST_F(FolderRapiTest, PathsThatLeaveTheRootNameNothing) {
  files_.Put("D:\\secret.pdb", {1});
  files_.Put("D:\\card\\Program Files\\x.pdb", {1});
  for (const char* path :
       {"\\..\\secret.pdb", "..\\secret.pdb", "\\Program Files\\..\\..\\secret.pdb", "\\Program Files\\..\\..",
        "\\.. \\secret.pdb", "\\...\\secret.pdb", "\\.\\Program Files\\x.pdb", "D:\\secret.pdb", "\\D:\\secret.pdb",
        "\\secret.pdb:stream", "D:", "\\Program Files/../../secret.pdb", "", "\\", "\\\\"}) {
    EXPECT_EQ(rapi_.CeFindFirstFile(path), kInvalidRapiHandle) << path;
    EXPECT_EQ(OpenForRead(path), kInvalidRapiHandle) << path;
    EXPECT_EQ(OpenForUpload(path), kInvalidRapiHandle) << path;
  }
  EXPECT_EQ(files_.Content("D:\\secret.pdb"), Bytes{1});
}

TEST_F(FolderRapiTest, UnfinishedUploadLeavesTheOldTableWhole) {
  const RapiHandle file = OpenForUpload(kDevicePath);
  Write(file, {9, 9, 9, 9});
  EXPECT_EQ(files_.Content(kLocalPath), (Bytes{1, 2, 3}));
}

TEST_F(FolderRapiTest, TableBeingReplacedIsHeldAgainstOtherPrograms) {
  const RapiHandle file = OpenForUpload(kDevicePath);
  EXPECT_NE(file, kInvalidRapiHandle);
  EXPECT_EQ(testing::ErrorNumberOf([&] {
              files_.Open(kLocalPath, platform::Access::Write, platform::Disposition::OpenExisting,
                          platform::Sharing::All);
            }),
            errors::kPermissionDenied);
}

TEST_F(FolderRapiTest, UploadDroppedByTheEndOfTheConnectionLeavesNothingBehind) {
  Write(OpenForUpload(kDevicePath), {9, 9});
  rapi_.CeRapiUninit();
  EXPECT_EQ(files_.Content(kLocalPath), (Bytes{1, 2, 3}));
  EXPECT_FALSE(files_.FileExists(StagedPath()));
}

TEST_F(FolderRapiTest, UploadDroppedWithTheObjectLeavesNothingBehind) {
  {
    FolderRapi rapi(files_, "D:\\card");
    Connect(rapi);
    rapi.CeCreateFile(kDevicePath, kWrite, 1, 1, kCreateAlways, 0x80);
    EXPECT_TRUE(files_.FileExists(StagedPath()));
  }
  EXPECT_EQ(files_.Content(kLocalPath), (Bytes{1, 2, 3}));
  EXPECT_FALSE(files_.FileExists(StagedPath()));
}

TEST_F(FolderRapiTest, StaleUnfinishedUploadIsReplacedByTheNext) {
  files_.Put(StagedPath(), {9, 9, 9, 9, 9, 9});
  EXPECT_EQ(CopyToDevice(), 0);
  EXPECT_EQ(files_.Content(kLocalPath), (Bytes{7, 8}));
  EXPECT_FALSE(files_.FileExists(StagedPath()));
}

TEST_F(FolderRapiTest, FullCardIsAFailedWriteAndKeepsTheOldTable) {
  files_.FailWrite(1);
  EXPECT_EQ(CopyToDevice(), 5);
  EXPECT_EQ(files_.Content(kLocalPath), (Bytes{1, 2, 3}));
  EXPECT_FALSE(files_.FileExists(StagedPath()));
}

TEST_F(FolderRapiTest, UploadThatCannotTakeItsPlaceIsAFailedWriteAndKeepsTheOldTable) {
  files_.FailWrite(2);
  EXPECT_EQ(CopyToDevice(), 5);
  EXPECT_EQ(files_.Content(kLocalPath), (Bytes{1, 2, 3}));
  EXPECT_FALSE(files_.FileExists(StagedPath()));
}

TEST_F(FolderRapiTest, NewTableThatCannotBeSyncedIsAFailedCloseAndLeavesNothing) {
  const RapiHandle file = OpenForUpload("\\Program Files\\Motorva\\brnd_Trip.pdb");
  Write(file, {1});
  files_.FailSync(1);
  EXPECT_EQ(rapi_.CeCloseHandle(file), 0);
  EXPECT_EQ(files_.List("D:\\card\\Program Files\\Motorva").size(), 1U);
}

TEST_F(FolderRapiTest, TableHeldByAnotherProgramCannotBeReadNorReplaced) {
  const auto held =
      files_.Open(kLocalPath, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_FALSE(CanRead(kDevicePath));
  EXPECT_EQ(rapi_.CeRapiGetError(), 0);
  EXPECT_EQ(CopyToDevice(), 7);
  EXPECT_EQ(files_.Content(kLocalPath), (Bytes{1, 2, 3}));
}

TEST_F(FolderRapiTest, UploadIntoAMissingFolderCannotBeCreated) {
  EXPECT_EQ(OpenForUpload("\\Missing\\brnd_Fuel.pdb"), kInvalidRapiHandle);
  EXPECT_EQ(rapi_.CeRapiGetError(), 0);
}

TEST_F(FolderRapiTest, UploadOverAFolderCannotBeCreated) {
  EXPECT_EQ(OpenForUpload("\\Program Files"), kInvalidRapiHandle);
}

using Entries = std::vector<DeviceEntry>;

std::string NamesOf(Rapi& rapi, const std::string& pattern) {
  Entries entries;
  EXPECT_NE(rapi.CeFindAllFiles(pattern, entries), 0) << pattern;
  std::sort(entries.begin(), entries.end(),
            [](const DeviceEntry& left, const DeviceEntry& right) { return left.name < right.name; });
  std::string names;
  for (const DeviceEntry& entry : entries) names += entry.name + (entry.IsFolder() ? "\\ " : " ");
  return names;
}

TEST_F(FolderRapiTest, ListingOfTheRootShowsItsFolders) {
  files_.Put("D:\\card\\readme.txt", {1});
  EXPECT_EQ(NamesOf(rapi_, "\\*"), "Program Files\\ readme.txt ");
  EXPECT_EQ(NamesOf(rapi_, "\\*.*"), "Program Files\\ readme.txt ");
  EXPECT_EQ(NamesOf(rapi_, "\\*.txt"), "readme.txt ");
  EXPECT_EQ(NamesOf(rapi_, "\\program files"), "Program Files\\ ");
}

TEST_F(FolderRapiTest, ListingLeavesTheRootNoMoreThanOpeningDoes) {
  files_.Put("D:\\secret.pdb", {1});
  for (const char* pattern : {"\\..\\*", "..\\*", "\\Program Files\\..\\..\\*", "\\..", "D:\\*", "\\D:\\*", "\\*\\*"})
    EXPECT_EQ(NamesOf(rapi_, pattern), "") << pattern;
}

TEST_F(FolderRapiTest, FolderIsDescribedByItsPlace) {
  HandheldFacts facts;
  EXPECT_NE(rapi_.DescribeHandheld(facts), 0);
  EXPECT_EQ(facts, (HandheldFacts{std::nullopt, "", "", "", "D:\\card"}));
}

TEST_F(FolderRapiTest, OtherWaysOfOpeningFail) {
  EXPECT_EQ(rapi_.CeCreateFile(kDevicePath, kRead | kWrite, 1, 1, kOpenExisting, 0x80), kInvalidRapiHandle);
  EXPECT_EQ(rapi_.CeCreateFile(kDevicePath, kWrite, 1, 1, kOpenExisting, 0x80), kInvalidRapiHandle);
  EXPECT_EQ(rapi_.CeCreateFile(kDevicePath, kRead, 1, 1, kCreateAlways, 0x80), kInvalidRapiHandle);
  EXPECT_EQ(files_.Content(kLocalPath), (Bytes{1, 2, 3}));
}

TEST_F(FolderRapiTest, FileOpenedForReadingCannotBeWritten) {
  const RapiHandle file = OpenForRead(kDevicePath);
  EXPECT_EQ(Write(file, {9}), 0);
  EXPECT_EQ(rapi_.CeRapiGetError(), 0);
}

TEST(FolderRapiOnDisk, LocalFileIsThePathBelowTheRootOrNothing) {
  const testing::TempFolder folder;
  folder.Write("card/Motorva/t.pdb", "x");
  const auto files = platform::MakeFileSystem();
  const FolderRapi rapi(*files, folder.File("card"));
  EXPECT_EQ(files->IdentityOf(rapi.LocalFile("\\MOTORVA\\T.PDB").value()),
            files->IdentityOf(folder.File("card/Motorva/t.pdb")));
  EXPECT_TRUE(rapi.LocalFile("\\Motorva\\new.pdb")) << "a file that is still to come has its place";
  EXPECT_FALSE(rapi.LocalFile("\\none\\t.pdb"));
  const FolderRapi gone(*files, folder.File("no card"));
  EXPECT_FALSE(gone.LocalFile("\\Motorva\\t.pdb")) << "a root that cannot be looked at";
}

TEST(FolderRapiOnDisk, FileCutWhileItIsReadIsAFailedRead) {
  const testing::TempFolder folder;
  folder.Write("card/t.pdb", "0123456789");
  const auto files = platform::MakeFileSystem();
  FolderRapi rapi(*files, folder.File("card"));
  RAPIINIT init;
  ASSERT_EQ(rapi.CeRapiInitEx(init), 0);
  const RapiHandle file = rapi.CeCreateFile("\\t.pdb", kRead, 1, 1, kOpenExisting, 0x80);
  Bytes buffer(rapi.CeGetFileSize(file) + 1);
  std::uint32_t count = 0;
  EXPECT_EQ(rapi.CeReadFile(file, buffer, count), 0);
  EXPECT_EQ(count, 10U);
  EXPECT_EQ(rapi.CeRapiGetError(), 0) << "the device refused, so the copy's code is 1";
}

TEST(FolderRapiOnDisk, UploadAndDownloadRoundTripOnTheRealFileSystem) {
  const testing::TempFolder folder;
  folder.Write("card/Program Files/Motorva/brnd_Fuel.pdb", "old content");
  folder.Write("new.pdb", "new");
  const auto files = platform::MakeFileSystem();
  FolderRapi rapi(*files, folder.File("card"));
  const DeviceHooks hooks;
  modWinCERAPIConnectionHandler connection(rapi, hooks);
  modWinCEFileManagement copies(rapi, connection, *files, hooks);
  ASSERT_EQ(copies.CopyFileToDevice(folder.File("new.pdb"), "\\program files\\MOTORVA\\BRND_Fuel.pdb", Overwrite::Yes),
            DeviceCopyResult::Copied);
  EXPECT_EQ(folder.Read("card/Program Files/Motorva/brnd_Fuel.pdb"), "new");
  ASSERT_EQ(copies.CopyFileFromDevice(kDevicePath, folder.File("back.pdb"), Overwrite::Yes), DeviceCopyResult::Copied);
  EXPECT_EQ(folder.Read("back.pdb"), "new");
  EXPECT_EQ(files->List(folder.File("card\\Program Files\\Motorva")).size(), 1U);
}

TEST(FolderRapiOnDisk, UploadOfANewTableAppearsWhole) {
  const testing::TempFolder folder;
  folder.Write("card/x.txt", "x");
  folder.Write("new.pdb", "new");
  const auto files = platform::MakeFileSystem();
  FolderRapi rapi(*files, folder.File("card"));
  const DeviceHooks hooks;
  modWinCERAPIConnectionHandler connection(rapi, hooks);
  modWinCEFileManagement copies(rapi, connection, *files, hooks);
  ASSERT_EQ(copies.CopyFileToDevice(folder.File("new.pdb"), "\\t.pdb", Overwrite::No), DeviceCopyResult::Copied);
  EXPECT_EQ(folder.Read("card/t.pdb"), "new");
  EXPECT_EQ(files->List(folder.File("card")).size(), 2U);
}

TEST(FolderRapiOnDisk, DotSegmentsDoNotLeaveTheRoot) {
  const testing::TempFolder folder;
  folder.Write("secret.pdb", "secret");
  folder.Write("card/t.pdb", "x");
  const auto files = platform::MakeFileSystem();
  FolderRapi rapi(*files, folder.File("card"));
  RAPIINIT init;
  ASSERT_EQ(rapi.CeRapiInitEx(init), 0);
  EXPECT_EQ(rapi.CeFindFirstFile("\\..\\secret.pdb"), kInvalidRapiHandle);
  EXPECT_EQ(rapi.CeFindFirstFile("\\.. \\secret.pdb"), kInvalidRapiHandle);
  EXPECT_EQ(rapi.CeCreateFile("\\..\\secret.pdb", kWrite, 1, 1, kCreateAlways, 0x80), kInvalidRapiHandle);
  EXPECT_EQ(folder.Read("secret.pdb"), "secret");
}

TEST(FolderRapiOnDisk, RootThatVanishesDuringTheConnectionIsATransportError) {
  const testing::TempFolder folder;
  folder.Write("card/t.pdb", "x");
  const auto files = platform::MakeFileSystem();
  FolderRapi rapi(*files, folder.File("card"));
  RAPIINIT init;
  ASSERT_EQ(rapi.CeRapiInitEx(init), 0);
  std::filesystem::remove_all(std::filesystem::path(folder.Path()) / "card");
  EXPECT_EQ(rapi.CeFindFirstFile("\\t.pdb"), kInvalidRapiHandle);
  EXPECT_NE(rapi.CeRapiGetError(), 0);
}

}  // namespace
}  // namespace mv
