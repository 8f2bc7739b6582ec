#include "history/SendAgain.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "history/HistoryFolder.h"
#include "history/Snapshot.h"
#include "pdb/OneFileSystem.h"
#include "pdb/RecordFlags.h"
#include "pdb/TableFile.h"
#include "sync/Tables.h"

namespace mv::history {
namespace {

constexpr const char* kForceHint = "; --force sends it all the same";

/// A result, and what the same run had fetched.
struct Paths {
  std::string entry;
  std::string fetched;
  std::string result;
};

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

void RequireKnown(const std::vector<std::string>& tables) {
  for (auto table = tables.begin(); table != tables.end(); ++table) {
    if (FindTable(*table) == nullptr) throw Failure(Quoted(*table) + " is no table of the handheld");
    if (std::find(tables.begin(), table, *table) != table) throw Failure(Quoted(*table) + " is named twice");
  }
}

/// The newest entry that has the table's result, or the one asked for.
Paths PathsOf(const ResultSources& sources, const std::string& table, const std::string& run) {
  const HistoryFolder folder(sources.files, sources.database);
  const std::vector<std::string> entries = folder.Entries();
  if (entries.empty() && run.empty()) {
    const std::string name = table + ".pdb";
    return {"", JoinPath(sources.sourceFolder, name), JoinPath(sources.resultFolder, name)};
  }
  for (const std::string& entry : entries) {
    if (!run.empty() && entry != run) continue;
    const std::string result = folder.ResultFileOf(entry, table);
    if (sources.files.FileExists(result)) return {entry, folder.HandheldFileOf(entry, table), result};
  }
  if (!run.empty()) throw Failure("the run " + run + " has no result of " + table);
  throw Failure("no run in " + Quoted(folder.Path()) + " has a result of " + table);
}

/// Nothing when the file is missing or damaged.
std::optional<std::size_t> RecordsIn(platform::FileSystem& files, const std::string& path, const std::string& table) {
  try {
    return CountRecords(platform::ReadWhole(files, path), table);
  } catch (const Error&) {
    return std::nullopt;
  }
}

void RequireNoLoss(const ResultSources& sources, const Paths& paths, const ResultFile& result) {
  std::size_t records = 0;
  try {
    records = CountRecords(result.content, result.table);
  } catch (const Error& error) {
    throw Failure(Quoted(paths.result) + " is damaged (" + error.Description() + ")" + kForceHint);
  }
  const bool hadRecords = RecordsIn(sources.files, paths.fetched, result.table).value_or(0) > 0;
  if (records == 0 && hadRecords) {
    throw Failure(Quoted(paths.result) + " has no records, but the handheld had some" + kForceHint);
  }
}

/// Records that the handheld has flagged; none in a damaged file, of which nothing can be lost.
std::size_t FlaggedIn(const Bytes& tableFile, const std::string& table) {
  constexpr unsigned kFlags = kRecordModified | kRecordDeleted;
  std::size_t flagged = 0;
  try {
    OneFileSystem memory(tableFile);
    TableFileReader reader(memory, table + ".pdb");
    while (const auto record = reader.Next()) flagged += (record->attributes & kFlags) != 0 ? 1 : 0;
  } catch (const Error&) {
    return 0;
  }
  return flagged;
}

/// What the handheld has flagged since the run fetched the table would be overwritten before any run has seen it.
void RequireNothingNew(const ResultSources& sources, const Paths& paths, const ResultFile& result,
                       HandheldTables& handheld) {
  const std::optional<Bytes> now = handheld.Fetch(result.table);
  if (!now) return;
  const bool isFetched =
      sources.files.FileExists(paths.fetched) && platform::ReadWhole(sources.files, paths.fetched) == *now;
  if (isFetched) return;
  const std::size_t flagged = FlaggedIn(*now, result.table);
  if (flagged == 0) return;
  throw Failure("the handheld's " + result.table + " has changed since that run, with " + std::to_string(flagged) +
                " flagged records" + kForceHint);
}

ResultFile ReadResult(const ResultSources& sources, const Paths& paths, const std::string& table) {
  if (!sources.files.FileExists(paths.result)) throw Failure("there is no " + Quoted(paths.result));
  ResultFile result{table, paths.entry, platform::ReadWhole(sources.files, paths.result)};
  if (result.content.empty()) throw Failure(Quoted(paths.result) + " is empty");
  return result;
}

}  // namespace

std::vector<ResultFile> FindResults(const ResultSources& sources, HandheldTables& handheld, const SendOrder& order) {
  RequireKnown(order.tables);
  std::vector<ResultFile> results;
  for (const std::string& table : order.tables) {
    const Paths paths = PathsOf(sources, table, order.run);
    results.push_back(ReadResult(sources, paths, table));
    if (!order.isForced) RequireNoLoss(sources, paths, results.back());
  }
  handheld.Connect();
  if (order.isForced) return results;
  for (const ResultFile& result : results) {
    RequireNothingNew(sources, PathsOf(sources, result.table, order.run), result, handheld);
  }
  return results;
}

}  // namespace mv::history
