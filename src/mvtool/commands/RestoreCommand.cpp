#include <ostream>

#include "base/Error.h"
#include "history/Restore.h"
#include "history/RestorePreview.h"
#include "history/RunList.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/UserSetup.h"
#include "mvtool/files/ToolErrors.h"
#include "run/Version.h"

namespace mv::tool {
namespace {

using history::DesktopStep;
using history::RestorePlan;
using history::RestoreResult;
using history::Sides;
using history::TablePreview;

constexpr std::string_view kRestoreHelp =
    "  Brings the desktop database and the handheld's tables back to what they were\n"
    "  before RUN, a name that \"runs\" lists, or \"last\" for the newest. All that the\n"
    "  run kept is checked before anything is changed. What is replaced is kept in an\n"
    "  entry of its own, so a restore can be undone with \"restore\" too. One that was\n"
    "  cut off goes on where it stopped when it is started again.\n"
    "    --dry-run        changes nothing; prints the rows that would come (added),\n"
    "                     go (deleted) and change against today\n"
    "    --desktop-only   the database alone; needs no handheld\n"
    "    --handheld-only  the handheld's tables alone\n";

constexpr std::string_view kDryRun = "--dry-run";
constexpr std::string_view kDesktopOnly = "--desktop-only";
constexpr std::string_view kHandheldOnly = "--handheld-only";

Sides SidesOf(const Arguments& arguments) {
  const bool desktopOnly = arguments.Has(kDesktopOnly);
  const bool handheldOnly = arguments.Has(kHandheldOnly);
  if (desktopOnly && handheldOnly) throw UsageError("--desktop-only and --handheld-only exclude each other");
  if (desktopOnly) return Sides::Desktop;
  return handheldOnly ? Sides::Handheld : Sides::Both;
}

void PrintDesktopAsItIs(const RestorePlan& plan, const std::string& database, std::ostream& out) {
  if (plan.desktop != DesktopStep::AsItIs) return;
  out << database << ": stays, it was not replaced since the run";
  out << (plan.writtenSince ? "; but another program has written into it\n" : "\n");
}

void PrintDamaged(const RestorePlan& plan, std::ostream& out) {
  for (const std::string& table : plan.damaged) {
    out << "handheld, " << table
        << ": stays; its file was damaged when the run fetched it, and the run left it alone\n";
  }
}

// --- What would happen ----------------------------------------------------------------------------------------------

std::string SideText(std::string_view name, const history::SideCounts& side) {
  const bool changes = side.added + side.changed + side.deleted != 0;
  return changes ? history::SummaryOf(name, side) : std::string();
}

std::string FlagsText(std::int64_t rows) {
  if (rows == 0) return {};
  return "flags of " + std::to_string(rows) + (rows == 1 ? " row" : " rows");
}

std::string SummaryOf(const TablePreview& preview) {
  const std::string flags = FlagsText(preview.flags);
  std::string text;
  for (const std::string& part : {SideText("PC", preview.desktop), SideText("handheld", preview.handheld), flags}) {
    if (!part.empty()) text += (text.empty() ? "" : ", ") + part;
  }
  return text.empty() ? "no change" : text;
}

void PrintPreview(const std::vector<TablePreview>& previews, std::ostream& out) {
  for (const TablePreview& preview : previews) {
    if (!preview.table.empty()) out << preview.table << ": " << SummaryOf(preview) << '\n';
    for (const std::string& note : preview.notes) out << "  " << note << '\n';
    for (const history::Change& change : preview.changes) out << "  " << LineOf(change) << '\n';
  }
}

// --- What happened --------------------------------------------------------------------------------------------------

void PrintContinuation(const history::Restore& restore, const std::string& database, std::ostream& out) {
  if (restore.Continues().empty()) return;
  out << "The restore " << restore.Continues() << " was not finished. Left to do:";
  if (restore.DesktopLeft()) out << ' ' << database;
  const std::vector<std::string> tables = restore.TablesLeft();
  for (const std::string& table : tables) out << ' ' << table;
  out << (restore.DesktopLeft() || !tables.empty() ? "\n" : " nothing\n");
}

void PrintResult(const RestorePlan& plan, const RestoreResult& result, const std::string& database, std::ostream& out) {
  if (result.desktop) out << database << ": as before the run " << plan.of << '\n';
  for (const std::string& table : result.tables) {
    out << "handheld, " << table << ": as before the run " << plan.of << '\n';
  }
  if (!result.entry.empty()) out << "To undo this: mvtool restore " << result.entry << '\n';
}

void RequireAllDone(const RestoreResult& result) {
  if (result.refusals.empty()) return;
  std::string text;
  for (const history::Refusal& refusal : result.refusals) {
    text += (text.empty() ? "" : "; ") + history::RefusalText(refusal.table, refusal.code);
  }
  throw Failure(text + "; the same command does what is left");
}

/// The error of a restore that has begun, with what to do about it.
RestoreResult RunToEnd(history::Restore& restore) {
  try {
    return restore.Run();
  } catch (const Error& error) {
    throw At("the restore is not finished, the same command does what is left", error);
  }
}

void Restore(const Arguments& arguments, ToolContext& context) {
  const Sides sides = SidesOf(arguments);
  UserSetup setup(context);
  const std::string& database = setup.Names().DesktopDBPath;
  const history::HistoryFolder folder(context.files, database);
  const history::RestoreContext work{context.files, context.clock, setup.Handheld(), database, kProgramVersion};
  const std::string run = FindRun(folder, arguments.Operand(0));
  if (arguments.Has(kDryRun)) {
    const RestorePlan plan = PlanRestore(work, run, sides);
    PrintDesktopAsItIs(plan, database, context.out);
    PrintDamaged(plan, context.out);
    return PrintPreview(PreviewRestore(work, plan), context.out);
  }
  const auto noRuns = setup.KeepRunsAway();
  const RestorePlan plan = PlanRestore(work, run, sides);
  history::Restore restore(work, plan);
  PrintContinuation(restore, database, context.out);
  PrintDesktopAsItIs(plan, database, context.out);
  PrintDamaged(plan, context.out);
  const RestoreResult result = RunToEnd(restore);
  PrintResult(plan, result, database, context.out);
  RequireAllDone(result);
}

}  // namespace

Command RestoreCommand() {
  return {
      .name = "restore",
      .group = CommandGroup::Runs,
      .summary = "brings both sides back to what they were before a run",
      .help = kRestoreHelp,
      .rules = {.synopsis = "mvtool restore RUN [--dry-run] [--desktop-only | --handheld-only]",
                .leastOperands = 1,
                .mostOperands = 1,
                .switches = {kDryRun, kDesktopOnly, kHandheldOnly},
                .settings = {},
                .operands = {Operand::Run}},
      .run = &Restore,
  };
}

}  // namespace mv::tool
