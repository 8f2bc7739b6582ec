#include "history/Restore.h"

#include <algorithm>
#include <utility>

#include "base/Date.h"
#include "base/Error.h"
#include "base/Text.h"
#include "history/RunList.h"
#include "history/UnfilledTables.h"
#include "jet/file/DatabaseFile.h"
#include "platform/StagedWrite.h"

namespace mv::history {
namespace {

constexpr const char* kModeName = "Restore";
constexpr int kDone = 0;
constexpr int kNotAllDone = 1;

Error CannotUse(const std::string& run, const std::string& why) {
  return Failure("the database that the run " + run + " kept cannot be put back: " + why);
}

DesktopStep DesktopStepFor(const RestoreContext& context, const HistoryFolder& folder, const std::string& run,
                           const RunRecord& record) {
  const std::string path = folder.DatabaseOf(run);
  switch (StateOfKept(context.files, folder, run, record, context.database)) {
    case KeptState::Nothing:
      return DesktopStep::None;
    case KeptState::Live:
      return DesktopStep::AsItIs;
    case KeptState::Whole:
      return DesktopStep::Replace;
    case KeptState::Changed:
      throw CannotUse(run, "another program has written into \"" + path + "\" since");
    case KeptState::Missing:
      throw CannotUse(run, "\"" + path + "\" is missing");
    case KeptState::OtherDatabase:
      break;
  }
  throw CannotUse(run, "it is called \"" + record.kept->name + "\", the one in use \"" + context.database + "\"");
}

void RequireSomething(const RestorePlan& plan) {
  const bool hasDesktop = plan.desktop != DesktopStep::None;
  if (plan.sides == Sides::Desktop && !hasDesktop) throw Failure("the run " + plan.of + " kept no database");
  const bool hasTables = !plan.state.tables.empty();
  if (plan.sides == Sides::Handheld && !hasTables) {
    throw Failure("the run " + plan.of + " kept no tables of the handheld");
  }
  if (!hasDesktop && !hasTables) throw Failure("the run " + plan.of + " kept nothing that could be brought back");
}

/// Bytes on the way to a handheld arrive in their order, so an upload that was cut off leaves a start of the file.
bool IsStartOf(const Bytes& start, const Bytes& whole) {
  return start.size() <= whole.size() && std::equal(start.begin(), start.end(), whole.begin());
}

bool HoldsContent(platform::File& file, const Bytes& content) {
  return file.Size() == content.size() && platform::ReadWhole(file) == content;
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// True for a table that the run fetched and stopped at: neither side of it was changed.
bool StoppedAt(const RunRecord& run, const std::string& table) {
  const TableRecord* const found = run.Find(table);
  return found != nullptr && found->state == TableState::Retrieved && !run.error.empty();
}

void ReadTables(const RestoreContext& context, const HistoryFolder& folder, const RunRecord& run, RestorePlan& plan) {
  for (const std::string& table : TablesKept(context.files, folder, plan.of)) {
    const std::string path = folder.HandheldFileOf(plan.of, table);
    try {
      plan.state.tables.push_back({table, ReadSoundTableFile(context.files, path, table)});
    } catch (const Error&) {
      if (!StoppedAt(run, table)) throw;
      plan.damaged.push_back(table);
    }
  }
}

std::string ErrorTextOf(const std::vector<Refusal>& refusals) {
  std::string text;
  for (const Refusal& refusal : refusals) {
    text += (text.empty() ? "" : "; ") + RefusalText(refusal.table, refusal.code);
  }
  return text;
}

}  // namespace

RestorePlan PlanRestore(const RestoreContext& context, const std::string& run, Sides sides) {
  const HistoryFolder folder(context.files, context.database);
  const std::optional<RunRecord> record = folder.Read(run);
  if (!record) throw Failure("the run " + run + " has no record: \"" + folder.RecordOf(run) + "\" cannot be read");
  RestorePlan plan;
  plan.of = run;
  plan.sides = sides;
  plan.unfilled = record->unfilled;
  if (sides != Sides::Handheld) plan.desktop = DesktopStepFor(context, folder, run, *record);
  if (plan.desktop == DesktopStep::AsItIs) {
    plan.writtenSince = context.files.FactsOf(context.database) != record->kept->facts;
  }
  if (plan.desktop == DesktopStep::Replace) {
    plan.state.database = ReadSoundDatabase(context.files, folder.DatabaseOf(run));
  }
  if (sides != Sides::Desktop) ReadTables(context, folder, *record, plan);
  RequireSomething(plan);
  return plan;
}

// --- Before the first change ----------------------------------------------------------------------------------------

Restore::Restore(const RestoreContext& context, RestorePlan plan)
    : context_(context), plan_(std::move(plan)), folder_(context.files, context.database), record_(NewRecord()) {
  if (!record_.restore->tables.empty()) {
    context_.handheld.Connect();
    today_.tables = FetchTables(context_.handheld, record_.restore->tables);
  }
  if (record_.restore->desktop) {
    HoldDatabase();
    record_.unfilled = UnfilledTables(context_.files, context_.database).Load();
  }
  LookForLeftOver();
}

RunRecord Restore::NewRecord() const {
  RunRecord record;
  record.version = context_.version;
  record.modeName = kModeName;
  record.databasePath = context_.database;
  RestoreRecord restore;
  restore.of = plan_.of;
  restore.desktop = plan_.desktop == DesktopStep::Replace;
  for (const TableContent& table : plan_.state.tables) restore.tables.push_back(table.table);
  record.restore = std::move(restore);
  return record;
}

void Restore::HoldDatabase() {
  if (!context_.files.FileExists(context_.database)) return;
  try {
    held_ = jet::OpenDatabaseFile(context_.files, context_.database, jet::DatabaseAccess::Write);
  } catch (const Error& error) {
    throw jet::JetErrorFor(error, context_.database);
  }
}

void Restore::LookForLeftOver() {
  const std::vector<std::string> entries = folder_.Entries();
  if (entries.empty() || IsNothing()) return;
  const std::optional<RunRecord> newest = folder_.Read(entries.front());
  if (!newest || !MayContinue(entries.front(), *newest)) return;
  continues_ = entries.front();
  record_ = *newest;
}

bool Restore::MayContinue(const std::string& entry, const RunRecord& record) const {
  if (!IsLeftOver(record)) return false;
  const RestoreRecord& found = *record.restore;
  const RestoreRecord& wanted = *record_.restore;
  if (found.of != wanted.of || found.desktop != wanted.desktop || found.tables != wanted.tables) return false;
  // What was changed since the restore was cut off is kept nowhere: a new restore keeps it first.
  return IsComplete(found) ? IsAllInPlace() : IsAccountedFor(entry, found);
}

bool Restore::IsAccountedFor(const std::string& entry, const RestoreRecord& restore) const {
  if (restore.desktop && !restore.desktopDone && !DatabaseIsKept(entry)) return false;
  return std::all_of(restore.tables.begin(), restore.tables.end(), [&](const std::string& table) {
    return Contains(restore.tablesDone, table) || TableIsKept(entry, table);
  });
}

/// In the entry, or in the one that is brought back.
bool Restore::DatabaseIsKept(const std::string& entry) const {
  const std::string kept = folder_.DatabaseOf(entry);
  if (!held_) return true;
  if (HoldsContent(*held_, *plan_.state.database)) return true;
  if (!context_.files.FileExists(kept)) return false;
  if (context_.files.IdentityOf(kept) == context_.files.IdentityOf(context_.database)) return true;
  return HoldsContent(*held_, platform::ReadWhole(context_.files, kept));
}

bool Restore::TableIsKept(const std::string& entry, const std::string& table) const {
  const Bytes* const now = today_.Find(table);
  if (now == nullptr || IsStartOf(*now, *plan_.state.Find(table))) return true;
  const std::string kept = folder_.HandheldFileOf(entry, table);
  return context_.files.FileExists(kept) && platform::ReadWhole(context_.files, kept) == *now;
}

bool Restore::IsAllInPlace() const {
  const bool isDatabase = !plan_.state.database || (held_ && HoldsContent(*held_, *plan_.state.database));
  const std::vector<TableContent>& tables = plan_.state.tables;
  return isDatabase && std::all_of(tables.begin(), tables.end(), [&](const TableContent& table) {
           const Bytes* const now = today_.Find(table.table);
           return now != nullptr && *now == table.file;
         });
}

std::vector<std::string> Restore::TablesLeft() const {
  std::vector<std::string> left;
  for (const std::string& table : record_.restore->tables) {
    if (!Contains(record_.restore->tablesDone, table)) left.push_back(table);
  }
  return left;
}

// --- The changes ----------------------------------------------------------------------------------------------------

RestoreResult Restore::Run() {
  RestoreResult result;
  if (IsNothing()) return result;
  Begin();
  result.entry = entry_;
  if (DesktopLeft()) {
    RestoreDatabase();
    result.desktop = true;
  }
  held_.reset();
  RestoreTables(result);
  End(result);
  return result;
}

void Restore::Begin() {
  if (continues_.empty()) return MakeEntry();
  entry_ = continues_;
  record_.ended.clear();
  record_.status.reset();
  record_.error.clear();
  NoteTodaysFacts();
  WriteRecord();
}

/// Until the record is there nothing was changed, and an entry without one is of no use to anybody.
void Restore::MakeEntry() {
  record_.began = NowText();
  entry_ = folder_.Create(context_.clock.Now());
  try {
    KeepToday();
    WriteRecord();
  } catch (const Error&) {
    RemoveEntry();
    throw;
  }
}

void Restore::RemoveEntry() {
  held_.reset();  // a second name of an open file cannot be removed everywhere
  try {
    folder_.Remove(entry_);
  } catch (const Error&) {
    // The error that led here says more; what is left goes with the oldest entries.
  }
}

void Restore::KeepToday() {
  if (held_) {
    const std::string kept = folder_.DatabaseOf(entry_);
    folder_.Keep(context_.database, kept, *held_);
    record_.kept = KeptDatabase{kept.substr(FolderLength(kept)), context_.files.FactsOf(kept)};
  }
  for (const TableContent& table : today_.tables) {
    folder_.KeepContent(table.file, folder_.HandheldFileOf(entry_, table.table));
  }
}

/// The live database is what is kept as long as it was not replaced, whoever has written into it since the restore was
/// cut off.
void Restore::NoteTodaysFacts() {
  const std::string kept = folder_.DatabaseOf(entry_);
  if (!held_ || !record_.kept || !context_.files.FileExists(kept)) return;
  if (context_.files.IdentityOf(kept) != context_.files.IdentityOf(context_.database)) return;
  record_.kept->facts = context_.files.FactsOf(kept);
}

void Restore::RestoreDatabase() {
  PutDatabaseInPlace();
  UnfilledTables(context_.files, context_.database).Save(plan_.unfilled);
  record_.restore->desktopDone = true;
  WriteRecord();
}

/// Held until the record says that it is done.
void Restore::PutDatabaseInPlace() {
  platform::FileSystem& files = context_.files;
  std::optional<platform::StagedWrite> file;
  if (held_) {
    file.emplace(files, context_.database, held_);
  } else {
    file.emplace(files, context_.database, folder_.DatabaseOf(plan_.of));
  }
  file->Contents().WriteAt(0, *plan_.state.database);
  held_ = file->Finish();
}

void Restore::RestoreTables(RestoreResult& result) {
  for (const std::string& table : TablesLeft()) {
    const DeviceCopyResult code = context_.handheld.Send(table, *plan_.state.Find(table));
    if (code != DeviceCopyResult::Copied) {
      result.refusals.push_back({table, code});
      continue;
    }
    result.tables.push_back(table);
    record_.restore->tablesDone.push_back(table);
    WriteRecord();
  }
}

void Restore::End(const RestoreResult& result) {
  record_.ended = NowText();
  record_.status = result.refusals.empty() ? kDone : kNotAllDone;
  record_.error = ErrorTextOf(result.refusals);
  WriteRecord();
}

std::string Restore::NowText() const {
  return IsoFromDate(DateFromCivil(context_.clock.Now()));
}

}  // namespace mv::history
