#include "history/RestorePreview.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "history/RowSet.h"
#include "jet/Database.h"
#include "pdb/OneFileSystem.h"
#include "sync/Tables.h"

namespace mv::history {
namespace {

/// A database that is in memory or on disk; null where there is none.
struct OpenedDatabase {
  std::unique_ptr<OneFileSystem> memory;
  std::unique_ptr<jet::Database> database;
};

OpenedDatabase OpenInMemory(const Bytes& content, const std::string& path) {
  OpenedDatabase opened;
  opened.memory = std::make_unique<OneFileSystem>(content);
  opened.database = jet::Database::Open(*opened.memory, path, jet::PageFile::Mode::ReadOnly);
  return opened;
}

OpenedDatabase OpenLive(platform::FileSystem& files, const std::string& path) {
  OpenedDatabase opened;
  if (files.FileExists(path)) opened.database = jet::Database::Open(files, path, jet::PageFile::Mode::ReadOnly);
  return opened;
}

std::vector<std::string> TablesOf(const OpenedDatabase& opened) {
  return opened.database ? opened.database->TableNames() : std::vector<std::string>();
}

bool Has(const std::vector<std::string>& tables, const std::string& table) {
  return std::any_of(tables.begin(), tables.end(),
                     [&](const std::string& name) { return FoldCase(name) == FoldCase(table); });
}

/// Of a table that no run knows the first column is the key.
std::string KeyFieldOf(const std::string& table) {
  const SyncTable* const known = FindTable(table);
  return known == nullptr ? std::string() : known->keyField;
}

/// None for a table that the database does not have.
RowSet RowsOf(const OpenedDatabase& opened, const std::string& table) {
  if (!Has(TablesOf(opened), table)) return {};
  return RowSet::OfTable(*opened.database, table, KeyFieldOf(table));
}

RowSet RowsOf(const Bytes* tableFile, const std::string& table) {
  if (tableFile == nullptr) return {};
  OneFileSystem memory(*tableFile);
  return RowSet::OfTableFile(memory, table + ".pdb", KeyFieldOf(table));
}

/// Notes what becomes of the rows of one side of a table.
class Comparison {
 public:
  Comparison(TablePreview& preview, Side side)
      : preview_(preview), side_(side), counts_(side == Side::Desktop ? preview.desktop : preview.handheld) {}

  void Compare(RowSet& today, const RowSet& coming) {
    counts_.before = static_cast<std::int64_t>(today.Count());
    counts_.after = static_cast<std::int64_t>(coming.Count());
    const std::vector<std::string> todaysFields = today.FieldNames();
    const std::vector<std::string> fields = coming.FieldNames();
    coming.ForEachLeft([&](const KeyedRow& row) {
      const KeyedRow* const now = today.Take(row.key);
      const std::string after = ObjectOf(fields, row.values);
      if (now == nullptr) return Note(row, What::Added, {}, after, counts_.added);
      const std::string before = ObjectOf(todaysFields, now->values);
      if (before != after) return Note(row, What::Changed, before, after, counts_.changed);
      if (now->attributes != row.attributes) ++preview_.flags;
    });
    today.ForEachLeft([&](const KeyedRow& row) {
      Note(row, What::Deleted, ObjectOf(todaysFields, row.values), {}, counts_.deleted);
    });
  }

 private:
  void Note(const KeyedRow& row, What what, std::string before, std::string after, std::int64_t& count) {
    ++count;
    preview_.changes.push_back({preview_.table, row.key, side_, what, std::move(before), std::move(after)});
  }

  TablePreview& preview_;
  Side side_;
  SideCounts& counts_;
};

TablePreview& PreviewOf(std::vector<TablePreview>& previews, const std::string& table) {
  const auto found = std::find_if(previews.begin(), previews.end(),
                                  [&](const TablePreview& p) { return FoldCase(p.table) == FoldCase(table); });
  if (found != previews.end()) return *found;
  previews.emplace_back().table = table;
  return previews.back();
}

/// The rows of today, as `read` gives them. What cannot be read counts as empty, which a note tells.
template <typename Read>
RowSet Today(TablePreview& preview, const std::string& what, Read read) {
  try {
    return read();
  } catch (const Error& error) {
    preview.notes.push_back(what + " cannot be read today: " + error.Description());
    return {};
  }
}

void CompareTable(std::vector<TablePreview>& previews, const OpenedDatabase& today, const OpenedDatabase& coming,
                  const std::string& table) {
  TablePreview& preview = PreviewOf(previews, table);
  RowSet now = Today(preview, "the table", [&] { return RowsOf(today, table); });
  Comparison(preview, Side::Desktop).Compare(now, RowsOf(coming, table));
}

/// The live database when it can be opened.
OpenedDatabase OpenToday(const RestoreContext& context, std::vector<TablePreview>& previews) {
  try {
    return OpenLive(context.files, context.database);
  } catch (const Error& error) {
    TablePreview note;
    note.notes.push_back("the database cannot be read today: " + error.Description());
    previews.push_back(std::move(note));
    return {};
  }
}

void CompareDatabases(const RestoreContext& context, const Bytes& content, std::vector<TablePreview>& previews) {
  const OpenedDatabase coming = OpenInMemory(content, context.database);
  const OpenedDatabase today = OpenToday(context, previews);
  const std::vector<std::string> comingTables = TablesOf(coming);
  for (const std::string& table : comingTables) CompareTable(previews, today, coming, table);
  for (const std::string& table : TablesOf(today)) {
    if (!Has(comingTables, table)) CompareTable(previews, today, coming, table);
  }
}

void CompareHandheld(const Snapshot& today, const TableContent& coming, std::vector<TablePreview>& previews) {
  TablePreview& preview = PreviewOf(previews, coming.table);
  const Bytes* const file = today.Find(coming.table);
  RowSet now = Today(preview, "the handheld's file", [&] { return RowsOf(file, coming.table); });
  Comparison(preview, Side::Handheld).Compare(now, RowsOf(&coming.file, coming.table));
}

}  // namespace

std::vector<TablePreview> PreviewRestore(const RestoreContext& context, const RestorePlan& plan) {
  std::vector<TablePreview> previews;
  if (plan.state.database) CompareDatabases(context, *plan.state.database, previews);
  if (plan.state.tables.empty()) return previews;
  std::vector<std::string> tables;
  for (const TableContent& table : plan.state.tables) tables.push_back(table.table);
  context.handheld.Connect();
  const Snapshot today{{}, FetchTables(context.handheld, tables)};
  for (const TableContent& table : plan.state.tables) CompareHandheld(today, table, previews);
  return previews;
}

}  // namespace mv::history
