#include "jet/file/PageKeyChange.h"

#include <gtest/gtest.h>

#include "jet/file/Committer.h"
#include "support/EncodedDatabase.h"
#include "support/ExpectError.h"
#include "support/JetDatabase.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv::jet {
namespace {

using testing::Encoded;
using testing::ErrorNumberOf;
using testing::ErrorOf;

const std::string kPath = "C:\\data\\Motorva.db";
constexpr std::uint32_t kKey = 0x12345678;

Bytes Plain() {
  return testing::JetDatabase().Image();
}

class PageKeyChangeTest : public ::testing::Test {
 protected:
  void ChangeTo(std::uint32_t key) { PageKeyChange(files_, kPath).Commit(key); }
  Error RefusalOf(const Bytes& content) {
    files_.Put(kPath, content);
    const Error error = ErrorOf([&] { PageKeyChange(files_, kPath); });
    EXPECT_EQ(files_.Content(kPath), content);
    return error;
  }

  testing::MemoryFileSystem files_;
};

TEST_F(PageKeyChangeTest, PlainDatabaseIsEncodedAndPlainAgainTheSameBytes) {
  files_.Put(kPath, Plain());
  ChangeTo(kKey);
  EXPECT_EQ(files_.Content(kPath), Encoded(Plain(), kKey));
  ChangeTo(0);
  EXPECT_EQ(files_.Content(kPath), Plain());
  EXPECT_EQ(files_.List("C:\\data").size(), 1U);
}

TEST_F(PageKeyChangeTest, EncodedDatabaseGetsAnotherKey) {
  files_.Put(kPath, Encoded(Plain(), kKey));
  PageKeyChange change(files_, kPath);
  EXPECT_EQ(change.PresentKey(), kKey);
  change.Commit(0xFFFFFFFF);
  EXPECT_EQ(change.PresentKey(), 0xFFFFFFFFu);
  EXPECT_EQ(files_.Content(kPath), Encoded(Plain(), 0xFFFFFFFF));
}

TEST_F(PageKeyChangeTest, LargeDatabaseGoesThroughInPieces) {
  Bytes plain = Plain();
  for (std::size_t at = plain.size(); at < 700 * kPageSize; ++at) plain.push_back(static_cast<std::uint8_t>(at / 7));
  files_.Put(kPath, plain);
  ChangeTo(kKey);
  EXPECT_EQ(files_.Content(kPath), Encoded(plain, kKey));
  EXPECT_LT(files_.Reads(), 10U);
}

TEST_F(PageKeyChangeTest, DatabaseIsHeldMeanwhileAndOneInUseIsRefused) {
  files_.Put(kPath, Plain());
  const PageKeyChange change(files_, kPath);
  EXPECT_EQ(ErrorOf([&] { PageKeyChange(files_, kPath); }).Description(),
            "Could not use 'C:\\data\\Motorva.db'; file already in use.");
}

TEST_F(PageKeyChangeTest, FilesThatAreNoOpenDatabaseAreRefused) {
  EXPECT_EQ(ErrorOf([&] { PageKeyChange(files_, kPath); }).Description(),
            "Could not find file 'C:\\data\\Motorva.db'.");
  EXPECT_EQ(RefusalOf(Bytes(10)).Description(), "Unrecognized database format 'C:\\data\\Motorva.db'.");
  Bytes old = Plain();
  old[0x14] = 0;
  EXPECT_NE(RefusalOf(old).Description().find("Access 97"), std::string::npos);
  Bytes odd = Plain();
  odd.push_back(0);
  EXPECT_NE(RefusalOf(odd).Description().find("no multiple of 4096"), std::string::npos);
}

TEST_F(PageKeyChangeTest, PasswordIsRefusedEncodedOrNot) {
  for (const std::uint32_t key : {0u, kKey}) {
    Bytes content = key == 0 ? Plain() : Encoded(Plain(), key);
    content[0x42] ^= 1;
    EXPECT_EQ(RefusalOf(content).Number(), errors::kJetNotAValidPassword);
  }
}

TEST_F(PageKeyChangeTest, KeyThatDoesNotDecodeThePagesIsDamage) {
  const char* const kDamage =
      "The database file is damaged: page 2 is no definition with the page key of the file. Nothing was changed.";
  EXPECT_EQ(RefusalOf(testing::WithKeyInHeader(Plain(), kKey)).Description(), kDamage);
  EXPECT_EQ(RefusalOf(testing::WithKeyedPages(Plain(), kKey)).Description(), kDamage);
  const Bytes image = Plain();
  EXPECT_EQ(RefusalOf(Bytes(image.begin(), image.begin() + 2 * kPageSize)).Description(), kDamage);
}

TEST_F(PageKeyChangeTest, FailureLeavesTheOldFileAndNothingBeside) {
  const Bytes plain = Plain();
  files_.Put(kPath, plain);
  const auto expectFailure = [&](std::int32_t number) {
    EXPECT_EQ(ErrorNumberOf([&] { ChangeTo(kKey); }), number);
    EXPECT_EQ(files_.Content(kPath), plain);
    EXPECT_EQ(files_.List("C:\\data").size(), 1U);
  };
  files_.FailWrite(1);
  expectFailure(errors::kDiskFull);
  files_.FailSync(1);
  expectFailure(errors::kDiskFull);
  files_.FailRead(3);  // after those of the header and of the definition
  expectFailure(errors::kDeviceIo);
}

TEST_F(PageKeyChangeTest, FolderThatTakesNoNewFileIsNamed) {
  files_.Put(kPath, Plain());
  files_.CreateFolders(files_.StagedName(kPath));
  EXPECT_EQ(ErrorOf([&] { ChangeTo(kKey); }).Description(),
            "The new database cannot be written beside 'C:\\data\\Motorva.db': its folder takes no new file.");
  EXPECT_EQ(files_.Content(kPath), Plain());
}

TEST_F(PageKeyChangeTest, CopyByHardLinkStaysAsItWas) {
  files_.Put(kPath, Plain());
  files_.Link(kPath, "C:\\history\\before");
  ChangeTo(kKey);
  EXPECT_EQ(files_.Content("C:\\history\\before"), Plain());
}

TEST(PageKeyChangeOnDisk, FileOfThisMachineIsEncodedAndStaysHeldToTheEnd) {
  const testing::TempFolder folder;
  const auto files = platform::MakeFileSystem();
  const std::string path = folder.File("real.mdb");
  files->WriteWhole(path, Plain());
  {
    PageKeyChange change(*files, path);
    change.Commit(kKey);
    EXPECT_EQ(ErrorNumberOf([&] { PageKeyChange(*files, path); }), errors::kJetGeneral);
  }
  EXPECT_EQ(platform::ReadWhole(*files, path), Encoded(Plain(), kKey));
  EXPECT_EQ(files->List(folder.Path()).size(), 1U);
}

}  // namespace
}  // namespace mv::jet
