#include "run/TemplateCheck.h"

#include <algorithm>

#include "base/Error.h"
#include "check/DatabaseCheck.h"
#include "jet/Database.h"
#include "run/DatabaseEngine.h"

namespace mv {
namespace {

void RequireSound(const std::string& path, const check::Report& report) {
  if (report.IsSound()) return;
  // Notes of what other programs are known to do may stand before it.
  const auto damage = std::find_if(report.findings.begin(), report.findings.end(), [](const check::Finding& finding) {
    return finding.severity == check::Severity::Damage;
  });
  const std::string what = damage == report.findings.end() ? SummaryOf(report) : LineOf(*damage);
  throw Error(
      errors::kJetGeneral, "",
      "The template database \"" + path + "\" is damaged (" + what + "). The desktop database was not changed.");
}

/// Calls `open` for the name of each table; an error gets the template's path.
template <typename Open>
void OpenTables(const std::string& path, std::span<const SyncTable> tables, Open open) {
  try {
    for (const SyncTable& table : tables) open(table.name);
  } catch (const Error& error) {
    throw Error(error.Number(), error.Source(), "Template database \"" + path + "\": " + error.Description());
  }
}

}  // namespace

void CheckTemplate(const RunContext& run, const std::string& path, ByteView content,
                   std::span<const SyncTable> tables) {
  const check::Report report = check::CheckDatabase(content);
  if (!report.checked) {
    const auto connection = run.databases.Open(ConnectionStringFor(path));
    OpenTables(path, tables, [&](const char* table) { connection->OpenTable(table); });
    return;
  }
  RequireSound(path, report);
  const auto database = jet::Database::Open(run.files, path, jet::PageFile::Mode::ReadOnly);
  OpenTables(path, tables, [&](const char* table) { database->OpenTable(table); });
}

}  // namespace mv
