#include "run/Rehearsal.h"

#include <algorithm>
#include <string>

#include "run/JournalTexts.h"
#include "run/RunSteps.h"

namespace mv {
namespace {

bool IsHeld(const history::TableRecord& table) {
  return table.state == history::TableState::Held;
}

/// Why an Overwrite PC would leave tables empty.
std::string ReasonOf(const PreviewResult& rehearsed) {
  if (rehearsed.stop) return journal_texts::ErrorText(*rehearsed.stop);
  const std::string failed = journal_texts::FailedTables(rehearsed.record);
  return failed.empty() ? "the handheld went away" : failed;
}

}  // namespace

bool NeedsRehearsal(const RunContext& run) {
  if (!run.state.safety.stopsOnMassLoss) return false;
  return ModeOf(run.state) == RunMode::OverwritePc || run.databases.WritesInPlace();
}

std::optional<Error> ObjectionTo(RunMode mode, const PreviewResult& rehearsed) {
  const auto& tables = rehearsed.record.tables;
  if (rehearsed.stop && std::any_of(tables.begin(), tables.end(), IsHeld)) return rehearsed.stop;
  if (mode != RunMode::OverwritePc || rehearsed.status == ExitStatus::Success) return std::nullopt;
  return Failure(journal_texts::RehearsalStop(ReasonOf(rehearsed), mode));
}

void RequireGoodRehearsal(const RunContext& run, std::span<const SyncTable> tables) {
  if (!run.rehearse || !NeedsRehearsal(run)) return;
  run.ui.AddProgressLine(journal_texts::RehearsalLine());
  const PreviewResult rehearsed = run.rehearse(tables);
  Yield(run);
  if (rehearsed.objection) throw *rehearsed.objection;
}

}  // namespace mv
