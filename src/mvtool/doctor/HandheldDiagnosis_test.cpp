#include "mvtool/doctor/HandheldDiagnosis.h"

#include <gtest/gtest.h>

#include "support/HistoryWorld.h"

namespace mv::tool {
namespace {

const std::string kTables = "\\Program Files\\Motorva";

Diagnosis Card(const testing::MemoryFileSystem& files) {
  return DiagnoseCard(files, "E:\\card", kTables).front();
}

TEST(CardDiagnosisTest, AMissingRootAnEmptyMountPointAndAWrongFolderAreToldApart) {
  testing::MemoryFileSystem files;
  EXPECT_EQ(Card(files).text, "there is no folder \"E:\\card\"");
  files.CreateFolders("E:\\card");
  EXPECT_EQ(Card(files).text, "\"E:\\card\" is empty, as a mount point without its card is");
  files.Put("E:\\card\\Tables\\brnd_Fuel.pdb", {1});
  EXPECT_EQ(Card(files).text, "\"E:\\card\" has no folder \"\\Program Files\\Motorva\"");
  EXPECT_EQ(Card(files).advice, "PDADBPath=\\Tables has tables");
  files.CreateFolders("E:\\card\\program files\\MOTORVA");
  EXPECT_EQ(Card(files), Well("card", "\"E:\\card\""));
}

TEST(CardDiagnosisTest, ACardThatCannotBeWrittenToIsAFailure) {
  testing::MemoryFileSystem files;
  files.CreateFolders("E:\\card\\Program Files\\Motorva");
  files.CloseFolder("E:\\card\\Program Files\\Motorva");
  EXPECT_EQ(Card(files).level, Level::Failure);
}

class HandheldDiagnosisTest : public ::testing::Test {
 protected:
  HandheldReport Diagnose() {
    const auto tables = world_.Connection();
    ChosenHandheld chosen;
    chosen.way = "folder";
    return DiagnoseHandheld(*tables, chosen);
  }
  void PutAll() {
    for (const SyncTable& table : mv::kTables) world_.PutHandheld(table.name, {{"a", 1, 0}});
  }

  testing::HistoryWorld world_;
};

TEST_F(HandheldDiagnosisTest, AllTablesAreReadAndCounted) {
  PutAll();
  const HandheldReport report = Diagnose();
  EXPECT_TRUE(report.answered);
  EXPECT_EQ(report.diagnoses, Diagnoses{Well("handheld", "it answers (folder), 13 tables, 13 records")});
  EXPECT_EQ(report.fields.at("brnd_Fuel"), (std::vector<std::string>{"KY_RECID", "NM_ODO"}));
}

TEST_F(HandheldDiagnosisTest, OneThatDoesNotAnswerIsAFailure) {
  world_.rapi.initResult = -1;
  const HandheldReport report = Diagnose();
  EXPECT_FALSE(report.answered);
  EXPECT_EQ(report.diagnoses.front().level, Level::Failure);
}

TEST_F(HandheldDiagnosisTest, MissingTablesAreNamedAndNoneAtAllIsAFailure) {
  EXPECT_EQ(CountOf(Diagnose().diagnoses, Level::Failure), 1u);
  PutAll();
  world_.rapi.Remove(world_.DevicePath("brnd_Trip"));
  const Diagnoses diagnoses = Diagnose().diagnoses;
  EXPECT_EQ(diagnoses.front().level, Level::Warning);
  EXPECT_EQ(diagnoses.front().text, "not there: brnd_Trip");
}

TEST_F(HandheldDiagnosisTest, ADamagedTableIsAFailureAndTheOthersAreReadAllTheSame) {
  PutAll();
  world_.rapi.Put(world_.DevicePath("brnd_Fuel"), Bytes(20));
  const HandheldReport report = Diagnose();
  EXPECT_EQ(report.diagnoses.front().level, Level::Failure);
  EXPECT_TRUE(report.diagnoses.front().text.starts_with("brnd_Fuel: ")) << report.diagnoses.front().text;
  EXPECT_EQ(report.fields.size(), 12u);
}

}  // namespace
}  // namespace mv::tool
