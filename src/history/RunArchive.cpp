#include "history/RunArchive.h"

#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "platform/StagedWrite.h"

namespace mv::history {

void RunArchive::Begin(const CivilTime& now, const HistoryLimits& limits, Changes changes, RunRecord& record) {
  limits_ = limits;
  HistoryLimits others = limits;
  --others.keep;
  folder_.Prune(others);
  entry_ = folder_.Create(now);
  if (files_.FileExists(database_)) {
    const std::string kept = folder_.DatabaseOf(entry_);
    changes == Changes::InPlace ? folder_.KeepCopy(database_, kept) : folder_.Keep(database_, kept);
    keptDatabase_ = true;
    record.kept = KeptDatabase{kept.substr(FolderLength(kept)), files_.FactsOf(kept)};
  }
  changes_ = platform::StagedWrite(files_, folder_.ChangesOf(entry_), database_).FinishNew();
  folder_.Write(entry_, record);
}

void RunArchive::KeepHandheldFile(const std::string& file, const std::string& table) {
  folder_.Keep(file, folder_.HandheldFileOf(entry_, table));
}

void RunArchive::KeepResultFile(const std::string& file, const std::string& table) {
  folder_.Keep(file, folder_.ResultFileOf(entry_, table));
}

void RunArchive::Append(std::string_view lines) {
  if (lines.empty()) return;
  changesSynced_ = false;
  changes_->WriteAt(changesSize_, {reinterpret_cast<const std::uint8_t*>(lines.data()), lines.size()});
  changesSize_ += lines.size();
}

void RunArchive::SyncChanges() {
  if (changesSynced_) return;
  changes_->Sync();
  changesSynced_ = true;
}

void RunArchive::End(RunRecord& record) {
  SyncChanges();
  if (keptDatabase_) CopySecondName(record);
  folder_.Write(entry_, record);
  changes_.reset();
  folder_.Prune(limits_, entry_);
}

void RunArchive::CopySecondName(RunRecord& record) {
  const std::string kept = folder_.DatabaseOf(entry_);
  if (!files_.FileExists(database_) || files_.IdentityOf(kept) != files_.IdentityOf(database_)) return;
  try {
    folder_.KeepCopy(database_, kept);
  } catch (const Error& error) {
    // Somebody else has it open. The second name stays; the record tells whether it was written into.
    if (error.Number() != errors::kPermissionDenied) throw;
    return;
  }
  record.kept->facts = files_.FactsOf(kept);
}

std::optional<std::string> RunArchive::LastReturned(const std::string& table) const {
  for (const std::string& entry : folder_.Entries()) {
    if (entry == entry_) continue;
    std::string file = folder_.ResultFileOf(entry, table);
    if (!files_.FileExists(file)) continue;
    const std::optional<RunRecord> record = folder_.Read(entry);
    const TableRecord* const run = record ? record->Find(table) : nullptr;
    if (run != nullptr && run->state == TableState::Returned) return file;
  }
  return std::nullopt;
}

}  // namespace mv::history
