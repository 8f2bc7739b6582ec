#include "history/Snapshot.h"

#include <algorithm>
#include <utility>

#include "base/Error.h"
#include "check/DatabaseCheck.h"
#include "jet/file/DatabaseFile.h"
#include "pdb/OneFileSystem.h"
#include "pdb/TableFile.h"

namespace mv::history {
namespace {

std::string Quoted(const std::string& path) {
  return "\"" + path + "\"";
}

/// The first damage, else whatever comes first.
std::string WorstOf(const check::Report& report) {
  const auto isDamage = [](const check::Finding& finding) { return finding.severity == check::Severity::Damage; };
  const auto damage = std::find_if(report.findings.begin(), report.findings.end(), isDamage);
  if (damage != report.findings.end()) return LineOf(*damage);
  return report.findings.empty() ? SummaryOf(report) : LineOf(report.findings.front());
}

void RequireSound(const Bytes& database, const std::string& path) {
  const check::Report report = check::CheckDatabase(database);
  if (!report.checked) throw Failure(Quoted(path) + " cannot be checked (" + WorstOf(report) + ")");
  if (!report.IsSound()) throw Failure(Quoted(path) + " is damaged (" + WorstOf(report) + ")");
}

}  // namespace

const Bytes* Snapshot::Find(const std::string& table) const {
  const auto found = std::find_if(tables.begin(), tables.end(), [&](const auto& t) { return t.table == table; });
  return found == tables.end() ? nullptr : &found->file;
}

Bytes ReadSoundDatabase(platform::FileSystem& files, const std::string& path) {
  Bytes content;
  try {
    content = platform::ReadWhole(*jet::OpenDatabaseFile(files, path, jet::DatabaseAccess::Read));
  } catch (const Error& error) {
    throw jet::JetErrorFor(error, path);
  }
  RequireSound(content, path);
  return content;
}

std::size_t CountRecords(const Bytes& tableFile, const std::string& table) {
  OneFileSystem memory(tableFile);
  TableFileReader reader(memory, table + ".pdb");
  std::size_t count = 0;
  while (reader.Next()) ++count;
  return count;
}

Bytes ReadSoundTableFile(platform::FileSystem& files, const std::string& path, const std::string& table) {
  try {
    Bytes content = platform::ReadWhole(files, path);
    CountRecords(content, table);
    return content;
  } catch (const Error& error) {
    throw At(Quoted(path), error);
  }
}

std::vector<TableContent> FetchTables(HandheldTables& handheld, const std::vector<std::string>& tables) {
  std::vector<TableContent> contents;
  for (const std::string& table : tables) {
    if (std::optional<Bytes> file = handheld.Fetch(table)) contents.push_back({table, std::move(*file)});
  }
  return contents;
}

}  // namespace mv::history
