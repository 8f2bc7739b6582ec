#include "mvtool/doctor/PathsDiagnosis.h"

#include <gtest/gtest.h>

#include "mvtool/demo/SampleDatabase.h"
#include "support/MemoryFileSystem.h"

namespace mv::tool {
namespace {

class PathsDiagnosisTest : public ::testing::Test {
 protected:
  PathsDiagnosisTest() {
    files_.CreateFolders("C:\\Cars");
    files_.CreateFolders("C:\\Motorva");
    MakeSampleDatabase(files_, "C:\\Motorva\\_20")->Commit();
    settings_.DesktopDBPath = "C:\\Cars\\Motorva.db";
    settings_.PCSyncSourcePath = "C:\\Cars\\sync\\source";
    settings_.PCSyncDestPath = "C:\\Cars\\sync\\dest";
    settings_.SyncLogPath = "C:\\Cars\\SyncLog.txt";
  }

  Diagnoses Diagnose() { return DiagnosePaths(files_, settings_, "C:\\Motorva"); }
  Diagnosis About(const std::string& subject) {
    for (Diagnosis& diagnosis : Diagnose()) {
      if (diagnosis.subject == subject) return diagnosis;
    }
    ADD_FAILURE() << "nothing about " << subject;
    return {};
  }

  testing::MemoryFileSystem files_;
  Settings settings_;
};

TEST_F(PathsDiagnosisTest, AllIsWellAndNothingIsMade) {
  EXPECT_EQ(CountOf(Diagnose(), Level::Ok), 5u);
  EXPECT_FALSE(files_.FolderExists("C:\\Cars\\sync"));
  EXPECT_FALSE(files_.FileExists("C:\\Cars\\SyncLog.txt"));
}

TEST_F(PathsDiagnosisTest, AMissingFolderOfTheDatabaseIsNamed) {
  settings_.DesktopDBPath = "C:\\Vans\\Motorva.db";
  EXPECT_EQ(About("database folder").level, Level::Failure);
  EXPECT_EQ(About("database folder").text, "\"C:\\Vans\" is missing");
}

TEST_F(PathsDiagnosisTest, AFolderWithoutTheRightToWriteIsAFailure) {
  files_.CloseFolder("C:\\Cars");
  EXPECT_EQ(About("database folder").level, Level::Failure);
  EXPECT_EQ(About("work folder PCSyncSourcePath").level, Level::Failure);
  EXPECT_EQ(About("log").level, Level::Failure);
  EXPECT_EQ(About("log").text, "\"C:\\Cars\\SyncLog.txt\" cannot be written");
}

TEST_F(PathsDiagnosisTest, ADiskWithoutRoomForCopiesOfTheDatabaseIsAWarning) {
  files_.Put("C:\\Cars\\Motorva.db", Bytes(1 << 20));
  files_.SetFreeBytes(std::uint64_t{18} << 20);
  EXPECT_EQ(About("database folder").level, Level::Warning);
  files_.SetFreeBytes(std::uint64_t{19} << 20);
  EXPECT_EQ(About("database folder"), Well("database folder", "\"C:\\Cars\", 19 MB free"));
}

TEST_F(PathsDiagnosisTest, AWorkFolderThatIsAFileIsAFailure) {
  files_.Put("C:\\Cars\\sync", {1});
  settings_.PCSyncDestPath = "C:\\Cars\\sync";
  EXPECT_EQ(About("work folder PCSyncDestPath").text, "\"C:\\Cars\\sync\" is a file");
}

TEST_F(PathsDiagnosisTest, ALogWithoutItsFolderIsAFailure) {
  settings_.SyncLogPath = "C:\\Logs\\SyncLog.txt";
  EXPECT_EQ(About("log").level, Level::Failure);
  settings_.SyncLog = 0;
  EXPECT_EQ(About("log").level, Level::Ok) << "nobody wants to write it";
}

TEST_F(PathsDiagnosisTest, ALogBesideTheProgramIsAWarning) {
  settings_.SyncLogPath = "C:\\Motorva\\SyncLog.txt";
  EXPECT_EQ(About("log").level, Level::Warning);
}

TEST_F(PathsDiagnosisTest, AMissingTemplateStopsAnOverwritePcOnly) {
  files_.RemoveFile("C:\\Motorva\\_20");
  EXPECT_EQ(About("template _20").level, Level::Warning);
  EXPECT_EQ(About("template _20").text, "\"C:\\Motorva\\_20\" is missing");
  settings_.SyncMode = 2;
  EXPECT_EQ(About("template _20").level, Level::Failure);
}

TEST_F(PathsDiagnosisTest, ATemplateThatIsNoDatabaseOrLacksATableCannotServe) {
  files_.Put("C:\\Motorva\\_20", {1, 2, 3});
  EXPECT_EQ(About("template _20").text, "\"C:\\Motorva\\_20\" is no Jet 4 database");
  files_.RemoveFile("C:\\Motorva\\_20");
  jet::Database::Create(files_, "C:\\Motorva\\_20", {2026, 11, 22, 0, 0, 0})->Commit();
  EXPECT_NE(About("template _20").text.find("brnd_Accessories"), std::string::npos);
}

}  // namespace
}  // namespace mv::tool
