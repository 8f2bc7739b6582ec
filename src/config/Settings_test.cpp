#include "config/Settings.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/FakeClock.h"
#include "support/RecordingSettings.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;
using testing::FakeClock;
using testing::RecordingSettings;

class SettingsTest : public ::testing::Test {
 protected:
  RecordingSettings store_;
};

TEST_F(SettingsTest, WithoutAnyKeyEverythingLiesBelowTheProgramsFolder) {
  const Settings settings = LoadSettings(store_, "C:\\Motorva");
  EXPECT_EQ(settings.DesktopDBPath, "C:\\Motorva\\Motorva.db");
  EXPECT_EQ(settings.PDADBPath, "\\Program Files\\Motorva");
  EXPECT_EQ(settings.PCSyncSourcePath, "C:\\Motorva\\sync\\source");
  EXPECT_EQ(settings.PCSyncDestPath, "C:\\Motorva\\sync\\dest");
  EXPECT_EQ(settings.SyncLogPath, "C:\\Motorva\\SyncLog.txt");
  EXPECT_EQ(settings.SyncMode, 0);
  EXPECT_EQ(settings.SyncLogHistory, 0);
  EXPECT_EQ(settings.SyncLog, 1);
  EXPECT_EQ(settings.AutoStart, 0);
}

TEST_F(SettingsTest, TheDefaultsFollowTheDesktopEditionsFolderAndFileName) {
  store_.Put("General", "DBPath", "D:\\Cars");
  store_.Put("General", "DBFileName", "Fleet.db");
  const Settings settings = LoadSettings(store_, "C:\\Motorva");
  EXPECT_EQ(settings.DesktopDBPath, "D:\\Cars\\Fleet.db");
  EXPECT_EQ(settings.PCSyncSourcePath, "D:\\Cars\\sync\\source");
  EXPECT_EQ(settings.PCSyncDestPath, "D:\\Cars\\sync\\dest");
  EXPECT_EQ(settings.SyncLogPath, "D:\\Cars\\SyncLog.txt");
}

TEST_F(SettingsTest, AStoredDatabasePathNoLongerFollowsTheDesktopEdition) {
  store_.Put("General", "DBPath", "D:\\Cars");
  store_.Put("PPC_Mobile", "DesktopDBPath", "E:\\Old\\Motorva.db");
  EXPECT_EQ(LoadSettings(store_, "C:\\Motorva").DesktopDBPath, "E:\\Old\\Motorva.db");
}

TEST_F(SettingsTest, AStoredEmptyTextIsNoMissingKey) {
  store_.Put("General", "DBPath", "");
  store_.Put("PPC_Mobile", "PDADBPath", "");
  const Settings settings = LoadSettings(store_, "C:\\Motorva");
  EXPECT_EQ(settings.PDADBPath, "");
  EXPECT_EQ(settings.DesktopDBPath, "\\Motorva.db");
}

TEST_F(SettingsTest, TheKeysAreReadInTheirOrder) {
  LoadSettings(store_, "C:\\Motorva");
  EXPECT_EQ(store_.calls,
            (std::vector<std::string>{"get Motorva32/General/DBFileName", "get Motorva32/General/DBPath",
                                      "get Motorva32/PPC_Mobile/DesktopDBPath", "get Motorva32/PPC_Mobile/PDADBPath",
                                      "get Motorva32/PPC_Mobile/PCSyncSourcePath",
                                      "get Motorva32/PPC_Mobile/PCSyncDestPath", "get Motorva32/PPC_Mobile/SyncLogPath",
                                      "get Motorva32/PPC_Mobile/SyncMode", "get Motorva32/PPC_Mobile/SyncLogHistory",
                                      "get Motorva32/PPC_Mobile/SyncLog", "get Motorva32/PPC_Mobile/AutoStart"}));
}

TEST_F(SettingsTest, TheKeysAreWrittenInTheirOrderAsText) {
  Settings settings;
  settings.DesktopDBPath = "db";
  settings.PDADBPath = "pda";
  settings.PCSyncSourcePath = "source";
  settings.PCSyncDestPath = "dest";
  settings.SyncLogPath = "log";
  settings.SyncMode = 2;
  settings.SyncLogHistory = -1;
  settings.SyncLog = 0;
  settings.AutoStart = 1;
  SaveSettings(store_, settings);
  EXPECT_EQ(store_.calls,
            (std::vector<std::string>{
                "save Motorva32/PPC_Mobile/DesktopDBPath=db", "save Motorva32/PPC_Mobile/PDADBPath=pda",
                "save Motorva32/PPC_Mobile/PCSyncSourcePath=source", "save Motorva32/PPC_Mobile/PCSyncDestPath=dest",
                "save Motorva32/PPC_Mobile/SyncLogPath=log", "save Motorva32/PPC_Mobile/SyncMode=2",
                "save Motorva32/PPC_Mobile/SyncLogHistory=-1", "save Motorva32/PPC_Mobile/SyncLog=0",
                "save Motorva32/PPC_Mobile/AutoStart=1"}));
}

TEST_F(SettingsTest, WhatWasSavedIsLoadedAgain) {
  const Settings settings{.DesktopDBPath = "a",
                          .PDADBPath = "b",
                          .PCSyncSourcePath = "c",
                          .PCSyncDestPath = "d",
                          .SyncLogPath = "e",
                          .SyncMode = 1,
                          .SyncLogHistory = 1,
                          .SyncLog = 0,
                          .AutoStart = 1};
  SaveSettings(store_, settings);
  EXPECT_EQ(LoadSettings(store_, "C:\\Motorva"), settings);
}

TEST_F(SettingsTest, AnIntegerSettingThatIsNoNumberIsError13) {
  for (const char* key : {"SyncMode", "SyncLogHistory", "SyncLog", "AutoStart"}) {
    for (const char* text : {"", "on", "1x", "0x1"}) {
      RecordingSettings store;
      store.Put("PPC_Mobile", key, text);
      EXPECT_EQ(ErrorNumberOf([&] { LoadSettings(store, "C:\\Motorva"); }), 13) << key << "=" << text;
    }
  }
}

TEST_F(SettingsTest, AnIntegerSettingBeyondSixteenBitsIsError6) {
  for (const char* text : {"32768", "-32769", "99999999999999999999"}) {
    store_.Put("PPC_Mobile", "SyncLog", text);
    EXPECT_EQ(ErrorNumberOf([&] { LoadSettings(store_, "C:\\Motorva"); }), 6) << text;
  }
}

TEST_F(SettingsTest, AnyNumberTextIsAnIntegerSetting) {
  store_.Put("PPC_Mobile", "SyncMode", " 2 ");
  store_.Put("PPC_Mobile", "SyncLogHistory", "-32768");
  store_.Put("PPC_Mobile", "SyncLog", "0.5");
  const Settings settings = LoadSettings(store_, "C:\\Motorva");
  EXPECT_EQ(settings.SyncMode, 2);
  EXPECT_EQ(settings.SyncLogHistory, -32768);
  EXPECT_EQ(settings.SyncLog, 0) << "halves round to even";
}

TEST_F(SettingsTest, LastSyncIsTheClocksTimeInTheUsersForm) {
  const FakeClock clock;
  SaveLastSync(store_, clock);
  EXPECT_EQ(store_.calls, std::vector<std::string>{"save Motorva32/PPC_Mobile/LastSync=" +
                                                   platform::LocalDateTimeText({2026, 11, 21, 14, 5, 9})});
}

TEST_F(SettingsTest, TenRunsAndTwoGigabytesAreKeptUnlessOtherwiseSet) {
  EXPECT_EQ(LoadHistoryLimits(store_), (HistoryLimits{10, 2048}));
  store_.Put("History", "Keep", "0");
  store_.Put("History", "MaxMegabytes", " 5 ");
  EXPECT_EQ(LoadHistoryLimits(store_), (HistoryLimits{0, 5}));
}

TEST_F(SettingsTest, ALimitThatIsNoCountIsRefusedWithItsKey) {
  for (const char* text : {"ten", "-1", "1.5", "", "99999999999999999999"}) {
    store_.Put("History", "Keep", text);
    EXPECT_EQ(testing::ErrorOf([&] { LoadHistoryLimits(store_); }).Description(),
              "the setting Keep of [History], \"" + std::string(text) + "\", is no whole number from 0 on");
  }
}

TEST_F(SettingsTest, SafetiesAreWordsAndAMisspeltOneIsRefused) {
  EXPECT_EQ(LoadSafetySettings(store_), (SafetySettings{false, true}));
  store_.Put("Safety", "OnMassLoss", "STOP");
  store_.Put("Safety", "UnfinishedOverwrite", "go");
  EXPECT_EQ(LoadSafetySettings(store_), (SafetySettings{true, false}));
  store_.Put("Safety", "OnMassLoss", "stopp");
  EXPECT_EQ(testing::ErrorOf([&] { LoadSafetySettings(store_); }).Description(),
            "the setting OnMassLoss of [Safety], \"stopp\", is neither \"warn\" nor \"stop\"");
}

}  // namespace
}  // namespace mv
