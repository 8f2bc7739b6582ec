#include "run/SilentSync.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "base/NumberText.h"
#include "run/RunLock.h"
#include "support/ExpectError.h"
#include "support/RunWorld.h"

namespace mv {
namespace {

using testing::ErrorOf;
using testing::RunWorld;
using testing::Values;
using Calls = std::vector<std::string>;

const std::string kRule = std::string(60, '-') + "\r\n";
const std::vector<std::string> kSilentTables = {
    "brnd_Customer", "brnd_FieldValues", "brnd_Fuel",       "brnd_Maintenance", "brnd_MaintTasks", "brnd_Models",
    "brnd_Parts",    "brnd_Payment",     "brnd_SchedMaint", "brnd_Trip",        "brnd_Vehicle"};

class SilentSyncTest : public ::testing::Test {
 protected:
  SilentSyncTest() {
    world_.PutAllDeviceTables();
    world_.files.Put("C:\\Cars\\Motorva.db", {1, 2, 3});
    world_.files.Put("C:\\Motorva\\_20", {9});
  }

  ExitStatus Run() { return SilentSync(world_.run); }

  std::string Now() const { return platform::LocalDateTimeText({2026, 11, 21, 14, 5, 9}); }
  std::string Banner() const {
    return ",------------------------------------------------------------.\r\n"
           "| Motorva\xA9 Mobile Edition - Database Synchronization Utility |\r\n"
           "| Questions? Write to support@motorva.example                |\r\n"
           "`------------------------------------------------------------'\r\n"
           "Silent Synchronization Began: " +
           Now() + "\r\nSynchronizing 13 data tables\r\n" + kRule;
  }
  std::string TableLines(const std::string& table, const std::string& resultText) const {
    const std::string path = RunWorld::DevicePath(table);
    const std::string size = TextOfInteger(static_cast<std::int64_t>(world_.rapi.Content(path).size()));
    return "   Retrieving table [" + table + "] from device\r\n     " + size + " bytes read from device at: " + path +
           "\r\n   Table [" + table + "] successfully retrieved from device\r\n   Converting source [" + table +
           "] data from device\r\n   ISyncable object for [" + table +
           "] source data successfully created\r\n   ISyncable object for [" + table +
           "] result set successfully created\r\n   Synchronizing [" + table + "]...\r\n   Transferring [" + table +
           "] table back to device\r\n     " + size + " bytes written to device at: " + path + "\r\n>> SUCCESSFUL [" +
           table + "] " + resultText + "\r\n \r\n";
  }
  std::string AllTables(const std::string& resultText) const {
    std::string lines;
    for (const std::string& table : kSilentTables) lines += TableLines(table, resultText);
    return lines;
  }
  std::string End(const std::string& count) const {
    return kRule + "Silent Synchronization of " + count + " of 13 tables ended: " + Now() +
           "\r\n** Errors occurred during synchronization\r\n"
           "** Unable to retrieve PDA data. Please make sure that Motorva Mobile Edition is NOT running on your PDA."
           "\r\n\r\n";
  }
  std::string Stop(const std::string& line) const {
    return line + "\r\nSynchronization Stopped Due to Errors: " + Now() + "\r\n\r\n";
  }
  void ExpectLogEnds(const std::string& end) { EXPECT_TRUE(world_.Log().ends_with(end)) << world_.Log(); }

  RunWorld world_;
};

TEST_F(SilentSyncTest, ElevenTablesSucceedAndTheEndLinesStillCountThirteen) {
  EXPECT_EQ(Run(), ExitStatus::Success);
  EXPECT_EQ(world_.Log(), Banner() + AllTables("Table Synchronized") + End("11"));
  EXPECT_EQ(world_.state.TablesSynchronized, 11);
}

TEST_F(SilentSyncTest, AccessoriesAreLeftToTheInteractiveRun) {
  Run();
  for (const std::string& call : world_.rapi.calls) EXPECT_EQ(call.find("brnd_Acc"), std::string::npos) << call;
}

TEST_F(SilentSyncTest, OverwritePdaSaysSo) {
  world_.state.settings.SyncMode = 1;
  EXPECT_EQ(Run(), ExitStatus::Success);
  EXPECT_EQ(world_.Log(), Banner() + AllTables("PC Table Replaced PDA Table") + End("11"));
  EXPECT_EQ(world_.files.Content("C:\\Cars\\Motorva.db"), (Bytes{1, 2, 3})) << "only Overwrite PC backs up";
}

TEST_F(SilentSyncTest, OverwritePcBacksUpBeforeTheFirstTable) {
  world_.state.settings.SyncMode = 2;
  EXPECT_EQ(Run(), ExitStatus::Success);
  EXPECT_EQ(world_.Log(), Banner() +
                              "   Backup Desktop Database to: C:\\Cars\\Motorva.db.presyncbackup.20261121-140509\r\n" +
                              AllTables("PDA Table Replaced PC Table") + End("11"));
  EXPECT_EQ(world_.files.Content("C:\\Cars\\Motorva.db.presyncbackup.20261121-140509"), (Bytes{1, 2, 3}));
  EXPECT_EQ(world_.files.Content("C:\\Cars\\Motorva.db"), Bytes{9});
}

TEST_F(SilentSyncTest, TheConnectionThatProvedTheHandheldIsEndedBeforeTheFirstTable) {
  Run();
  EXPECT_EQ(Calls(world_.rapi.calls.begin(), world_.rapi.calls.begin() + 4),
            (Calls{"CeRapiInitEx", "WaitForSingleObject 77 50", "CeRapiUninit", "CeRapiInitEx"}));
}

TEST_F(SilentSyncTest, TheTimeIsSavedAsLastSyncAfterTheLastTableAndNothingElseIs) {
  world_.database.onCommit = [&] { EXPECT_TRUE(world_.settings.calls.empty()); };
  Run();
  EXPECT_EQ(world_.settings.calls, Calls{"save Motorva32/PPC_Mobile/LastSync=" + Now()});
}

TEST_F(SilentSyncTest, TheRunLeavesNoConnectionAndNoHourglass) {
  Run();
  EXPECT_FALSE(world_.rapi.Connected());
  EXPECT_FALSE(world_.connection.IsDeviceConnected());
  EXPECT_EQ((Calls{world_.ui.calls.front(), world_.ui.calls[1]}), (Calls{"hourglass", "messages"}));
  EXPECT_EQ((Calls{world_.ui.calls.end()[-2], world_.ui.calls.back()}), (Calls{"pointer", "messages"}));
}

TEST_F(SilentSyncTest, TheLogIsClosedAtTheEnd) {
  Run();
  EXPECT_NO_THROW(world_.files.Open(world_.state.settings.SyncLogPath, platform::Access::Write,
                                    platform::Disposition::OpenExisting, platform::Sharing::None));
}

TEST_F(SilentSyncTest, WithoutHistoryALaterRunStartsTheLogAfresh) {
  Run();
  const std::string one = world_.Log();
  Run();
  EXPECT_EQ(world_.Log(), one);
}

TEST_F(SilentSyncTest, WithHistoryRunsFollowEachOther) {
  world_.state.settings.SyncLogHistory = 1;
  Run();
  const std::string one = world_.Log();
  Run();
  EXPECT_EQ(world_.Log(), one + one);
  EXPECT_EQ(world_.state.TablesSynchronized, 11) << "the count starts afresh with each run";
}

TEST_F(SilentSyncTest, WithLoggingOffTheRunIsTheSame) {
  world_.state.settings.SyncLog = 0;
  world_.PutDeviceTable("brnd_Vehicle", {{{Value(std::string("VIN1")), Value(std::string("new"))}, kRecordModified}});
  EXPECT_EQ(Run(), ExitStatus::Success);
  EXPECT_FALSE(world_.HasLog());
  EXPECT_EQ(world_.database.tables["brnd_Vehicle"].rows.size(), 1u);
  EXPECT_TRUE(world_.settings.Stored("PPC_Mobile", "LastSync").has_value());
}

TEST_F(SilentSyncTest, ATableThatFailsIsCountedOutAndTheOthersGoOn) {
  world_.rapi.Fail("CeCreateFile", 0, 1);
  EXPECT_EQ(Run(), ExitStatus::TablesFailed);
  std::string tables =
      "   Retrieving table [brnd_Customer] from device\r\n"
      ">> Unable to retrieve table [brnd_Customer] from device. Function returned code: 1 - Not Avail/In-Use\r\n";
  for (std::size_t i = 1; i < kSilentTables.size(); ++i) tables += TableLines(kSilentTables[i], "Table Synchronized");
  EXPECT_EQ(world_.Log(), Banner() + tables + End("10"));
  EXPECT_TRUE(world_.settings.Stored("PPC_Mobile", "LastSync").has_value()) << "the table list was finished";
}

TEST_F(SilentSyncTest, WithoutAHandheldThreeLinesAreWrittenAndNothingIsDone) {
  world_.rapi.initResult = -1;
  EXPECT_EQ(Run(), ExitStatus::NoHandheld);
  EXPECT_EQ(world_.Log(), "Silent Synchronization was attempted and terminated at: " + Now() +
                              "\r\n** Unable to initialize RAPI connection with PDA.\r\n" + kRule);
  EXPECT_EQ(world_.ui.calls, (Calls{"hourglass", "messages", "pointer"}));
  EXPECT_TRUE(world_.database.calls.empty());
  EXPECT_TRUE(world_.settings.calls.empty());
}

TEST_F(SilentSyncTest, WhatMayStandInTheHandheldsWayIsTold) {
  world_.rapi.initResult = -1;
  Calls told;
  world_.run.tell = [&](const std::string& line) { told.push_back(line); };
  world_.run.obstacles = [] { return Calls{"the port is taken"}; };
  Run();
  ASSERT_EQ(told.size(), 2U);
  EXPECT_EQ(told[1], "  the port is taken");
}

TEST_F(SilentSyncTest, RunBesideAnotherOneDoesNothingAndWritesNoLog) {
  const auto other = RunLock::Take(world_.files, world_.state.settings.DesktopDBPath);
  ASSERT_TRUE(other);
  Calls told;
  world_.run.tell = [&](const std::string& line) { told.push_back(line); };
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  EXPECT_FALSE(world_.HasLog());
  EXPECT_TRUE(world_.rapi.calls.empty());
  EXPECT_EQ(told,
            (Calls{"MVPPCSync: another run with \"C:\\Cars\\Motorva.db\" is going on, or something that no run may "
                   "disturb; run again when it has ended"}));
}

TEST_F(SilentSyncTest, DatabasesRestWhenTheLastTableIsDoneAndWhenAnErrorStopsTheRun) {
  Run();
  EXPECT_EQ(world_.database.rests, 1);
  world_.database.tables.erase("brnd_Fuel");
  Run();
  EXPECT_EQ(world_.database.rests, 2);
}

TEST_F(SilentSyncTest, AnErrorStopsTheRunAtItsTable) {
  world_.database.tables.erase("brnd_Fuel");
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  EXPECT_EQ(
      world_.Log(),
      Banner() + TableLines("brnd_Customer", "Table Synchronized") +
          TableLines("brnd_FieldValues", "Table Synchronized") +
          "   Retrieving table [brnd_Fuel] from device\r\n     " +
          TextOfInteger(static_cast<std::int64_t>(world_.rapi.Content(RunWorld::DevicePath("brnd_Fuel")).size())) +
          " bytes read from device at: \\Program Files\\Motorva\\brnd_Fuel.pdb\r\n"
          "   Table [brnd_Fuel] successfully retrieved from device\r\n"
          "   Converting source [brnd_Fuel] data from device\r\n"
          "   ISyncable object for [brnd_Fuel] source data successfully created\r\n" +
          Stop("Error: -2147217865 has occurred. Description: No table 'brnd_Fuel'."));
  EXPECT_EQ(world_.settings.Stored("PPC_Mobile", "LastSync"), std::nullopt);
}

TEST_F(SilentSyncTest, ADatabaseInUseStopsOverwritePcBeforeAnyTable) {
  world_.state.settings.SyncMode = 2;
  const auto held = world_.files.Open("C:\\Cars\\Motorva.db", platform::Access::Read,
                                      platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  EXPECT_EQ(world_.Log(), Banner() +
                              "   Backup Desktop Database to: C:\\Cars\\Motorva.db.presyncbackup.20261121-140509\r\n" +
                              Stop("Unable to overwite [C:\\Cars\\Motorva.db] database. Database in use."));
  EXPECT_EQ(world_.files.Content("C:\\Cars\\Motorva.db"), (Bytes{1, 2, 3}));
}

TEST_F(SilentSyncTest, AMissingTemplateStopsOverwritePcBeforeAnyTable) {
  world_.state.settings.SyncMode = 2;
  world_.files.RemoveFile("C:\\Motorva\\_20");
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  EXPECT_EQ(world_.Log(), Banner() +
                              "   Backup Desktop Database to: C:\\Cars\\Motorva.db.presyncbackup.20261121-140509\r\n" +
                              Stop("Error: 53 has occurred. Description: File not found"));
}

TEST_F(SilentSyncTest, ExhaustedMemoryIsError7) {
  world_.database.onCommit = [] { throw std::bad_alloc(); };
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  ExpectLogEnds(Stop("Error: 7 has occurred. Description: Out of memory"));
}

TEST_F(SilentSyncTest, AForeignExceptionIsError51) {
  world_.database.onCommit = [] { throw std::length_error("x"); };
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  ExpectLogEnds(Stop("Error: 51 has occurred. Description: Internal error"));
}

TEST_F(SilentSyncTest, AThrownValueThatIsNoExceptionIsError51) {
  world_.database.onCommit = [] { throw 1; };
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  ExpectLogEnds(Stop("Error: 51 has occurred. Description: Internal error"));
}

TEST_F(SilentSyncTest, AnUnwritableLogMeansThatNothingIsSynchronised) {
  world_.state.settings.SyncLogPath = "C:\\none\\SyncLog.txt";
  world_.state.settings.SyncMode = 2;
  const Error error = ErrorOf([&] { Run(); });
  EXPECT_EQ(error.Number(), 76);
  EXPECT_EQ(world_.rapi.Count("CeCreateFile"), 0u);
  EXPECT_TRUE(world_.database.calls.empty());
  EXPECT_EQ(world_.files.Content("C:\\Cars\\Motorva.db"), (Bytes{1, 2, 3}));
}

TEST_F(SilentSyncTest, ALogThatFailsInMidRunStopsTheRun) {
  const std::size_t bannerLines = 7;
  world_.files.FailWrite(bannerLines + 1);
  EXPECT_EQ(Run(), ExitStatus::Stopped);
  EXPECT_TRUE(world_.database.calls.empty());
  ExpectLogEnds(Stop("Error: 61 has occurred. Description: Disk full"));
}

}  // namespace
}  // namespace mv
