#include "mvtool/doctor/SettingsDiagnosis.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "config/KnownSettings.h"
#include "support/RecordingSettings.h"

namespace mv::tool {
namespace {

class SettingsDiagnosisTest : public ::testing::Test {
 protected:
  Diagnoses Diagnose() { return DiagnoseSettings(store_, "C:\\Motorva"); }
  /// What is said about a setting, or about settings as such; empty when nothing is.
  std::string TextAbout(const std::string& subject, Level level = Level::Ok) {
    for (const Diagnosis& diagnosis : Diagnose()) {
      if (diagnosis.subject == subject && diagnosis.level == level) return diagnosis.text + ";" + diagnosis.advice;
    }
    return {};
  }

  testing::RecordingSettings store_;
};

TEST_F(SettingsDiagnosisTest, EverySettingHasALineAndNothingIsSaved) {
  store_.Put("PPC_Mobile", "SyncMode", "1");
  EXPECT_EQ(Diagnose().size(), KnownSettings().size() + 1);
  EXPECT_TRUE(std::none_of(store_.calls.begin(), store_.calls.end(),
                           [](const std::string& call) { return call.starts_with("save"); }));
}

TEST_F(SettingsDiagnosisTest, EachValueSaysWhereItComesFrom) {
  EXPECT_EQ(TextAbout("[PPC_Mobile] DesktopDBPath"), "\"C:\\Motorva\\Motorva.db\" (default: beside the program);");
  EXPECT_EQ(TextAbout("[General] DBPath"), "\"C:\\Motorva\" (default: beside the program);");
  EXPECT_EQ(TextAbout("[Handheld] Root"), "not set;");
  EXPECT_EQ(TextAbout("[History] Keep"), "\"10\" (default);");
  store_.Put("General", "DBPath", "D:\\Cars");
  store_.Put("PPC_Mobile", "SyncLogPath", "D:\\log.txt");
  EXPECT_EQ(TextAbout("[General] DBPath"), "\"D:\\Cars\" (stored);");
  EXPECT_EQ(TextAbout("[PPC_Mobile] DesktopDBPath"), "\"D:\\Cars\\Motorva.db\" (default: follows DBPath);");
  EXPECT_EQ(TextAbout("[PPC_Mobile] SyncLogPath"), "\"D:\\log.txt\" (stored);");
}

TEST_F(SettingsDiagnosisTest, WithoutAnySettingItSaysWhereTheyWereLookedFor) {
  store_.place = "/home/kim/.config/Motorva32.ini";
  EXPECT_NE(TextAbout("settings", Level::Warning).find("\"/home/kim/.config/Motorva32.ini\""), std::string::npos);
  store_.Put("Handheld", "Root", "D:\\card");
  EXPECT_EQ(TextAbout("settings", Level::Warning), "");
}

TEST_F(SettingsDiagnosisTest, AnUnknownNameIsNamedWithWhatWasMeant) {
  store_.Put("Handheld", "Rooot", "D:\\card");
  EXPECT_EQ(TextAbout("settings", Level::Warning),
            "[Handheld] Rooot is no setting and has no effect;did you mean [Handheld] Root?");
}

TEST_F(SettingsDiagnosisTest, AnUnknownNameThatIsLikeNoOtherIsNamedToo) {
  store_.Put("Mine", "Colour", "red");
  EXPECT_NE(TextAbout("settings", Level::Warning).find("[Mine] Colour is no setting"), std::string::npos);
}

TEST_F(SettingsDiagnosisTest, AValueThatMakesNoSenseIsAFailureOfEachSection) {
  store_.Put("PPC_Mobile", "SyncMode", "two");
  store_.Put("History", "Keep", "ten");
  store_.Put("Safety", "OnMassLoss", "halt");
  store_.Put("Handheld", "Wait", "0");
  EXPECT_EQ(CountOf(Diagnose(), Level::Failure), 4u);
  EXPECT_NE(TextAbout("settings", Level::Failure).find("SyncMode of [PPC_Mobile], \"two\""), std::string::npos);
}

TEST_F(SettingsDiagnosisTest, AModeThatThereIsNotIsAFailure) {
  store_.Put("PPC_Mobile", "SyncMode", "3");
  EXPECT_NE(TextAbout("settings", Level::Failure).find("SyncMode of [PPC_Mobile] is 3"), std::string::npos);
}

}  // namespace
}  // namespace mv::tool
