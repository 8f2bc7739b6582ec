#include "run/RunTexts.h"

#include <gtest/gtest.h>

#include "base/Utf.h"

namespace mv::log_texts {
namespace {

using Lines = std::vector<std::string>;

TEST(LogTextsTest, TheSilentBannerIsABoxOfSixtyTwoCharacters) {
  const Lines banner = SilentBanner("NOW");
  EXPECT_EQ(banner, (Lines{",------------------------------------------------------------.",
                           "| Motorva\u00A9 Mobile Edition - Database Synchronization Utility |",
                           "| Questions? Write to support@motorva.example                |",
                           "`------------------------------------------------------------'",
                           "Silent Synchronization Began: NOW", "Synchronizing 13 data tables",
                           "------------------------------------------------------------"}));
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(CharacterCount(banner[i]), 62u) << banner[i];
}

TEST(LogTextsTest, TheInteractiveBannerNamesVersionPathsAndTime) {
  Settings settings;
  settings.DesktopDBPath = "C:\\Cars\\Motorva.db";
  settings.PCSyncSourcePath = "C:\\Cars\\sync\\source";
  settings.PCSyncDestPath = "C:\\Cars\\sync\\dest";
  EXPECT_EQ(InteractiveBanner(settings, "1.2.3", "NOW"),
            (Lines{"============================================================",
                   "Motorva\u2122 Mobile Edition - Database Synchronization Utility",
                   "Questions? Write to support@motorva.example",
                   "============================================================", " Software Version: 1.2.3",
                   " Synchronization Began: NOW", " Local Host Database: C:\\Cars\\Motorva.db",
                   " Local Folder for Remote Source: C:\\Cars\\sync\\source",
                   " Local Folder for Remote Destination: C:\\Cars\\sync\\dest", " Synchronizing 13 data tables",
                   "------------------------------------------------------------"}));
}

TEST(LogTextsTest, TheLinesOfATableNameIt) {
  EXPECT_EQ(Retrieving("t"), "   Retrieving table [t] from device");
  EXPECT_EQ(Retrieved("t"), "   Table [t] successfully retrieved from device");
  EXPECT_EQ(NotRetrieved("t", -7),
            ">> Unable to retrieve table [t] from device. Function returned code: -7 - Not Avail/In-Use");
  EXPECT_EQ(Converting("t"), "   Converting source [t] data from device");
  EXPECT_EQ(SourceCreated("t"), "   ISyncable object for [t] source data successfully created");
  EXPECT_EQ(ResultCreated("t"), "   ISyncable object for [t] result set successfully created");
  EXPECT_EQ(Synchronizing("t"), "   Synchronizing [t]...");
  EXPECT_EQ(Transferring("t"), "   Transferring [t] table back to device");
  EXPECT_EQ(Successful("t", "Table Synchronized"), ">> SUCCESSFUL [t] Table Synchronized");
  EXPECT_EQ(NotReturned("t", 6),
            ">> Unable to return updated table [t] to device. Function returned code: 6 - Not Avail/In-Use");
  EXPECT_STREQ(kTableEnd, " ");
}

TEST(LogTextsTest, TheBackupLineNamesTheBackup) {
  EXPECT_EQ(BackupLine("C:\\x"), "   Backup Desktop Database to: C:\\x");
}

TEST(LogTextsTest, AnEndWithFewerThanThirteenTablesReportsErrors) {
  const std::string rule(60, '-');
  EXPECT_EQ(
      SilentEnd(11, "NOW"),
      (Lines{rule, "Silent Synchronization of 11 of 13 tables ended: NOW", "** Errors occurred during synchronization",
             "** Unable to retrieve PDA data. Please make sure that Motorva Mobile Edition is NOT running on your "
             "PDA."}));
  EXPECT_EQ(InteractiveEnd(12, "NOW"), (Lines{rule, " Synchronization of 12 of 13 tables ended: NOW"}));
  EXPECT_STREQ(kErrorsOccurred, "** Errors occurred during synchronization");
}

TEST(LogTextsTest, AnEndWithThirteenTablesReportsNone) {
  const std::string rule(60, '-');
  EXPECT_EQ(SilentEnd(13, "NOW"), (Lines{rule, "Silent Synchronization of 13 of 13 tables ended: NOW"}));
  EXPECT_EQ(InteractiveEnd(13, "NOW"), (Lines{rule, " Synchronization of 13 of 13 tables ended: NOW"}));
}

TEST(LogTextsTest, AMissingHandheldIsThreeLines) {
  EXPECT_EQ(NoHandheld("NOW"), (Lines{"Silent Synchronization was attempted and terminated at: NOW",
                                      "** Unable to initialize RAPI connection with PDA.", std::string(60, '-')}));
}

TEST(LogTextsTest, PermissionDeniedIsExplainedAsADatabaseInUse) {
  EXPECT_EQ(StoppedBy(StandardError(70), "C:\\Cars\\Motorva.db"),
            "Unable to overwite [C:\\Cars\\Motorva.db] database. Database in use.");
}

TEST(LogTextsTest, AnyOtherErrorIsGivenByNumberAndDescription) {
  EXPECT_EQ(StoppedBy(Error(-2147217865, "x", "No such table."), "db"),
            "Error: -2147217865 has occurred. Description: No such table.");
  EXPECT_EQ(StoppedAt("NOW"), "Synchronization Stopped Due to Errors: NOW");
  EXPECT_EQ(InteractiveStoppedAt("NOW"), " Synchronization Stopped Due to Errors: NOW");
}

}  // namespace
}  // namespace mv::log_texts
