#include "run/RunJournal.h"

#include <algorithm>
#include <utility>

#include "base/Text.h"
#include "history/RunList.h"
#include "recordset/Conversions.h"
#include "run/DatabaseEngine.h"
#include "run/JournalTexts.h"
#include "run/Rehearsal.h"
#include "run/RunTexts.h"
#include "run/TablePaths.h"

namespace mv {
namespace {

using history::TableState;

/// Of a changed or lost part of a table: more than a quarter and more than ten rows.
bool IsMassLoss(std::int64_t lost, std::int64_t before) {
  return lost > 10 && lost * 4 > before;
}

/// The fields of a handheld's recordset without the flags, which stand behind the table's own.
std::vector<FieldDefinition> WithoutFlags(std::vector<FieldDefinition> fields) {
  std::erase_if(fields, [](const FieldDefinition& field) { return field.name == "_D" || field.name == "_M"; });
  return fields;
}

std::vector<std::string> NamesOf(const std::vector<FieldDefinition>& fields) {
  std::vector<std::string> names;
  for (const FieldDefinition& field : fields) names.push_back(field.name);
  return names;
}

std::string KeyOfCurrentRow(const Recordset& records, const std::string& table) {
  const SyncTable* const known = FindTable(table);
  return known == nullptr || records.Eof() ? std::string() : TextOf(records.FieldValue(known->keyField));
}

std::vector<std::pair<std::string, std::string>> SettingsUsed(const Settings& settings) {
  return {{"DesktopDBPath", settings.DesktopDBPath},
          {"PDADBPath", settings.PDADBPath},
          {"PCSyncSourcePath", settings.PCSyncSourcePath},
          {"PCSyncDestPath", settings.PCSyncDestPath},
          {"SyncLogPath", settings.SyncLogPath},
          {"SyncLog", std::to_string(settings.SyncLog)},
          {"SyncLogHistory", std::to_string(settings.SyncLogHistory)}};
}

std::string IsoNow(const RunContext& run) {
  return IsoFromDate(DateFromCivil(run.clock.Now()));
}

/// No rows where the database lacks the table.
history::RowSet RowsOf(jet::Database& database, const SyncTable& table) {
  try {
    return history::RowSet::OfTable(database, table.name, table.keyField);
  } catch (const Error& error) {
    if (error.Number() != errors::kJetNoSuchTable) throw;
    return {};
  }
}

template <typename Names>
bool Contains(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// False also where the database lacks the table.
bool HasRows(Connection& connection, const std::string& table) {
  try {
    return connection.OpenTable(table)->RecordCount() > 0;
  } catch (const Error& error) {
    if (error.Number() != errors::kJetNoSuchTable) throw;
    return false;
  }
}

/// The tables that hold rows on the PC and that the run does not take.
std::vector<std::string> FilledTablesBesides(const RunContext& run, std::span<const SyncTable> tables) {
  std::vector<std::string> filled;
  try {
    const auto connection = run.databases.Open(ConnectionStringFor(run.state.settings.DesktopDBPath));
    for (const SyncTable& table : kTables) {
      const auto isTheSame = [&](const SyncTable& other) { return std::string_view(other.name) == table.name; };
      if (std::any_of(tables.begin(), tables.end(), isTheSame)) continue;
      if (HasRows(*connection, table.name)) filled.emplace_back(table.name);
    }
  } catch (const Error&) {
    // No database, none of ours, or one that is in use: the run's own steps say so.
  }
  return filled;
}

}  // namespace

RunJournal::RunJournal(const RunContext& run, std::span<const SyncTable> tables)
    : run_(run),
      tables_(tables),
      archive_(run.files, run.state.settings.DesktopDBPath),
      unfilledTables_(run.files, run.state.settings.DesktopDBPath) {}

void RunJournal::Begin() {
  begun_ = true;
  unfilled_ = unfilledTables_.Load();
  record_.version = run_.version;
  record_.mode = run_.state.settings.SyncMode;
  record_.modeName = NameOfMode(run_.state);
  record_.began = IsoNow(run_);
  record_.databasePath = run_.state.settings.DesktopDBPath;
  record_.settings = SettingsUsed(run_.state.settings);
  record_.unfilled = unfilled_;
  WarnOfLeftOverRestore();
  WarnOfLogBesideProgram();
  keepsHistory_ = run_.state.history.keep > 0;
  if (run_.room != nullptr) run_.room->Serve(record_.databasePath, {});
  InHistory([&] {
    const bool inPlace = run_.databases.WritesInPlace();
    archive_.Begin(run_.clock.Now(), run_.state.history,
                   inPlace ? history::RunArchive::Changes::InPlace : history::RunArchive::Changes::ByRename, record_);
  });
  if (run_.room != nullptr) run_.room->Serve(record_.databasePath, archive_.Entry());
}

/// Between the two sides of a restore that was cut off nothing fits.
void RunJournal::WarnOfLeftOverRestore() {
  for (const std::string& entry : archive_.Folder().Entries()) {
    const auto record = archive_.Folder().Read(entry);
    if (!record) continue;
    if (IsLeftOver(*record)) Warn(journal_texts::LeftOverRestore(record->restore->of));
    return;
  }
}

void RunJournal::RequireSafeStart() {
  ModeOf(run_.state) == RunMode::OverwritePc ? RequireEmptyTablesBesides() : RequireFilledTables();
  RequireGoodRehearsal(run_, tables_);
}

void RunJournal::RequireEmptyTablesBesides() {
  if (!run_.state.safety.stopsOnMassLoss) return;
  const std::vector<std::string> filled = FilledTablesBesides(run_, tables_);
  if (!filled.empty()) throw Failure(journal_texts::LeftOutStop(filled));
}

/// Nobody who chose the place needs to be told.
void RunJournal::WarnOfLogBesideProgram() {
  const Settings& settings = run_.state.settings;
  const bool isBeside = settings.SyncLogPath == JoinPath(run_.programFolder, "SyncLog.txt");
  if (settings.SyncLog == 0 || !isBeside) return;
  if (run_.settings.GetSetting(kSettingsApplication, "PPC_Mobile", "SyncLogPath")) return;
  Warn(journal_texts::LogBesideProgram(settings.SyncLogPath));
}

void RunJournal::RequireFilledTables() {
  std::vector<std::string> met;
  for (const SyncTable& table : tables_) {
    if (Contains(unfilled_, table.name)) met.push_back(table.name);
  }
  if (met.empty()) return;
  if (run_.state.safety.stopsOnUnfinishedOverwrite) {
    throw Failure(journal_texts::UnfilledStop(met, record_.modeName, LastRunWithAll(met)));
  }
  Warn(journal_texts::UnfilledMet(met));
}

/// The newest Overwrite PC before which these tables were whole; "RUN" where the history has none.
std::string RunJournal::LastRunWithAll(const std::vector<std::string>& tables) {
  const std::string& other = run_.earlierRunsOf;
  const history::HistoryFolder folder(run_.files, other.empty() ? run_.state.settings.DesktopDBPath : other);
  for (const std::string& entry : folder.Entries()) {
    const auto record = folder.Read(entry);
    if (!record || record->restore || !record->kept) continue;
    if (record->mode != static_cast<std::int16_t>(RunMode::OverwritePc)) continue;
    const auto& unfilled = record->unfilled;
    if (std::none_of(tables.begin(), tables.end(), [&](const auto& table) { return Contains(unfilled, table); })) {
      return entry;
    }
  }
  return "RUN";
}

void RunJournal::BeforeTemplate(const std::string& backup) {
  backup_ = backup;
  std::vector<std::string> all;
  for (const SyncTable& table : kTables) all.emplace_back(table.name);
  unfilledTables_.Save(all);
  unfilled_ = std::move(all);
}

void RunJournal::BeginTable(const std::string& table) {
  current_ = table;
}

void RunJournal::NotRetrieved(const std::string& table, std::int32_t code) {
  history::TableRecord& record = RecordOf(table);
  record.state = TableState::NotRetrieved;
  record.code = code;
}

void RunJournal::Retrieved(const std::string& table, const std::string& file) {
  fetched_ = file;
  RecordOf(table).state = TableState::Retrieved;
  KeepByName(file, [&] { archive_.KeepHandheldFile(file, table); });
}

void RunJournal::BeforeResult(const std::string& table, const std::string& file) {
  earlierResult_.reset();
  const SyncTable* const known = FindTable(table);
  if (!keepsHistory_ || known == nullptr || ModeOf(run_.state) != RunMode::Synchronize) return;
  if (!run_.files.FileExists(file) || archive_.LastReturned(table)) return;
  try {
    auto rows = history::RowSet::OfTableFile(run_.files, file, known->keyField);
    // A run that was stopped leaves the file empty; nobody agreed on that.
    if (rows.Count() > 0) earlierResult_ = std::move(rows);
  } catch (const Error&) {
    // Left half-written by a run that was killed: it says nothing.
  }
}

MergeObserver* RunJournal::BeginMerge(const std::string& table, const Recordset& source, const Recordset& desktop) {
  changes_.reset();
  const SyncTable* const known = FindTable(table);
  if (known == nullptr) return nullptr;
  history::TableChanges::Setting setting{*known, ModeOf(run_.state), desktop.Fields(), WithoutFlags(source.Fields())};
  CheckColumns(table, setting.handheldFields, setting.desktopFields);
  setting.handheldRows = source.RecordCount();
  if (setting.mode == RunMode::OverwritePda) setting.handheldBefore = HandheldBefore(*known);
  if (setting.mode == RunMode::OverwritePc) setting.desktopBefore = DesktopBefore(*known);
  setting.agreed = [this, known] { return Agreed(*known); };
  if (keepsHistory_) setting.lines = [this](const std::string& line) { TakeLine(line); };
  return &changes_.emplace(std::move(setting));
}

void RunJournal::TakeLine(const std::string& line) {
  constexpr std::size_t kPiece = std::size_t{1} << 18;
  lines_ += line;
  if (lines_.size() >= kPiece) Flush();
}

void RunJournal::Flush() {
  InHistory([&] { archive_.Append(lines_); });
  lines_.clear();
}

std::optional<history::RowSet> RunJournal::HandheldBefore(const SyncTable& table) {
  try {
    return history::RowSet::OfTableFile(run_.files, fetched_, table.keyField);
  } catch (const Error& error) {
    Warn(journal_texts::CannotCompare(table.name, "handheld", error));
    return std::nullopt;
  }
}

std::optional<history::RowSet> RunJournal::DesktopBefore(const SyncTable& table) {
  if (beforeIsUnreadable_) return std::nullopt;
  try {
    if (!before_) before_ = jet::Database::Open(run_.files, backup_, jet::PageFile::Mode::ReadOnly);
    return RowsOf(*before_, table);
  } catch (const Error& error) {
    beforeIsUnreadable_ = true;
    Warn(journal_texts::CannotCompare(table.name, "PC", error));
    return std::nullopt;
  }
}

std::optional<history::RowSet> RunJournal::Agreed(const SyncTable& table) {
  if (earlierResult_) return std::move(earlierResult_);
  if (!keepsHistory_) return std::nullopt;
  try {
    const auto file = archive_.LastReturned(table.name);
    if (!file) return std::nullopt;
    return history::RowSet::OfTableFile(run_.files, *file, table.keyField);
  } catch (const Error&) {
    return std::nullopt;
  }
}

void RunJournal::CheckColumns(const std::string& table, const std::vector<FieldDefinition>& handheld,
                              const std::vector<FieldDefinition>& desktop) {
  const auto other = journal_texts::OtherColumns(table, NamesOf(desktop), NamesOf(handheld));
  if (other) Warn(*other);
}

void RunJournal::EndMerge(Recordset& desktop) {
  if (!changes_) return;
  changes_->Finish(desktop);
  Flush();
  InHistory([&] { archive_.SyncChanges(); });
  TakeCounts(changes_->Record());
  if (changes_->RowsThatChange() > 0) {
    Warn(journal_texts::ComesBackChanged(current_, changes_->RowsThatChange(), changes_->FirstThatChanges()));
  }
  CheckLosses();
}

void RunJournal::TakeCounts(const history::TableRecord& counts) {
  history::TableRecord& record = RecordOf(counts.table);
  const history::TableRecord before = record;
  record = counts;
  record.state = before.state;
  record.code = before.code;
}

void RunJournal::CheckLosses() {
  const history::TableRecord& record = changes_->Record();
  const auto check = [&](const char* side, std::int64_t before, std::int64_t lost, std::int64_t after) {
    if (IsMassLoss(lost, before) || (before > 0 && after == 0)) {
      TakeLoss(journal_texts::Loss(record.table, side, std::max(lost, before - after), before));
    }
  };
  check("PC", record.desktop.before, record.desktop.deleted, record.desktop.after);
  check("handheld", changes_->HandheldRowsInUse(), changes_->HandheldRowsLost(), record.handheld.after);
}

void RunJournal::TakeLoss(const std::string& text) {
  Warn(text);
  if (!run_.state.safety.stopsOnMassLoss) return;
  RecordOf(current_).state = TableState::Held;
  const bool isRehearsal = !run_.rehearse && NeedsRehearsal(run_);
  throw Failure(isRehearsal ? journal_texts::RehearsalStop(text, ModeOf(run_.state))
                            : journal_texts::LossStop(text, ModeOf(run_.state)));
}

void RunJournal::MergeFailed(const Error& error, Recordset& desktop) {
  try {
    Flush();
    const std::string key = KeyOfCurrentRow(desktop, current_);
    if (changes_) TakeCounts(changes_->Record());
    if (error.Number() == errors::kRecordsetArgument) return Warn(journal_texts::QuoteInKey(current_, key));
    if (error.Number() == errors::kOverflow) Warn(journal_texts::BeyondHandheld(current_, key));
  } catch (const Error&) {
    // What stopped the merge is told anyway.
  }
}

void RunJournal::Committed(const std::string& table) {
  RecordOf(table).state = TableState::Merged;
  if (ModeOf(run_.state) != RunMode::OverwritePc || !Contains(unfilled_, table)) return;
  std::erase(unfilled_, table);
  unfilledTables_.Save(unfilled_);
}

void RunJournal::ResultWritten(const std::string& table, const std::string& file) {
  // A transfer that is cut off may have destroyed the handheld's table.
  KeepByName(file, [&] { archive_.KeepResultFile(file, table); });
}

void RunJournal::ResultFailed(const std::string& table, Recordset& desktop) {
  constexpr std::size_t kLongestText = 32767;
  try {
    if (desktop.RecordCount() == 0) return;
    for (desktop.MoveFirst(); !desktop.Eof(); desktop.MoveNext()) {
      for (std::size_t i = 0; i < desktop.Fields().size(); ++i) {
        const Value value = desktop.FieldValue(i);
        const auto* const text = std::get_if<std::string>(&value);
        if (text == nullptr || text->size() <= kLongestText) continue;
        Warn(journal_texts::LongText(table, KeyOfCurrentRow(desktop, table), desktop.Fields()[i].name));
      }
    }
  } catch (const Error&) {
    // What stopped the run is told anyway.
  }
}

void RunJournal::Returned(const std::string& table) {
  RecordOf(table).state = TableState::Returned;
}

void RunJournal::NotReturned(const std::string& table, std::int32_t code) {
  history::TableRecord& record = RecordOf(table);
  record.state = TableState::NotReturned;
  record.code = code;
}

void RunJournal::End(ExitStatus status, const Error* stop) {
  if (!begun_) return;
  try {
    if (!backup_.empty()) {
      ReportTablesNotTaken();
      if (!unfilled_.empty()) Warn(journal_texts::NotTaken(unfilled_));
    }
  } catch (const Error& error) {
    Warn(journal_texts::NoReport(error));
  }
  record_.ended = IsoNow(run_);
  record_.status = static_cast<int>(status);
  if (stop != nullptr) record_.error = journal_texts::ErrorText(*stop);
  InHistory([&] { archive_.End(record_); });
}

/// An Overwrite PC takes away what the database held in tables that it then does not fill.
void RunJournal::ReportTablesNotTaken() {
  std::unique_ptr<jet::Database> now;
  for (const SyncTable& table : kTables) {
    if (!Contains(unfilled_, table.name)) continue;
    auto before = DesktopBefore(table);
    if (!before) return;
    if (!now) now = jet::Database::Open(run_.files, record_.databasePath, jet::PageFile::Mode::ReadOnly);
    ReportLostRows(table.name, *before, RowsOf(*now, table));
  }
  Flush();
}

void RunJournal::ReportLostRows(const std::string& table, const history::RowSet& before, history::RowSet after) {
  history::SideCounts& counts = RecordOf(table).desktop;
  counts = {static_cast<std::int64_t>(before.Count()), static_cast<std::int64_t>(after.Count()), 0, 0, 0};
  const std::vector<std::string> names = before.FieldNames();
  before.ForEachLeft([&](const history::KeyedRow& row) {
    if (after.Take(row.key) != nullptr) return;
    ++counts.deleted;
    if (!keepsHistory_) return;
    const std::string values = history::ObjectOf(names, row.values);
    TakeLine(JsonLineOf(history::Change{table, row.key, Side::Desktop, history::What::Deleted, values, {}}) + '\n');
  });
  if (counts.before > 0 && counts.after == 0) {
    Warn(journal_texts::Loss(table, "PC", counts.deleted, counts.before));
  }
}

void RunJournal::Warn(const std::string& text) {
  record_.warnings.push_back(text);
  if (run_.state.InteractiveRun) return run_.ui.AddProgressLine(journal_texts::WarningLine(text));
  if (run_.tell) run_.tell(journal_texts::WarningLine(text));
}

std::string RunJournal::FailedTables() const {
  return journal_texts::FailedTables(record_);
}

template <typename Action>
void RunJournal::InHistory(Action action) {
  if (!keepsHistory_) return;
  try {
    action();
  } catch (const Error& error) {
    keepsHistory_ = false;
    Warn(journal_texts::NoHistory(error));
  }
}

template <typename Action>
void RunJournal::KeepByName(const std::string& file, Action keep) {
  InHistory(keep);
  if (!keepsHistory_) run_.files.SyncFolder(file.substr(0, FolderLength(file)));
}

history::TableRecord& RunJournal::RecordOf(const std::string& table) {
  if (history::TableRecord* known = record_.Find(table)) return *known;
  history::TableRecord& record = record_.tables.emplace_back();
  record.table = table;
  return record;
}

}  // namespace mv
