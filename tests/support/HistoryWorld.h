#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "history/HandheldTables.h"
#include "history/HistoryFolder.h"
#include "history/Restore.h"
#include "history/RowSet.h"
#include "history/RunRecord.h"
#include "jet/Database.h"
#include "pdb/HandheldType.h"
#include "pdb/TableFile.h"
#include "support/FakeClock.h"
#include "support/FakeRapi.h"
#include "support/JetDatabase.h"
#include "support/MemoryFileSystem.h"

namespace mv::testing {

/// A row of the tables here: "KY_RECID" and "NM_ODO", and on the handheld its flags.
struct OdoRow {
  std::string key;
  std::int32_t odo = 0;
  std::uint8_t attributes = 0;

  friend bool operator==(const OdoRow&, const OdoRow&) = default;
};

/// A database below "C:\Cars" with brnd_Fuel and brnd_Trip, a handheld with their table files, and a history, all in
/// memory.
class HistoryWorld {
 public:
  static constexpr const char* kDatabase = "C:\\Cars\\Motorva.db";

  HistoryWorld() { files.CreateFolders("C:\\Cars"); }
  HistoryWorld(const HistoryWorld&) = delete;
  HistoryWorld& operator=(const HistoryWorld&) = delete;

  static std::string DevicePath(const std::string& table) { return "\\Program Files\\Motorva\\" + table + ".pdb"; }

  /// A new database with these rows in brnd_Fuel; brnd_Trip is empty.
  static Bytes DatabaseOf(const std::vector<OdoRow>& fuel) {
    MemoryFileSystem scratch;
    scratch.CreateFolders("s");
    const auto database = jet::Database::Create(scratch, "s\\x.db", kJetCreated);
    for (const char* name : {"brnd_Fuel", "brnd_Trip"}) {
      JetTable table(name);
      table.Text("KY_RECID", 20).Column("NM_ODO", jet::ColumnType::Long).PrimaryKey("KY_RECID");
      database->CreateTable(table.Spec(), kJetCreated);
    }
    for (const OdoRow& row : fuel) database->OpenTable("brnd_Fuel").Insert({Value(row.key), Value(row.odo)});
    database->Commit();
    return scratch.Content("s\\x.db");
  }
  Bytes TableFileOf(const std::string& table, const std::vector<OdoRow>& rows) const {
    MemoryFileSystem scratch;
    scratch.CreateFolders("s");
    const TableFileHeader header{
        table, "BRND", {{"KY_RECID", CodeOf(HandheldType::Text)}, {"NM_ODO", CodeOf(HandheldType::Long)}}};
    TableFileWriter writer(header, clock);
    for (const OdoRow& row : rows) writer.Add({row.attributes, 0, {Value(row.key), Value(row.odo)}});
    writer.WriteTo(scratch, "s\\x.pdb");
    return scratch.Content("s\\x.pdb");
  }

  void PutDatabase(const std::vector<OdoRow>& fuel) { ReplaceWhole(kDatabase, DatabaseOf(fuel)); }
  void PutHandheld(const std::string& table, const std::vector<OdoRow>& rows) {
    rapi.Put(DevicePath(table), TableFileOf(table, rows));
  }

  /// An entry that keeps both sides as they are now, as a run makes it; with the record of a finished Synchronize.
  std::string KeepAll(const std::vector<std::string>& tables) {
    const std::string entry = folder.Create(clock.Now());
    history::RunRecord record = FinishedRun();
    if (files.FileExists(kDatabase)) {
      folder.Keep(kDatabase, folder.DatabaseOf(entry));
      record.kept = history::KeptDatabase{"Motorva.db", files.FactsOf(kDatabase)};
    }
    for (const std::string& table : tables) {
      folder.KeepContent(rapi.Content(DevicePath(table)), folder.HandheldFileOf(entry, table));
    }
    folder.Write(entry, record);
    return entry;
  }
  static history::RunRecord FinishedRun() {
    history::RunRecord record;
    record.version = "1.2.3";
    record.modeName = "Synchronize";
    record.began = "2026-11-21T14:05:09";
    record.ended = "2026-11-21T14:05:10";
    record.status = 0;
    record.databasePath = kDatabase;
    return record;
  }

  std::vector<OdoRow> Fuel() { return FuelOf(files.Content(kDatabase)); }
  static std::vector<OdoRow> FuelOf(const Bytes& database) {
    MemoryFileSystem scratch;
    scratch.Put("s\\x.db", database);
    const auto opened = jet::Database::Open(scratch, "s\\x.db", jet::PageFile::Mode::ReadOnly);
    return RowsOf(history::RowSet::OfTable(*opened, "brnd_Fuel", "KY_RECID"));
  }
  std::vector<OdoRow> Handheld(const std::string& table) { return RowsOfFile(rapi.Content(DevicePath(table))); }
  static std::vector<OdoRow> RowsOfFile(const Bytes& tableFile) {
    MemoryFileSystem scratch;
    scratch.Put("s\\x.pdb", tableFile);
    return RowsOf(history::RowSet::OfTableFile(scratch, "s\\x.pdb", "KY_RECID"));
  }

  /// A handheld's program that is started anew, as each process does.
  std::unique_ptr<history::HandheldTables> Connection() {
    return std::make_unique<history::HandheldTables>(rapi, "\\Program Files\\Motorva");
  }
  history::RestoreContext Context(history::HandheldTables& handheld) {
    return {files, clock, handheld, kDatabase, "1.2.3"};
  }

  MemoryFileSystem files;
  FakeClock clock;
  FakeRapi rapi;
  history::HistoryFolder folder{files, kDatabase};

 private:
  /// Under the name comes another file, as with every commit.
  void ReplaceWhole(const std::string& path, const Bytes& content) { files.WriteWhole(path, content); }

  static std::vector<OdoRow> RowsOf(const history::RowSet& set) {
    std::vector<OdoRow> rows;
    set.ForEachLeft([&](const history::KeyedRow& row) {
      rows.push_back({row.key, std::get<std::int32_t>(row.values.at(1)), row.attributes});
    });
    return rows;
  }
};

}  // namespace mv::testing
