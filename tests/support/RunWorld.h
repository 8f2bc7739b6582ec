#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "pdb/RecordFlags.h"
#include "pdb/TableFormat.h"
#include "run/RunContext.h"
#include "run/RunState.h"
#include "run/TableDriver.h"
#include "support/FakeClock.h"
#include "support/FakeDatabase.h"
#include "support/FakeRapi.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordingSettings.h"
#include "support/RecordingShell.h"
#include "support/RecordingUi.h"
#include "sync/Tables.h"
#include "sync/clsSyncableRS_ADO.h"
#include "sync/clsSyncableRS_PDB.h"

namespace mv::testing {

/// A record of a handheld's table.
struct DeviceRecord {
  Values values;
  std::uint8_t attributes = 0;
};

/// All that a run works with, in memory: the desktop's files below "C:\Cars", a database of the thirteen tables (a key
/// column and a text), and a handheld that holds none of them yet.
class RunWorld {
 public:
  RunWorld() {
    files.CreateFolders("C:\\Cars");
    state.settings.DesktopDBPath = "C:\\Cars\\Motorva.db";
    state.settings.PDADBPath = "\\Program Files\\Motorva";
    state.settings.PCSyncSourcePath = "C:\\Cars\\sync\\source";
    state.settings.PCSyncDestPath = "C:\\Cars\\sync\\dest";
    state.settings.SyncLogPath = "C:\\Cars\\SyncLog.txt";
    state.ModeNames = {"Synchronize", "Overwrite PDA", "Overwrite PC"};
    state.ModeResultTexts = {"Table Synchronized", "PC Table Replaced PDA Table", "PDA Table Replaced PC Table"};
    for (const SyncTable& table : kTables) database.tables[table.name] = {FieldsOf(table.name), {}};
  }
  RunWorld(const RunWorld&) = delete;
  RunWorld& operator=(const RunWorld&) = delete;

  /// The fields of a table: its key ("KY_RECID" where no run knows the table) and "TX_NOTE".
  static std::vector<FieldDefinition> FieldsOf(const std::string& table) {
    const SyncTable* const known = FindTable(table);
    const std::string key = known == nullptr ? "KY_RECID" : known->keyField;
    return {{key, DataType::VarWChar, 20}, {"TX_NOTE", DataType::VarWChar, 40}};
  }

  static std::string DevicePath(const std::string& table) { return "\\Program Files\\Motorva\\" + table + ".pdb"; }

  /// The bytes of a table file as a handheld holds it.
  Bytes TableFile(const std::string& table, const std::vector<DeviceRecord>& records) {
    MemoryFileSystem scratch;
    scratch.CreateFolders("scratch");
    const std::string folder = "scratch";
    const RunMode mode = RunMode::Synchronize;
    const SyncContext context{mode, folder, [] {}, [](const std::string&) {}, scratch, shell, clock};
    MemoryRecordset rows(FieldsOf(table));
    clsSyncableRS_ADO source;
    source.SetADORS(rows);
    clsSyncableRS_PDB output(context);
    output.createDB(table + ".pdb", rows);
    output.closeDB();
    output.openDB(table + ".pdb");
    for (const DeviceRecord& record : records) {
      rows.AddNew();
      for (std::size_t i = 0; i < record.values.size(); ++i) rows.SetFieldValue(i, record.values[i]);
      rows.Update();
      output.copyRecordToNative(source);
    }
    output.closeDB();
    Bytes file = scratch.Content("scratch\\" + table + ".pdb");
    for (std::size_t i = 0; i < records.size(); ++i) {
      const std::size_t entry = table_format::kHeaderSize + table_format::kEntrySize * i;
      file[entry + table_format::kEntryAttributesAt] = records[i].attributes;
    }
    return file;
  }
  void PutDeviceTable(const std::string& table, const std::vector<DeviceRecord>& records) {
    rapi.Put(DevicePath(table), TableFile(table, records));
  }
  /// Every table, empty.
  void PutAllDeviceTables() {
    for (const SyncTable& table : kTables) PutDeviceTable(table.name, {});
  }

  /// The rows of a table file.
  std::vector<Values> RowsOf(const std::string& table, const Bytes& file) {
    MemoryFileSystem scratch;
    scratch.Put("scratch\\" + table + ".pdb", file);
    const std::string folder = "scratch";
    const RunMode mode = RunMode::Synchronize;
    const SyncContext context{mode, folder, [] {}, [](const std::string&) {}, scratch, shell, clock};
    clsSyncableRS_PDB source(context);
    source.name(table + ".pdb");
    source.createADORS();
    source.closeDB();
    Recordset& records = source.adors();
    std::vector<Values> rows;
    if (records.RecordCount() > 0) records.MoveFirst();
    while (!records.Eof()) {
      rows.push_back({records.FieldValue(0), records.FieldValue(1)});
      records.MoveNext();
    }
    return rows;
  }
  std::vector<Values> DeviceRows(const std::string& table) { return RowsOf(table, rapi.Content(DevicePath(table))); }

  /// The sync log, its bytes.
  std::string Log() const {
    const Bytes content = files.Content(state.settings.SyncLogPath);
    return std::string(content.begin(), content.end());
  }
  bool HasLog() const { return files.FileExists(state.settings.SyncLogPath); }

  MemoryFileSystem files;
  RecordingShell shell;
  FakeClock clock;
  RecordingUi ui;
  RecordingSettings settings;
  FakeDatabase database;
  FakeRapi rapi;
  RunState state;
  ProtectedFiles protectedFiles{files, state.settings, "C:\\Motorva"};
  SyncLog log{files, state.settings, protectedFiles};
  DeviceHooks hooks{[this](const std::string& line) { log.WriteLogLine(line, false); }, [] {}, [] {}, [] {}};
  modWinCERAPIConnectionHandler connection{rapi, hooks};
  modWinCEFileManagement deviceFiles{rapi, connection, files, hooks};
  RunContext run{
      state,    log,           ui,          settings,
      database, connection,    deviceFiles, [this] { return CreateFileTransfer(connection, deviceFiles, files); },
      files,    shell,         clock,       "C:\\Motorva",
      "1.2.3",  protectedFiles};
};

}  // namespace mv::testing
