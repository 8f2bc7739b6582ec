#include "device/simulator/DeviceStore.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv::simulator {
namespace {

constexpr OpenRequest kReading{OpenRequest::kRead, OpenRequest::kOpenExisting};
constexpr OpenRequest kUpload{OpenRequest::kWrite, OpenRequest::kCreateAlways};

class FilesWithRoot : public testing::MemoryFileSystem {
 public:
  FilesWithRoot() {
    CreateFolders("D:\\root\\T");
    Put("D:\\root\\T\\a.pdb", {1, 2, 3});
    Put("D:\\secret.txt", {9});
  }
};

class DeviceStoreTest : public ::testing::Test {
 protected:
  std::uint32_t Open(std::string_view path, const OpenRequest& request) { return store_.Open(path, request, file_); }

  FilesWithRoot files_;
  DeviceStore store_{files_, "D:\\root\\"};
  std::optional<DeviceStore::FileNumber> file_;
};

TEST_F(DeviceStoreTest, MissingRootIsAnError) {
  EXPECT_EQ(testing::ErrorNumberOf([&] { DeviceStore(files_, "D:\\none"); }), errors::kPathNotFound);
}

TEST_F(DeviceStoreTest, DocumentsFolderIsThere) {
  EXPECT_TRUE(files_.FolderExists("D:\\root\\My Documents"));
}

TEST_F(DeviceStoreTest, NamesMatchInAnyCaseAndWithBothSeparators) {
  EXPECT_EQ(Open("\\t\\A.PDB", kReading), 0U);
  EXPECT_EQ(Open("/T/a.pdb", kReading), 0U);
  EXPECT_EQ(Open("T\\a.pdb", kReading), 0U);
}

TEST_F(DeviceStoreTest, OpeningFailsWithTheSystemsCodes) {
  EXPECT_EQ(Open("\\T\\none", kReading), 2U);
  EXPECT_EQ(Open("\\none\\a", kReading), 3U);
  EXPECT_EQ(Open("\\T\\a.pdb\\b", kReading), 3U);
  EXPECT_EQ(Open("\\T", kReading), 5U);
  EXPECT_EQ(Open("\\T\\a.pdb", {OpenRequest::kWrite, OpenRequest::kCreateNew}), 80U);
  EXPECT_EQ(Open("\\T\\a.pdb", {OpenRequest::kRead, 9}), 87U);
  EXPECT_EQ(Open("\\T\\a.pdb", {OpenRequest::kRead, OpenRequest::kCreateAlways}), 87U);
  EXPECT_EQ(files_.Content("D:\\root\\T\\a.pdb"), (Bytes{1, 2, 3}));
  EXPECT_FALSE(file_);
}

TEST_F(DeviceStoreTest, FileThatWasThereIsToldByDispositionsThatMakeOne) {
  EXPECT_EQ(Open("\\T\\a.pdb", {OpenRequest::kRead, OpenRequest::kOpenAlways}), 183U);
  EXPECT_TRUE(file_);
  EXPECT_EQ(Open("\\T\\new", {OpenRequest::kRead, OpenRequest::kOpenAlways}), 0U);
  EXPECT_EQ(Open("\\T\\newer", {OpenRequest::kWrite, OpenRequest::kCreateNew}), 0U);
}

TEST_F(DeviceStoreTest, SecondOpenFailsWhileEitherIsForWriting) {
  ASSERT_EQ(Open("\\T\\a.pdb", kReading), 0U);
  const auto first = file_;
  ASSERT_EQ(Open("\\T\\A.pdb", kReading), 0U);
  const auto second = file_;
  EXPECT_EQ(Open("\\T\\a.pdb", kUpload), 32U);
  store_.Close(*first);
  EXPECT_EQ(Open("\\T\\a.pdb", kUpload), 32U);
  store_.Close(*second);
  ASSERT_EQ(Open("\\T\\a.pdb", kUpload), 183U);
  EXPECT_EQ(Open("\\T\\a.pdb", kReading), 32U);
}

TEST_F(DeviceStoreTest, OpenFileCannotBeDeletedMovedOrReplaced) {
  ASSERT_EQ(Open("\\T\\a.pdb", kReading), 0U);
  files_.Put("D:\\root\\T\\b", {1});
  EXPECT_EQ(store_.Delete("\\T\\a.pdb"), 32U);
  EXPECT_EQ(store_.Move("\\T\\a.pdb", "\\T\\c"), 32U);
  EXPECT_EQ(store_.Copy("\\T\\b", "\\T\\a.pdb", false), 32U);
}

TEST_F(DeviceStoreTest, ReadOnlyFileIsReadAndNotChanged) {
  ASSERT_EQ(store_.SetAttributes("\\T\\a.pdb", attributes::kReadOnly | attributes::kFolder), 0U);
  std::uint32_t value = 0;
  EXPECT_EQ(store_.Attributes("\\T\\a.pdb", value), 0U);
  EXPECT_EQ(value, attributes::kReadOnly | attributes::kArchive) << "a file stays a file";
  EXPECT_EQ(Open("\\T\\a.pdb", kUpload), 5U);
  EXPECT_EQ(store_.Delete("\\T\\a.pdb"), 5U);
  EXPECT_EQ(Open("\\T\\a.pdb", kReading), 0U);
}

TEST_F(DeviceStoreTest, FileOpenedForOneIsNotUsedForTheOther) {
  Bytes bytes;
  Open("\\T\\a.pdb", kReading);
  EXPECT_EQ(store_.Write(*file_, Bytes{1}), 5U);
  EXPECT_EQ(store_.EndHere(*file_), 5U);
  Open("\\T\\new", kUpload);
  EXPECT_EQ(store_.Read(*file_, 1, bytes), 5U);
}

TEST_F(DeviceStoreTest, WhatIsAskedForIsBounded) {
  Bytes bytes;
  Open("\\T\\a.pdb", kReading);
  EXPECT_EQ(store_.Read(*file_, 0xFFFFFFFF, bytes), 0U);
  EXPECT_EQ(bytes.size(), 3U);
  std::uint64_t position = 0;
  Open("\\T\\new", {OpenRequest::kWrite | OpenRequest::kRead, OpenRequest::kCreateAlways});
  EXPECT_EQ(store_.Seek(*file_, INT64_MAX, 0, position), 0U);
  EXPECT_EQ(store_.Seek(*file_, INT64_MAX, 1, position), 0U);
  EXPECT_EQ(store_.Write(*file_, Bytes{1}), 112U);
  EXPECT_EQ(store_.EndHere(*file_), 112U);
  EXPECT_EQ(store_.Read(*file_, 10, bytes), 0U);
  EXPECT_TRUE(bytes.empty());
  EXPECT_EQ(store_.Seek(*file_, INT64_MIN, 0, position), 131U);
  EXPECT_EQ(store_.Seek(*file_, 0, 3, position), 87U);
}

TEST_F(DeviceStoreTest, TooManyOpenFilesAreRefused) {
  std::uint32_t error = 0;
  int opened = 0;
  while (error == 0 && opened < 5000) opened += (error = Open("\\T\\a.pdb", kReading)) == 0 ? 1 : 0;
  EXPECT_EQ(error, 4U);
  EXPECT_EQ(opened, 1000);
}

TEST_F(DeviceStoreTest, NothingOutsideTheRootIsReached) {
  std::vector<StoreEntry> entries;
  std::uint32_t value = 0;
  for (const char* path : {"\\..\\secret.txt", "..\\secret.txt", "\\T\\..\\..\\secret.txt", "D:\\secret.txt",
                           "\\D:\\secret.txt", "\\.. \\secret.txt", "\\T/../../secret.txt", "", "\\", "\\T\\a.pdb:x"}) {
    EXPECT_NE(Open(path, kReading), 0U) << path;
    EXPECT_NE(Open(path, kUpload), 0U) << path;
    EXPECT_NE(store_.Find(path, entries), 0U) << path;
    EXPECT_NE(store_.Delete(path), 0U) << path;
    EXPECT_NE(store_.CreateFolder(path), 0U) << path;
    EXPECT_NE(store_.RemoveFolder(path), 0U) << path;
    EXPECT_NE(store_.Move(path, "\\T\\moved"), 0U) << path;
    EXPECT_NE(store_.Copy("\\T\\a.pdb", path, false), 0U) << path;
    EXPECT_NE(store_.SetAttributes(path, 1), 0U) << path;
  }
  EXPECT_EQ(store_.Attributes("\\", value), 0U);
  EXPECT_EQ(value, attributes::kFolder);
  EXPECT_EQ(files_.Content("D:\\secret.txt"), Bytes{9});
}

TEST_F(DeviceStoreTest, FoldersAreMadeAndRemovedWhenEmpty) {
  EXPECT_EQ(store_.CreateFolder("\\T"), 183U);
  EXPECT_EQ(store_.CreateFolder("\\T\\U\\V"), 3U);
  EXPECT_EQ(store_.CreateFolder("\\T\\U"), 0U);
  EXPECT_EQ(store_.RemoveFolder("\\T"), 145U);
  EXPECT_EQ(store_.RemoveFolder("\\t\\u"), 0U);
  EXPECT_EQ(store_.RemoveFolder("\\T\\U"), 2U);
}

TEST_F(DeviceStoreTest, ListingIsByNameAndTellsHidden) {
  files_.Put("D:\\root\\T\\B.txt", {1});
  store_.SetAttributes("\\T\\B.txt", attributes::kHidden);
  std::vector<StoreEntry> entries;
  ASSERT_EQ(store_.Find("\\T\\*", entries), 0U);
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].name, "B.txt");
  EXPECT_EQ(entries[0].attributes, attributes::kHidden | attributes::kArchive);
  EXPECT_EQ(entries[1].size, 3U);
  EXPECT_EQ(store_.Find("\\T\\*.none", entries), 18U);
}

TEST(DeviceStoreOnDisk, LinksOutOfTheRootLeadNowhere) {
  const testing::TempFolder folder;
  folder.Write("secret/file.txt", "secret");
  folder.Write("root/T/a.pdb", "x");
  const std::filesystem::path root = std::filesystem::path(folder.Path()) / "root";
  std::error_code refused;
  std::filesystem::create_directory_symlink("../secret", root / "folder", refused);
  std::filesystem::create_symlink("../secret/file.txt", root / "file", refused);
  std::filesystem::create_symlink("../secret/new.txt", root / "nowhere", refused);
  if (refused) GTEST_SKIP() << "this system makes no links";
  const auto files = platform::MakeFileSystem();
  DeviceStore store(*files, folder.File("root"));
  std::optional<DeviceStore::FileNumber> file;
  std::vector<StoreEntry> entries;
  EXPECT_NE(store.Open("\\folder\\file.txt", kReading, file), 0U);
  EXPECT_NE(store.Open("\\file", kReading, file), 0U);
  EXPECT_NE(store.Open("\\nowhere", kUpload, file), 0U);
  EXPECT_NE(store.Open("\\folder\\new.txt", kUpload, file), 0U);
  EXPECT_NE(store.Find("\\folder\\*", entries), 0U);
  EXPECT_EQ(store.Open("\\T\\a.pdb", kReading, file), 0U);
  EXPECT_FALSE(folder.Has("secret/new.txt"));
  EXPECT_EQ(folder.Read("secret/file.txt"), "secret");
}

TEST(DeviceStoreOnDisk, UploadChangesTheFileWriteByWrite) {
  const testing::TempFolder folder;
  folder.Write("root/a.pdb", "old content");
  const auto files = platform::MakeFileSystem();
  DeviceStore store(*files, folder.File("root"));
  std::optional<DeviceStore::FileNumber> file;
  ASSERT_EQ(store.Open("\\a.pdb", kUpload, file), 183U);
  ASSERT_EQ(store.Write(*file, Bytes{'n', 'e'}), 0U);
  EXPECT_EQ(folder.Read("root/a.pdb"), "ne");
  EXPECT_EQ(store.Write(*file, Bytes{'w'}), 0U);
  EXPECT_EQ(store.Close(*file), 0U);
  EXPECT_EQ(folder.Read("root/a.pdb"), "new");
}

}  // namespace
}  // namespace mv::simulator
