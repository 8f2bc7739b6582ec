#include <ostream>

#include "base/Error.h"
#include "history/RunList.h"
#include "history/SendAgain.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/Overwriting.h"
#include "mvtool/commands/UserSetup.h"
#include "sync/Tables.h"

namespace mv::tool {
namespace {

constexpr std::string_view kSendHelp =
    "  Puts the merged table files of the last run that has them on the handheld\n"
    "  again, for one that did not take them. All are checked before the first is\n"
    "  sent. Refused are a damaged file, one without records where the run had\n"
    "  fetched some, and a table that has flagged records on the handheld since.\n"
    "    --from RUN  those of that run\n"
    "    --force     sends what is refused otherwise\n";

constexpr std::string_view kFrom = "--from";

std::vector<std::string> TablesOf(const Arguments& arguments) {
  std::vector<std::string> tables;
  for (std::size_t i = 0; i < arguments.Count(); ++i) tables.push_back(arguments.Operand(i));
  return tables;
}

std::string RunOf(const Arguments& arguments, const history::HistoryFolder& folder) {
  const auto run = arguments.ValueOf(kFrom);
  return run ? FindRun(folder, *run) : std::string();
}

/// Those after one that is refused are sent all the same.
void SendAll(const std::vector<history::ResultFile>& results, history::HandheldTables& handheld, std::ostream& out) {
  std::string refusals;
  for (const history::ResultFile& result : results) {
    const DeviceCopyResult code = handheld.Send(result.table, result.content);
    if (code == DeviceCopyResult::Copied) {
      out << result.table << ": sent" << (result.entry.empty() ? "" : ", of the run " + result.entry) << '\n';
    } else {
      refusals += (refusals.empty() ? "" : "; ") + history::RefusalText(result.table, code);
    }
  }
  if (!refusals.empty()) throw Failure(refusals);
}

void Send(const Arguments& arguments, ToolContext& context) {
  UserSetup setup(context);
  const Settings& names = setup.Names();
  const history::HistoryFolder folder(context.files, names.DesktopDBPath);
  const history::ResultSources sources{context.files, names.DesktopDBPath, names.PCSyncSourcePath,
                                       names.PCSyncDestPath};
  const history::SendOrder order{TablesOf(arguments), RunOf(arguments, folder), arguments.Has(kForce)};
  const auto noRuns = setup.KeepRunsAway();
  SendAll(FindResults(sources, setup.Handheld(), order), setup.Handheld(), context.out);
}

}  // namespace

Command SendCommand() {
  return {
      .name = "send",
      .group = CommandGroup::Runs,
      .summary = "puts merged tables on the handheld again",
      .help = kSendHelp,
      .rules = {.synopsis = "mvtool send TABLE... [--from RUN] [--force]",
                .leastOperands = 1,
                .mostOperands = kTables.size(),
                .switches = {kForce},
                .settings = {kFrom},
                .operands = {Operand::Table}},
      .run = &Send,
  };
}

}  // namespace mv::tool
