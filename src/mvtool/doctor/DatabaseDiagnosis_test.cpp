#include "mvtool/doctor/DatabaseDiagnosis.h"

#include <gtest/gtest.h>

#include "mvtool/demo/SampleDatabase.h"
#include "support/JetDatabase.h"
#include "support/MemoryFileSystem.h"

namespace mv::tool {
namespace {

using testing::JetTable;
using testing::kJetCreated;

const std::string kPath = "C:\\Cars\\Motorva.db";

class DatabaseDiagnosisTest : public ::testing::Test {
 protected:
  DatabaseDiagnosisTest() { files_.CreateFolders("C:\\Cars"); }

  Diagnosis First() { return DiagnoseDatabase(files_, kPath).front(); }

  /// brnd_Fuel with one row.
  Diagnoses DiagnoseRow(const std::string& key, const std::string& note, double date = 40000,
                        const std::vector<std::string>* onHandheld = nullptr) {
    JetTable table("brnd_Fuel");
    table.Text("KY_RECID", 40).Column("TX_NOTE", jet::ColumnType::Memo).Column("DT_DAY", jet::ColumnType::DateTime);
    const auto database = jet::Database::Create(files_, kPath, kJetCreated);
    database->CreateTable(table.Spec(), kJetCreated);
    database->OpenTable("brnd_Fuel").Insert({Value(key), Value(note), Value(Date{date})});
    return DiagnoseTable(*database, tables::kFuel, onHandheld);
  }

  testing::MemoryFileSystem files_;
};

TEST_F(DatabaseDiagnosisTest, AMissingAnEmptyAndAForeignFileAreToldApart) {
  EXPECT_EQ(First().text, "there is no \"C:\\Cars\\Motorva.db\"");
  files_.Put(kPath, {});
  EXPECT_EQ(First().text, "\"C:\\Cars\\Motorva.db\" is empty");
  files_.Put(kPath, {1, 2, 3});
  EXPECT_NE(First().text.find("is no Jet 4 database"), std::string::npos);
  EXPECT_EQ(First().level, Level::Failure);
}

TEST_F(DatabaseDiagnosisTest, ASoundDatabaseThatNobodyUsesIsWell) {
  MakeSampleDatabase(files_, kPath)->Commit();
  const Bytes before = files_.Content(kPath);
  const Diagnoses diagnoses = DiagnoseDatabase(files_, kPath);
  EXPECT_EQ(CountOf(diagnoses, Level::Ok), 2u);
  EXPECT_NE(diagnoses.front().text.find("13 tables"), std::string::npos);
  EXPECT_EQ(files_.Content(kPath), before);
}

TEST_F(DatabaseDiagnosisTest, ADamagedDatabaseIsAFailure) {
  MakeSampleDatabase(files_, kPath)->Commit();
  Bytes content = files_.Content(kPath);
  std::fill(content.begin() + 3 * 4096, content.begin() + 4 * 4096, std::uint8_t{0});
  files_.Put(kPath, content);
  EXPECT_EQ(First().level, Level::Failure);
  EXPECT_NE(First().text.find("damage"), std::string::npos);
}

TEST_F(DatabaseDiagnosisTest, ARunThatIsGoingOnIsAWarning) {
  MakeSampleDatabase(files_, kPath)->Commit();
  files_.CreateFolders("C:\\Cars\\sync");
  const auto lock = files_.Open("C:\\Cars\\sync\\run.lock", platform::Access::ReadWrite,
                                platform::Disposition::OpenAlways, platform::Sharing::None);
  EXPECT_EQ(DiagnoseDatabase(files_, kPath).back(),
            Doubtful("database in use", "a run is going on", "wait for its end"));
}

TEST_F(DatabaseDiagnosisTest, ADatabaseThatAnotherProgramHasOpenIsAWarning) {
  MakeSampleDatabase(files_, kPath)->Commit();
  const auto reader =
      files_.Open(kPath, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::Read);
  EXPECT_EQ(DiagnoseDatabase(files_, kPath).back().text, "another program has it open");
}

TEST_F(DatabaseDiagnosisTest, AnOrdinaryRowIsWell) {
  EXPECT_TRUE(DiagnoseRow("a", "caf\xC3\xA9").empty());
}

TEST_F(DatabaseDiagnosisTest, AQuoteInAKeyStopsARun) {
  const Diagnoses diagnoses = DiagnoseRow("O'Neill", "x");
  ASSERT_EQ(diagnoses.size(), 1u);
  EXPECT_EQ(diagnoses[0].level, Level::Failure);
  EXPECT_NE(diagnoses[0].text.find("O'Neill"), std::string::npos);
}

TEST_F(DatabaseDiagnosisTest, ATextIsTooLongFrom32768BytesOn) {
  EXPECT_TRUE(DiagnoseRow("a", std::string(32767, 'x')).empty());
  const Diagnoses diagnoses = DiagnoseRow("a", std::string(32768, 'x'));
  ASSERT_EQ(diagnoses.size(), 1u);
  EXPECT_NE(diagnoses[0].text.find("TX_NOTE is longer"), std::string::npos);
}

TEST_F(DatabaseDiagnosisTest, ADateBeyondTheTableFilesStopsARun) {
  const Diagnoses diagnoses = DiagnoseRow("a", "x", 60000);
  ASSERT_EQ(diagnoses.size(), 1u);
  EXPECT_EQ(diagnoses[0].level, Level::Failure);
}

TEST_F(DatabaseDiagnosisTest, TextOutsideTheCodePageComesBackChanged) {
  const Diagnoses diagnoses = DiagnoseRow("a", "\xD0\x96");
  ASSERT_EQ(diagnoses.size(), 1u);
  EXPECT_EQ(diagnoses[0].level, Level::Warning);
  EXPECT_NE(diagnoses[0].text.find("a"), std::string::npos);
}

TEST_F(DatabaseDiagnosisTest, ColumnsAreHeldAgainstTheHandheldsByTheirPlace) {
  const std::vector<std::string> same = {"KY_RECID", "tx_note", "DT_DAY"};
  EXPECT_TRUE(DiagnoseRow("a", "x", 40000, &same).empty());
  const std::vector<std::string> other = {"KY_RECID", "DT_DAY", "TX_NOTE"};
  const Diagnoses diagnoses = DiagnoseRow("a", "x", 40000, &other);
  ASSERT_EQ(diagnoses.size(), 1u);
  EXPECT_NE(diagnoses[0].text.find("column 2 is \"TX_NOTE\" on the PC and \"DT_DAY\""), std::string::npos);
}

TEST_F(DatabaseDiagnosisTest, ATableWithoutItsKeyOrWithATypeThatHandheldsLackStopsARun) {
  JetTable table("brnd_Fuel");
  table.Text("KY_ID", 40).Column("OL_PICTURE", jet::ColumnType::Ole);
  const auto database = jet::Database::Create(files_, kPath, kJetCreated);
  database->CreateTable(table.Spec(), kJetCreated);
  const Diagnoses diagnoses = DiagnoseTable(*database, tables::kFuel, nullptr);
  ASSERT_EQ(diagnoses.size(), 2u);
  EXPECT_EQ(diagnoses[0].text, "brnd_Fuel: there is no column KY_RECID");
  EXPECT_EQ(diagnoses[1].text, "brnd_Fuel: OL_PICTURE has a type that handhelds do not have");
}

TEST_F(DatabaseDiagnosisTest, EachMissingTableIsNamedAndThirteenGoodOnesAreOneLine) {
  jet::Database::Create(files_, kPath, kJetCreated)->Commit();
  EXPECT_EQ(CountOf(DiagnoseTables(files_, kPath, {}), Level::Failure), 13u);
  files_.RemoveFile(kPath);
  MakeSampleDatabase(files_, kPath)->Commit();
  EXPECT_EQ(DiagnoseTables(files_, kPath, {}), Diagnoses{Well("tables", "all 13 fit the handheld, row by row")});
}

}  // namespace
}  // namespace mv::tool
