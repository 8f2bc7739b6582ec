#include "mvtool/doctor/DatabaseDiagnosis.h"

#include <algorithm>
#include <optional>

#include "base/Error.h"
#include "base/Text.h"
#include "check/DatabaseCheck.h"
#include "history/RowSet.h"
#include "jet/file/DatabaseFile.h"
#include "pdb/HandheldType.h"
#include "pdb/TableFormat.h"
#include "run/JournalTexts.h"
#include "run/RunLock.h"
#include "sync/HandheldForm.h"

namespace mv::tool {
namespace {

using history::KeyedRow;
using history::RowSet;

constexpr const char* kSubject = "database";

std::optional<Diagnosis> MissingDatabase(const platform::FileSystem& files, const std::string& database) {
  if (!files.FileExists(database)) {
    return Broken(kSubject, "there is no " + Shown(database),
                  "correct DesktopDBPath or DBPath, or let \"mvtool setup\" make one out of the template");
  }
  if (files.FactsOf(database).bytes > 0) return std::nullopt;
  return Broken(kSubject, Shown(database) + " is empty", "put a copy of it back (docs/user/recovery.md)");
}

/// Asks for the file as a run does, and says whether it would get it.
Diagnosis DiagnoseUse(platform::FileSystem& files, const std::string& database) {
  if (RunLock::IsHeld(files, database)) {
    return Doubtful("database in use", "a run is going on", "wait for its end");
  }
  try {
    jet::OpenDatabaseFile(files, database, jet::DatabaseAccess::Write);
    return Well("database in use", "by nobody");
  } catch (const Error& error) {
    if (error.Number() == errors::kPermissionDenied) {
      return Doubtful("database in use", "another program has it open", "close that program before a run");
    }
    return Broken("database in use", "it cannot be written: " + error.Description(), "check your rights to it");
  }
}

Diagnosis DiagnoseContent(platform::FileSystem& files, const std::string& database) {
  Bytes content;
  try {
    content = platform::ReadWhole(*jet::OpenDatabaseFile(files, database, jet::DatabaseAccess::Read));
  } catch (const Error& error) {
    return Broken(kSubject, jet::JetErrorFor(error, database).Description(), "close other programs, check your rights");
  }
  const check::Report report = check::CheckDatabase(content);
  if (!report.checked) {
    const std::string what = report.findings.empty() ? "" : ": " + report.findings.front().text;
    return Broken(kSubject, Shown(database) + " is no Jet 4 database" + what, "choose another file");
  }
  const std::string text = Shown(database) + ", Jet 4, " + SummaryOf(report);
  if (report.IsSound()) return Well(kSubject, text);
  return Broken(kSubject, text, "\"mvtool check\" shows what is wrong, docs/user/recovery.md what to do");
}

// --- Tables ---------------------------------------------------------------------------------------------------------

/// What one row has that a run stops at, or that comes back changed.
struct RowFaults {
  bool quote = false;
  std::string tooLong;  ///< name of a column; empty for none
  bool beyond = false;
  bool changed = false;
};

RowFaults FaultsOf(const KeyedRow& row, const std::vector<FieldDefinition>& fields) {
  RowFaults faults;
  faults.quote = row.key.find('\'') != std::string::npos;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const Value& value = row.values.at(i);
    const auto* const text = std::get_if<std::string>(&value);
    if (text != nullptr && text->size() > table_format::kLongestText) {
      faults.tooLong = fields[i].name;
      continue;
    }
    if (!HandheldTypeOf(fields[i].type)) continue;  // the column itself is a fault
    if (!HandheldForm(fields[i].type, value)) {
      faults.beyond = true;
    } else if (ComesBackChanged(value)) {
      faults.changed = true;
    }
  }
  return faults;
}

/// Faults of one kind, of which the first is named.
class Tally {
 public:
  void Add(const std::string& firstText) {
    if (count_++ == 0) first_ = firstText;
  }
  std::size_t Count() const { return count_; }
  std::string Text() const {
    return count_ > 1 ? first_ + " (and " + std::to_string(count_ - 1) + " rows more)" : first_;
  }

 private:
  std::size_t count_ = 0;
  std::string first_;
};

void DiagnoseRows(const RowSet& rows, const std::string& table, Diagnoses& diagnoses) {
  Tally quotes;
  Tally longTexts;
  Tally beyond;
  std::int64_t changed = 0;
  std::string firstChanged;
  rows.ForEachLeft([&](const KeyedRow& row) {
    const RowFaults faults = FaultsOf(row, rows.Fields());
    if (faults.quote) quotes.Add(journal_texts::QuoteInKey(table, row.key));
    if (!faults.tooLong.empty()) longTexts.Add(journal_texts::LongText(table, row.key, faults.tooLong));
    if (faults.beyond) beyond.Add(journal_texts::BeyondHandheld(table, row.key));
    if (faults.changed && changed++ == 0) firstChanged = row.key;
  });
  const auto report = [&](const Tally& tally, const char* advice) {
    if (tally.Count() > 0) diagnoses.push_back(Broken("rows", tally.Text(), advice));
  };
  report(quotes, "take the quote out of the key on the PC");
  report(longTexts, "shorten the text on the PC");
  report(beyond, "correct the value on the PC");
  if (changed > 0) {
    diagnoses.push_back(Doubtful("rows", journal_texts::ComesBackChanged(table, changed, firstChanged),
                                 "write these values in another way where they matter"));
  }
  if (rows.Count() > table_format::kMostRecords) {
    diagnoses.push_back(Broken("rows", table + ": it has " + std::to_string(rows.Count()) + " rows",
                               "handhelds take " + std::to_string(table_format::kMostRecords) + " at the most"));
  }
}

void DiagnoseColumns(const SyncTable& table, const std::vector<FieldDefinition>& fields, Diagnoses& diagnoses) {
  const std::string name = table.name;
  const bool hasKey = std::any_of(fields.begin(), fields.end(), [&](const FieldDefinition& field) {
    return EqualsIgnoreAsciiCase(field.name, table.keyField);
  });
  if (!hasKey) {
    diagnoses.push_back(
        Broken("columns", name + ": there is no column " + table.keyField, "the rows are matched by it: add it"));
  }
  for (const FieldDefinition& field : fields) {
    if (HandheldTypeOf(field.type)) continue;
    diagnoses.push_back(Broken("columns", name + ": " + field.name + " has a type that handhelds do not have",
                               "take the column out of this table, or give it another type"));
  }
}

}  // namespace

Diagnoses DiagnoseDatabase(platform::FileSystem& files, const std::string& database) {
  if (auto missing = MissingDatabase(files, database)) return {std::move(*missing)};
  return {DiagnoseContent(files, database), DiagnoseUse(files, database)};
}

Diagnoses DiagnoseTable(jet::Database& database, const SyncTable& table, const std::vector<std::string>* onHandheld) {
  Diagnoses diagnoses;
  try {
    const RowSet rows = RowSet::OfTable(database, table.name, table.keyField);
    DiagnoseColumns(table, rows.Fields(), diagnoses);
    if (onHandheld != nullptr) {
      const auto other = journal_texts::OtherColumns(table.name, rows.FieldNames(), *onHandheld);
      if (other)
        diagnoses.push_back(Doubtful("columns", *other, "bring the columns on the PC into the handheld's order"));
    }
    DiagnoseRows(rows, table.name, diagnoses);
  } catch (const Error& error) {
    diagnoses.push_back(Broken("tables", std::string(table.name) + ": " + error.Description(),
                               "a run stops there; \"mvtool list\" shows the tables of the database"));
  }
  return diagnoses;
}

Diagnoses DiagnoseTables(platform::FileSystem& files, const std::string& database, const HandheldFields& onHandheld) {
  Diagnoses diagnoses;
  try {
    const auto opened = jet::Database::Open(files, database, jet::PageFile::Mode::ReadOnly);
    for (const SyncTable& table : kTables) {
      const auto found = onHandheld.find(table.name);
      Append(diagnoses, DiagnoseTable(*opened, table, found == onHandheld.end() ? nullptr : &found->second));
    }
  } catch (const Error& error) {
    return {Broken("tables", error.Description(), "see the line about the database")};
  }
  if (diagnoses.empty()) {
    diagnoses.push_back(Well("tables", "all " + std::to_string(kTables.size()) + " fit the handheld, row by row"));
  }
  return diagnoses;
}

}  // namespace mv::tool
