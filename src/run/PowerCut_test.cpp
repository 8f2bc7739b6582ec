#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "device/FolderRapi.h"
#include "history/RowSet.h"
#include "jet/Database.h"
#include "jet/JetConnection.h"
#include "pdb/RecordFlags.h"
#include "run/SilentSync.h"
#include "run/TableDriver.h"
#include "support/JetDatabase.h"
#include "support/RunWorld.h"

namespace mv {
namespace {

using testing::DeviceRecord;
using testing::JetTable;
using testing::MemoryFileSystem;
using testing::RunWorld;
using testing::Values;
using Disk = std::map<std::string, Bytes>;

const std::string kDatabase = "C:/Cars/Motorva.db";
const std::string kHandheld = "C:/handheld";
/// The run's entry in the history, by the time of the test's clock.
const std::string kEntry = "C:/Cars/sync/history/20261121-140509/";

/// Both sides have rows, and the run changes both.
const std::string kFuel = "brnd_Fuel";
/// All rows of the desktop are deleted on the handheld, so its table goes back without a record.
const std::string kTrip = "brnd_Trip";

std::string OnHandheld(const std::string& table) {
  return kHandheld + "/Program Files/Motorva/" + table + ".pdb";
}

Values RowOf(const std::string& key, const std::string& note) {
  return {Value(key), Value(note)};
}

/// The notes of a table's rows by their keys.
using Notes = std::map<std::string, std::string>;

Notes NotesOf(const history::RowSet& set) {
  Notes notes;
  set.ForEachLeft([&](const history::KeyedRow& row) { notes[row.key] = std::get<std::string>(row.values.at(1)); });
  return notes;
}

/// Nothing for a file that is not there.
Bytes ContentOf(const Disk& left, const std::string& path) {
  const auto found = left.find(path);
  return found == left.end() ? Bytes() : found->second;
}

std::size_t LinesOf(const std::string& table, const Bytes& changes) {
  const std::string text(changes.begin(), changes.end());
  std::size_t count = 0;
  for (std::size_t at = text.find(table); at != std::string::npos; at = text.find(table, at + 1)) ++count;
  return count;
}

/// A run over a database of the own engine and a handheld that is a folder, all in memory, looked at after each step:
/// what is on the disk then, should the power go?
class PowerCutTest : public ::testing::Test {
 protected:
  PowerCutTest() {
    for (const SyncTable& table : kTables) PutTable(table.name, {});
    PutTable(kFuel, {{RowOf("a", "old"), 0},
                     {RowOf("b", "handheld"), kRecordModified},
                     {RowOf("c", "gone"), kRecordDeleted},
                     {RowOf("d", "new"), kRecordModified}});
    PutTable(kTrip, {{RowOf("x", "gone"), kRecordDeleted}});
    PutDatabase();
    world_.state.history.keep = 10;
    before_ = Now();
  }

  void PutTable(const std::string& table, const std::vector<DeviceRecord>& records) {
    world_.files.Put(OnHandheld(table), world_.TableFile(table, records));
  }
  void PutDatabase() {
    MemoryFileSystem scratch;
    scratch.CreateFolders("s");
    const auto database = jet::Database::Create(scratch, "s/x.db", testing::kJetCreated);
    for (const SyncTable& table : kTables) {
      JetTable design(table.name);
      design.Text(table.keyField, 20).Text("TX_NOTE", 40).PrimaryKey(table.keyField);
      database->CreateTable(design.Spec(), testing::kJetCreated);
    }
    for (const char* key : {"a", "b", "c"}) database->OpenTable(kFuel).Insert(RowOf(key, "desktop"));
    database->OpenTable(kTrip).Insert(RowOf("x", "desktop"));
    database->Commit();
    world_.files.Put(kDatabase, scratch.Content("s/x.db"));
  }

  ExitStatus Run() {
    FolderRapi rapi(world_.files, kHandheld);
    modWinCERAPIConnectionHandler connection(rapi, world_.hooks);
    modWinCEFileManagement deviceFiles(rapi, connection, world_.files, world_.hooks);
    jet::JetDatabaseProvider databases(world_.files);
    const RunContext run{world_.state, world_.log,
                         world_.ui,    world_.settings,
                         databases,    connection,
                         deviceFiles,  [&] { return CreateFileTransfer(connection, deviceFiles, world_.files); },
                         world_.files, world_.shell,
                         world_.clock, "C:\\Motorva",
                         "1.2.3",      world_.protectedFiles};
    return SilentSync(run);
  }

  /// All files as whoever opens them finds them.
  Disk Now() const { return world_.files.AfterPowerCut({true, true}); }

  /// Looks at all that a power cut could leave, after each step of a run.
  void LookAtRun(const std::function<void(const Disk& left)>& look) {
    std::size_t steps = 0;
    world_.files.LookAtEachStep([&] {
      ++steps;
      for (const bool names : {false, true}) {
        for (const bool contents : {false, true}) {
          if (HasFailure()) return;
          SCOPED_TRACE("step " + std::to_string(steps));
          look(world_.files.AfterPowerCut({names, contents}));
        }
      }
    });
    EXPECT_EQ(Run(), ExitStatus::Success) << world_.Log();
    world_.files.LookAtEachStep([] {});
    EXPECT_GT(steps, 150u);
  }

  /// The rows of a table of this database; each database is read once.
  const Notes& DesktopNotes(const Bytes& database, const std::string& table) {
    const auto [known, isNew] = notes_.try_emplace({database, table});
    if (isNew) {
      MemoryFileSystem scratch;
      scratch.Put("s/x.db", database);
      const auto opened = jet::Database::Open(scratch, "s/x.db", jet::PageFile::Mode::ReadOnly);
      known->second = NotesOf(history::RowSet::OfTable(*opened, table, FindTable(table)->keyField));
    }
    return known->second;
  }

  bool HasChanged(const std::string& path) const { return world_.files.Content(path) != before_.at(path); }
  /// A connected handheld may lose its table from the moment at which the new one begins to arrive.
  bool HasTransferBegun(const std::string& table) const {
    return world_.files.FileExists(OnHandheld(table) + ".writing") || HasChanged(OnHandheld(table));
  }

  RunWorld world_;
  Disk before_;
  std::map<std::pair<Bytes, std::string>, Notes> notes_;
};

TEST_F(PowerCutTest, TheHandheldsTableGoesOnlyWhenItsRowsAreOnTheDesktopsDisk) {
  LookAtRun([&](const Disk& left) {
    const auto expect = [&](const std::string& table, const Notes& before, const Notes& after) {
      const Notes& found = DesktopNotes(left.at(kDatabase), table);
      EXPECT_TRUE(found == after || (found == before && !HasTransferBegun(table))) << table;
    };
    expect(kFuel, {{"a", "desktop"}, {"b", "desktop"}, {"c", "desktop"}},
           {{"a", "desktop"}, {"b", "handheld"}, {"d", "new"}});
    expect(kTrip, {{"x", "desktop"}}, {});
  });
}

TEST_F(PowerCutTest, TheHandheldsTableIsTheOldOneOrTheNewOne) {
  std::map<std::string, std::set<Bytes>> found;
  LookAtRun([&](const Disk& left) {
    for (const std::string& table : {kFuel, kTrip}) found[table].insert(left.at(OnHandheld(table)));
  });
  for (const std::string& table : {kFuel, kTrip}) {
    EXPECT_EQ(found[table], (std::set<Bytes>{before_.at(OnHandheld(table)), Now().at(OnHandheld(table))})) << table;
  }
}

TEST_F(PowerCutTest, BothSidesAreInTheHistoryBeforeTheyChange) {
  LookAtRun([&](const Disk& left) {
    for (const std::string& table : {kFuel, kTrip}) {
      if (!HasTransferBegun(table)) continue;
      EXPECT_EQ(ContentOf(left, kEntry + "handheld/" + table + ".pdb"), before_.at(OnHandheld(table))) << table;
    }
    if (!HasChanged(kDatabase)) return;
    EXPECT_EQ(ContentOf(left, kEntry + "Motorva.db"), before_.at(kDatabase));
    EXPECT_NE(ContentOf(left, kEntry + "run.json"), Bytes());
  });
}

TEST_F(PowerCutTest, WhatAMergeDoesIsOnTheDiskBeforeItsRowsAre) {
  std::map<std::string, std::set<std::size_t>> lines;
  LookAtRun([&](const Disk& left) {
    for (const std::string& table : {kFuel, kTrip}) {
      if (DesktopNotes(left.at(kDatabase), table) == DesktopNotes(before_.at(kDatabase), table)) continue;
      lines[table].insert(LinesOf(table, ContentOf(left, kEntry + "changes.jsonl")));
    }
  });
  EXPECT_EQ(lines[kFuel], std::set<std::size_t>{7});
  EXPECT_EQ(lines[kTrip], std::set<std::size_t>{3});
}

TEST_F(PowerCutTest, TheResultIsInTheHistoryBeforeTheHandheldGetsIt) {
  std::map<std::string, std::set<Bytes>> found;
  LookAtRun([&](const Disk& left) {
    for (const std::string& table : {kFuel, kTrip}) {
      if (HasTransferBegun(table)) found[table].insert(ContentOf(left, kEntry + "result/" + table + ".pdb"));
    }
  });
  for (const std::string& table : {kFuel, kTrip}) {
    EXPECT_EQ(found[table], std::set<Bytes>{Now().at(OnHandheld(table))}) << table;
  }
}

TEST_F(PowerCutTest, WithoutAHistoryBothTableFilesAreInTheirFoldersBeforeTheHandheldGetsOne) {
  world_.state.history.keep = 0;
  std::map<std::string, std::set<Bytes>> fetched;
  std::map<std::string, std::set<Bytes>> results;
  LookAtRun([&](const Disk& left) {
    for (const std::string& table : {kFuel, kTrip}) {
      if (!HasTransferBegun(table)) continue;
      fetched[table].insert(ContentOf(left, "C:/Cars/sync/source/" + table + ".pdb"));
      results[table].insert(ContentOf(left, "C:/Cars/sync/dest/" + table + ".pdb"));
    }
  });
  for (const std::string& table : {kFuel, kTrip}) {
    EXPECT_EQ(fetched[table], std::set<Bytes>{before_.at(OnHandheld(table))}) << table;
    EXPECT_EQ(results[table], std::set<Bytes>{Now().at(OnHandheld(table))}) << table;
  }
}

}  // namespace
}  // namespace mv
