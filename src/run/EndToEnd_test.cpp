#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "base/NumberText.h"
#include "device/FolderRapi.h"
#include "jet/Database.h"
#include "jet/JetConnection.h"
#include "run/Main.h"
#include "run/TableDriver.h"
#include "support/FakeClock.h"
#include "support/Hex.h"
#include "support/RecordingSettings.h"
#include "support/RunWorld.h"
#include "support/TempFolder.h"

namespace mv {
namespace {

using testing::FromHex;
using testing::Values;
using Rows = std::vector<Values>;

const std::string kVehicle = "brnd_Vehicle";

/// The definitions of the vehicle table: 300 bytes of categories, head and counts, ten fields, their names.
const Bytes kDefinitions = [] {
  Bytes block(276, 0);
  const Bytes fields = FromHex(
      "41 50 50 46 4F 52 47 32 00 00 00 00 00 AF 00 54 00 0A 00 22 00 00 00 00"
      "00 55 00 05 00 00  00 5C 00 05 00 00  00 65 00 01 00 00  00 6E 00 02 00 00  00 76 00 03 00 00"
      "00 82 00 04 00 00  00 8A 00 08 00 00  00 93 00 09 00 00  00 9C 00 07 00 00  00 A6 00 06 00 00"
      "00"
      "54 58 5F 56 49 4E 00"
      "54 58 5F 4E 4F 54 45 53 00"
      "4E 4D 5F 43 4F 55 4E 54 00"
      "4E 4D 5F 59 45 41 52 00"
      "4E 4D 5F 4F 44 4F 4D 45 54 45 52 00"
      "4E 4D 5F 54 41 4E 4B 00"
      "4E 4D 5F 52 41 54 49 4F 00"
      "43 55 5F 50 52 49 43 45 00"
      "44 54 5F 42 4F 55 47 48 54 00"
      "42 4C 5F 41 43 54 49 56 45 00");
  block.insert(block.end(), fields.begin(), fields.end());
  return block;
}();

/// A vehicle table file: name, rest of the header, record list, definitions, two bytes, records, one spare byte.
Bytes TableFile(std::string_view header, std::string_view recordList, std::string_view records) {
  Bytes file(kVehicle.begin(), kVehicle.end());
  file.resize(32);
  const auto append = [&](const Bytes& bytes) { file.insert(file.end(), bytes.begin(), bytes.end()); };
  append(FromHex(header));
  append(FromHex(recordList));
  append(kDefinitions);
  append({0, 0});
  append(FromHex(records));
  append({0});
  return file;
}

/// What the handheld holds before each run: B is modified, C deleted and modified, E new, A and F as they were.
const Bytes kHandheld = TableFile(
    "00 00 00 01 00 1A 5E 00 00 1A 5E 00 00 00 00 00 00 00 00 00 00 00 00 76 00 00 00 00 44 41 54 41 42 52 4E 44 00 00 "
    "00 12 00 00 00 13 00 05",
    "00 00 02 3C 40 11 00 00 "
    "00 00 02 6C 00 03 00 00 "
    "00 00 02 9B C0 04 00 00 "
    "00 00 02 CA 40 12 00 00 "
    "00 00 02 F9 00 05 00 00 ",
    "56 49 4E 2D 42 00 64 65 76 69 63 65 20 C3 A9 00 07 FF FE FF FE EE 90 3F C0 00 00 BF D0 00 00 00 00 00 00 FF FF FF "
    "FF FF FE 17 B8 B6 A1 33 F2 FF "
    "56 49 4E 2D 41 00 64 65 76 69 63 65 20 61 00 01 00 01 00 00 00 01 3F 80 00 00 3F F0 00 00 00 00 00 00 00 00 00 00 "
    "00 00 27 10 B4 92 F4 00 00 "
    "56 49 4E 2D 43 00 64 65 76 69 63 65 20 63 00 02 00 02 00 00 00 02 40 00 00 00 40 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 4E 20 B4 94 45 80 FF "
    "56 49 4E 2D 45 00 64 65 76 69 63 65 20 65 00 FF 7F FF 7F FF FF FF 00 00 00 00 54 B2 49 AD 25 94 C3 7D 7F FF FF FF "
    "FF FF FF FF 00 00 00 00 FF "
    "56 49 4E 2D 46 00 64 65 76 69 63 65 20 66 00 03 00 03 00 00 00 03 40 40 00 00 40 08 00 00 00 00 00 00 00 00 00 00 "
    "00 00 75 30 B4 95 97 00 00 ");
/// What it holds after a run in each mode.
const Bytes kSynchronized = TableFile(
    "00 00 00 01 00 1A 5E 00 00 1A 5E 00 00 00 00 00 00 00 00 00 00 00 00 6E 00 00 00 00 44 41 54 41 42 52 4E 44 00 00 "
    "00 04 00 00 00 05 00 04",
    "00 00 02 34 00 01 00 00 "
    "00 00 02 67 00 02 00 00 "
    "00 00 02 97 00 03 00 00 "
    "00 00 02 BF 00 04 00 00 ",
    "56 49 4E 2D 41 00 64 65 73 6B 74 6F 70 20 61 20 C2 99 00 09 07 CF 00 01 E2 40 42 71 00 00 3F B9 99 99 99 99 99 9A "
    "00 00 00 00 05 F5 E0 9C B4 92 F3 FF FF "
    "56 49 4E 2D 42 00 64 65 76 69 63 65 20 C3 A9 00 07 FF FE FF FE EE 90 3F C0 00 00 BF D0 00 00 00 00 00 00 FF FF FF "
    "FF FF FE 17 B8 B6 A1 33 F2 FF "
    "56 49 4E 2D 44 00 3F 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 "
    "56 49 4E 2D 45 00 64 65 76 69 63 65 20 65 00 FF 7F FF 7F FF FF FF 00 00 00 00 54 B2 49 AD 25 94 C3 7D 7F FF FF FF "
    "FF FF FF FF 00 00 00 00 FF ");
const Bytes kDesktops = TableFile(
    "00 00 00 01 00 1A 5E 00 00 1A 5E 00 00 00 00 00 00 00 00 00 00 00 00 6E 00 00 00 00 44 41 54 41 42 52 4E 44 00 00 "
    "00 04 00 00 00 05 00 04",
    "00 00 02 34 00 01 00 00 "
    "00 00 02 67 00 02 00 00 "
    "00 00 02 97 00 03 00 00 "
    "00 00 02 C7 00 04 00 00 ",
    "56 49 4E 2D 41 00 64 65 73 6B 74 6F 70 20 61 20 C2 99 00 09 07 CF 00 01 E2 40 42 71 00 00 3F B9 99 99 99 99 99 9A "
    "00 00 00 00 05 F5 E0 9C B4 92 F3 FF FF "
    "56 49 4E 2D 42 00 64 65 73 6B 74 6F 70 20 62 00 08 00 08 00 00 00 08 41 00 00 00 40 20 00 00 00 00 00 00 00 00 00 "
    "00 00 01 38 80 B5 B4 FE 00 00 "
    "56 49 4E 2D 43 00 64 65 73 6B 74 6F 70 20 63 00 08 00 08 00 00 00 08 41 00 00 00 40 20 00 00 00 00 00 00 00 00 00 "
    "00 00 01 38 80 B5 B4 FE 00 00 "
    "56 49 4E 2D 44 00 3F 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 ");
const Bytes kHandhelds = TableFile(
    "00 00 00 01 00 1A 5E 00 00 1A 5E 00 00 00 00 00 00 00 00 00 00 00 00 6E 00 00 00 00 44 41 54 41 42 52 4E 44 00 00 "
    "00 04 00 00 00 05 00 04",
    "00 00 02 34 00 01 00 00 "
    "00 00 02 64 00 02 00 00 "
    "00 00 02 93 00 03 00 00 "
    "00 00 02 C2 00 04 00 00 ",
    "56 49 4E 2D 42 00 64 65 76 69 63 65 20 C3 A9 00 07 FF FE FF FE EE 90 3F C0 00 00 BF D0 00 00 00 00 00 00 FF FF FF "
    "FF FF FE 17 B8 B6 A1 33 F2 FF "
    "56 49 4E 2D 41 00 64 65 76 69 63 65 20 61 00 01 00 01 00 00 00 01 3F 80 00 00 3F F0 00 00 00 00 00 00 00 00 00 00 "
    "00 00 27 10 B4 92 F4 00 00 "
    "56 49 4E 2D 45 00 64 65 76 69 63 65 20 65 00 FF 7F FF 7F FF FF FF 00 00 00 00 54 B2 49 AD 25 94 C3 7D 7F FF FF FF "
    "FF FF FF FF 00 00 00 00 FF "
    "56 49 4E 2D 46 00 64 65 76 69 63 65 20 66 00 03 00 03 00 00 00 03 40 40 00 00 40 08 00 00 00 00 00 00 00 00 00 00 "
    "00 00 75 30 B4 95 97 00 00 ");

Values Vehicle(const std::string& vin, const std::string& notes, std::uint8_t count, std::int16_t year,
               std::int32_t odometer, float tank, double ratio, std::int64_t price, const char* bought, bool active) {
  return {vin, notes, count, year, odometer, tank, ratio, Currency{price}, *DateFromIso(bought), active};
}

const Values kDesktopA =
    Vehicle("VIN-A", "desktop a \u2122", 9, 1999, 123456, 60.25F, 0.1, 99'999'900, "1999-12-31T23:59:59", true);
const Values kDesktopB = Vehicle("VIN-B", "desktop b", 8, 8, 8, 8.0F, 8.0, 80'000, "2000-08-08", false);
const Values kDesktopC = Vehicle("VIN-C", "desktop c", 8, 8, 8, 8.0F, 8.0, 80'000, "2000-08-08", false);
const Values kDesktopD = {
    std::string("VIN-D"), std::string("\u4E2D"), Null(), Null(), Null(), Null(), Null(), Null(), Null(), false};
const Values kDeviceA = Vehicle("VIN-A", "device a", 1, 1, 1, 1.0F, 1.0, 10'000, "2000-01-01", false);
const Values kDeviceB =
    Vehicle("VIN-B", "device \u00E9", 7, -2, -70000, 1.5F, -0.25, -125'000, "2001-02-03T04:05:06", true);
const Values kDeviceE =
    Vehicle("VIN-E", "device e", 255, 32767, 2147483647, 0.0F, 1e100, 9'223'372'036'854'775'807, "1904-01-01", true);
const Values kDeviceF = Vehicle("VIN-F", "device f", 3, 3, 3, 3.0F, 3.0, 30'000, "2000-01-03", false);

jet::TableSpec VehicleSpec() {
  using jet::ColumnType;
  jet::TableSpec design;
  design.name = kVehicle;
  const auto add = [&](const char* name, ColumnType type, std::uint16_t characters = 0) {
    jet::ColumnSpec column;
    column.name = name;
    column.type = type;
    column.characters = characters;
    design.columns.push_back(column);
  };
  add("TX_VIN", ColumnType::Text, 20);
  add("TX_NOTES", ColumnType::Memo);
  add("NM_COUNT", ColumnType::Byte);
  add("NM_YEAR", ColumnType::Integer);
  add("NM_ODOMETER", ColumnType::Long);
  add("NM_TANK", ColumnType::Single);
  add("NM_RATIO", ColumnType::Double);
  add("CU_PRICE", ColumnType::Currency);
  add("DT_BOUGHT", ColumnType::DateTime);
  add("BL_ACTIVE", ColumnType::Boolean);
  return design;
}

/// A table of the run that stays empty on both sides.
jet::TableSpec PlainSpec(const std::string& table) {
  jet::TableSpec design;
  design.name = table;
  for (const FieldDefinition& field : testing::RunWorld::FieldsOf(table)) {
    jet::ColumnSpec column;
    column.name = field.name;
    column.type = jet::ColumnType::Text;
    column.characters = static_cast<std::uint16_t>(field.definedSize);
    design.columns.push_back(column);
  }
  return design;
}

jet::TableSpec SpecOf(const std::string& table) {
  jet::TableSpec design = table == kVehicle ? VehicleSpec() : PlainSpec(table);
  jet::IndexSpec key;
  key.name = "PrimaryKey";
  key.columns.push_back({design.columns.front().name, true});
  key.primaryKey = true;
  key.unique = true;
  key.required = true;
  design.indexes.push_back(key);
  return design;
}

constexpr CivilTime kCreated = {2026, 1, 2, 3, 4, 5};

/// A desktop, a handheld and the production objects between them, in a folder of this machine; only the clock and the
/// settings are fakes.
class EndToEndTest : public ::testing::Test {
 protected:
  EndToEndTest() {
    settings_.Put("General", "DBPath", folder_.File("desktop"));
    folder_.Write("desktop/keep", "");
    for (const SyncTable& table : kTables) WriteDeviceTable(table.name, EmptyTable(table.name));
    WriteDeviceTable(kVehicle, kHandheld);
    CreateDatabase("desktop\\Motorva.db", {kDesktopA, kDesktopB, kDesktopC, kDesktopD});
    folder_.Write("program/keep", "");
    CreateDatabase("program\\_20", {});
  }

  static std::string PathOnHandheld(const std::string& table) {
    return "handheld/Program Files/Motorva/" + table + ".pdb";
  }
  void WriteDeviceTable(const std::string& table, const Bytes& file) {
    folder_.Write(PathOnHandheld(table), std::string(file.begin(), file.end()));
  }
  Bytes DeviceTable(const std::string& table) {
    const std::string content = folder_.Read(PathOnHandheld(table));
    return Bytes(content.begin(), content.end());
  }
  Bytes EmptyTable(const std::string& table) { return world_.TableFile(table, {}); }

  void CreateDatabase(const std::string& name, const Rows& vehicles) {
    const auto database = jet::Database::Create(*files_, folder_.File(name), kCreated);
    for (const SyncTable& table : kTables) database->CreateTable(SpecOf(table.name), kCreated);
    for (const Values& row : vehicles) database->OpenTable(kVehicle).Insert(row);
    database->Commit();
  }

  /// The desktop's vehicles in physical order.
  Rows DesktopVehicles() {
    const auto connection = databases_.Open("Data Source=" + folder_.File("desktop\\Motorva.db"));
    const auto records = connection->OpenTable(kVehicle);
    Rows rows;
    while (!records->Eof()) {
      Values& row = rows.emplace_back();
      for (std::size_t i = 0; i < records->Fields().size(); ++i) row.push_back(records->FieldValue(i));
      records->MoveNext();
    }
    return rows;
  }

  std::optional<ExitStatus> Run(const std::string& commandLine) {
    RunState state;
    const ProtectedFiles protectedFiles(*files_, state.settings, folder_.File("program"));
    SyncLog log(*files_, state.settings, protectedFiles);
    SilentUserInterface ui;
    FolderRapi rapi(*files_, folder_.File("handheld"));
    const DeviceHooks hooks{[&](const std::string& line) { log.WriteLogLine(line, false); }, {}, {}, {}};
    modWinCERAPIConnectionHandler connection(rapi, hooks);
    modWinCEFileManagement deviceFiles(rapi, connection, *files_, hooks);
    RunContext run{
        state,      log,           ui,          settings_,
        databases_, connection,    deviceFiles, [&] { return CreateFileTransfer(connection, deviceFiles, *files_); },
        *files_,    shell_,        clock_,      folder_.File("program"),
        "1.2.3",    protectedFiles};
    const EntryContext entry{run, ParseInvocation(commandLine), nullptr, [] { return true; }, errors_};
    return Main(entry);
  }

  /// The whole log of a run that changed no table but the vehicles: `result` is what it wrote for them.
  std::string ExpectedLog(const std::string& resultText, const Bytes& result, const std::string& backup = {}) {
    const std::string now = platform::LocalDateTimeText({2026, 11, 21, 14, 5, 9});
    std::string text =
        ",------------------------------------------------------------.\r\n"
        "| Motorva\xA9 Mobile Edition - Database Synchronization Utility |\r\n"
        "| Questions? Write to support@motorva.example                |\r\n"
        "`------------------------------------------------------------'\r\n"
        "Silent Synchronization Began: " +
        now +
        "\r\n"
        "Synchronizing 13 data tables\r\n"
        "------------------------------------------------------------\r\n";
    if (!backup.empty()) text += "   Backup Desktop Database to: " + backup + "\r\n";
    for (const SyncTable& synchronized : kSilentTables) {
      const std::string table = synchronized.name;
      const bool isVehicle = table == kVehicle;
      text += TableLog(table, isVehicle ? kHandheld : EmptyTable(table), isVehicle ? result : EmptyTable(table),
                       resultText);
    }
    return text +
           "------------------------------------------------------------\r\n"
           "Silent Synchronization of 11 of 13 tables ended: " +
           now +
           "\r\n"
           "** Errors occurred during synchronization\r\n"
           "** Unable to retrieve PDA data. Please make sure that Motorva Mobile Edition is NOT running on your "
           "PDA.\r\n"
           "\r\n";
  }
  static std::string TableLog(const std::string& table, const Bytes& read, const Bytes& written,
                              const std::string& resultText) {
    const auto size = [](const Bytes& file) { return TextOfInteger(static_cast<std::int64_t>(file.size())); };
    const std::string path = "\\Program Files\\Motorva\\" + table + ".pdb\r\n";
    return "   Retrieving table [" + table +
           "] from device\r\n"
           "     " +
           size(read) + " bytes read from device at: " + path + "   Table [" + table +
           "] successfully retrieved from device\r\n"
           "   Converting source [" +
           table +
           "] data from device\r\n"
           "   ISyncable object for [" +
           table +
           "] source data successfully created\r\n"
           "   ISyncable object for [" +
           table +
           "] result set successfully created\r\n"
           "   Synchronizing [" +
           table +
           "]...\r\n"
           "   Transferring [" +
           table +
           "] table back to device\r\n"
           "     " +
           size(written) + " bytes written to device at: " + path + ">> SUCCESSFUL [" + table + "] " + resultText +
           "\r\n"
           " \r\n";
  }

  testing::RunWorld world_;  ///< only makes empty table files
  testing::TempFolder folder_;
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
  jet::JetDatabaseProvider databases_{*files_};
  testing::RecordingSettings settings_;
  testing::FakeClock clock_;
  platform::SystemShell shell_;
  std::ostringstream errors_;
};

TEST_F(EndToEndTest, SynchronizeMergesBothSides) {
  EXPECT_EQ(Run("-Mode0"), ExitStatus::Success);
  EXPECT_EQ(folder_.Read("desktop/SyncLog.txt"), ExpectedLog("Table Synchronized", kSynchronized));
  EXPECT_EQ(DesktopVehicles(), (Rows{kDesktopA, kDeviceB, kDesktopD, kDeviceE}));
  EXPECT_EQ(testing::ToHex(DeviceTable(kVehicle)), testing::ToHex(kSynchronized));
  EXPECT_EQ(errors_.str(), "");
}

TEST_F(EndToEndTest, OverwritePdaReplacesTheHandheldsTable) {
  EXPECT_EQ(Run("-Mode1"), ExitStatus::Success);
  EXPECT_EQ(folder_.Read("desktop/SyncLog.txt"), ExpectedLog("PC Table Replaced PDA Table", kDesktops));
  EXPECT_EQ(DesktopVehicles(), (Rows{kDesktopA, kDesktopB, kDesktopC, kDesktopD}));
  EXPECT_EQ(testing::ToHex(DeviceTable(kVehicle)), testing::ToHex(kDesktops));
}

TEST_F(EndToEndTest, OverwritePcReplacesTheDatabaseAndKeepsABackup) {
  const std::string before = folder_.Read("desktop/Motorva.db");
  EXPECT_EQ(Run("-Mode2"), ExitStatus::Success);
  EXPECT_EQ(folder_.Read("desktop/SyncLog.txt"),
            ExpectedLog("PDA Table Replaced PC Table", kHandhelds,
                        folder_.File("desktop") + "\\Motorva.db.presyncbackup.20261121-140509"));
  EXPECT_EQ(folder_.Read("desktop/Motorva.db.presyncbackup.20261121-140509"), before);
  EXPECT_EQ(DesktopVehicles(), (Rows{kDeviceB, kDeviceA, kDeviceE, kDeviceF}));
  EXPECT_EQ(testing::ToHex(DeviceTable(kVehicle)), testing::ToHex(kHandhelds));
}

TEST_F(EndToEndTest, ASecondSynchronizeChangesNeitherSide) {
  Run("-Mode0");
  const std::string database = folder_.Read("desktop/Motorva.db");
  const Bytes vehicles = DeviceTable(kVehicle);
  EXPECT_EQ(Run("-Mode0"), ExitStatus::Success);
  EXPECT_EQ(folder_.Read("desktop/Motorva.db"), database);
  EXPECT_EQ(DeviceTable(kVehicle), vehicles);
}

TEST_F(EndToEndTest, ASourceFolderThatIsTheHandheldsOwnTakesNoTableAway) {
  settings_.Put("PPC_Mobile", "PCSyncSourcePath", folder_.File("handheld\\Program Files\\Motorva"));
  EXPECT_EQ(Run("-Mode0"), ExitStatus::Success);
  EXPECT_EQ(testing::ToHex(DeviceTable(kVehicle)), testing::ToHex(kSynchronized));
}

TEST_F(EndToEndTest, ADatabaseOpenElsewhereIsLeftAlone) {
  const std::string before = folder_.Read("desktop/Motorva.db");
  {
    const auto held = databases_.Open("Data Source=" + folder_.File("desktop\\Motorva.db"));
    EXPECT_EQ(Run("-Mode0"), ExitStatus::Stopped);
    EXPECT_NE(
        folder_.Read("desktop/SyncLog.txt").find("\r\nError: -2147467259 has occurred. Description: Could not use '"),
        std::string::npos);
    EXPECT_EQ(Run("-Mode2"), ExitStatus::Stopped);
    EXPECT_NE(folder_.Read("desktop/SyncLog.txt").find("] database. Database in use.\r\n"), std::string::npos);
  }
  EXPECT_EQ(folder_.Read("desktop/Motorva.db"), before);
  EXPECT_EQ(DeviceTable(kVehicle), kHandheld);
}

}  // namespace
}  // namespace mv
