#include "run/TableDriver.h"

#include <gtest/gtest.h>

#include "base/NumberText.h"
#include "support/ExpectError.h"
#include "support/RunWorld.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;
using testing::Values;
using Rows = std::vector<Values>;
using Calls = std::vector<std::string>;

const std::string kTable = "brnd_Fuel";
const std::string kSourceFile = "C:\\Cars\\sync\\source\\brnd_Fuel.pdb";
const std::string kResultFile = "C:\\Cars\\sync\\dest\\brnd_Fuel.pdb";
const std::string kDeviceFile = "\\Program Files\\Motorva\\brnd_Fuel.pdb";

Values RowOf(const std::string& key, const std::string& note) {
  return {Value(key), Value(note)};
}

class TableDriverTest : public ::testing::Test {
 protected:
  TableDriverTest() {
    world_.database.tables[kTable].rows = {RowOf("A", "desktop a"), RowOf("B", "desktop b"), RowOf("C", "desktop c")};
    world_.PutDeviceTable(kTable, {{RowOf("A", "device a"), 0},
                                   {RowOf("B", "device b"), kRecordModified},
                                   {RowOf("C", "device c"), kRecordDeleted},
                                   {RowOf("D", "device d"), kRecordModified},
                                   {RowOf("E", "device e"), 0}});
  }

  void Synchronize() { TableDriver(world_.run, journal_).SynchronizeTable(kTable); }
  std::int32_t ErrorOfRun() {
    return ErrorNumberOf([&] { Synchronize(); });
  }
  Rows DesktopRows() const { return world_.database.tables.at(kTable).rows; }
  std::string SizeOf(const Bytes& bytes) { return TextOfInteger(static_cast<std::int64_t>(bytes.size())); }

  testing::RunWorld world_;
  RunJournal journal_{world_.run, kTables};
};

TEST_F(TableDriverTest, ATableIsMergedOnBothSides) {
  Synchronize();
  EXPECT_EQ(DesktopRows(), (Rows{RowOf("A", "desktop a"), RowOf("B", "device b"), RowOf("D", "device d")}));
  EXPECT_EQ(world_.DeviceRows(kTable), (Rows{RowOf("A", "desktop a"), RowOf("B", "device b"), RowOf("D", "device d")}));
  EXPECT_EQ(world_.state.TablesSynchronized, 1);
  EXPECT_EQ(world_.state.CurrentTableName, kTable);
  EXPECT_EQ(world_.state.CurrentPdbFolder, "C:\\Cars\\sync\\dest");
}

TEST_F(TableDriverTest, BothLocalFilesStayBehind) {
  const Bytes before = world_.rapi.Content(kDeviceFile);
  Synchronize();
  EXPECT_EQ(world_.files.Content(kSourceFile), before);
  EXPECT_EQ(world_.files.Content(kResultFile), world_.rapi.Content(kDeviceFile));
}

TEST_F(TableDriverTest, TheLogTellsEachStep) {
  const std::string read = SizeOf(world_.rapi.Content(kDeviceFile));
  Synchronize();
  const std::string written = SizeOf(world_.rapi.Content(kDeviceFile));
  EXPECT_EQ(world_.Log(),
            "   Retrieving table [brnd_Fuel] from device\r\n"
            "     " +
                read +
                " bytes read from device at: \\Program Files\\Motorva\\brnd_Fuel.pdb\r\n"
                "   Table [brnd_Fuel] successfully retrieved from device\r\n"
                "   Converting source [brnd_Fuel] data from device\r\n"
                "   ISyncable object for [brnd_Fuel] source data successfully created\r\n"
                "   ISyncable object for [brnd_Fuel] result set successfully created\r\n"
                "   Synchronizing [brnd_Fuel]...\r\n"
                "   Transferring [brnd_Fuel] table back to device\r\n"
                "     " +
                written +
                " bytes written to device at: \\Program Files\\Motorva\\brnd_Fuel.pdb\r\n"
                ">> SUCCESSFUL [brnd_Fuel] Table Synchronized\r\n"
                " \r\n");
}

TEST_F(TableDriverTest, AnInteractiveRunTellsTheWindowEachStep) {
  world_.state.InteractiveRun = true;
  Synchronize();
  EXPECT_EQ(world_.ui.calls, (Calls{"status: Initializing Communications",
                                    "status: Retrieving Table brnd_Fuel from Device",
                                    "messages",
                                    "spinner",
                                    "status: Reading source brnd_Fuel table",
                                    "spinner",
                                    "messages",
                                    "messages",
                                    "messages",
                                    "spinner",
                                    "spinner",
                                    "spinner",
                                    "status: Synchronizing brnd_Fuel...",
                                    "messages",
                                    "messages",
                                    "status: Transferring Data Back to Device",
                                    "messages",
                                    "status: Synchronization of Table brnd_Fuel Complete",
                                    "progress: SUCCESSFUL [brnd_Fuel] Table Synchronized",
                                    "messages"}));
}

TEST_F(TableDriverTest, ASilentRunTellsTheWindowNothing) {
  Synchronize();
  EXPECT_EQ(world_.ui.CallsThatStart("messages").size(), world_.ui.calls.size());
}

TEST_F(TableDriverTest, LoadingSixteenRecordsTurnsTheSpinnerForEach) {
  world_.state.InteractiveRun = true;
  world_.database.tables[kTable].rows.clear();
  const auto spinnerTurns = [&](std::size_t records) {
    std::vector<testing::DeviceRecord> table;
    for (std::size_t i = 0; i < records; ++i) table.push_back({RowOf(std::to_string(i), ""), 0});
    world_.PutDeviceTable(kTable, table);
    world_.ui.calls.clear();
    Synchronize();
    return world_.ui.CallsThatStart("spinner").size();
  };
  const std::size_t without = spinnerTurns(15);
  EXPECT_EQ(spinnerTurns(16), without + 16);
}

TEST_F(TableDriverTest, TheDatabaseIsOpenedThroughTheJetProviderAndClosedAtTheEnd) {
  Synchronize();
  EXPECT_EQ(world_.database.calls, (Calls{"open Provider=Microsoft.Jet.OLEDB.4.0;Data Source=C:\\Cars\\Motorva.db;",
                                          "table brnd_Fuel", "commit", "close"}));
}

/// The opens of a table's work files, counted from the start of its step: the fetched file is opened to be read; the
/// result is opened to be created, to be filled, to be written, and to be read back.
struct HeldFile {
  const char* what;
  std::string path;
  std::size_t open;
};
const HeldFile kHeldFiles[] = {{"the fetched file", kSourceFile, 1},
                               {"the result, opened to be filled", kResultFile, 2},
                               {"the result, read back", kResultFile, 4}};

class HeldWorkFileTest : public TableDriverTest, public ::testing::WithParamInterface<std::int16_t> {
 protected:
  HeldWorkFileTest() { world_.state.settings.SyncMode = GetParam(); }
  static constexpr std::size_t kForever = 1000;
};

TEST_P(HeldWorkFileTest, AWorkFileThatAnotherProgramHoldsStopsTheRunAndIsNoEmptyTable) {
  const Bytes onHandheld = world_.rapi.Content(kDeviceFile);
  for (const HeldFile& held : kHeldFiles) {
    world_.files.FailOpens(held.path, held.open, kForever, errors::kPermissionDenied);
    const Error error = testing::ErrorOf([&] { Synchronize(); });
    EXPECT_EQ(error.Number(), errors::kPathFileAccess) << held.what;
    EXPECT_EQ(error.Description(), "Path/File access error: " + held.path + " is held by another program");
    EXPECT_EQ(world_.rapi.Content(kDeviceFile), onHandheld) << held.what;
    EXPECT_EQ(world_.state.TablesSynchronized, 0) << held.what;
    world_.files.FailOpens(held.path, 1, 0, 0);
  }
}

TEST_P(HeldWorkFileTest, NothingIsMergedWhenTheFetchedFileOrTheResultCannotBeOpened) {
  const Rows before = DesktopRows();
  for (const HeldFile& held : {kHeldFiles[0], kHeldFiles[1]}) {
    world_.files.FailOpens(held.path, held.open, kForever, errors::kPathFileAccess);
    EXPECT_EQ(ErrorOfRun(), errors::kPathFileAccess) << held.what;
    EXPECT_EQ(DesktopRows(), before) << held.what;
    world_.files.FailOpens(held.path, 1, 0, 0);
  }
}

TEST_P(HeldWorkFileTest, AFetchedFileThatVanishedIsError53WithItsPath) {
  world_.files.FailOpens(kSourceFile, 1, 1, errors::kFileNotFound);
  const Error error = testing::ErrorOf([&] { Synchronize(); });
  EXPECT_EQ(error.Number(), errors::kFileNotFound);
  EXPECT_EQ(error.Description(), "File not found: " + kSourceFile);
}

TEST_P(HeldWorkFileTest, AHandheldFileOfZerosIsDamagedAndNotEmpty) {
  const Rows before = DesktopRows();
  const Bytes zeros(4096);
  world_.rapi.Put(kDeviceFile, zeros);
  EXPECT_EQ(ErrorOfRun(), errors::kSubscriptOutOfRange);
  EXPECT_EQ(DesktopRows(), before);
  EXPECT_EQ(world_.rapi.Content(kDeviceFile), zeros);
}

TEST_P(HeldWorkFileTest, AHeaderThatNamesOneThingIsNoHeaderOfZeros) {
  for (const std::size_t place : {0u, 60u, 64u}) {  // the table's name, the type, the creator
    Bytes file(78 + 1);
    file[place] = 'X';
    world_.rapi.Put(kDeviceFile, file);
    EXPECT_NO_THROW(Synchronize()) << "byte " << place;
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, HeldWorkFileTest, ::testing::Values<std::int16_t>(0, 1, 2));

TEST_F(TableDriverTest, OverwritePdaReplacesTheHandheldsTable) {
  world_.state.settings.SyncMode = 1;
  Synchronize();
  const Rows desktop = {RowOf("A", "desktop a"), RowOf("B", "desktop b"), RowOf("C", "desktop c")};
  EXPECT_EQ(DesktopRows(), desktop);
  EXPECT_EQ(world_.DeviceRows(kTable), desktop);
  EXPECT_NE(world_.Log().find(">> SUCCESSFUL [brnd_Fuel] PC Table Replaced PDA Table\r\n"), std::string::npos);
}

TEST_F(TableDriverTest, OverwritePcFillsTheDesktopTableThatTheTemplateEmptied) {
  world_.state.settings.SyncMode = 2;
  world_.database.tables[kTable].rows.clear();
  Synchronize();
  const Rows device = {RowOf("A", "device a"), RowOf("B", "device b"), RowOf("D", "device d"), RowOf("E", "device e")};
  EXPECT_EQ(DesktopRows(), device);
  EXPECT_EQ(world_.DeviceRows(kTable), device);
  EXPECT_NE(world_.Log().find(">> SUCCESSFUL [brnd_Fuel] PDA Table Replaced PC Table\r\n"), std::string::npos);
}

TEST_F(TableDriverTest, AModeOutsideTheThreeIsARangeErrorAtTheSuccessLine) {
  world_.state.settings.SyncMode = 3;
  EXPECT_EQ(ErrorOfRun(), 9);
  EXPECT_TRUE(world_.Log().ends_with("\\brnd_Fuel.pdb\r\n")) << "the table is back on the handheld by then";
  EXPECT_EQ(world_.state.TablesSynchronized, 0);
  RunState state;
  state.settings.SyncMode = -1;
  EXPECT_EQ(ErrorNumberOf([&] { ModeResultText(state); }), 9);
}

TEST_F(TableDriverTest, WithoutAFileTransferNothingHappens) {
  world_.run.createFileTransfer = [] { return nullptr; };
  Synchronize();
  EXPECT_FALSE(world_.HasLog());
  EXPECT_TRUE(world_.rapi.calls.empty());
  EXPECT_TRUE(world_.ui.calls.empty());
}

TEST_F(TableDriverTest, ATableThatTheHandheldLacksIsSkipped) {
  TableDriver(world_.run, journal_).SynchronizeTable("brnd_Trip");
  EXPECT_EQ(world_.Log(),
            "   Retrieving table [brnd_Trip] from device\r\n"
            ">> Unable to retrieve table [brnd_Trip] from device. Function returned code: 1 - Not Avail/In-Use\r\n");
  EXPECT_EQ(world_.ui.calls,
            (Calls{"messages", "status: Unable to Retrieve Table brnd_Trip from Device - SYNC FAILED", "messages"}))
      << "this one status is told in silent runs too";
  EXPECT_TRUE(world_.database.calls.empty());
  EXPECT_EQ(world_.state.TablesSynchronized, 0);
}

TEST_F(TableDriverTest, AnInteractiveRunListsASkippedTable) {
  world_.state.InteractiveRun = true;
  TableDriver(world_.run, journal_).SynchronizeTable("brnd_Trip");
  EXPECT_EQ(world_.ui.CallsThatStart("progress"),
            Calls{"progress: Unable to retrieve table [brnd_Trip] from device. Function returned code: 1 - Not "
                  "Avail/In-Use"});
}

TEST_F(TableDriverTest, ATableThatCannotGoBackIsNotCountedButItsDesktopRowsStay) {
  world_.state.InteractiveRun = true;
  const Bytes before = world_.rapi.Content(kDeviceFile);
  world_.rapi.Fail("CeCreateFile", 0, 2);  // The first one opened the file for reading.
  Synchronize();
  EXPECT_TRUE(world_.Log().ends_with(
      "   Transferring [brnd_Fuel] table back to device\r\n"
      ">> Unable to return updated table [brnd_Fuel] to device. Function returned code: 7 - Not Avail/In-Use\r\n"
      " \r\n"));
  EXPECT_EQ(world_.state.TablesSynchronized, 0);
  EXPECT_EQ(world_.rapi.Content(kDeviceFile), before);
  EXPECT_EQ(DesktopRows(), (Rows{RowOf("A", "desktop a"), RowOf("B", "device b"), RowOf("D", "device d")}));
  EXPECT_EQ(world_.ui.messages, (std::vector<testing::RecordingUi::Message>{
                                    {"Unable to Return Updated Table brnd_Fuel to Device. Function returned code: 7",
                                     "", MessageButtons::Ok, MessageIcon::Exclamation}}));
  EXPECT_EQ(world_.ui.CallsThatStart("status").back(), "status: Unable to Return Updated Table brnd_Fuel to Device");
}

TEST_F(TableDriverTest, ASilentRunShowsNoMessageBoxForATableThatCannotGoBack) {
  world_.rapi.Fail("CeCreateFile", 0, 2);
  Synchronize();
  EXPECT_TRUE(world_.ui.messages.empty());
}

TEST_F(TableDriverTest, AnUnknownTableIsReportedAndGoesOnWithoutAKey) {
  world_.state.InteractiveRun = true;
  world_.database.tables["brnd_Boats"] = {testing::RunWorld::FieldsOf("brnd_Boats"), {}};
  world_.PutDeviceTable("brnd_Boats", {{RowOf("A", "device a"), kRecordModified}});
  TableDriver(world_.run, journal_).SynchronizeTable("brnd_Boats");
  EXPECT_EQ(world_.ui.messages,
            (std::vector<testing::RecordingUi::Message>{
                {"Table name: brnd_Boats is not supported.", "", MessageButtons::Ok, MessageIcon::None}}));
  EXPECT_EQ(world_.DeviceRows("brnd_Boats"), Rows{RowOf("A", "device a")});
  EXPECT_EQ(world_.state.TablesSynchronized, 1);
}

TEST_F(TableDriverTest, TheDesktopIsSafeBeforeTheHandheldIsChanged) {
  const Bytes before = world_.rapi.Content(kDeviceFile);
  Bytes atCommit;
  world_.database.onCommit = [&] { atCommit = world_.rapi.Content(kDeviceFile); };
  Synchronize();
  EXPECT_EQ(atCommit, before);
  EXPECT_NE(world_.rapi.Content(kDeviceFile), before);
}

TEST_F(TableDriverTest, AFailedCommitStopsTheRunAndLeavesTheHandheld) {
  const Bytes before = world_.rapi.Content(kDeviceFile);
  world_.database.commitError = StandardError(61);
  EXPECT_EQ(ErrorOfRun(), 61);
  EXPECT_EQ(world_.rapi.Content(kDeviceFile), before);
  EXPECT_EQ(world_.state.TablesSynchronized, 0);
  EXPECT_TRUE(world_.Log().ends_with("   Synchronizing [brnd_Fuel]...\r\n"));
}

/// A key with a single quote makes a criterion that no recordset accepts.
TEST_F(TableDriverTest, RowsChangedBeforeAnErrorOfTheMergeStayChanged) {
  world_.database.tables[kTable].rows = {RowOf("B", "desktop b"), RowOf("O'Brien", ""), RowOf("C", "desktop c")};
  const Bytes before = world_.rapi.Content(kDeviceFile);
  EXPECT_EQ(ErrorOfRun(), 3001);
  EXPECT_EQ(DesktopRows(), (Rows{RowOf("B", "device b"), RowOf("O'Brien", ""), RowOf("C", "desktop c")}));
  EXPECT_EQ(world_.rapi.Content(kDeviceFile), before);
}

TEST_F(TableDriverTest, WhenTheCommitAfterAnErrorFailsTooTheFirstErrorCounts) {
  world_.database.tables[kTable].rows = {RowOf("O'Brien", "")};
  world_.database.commitError = StandardError(61);
  EXPECT_EQ(ErrorOfRun(), 3001);
}

TEST_F(TableDriverTest, AMissingDesktopTableIsTheProvidersError) {
  world_.database.tables.erase(kTable);
  EXPECT_EQ(ErrorOfRun(), -2147217865);
  EXPECT_TRUE(world_.Log().ends_with("   ISyncable object for [brnd_Fuel] source data successfully created\r\n"));
}

TEST_F(TableDriverTest, ADatabaseThatCannotBeOpenedIsTheProvidersError) {
  world_.database.openError = Error(-2147467259, "", "Could not find file 'x'.");
  EXPECT_EQ(ErrorOfRun(), -2147467259);
}

TEST_F(TableDriverTest, AnErrorWhileClosingTheDatabaseIsIgnored) {
  world_.database.closeError = StandardError(57);
  Synchronize();
  EXPECT_EQ(world_.state.TablesSynchronized, 1);
}

/// A text of more than 32,767 bytes can be written to a table file but not read.
TEST_F(TableDriverTest, AResultThatCannotBeReadBackDoesNotReachTheHandheld) {
  world_.database.tables[kTable] = {{{"KY_RECID", DataType::VarWChar, 20}, {"TX_NOTE", DataType::LongVarWChar, 0}},
                                    {RowOf("A", std::string(40'000, 'x')), RowOf("B", "desktop b")}};
  const Bytes before = world_.rapi.Content(kDeviceFile);
  EXPECT_EQ(ErrorOfRun(), 6);
  EXPECT_EQ(DesktopRows()[1], RowOf("B", "device b")) << "the desktop was merged before";
  EXPECT_EQ(world_.rapi.Content(kDeviceFile), before);
}

TEST_F(TableDriverTest, ALongerLocalFileOfAnEarlierRunDoesNotLengthenTheTable) {
  world_.files.Put(kSourceFile, Bytes(100'000, 'x'));
  world_.files.Put(kSourceFile + ".writing", Bytes(100'000, 'y'));
  const Bytes before = world_.rapi.Content(kDeviceFile);
  Synchronize();
  EXPECT_EQ(world_.files.Content(kSourceFile), before);
  EXPECT_EQ(world_.files.List("C:\\Cars\\sync\\source").size(), 1u);
}

TEST_F(TableDriverTest, AFailedCopyLeavesTheLocalFileOfAnEarlierRunAndNothingElse) {
  world_.files.Put(kSourceFile, {1, 2, 3});
  world_.rapi.Fail("CeReadFile", 0, 1);
  Synchronize();
  EXPECT_EQ(world_.files.Content(kSourceFile), (Bytes{1, 2, 3}));
  EXPECT_EQ(world_.files.List("C:\\Cars\\sync\\source").size(), 1u);
}

TEST_F(TableDriverTest, AnEmptyDeviceFileIsARangeErrorAndLeavesNothingNew) {
  world_.rapi.Put(kDeviceFile, {});
  world_.files.Put(kSourceFile, {1, 2, 3});
  EXPECT_EQ(ErrorOfRun(), errors::kSubscriptOutOfRange);
  EXPECT_TRUE(world_.Log().ends_with("   Retrieving table [brnd_Fuel] from device\r\n"));
  EXPECT_TRUE(world_.database.calls.empty());
  EXPECT_EQ(world_.files.Content(kSourceFile), (Bytes{1, 2, 3}));
  EXPECT_EQ(world_.files.List("C:\\Cars\\sync\\source").size(), 1u);
}

TEST_F(TableDriverTest, ALocalFileThatCannotBeReplacedShowsAsAFailedCopy) {
  world_.files.Put(kSourceFile, {1, 2, 3});
  const auto held = world_.files.Open(kSourceFile, platform::Access::Read, platform::Disposition::OpenExisting,
                                      platform::Sharing::All);
  Synchronize();
  EXPECT_TRUE(world_.Log().ends_with("Function returned code: 5 - Not Avail/In-Use\r\n"));
  EXPECT_TRUE(world_.database.calls.empty());
  EXPECT_EQ(world_.files.List("C:\\Cars\\sync\\source").size(), 1u);
}

TEST_F(TableDriverTest, AnOldResultNeverGoesBackInThePlaceOfOneThatCannotBeWritten) {
  world_.files.Put(kResultFile, world_.TableFile(kTable, {{RowOf("Z", "old"), 0}}));
  const auto held = world_.files.Open(kResultFile, platform::Access::Read, platform::Disposition::OpenExisting,
                                      platform::Sharing::Read);
  const Bytes before = world_.rapi.Content(kDeviceFile);
  try {
    Synchronize();
  } catch (const Error&) {
    // Whether the failure is an error or a failed copy is told by other tests.
  }
  EXPECT_EQ(world_.rapi.Content(kDeviceFile), before);
  EXPECT_EQ(world_.state.TablesSynchronized, 0);
}

TEST_F(TableDriverTest, MissingLocalFoldersAreMade) {
  EXPECT_FALSE(world_.files.FolderExists("C:\\Cars\\sync"));
  Synchronize();
  EXPECT_TRUE(world_.files.FolderExists("C:\\Cars\\sync\\source"));
  EXPECT_TRUE(world_.files.FolderExists("C:\\Cars\\sync\\dest"));
}

TEST_F(TableDriverTest, AFolderThatCannotBeMadeShowsAsAFailedCopy) {
  world_.files.Put("C:\\Cars\\sync\\source", {1});
  Synchronize();
  EXPECT_TRUE(world_.Log().ends_with("Function returned code: 5 - Not Avail/In-Use\r\n"));
}

}  // namespace
}  // namespace mv
