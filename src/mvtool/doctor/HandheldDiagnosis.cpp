#include "mvtool/doctor/HandheldDiagnosis.h"

#include "base/Error.h"
#include "base/Text.h"
#include "mvtool/files/CardSearch.h"
#include "pdb/OneFileSystem.h"
#include "pdb/TableFile.h"
#include "sync/Tables.h"

namespace mv::tool {
namespace {

constexpr const char* kSubject = "handheld";

/// Reads the whole file; returns the names of its fields and adds its records to `records`.
std::vector<std::string> FieldsOf(const Bytes& content, std::size_t& records) {
  OneFileSystem files(content);
  TableFileReader reader(files, "table.pdb");
  while (reader.Next()) ++records;
  std::vector<std::string> names;
  for (const TableFileField& field : reader.Header().fields) names.push_back(field.name);
  return names;
}

/// Reads one table into the report; the name of the table when the handheld has none of that name.
std::string TakeTable(history::HandheldTables& tables, const std::string& table, HandheldReport& report,
                      std::size_t& records) {
  try {
    const auto content = tables.Fetch(table);
    if (!content) return table;
    report.fields[table] = FieldsOf(*content, records);
  } catch (const Error& error) {
    report.diagnoses.push_back(Broken(kSubject, table + ": " + error.Description(),
                                      "see docs/user/recovery.md; Overwrite PDA makes the file anew"));
  }
  return {};
}

void ReportMissing(const std::vector<std::string>& missing, Diagnoses& diagnoses) {
  if (missing.empty()) return;
  std::string names;
  for (const std::string& table : missing) names += (names.empty() ? "" : ", ") + table;
  const bool all = missing.size() == kTables.size();
  diagnoses.push_back(
      all ? Broken(kSubject, "none of the tables is in the folder PDADBPath",
                   "start the mobile edition there once, or let \"mvtool setup\" find the tables")
          : Doubtful(kSubject, "not there: " + names, "runs skip these tables; start the mobile edition there once"));
}

}  // namespace

Diagnoses DiagnoseCard(const platform::FileSystem& files, const std::string& root, const std::string& tablesFolder) {
  const std::string subject = "card";
  if (files.FileExists(root)) return {Broken(subject, Shown(root) + " is a file", "Root of [Handheld] is a folder")};
  if (!files.FolderExists(root)) {
    return {Broken(subject, "there is no folder " + Shown(root), "put the card in and mount it, or correct Root")};
  }
  if (files.List(root).empty()) {
    return {Broken(subject, Shown(root) + " is empty, as a mount point without its card is",
                   "put the card in and mount it, or correct Root")};
  }
  const std::string folder = FolderInAnyCase(files, root, tablesFolder);
  if (folder.empty()) {
    const std::vector<std::string> found = FindTableFolders(files, root);
    const std::string advice = found.empty() ? "correct PDADBPath" : "PDADBPath=" + found.front() + " has tables";
    return {Broken(subject, Shown(root) + " has no folder " + Shown(tablesFolder), advice)};
  }
  if (!files.MayMakeFilesIn(folder)) {
    return {Broken(subject, Shown(folder) + " cannot be written to", "is the card locked, or mounted read-only?")};
  }
  return {Well(subject, Shown(root))};
}

HandheldReport DiagnoseHandheld(history::HandheldTables& tables, const ChosenHandheld& chosen) {
  HandheldReport report;
  try {
    tables.Connect();
  } catch (const Error& error) {
    std::string text = error.Description();
    for (const std::string& obstacle : ObstaclesOf(chosen)) text += ", " + obstacle;
    report.diagnoses.push_back(Broken(kSubject, text, "connect it and turn it on; docs/user/handheld.md has the ways"));
    return report;
  }
  report.answered = true;
  std::size_t records = 0;
  std::vector<std::string> missing;
  for (const SyncTable& table : kTables) {
    const std::string lacking = TakeTable(tables, table.name, report, records);
    if (!lacking.empty()) missing.push_back(lacking);
  }
  ReportMissing(missing, report.diagnoses);
  report.diagnoses.push_back(Well(kSubject, "it answers (" + chosen.way + "), " + std::to_string(report.fields.size()) +
                                                " tables, " + std::to_string(records) + " records"));
  return report;
}

}  // namespace mv::tool
