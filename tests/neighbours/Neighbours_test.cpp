#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "jet/Database.h"
#include "platform/FileSystem.h"
#include "platform/PatientFileSystem.h"
#include "support/ExpectError.h"
#include "support/JetDatabase.h"
#include "support/TempFolder.h"

// A database and other programs, each a process of its own: who has it open keeps others out as far as must be, and
// leaves nothing behind.

namespace mv::jet {
namespace {

using mv::testing::ErrorOf;
using mv::testing::JetTable;
using mv::testing::kJetCreated;
using mv::testing::TempFolder;
using Mode = PageFile::Mode;

class Neighbours : public ::testing::Test {
 protected:
  Neighbours() {
    const auto database = Database::Create(*files_, path_, kJetCreated);
    database->CreateTable(JetTable("T").Text("Key", 9).PrimaryKey("Key").Spec(), kJetCreated);
    database->OpenTable("T").Insert({"one"});
    database->Commit();
  }

  std::unique_ptr<Database> Open(Mode mode) { return Database::Open(*files_, path_, mode); }

  void ExpectInUse(Mode mode) {
    const Error error = ErrorOf([&] { Open(mode); });
    EXPECT_EQ(error.Number(), errors::kJetGeneral);
    EXPECT_EQ(error.Description(), "Could not use '" + path_ + "'; file already in use.");
  }
  void ExpectFree() {
    EXPECT_NO_THROW(Open(Mode::ReadWrite));
    EXPECT_NO_THROW(Open(Mode::ReadOnly));
  }

  TempFolder folder_;
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
  std::string path_ = folder_.File("x.mdb");
};

/// The program "neighbour", which holds a file of a folder until this object goes.
class Neighbour {
 public:
  Neighbour(const TempFolder& folder, const std::string& how, const std::string& file) {
    const std::filesystem::path place(folder.Path());
    const std::string command = std::string(MV_NEIGHBOUR) + " " + how + " " + (place / file).string() + " " +
                                (answers_ / "answer").string() + " " + Release().string();
    program_ = std::thread([command] { EXPECT_EQ(std::system(command.c_str()), 0) << command; });
    while (!std::filesystem::exists(answers_ / "answer")) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    std::ifstream in(answers_ / "answer");
    answer_.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  ~Neighbour() {
    std::ofstream(Release()) << "go";
    program_.join();
  }
  Neighbour(const Neighbour&) = delete;
  Neighbour& operator=(const Neighbour&) = delete;

  bool Holds() const { return answer_ == "held"; }

 private:
  std::filesystem::path Release() const { return answers_ / "release"; }

  TempFolder folder_;
  std::filesystem::path answers_ = folder_.Path();
  std::thread program_;
  std::string answer_;
};

bool MayHold(const TempFolder& folder, const std::string& how) {
  return Neighbour(folder, how, "x.mdb").Holds();
}

/// A neighbour that holds what must be free. A process that has just ended may hold its files for some milliseconds
/// more, and with them, on systems that tell files apart by a number that is used again, a new file.
std::unique_ptr<Neighbour> Holder(const TempFolder& folder, const std::string& how, const std::string& file = "x.mdb") {
  auto holder = std::make_unique<Neighbour>(folder, how, file);
  for (int attempt = 0; attempt < 9 && !holder->Holds(); ++attempt) {
    holder = std::make_unique<Neighbour>(folder, how, file);
  }
  return holder;
}

bool SoonMayHold(const TempFolder& folder, const std::string& how) {
  return Holder(folder, how)->Holds();
}

TEST_F(Neighbours, DatabaseHeldExclusivelyIsInUse) {
  {
    const auto holder = Holder(folder_, "exclusive", "x.mdb");
    ASSERT_TRUE(holder->Holds());
    ExpectInUse(Mode::ReadWrite);
    ExpectInUse(Mode::ReadOnly);
  }
  ExpectFree();
}

TEST_F(Neighbours, DatabaseWithLockedBytesIsInUse) {
  for (const std::string range : {"0,1", "4096,4096", "268435457,1"}) {
    SCOPED_TRACE(range);
    {
      const auto holder = Holder(folder_, range, "x.mdb");
      ASSERT_TRUE(holder->Holds());
      ExpectInUse(Mode::ReadWrite);
      ExpectInUse(Mode::ReadOnly);
    }
    ExpectFree();
  }
}

TEST_F(Neighbours, DatabaseThatIsReadIsReadByOthersAndNotWritten) {
  const auto reader = Holder(folder_, "reading", "x.mdb");
  ASSERT_TRUE(reader->Holds());
  EXPECT_NO_THROW(Open(Mode::ReadOnly));
  ExpectInUse(Mode::ReadWrite);
}

TEST_F(Neighbours, UserLocksOfTheEngineOnTheLockFileMeanInUse) {
  folder_.Write("x.ldb", std::string(64, '\0'));
  // The first and the last of 255 users.
  for (const std::string range : {"268435457,1", "268435711,1"}) {
    SCOPED_TRACE(range);
    {
      const auto user = Holder(folder_, range, "x.ldb");
      ASSERT_TRUE(user->Holds());
      ExpectInUse(Mode::ReadWrite);
      ExpectInUse(Mode::ReadOnly);
    }
    ExpectFree();
  }
}

TEST_F(Neighbours, OtherLocksOnTheLockFileMeanNothing) {
  folder_.Write("x.ldb", std::string(64, '\0'));
  for (const std::string range : {"268435456,1", "268435712,1"}) {
    SCOPED_TRACE(range);
    const auto user = Holder(folder_, range, "x.ldb");
    ASSERT_TRUE(user->Holds());
    ExpectFree();
  }
}

TEST_F(Neighbours, StaleLockFileIsNoReasonToRefuseAndStays) {
  folder_.Write("x.ldb", std::string(64, '\0'));
  ExpectFree();
  EXPECT_TRUE(folder_.Has("x.ldb"));
}

TEST_F(Neighbours, WhileWritingNobodyElseOpensItForWritingOrLocksBytes) {
  const auto database = Open(Mode::ReadWrite);
  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round == 0 ? "before the commit" : "after it");
    EXPECT_FALSE(MayHold(folder_, "exclusive"));
    EXPECT_FALSE(MayHold(folder_, "0,1"));
    EXPECT_FALSE(MayHold(folder_, "reading"));
    database->OpenTable("T").Insert({"round " + std::to_string(round)});
    database->Commit();
  }
}

TEST_F(Neighbours, WhileReadingOthersMayReadButNotWrite) {
  const auto database = Open(Mode::ReadOnly);
  EXPECT_TRUE(SoonMayHold(folder_, "reading"));
  EXPECT_FALSE(MayHold(folder_, "exclusive"));
  EXPECT_FALSE(MayHold(folder_, "0,1"));
}

TEST_F(Neighbours, ClosingLeavesTheFileFreeAndNothingBesideIt) {
  {
    const auto database = Open(Mode::ReadWrite);
    database->OpenTable("T").Insert({"two"});
    database->Commit();
    EXPECT_FALSE(folder_.Has("x.ldb"));
  }
  EXPECT_TRUE(SoonMayHold(folder_, "exclusive"));
  EXPECT_EQ(files_->List(folder_.Path()).size(), 1U);
}

TEST_F(Neighbours, RefusedOpeningLeavesTheFileFreeAndNothingBesideIt) {
  {
    const auto file =
        files_->Open(path_, platform::Access::ReadWrite, platform::Disposition::OpenExisting, platform::Sharing::None);
    file->WriteAt(0xE00, Bytes{0, 0});  // the word of a writer that stopped half-way
  }
  EXPECT_EQ(ErrorOf([&] { Open(Mode::ReadWrite); }).Description(),
            "The database file is damaged: the header of '" + path_ +
                "' says that a program stopped while writing to it or met damage (commit word 0); repair the file "
                "before it is changed. Nothing was changed.");
  EXPECT_NO_THROW(Open(Mode::ReadOnly));
  EXPECT_TRUE(SoonMayHold(folder_, "exclusive"));
  EXPECT_EQ(files_->List(folder_.Path()).size(), 1U);
}

TEST_F(Neighbours, FailedCommitLeavesTheFileHeldUntilItIsClosedAndNothingBesideIt) {
  {
    // Something of the name that the new file needs is in the way.
    std::filesystem::create_directory(std::filesystem::path(folder_.Path()) / "x.mdb.writing");
    const auto database = Open(Mode::ReadWrite);
    database->OpenTable("T").Insert({"two"});
    EXPECT_EQ(ErrorOf([&] { database->Commit(); }).Number(), errors::kPathFileAccess);
    EXPECT_FALSE(MayHold(folder_, "exclusive"));
    std::filesystem::remove(std::filesystem::path(folder_.Path()) / "x.mdb.writing");
  }
  EXPECT_TRUE(SoonMayHold(folder_, "exclusive"));
  EXPECT_EQ(Open(Mode::ReadOnly)->OpenTable("T").Count(), 1);
  EXPECT_EQ(files_->List(folder_.Path()).size(), 1U);
}

TEST_F(Neighbours, NameWithBlanksAndOtherLettersIsOpenedAndCommitted) {
  const std::string path = folder_.File("my caf\xC3\xA9 \xF0\x9F\x9A\x97 db.mdb");
  files_->CopyWhole(path_, path);
  const auto database = Database::Open(*files_, path, Mode::ReadWrite);
  database->OpenTable("T").Insert({"two"});
  database->Commit();
  EXPECT_EQ(ErrorOf([&] { Database::Open(*files_, path, Mode::ReadWrite); }).Description(),
            "Could not use '" + path + "'; file already in use.");
}

TEST_F(Neighbours, AFileHeldForAMomentIsOpenedByWhoIsPatient) {
  std::optional<Neighbour> neighbour(std::in_place, folder_, "exclusive", "x.mdb");
  ASSERT_TRUE(neighbour->Holds());
  ExpectInUse(Mode::ReadWrite);
  std::thread release([&] { neighbour.reset(); });
  const platform::SystemClock clock;
  platform::PatientFileSystem patient(*files_, clock);
  EXPECT_NO_THROW(Database::Open(patient, path_, Mode::ReadWrite));
  release.join();
}

}  // namespace
}  // namespace mv::jet
