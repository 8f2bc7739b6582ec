#include "history/RunList.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "sync/Tables.h"

namespace mv::history {
namespace {

constexpr const char* kLast = "last";

std::string NameOf(const std::string& path) {
  return path.substr(FolderLength(path));
}

Undo UndoOf(const platform::FileSystem& files, const HistoryFolder& folder, const std::string& entry,
            const RunRecord& record, const std::string& database) {
  const KeptState kept = StateOfKept(files, folder, entry, record, database);
  return {kept == KeptState::Whole || kept == KeptState::Live, TablesKept(files, folder, entry)};
}

std::string ListText(const std::vector<std::string>& entries) {
  std::string text;
  for (const std::string& entry : entries) text += (text.empty() ? "" : ", ") + entry;
  return text;
}

std::string LastRun(const HistoryFolder& folder, const std::vector<std::string>& entries) {
  for (const std::string& entry : entries) {
    const std::optional<RunRecord> record = folder.Read(entry);
    if (!record) continue;
    return IsLeftOver(*record) ? record->restore->of : entry;
  }
  throw Failure("none of the runs in \"" + folder.Path() + "\" has a record");
}

}  // namespace

KeptState StateOfKept(const platform::FileSystem& files, const HistoryFolder& folder, const std::string& entry,
                      const RunRecord& record, const std::string& database) {
  if (!record.kept) return KeptState::Nothing;
  const std::string path = folder.DatabaseOf(entry);
  if (FoldCase(record.kept->name) != FoldCase(NameOf(path))) return KeptState::OtherDatabase;
  if (!files.FileExists(path)) return KeptState::Missing;
  if (files.FileExists(database) && files.IdentityOf(path) == files.IdentityOf(database)) return KeptState::Live;
  return files.FactsOf(path) == record.kept->facts ? KeptState::Whole : KeptState::Changed;
}

std::vector<std::string> TablesKept(const platform::FileSystem& files, const HistoryFolder& folder,
                                    const std::string& entry) {
  std::vector<std::string> tables;
  for (const SyncTable& table : kTables) {
    if (files.FileExists(folder.HandheldFileOf(entry, table.name))) tables.emplace_back(table.name);
  }
  return tables;
}

std::vector<RunEntry> ListRuns(const platform::FileSystem& files, const HistoryFolder& folder,
                               const std::string& database) {
  std::vector<RunEntry> runs;
  for (const std::string& name : folder.Entries()) {
    RunEntry run{name, folder.Read(name), {}};
    if (run.record) run.undo = UndoOf(files, folder, name, *run.record, database);
    runs.push_back(std::move(run));
  }
  return runs;
}

bool IsComplete(const RestoreRecord& restore) {
  const std::vector<std::string>& done = restore.tablesDone;
  const bool hasAllTables = std::all_of(restore.tables.begin(), restore.tables.end(), [&](const std::string& table) {
    return std::find(done.begin(), done.end(), table) != done.end();
  });
  return hasAllTables && (restore.desktopDone || !restore.desktop);
}

bool IsLeftOver(const RunRecord& record) {
  return record.restore && (record.ended.empty() || !IsComplete(*record.restore));
}

std::string FindRun(const HistoryFolder& folder, const std::string& word) {
  const std::vector<std::string> entries = folder.Entries();
  if (entries.empty()) throw Failure("there is no history in \"" + folder.Path() + "\"");
  const std::string name = word == kLast ? LastRun(folder, entries) : word;
  if (std::find(entries.begin(), entries.end(), name) != entries.end()) return name;
  throw Failure("there is no run \"" + name + "\" in \"" + folder.Path() + "\"; there are: " + ListText(entries));
}

}  // namespace mv::history
