#include "run/InteractiveSync.h"

#include <gtest/gtest.h>

#include "base/NumberText.h"
#include "support/FakeToolkit.h"
#include "support/RunWorld.h"
#include "ui/Texts.h"
#include "ui/frmMain.h"

namespace mv {
namespace {

using testing::RunWorld;
using testing::Values;
using Calls = std::vector<std::string>;
using Message = testing::RecordingUi::Message;

const std::string kLine = "\r\n";
const std::string kRule = std::string(60, '-') + kLine;

/// A main window, its behaviour the real one, over a toolkit that the test sees and plays the user of.
struct Session {
  explicit Session(RunWorld& world)
      : registry(world.settings),
        window(toolkit, {world.state.settings, world.state.ModeNames, world.settings, registry, world.files,
                         world.shell, "1.2.3", [this] { InteractiveSync(run, window); }, nullptr,
                         [this] { return time += std::chrono::seconds(1); }}),
        run{world.state,
            world.log,
            window,
            world.settings,
            world.database,
            world.connection,
            world.deviceFiles,
            world.run.createFileTransfer,
            world.files,
            world.shell,
            world.clock,
            "C:\\Motorva",
            "1.2.3",
            world.protectedFiles} {
    world.state.InteractiveRun = true;
    world.hooks.advanceSpinner = [this] { window.AdvanceSpinner(false); };
    world.hooks.showHourglass = [this] { window.SetHourglass(true); };
    world.hooks.processMessages = [this] { window.ProcessMessages(); };
    window.Show();
    toolkit.calls.clear();
    world.settings.calls.clear();
  }

  /// Goes on with every look, so that no request for messages comes too soon after another.
  std::chrono::steady_clock::time_point time{};
  testing::FakeToolkit toolkit;
  SettingsRegistryStrings registry;
  frmMain window;
  RunContext run;
};

/// What a run over all tables starts from.
void LayOut(RunWorld& world) {
  world.PutAllDeviceTables();
  world.files.Put("C:\\Cars\\Motorva.db", {1, 2, 3});
  world.files.Put("C:\\Motorva\\_20", {9});
}

class InteractiveSyncTest : public ::testing::Test {
 protected:
  InteractiveSyncTest() { LayOut(world_); }

  void Run() { window_.mnuSyncStart_Click(); }

  std::string Now() const { return platform::LocalDateTimeText({2026, 11, 21, 14, 5, 9}); }
  std::string Banner() const {
    const std::string doubleRule = std::string(60, '=') + kLine;
    return doubleRule + "Motorva\x99 Mobile Edition - Database Synchronization Utility" + kLine +
           "Questions? Write to support@motorva.example" + kLine + doubleRule + " Software Version: 1.2.3" + kLine +
           " Synchronization Began: " + Now() + kLine + " Local Host Database: C:\\Cars\\Motorva.db" + kLine +
           " Local Folder for Remote Source: C:\\Cars\\sync\\source" + kLine +
           " Local Folder for Remote Destination: C:\\Cars\\sync\\dest" + kLine + " Synchronizing 13 data tables" +
           kLine + kRule;
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
    for (const SyncTable& table : kTables) lines += TableLines(table.name, resultText);
    return lines;
  }
  std::string Ended(const std::string& count) const {
    return "Synchronization of " + count + " of 13 tables ended: " + Now();
  }
  std::string Stopped() const { return "Synchronization Stopped Due to Errors: " + Now(); }
  void ExpectLogEnds(const std::string& end) { EXPECT_TRUE(world_.Log().ends_with(end)) << world_.Log(); }

  /// The calls that enable or disable something, in order.
  Calls Switches() const {
    Calls found;
    for (const std::string& call : toolkit_.calls) {
      if (call.starts_with("enable") || call.starts_with("disable")) found.push_back(call);
    }
    return found;
  }
  Calls ProgressLines() const { return toolkit_.CallsThatStart("progress: "); }
  /// Puts the log's new lines among the window's calls.
  void NoteLogLines() {
    const std::string log = world_.HasLog() ? world_.Log() : "";
    while (notedLog_ < log.size()) {
      const std::size_t end = log.find(kLine, notedLog_);
      toolkit_.calls.push_back("log: " + log.substr(notedLog_, end - notedLog_));
      notedLog_ = end + kLine.size();
    }
  }
  /// What a run told in log, progress list and message boxes, in one sequence.
  Calls LogListAndMessages() const {
    Calls told;
    for (const std::string& call : toolkit_.calls) {
      if (call.starts_with("log: ") || call.starts_with("progress: ") || call.starts_with("message: ")) {
        told.push_back(call);
      }
    }
    return told;
  }

  RunWorld world_;
  Session session_{world_};
  testing::FakeToolkit& toolkit_ = session_.toolkit;
  frmMain& window_ = session_.window;
  std::size_t notedLog_ = 0;  ///< bytes of the log
};

const Calls kDisabledForTheRun = {"disable button 1", "disable mnuSyncStart", "disable button 1", "disable button 3",
                                  "disable button 4", "disable mnuSync",      "disable mnuView"};
const Calls kEnabledAfterTheRun = {"enable button 1", "enable button 3", "enable button 4", "enable mnuSync",
                                   "enable mnuView"};

Calls Joined(Calls first, const Calls& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST_F(InteractiveSyncTest, ThirteenTablesSucceedWithoutAMessageBox) {
  Run();
  EXPECT_EQ(world_.Log(), Banner() + AllTables("Table Synchronized") + kRule + " " + Ended("13") + kLine + kLine);
  EXPECT_TRUE(toolkit_.messages.empty());
  EXPECT_EQ(world_.state.TablesSynchronized, 13);
}

TEST_F(InteractiveSyncTest, TheProgressListTellsTheRunTableByTable) {
  Run();
  Calls expected = {"progress: Synchronization Began: " + Now()};
  for (const SyncTable& table : kTables) {
    expected.push_back("progress: SUCCESSFUL [" + std::string(table.name) + "] Table Synchronized");
  }
  expected.push_back("progress: " + Ended("13"));
  EXPECT_EQ(ProgressLines(), expected);
}

TEST_F(InteractiveSyncTest, TheStatusFollowsATableThroughItsSteps) {
  Run();
  const Calls all = toolkit_.CallsThatStart("status: ");
  EXPECT_EQ(Calls(all.begin(), all.begin() + 6),
            (Calls{"status: Initializing Communications", "status: Retrieving Table brnd_Accessories from Device",
                   "status: Reading source brnd_Accessories table", "status: Synchronizing brnd_Accessories...",
                   "status: Transferring Data Back to Device",
                   "status: Synchronization of Table brnd_Accessories Complete"}));
  EXPECT_EQ(all.size(), 6 * 13u + 1);
  EXPECT_EQ(all.back(), "status: Synchronization Ended - " + Now());
}

TEST_F(InteractiveSyncTest, AfterARunTheToolbarStartsTheNextOneAndTheMenuCommandStaysDisabled) {
  Run();
  EXPECT_EQ(Switches(), Joined(kDisabledForTheRun, kEnabledAfterTheRun));
}

TEST_F(InteractiveSyncTest, TheRunEndsWithTheFirstSpinnerFrameAndThePointer) {
  Run();
  const Calls& calls = toolkit_.calls;
  EXPECT_EQ(Calls(calls.end() - 8, calls.end()),
            (Calls{"spinner 0", "messages", "enable button 1", "enable button 3", "enable button 4", "enable mnuSync",
                   "enable mnuView", "pointer"}));
  EXPECT_FALSE(world_.connection.IsDeviceConnected());
  EXPECT_FALSE(world_.rapi.Connected());
}

TEST_F(InteractiveSyncTest, TheTimeIsSavedAsLastSyncAndNothingElseIs) {
  Run();
  EXPECT_EQ(world_.settings.calls, Calls{"save Motorva32/PPC_Mobile/LastSync=" + Now()});
}

TEST_F(InteractiveSyncTest, AccessoriesAreSynchronisedToo) {
  world_.PutDeviceTable("brnd_Accessories", {{{Value(std::string("1")), Value(std::string("rack"))}, kRecordModified}});
  Run();
  EXPECT_EQ(world_.database.tables["brnd_Accessories"].rows.size(), 1u);
}

TEST_F(InteractiveSyncTest, ASecondRunStartsCountingAfreshAndKeepsTheLinesOfTheFirst) {
  Run();
  const std::size_t lines = ProgressLines().size();
  window_.tb_ButtonClick(1);
  EXPECT_EQ(world_.state.TablesSynchronized, 13);
  EXPECT_EQ(ProgressLines().size(), 2 * lines);
}

TEST_F(InteractiveSyncTest, OverwritePcBacksUpAfterTheFirstProgressLine) {
  world_.state.settings.SyncMode = 2;
  Run();
  EXPECT_EQ(world_.Log(), Banner() +
                              "   Backup Desktop Database to: C:\\Cars\\Motorva.db.presyncbackup.20261121-140509\r\n" +
                              AllTables("PDA Table Replaced PC Table") + kRule + " " + Ended("13") + kLine + kLine);
  EXPECT_EQ(world_.files.Content("C:\\Cars\\Motorva.db.presyncbackup.20261121-140509"), (Bytes{1, 2, 3}));
  EXPECT_EQ(ProgressLines()[1].find("progress: Warning: brnd_Accessories: what the PC had before cannot be read"), 0u);
  EXPECT_EQ(ProgressLines()[2], "progress: SUCCESSFUL [brnd_Accessories] PDA Table Replaced PC Table");
}

TEST_F(InteractiveSyncTest, ARunHasItsEntryInTheHistoryAndItsWarningsInTheList) {
  world_.state.history.keep = 10;
  std::vector<testing::DeviceRecord> records;
  for (int i = 0; i < 12; ++i) records.push_back({{Value(std::to_string(i)), Value(std::string())}});
  world_.PutDeviceTable("brnd_Accessories", records);
  Run();
  const history::HistoryFolder history(world_.files, "C:\\Cars\\Motorva.db");
  ASSERT_EQ(history.Entries().size(), 1u);
  const auto record = history.Read(history.Entries()[0]);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->status, 0);
  EXPECT_EQ(record->tables.size(), 13u);
  EXPECT_EQ(record->warnings, std::vector<std::string>{"brnd_Accessories: the handheld loses 12 of 12 rows"});
  EXPECT_EQ(ProgressLines()[1], "progress: Warning: brnd_Accessories: the handheld loses 12 of 12 rows");
}

TEST_F(InteractiveSyncTest, ARunThatWasStoppedSaysSoInItsEntry) {
  world_.state.history.keep = 10;
  world_.database.tables.erase("brnd_Trip");
  Run();
  const history::HistoryFolder history(world_.files, "C:\\Cars\\Motorva.db");
  const auto record = history.Read(history.Entries().at(0));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->status, 2);
  EXPECT_EQ(record->error, "Error -2147217865: No table 'brnd_Trip'.");
}

TEST_F(InteractiveSyncTest, WithoutAHandheldTheUserIsAskedUntilItAnswers) {
  world_.rapi.initResult = -1;
  toolkit_.answers = {MessageAnswer::Retry, MessageAnswer::Cancel};
  Run();
  const Message message{
      "Please connect your PDA to your PC, turn it on, then click Retry to continue.\r\rClick Cancel to sync your "
      "databases later.",
      "Unable to Communicate with Pocket PC", MessageButtons::RetryCancel, MessageIcon::Critical};
  EXPECT_EQ(toolkit_.messages, std::vector<Message>(2, message));
  EXPECT_EQ(world_.rapi.Count("CeRapiInitEx"), 2u);
}

TEST_F(InteractiveSyncTest, TheQuestionIsAskedUnderThePlainPointer) {
  world_.rapi.initResult = -1;
  Run();
  EXPECT_EQ(toolkit_.calls[toolkit_.calls.size() - 4], "pointer");
  EXPECT_TRUE(toolkit_.calls[toolkit_.calls.size() - 3].starts_with("message: Please connect"));
}

TEST_F(InteractiveSyncTest, CancelEnablesStartAgainAndNothingHasHappened) {
  world_.rapi.initResult = -1;
  Run();
  EXPECT_EQ(Switches(), (Calls{"disable button 1", "disable mnuSyncStart", "enable button 1", "enable mnuSyncStart"}));
  EXPECT_FALSE(world_.HasLog());
  EXPECT_TRUE(ProgressLines().empty());
  EXPECT_TRUE(world_.settings.calls.empty());
}

TEST_F(InteractiveSyncTest, RetryRunsOnceTheHandheldAnswers) {
  world_.rapi.initResult = -1;
  toolkit_.answers = {MessageAnswer::Retry};
  toolkit_.actions = {[] {}, [this] { world_.rapi.initResult = 0; }};
  Run();
  EXPECT_EQ(world_.state.TablesSynchronized, 13);
  EXPECT_EQ(toolkit_.messages.size(), 1u);
}

TEST_F(InteractiveSyncTest, ATableThatTheHandheldDoesNotGiveIsToldAndTheOthersGoOn) {
  world_.rapi.Fail("CeCreateFile", 0, 1);
  Run();
  const std::string notRetrieved =
      "nable to retrieve table [brnd_Accessories] from device. Function returned code: 1 - Not Avail/In-Use";
  EXPECT_EQ(ProgressLines()[1], "progress: U" + notRetrieved);
  EXPECT_NE(world_.Log().find(">> U" + notRetrieved + kLine + "   Retrieving table [brnd_AccItems]"),
            std::string::npos);
  EXPECT_EQ(world_.state.TablesSynchronized, 12);
}

TEST_F(InteractiveSyncTest, FewerThanThirteenTablesEndWithAnAdvice) {
  world_.rapi.Fail("CeCreateFile", 0, 1);
  Run();
  ExpectLogEnds(kRule + " " + Ended("12") + kLine + "** Errors occurred during synchronization" + kLine + kLine);
  const Calls lines = ProgressLines();
  EXPECT_EQ(Calls(lines.end() - 2, lines.end()),
            (Calls{"progress: " + Ended("12"), "progress: Synchronization Ended with Errors: " + Now()}));
  EXPECT_EQ(toolkit_.messages,
            (std::vector<Message>{
                {"Please make sure that Motorva Mobile Edition is NOT running on your PDA.\rIf necessary, use the "
                 "Exit|Close menu option to close Motorva Mobile Edition, then retry.\rYour PDA should be connected "
                 "and powered on.",
                 "Sync Not Completed Successfully", MessageButtons::Ok, MessageIcon::Critical}}));
  EXPECT_TRUE(world_.settings.Stored("PPC_Mobile", "LastSync").has_value());
  EXPECT_EQ(Switches(), Joined(kDisabledForTheRun, kEnabledAfterTheRun));
}

TEST_F(InteractiveSyncTest, TheErrorsOfAnIncompleteRunAreLoggedAfterTheListHasTheCount) {
  world_.rapi.Fail("CeCreateFile", 0, 1);
  toolkit_.beforeCall = [this] { NoteLogLines(); };
  Run();
  const Calls told = LogListAndMessages();
  EXPECT_EQ(
      Calls(told.end() - 7, told.end()),
      (Calls{"log: " + std::string(60, '-'), "log:  " + Ended("12"), "progress: " + Ended("12"),
             "log: ** Errors occurred during synchronization", "progress: Synchronization Ended with Errors: " + Now(),
             "message: " + toolkit_.messages.at(0).text, "log: "}));
}

TEST_F(InteractiveSyncTest, ATableThatTheHandheldDoesNotTakeBackIsShown) {
  world_.rapi.Fail("CeWriteFile", 0, 1);
  Run();
  ASSERT_EQ(toolkit_.messages.size(), 2u);
  EXPECT_EQ(toolkit_.messages[0],
            (Message{"Unable to Return Updated Table brnd_Accessories to Device. Function returned code: 5",
                     texts::kProgramName, MessageButtons::Ok, MessageIcon::Exclamation}));
  EXPECT_EQ(world_.state.TablesSynchronized, 12);
}

TEST_F(InteractiveSyncTest, AnErrorStopsTheRunAtItsTableAndIsShown) {
  world_.database.tables.erase("brnd_Fuel");
  Run();
  EXPECT_EQ(toolkit_.messages,
            (std::vector<Message>{{"Error: -2147217865 has occurred.\rDescription: No table 'brnd_Fuel'.",
                                   texts::kProgramName, MessageButtons::Ok, MessageIcon::Exclamation}}));
  ExpectLogEnds("   ISyncable object for [brnd_Fuel] source data successfully created\r\n " + Stopped() + kLine +
                kLine);
  EXPECT_EQ(ProgressLines().back(), "progress: " + Stopped());
  EXPECT_EQ(Switches(), Joined(kDisabledForTheRun, kEnabledAfterTheRun));
  EXPECT_EQ(toolkit_.calls.back(), "pointer");
  EXPECT_EQ(world_.settings.Stored("PPC_Mobile", "LastSync"), std::nullopt);
}

TEST_F(InteractiveSyncTest, ARunAfterAnErrorFindsTheHandheldAtOnce) {
  world_.database.tables.erase("brnd_Fuel");
  Run();
  toolkit_.messages.clear();
  world_.database.tables["brnd_Fuel"] = {RunWorld::FieldsOf("brnd_Fuel"), {}};
  window_.tb_ButtonClick(1);
  EXPECT_TRUE(toolkit_.messages.empty());
  EXPECT_EQ(world_.state.TablesSynchronized, 13);
}

TEST_F(InteractiveSyncTest, ADatabaseInUseIsExplained) {
  world_.state.settings.SyncMode = 2;
  const auto held = world_.files.Open("C:\\Cars\\Motorva.db", platform::Access::Read,
                                      platform::Disposition::OpenExisting, platform::Sharing::None);
  Run();
  EXPECT_EQ(
      toolkit_.messages,
      (std::vector<Message>{{"Unable to overwite [C:\\Cars\\Motorva.db] database. Close the Desktop Edition and retry.",
                             "Database In Use", MessageButtons::Ok, MessageIcon::Information}}));
  EXPECT_EQ(world_.Log(), Banner() +
                              "   Backup Desktop Database to: C:\\Cars\\Motorva.db.presyncbackup.20261121-140509\r\n " +
                              Stopped() + kLine + kLine);
  EXPECT_EQ(ProgressLines(), (Calls{"progress: Synchronization Began: " + Now(), "progress: " + Stopped()}));
}

TEST_F(InteractiveSyncTest, AnUnwritableLogIsShownAndTheWindowStaysUsable) {
  world_.state.settings.SyncLogPath = "C:\\none\\SyncLog.txt";
  Run();
  EXPECT_EQ(toolkit_.messages.size(), 1u);
  EXPECT_EQ(toolkit_.messages[0].text, "Error: 76 has occurred.\rDescription: Path not found\rC:\\none\\SyncLog.txt");
  EXPECT_EQ(Switches(), Joined(kDisabledForTheRun, kEnabledAfterTheRun));
  EXPECT_TRUE(world_.database.calls.empty());
}

TEST_F(InteractiveSyncTest, WithLoggingOffTheWindowTellsTheSame) {
  world_.state.settings.SyncLog = 0;
  Run();
  EXPECT_FALSE(world_.HasLog());
  EXPECT_EQ(ProgressLines().size(), 15u);
}

TEST_F(InteractiveSyncTest, SettingsChangedBeforeTheRunAreInForceInIt) {
  toolkit_.inSettings = [](frmConfig& form, testing::FakeConfigView& view) {
    view.SelectMode(1);
    form.optSync_Click(view, 1);
    form.cmdCancel_Click(view);
  };
  window_.mnuViewSettings_Click();
  Run();
  EXPECT_EQ(ProgressLines()[1], "progress: SUCCESSFUL [brnd_Accessories] PC Table Replaced PDA Table");
}

// Closing the window is what the user does while the run handles messages.
class ClosingTest : public ::testing::Test {
 protected:
  /// A world whose customers the handheld has changed.
  struct World : RunWorld {
    World() {
      LayOut(*this);
      PutDeviceTable("brnd_Customer", {{{Value(std::string("Ann")), Value(std::string("new"))}, kRecordModified}});
    }
    Bytes Customers() const { return rapi.Content(DevicePath("brnd_Customer")); }
    std::size_t CustomerRows() { return database.tables["brnd_Customer"].rows.size(); }
  };

  /// A run in which the user closes the window at the `chance`-th time that messages are handled, from 0.
  static void RunAndClose(World& world, std::size_t chance) {
    Session session(world);
    session.toolkit.actions.assign(chance, [] {});
    session.toolkit.actions.push_back([&] { session.window.mnuSyncExit_Click(); });
    session.window.mnuSyncStart_Click();
    EXPECT_EQ(session.toolkit.calls.back(), "unload") << "nothing is shown any more";
    EXPECT_TRUE(session.toolkit.messages.empty());
  }
  static void ExpectWholeTables(World& world, const Bytes& before, const Bytes& after) {
    const Bytes customers = world.Customers();
    EXPECT_TRUE(customers == before || (customers == after && world.CustomerRows() == 1));
    EXPECT_EQ(world.rapi.OpenHandles(), 0u);
  }
  static void ExpectTidyEnd(World& world) {
    EXPECT_TRUE(world.settings.Stored("PPC_Mobile", "SyncMode").has_value()) << "the settings are saved";
    EXPECT_FALSE(world.rapi.Connected());
    EXPECT_TRUE(!world.HasLog() || world.Log().ends_with("\r\n\r\n")) << world.Log();
  }
};

TEST_F(ClosingTest, ClosingTheWindowAtAnyMomentLosesNothing) {
  World undisturbed;
  const Bytes before = undisturbed.Customers();
  Session session(undisturbed);
  session.window.mnuSyncStart_Click();
  const Bytes after = undisturbed.Customers();
  const std::size_t chances = session.toolkit.CallsThatStart("messages").size();
  ASSERT_NE(before, after);

  // The customers are the third of thirteen tables that all take the same steps: every moment up to the fourth, and the
  // last ones.
  std::size_t chance = 0;
  while (chance < chances) {
    SCOPED_TRACE(chance);
    World world;
    RunAndClose(world, chance);
    ExpectWholeTables(world, before, after);
    ExpectTidyEnd(world);

    Session again(world);
    again.window.mnuSyncStart_Click();
    EXPECT_EQ(world.state.TablesSynchronized, 13);
    EXPECT_EQ(world.Customers(), after);
    EXPECT_EQ(world.CustomerRows(), 1u);
    chance = chance == chances * 4 / 13 ? chances - 10 : chance + 1;
  }
}

TEST_F(ClosingTest, TheTablesBehindTheOneInHandAreNotTouched) {
  World world;
  RunAndClose(world, 40);
  EXPECT_LT(world.state.TablesSynchronized, 5);
  EXPECT_EQ(world.settings.Stored("PPC_Mobile", "LastSync"), std::nullopt);
  EXPECT_NE(world.Log().find(" Synchronization Stopped Due to Errors: "), std::string::npos);
}

TEST_F(ClosingTest, ARunIsNotBegunInAWindowThatWasClosedWhileItLookedForTheHandheld) {
  World world;
  RunAndClose(world, 0);
  EXPECT_FALSE(world.HasLog());
  EXPECT_EQ(world.rapi.Count("CeCreateFile"), 0u);
}

}  // namespace
}  // namespace mv
