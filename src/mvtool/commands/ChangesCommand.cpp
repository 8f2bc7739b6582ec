#include <ostream>

#include "history/HistoryFolder.h"
#include "history/RunList.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/ReportPrinter.h"
#include "mvtool/commands/UserSetup.h"
#include "mvtool/files/ToolErrors.h"
#include "sync/Tables.h"

namespace mv::tool {
namespace {

constexpr std::string_view kChangesHelp =
    "  What a run did to each row; without RUN the newest run. First the rows that\n"
    "  were lost: \"dropped\" ones, which the handheld alone had and nothing flagged,\n"
    "  and \"overruled\" ones, which were edited on the PC and lost against the\n"
    "  handheld's flag. Then a line a table, with the rows that were added (+),\n"
    "  changed (~) and deleted (-) on either side, then all other rows.\n"
    "    --table T  this table only\n"
    "    --json     one JSON object a row or table\n";

/// Newest entry that is no restore.
std::string NewestRun(const history::HistoryFolder& folder) {
  for (const std::string& entry : folder.Entries()) {
    const auto record = folder.Read(entry);
    if (record && !record->restore) return entry;
  }
  throw Failure("the history has no run");
}

void Changes(const Arguments& arguments, ToolContext& context) {
  UserSetup setup(context);
  const history::HistoryFolder folder(context.files, setup.Names().DesktopDBPath);
  const std::string run = arguments.Count() == 0 ? NewestRun(folder) : FindRun(folder, arguments.Operand(0));
  const auto record = folder.Read(run);
  if (!record) throw Failure("the run " + run + " has no record that can be read");
  std::vector<history::Change> changes = folder.ReadChanges(run);
  std::vector<history::TableRecord> tables = record->tables;
  if (const auto table = arguments.ValueOf("--table")) {
    if (FindTable(*table) == nullptr) throw Failure("there is no table \"" + *table + "\"");
    std::erase_if(changes, [&](const history::Change& change) { return change.table != *table; });
    std::erase_if(tables, [&](const history::TableRecord& known) { return known.table != *table; });
  }
  if (record->ended.empty()) {
    context.err << "mvtool: the run " << run << " was cut off or is going on; rows of its last table may not have "
                << "changed, and its tables have no counts\n";
  }
  for (const history::TableRecord& table : tables) {
    if (table.state != history::TableState::Held) continue;
    context.err << "mvtool: the run stopped before it saved " << table.table << "; its rows did not change\n";
  }
  PrintReport(changes, tables, arguments.Has("--json"), context.out);
}

}  // namespace

Command ChangesCommand() {
  return {
      .name = "changes",
      .group = CommandGroup::Runs,
      .summary = "shows what a run did to each row",
      .help = kChangesHelp,
      .rules = {.synopsis = "mvtool changes [RUN] [--table T] [--json]",
                .leastOperands = 0,
                .mostOperands = 1,
                .switches = {"--json"},
                .settings = {"--table"},
                .operands = {Operand::Run}},
      .run = &Changes,
  };
}

}  // namespace mv::tool
